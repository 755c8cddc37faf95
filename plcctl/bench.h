// The bench: a loaded driver, a port that is open, and the requests that go through them.
// It knows drivers by their interface only, and nothing of how requests or results are typed.
#ifndef PLCCTL_BENCH_H
#define PLCCTL_BENCH_H

#include "options.h"
#include "units.h"

#include <memory>
#include <string>
#include <vector>

class AbstractDeviceInterface;
class DriverInterface;

namespace host
{
class DriverPlugin;
class Port;
class TracingPort;
} // namespace host

namespace plcctl
{

class SimulatedController;

/// Loads a driver plug-in; an empty name means the one that was built with this program.
/// Throws a Failure (CannotOpen) when there is no driver in the file.
std::unique_ptr<host::DriverPlugin> loadDriver(const std::string& file);

class Bench
{
public:
    /// Loads the driver and opens the port. Throws a Failure, WrongUsage when an option can't be
    /// understood and CannotOpen when the driver or the port is not to be had.
    explicit Bench(const BenchOptions& options);
    ~Bench();

    std::string driverName() const;

    /// Whether the controller lives inside this program.
    bool isSimulated() const { return m_controller != nullptr; }

    /// Refuses, by throwing a Failure (WrongUsage), more units than the driver takes at once.
    void checkCount(std::size_t count, const Unit& unit) const;

    /// Reads `count` units from `device` on. Throws the Failure that the driver tells of.
    std::vector<std::uint32_t> read(const std::string& device, const Unit& unit, int count);

    /// Writes the values to `device` and the units behind it. Throws as read() does.
    void write(const std::string& device, const Unit& unit,
               const std::vector<std::uint32_t>& values);

private:
    void tellDriverOfProject(const BenchOptions& options);
    [[noreturn]] void fail() const;
    DriverInterface& driver() const;
    AbstractDeviceInterface& port() const;

    // The last to be created goes first: nothing is used after it has gone.
    std::unique_ptr<SimulatedController> m_controller;
    std::unique_ptr<host::DriverPlugin> m_plugin;
    std::unique_ptr<host::Port> m_line;
    std::unique_ptr<host::TracingPort> m_trace; ///< null without --trace
};

} // namespace plcctl

#endif
