// Whether a line can be trusted, and with which time-out: one device is read again and again.
#ifndef BENCH_LINECHECK_H
#define BENCH_LINECHECK_H

#include "bench/openport.h"
#include "bench/session.h"
#include "bench/statistics.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>
#include <optional>
#include <string>

namespace bench
{

/// The outcome of many reads of one device.
struct LineRecord {
    using Milliseconds = std::chrono::milliseconds;

    Summary summary;
    /// Of the reads that the first attempt served, the longest: those with retries have time-outs
    /// in them. Nothing without such a read.
    std::optional<std::chrono::microseconds> longestPrompt;
    Milliseconds timeout{0};      ///< that the reads were made with
    bool hearsLateReplies = true; ///< not on a connection

    std::uint64_t lateReplies = 0; ///< attempts without a reply whose reply came after all
    Milliseconds lateness{0};      ///< after the command, the longest of these
    std::uint64_t breaks = 0;      ///< attempts at which the port broke or could not be opened
};

enum class Trust {
    Trustworthy,
    Late,   ///< replies come, some of them after the time-out
    Losses, ///< that retries make up for
    Unusable
};

struct LineVerdict {
    Trust trust;
    std::optional<FailureKind> worst; ///< the most frequent failure of reads; nothing without one

    /// Of all attempts, retries included: those without a valid reply in time. Refusals are
    /// replies.
    double lostShare;

    /// Never shorter than one at which replies were missing; 0 when the latencies give none and
    /// for an unusable line, which no time-out cures.
    std::chrono::milliseconds advisedTimeout;

    std::string text;          ///< the verdict in words, without a full stop
    std::string advice;        ///< what to do, in sentences
    std::vector<Topic> topics; ///< of the advice
};

/// Such as "trustworthy", for JSON.
const char* nameOf(Trust trust);

LineVerdict judge(const LineRecord& record);

/// The summary with the verdict; durations are numbers of milliseconds.
nlohmann::json toJson(const LineRecord& record, const LineVerdict& verdict);

/// Reads the device again and again, at once after each reply. After each attempt without a reply
/// it listens until none can be under way, to tell late replies from lost ones; the latencies do
/// not have that time in them.
///
/// port    that of the session
/// goesOn  asked after every read
/// Throws a Failure (WrongUsage) when the device can't be read.
LineRecord checkLine(Session& session, OpenPort& port, const TypedDevice& device,
                     std::chrono::milliseconds timeout,
                     const std::function<bool(const LineRecord&)>& goesOn);

} // namespace bench

#endif
