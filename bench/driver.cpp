#include "bench/driver.h"

#include "drivers/driverinterface.h"
#include "host/driverplugin.h"

namespace bench
{

namespace
{

std::unique_ptr<host::DriverPlugin> loadPlugin(const std::string& file)
{
    QString error;
    auto plugin = host::DriverPlugin::load(QString::fromStdString(file), &error);
    if (!plugin)
        throw Failure(FailureKind::CannotOpen, error.toStdString());
    return plugin;
}

host::DriverDescription readDescription(const std::string& file)
{
    QString error;
    auto description = host::readDriverDescription(QString::fromStdString(file), &error);
    if (!description)
        throw Failure(FailureKind::CannotOpen, error.toStdString());
    return *description;
}

} // namespace

Driver::Driver(const std::string& file)
    : m_description(readDescription(file))
    , m_plugin(loadPlugin(file))
    , m_devices(m_description)
{
}

Driver::~Driver() = default;

DriverInterface& Driver::object() const
{
    return *m_plugin->driver();
}

std::string Driver::name() const
{
    return object().name().toStdString();
}

BlockSizes Driver::blocks() const
{
    return {object().getBlockAccessSize(), object().getBitBlockAccessSize()};
}

} // namespace bench
