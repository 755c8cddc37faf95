// plcctl info: what a driver says about itself and its devices.
#include "bench.h"
#include "commands.h"
#include "report.h"

#include "bench/nearest.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"

#include <CLI/CLI.hpp>
#include <QString>

#include <cstdio>
#include <iterator>

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
constexpr double StopBitCounts[] = {1, 1.5, 2};

bool isByChannel(const host::DeviceArea& area)
{
    return area.numbering == host::Numbering::Channel;
}

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

Json widthsJson(const host::Widths& widths)
{
    Json names = Json::array();
    for (DriverDataType width : {DataBit, DataByte, DataWord, DataDoubleWord})
        if (widths.has(width))
            names.push_back(host::nameOf(width));
    return names;
}

Json areasJson(const host::DriverDescription& description)
{
    Json areas = Json::array();
    for (const host::DeviceArea& area : description.areas)
        areas.push_back({{"area", area.letters},
                         {"what", area.name},
                         {"holds", host::nameOf(area.holds)},
                         {"type", area.type},
                         {"read", widthsJson(area.read)},
                         {"write", widthsJson(area.write)},
                         {"numbers", isByChannel(area) ? "channel" : "decimal"}});
    return areas;
}

/// In which kind of types an area is served.
std::string kindsOf(const host::Widths& widths)
{
    const bool numbers = widths.has(DataByte) || widths.has(DataWord) || widths.has(DataDoubleWord);
    if (widths.has(DataBit))
        return numbers ? "both" : "bool";
    return numbers ? "number" : "no";
}

/// Fits a terminal of 80 columns.
Table areasOf(const host::DriverDescription& description)
{
    Table table{{"area", "what", "type", "read", "write"}, {}};
    for (const host::DeviceArea& area : description.areas)
        table.rows.push_back(
            {area.letters, area.name, area.type, kindsOf(area.read), kindsOf(area.write)});
    return table;
}

/// The areas whose numbers are a channel and a bit of it.
std::vector<std::string> areasByChannel(const host::DriverDescription& description)
{
    std::vector<std::string> letters;
    for (const host::DeviceArea& area : description.areas)
        if (isByChannel(area))
            letters.push_back(area.letters);
    return letters;
}

Json stopBitsJson(int code)
{
    return code >= 0 && code < int(std::size(StopBitCounts)) ? Json(StopBitCounts[code]) : Json();
}

Json lineJson(const DeviceSetting& setting)
{
    return {{"port", setting.string.toStdString()},
            {"baud", setting.baudrate},
            {"dataBits", setting.databits},
            {"parity", wordOf(Parities, setting.parity)},
            {"stopBits", stopBitsJson(setting.stopbits)}};
}

Json exchangeJson(const DriverSetting& setting)
{
    return {{"timeoutMs", setting.timeout},
            {"retries", setting.retry},
            {"delayMs", setting.delay},
            {"station", setting.stationid}};
}

void printAreas(const host::DriverDescription& description, Format format)
{
    if (description.areas.empty())
        return note("the driver does not describe its devices; give each a type, as in D5:word");
    std::printf("\n");
    printTable(areasOf(description), format);
    const auto byChannel = areasByChannel(description);
    if (format == Format::Table && !byChannel.empty())
        std::printf("\nThe last two digits of a number in %s are a bit, 00 to 15.\n",
                    bench::listed(byChannel, byChannel.size()).c_str());
}

void printInfo(const bench::Driver& driver, Format format)
{
    DriverInterface& object = driver.object();
    const std::unique_ptr<DeviceSetting> line(object.getDefaultSerialDeviceSetting());
    const std::unique_ptr<DriverSetting> exchange(object.getDefaultDriverSetting());
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
                          {"areas", areasJson(driver.description())}},
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
    printAreas(driver.description(), format);
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
