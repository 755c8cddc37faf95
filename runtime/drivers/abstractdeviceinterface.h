// The runtime's port object, a serial line or a socket, as a driver sees it. A driver never opens,
// closes, keeps or deletes it.
#ifndef DRIVERS_ABSTRACTDEVICEINTERFACE_H
#define DRIVERS_ABSTRACTDEVICEINTERFACE_H

#include "drivers/export.h"

class QVariant;

/// The operations a driver may use, in the order of the port's table of virtual operations.
class DRIVER_KIT_EXPORT AbstractDeviceInterface
{
public:
    virtual ~AbstractDeviceInterface() {}

    /// Waits until `maxLength` bytes have arrived or the port's own time-out has run out.
    ///
    /// buffer     receives the bytes; no terminator is added, nothing beyond `maxLength` is touched
    /// maxLength  how many bytes the expected reply has
    /// Returns the number of bytes placed in `buffer`; any other count than `maxLength` is a lost
    ///         packet to the driver.
    virtual int read(char* buffer, int maxLength) = 0;

    /// Sends `length` bytes of `data`. Drivers ignore the result: a lost command shows up as a
    /// missing reply.
    virtual int write(const char* data, int length) = 0;

    /// Sets a port option. Option 12 with the integer 0 drops the bytes that were received and not
    /// read.
    virtual void setOption(int option, const QVariant& value) = 0;

    /// How many times a failed request is tried again; 0 or less means a single attempt.
    virtual int retry() = 0;

    /// The pause before every attempt of a request, in milliseconds.
    virtual int delay() = 0;
};

#endif
