// The types of values, and values as text, as JSON and as the bytes of a driver's data.
#ifndef BENCH_TYPES_H
#define BENCH_TYPES_H

#include "drivers/communicatorcommand.h"

#include <QByteArray>
#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace bench
{

/// The types of IEC 61131-3 that a bench reads and writes.
enum class TypeKind { Bool, Byte, Int, Uint, Word, Dint, Udint, Dword, Real, String };

struct Type {
    TypeKind kind = TypeKind::Word;
    int length = 0; ///< bytes of a String; 0 for all others

    bool operator==(const Type& other) const
    {
        return kind == other.kind && length == other.length;
    }
    bool operator!=(const Type& other) const { return !(*this == other); }
};

/// A type from its name in any case: "int", "REAL", "string8" or "STRING[8]". Nothing for another
/// text.
std::optional<Type> typeFromText(const std::string& text);

/// The same, but throws a Failure (WrongUsage) that names the types there are.
Type typeNamed(const std::string& text);

/// The name that typeFromText() reads, in lower case.
std::string nameOf(const Type& type);

/// All names, "string8" standing for all strings.
std::vector<std::string> typeNames();

/// The bytes that a value takes in a driver's data; a bool takes a whole one.
int bytesOf(const Type& type);

/// The width in which a driver would be asked for a single value of this type.
DriverDataType widthOf(const Type& type);

/// Whether values are whole numbers of more than one bit: byte to dword.
bool isWhole(const Type& type);

/// Whether values are numbers of int, uint, dint or udint, and not patterns of bits.
bool isNumber(const Type& type);

/// A bool, 0 or 1, or a whole number of the type's range; a real; or the bytes of a string.
using Value = std::variant<std::int64_t, float, std::string>;

/// How whole numbers are shown. Bools, reals and strings have one form only.
enum class Notation {
    Natural, ///< as the type says
    Signed,
    Hexadecimal, ///< as many digits as the type has: 0x000C
};

/// What a typed negative number fits.
enum class Negatives {
    InTwosComplement, ///< types without a sign too, when they have enough bits
    OfSignedTypes,    ///< of the types that are numbers, only those with a sign
};

/// A value from what a person typed. Throws a Failure (WrongUsage) that says what to type.
///
/// Whole numbers are decimal or in 0x form, with a minus sign or without; 0x forms fit a type with
/// a sign when they have no more bits. Bools are 0, 1, true or false. A string is taken as it
/// stands.
Value parseValue(const std::string& text, const Type& type,
                 Negatives negatives = Negatives::InTwosComplement);

/// A whole number as a value of the type, or nothing when it does not fit. Not for reals and
/// strings.
std::optional<Value> wholeValue(std::int64_t number, const Type& type);

/// The least and the greatest number of a whole type or a bool.
std::int64_t leastOf(const Type& type);
std::int64_t greatestOf(const Type& type);

/// A value as text. Reals have as many digits as tell them from their neighbours. A string ends
/// before its first zero byte; control characters and what is not UTF-8 are written as \x1F.
std::string textOf(const Value& value, const Type& type, Notation notation = Notation::Natural);

/// A value for JSON: a number, or a text for strings and in hexadecimal notation; a bool is 0 or 1.
/// A real that is infinite or not a number becomes a text, for JSON has no such numbers.
nlohmann::json jsonOf(const Value& value, const Type& type, Notation notation = Notation::Natural);

/// The value in the first bytesOf(type) bytes of `data`, which has at least as many: least
/// significant byte first, so the low word of 32 bits comes first. A string's first character is
/// the low byte of its first word. A real is an IEEE 754 single.
Value valueFrom(const QByteArray& data, const Type& type);

/// The bytesOf(type) bytes of a value, in the same order; a short string is filled with zeros.
QByteArray dataOf(const Value& value, const Type& type);

/// Whether two values of a type have the same bits: -0 and 0 differ, and the same NaN is the same.
bool isSame(const Value& a, const Value& b, const Type& type);

} // namespace bench

#endif
