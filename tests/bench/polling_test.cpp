// When rounds are due and what they came to, on a clock that the test moves.
#include "tests/bench/areas.h"

#include "bench/poller.h"
#include "bench/statistics.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <random>

using namespace bench;
using namespace std::chrono;

namespace
{

TEST(Poller, KeepsItsGrid)
{
    const struct {
        int waitMs; ///< before the round begins
        int tookMs;
        int dueMs; ///< after it ended
        bool overran;
    } rows[] = {
        {0, 30, 70, false},  // the first is due at once
        {70, 20, 80, false}, //
        {85, 20, 75, false}, // a late beginning moves no grid
        {75, 130, 0, true},  // late by less than an interval
        {0, 20, 50, false},  // back on the grid
        {50, 350, 0, true},  // what was missed
        {0, 20, 80, false},  // is not made up for
        {80, 100, 0, false}, // exactly
    };
    steady_clock::time_point now;
    Poller poller(milliseconds(100), [&] { return now; });
    int round = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(++round);
        now += milliseconds(row.waitMs);
        poller.begin();
        now += milliseconds(row.tookMs);
        EXPECT_EQ(poller.end().overran, row.overran);
        EXPECT_EQ(poller.untilDue(), milliseconds(row.dueMs));
    }
    poller.setInterval(milliseconds(300));
    EXPECT_EQ(poller.untilDue(), milliseconds(200));
}

TEST(Poller, TellsOnceThatItLags)
{
    steady_clock::time_point now;
    Poller poller(milliseconds(100), [&] { return now; });
    std::string news;
    for (int round = 1; round <= 30; ++round) {
        poller.begin();
        now += milliseconds(round == 3 || round == 5 ? 150 : 50);
        if (poller.end().isNews)
            news += std::to_string(round) + " ";
    }
    EXPECT_EQ(news, "3 15 ");
}

TEST(Latencies, HaveQuantilesWithinTheStatedError)
{
    std::mt19937_64 random(7);
    std::vector<std::uint64_t> all;
    LatencyHistogram histogram;
    EXPECT_EQ(histogram.quantile(0.5).count(), 0);
    for (int i = 0; i < 20000; ++i) {
        all.push_back(random() >> (32 + random() % 32));
        histogram.add(microseconds(all.back()));
    }
    std::sort(all.begin(), all.end());
    for (const double share : {0.00005, 0.1, 0.5, 0.95, 0.99, 1.0}) {
        const std::uint64_t exact = all[static_cast<std::size_t>(share * 20000 + 0.5) - 1];
        const auto found = static_cast<std::uint64_t>(histogram.quantile(share).count());
        EXPECT_GE(found, exact) << share;
        EXPECT_LE(found, exact + exact / 64) << share;
        EXPECT_TRUE(exact >= 128 || found == exact) << share;
    }
    EXPECT_EQ(histogram.max().count(), all.back());
    histogram.add(hours(3));
    EXPECT_EQ(histogram.quantile(1), hours(1) + minutes(11) + microseconds(34967295));
}

RequestRecord succeeded(microseconds took)
{
    RequestRecord record;
    record.took = took;
    return record;
}

/// failedAttempts  before and with the last
RequestRecord failed(FailureKind kind, std::uint64_t failedAttempts = 1)
{
    RequestRecord record;
    record.failure = kind;
    record.failedAttempts[std::size_t(kind)] = failedAttempts;
    return record;
}

TEST(Statistics, AddUp)
{
    Statistics statistics;
    EXPECT_EQ(textLines(statistics.summary()), std::vector<std::string>{"0 requests, 0 failed"});
    const auto nothing = toJson(statistics.summary());
    EXPECT_TRUE(nothing["latencyMs"]["p50"].is_null());
    EXPECT_TRUE(nothing["intervalMs"]["achieved"].is_null());

    steady_clock::time_point now;
    for (const int ms : {0, 500, 1700}) {
        statistics.addRound(now + milliseconds(ms), milliseconds(500));
        statistics.add(succeeded(microseconds(850)));
    }
    statistics.addPause();
    statistics.addRound(now + hours(1), milliseconds(500));
    RequestRecord savedByRetry = succeeded(milliseconds(1300));
    savedByRetry.failedAttempts[std::size_t(FailureKind::InvalidReply)] = 1;
    statistics.add(savedByRetry);
    statistics.add(failed(FailureKind::NoReply));
    statistics.add(failed(FailureKind::NoReply, 3));
    statistics.add(failed(FailureKind::ControllerRefused));
    const Summary summary = statistics.summary();
    EXPECT_EQ(
        textLines(summary),
        (std::vector<std::string>{"7 requests, 3 failed (1 refused, 2 no reply), 3 retries",
                                  "latency p50 855 µs, p95 1.30 s, p99 1.30 s, max 1.30 s",
                                  "4 rounds, one every 850 ms (wanted 500 ms, longest 1.20 s)"}));
    const auto json = toJson(summary);
    EXPECT_EQ(json["failures"]["noReply"], 2);
    EXPECT_EQ(json["failedAttempts"]["noReply"], 4);
    EXPECT_EQ(json["latencyMs"]["max"], 1300.0);
    EXPECT_EQ(json["intervalMs"]["achieved"], 850.0);
    statistics.addRound(now + hours(1) + milliseconds(500), milliseconds(200));
    EXPECT_EQ(statistics.summary().achievedInterval.count(), 0);
    statistics.addRound(now + hours(1) + milliseconds(720), milliseconds(200));
    EXPECT_EQ(statistics.summary().achievedInterval, milliseconds(220));
    EXPECT_EQ(statistics.summary().longestInterval, milliseconds(220));
}

} // namespace
