// The units that plcctl reads and writes: how wide they are, how a person types one and sees one.
// It knows no driver object, no line and no device.
#ifndef PLCCTL_UNITS_H
#define PLCCTL_UNITS_H

#include "drivers/communicatorcommand.h"

#include <QByteArray>
#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace plcctl
{

/// One kind of unit, as --type names it.
struct Unit {
    const char* name;
    DriverDataType dataType;
    int bits;  ///< that a value may have
    int bytes; ///< that a unit takes in a driver's data; a bit takes a whole one
};

enum class Notation { Unsigned, Signed, Hexadecimal };

/// All units, in the order in which help texts list them.
const std::vector<Unit>& units();

/// The unit of that name, which must be one of units().
const Unit& unitNamed(const std::string& name);

/// A count and the unit, as "1 word" or "3 bits".
std::string counted(int count, const Unit& unit);

/// A value from text: decimal or 0x form, perhaps with a minus sign.
/// Throws a Failure (WrongUsage) when the text is no number or does not fit the unit; a negative
/// number fits when it does so in two's complement.
std::uint32_t parseValue(const std::string& text, const Unit& unit);

/// Between values and a driver's data, in which each unit is least significant byte first.
QByteArray dataOf(const std::vector<std::uint32_t>& values, const Unit& unit);
std::vector<std::uint32_t> valuesOf(const QByteArray& data, const Unit& unit);

/// A value as text: "12", "-5" or "0x000C" (as many digits as the unit has). Bits are always 0
/// or 1.
std::string textOf(std::uint32_t value, const Unit& unit, Notation notation);

/// A value for JSON: a number, or a text in hexadecimal notation.
nlohmann::json jsonOf(std::uint32_t value, const Unit& unit, Notation notation);

} // namespace plcctl

#endif
