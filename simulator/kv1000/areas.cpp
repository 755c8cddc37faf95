#include "simulator/kv1000/areas.h"

#include "simulator/text.h"

#include <cstdio>

namespace simulator::kv1000
{

namespace
{

constexpr uint32_t BitsPerChannel = 16;
constexpr uint32_t NumbersPerChannel = 100;

constexpr uint32_t channels(uint32_t count)
{
    return count * BitsPerChannel;
}

// A controller has only a handful of trimmers and high-speed counters. Here there are enough of
// them to try a block of the largest size on these areas too.
constexpr uint32_t RoomForBlocks = 2000;

int baseOf(Numbering numbering)
{
    return numbering == Numbering::Hexadecimal ? 16 : 10;
}

/// The position of a number in the counting of its area, or nothing for a bit beyond 15.
std::optional<uint32_t> positionOf(uint32_t number, Numbering numbering)
{
    if (numbering != Numbering::Channels)
        return number;
    const uint32_t bit = number % NumbersPerChannel;
    if (bit >= BitsPerChannel)
        return std::nullopt;
    return number / NumbersPerChannel * BitsPerChannel + bit;
}

uint32_t numberAt(uint32_t position, Numbering numbering)
{
    if (numbering != Numbering::Channels)
        return position;
    return position / BitsPerChannel * NumbersPerChannel + position % BitsPerChannel;
}

std::optional<uint32_t> findIndex(const Area& area, std::string_view digits)
{
    const auto number = parseNumber(digits, baseOf(area.numbering));
    const auto position = number ? positionOf(*number, area.numbering) : std::nullopt;
    if (!position || *position < area.firstNumber || *position - area.firstNumber >= area.size)
        return std::nullopt;
    return *position - area.firstNumber;
}

} // namespace

const std::vector<Area>& areas()
{
    // clang-format off
    static const std::vector<Area> table = {
        // name  digits numbering               kind                   first size
        {"DM",   5, Numbering::Decimal,     ValueKind::Word,       0, 65535},
        {"EM",   5, Numbering::Decimal,     ValueKind::Word,       0, 65535},
        {"FM",   5, Numbering::Decimal,     ValueKind::Word,       0, 32767},
        {"ZF",   2, Numbering::Decimal,     ValueKind::Word,       0, 131072},
        {"Z",    2, Numbering::Decimal,     ValueKind::Word,       1, 12},
        {"CM",   5, Numbering::Decimal,     ValueKind::Word,       0, 12000},
        {"TM",   3, Numbering::Decimal,     ValueKind::Word,       0, 512},
        {"VM",   1, Numbering::Decimal,     ValueKind::Word,       0, 9500},
        {"",     5, Numbering::Channels,    ValueKind::Bit,        0, channels(600)},
        {"MR",   5, Numbering::Channels,    ValueKind::Bit,        0, channels(1000)},
        {"LR",   5, Numbering::Channels,    ValueKind::Bit,        0, channels(1000)},
        {"CR",   4, Numbering::Channels,    ValueKind::Bit,        0, channels(80)},
        {"B",    1, Numbering::Hexadecimal, ValueKind::Bit,        0, 0x4000},
        {"X",    1, Numbering::Hexadecimal, ValueKind::Bit,        0, 0x4000},
        {"T",    4, Numbering::Decimal,     ValueKind::Counting,   0, 4000},
        {"C",    4, Numbering::Decimal,     ValueKind::Counting,   0, 4000},
        {"CTC",  1, Numbering::Decimal,     ValueKind::Counting,   0, RoomForBlocks},
        {"CTH",  1, Numbering::Decimal,     ValueKind::Counting,   0, RoomForBlocks},
        {"AT",   1, Numbering::Decimal,     ValueKind::DoubleWord, 0, RoomForBlocks},
    };
    // clang-format on
    return table;
}

std::optional<Device> findDevice(std::string_view wireText)
{
    const std::string text = inUpperCase(wireText);
    for (const Area& area : areas()) {
        const std::string_view name = area.name;
        if (text.compare(0, name.size(), name) != 0)
            continue;
        // What is left must be nothing but a number, so at most one area can match.
        if (const auto index = findIndex(area, std::string_view(text).substr(name.size())))
            return Device{&area, *index};
    }
    return std::nullopt;
}

std::string wireText(const Device& device)
{
    const Area& area = *device.area;
    const uint32_t number = numberAt(area.firstNumber + device.index, area.numbering);
    char digits[16];
    if (area.numbering == Numbering::Hexadecimal)
        std::snprintf(digits, sizeof digits, "%0*X", area.digits, number);
    else
        std::snprintf(digits, sizeof digits, "%0*u", area.digits, number);
    return area.name + std::string(digits);
}

Place placeOf(const Device& device, Part part)
{
    constexpr uint32_t Parts = 3;
    const auto area = static_cast<uint32_t>(device.area - areas().data());
    return {area * Parts + static_cast<uint32_t>(part), device.index};
}

bool fits(const Device& first, uint32_t count)
{
    return count <= first.area->size - first.index;
}

Part mainPart(ValueKind kind)
{
    return kind == ValueKind::Bit ? Part::State : Part::Current;
}

uint32_t largestValue(ValueKind kind)
{
    switch (kind) {
    case ValueKind::Bit:
        return 1;
    case ValueKind::Word:
        return UINT16_MAX;
    case ValueKind::DoubleWord:
    case ValueKind::Counting:
        return UINT32_MAX;
    }
    return 0;
}

} // namespace simulator::kv1000
