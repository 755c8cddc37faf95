// Requests through a driver and a port: typed devices go in, values or failures come out.
#ifndef BENCH_SESSION_H
#define BENCH_SESSION_H

#include "bench/driver.h"
#include "bench/plan.h"
#include "bench/statistics.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

class AbstractDeviceInterface;

namespace bench
{

/// A request to write that failed; what comes before it in the list is written.
struct WriteFailure : Failure {
    WriteFailure(const Failure& failure, std::size_t place)
        : Failure(failure)
        , index(place)
    {
    }

    std::size_t index; ///< the place of the request's first device in the list
};

class Session
{
public:
    /// driver, port   must outlive the session
    /// portFailure    what the port says of the last failure, for a person; may be empty
    Session(Driver& driver, AbstractDeviceInterface& port,
            std::function<std::string()> portFailure = {});

    /// Told of every request, in the thread that makes it; not of one that was cut short because
    /// isStopped says true.
    std::function<void(const RequestRecord&)> onRequest;

    /// Asked between requests; when it says true, the rest of them fail without being sent.
    std::function<bool()> isStopped;

    const Driver& driver() const { return m_driver; }

    /// Reads all devices in as few requests as can be. When the controller refuses a request for
    /// several devices, its halves are asked for, and so on, so that one that does not exist hides
    /// no other.
    /// Returns the readings, parallel to the devices.
    /// Throws a Failure (WrongUsage), before anything is sent, for what can't be read.
    std::vector<Reading> read(const std::vector<TypedDevice>& devices);

    /// The same with a plan made before, for devices that are read again and again.
    std::vector<Reading> read(const std::vector<ReadRequest>& plan,
                              const std::vector<TypedDevice>& devices);

    /// Writes the values, parallel to the devices. Throws a Failure (WrongUsage) before anything is
    /// sent, or a WriteFailure for the first request that fails.
    void write(const std::vector<TypedDevice>& devices, const std::vector<Value>& values);

private:
    void readRequest(const ReadRequest& request, const std::vector<TypedDevice>& devices,
                     std::vector<Reading>& readings);
    std::optional<Failure> ask(const ReadRequest& request, const TypedDevice& first,
                               QByteArray* answer);
    template <typename Request>
    std::optional<Failure> perform(const TypedDevice& first, Direction direction, Request request);
    Failure failureOf(const TypedDevice& first, Direction direction) const;

    Driver& m_driver;
    AbstractDeviceInterface& m_port;
    std::function<std::string()> m_portFailure;
};

} // namespace bench

#endif
