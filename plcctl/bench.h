// What most subcommands begin with: a driver, the points that were named, and then an open port.
#ifndef PLCCTL_BENCH_H
#define PLCCTL_BENCH_H

#include "options.h"
#include "stopsignal.h"

#include "bench/driver.h"
#include "bench/openport.h"
#include "bench/points.h"
#include "bench/session.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace plcctl
{

/// The file of a driver; an empty name means the one that was built with this program. Throws a
/// Failure (CannotOpen) if there is no driver.
std::string driverFile(const std::string& name);

class Bench
{
public:
    /// Loads the driver and the tag file. Throws a Failure when one of them can't be understood.
    explicit Bench(const BenchOptions& options);
    ~Bench();

    const bench::Driver& driver() const { return m_driver; }
    bench::Driver& driver() { return m_driver; }
    const std::vector<bench::Point>& tags() const { return m_tags; }

    /// The points that texts name: tags, patterns, devices, ranges, or `count` values from each
    /// device on. Throws a Failure (WrongUsage); nothing was sent.
    std::vector<bench::Point> points(const std::vector<std::string>& texts, int count = 1) const;

    /// What texts name: tags, devices, and the type that was chosen for those without one.
    bench::Names names() const;

    /// Lets a request that got no reply wait for late ones, so that its failure says how late they
    /// are. It takes the time that closing the port would take. To be called before session().
    void hearLateReplies() { m_hearsLateReplies = true; }

    /// Opens the port at the first call. Says so when it is the simulated one that was not asked
    /// for. Throws a Failure as OpenPort does.
    bench::Session& session();

    /// Of session(), which must have been called.
    bench::OpenPort& port() const { return *m_port; }

    /// Lets the request under way fail soon, and every later one.
    void interrupt();

    /// Whether a signal asks the program to end. Requests then fail at once.
    bool isStopped() const { return m_stop.waitFor(0); }

    /// Waits, at most so long, for such a signal. Returns whether one has come.
    bool waitForStop(std::chrono::microseconds time) const;

private:
    void tellDriverOfProject();

    BenchOptions m_options;
    StopSignal m_stop;
    bench::Driver m_driver;
    std::vector<bench::Point> m_tags;
    bool m_hearsLateReplies = false;
    std::unique_ptr<bench::OpenPort> m_port;
    std::unique_ptr<bench::Session> m_session;
};

/// The devices of points, in the same order.
std::vector<bench::TypedDevice> devicesOf(const std::vector<bench::Point>& points);

} // namespace plcctl

#endif
