// Counts the outcomes of requests and how long they took. It takes the same memory after a second
// and after a month of watching, and has no clock of its own.
#ifndef BENCH_STATISTICS_H
#define BENCH_STATISTICS_H

#include "bench/failure.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bench
{

/// Numbers by FailureKind; 0 is unused.
using FailureCounts = std::array<std::uint64_t, LastFailureKind + 1>;

std::uint64_t sumOf(const FailureCounts& counts);

/// The outcome of one request of the driver.
struct RequestRecord {
    std::chrono::microseconds took{0};
    std::optional<FailureKind> failure;

    /// The last one of a request that failed among them. Those that failed because the port itself
    /// dropped a reply, or refused a command, say nothing about the line and count nowhere.
    FailureCounts failedAttempts{};

    std::uint64_t retries() const; ///< attempts after the first
};

/// Durations in buckets that get wider as the durations get longer: exact below 128 µs, above it
/// each bucket is at most 1/64 of its durations wide. What is longer than 71 minutes counts as
/// that long.
class LatencyHistogram
{
public:
    using Duration = std::chrono::microseconds;

    LatencyHistogram();

    void add(Duration latency);

    std::uint64_t count() const { return m_count; }
    Duration max() const { return m_max; } ///< exact; 0 before the first

    /// The least duration that at least this share of all does not exceed, or a longer one by up to
    /// 1/64 (1.6 %). 0 before the first.
    ///
    /// share  above 0 and up to 1: 0.5 for the median
    Duration quantile(double share) const;

private:
    std::vector<std::uint64_t> m_buckets;
    std::uint64_t m_count = 0;
    Duration m_max{0};
};

/// The totals of a run. Durations are 0 where nothing was measured.
struct Summary {
    using Duration = std::chrono::microseconds;

    std::uint64_t requests = 0; ///< succeeded and failed
    FailureCounts failures{};
    std::uint64_t retries = 0;
    FailureCounts failedAttempts{}; ///< as in RequestRecord
    Duration p50{0};                ///< latencies of requests that succeeded
    Duration p95{0};
    Duration p99{0};
    Duration max{0};
    std::uint64_t rounds = 0;
    Duration wantedInterval{0};
    Duration achievedInterval{0}; ///< the mean; 0 before the second round
    Duration longestInterval{0};

    std::uint64_t failed() const;
    std::uint64_t succeeded() const { return requests - failed(); }
    std::uint64_t failuresOf(FailureKind kind) const { return failures[std::size_t(kind)]; }
    std::uint64_t failedAttemptsOf(FailureKind kind) const
    {
        return failedAttempts[std::size_t(kind)];
    }
};

class Statistics
{
public:
    using Duration = std::chrono::microseconds;
    using Time = std::chrono::steady_clock::time_point;

    void add(const RequestRecord& request);

    /// The beginning of a round of requests, `wanted` after the one before. Counting intervals
    /// starts again when another one is wanted.
    void addRound(Time start, Duration wanted);

    /// Rounds after a pause have no interval to the one before it.
    void addPause() { m_hasRound = false; }

    Summary summary() const;

private:
    void forgetIntervals();

    Summary m_summary;
    LatencyHistogram m_latencies;
    bool m_hasRound = false;
    Time m_lastRound;
    std::uint64_t m_intervals = 0;
    Duration m_allIntervals{0};
};

/// The summary for people, in lines without line ends. What was never counted is left out.
std::vector<std::string> textLines(const Summary& summary);

/// A failure's name in JSON, such as "noReply".
std::string keyOf(FailureKind kind);

/// The summary as an object; durations are numbers of milliseconds, failures objects by kind. What
/// was never measured is null.
nlohmann::json toJson(const Summary& summary);

/// A duration with a unit that suits it: "850 µs", "4.2 ms", "1.30 s".
std::string durationText(std::chrono::microseconds duration);

} // namespace bench

#endif
