// plcctl info: what a driver says about itself and its devices.
#include "bench.h"
#include "commands.h"
#include "report.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"

#include <CLI/CLI.hpp>
#include <QString>

#include <cstdio>

namespace plcctl
{

namespace
{

struct InfoOptions {
    std::string driverFile;
    Format format = Format::Table;
};

/// By the codes of settings records; the runtime may know more.
const char* const Parities[] = {"no", "odd", "even", "mark", "space"};
const char* const StopBits[] = {"1", "1.5", "2"};

template <std::size_t Count>
std::string wordOf(const char* const (&words)[Count], int code)
{
    return code >= 0 && code < int(Count) ? words[code]
                                          : "unknown (code " + std::to_string(code) + ")";
}

std::string portKinds(int flags)
{
    std::string text;
    for (int bit = 0; bit < 31; ++bit) {
        const int kind = 1 << bit;
        if (!(flags & kind))
            continue;
        text += text.empty() ? "" : ", ";
        text += kind == int(SerialPortDevice)
                    ? "serial line"
                    : "kind 0x" + QString::number(kind, 16).toUpper().toStdString();
    }
    return text.empty() ? "none" : text;
}

std::string textOf(const DeviceSetting& setting)
{
    return setting.string.toStdString() + ", " + std::to_string(setting.baudrate) + " baud, " +
           std::to_string(setting.databits) + " data bits, " + wordOf(Parities, setting.parity) +
           " parity, " + wordOf(StopBits, setting.stopbits) + " stop bit" +
           (setting.stopbits == 0 ? "" : "s");
}

std::string textOf(const DriverSetting& setting)
{
    return "time-out " + std::to_string(setting.timeout) + " ms, " + std::to_string(setting.retry) +
           (setting.retry == 1 ? " retry" : " retries") + ", delay " +
           std::to_string(setting.delay) + " ms, station " + std::to_string(setting.stationid);
}

template <typename Widths>
std::string widthNames(const Widths& widths)
{
    std::string names;
    for (DriverDataType width : {DataBit, DataByte, DataWord, DataDoubleWord})
        if (widths.has(width))
            names += (names.empty() ? "" : " ") + std::string(host::nameOf(width));
    return names;
}

Table areasOf(const host::DriverDescription& description)
{
    Table table{{"area", "what", "holds", "type", "read", "write", "numbers"}, {}};
    for (const host::DeviceArea& area : description.areas)
        table.rows.push_back(
            {area.letters, area.name, std::string(host::nameOf(area.holds)), area.type,
             widthNames(area.read), widthNames(area.write),
             std::string(area.numbering == host::Numbering::Channel ? "channel, bit 00 to 15"
                                                                    : "decimal")});
    return table;
}

Json lineJson(const DeviceSetting& setting)
{
    return {{"port", setting.string.toStdString()},
            {"baud", setting.baudrate},
            {"dataBits", setting.databits},
            {"parity", wordOf(Parities, setting.parity)},
            {"stopBits", wordOf(StopBits, setting.stopbits)}};
}

Json exchangeJson(const DriverSetting& setting)
{
    return {{"timeoutMs", setting.timeout},
            {"retries", setting.retry},
            {"delayMs", setting.delay},
            {"station", setting.stationid}};
}

void printInfo(const bench::Driver& driver, Format format)
{
    DriverInterface& object = driver.object();
    const std::unique_ptr<DeviceSetting> line(object.getDefaultSerialDeviceSetting());
    const std::unique_ptr<DriverSetting> exchange(object.getDefaultDriverSetting());
    const Table areas = areasOf(driver.description());
    const std::string lineText = object.getStringBasedDefaultDriverSetting().toStdString();
    if (format == Format::Json)
        return printJson({{"name", driver.name()},
                          {"vendor", object.vender().toStdString()},
                          {"version", object.getVersionNumber().toStdString()},
                          {"interface", DriverInterface_iid},
                          {"portKinds", object.supportedCommunicationFlags()},
                          {"blockSize", object.getBlockAccessSize()},
                          {"bitBlockSize", object.getBitBlockAccessSize()},
                          {"totalSize", object.totalSize()},
                          {"defaultLine", lineText},
                          {"line", lineJson(*line)},
                          {"exchange", exchangeJson(*exchange)},
                          {"protocol", driver.description().protocol},
                          {"areas", jsonOf(areas)}},
                         2);
    printTable({{"name", driver.name()},
                {{std::string("vendor"), object.vender().toStdString()},
                 {std::string("version"), object.getVersionNumber().toStdString()},
                 {std::string("interface"), std::string(DriverInterface_iid)},
                 {std::string("ports"), portKinds(object.supportedCommunicationFlags())},
                 {std::string("one request"),
                  "at most " + std::to_string(object.getBlockAccessSize()) + " values, " +
                      std::to_string(object.getBitBlockAccessSize()) + " bits"},
                 {std::string("default line"), lineText},
                 {std::string(""), textOf(*line)},
                 {std::string("default timing"), textOf(*exchange)}}},
               format);
    if (areas.rows.empty())
        return note("the driver does not describe its devices; give each a type, as in D5:word");
    std::printf("\n");
    printTable(areas, format);
}

} // namespace

void addInfoCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("info", "Show what a driver says about itself and its devices");
    const auto options = std::make_shared<InfoOptions>();
    addDriverOption(*command, options->driverFile);
    addFormatOption(*command, options->format);
    command->footer("Example:\n"
                    "  plcctl info --driver ./libmydriver.so --format json");
    command->callback([options, &status] {
        printInfo(bench::Driver(driverFile(options->driverFile)), options->format);
        status = Success;
    });
}

} // namespace plcctl
