// Finds the settings of a serial line by trying them: which settings in which order, and what
// counts as an answer. Tries are made by a function that is handed in; probeOf() makes the real
// one.
#ifndef BENCH_SCAN_H
#define BENCH_SCAN_H

#include "bench/devices.h"
#include "bench/driver.h"
#include "bench/openport.h"

#include "host/linesettings.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace bench
{

/// The outcome of one read at one setting.
enum class ProbeOutcome {
    Answered,    ///< with a value
    Refused,     ///< with an error reply: the line works all the same
    Garbled,     ///< bytes came, but no reply of this controller
    NoReply,     ///< not even as many bytes as a reply has
    NotPossible, ///< the port does not take this setting
};

/// In words, such as "no reply".
const char* nameOf(ProbeOutcome outcome);

/// Whether a controller and a port with this outcome understood each other.
bool isFound(ProbeOutcome outcome);

struct ProbeResult {
    ProbeOutcome outcome = ProbeOutcome::NoReply;

    /// From a command to its complete reply, the longest of the read; 0 without a reply.
    std::chrono::microseconds reply{0};
};

/// Makes one read at a setting. Throws a Failure when no setting can succeed.
using Probe = std::function<ProbeResult(const host::LineSettings& line)>;

/// A setting at which the controller answered.
struct FoundLine {
    host::LineSettings line;
    ProbeOutcome outcome;                 ///< Answered or Refused
    int reads = 0;                        ///< made at this setting
    int answers = 0;                      ///< of these reads
    std::chrono::microseconds longest{0}; ///< reply
    int timeoutMs = 0;                    ///< that this latency asks for
};

struct ScanOptions {
    bool all = false;  ///< continue after the first that was found
    int moreReads = 5; ///< at a setting that was found, to confirm it and to measure its latency
};

struct ScanEvents {
    /// Before each setting is tried; number counts from 1.
    std::function<void(std::size_t number, const host::LineSettings& line)> trying;
    std::function<void(const host::LineSettings& line, ProbeOutcome outcome)> tried;

    /// Asked before every read; true ends the scan with what was found so far.
    std::function<bool()> isStopped;
};

/// The usual settings, most likely first: `preferred`, then other speeds of the same form, then
/// other forms. Each setting appears once.
std::vector<host::LineSettings> linesToTry(const host::LineSettings& preferred);

/// Tries the settings in turn. A first answer that no further read confirms counts as noise.
std::vector<FoundLine> scan(const std::vector<host::LineSettings>& lines,
                            const ScanOptions& options, const Probe& probe,
                            const ScanEvents& events = ScanEvents());

/// Long enough for controllers and adapters to answer; the port adds the time of the bytes.
constexpr int ScanTimeoutMs = 200;

/// Reads a device through a driver and a serial port that is opened for each try.
///
/// port    its line and retries are not used; ScanTimeoutMs holds where it has no time-out
/// opened  receives each port that is open, and null before it closes; may be empty
///
/// Throws a Failure (WrongUsage) for a port that is no serial line. The probe throws one
/// (CannotOpen) when the first try can't open the port, and one (WrongUsage) when the driver
/// refuses the device. Driver and device must outlive it.
Probe probeOf(Driver& driver, const TypedDevice& device, const PortOptions& port,
              std::function<void(OpenPort*)> opened = {});

} // namespace bench

#endif
