// What a driver's error text means to the person whose request failed.
#ifndef BENCH_ADVICE_H
#define BENCH_ADVICE_H

#include "bench/devices.h"
#include "bench/failure.h"

#include <string>

namespace bench
{

/// What the failed request asked for.
struct RequestContext {
    const host::DriverDescription& description;
    TypedDevice device; ///< the first one, with the type in which it was asked for
    Direction direction;
};

/// The failure that a driver's error text stands for. The text is kept whole; the advice has
/// the meaning of an error reply where the driver describes it.
///
/// A request for a width that the area does not have is wrong usage, whatever it led to on the
/// line.
Failure driverFailure(const std::string& errorText, const RequestContext& context);

} // namespace bench

#endif
