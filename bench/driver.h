// A driver plug-in and what it says about itself.
#ifndef BENCH_DRIVER_H
#define BENCH_DRIVER_H

#include "bench/devices.h"
#include "bench/plan.h"

#include "host/driverdescription.h"

#include <memory>
#include <string>

class DriverInterface;

namespace host
{
class DriverPlugin;
}

namespace bench
{

class Driver
{
public:
    /// Loads the plug-in in a file. Throws a Failure (CannotOpen) when there is no driver in it, or
    /// one whose description is wrong.
    explicit Driver(const std::string& file);
    ~Driver();

    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;

    DriverInterface& object() const;
    std::string name() const;

    /// The device areas; empty for a driver without a description.
    const host::DriverDescription& description() const { return m_description; }

    /// Reads device texts by these areas.
    const Devices& devices() const { return m_devices; }

    /// The most units of one request.
    BlockSizes blocks() const;

private:
    host::DriverDescription m_description;
    std::unique_ptr<host::DriverPlugin> m_plugin;
    Devices m_devices;
};

} // namespace bench

#endif
