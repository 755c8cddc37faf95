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

/// What reads came to. Each that failed did so after one attempt; before the good ones there were
/// attempts that failed.
struct Reads {
    std::uint64_t good = 0;
    int latencyMs = 0; ///< the longest of the good ones
    std::uint64_t noReply = 0, garbled = 0, refused = 0;
    std::uint64_t repeatedNoReply = 0, repeatedRefused = 0;
    std::uint64_t lateReplies = 0; ///< of the attempts without one
    int latenessMs = 0;
    bool isLateHeard = true;
};

LineRecord recordOf(const Reads& reads)
{
    LineRecord record;
    record.timeout = milliseconds(500);
    record.hearsLateReplies = reads.isLateHeard;
    record.lateReplies = reads.lateReplies;
    record.lateness = milliseconds(reads.latenessMs);
    if (reads.good > 0)
        record.longestPrompt = milliseconds(reads.latencyMs);
    Summary& summary = record.summary;
    summary.requests = reads.good + reads.noReply + reads.garbled + reads.refused;
    summary.retries = reads.repeatedNoReply + reads.repeatedRefused;
    summary.failures[std::size_t(NoReply)] = reads.noReply;
    summary.failures[std::size_t(Garbled)] = reads.garbled;
    summary.failures[std::size_t(Refused)] = reads.refused;
    summary.failedAttempts = summary.failures;
    summary.failedAttempts[std::size_t(NoReply)] += reads.repeatedNoReply;
    summary.failedAttempts[std::size_t(Refused)] += reads.repeatedRefused;
    return record;
}

constexpr const char* Lost = " of all attempts lost";
const std::string Occasional = "occasional losses: keep the retries (";
const std::string TooShort = "the time-out is too short: ";

TEST(LineCheck, JudgesALine)
{
    const auto good = Trust::Trustworthy, late = Trust::Late, losses = Trust::Losses,
               unusable = Trust::Unusable;
    const auto none = FailureKind();
    const struct {
        const char* name;
        Reads reads;
        Trust trust;
        FailureKind worst;
        int timeoutMs;
        std::string text;   ///< all of it
        const char* advice; ///< a part of it; empty: nothing
    } rows[] = {
        // clang-format off
        {"Good", {1000, 8}, good, none, 100, "trustworthy", ""},
        {"SlowAndGood", {1000, 400}, good, none, 800, "trustworthy", ""},
        {"Few", {99, 50}, good, none, 100, "trustworthy, as far as so few reads can tell", ""},
        {"SavedByRetries", {990, 8, 0, 0, 0, 10}, losses, none, 500,
         Occasional + "1.0 %" + Lost + ")", "Check plugs"},
        {"OftenSavedByRetries", {80, 8, 0, 0, 0, 20}, losses, none, 500,
         "frequent losses: keep the retries (20 %" + std::string(Lost) + ")", "Check plugs"},
        {"MaybeLate", {990, 251, 0, 0, 0, 10}, losses, none, 0,
         Occasional + "1.0 %" + Lost + ")", "half of the time-out"},
        {"MaybeLateOnAConnection", {990, 8, 0, 0, 0, 10, 0, 0, 0, false}, losses, none, 0,
         Occasional + "1.0 %" + Lost + ")", "may only be late"},
        {"Late", {80, 8, 5, 0, 0, 15, 0, 20, 610}, late, NoReply, 1250,
         TooShort + "20 % of all attempts were answered too late", "up to 610 ms"},
        {"NeverInTime", {0, 0, 5, 0, 0, 0, 0, 5, 610}, late, NoReply, 1250,
         TooShort + "100 % of all attempts were answered too late", "up to 610 ms"},
        {"SomeLateSomeLost", {80, 8, 5, 0, 0, 15, 0, 2, 610}, unusable, NoReply, 0,
         "not usable: 20 %" + std::string(Lost), "up to 610 ms"},
        {"OneLost", {9999, 8, 1}, losses, NoReply, 500,
         Occasional + "under 0.1 %" + Lost + ")", "Check plugs"},
        {"AtTheLimit", {95, 8, 1, 1, 0, 3}, losses, NoReply, 500,
         Occasional + "5.0 %" + Lost + ")", "Check plugs"},
        {"BeyondIt", {94, 8, 0, 6}, unusable, Garbled, 0,
         "not usable: 6.0 %" + std::string(Lost), "garbled"},
        {"GarbledOnAConnection", {0, 0, 0, 5, 0, 0, 0, 0, 0, false}, unusable, Garbled, 0,
         "not usable: 100 %" + std::string(Lost), "Check the address"},
        {"Silent", {0, 0, 2, 0, 0, 6}, unusable, NoReply, 0,
         "not usable: 100 %" + std::string(Lost), "Check cable"},
        {"Refused", {0, 0, 0, 0, 200, 0, 600}, good, Refused, 0,
         "trustworthy", "refuses to read this device"},
        {"RefusedAtTimes", {200, 8, 0, 0, 0, 0, 10}, good, none, 100,
         "trustworthy", "refused some"},
        {"Nothing", {}, unusable, none, 0, "not usable: nothing was read", ""},
        // clang-format on
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const LineVerdict verdict = judge(recordOf(row.reads));
        EXPECT_EQ(verdict.trust, row.trust);
        EXPECT_EQ(verdict.worst.value_or(none), row.worst);
        EXPECT_EQ(verdict.advisedTimeout.count(), row.timeoutMs);
        EXPECT_EQ(verdict.text, row.text);
        EXPECT_NE(verdict.advice.find(row.advice), std::string::npos) << verdict.advice;
        EXPECT_EQ(verdict.advice.empty(), *row.advice == '\0') << verdict.advice;
        // The settings of the line are in doubt only where nothing ever came.
        EXPECT_EQ(verdict.topics.empty(), row.name != std::string("Silent"));
    }
}

} // namespace
