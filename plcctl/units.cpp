// The table of units, and values as text and as bytes.
#include "units.h"

#include "failure.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace plcctl
{

namespace
{

/// The largest magnitude that parseValue() can tell apart; far above every unit.
using Magnitude = std::uint64_t;

Magnitude largest(const Unit& unit)
{
    return (Magnitude(1) << unit.bits) - 1;
}

/// How far below zero values go; a bit has no sign.
Magnitude deepest(const Unit& unit)
{
    return unit.bits == 1 ? 0 : Magnitude(1) << (unit.bits - 1);
}

std::string range(const Unit& unit)
{
    const std::string top = std::to_string(largest(unit));
    if (deepest(unit) == 0)
        return "0 or " + top;
    return "-" + std::to_string(deepest(unit)) + " to " + top;
}

Failure notANumber(const std::string& text)
{
    return Failure(WrongUsage, "'" + text + "' is not a number; write 12, -5 or 0x1F");
}

Failure doesNotFit(const std::string& text, const Unit& unit)
{
    return Failure(WrongUsage, "'" + text + "' does not fit a " + unit.name + ": " + range(unit));
}

bool startsWithHexPrefix(const std::string& text)
{
    return text.size() > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

std::int64_t signedValue(std::uint32_t value, const Unit& unit)
{
    const bool negative = deepest(unit) != 0 && value >= deepest(unit);
    return negative ? std::int64_t(value) - std::int64_t(largest(unit)) - 1 : std::int64_t(value);
}

} // namespace

const std::vector<Unit>& units()
{
    static const std::vector<Unit> table = {
        // name   dataType        bits bytes
        {"bit", DataBit, 1, 1},           {"byte", DataByte, 8, 1},   {"word", DataWord, 16, 2},
        {"dword", DataDoubleWord, 32, 4}, {"block", DataBlock, 8, 1},
    };
    return table;
}

const Unit& unitNamed(const std::string& name)
{
    return *std::find_if(units().begin(), units().end(),
                         [&](const Unit& unit) { return unit.name == name; });
}

std::string counted(int count, const Unit& unit)
{
    const std::string noun = unit.dataType == DataBlock ? "byte" : unit.name;
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::uint32_t parseValue(const std::string& text, const Unit& unit)
{
    const bool negative = !text.empty() && text[0] == '-';
    const std::string unsignedText = text.substr(negative ? 1 : 0);
    const bool hexadecimal = startsWithHexPrefix(unsignedText);
    const char* const digits = unsignedText.data() + (hexadecimal ? 2 : 0);
    const char* const end = unsignedText.data() + unsignedText.size();

    Magnitude magnitude = 0;
    const auto [stop, error] = std::from_chars(digits, end, magnitude, hexadecimal ? 16 : 10);
    if (stop != end || error == std::errc::invalid_argument)
        throw notANumber(text);
    if (error != std::errc() || magnitude > (negative ? deepest(unit) : largest(unit)))
        throw doesNotFit(text, unit);
    return static_cast<std::uint32_t>((negative ? 0 - magnitude : magnitude) & largest(unit));
}

QByteArray dataOf(const std::vector<std::uint32_t>& values, const Unit& unit)
{
    QByteArray data;
    for (const std::uint32_t value : values) {
        for (int i = 0; i < unit.bytes; ++i)
            data.append(static_cast<char>(value >> (8 * i)));
    }
    return data;
}

std::vector<std::uint32_t> valuesOf(const QByteArray& data, const Unit& unit)
{
    std::vector<std::uint32_t> values(static_cast<std::size_t>(data.size() / unit.bytes));
    for (std::size_t at = 0; at < values.size() * static_cast<std::size_t>(unit.bytes); ++at) {
        const auto byte = static_cast<unsigned char>(data[static_cast<int>(at)]);
        const auto width = static_cast<std::size_t>(unit.bytes);
        values[at / width] |= std::uint32_t(byte) << (8 * (at % width));
    }
    return values;
}

std::string textOf(std::uint32_t value, const Unit& unit, Notation notation)
{
    if (notation == Notation::Signed)
        return std::to_string(signedValue(value, unit));
    if (notation == Notation::Unsigned || unit.dataType == DataBit)
        return std::to_string(value);
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*X", unit.bits / 4, value);
    return text;
}

nlohmann::json jsonOf(std::uint32_t value, const Unit& unit, Notation notation)
{
    if (notation == Notation::Signed)
        return signedValue(value, unit);
    if (notation == Notation::Unsigned || unit.dataType == DataBit)
        return value;
    return textOf(value, unit, notation);
}

} // namespace plcctl
