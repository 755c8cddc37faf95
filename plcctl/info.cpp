// plcctl info: what a driver says about itself and its devices.
#include "bench.h"
#include "commands.h"
#include "help.h"
#include "report.h"

#include "bench/nearest.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "drivers/driversetting.h"
#include "drivers/linecodes.h"

#include <CLI/CLI.hpp>
#include <QString>

#include <algorithm>
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

bool isByChannel(const host::DeviceArea& area)
{
    return area.numbering == host::Numbering::Channel;
}

/// The word for a code of settings records; the runtime may know more.
template <std::size_t Count>
std::string codeText(const driverkit::LineCode (&codes)[Count], int code)
{
    const char* const word = driverkit::wordOf(codes, code);
    return word ? QString::fromLatin1(word).toLower().toStdString()
                : "unknown (code " + std::to_string(code) + ")";
}

std::string parityText(int code)
{
    return code == driverkit::NoParity ? "no" : codeText(driverkit::ParityCodes, code);
}

std::string portKinds(int flags)
{
    std::vector<std::string> unnamed;
    for (int bit = 0; bit < 31; ++bit) {
        const int kind = 1 << bit;
        if ((flags & kind) && kind != int(SerialPortDevice))
            unnamed.push_back("0x" + QString::number(kind, 16).toUpper().toStdString());
    }
    const std::string serial = flags & int(SerialPortDevice) ? "serial line" : "";
    if (unnamed.empty())
        return serial.empty() ? "none" : serial;
    return serial + (serial.empty() ? "" : ", and ") + counted(unnamed.size(), "unnamed kind") +
           " (" + bench::listed(unnamed, unnamed.size()) + ")";
}

std::string textOf(const DeviceSetting& setting)
{
    return setting.string.toStdString() + ", " + std::to_string(setting.baudrate) + " baud, " +
           std::to_string(setting.databits) + " data bits, " + parityText(setting.parity) +
           " parity, " + codeText(driverkit::StopBitsCodes, setting.stopbits) + " stop bit" +
           (setting.stopbits == driverkit::OneStopBit ? "" : "s");
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

template <typename Number>
void addKnown(Json& json, const char* key, const std::optional<Number>& number)
{
    if (number)
        json[key] = *number;
}

Json areaJson(const host::DeviceArea& area)
{
    Json json = {{"area", area.letters},
                 {"what", area.name},
                 {"holds", host::nameOf(area.holds)},
                 {"type", area.type},
                 {"read", widthsJson(area.read)},
                 {"write", widthsJson(area.write)},
                 {"numbers", host::nameOf(area.numbering)}};
    addKnown(json, "first", area.first);
    addKnown(json, "last", area.last);
    addKnown(json, "digits", area.digits);
    addKnown(json, "block", area.block);
    if (!area.note.empty())
        json["note"] = area.note;
    return json;
}

Json areasJson(const host::DriverDescription& description)
{
    Json areas = Json::array();
    for (const host::DeviceArea& area : description.areas)
        areas.push_back(areaJson(area));
    return areas;
}

Json errorsJson(const host::DriverDescription& description)
{
    Json errors = Json::object();
    for (const auto& [number, meaning] : description.errors)
        errors[std::to_string(number)] = meaning;
    return errors;
}

Json stationsJson(const host::DriverDescription& description)
{
    if (!description.stationPrefix)
        return Json();
    return {{"first", description.stationPrefix->first}, {"last", description.stationPrefix->last}};
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
    const char* const count = driverkit::wordOf(driverkit::StopBitsCodes, code);
    return count ? Json(QString::fromLatin1(count).toDouble()) : Json();
}

Json lineJson(const DeviceSetting& setting)
{
    return {{"port", setting.string.toStdString()},
            {"baud", setting.baudrate},
            {"dataBits", setting.databits},
            {"parity", parityText(setting.parity)},
            {"stopBits", stopBitsJson(setting.stopbits)}};
}

Json exchangeJson(const DriverSetting& setting)
{
    return {{"timeoutMs", setting.timeout},
            {"retries", setting.retry},
            {"delayMs", setting.delay},
            {"station", setting.stationid}};
}

/// The areas of each range, in the order in which ranges come first.
std::vector<std::pair<std::string, std::vector<std::string>>>
areasByRange(const host::DriverDescription& description)
{
    std::vector<std::pair<std::string, std::vector<std::string>>> ranges;
    for (const host::DeviceArea& area : description.areas) {
        const std::string range = bench::rangeOf(area);
        if (range.empty())
            continue;
        auto same = std::find_if(ranges.begin(), ranges.end(),
                                 [&](const auto& other) { return other.first == range; });
        if (same == ranges.end())
            same = ranges.insert(ranges.end(), {range, {}});
        same->second.push_back(area.letters);
    }
    return ranges;
}

/// What a table of areas has no room for, a sentence or two each.
std::vector<std::string> remarks(const host::DriverDescription& description)
{
    std::vector<std::string> texts;
    for (const auto& [range, areas] : areasByRange(description))
        texts.push_back(bench::listed(areas, areas.size()) + ": " + range);
    const auto byChannel = areasByChannel(description);
    if (!byChannel.empty())
        texts.push_back(bench::listed(byChannel, byChannel.size()) +
                        ": The last two digits of a number are a bit, 00 to 15.");
    for (const host::DeviceArea& area : description.areas)
        if (!area.note.empty())
            texts.push_back(area.letters + ": " + area.note);
    if (const auto& stations = description.stationPrefix)
        texts.push_back("A station, " + std::to_string(stations->first) + " to " +
                        std::to_string(stations->last) + ", and a colon may precede them, as in " +
                        std::to_string(stations->first) + ":" + description.areas.front().letters +
                        "0.");
    return texts;
}

void printAreas(const host::DriverDescription& description, Format format)
{
    if (description.areas.empty())
        return note("the driver does not describe its devices; give each a type, as in D5:word");
    printTable(areasOf(description), format);
    if (format != Format::Table)
        return;
    std::printf("\n");
    for (const std::string& remark : remarks(description))
        std::printf("%s\n", wrapped(remark, 80).c_str());
}

void printIdentity(const bench::Driver& driver)
{
    DriverInterface& object = driver.object();
    const std::unique_ptr<DeviceSetting> line(object.getDefaultSerialDeviceSetting());
    const std::unique_ptr<DriverSetting> exchange(object.getDefaultDriverSetting());
    const auto tcpPort = driver.description().tcpPort;
    const std::string usualPort = tcpPort ? "; TCP port " + std::to_string(*tcpPort) : "";
    printTable(
        {{"name", driver.name()},
         {{std::string("vendor"), object.vender().toStdString()},
          {std::string("version"), object.getVersionNumber().toStdString()},
          {std::string("interface"), std::string(DriverInterface_iid)},
          {std::string("ports"), portKinds(object.supportedCommunicationFlags()) + usualPort},
          {std::string("one request"),
           "at most " + std::to_string(object.getBlockAccessSize()) + " values, " +
               std::to_string(object.getBitBlockAccessSize()) + " bits"},
          {std::string("default line"), object.getStringBasedDefaultDriverSetting().toStdString()},
          {std::string(""), textOf(*line)},
          {std::string("default timing"), textOf(*exchange)}}},
        Format::Table);
}

Json infoJson(const bench::Driver& driver)
{
    DriverInterface& object = driver.object();
    const host::DriverDescription& description = driver.description();
    const std::unique_ptr<DeviceSetting> line(object.getDefaultSerialDeviceSetting());
    const std::unique_ptr<DriverSetting> exchange(object.getDefaultDriverSetting());
    return {{"name", driver.name()},
            {"vendor", object.vender().toStdString()},
            {"version", object.getVersionNumber().toStdString()},
            {"interface", DriverInterface_iid},
            {"portKinds", object.supportedCommunicationFlags()},
            {"blockSize", object.getBlockAccessSize()},
            {"bitBlockSize", object.getBitBlockAccessSize()},
            {"totalSize", object.totalSize()},
            {"defaultLine", object.getStringBasedDefaultDriverSetting().toStdString()},
            {"line", lineJson(*line)},
            {"exchange", exchangeJson(*exchange)},
            {"protocol", description.protocol},
            {"tcpPort", description.tcpPort ? Json(*description.tcpPort) : Json()},
            {"stations", stationsJson(description)},
            {"areas", areasJson(description)},
            {"errors", errorsJson(description)}};
}

/// In CSV, which is one table, the areas alone.
void printInfo(const bench::Driver& driver, Format format)
{
    if (format == Format::Json)
        return printJson(infoJson(driver), 2);
    if (format == Format::Table) {
        printIdentity(driver);
        std::printf("\n");
    }
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
    command->footer("csv lists the areas; table and json show everything.\n\n"
                    "Examples:\n"
                    "  plcctl info\n"
                    "  plcctl info --driver ./libmydriver.so --format json");
    command->callback([options, &status] {
        printInfo(bench::Driver(driverFile(options->driverFile)), options->format);
        status = Success;
    });
}

} // namespace plcctl
