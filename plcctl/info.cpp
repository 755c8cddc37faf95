// plcctl info: what a driver answers about itself.
#include "bench.h"
#include "commands.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"
#include "host/driverplugin.h"

#include <CLI/CLI.hpp>
#include <QString>

namespace plcctl
{

namespace
{

struct InfoOptions {
    std::string driverFile;
    Format format = Format::Table;
};

std::string flagsText(int flags)
{
    return "0x" + QString::number(flags, 16).toUpper().toStdString();
}

std::string text(const DeviceSetting& setting)
{
    return QString("%1 (kind 0x%2), %3 baud, %4 bits, stop code %5, parity code %6")
        .arg(setting.string)
        .arg(static_cast<quint32>(setting.type), 0, 16)
        .arg(setting.baudrate)
        .arg(setting.databits)
        .arg(setting.stopbits)
        .arg(setting.parity)
        .toStdString();
}

std::string text(const DriverSetting& setting)
{
    return QString("time-out %1 ms, %2 retries, delay %3 ms, station %4")
        .arg(setting.timeout)
        .arg(setting.retry)
        .arg(setting.delay)
        .arg(setting.stationid)
        .toStdString();
}

std::vector<Fact> factsOf(DriverInterface& driver)
{
    const std::unique_ptr<DeviceSetting> device(driver.getDefaultSerialDeviceSetting());
    const std::unique_ptr<DriverSetting> exchange(driver.getDefaultDriverSetting());
    return {
        {"name", driver.name().toStdString()},
        {"vendor", driver.vender().toStdString()},
        {"version", driver.getVersionNumber().toStdString()},
        {"interface", DriverInterface_iid},
        {"port kinds", flagsText(driver.supportedCommunicationFlags())},
        {"total size", std::to_string(driver.totalSize())},
        {"block size", std::to_string(driver.getBlockAccessSize())},
        {"bit block size", std::to_string(driver.getBitBlockAccessSize())},
        {"default line", driver.getStringBasedDefaultDriverSetting().toStdString()},
        {"default port", text(*device)},
        {"default timing", text(*exchange)},
    };
}

} // namespace

void addInfoCommand(CLI::App& app, ExitStatus& status)
{
    CLI::App* const command = app.add_subcommand("info", "Show what a driver tells about itself");
    const auto options = std::make_shared<InfoOptions>();
    addDriverOption(*command, options->driverFile);
    addFormatOption(*command, options->format);
    command->footer("Example:\n"
                    "  plcctl info --driver ./libmydriver.so --format json");
    command->callback([options, &status] {
        const auto plugin = loadDriver(options->driverFile);
        printFacts(factsOf(*plugin->driver()), options->format);
        status = Success;
    });
}

} // namespace plcctl
