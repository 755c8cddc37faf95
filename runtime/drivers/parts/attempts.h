// The attempts at one request: a pause before each, and how often the port allows another.
#ifndef DRIVERS_PARTS_ATTEMPTS_H
#define DRIVERS_PARTS_ATTEMPTS_H

#include "drivers/export.h"

class AbstractDeviceInterface;
class DriverInterface;

namespace driverkit
{

class ErrorState;

/// The only place that repeats anything:
///
///     Attempts attempts(*this, m_error, port);
///     do {
///         attempts.begin();
///         result = oneAttempt();
///     } while (attempts.again());
///
/// Every attempt makes the whole request again.
class DRIVER_KIT_EXPORT Attempts
{
public:
    /// All three must outlive the attempts.
    Attempts(DriverInterface& driver, ErrorState& error, AbstractDeviceInterface* port);

    /// Sleeps the port's delay, then clears the error flag.
    void begin();

    /// Whether the attempt failed, by the driver's own hasError(), and the port allows another. The
    /// port is asked for its retries only after a failure.
    bool again();

private:
    DriverInterface& m_driver;
    ErrorState& m_error;
    AbstractDeviceInterface* m_port;
    int m_repeats;
};

} // namespace driverkit

#endif
