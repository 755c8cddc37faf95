// What a driver's error text means to the person whose request failed.
#ifndef BENCH_ADVICE_H
#define BENCH_ADVICE_H

#include "bench/devices.h"
#include "bench/failure.h"

#include "host/portaddress.h"

#include <string>

namespace bench
{

/// What a port says of its last failure.
struct PortReport {
    std::string text; ///< for a person; empty after a good reply

    /// It dropped a reply or refused a command to be safe: the controller may have done nothing
    /// wrong.
    bool isOwnFailure = false;

    bool isBroken = false; ///< it could not be opened, or the line or connection ended
    host::PortAddress address;
};

/// What the failed request asked for, and of which port.
struct RequestContext {
    const host::DriverDescription& description;
    TypedDevice device; ///< the first one, with the type in which it was asked for
    Direction direction;
    PortReport port;
};

/// The failure that a driver's error text stands for. The text is kept whole; the advice has
/// the meaning of an error reply where the driver describes it, and fits the port.
///
/// A request for a width that the area does not have is wrong usage, whatever it led to on the
/// line.
Failure driverFailure(const std::string& errorText, const RequestContext& context);

/// Its kind alone, without a look at the system for advice.
FailureKind driverFailureKind(const std::string& errorText, const RequestContext& context);

} // namespace bench

#endif
