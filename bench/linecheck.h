// Whether a line can be trusted, and with which time-out: one device is read again and again.
#ifndef BENCH_LINECHECK_H
#define BENCH_LINECHECK_H

#include "bench/session.h"
#include "bench/statistics.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <optional>
#include <string>

namespace bench
{

/// What many reads of one device came to.
struct LineRecord {
    Summary summary;
    /// Of the reads that the first attempt served, the longest: those with retries have time-outs
    /// in them. Nothing without such a read.
    std::optional<std::chrono::microseconds> longestPrompt;
    std::chrono::milliseconds timeout{0}; ///< that the reads were made with
};

enum class Trust { Trustworthy, Losses, Unusable };

struct LineVerdict {
    Trust trust;
    std::optional<FailureKind> worst; ///< the most frequent failure of reads; nothing without one
    double lostShare;                 ///< of all attempts, retries included; refusals are replies
    std::chrono::milliseconds advisedTimeout; ///< 0 when the latencies tell none
    std::string text;                         ///< the verdict in words, without a full stop
    std::string advice;                       ///< what to do, in sentences
};

/// What "trustworthy", "losses" and "unusable" are called in JSON.
const char* nameOf(Trust trust);

LineVerdict judge(const LineRecord& record);

/// The summary with the verdict; durations are numbers of milliseconds.
nlohmann::json toJson(const LineRecord& record, const LineVerdict& verdict);

/// Reads the device again and again, at once after each reply.
///
/// goesOn  asked after every read
/// Throws a Failure (WrongUsage) when the device can't be read.
LineRecord checkLine(Session& session, const TypedDevice& device, std::chrono::milliseconds timeout,
                     const std::function<bool(const LineRecord&)>& goesOn);

} // namespace bench

#endif
