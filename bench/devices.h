// Typed devices: what a person types for a device, such as DM100:int, T5, 2:HR100:real or
// DM0..DM99, understood by the areas that a driver describes. Nothing is sent from here.
#ifndef BENCH_DEVICES_H
#define BENCH_DEVICES_H

#include "bench/failure.h"
#include "bench/types.h"

#include "host/driverdescription.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace bench
{

enum class Direction { Read, Write };

/// Where a value begins, in an area that the driver describes.
struct Place {
    const host::DeviceArea* area = nullptr; ///< null when the driver describes no areas
    std::optional<int> station;             ///< where the text names one
    std::int64_t position = 0;              ///< the number, with channels of 16 instead of 100
    int digits = 0;                         ///< that the number was typed with
};

/// A value of one type that begins at a device. A value wider than a device takes the following
/// ones too.
///
/// Several values in a row take devices of their own, except bytes and the ends of strings: the
/// driver packs bytes, so a word holds two of them, the low one first.
struct TypedDevice {
    std::string name; ///< for people: "DM100"; "DM100[1]" for what has no device text of its own
    Type type;
    bool isTyped = false; ///< the type was chosen; else it is the natural one of its area
    Place place;

    /// Where there are no areas: the device text as typed, and how many values of the same type
    /// come before this one in its run.
    std::string text;
    int index = 0;

    /// Bytes before this one in its device; for bytes only.
    int byteOffset = 0;

    bool isDescribed() const { return place.area != nullptr; }
};

/// A position as the area's number, and back; the number's bit is 0 to 15 where there are channels.
std::int64_t numberAt(std::int64_t position, host::Numbering numbering);
std::int64_t positionOf(std::int64_t number, host::Numbering numbering);

/// The text by which a driver knows a device of an area: station, capitals and number.
///
/// digits  the number is filled with zeros up to as many
std::string deviceText(const Place& place, int digits = 0);

/// The bytes that one device of an area takes in a driver's data; 1 for a bit.
int bytesPerDevice(const host::DeviceArea& area);

/// The devices that a value takes, 1 or more: those that it touches, for bytes and strings.
int devicesOf(const TypedDevice& device);

/// A sentence on the numbers of an area, such as "Numbers go from 0 to 9999.", as far as they are
/// known; empty where they are not.
std::string rangeOf(const host::DeviceArea& area);

/// Whether the driver serves the type in this direction: bools where it serves bits, all others
/// where it serves the width of the area's devices. True where there are no areas.
bool isServed(const TypedDevice& device, Direction direction);

/// That it does not, and what to type instead, as far as the areas say.
Failure notServed(const TypedDevice& device, Direction direction);

/// The same of a device that is served in its type in neither direction.
Failure notServed(const TypedDevice& device);

/// That an area has no such letters, and which areas there are, those nearest to them first.
Failure unknownArea(const std::string& letters, const host::DriverDescription& description);

/// Reads device texts by the areas of one driver.
class Devices
{
public:
    /// description  must outlive this object and every device that it makes
    explicit Devices(const host::DriverDescription& description);

    const host::DriverDescription& description() const { return m_description; }

    /// Whether a text is written as a range, as in DM0..DM99.
    static bool isRange(const std::string& text);

    /// A device with its type: the one after its last colon, else the default, else the natural
    /// one of its area. Throws a Failure (WrongUsage) for what is no device, does not exist, or can
    /// be neither read nor written in that type.
    TypedDevice parse(const std::string& text, std::optional<Type> defaultType = {}) const;

    /// The same for `count` values from a device on, or for a range such as DM0..DM99 or
    /// DM0..DM99:dint, which needs a count of 1 and no device left over.
    std::vector<TypedDevice> parseRun(const std::string& text, int count = 1,
                                      std::optional<Type> defaultType = {}) const;

private:
    struct Text;
    Text split(const std::string& text) const;
    Place placeOf(const std::string& deviceText) const;
    TypedDevice deviceFrom(const Text& text, std::optional<Type> defaultType) const;
    std::vector<TypedDevice> range(const TypedDevice& first, const std::string& last) const;
    std::vector<TypedDevice> run(const TypedDevice& first, std::int64_t count) const;

    const host::DriverDescription& m_description;
};

} // namespace bench

#endif
