// The verdict on a line, by what many reads came to.
#include "bench/linecheck.h"

#include <gtest/gtest.h>

using namespace bench;
using std::chrono::milliseconds;

namespace
{

constexpr auto Refused = FailureKind::ControllerRefused;
constexpr auto NoReply = FailureKind::NoReply;
constexpr auto Garbled = FailureKind::InvalidReply;

/// What reads came to, each failed one after one attempt.
struct Reads {
    std::uint64_t good = 0;
    int latencyMs = 0; ///< the longest of the good ones
    std::uint64_t noReply = 0;
    std::uint64_t garbled = 0;
    std::uint64_t refused = 0;
};

/// Attempts that failed before good reads.
struct Repeated {
    std::uint64_t noReply = 0;
    std::uint64_t refused = 0;
};

struct Late {
    std::uint64_t replies = 0; ///< of the attempts without one
    int ms = 0;
    bool isHeard = true;
};

LineRecord recordOf(const Reads& reads, const Repeated& repeated, const Late& late)
{
    LineRecord record;
    record.timeout = milliseconds(500);
    record.hearsLateReplies = late.isHeard;
    record.lateReplies = late.replies;
    record.lateness = milliseconds(late.ms);
    if (reads.good > 0)
        record.longestPrompt = milliseconds(reads.latencyMs);
    Summary& summary = record.summary;
    summary.requests = reads.good + reads.noReply + reads.garbled + reads.refused;
    summary.retries = repeated.noReply + repeated.refused;
    summary.failures[std::size_t(NoReply)] = reads.noReply;
    summary.failures[std::size_t(Garbled)] = reads.garbled;
    summary.failures[std::size_t(Refused)] = reads.refused;
    summary.failedAttempts = summary.failures;
    summary.failedAttempts[std::size_t(NoReply)] += repeated.noReply;
    summary.failedAttempts[std::size_t(Refused)] += repeated.refused;
    return record;
}

TEST(LineCheck, JudgesALine)
{
    const struct {
        const char* name;
        Reads reads;
        Repeated repeated;
        Late late;
        Trust trust;
        std::optional<FailureKind> worst;
        int timeoutMs;
        const char* text;   ///< all of it
        const char* advice; ///< a part of it; empty: nothing
    } rows[] = {
        {"Good", {1000, 8}, {}, {}, Trust::Trustworthy, {}, 100, "trustworthy", ""},
        {"SlowAndGood", {1000, 400}, {}, {}, Trust::Trustworthy, {}, 800, "trustworthy", ""},
        {"Few",
         {99, 50},
         {},
         {},
         Trust::Trustworthy,
         {},
         100,
         "trustworthy, as far as so few reads can tell",
         ""},
        {"SavedByRetries",
         {990, 8},
         {10},
         {},
         Trust::Losses,
         {},
         500,
         "occasional losses: keep the retries (1.0 % of all attempts lost)",
         "Check plugs"},
        {"OftenSavedByRetries",
         {80, 8},
         {20},
         {},
         Trust::Losses,
         {},
         500,
         "frequent losses: keep the retries (20 % of all attempts lost)",
         "Check plugs"},
        {"MaybeLate",
         {990, 251},
         {10},
         {},
         Trust::Losses,
         {},
         0,
         "occasional losses: keep the retries (1.0 % of all attempts lost)",
         "half of the time-out"},
        {"MaybeLateOnAConnection",
         {990, 8},
         {10},
         {0, 0, false},
         Trust::Losses,
         {},
         0,
         "occasional losses: keep the retries (1.0 % of all attempts lost)",
         "may only be late"},
        {"Late",
         {80, 8, 5},
         {15},
         {20, 610},
         Trust::Late,
         NoReply,
         1250,
         "the time-out is too short: 20 % of all attempts were answered too late",
         "up to 610 ms"},
        {"NeverInTime",
         {0, 0, 5},
         {},
         {5, 610},
         Trust::Late,
         NoReply,
         1250,
         "the time-out is too short: 100 % of all attempts were answered too late",
         "up to 610 ms"},
        {"SomeLateSomeLost",
         {80, 8, 5},
         {15},
         {2, 610},
         Trust::Unusable,
         NoReply,
         1250,
         "not usable: 20 % of all attempts lost",
         "up to 610 ms"},
        {"OneLost",
         {9999, 8, 1},
         {},
         {},
         Trust::Losses,
         NoReply,
         500,
         "occasional losses: keep the retries (under 0.1 % of all attempts lost)",
         "Check plugs"},
        {"AtTheLimit",
         {95, 8, 1, 1},
         {3},
         {},
         Trust::Losses,
         NoReply,
         500,
         "occasional losses: keep the retries (5.0 % of all attempts lost)",
         "Check plugs"},
        {"BeyondIt",
         {94, 8, 0, 6},
         {},
         {},
         Trust::Unusable,
         Garbled,
         100,
         "not usable: 6.0 % of all attempts lost",
         "garbled"},
        {"Silent",
         {0, 0, 2},
         {6},
         {},
         Trust::Unusable,
         NoReply,
         0,
         "not usable: 100 % of all attempts lost",
         "Check cable"},
        {"Refused",
         {0, 0, 0, 0, 200},
         {0, 600},
         {},
         Trust::Trustworthy,
         Refused,
         0,
         "trustworthy",
         "refuses to read this device"},
        {"RefusedAtTimes",
         {200, 8},
         {0, 10},
         {},
         Trust::Trustworthy,
         {},
         100,
         "trustworthy",
         "refused some"},
        {"Nothing", {}, {}, {}, Trust::Unusable, {}, 0, "not usable: nothing was read", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const LineVerdict verdict = judge(recordOf(row.reads, row.repeated, row.late));
        EXPECT_EQ(verdict.trust, row.trust);
        EXPECT_EQ(verdict.worst, row.worst);
        EXPECT_EQ(verdict.advisedTimeout.count(), row.timeoutMs);
        EXPECT_EQ(verdict.text, row.text);
        EXPECT_NE(verdict.advice.find(row.advice), std::string::npos) << verdict.advice;
        EXPECT_EQ(verdict.advice.empty(), *row.advice == '\0') << verdict.advice;
    }
}

} // namespace
