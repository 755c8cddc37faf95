// What a request would put on a line, without the line: the real driver talks to a simulated
// controller in memory, and its bytes are counted.
#ifndef BENCH_EXPLAIN_H
#define BENCH_EXPLAIN_H

#include "bench/driver.h"
#include "bench/plan.h"

#include "host/linesettings.h"

#include <chrono>
#include <string>
#include <vector>

namespace bench
{

/// A command and its reply.
struct Exchange {
    std::string command; ///< its bytes
    int replyBytes = 0;

    /// The most characters that the line carries while the driver waits in one call: those of the
    /// command and of the part of the reply that it asks for first, or of a later part.
    int longestWait = 0;

    bool opensSession = false; ///< in protocols that have sessions

    int commandBytes() const { return static_cast<int>(command.size()); }
};

/// The exchanges of one request of the driver.
using ExplainedRequest = std::vector<Exchange>;

struct Totals {
    int requests = 0;
    int sessions = 0; ///< 0 in protocols without sessions
    int exchanges = 0;
    int commandBytes = 0;
    int replyBytes = 0;
    int longestWait = 0; ///< characters
};

/// Both throw a Failure: WrongUsage for what cannot be sent and for a driver whose protocol no
/// simulated controller speaks, or for another station than its own; ControllerRefused when this
/// controller has no such device.
std::vector<ExplainedRequest> explainRead(Driver& driver, const std::vector<TypedDevice>& devices);
std::vector<ExplainedRequest> explainWrite(Driver& driver, const std::vector<TypedDevice>& devices,
                                           const std::vector<Value>& values);

Totals totalsOf(const std::vector<ExplainedRequest>& requests);

/// How long characters are on the line, one after the other, without any pause between them.
std::chrono::microseconds timeOnLine(int characters, const host::LineSettings& line);

/// The least time-out at which a port gets every part of a reply in time from a controller that
/// answers at once, where the port's time-out includes the time on the line. In full milliseconds.
int leastTimeoutMs(const Totals& totals, const host::LineSettings& line);

/// A line of a short list: an exchange, or how often something was left out because it has
/// the same lengths as what is before it.
struct ShortRow {
    std::size_t request = 0;            ///< counted from 0
    const Exchange* exchange = nullptr; ///< null where something was left out
    int leftOut = 0;                    ///< how often
    int period = 0;                     ///< of so many exchanges; 0 of the whole request
};

/// The requests without repetitions. Rows point into `requests`.
std::vector<ShortRow> shortened(const std::vector<ExplainedRequest>& requests);

} // namespace bench

#endif
