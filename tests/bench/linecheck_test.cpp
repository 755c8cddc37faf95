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

LineRecord recordOf(std::uint64_t good, milliseconds latency)
{
    LineRecord record;
    record.timeout = milliseconds(500);
    record.summary.requests = good;
    if (good > 0)
        record.longestPrompt = latency;
    return record;
}

TEST(LineCheck, JudgesALine)
{
    const struct {
        const char* name;
        std::uint64_t good;
        int latencyMs;
        std::uint64_t retries;
        std::uint64_t noReply;
        std::uint64_t garbled;
        std::uint64_t refused;
        Trust trust;
        std::optional<FailureKind> worst;
        int timeoutMs;
        const char* text;   ///< all of it
        const char* advice; ///< a part of it; empty: nothing
    } rows[] = {
        {"Good", 1000, 8, 0, 0, 0, 0, Trust::Trustworthy, {}, 100, "trustworthy", ""},
        {"SlowAndGood", 1000, 400, 0, 0, 0, 0, Trust::Trustworthy, {}, 800, "trustworthy", ""},
        {"Few",
         99,
         50,
         0,
         0,
         0,
         0,
         Trust::Trustworthy,
         {},
         100,
         "trustworthy, as far as so few reads can tell",
         ""},
        {"SavedByRetries",
         990,
         8,
         10,
         0,
         0,
         0,
         Trust::Losses,
         {},
         100,
         "occasional losses: keep the retries (1.0 % of all attempts lost)",
         "Check plugs"},
        {"OftenSavedByRetries",
         80,
         8,
         20,
         0,
         0,
         0,
         Trust::Losses,
         {},
         100,
         "frequent losses: keep the retries (20 % of all attempts lost)",
         "Check plugs"},
        {"MaybeLate",
         990,
         251,
         10,
         0,
         0,
         0,
         Trust::Losses,
         {},
         0,
         "occasional losses: keep the retries (1.0 % of all attempts lost)",
         "with a longer one"},
        {"OneLost", 9999, 8, 0, 1, 0, 0, Trust::Losses, NoReply, 100,
         "occasional losses: keep the retries (under 0.1 % of all attempts lost)", "Check plugs"},
        {"AtTheLimit", 95, 8, 3, 1, 1, 0, Trust::Losses, NoReply, 100,
         "occasional losses: keep the retries (5.0 % of all attempts lost)", "Check plugs"},
        {"BeyondIt", 94, 8, 3, 1, 2, 0, Trust::Unusable, Garbled, 100,
         "not usable: 6.0 % of all attempts lost", "garbled"},
        {"Silent", 0, 0, 6, 2, 0, 0, Trust::Unusable, NoReply, 0,
         "not usable: 100 % of all attempts lost", "Check cable"},
        {"Refused", 0, 0, 0, 0, 0, 200, Trust::Trustworthy, Refused, 0, "trustworthy",
         "refuses to read this device"},
        {"Nothing", 0, 0, 0, 0, 0, 0, Trust::Unusable, {}, 0, "not usable: nothing was read", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        LineRecord record = recordOf(row.good, milliseconds(row.latencyMs));
        Summary& summary = record.summary;
        summary.requests += row.noReply + row.garbled + row.refused;
        summary.retries = row.retries;
        summary.failures[std::size_t(NoReply)] = row.noReply;
        summary.failures[std::size_t(Garbled)] = row.garbled;
        summary.failures[std::size_t(Refused)] = row.refused;
        const LineVerdict verdict = judge(record);
        EXPECT_EQ(verdict.trust, row.trust);
        EXPECT_EQ(verdict.worst, row.worst);
        EXPECT_EQ(verdict.advisedTimeout.count(), row.timeoutMs);
        EXPECT_EQ(verdict.text, row.text);
        EXPECT_NE(verdict.advice.find(row.advice), std::string::npos) << verdict.advice;
        EXPECT_EQ(verdict.advice.empty(), *row.advice == '\0') << verdict.advice;
    }
}

} // namespace
