#include "bench/devices.h"

#include "bench/internal/text.h"
#include "bench/nearest.h"

#include <algorithm>
#include <cstring>

namespace bench
{

namespace
{

using host::DeviceArea;
using host::DriverDescription;
using host::Numbering;

constexpr int BitsPerChannel = 16;
constexpr int NumbersPerChannel = 100;

/// More digits than this are in no area.
constexpr std::size_t MaxDigits = 9;

constexpr std::int64_t MaxRunLength = 1000 * 1000;
constexpr std::size_t MaxAreasListed = 12;

const char* const Digits = "0123456789";
const char* const RangeMark = "..";

bool isDigits(const std::string& text)
{
    return !text.empty() && text.size() <= MaxDigits &&
           text.find_first_not_of(Digits) == std::string::npos;
}

bool isLetters(const std::string& text)
{
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    return !text.empty() && std::all_of(text.begin(), text.end(), isLetter);
}

Type naturalType(const DeviceArea& area)
{
    return *typeFromText(area.type);
}

/// The widths that an area is asked for, read and written alike.
const host::Widths& widthsOf(const DeviceArea& area, Direction direction)
{
    return direction == Direction::Read ? area.read : area.write;
}

/// What one device is, as in "holds 16 bits".
std::string content(const DeviceArea& area)
{
    switch (deviceWidth(area.holds)) {
    case DataBit:
        return "a single bit";
    case DataWord:
        return "16 bits";
    default:
        return "32 bits";
    }
}

/// Values of any type are made of whole devices, so it is their width that the driver must serve.
bool isServed(const DeviceArea& area, const Type& type, Direction direction)
{
    const DriverDataType width = deviceWidth(area.holds);
    if (type.kind == TypeKind::Bool || width == DataBit)
        return type.kind == TypeKind::Bool && widthsOf(area, direction).has(DataBit);
    return widthsOf(area, direction).has(width);
}

/// Types in which the area is served, its natural type first.
std::vector<std::string> servedTypes(const DeviceArea& area, Direction direction)
{
    std::vector<Type> types = {naturalType(area)};
    for (const char* name : {"bool", "uint", "int", "udint", "dint", "real"})
        types.push_back(*typeFromText(name));
    std::vector<std::string> names;
    for (const Type& type : types) {
        const bool isNew = std::find(names.begin(), names.end(), nameOf(type)) == names.end();
        if (isServed(area, type, direction) && isNew)
            names.push_back(nameOf(type));
    }
    return names;
}

std::string exampleDevice(const DeviceArea& area)
{
    return area.letters + std::to_string(area.first.value_or(0));
}

Failure notADevice(const std::string& text, const DriverDescription& description)
{
    const std::string example =
        description.areas.empty() ? "" : ", such as " + exampleDevice(description.areas.front());
    return wrongUsage("'" + text + "' is not a device",
                      "A device is an area and a number" + example + ".");
}

bool hasNumber(const DeviceArea& area, std::int64_t number)
{
    const std::size_t digits = std::to_string(number).size();
    return number >= area.first.value_or(0) && number <= area.last.value_or(number) &&
           (!area.digits || digits <= static_cast<std::size_t>(*area.digits));
}

void checkNumber(const DeviceArea& area, std::int64_t number, const std::string& text)
{
    if (area.numbering == Numbering::Channel && number % NumbersPerChannel >= BitsPerChannel)
        throw wrongUsage("there is no " + text, "The last two digits of a number in " +
                                                    area.letters + " are a bit, 00 to 15.");
    if (!hasNumber(area, number))
        throw wrongUsage("there is no " + text, rangeOf(area));
}

/// The name of the value `index` places after the first one of a run without areas.
std::string indexedName(const std::string& text, int index)
{
    return index == 0 ? text : text + "[" + std::to_string(index) + "]";
}

/// The bytes between the beginnings of two values of a run.
int strideOf(const TypedDevice& device)
{
    const int unit = bytesPerDevice(*device.place.area);
    const int bytes = bytesOf(device.type);
    return device.type.kind == TypeKind::Byte ? 1 : (bytes + unit - 1) / unit * unit;
}

/// The value `index` places after the first one of its run.
TypedDevice following(const TypedDevice& first, std::int64_t index)
{
    TypedDevice device = first;
    if (!first.isDescribed()) {
        device.index = static_cast<int>(index);
        device.name = indexedName(first.text, device.index);
        return device;
    }
    const int unit = bytesPerDevice(*first.place.area);
    const std::int64_t bytes = index * strideOf(first);
    device.place.position += bytes / unit;
    device.byteOffset = static_cast<int>(bytes % unit);
    device.name = indexedName(deviceText(device.place, device.place.digits), device.byteOffset);
    return device;
}

/// Whether the colon at this place has digits alone before it, and no type after it.
bool endsStation(const std::string& text, std::size_t colon)
{
    const std::size_t mark = text.rfind(RangeMark, colon);
    const std::size_t begin = mark == std::string::npos ? 0 : mark + std::strlen(RangeMark);
    return isDigits(text.substr(begin, colon - begin)) && !typeFromText(text.substr(colon + 1));
}

} // namespace

std::int64_t numberAt(std::int64_t position, Numbering numbering)
{
    if (numbering == Numbering::Decimal)
        return position;
    return position / BitsPerChannel * NumbersPerChannel + position % BitsPerChannel;
}

std::int64_t positionOf(std::int64_t number, Numbering numbering)
{
    if (numbering == Numbering::Decimal)
        return number;
    return number / NumbersPerChannel * BitsPerChannel + number % NumbersPerChannel;
}

std::string deviceText(const Place& place, int digits)
{
    const std::string number = std::to_string(numberAt(place.position, place.area->numbering));
    const auto wanted = static_cast<std::size_t>(std::max(digits, 0));
    const std::size_t zeros = wanted > number.size() ? wanted - number.size() : 0;
    return (place.station ? std::to_string(*place.station) + ":" : "") + place.area->letters +
           std::string(zeros, '0') + number;
}

int bytesPerDevice(const DeviceArea& area)
{
    switch (deviceWidth(area.holds)) {
    case DataBit:
        return 1;
    case DataWord:
        return 2;
    default:
        return 4;
    }
}

int devicesOf(const TypedDevice& device)
{
    if (!device.isDescribed() || device.type.kind == TypeKind::Bool)
        return 1;
    const int unit = bytesPerDevice(*device.place.area);
    return (device.byteOffset + bytesOf(device.type) + unit - 1) / unit;
}

std::string rangeOf(const DeviceArea& area)
{
    if (area.last)
        return "Numbers go from " + std::to_string(area.first.value_or(0)) + " to " +
               std::to_string(*area.last) + ".";
    if (area.digits)
        return "Numbers have at most " + std::to_string(*area.digits) + " digits.";
    return area.first ? "Numbers start at " + std::to_string(*area.first) + "." : "";
}

bool isServed(const TypedDevice& device, Direction direction)
{
    return !device.isDescribed() || isServed(*device.place.area, device.type, direction);
}

namespace
{

/// Why a type is not served.
std::string reasonOf(const DeviceArea& area, Direction direction)
{
    const bool isContactAlone = area.holds == host::Holds::Counter &&
                                direction == Direction::Write &&
                                widthsOf(area, direction).has(DataBit) &&
                                !widthsOf(area, direction).has(deviceWidth(area.holds));
    return isContactAlone ? "only its contact can be written" : "it holds " + content(area);
}

/// verb  what can't be done, such as "read"
Failure notServed(const TypedDevice& device, Direction direction, const std::string& verb)
{
    if (!device.isDescribed())
        return wrongUsage(device.name + " can't be " + verb + " as " + nameOf(device.type),
                          "The driver does not serve this type. Try another one.");
    const DeviceArea& area = *device.place.area;
    const std::string name = deviceText(device.place, device.place.digits);
    const auto types = servedTypes(area, direction);
    const std::string note = area.note.empty() ? "" : " " + area.note;
    if (types.empty())
        return wrongUsage(name + " can't be " + verb,
                          "No device of " + area.letters + " can be " + verb + "." + note);
    const std::string advice = "Type " + name + ":" + types.front() +
                               (types.size() == 1 ? "" : ", or another of ") +
                               listed({types.begin() + 1, types.end()}, types.size()) + ".";
    return wrongUsage(name + " can't be " + verb + " as " + nameOf(device.type) + "; " +
                          reasonOf(area, direction),
                      advice + note);
}

} // namespace

Failure notServed(const TypedDevice& device, Direction direction)
{
    return notServed(device, direction, direction == Direction::Read ? "read" : "written");
}

Failure notServed(const TypedDevice& device)
{
    const bool isRead = device.isDescribed() && !device.place.area->read.empty();
    return notServed(device, isRead ? Direction::Read : Direction::Write, "used");
}

Failure unknownArea(const std::string& letters, const DriverDescription& description)
{
    std::vector<std::string> areas;
    for (const DeviceArea& area : description.areas)
        areas.push_back(area.letters);
    return wrongUsage("there is no area '" + letters + "'",
                      didYouMean(letters, areas) + "There are " + listed(areas, MaxAreasListed) +
                          ".");
}

/// What was typed, in its parts.
struct Devices::Text {
    std::string first; ///< the device, or the first one of a range
    std::string last;  ///< empty where there is no range
    std::optional<Type> type;
};

Devices::Devices(const DriverDescription& description)
    : m_description(description)
{
}

bool Devices::isRange(const std::string& text)
{
    return text.find(RangeMark) != std::string::npos;
}

/// The last colon is followed by a type, unless it ends a station.
Devices::Text Devices::split(const std::string& text) const
{
    Text parts;
    std::string devices = text;
    const std::size_t colon = text.rfind(':');
    if (colon != std::string::npos && !endsStation(text, colon)) {
        devices = text.substr(0, colon);
        parts.type = typeNamed(text.substr(colon + 1));
    }
    const std::size_t mark = devices.find(RangeMark);
    parts.first = devices.substr(0, mark);
    if (mark != std::string::npos) {
        parts.last = devices.substr(mark + std::strlen(RangeMark));
        if (parts.last.empty())
            throw wrongUsage("'" + text + "' is half a range; write " + parts.first + RangeMark +
                             "LAST");
    }
    return parts;
}

Place Devices::placeOf(const std::string& text) const
{
    Place place;
    std::string device = text;
    const std::size_t colon = text.find(':');
    if (colon != std::string::npos) {
        const std::string station = text.substr(0, colon);
        const auto& stations = m_description.stationPrefix;
        if (!stations || !isDigits(station))
            throw notADevice(text, m_description);
        place.station = std::stoi(station);
        if (*place.station < stations->first || *place.station > stations->last)
            throw wrongUsage("there is no station " + station,
                             "Stations are " + std::to_string(stations->first) + " to " +
                                 std::to_string(stations->last) + ".");
        device = text.substr(colon + 1);
    }

    const std::size_t letters = std::min(device.find_first_of(Digits), device.size());
    const std::string symbol = device.substr(0, letters);
    const std::string number = device.substr(letters);
    if (!isLetters(symbol) || (!number.empty() && !isDigits(number)))
        throw notADevice(text, m_description);
    place.area = m_description.area(symbol);
    if (place.area == nullptr)
        throw unknownArea(symbol, m_description);
    if (number.empty())
        throw wrongUsage("'" + text + "' has no number",
                         "Type " + exampleDevice(*place.area) + ", for example.");
    checkNumber(*place.area, std::stoll(number), upper(text));
    place.position = positionOf(std::stoll(number), place.area->numbering);
    place.digits = static_cast<int>(number.size());
    return place;
}

TypedDevice Devices::deviceFrom(const Text& text, std::optional<Type> defaultType) const
{
    TypedDevice device;
    const std::optional<Type> type = text.type ? text.type : defaultType;
    device.isTyped = type.has_value();
    if (text.first.empty())
        throw notADevice(text.first, m_description);
    if (m_description.areas.empty()) {
        if (!type)
            throw wrongUsage("'" + text.first + "' has no type",
                             "This driver does not describe its devices. Type " + text.first +
                                 ":uint, for example.");
        device.name = device.text = text.first;
        device.type = *type;
        return device;
    }
    device.place = placeOf(text.first);
    device.type = type.value_or(naturalType(*device.place.area));
    device.name = deviceText(device.place, device.place.digits);
    if (!isServed(device, Direction::Read) && !isServed(device, Direction::Write))
        throw notServed(device);
    return device;
}

TypedDevice Devices::parse(const std::string& text, std::optional<Type> defaultType) const
{
    const Text parts = split(text);
    if (!parts.last.empty())
        throw wrongUsage("'" + text + "' is a range, and this takes one device");
    return run(deviceFrom(parts, defaultType), 1).front();
}

std::vector<TypedDevice> Devices::parseRun(const std::string& text, int count,
                                           std::optional<Type> defaultType) const
{
    const Text parts = split(text);
    const TypedDevice first = deviceFrom(parts, defaultType);
    if (parts.last.empty())
        return run(first, count);
    if (count != 1)
        throw wrongUsage("'" + text + "' is a range and needs no count");
    return range(first, parts.last);
}

std::vector<TypedDevice> Devices::range(const TypedDevice& first, const std::string& last) const
{
    if (!first.isDescribed())
        throw wrongUsage("'" + first.text + RangeMark + last + "' can't be counted",
                         "This driver does not describe its devices. Give the first one and a "
                         "count.");
    // The area and the station may be left out in the second half: DM0..99.
    Place end = first.place;
    end.position = 0;
    const std::string prefix = deviceText(end);
    const Place lastPlace =
        placeOf(isDigits(last) ? prefix.substr(0, prefix.size() - 1) + last : last);
    if (lastPlace.area != first.place.area || lastPlace.station != first.place.station)
        throw wrongUsage("'" + first.name + RangeMark + last + "' leaves its area");
    const std::int64_t devices = lastPlace.position - first.place.position + 1;
    if (devices < 1)
        throw wrongUsage("'" + first.name + RangeMark + last + "' runs backwards");

    const std::int64_t bytes = devices * bytesPerDevice(*first.place.area);
    const int stride = strideOf(first);
    if (bytes % stride != 0)
        throw wrongUsage(first.name + RangeMark + deviceText(lastPlace, lastPlace.digits) +
                         " are " + std::to_string(devices) + " devices, and a " +
                         nameOf(first.type) + " takes " + std::to_string(devicesOf(first)));
    return run(first, bytes / stride);
}

std::vector<TypedDevice> Devices::run(const TypedDevice& first, std::int64_t count) const
{
    if (count < 1 || count > MaxRunLength)
        throw wrongUsage(std::to_string(count) + " values are too many or too few: 1 to " +
                         std::to_string(MaxRunLength));
    std::vector<TypedDevice> devices;
    for (std::int64_t index = 0; index < count; ++index)
        devices.push_back(following(first, index));
    if (first.isDescribed()) {
        Place last = devices.back().place;
        last.position += devicesOf(devices.back()) - 1;
        checkNumber(*last.area, numberAt(last.position, last.area->numbering), deviceText(last));
    }
    return devices;
}

} // namespace bench
