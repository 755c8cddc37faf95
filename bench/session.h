// Requests through a driver and a port: typed devices go in, values or failures come out.
#ifndef BENCH_SESSION_H
#define BENCH_SESSION_H

#include "bench/advice.h"
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

/// A request to write that failed. What comes before it in the list is written; a driver that cuts
/// requests into commands may have written some of the request, too.
struct WriteFailure : Failure {
    WriteFailure(const Failure& failure, std::size_t place, std::size_t devices)
        : Failure(failure)
        , index(place)
        , count(devices)
    {
    }

    /// The failure with the points that it hit and how many values were written before it.
    ///
    /// first  name of the request's first point
    Failure at(const std::string& first) const;

    std::size_t index; ///< the place of the request's first device in the list
    std::size_t count; ///< devices of the request
};

class Session
{
public:
    /// driver, port   must outlive the session
    /// portReport     may be empty
    Session(Driver& driver, AbstractDeviceInterface& port,
            std::function<PortReport()> portReport = {});

    /// Called after every request, in the thread that makes it. One that was cut short because
    /// isStopped says true counts as failed when attempts of it had failed before, and else not at
    /// all.
    std::function<void(const RequestRecord&)> onRequest;

    /// Called after every attempt that the line or the controller made fail, before the next
    /// begins.
    std::function<void(FailureKind)> onFailedAttempt;

    /// Called when a request has failed for good, before the port is asked why.
    std::function<void()> beforeFailure;

    /// Asked between requests; when it says true, the rest of them fail without being sent. Also
    /// asked during the pause before an attempt, which then ends at once; interrupt the port too,
    /// or the attempt is made.
    std::function<bool()> isStopped;

    const Driver& driver() const { return m_driver; }

    /// Reads all devices in as few requests as possible. When the controller refuses a request for
    /// several devices, its halves are asked for, and so on, so that one that does not exist hides
    /// none of the others.
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
    void reportCutShort(RequestRecord& record) const;
    void countAttempt(const TypedDevice& first, Direction direction, RequestRecord& record) const;
    Failure failureOf(const TypedDevice& first, Direction direction) const;
    RequestContext contextOf(const TypedDevice& first, Direction direction) const;
    std::string errorText() const;

    Driver& m_driver;
    AbstractDeviceInterface& m_port;
    std::function<PortReport()> m_portReport;
};

} // namespace bench

#endif
