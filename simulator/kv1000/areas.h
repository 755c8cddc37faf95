// The device areas of a KV-1000: how each is named and numbered on the wire, what its devices hold
// and how many there are.
#ifndef SIMULATOR_KV1000_AREAS_H
#define SIMULATOR_KV1000_AREAS_H

#include "simulator/memory.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::kv1000
{

/// How the number after an area's letters counts its devices.
enum class Numbering {
    Decimal,     ///< 0, 1, 2, ...
    Channels,    ///< channel * 100 + bit, bits 00 to 15: ..., 114, 115, 200, ...
    Hexadecimal, ///< 0, 1, ..., 9, A, ..., F, 10, ...
};

/// What one device of an area holds, and so how it is written in a reply.
enum class ValueKind {
    Bit,        ///< "1"
    Word,       ///< 16 bits, five digits: "00012"
    DoubleWord, ///< 32 bits, ten digits: "0000000012"
    Counting,   ///< contact, current value and set value: "1,0000000012,0000000100"
};

struct Area {
    const char* name;     ///< letters on the wire, upper case; none for relays
    int digits;           ///< digits that a number is written with at least
    Numbering numbering;  ///< how numbers count
    ValueKind kind;       ///< what a device holds
    uint32_t firstNumber; ///< number of the first device
    uint32_t size;        ///< how many devices there are
};

/// One device that exists: the index counts from 0 within the area, whatever its numbering.
struct Device {
    const Area* area;
    uint32_t index;
};

/// The values that one device can have; which of them it has follows from its ValueKind.
enum class Part {
    State,    ///< a bit, or the contact of a timer or counter
    Current,  ///< a word, a 32-bit value, or the current value of a timer or counter
    SetValue, ///< the set value of a timer or counter
};

/// Every area, in a fixed order. The references stay valid for the life of the program.
const std::vector<Area>& areas();

/// The device that a text such as "DM00100", "mr00115" or "00100" (a relay) names in a command, or
/// nothing if there is no such device. Letters count without regard to case; leading zeros may be
/// left out.
std::optional<Device> findDevice(std::string_view wireText);

/// The text that names a device in a command, such as "DM00100".
std::string wireText(const Device& device);

/// Where the value of a device is kept. Consecutive devices are neighbours.
Place placeOf(const Device& device, Part part);

/// True when `count` devices exist from this one on.
bool fits(const Device& first, uint32_t count);

/// The part that a device of this kind is read and written by.
Part mainPart(ValueKind kind);

/// The largest value that a device of this kind takes.
uint32_t largestValue(ValueKind kind);

} // namespace simulator::kv1000

#endif
