#include "bench/statistics.h"

#include "bench/internal/text.h"
#include "bench/nearest.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace bench
{

namespace
{

using Duration = std::chrono::microseconds;

// Durations of one more bit share twice as wide buckets, always as many.
constexpr int SubBits = 6;
constexpr std::uint64_t SubBuckets = 1u << SubBits;
constexpr int MaxBits = 32;
constexpr std::uint64_t LongestUs = (std::uint64_t(1) << MaxBits) - 1;

int bitLength(std::uint64_t number)
{
    int bits = 0;
    for (; number != 0; number >>= 1)
        ++bits;
    return bits;
}

/// How many low bits of a duration its bucket ignores.
int ignoredBits(std::uint64_t us)
{
    return std::max(0, bitLength(us) - SubBits - 1);
}

std::size_t bucketOf(std::uint64_t us)
{
    const int ignored = ignoredBits(us);
    return static_cast<std::size_t>(std::uint64_t(ignored) * SubBuckets + (us >> ignored));
}

/// The longest duration of a bucket.
std::uint64_t longestIn(std::size_t bucket)
{
    const std::uint64_t ignored = bucket < 2 * SubBuckets ? 0 : bucket / SubBuckets - 1;
    const std::uint64_t kept = bucket - ignored * SubBuckets;
    return ((kept + 1) << ignored) - 1;
}

double milliseconds(Duration duration)
{
    return static_cast<double>(duration.count()) / 1000;
}

std::string failureList(const Summary& summary)
{
    std::string list;
    for (int kind = FirstFailureKind; kind <= LastFailureKind; ++kind) {
        const auto count = summary.failures[static_cast<std::size_t>(kind)];
        if (count > 0)
            list += (list.empty() ? "" : ", ") + std::to_string(count) + " " +
                    nameOf(static_cast<FailureKind>(kind));
    }
    return list;
}

nlohmann::json byKind(const FailureCounts& counts)
{
    nlohmann::json json = nlohmann::json::object();
    for (int kind = FirstFailureKind; kind <= LastFailureKind; ++kind)
        json[keyOf(static_cast<FailureKind>(kind))] = counts[static_cast<std::size_t>(kind)];
    return json;
}

nlohmann::json msOrNull(Duration duration, bool isMeasured)
{
    return isMeasured ? nlohmann::json(milliseconds(duration)) : nlohmann::json();
}

} // namespace

LatencyHistogram::LatencyHistogram()
    : m_buckets(bucketOf(LongestUs) + 1)
{
}

void LatencyHistogram::add(Duration latency)
{
    const auto us = static_cast<std::uint64_t>(std::max<Duration::rep>(latency.count(), 0));
    ++m_buckets[bucketOf(std::min(us, LongestUs))];
    ++m_count;
    m_max = std::max(m_max, latency);
}

Duration LatencyHistogram::quantile(double share) const
{
    const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(m_count)));
    std::uint64_t seen = 0;
    for (std::size_t bucket = 0; bucket < m_buckets.size() && m_count > 0; ++bucket) {
        seen += m_buckets[bucket];
        if (seen >= std::max<std::uint64_t>(wanted, 1))
            return std::min(m_max, Duration(longestIn(bucket)));
    }
    return m_max;
}

std::uint64_t sumOf(const FailureCounts& counts)
{
    return std::accumulate(counts.begin(), counts.end(), std::uint64_t(0));
}

std::uint64_t RequestRecord::retries() const
{
    const std::uint64_t failed = sumOf(failedAttempts);
    return failed > 0 && failure ? failed - 1 : failed;
}

std::uint64_t Summary::failed() const
{
    return sumOf(failures);
}

void Statistics::add(const RequestRecord& request)
{
    ++m_summary.requests;
    if (request.failure)
        ++m_summary.failures[static_cast<std::size_t>(*request.failure)];
    else
        m_latencies.add(request.took);
    m_summary.retries += request.retries();
    for (std::size_t kind = 0; kind < request.failedAttempts.size(); ++kind)
        m_summary.failedAttempts[kind] += request.failedAttempts[kind];
}

void Statistics::addRound(Time start, Duration wanted)
{
    ++m_summary.rounds;
    if (wanted != m_summary.wantedInterval)
        forgetIntervals();
    m_summary.wantedInterval = wanted;
    if (m_hasRound) {
        const auto interval = std::chrono::duration_cast<Duration>(start - m_lastRound);
        ++m_intervals;
        m_allIntervals += interval;
        m_summary.longestInterval = std::max(m_summary.longestInterval, interval);
    }
    m_hasRound = true;
    m_lastRound = start;
}

void Statistics::forgetIntervals()
{
    m_hasRound = false;
    m_intervals = 0;
    m_allIntervals = Duration(0);
    m_summary.longestInterval = Duration(0);
}

Summary Statistics::summary() const
{
    Summary summary = m_summary;
    summary.p50 = m_latencies.quantile(0.50);
    summary.p95 = m_latencies.quantile(0.95);
    summary.p99 = m_latencies.quantile(0.99);
    summary.max = m_latencies.max();
    if (m_intervals > 0)
        summary.achievedInterval = m_allIntervals / static_cast<Duration::rep>(m_intervals);
    return summary;
}

std::string durationText(Duration duration)
{
    if (duration < std::chrono::milliseconds(1))
        return std::to_string(duration.count()) + " µs";
    const double ms = milliseconds(duration);
    if (duration < std::chrono::seconds(1))
        return fixedText(ms, ms < 100 ? 1 : 0) + " ms";
    return fixedText(ms / 1000, 2) + " s";
}

std::vector<std::string> textLines(const Summary& summary)
{
    std::vector<std::string> lines;
    const std::string failures = failureList(summary);
    const std::string wanted = summary.wantedInterval.count() == 0
                                   ? ""
                                   : "wanted " + durationText(summary.wantedInterval) + ", ";
    const std::string retries =
        std::to_string(summary.retries) + (summary.retries == 1 ? " retry" : " retries");
    lines.push_back(counted(summary.requests, "request") + ", " + std::to_string(summary.failed()) +
                    " failed" + (failures.empty() ? "" : " (" + failures + ")") +
                    (summary.retries == 0 ? "" : ", " + retries));
    if (summary.succeeded() > 0)
        lines.push_back("latency p50 " + durationText(summary.p50) + ", p95 " +
                        durationText(summary.p95) + ", p99 " + durationText(summary.p99) +
                        ", max " + durationText(summary.max));
    if (summary.achievedInterval.count() > 0)
        lines.push_back(counted(summary.rounds, "round") + ", one every " +
                        durationText(summary.achievedInterval) + " (" + wanted + "longest " +
                        durationText(summary.longestInterval) + ")");
    return lines;
}

std::string keyOf(FailureKind kind)
{
    std::string key = nameOf(kind);
    for (std::size_t blank; (blank = key.find(' ')) != key.npos;) {
        key.erase(blank, 1);
        key[blank] = static_cast<char>(std::toupper(static_cast<unsigned char>(key[blank])));
    }
    return key;
}

nlohmann::json toJson(const Summary& summary)
{
    const bool hasLatency = summary.succeeded() > 0;
    const bool hasInterval = summary.achievedInterval.count() > 0;
    return {
        {"requests", summary.requests},
        {"failed", summary.failed()},
        {"failures", byKind(summary.failures)},
        {"retries", summary.retries},
        {"failedAttempts", byKind(summary.failedAttempts)},
        {"latencyMs",
         {{"p50", msOrNull(summary.p50, hasLatency)},
          {"p95", msOrNull(summary.p95, hasLatency)},
          {"p99", msOrNull(summary.p99, hasLatency)},
          {"max", msOrNull(summary.max, hasLatency)}}},
        {"rounds", summary.rounds},
        {"intervalMs",
         {{"wanted", milliseconds(summary.wantedInterval)},
          {"achieved", msOrNull(summary.achievedInterval, hasInterval)},
          {"longest", msOrNull(summary.longestInterval, hasInterval)}}},
    };
}

} // namespace bench
