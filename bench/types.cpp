#include "bench/types.h"

#include "bench/failure.h"
#include "bench/internal/text.h"
#include "bench/nearest.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace bench
{

namespace
{

/// What is known of a type of fixed size. Numbers count, the others are patterns of bits.
struct TypeRow {
    TypeKind kind;
    const char* name;
    int bytes;
    DriverDataType width;
    bool isWhole;
    bool isNumber;
    bool isSigned;
};

// clang-format off
const TypeRow rows[] = {
    // kind             name     bytes width           whole  number signed
    {TypeKind::Bool,   "bool",   1, DataBit,          false, false, false},
    {TypeKind::Byte,   "byte",   1, DataByte,         true,  false, false},
    {TypeKind::Int,    "int",    2, DataWord,         true,  true,  true},
    {TypeKind::Uint,   "uint",   2, DataWord,         true,  true,  false},
    {TypeKind::Word,   "word",   2, DataWord,         true,  false, false},
    {TypeKind::Dint,   "dint",   4, DataDoubleWord,   true,  true,  true},
    {TypeKind::Udint,  "udint",  4, DataDoubleWord,   true,  true,  false},
    {TypeKind::Dword,  "dword",  4, DataDoubleWord,   true,  false, false},
    {TypeKind::Real,   "real",   4, DataDoubleWord,   false, false, true},
    {TypeKind::String, "string", 0, DataByte,         false, false, false},
};
// clang-format on

/// Longer strings are in no controller.
constexpr int MaxStringLength = 9999;

const TypeRow& rowOf(const Type& type)
{
    return *std::find_if(std::begin(rows), std::end(rows),
                         [&](const TypeRow& row) { return row.kind == type.kind; });
}

/// The length in "8" or "[8]"; nothing for another text, or for 0.
std::optional<int> stringLength(std::string text)
{
    if (text.size() > 2 && text.front() == '[' && text.back() == ']')
        text = text.substr(1, text.size() - 2);
    int length = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    const bool isNumber = error == std::errc() && stop == text.data() + text.size();
    if (!isNumber || length < 1 || length > MaxStringLength)
        return std::nullopt;
    return length;
}

int bitsOf(const Type& type)
{
    return type.kind == TypeKind::Bool ? 1 : 8 * bytesOf(type);
}

std::uint64_t maskOf(const Type& type)
{
    return (std::uint64_t(1) << bitsOf(type)) - 1;
}

std::int64_t signExtended(std::uint64_t pattern, const Type& type)
{
    const std::uint64_t sign = std::uint64_t(1) << (bitsOf(type) - 1);
    return static_cast<std::int64_t>((pattern ^ sign) - sign);
}

/// The value of a type whose bits these are.
std::int64_t fromPattern(std::uint64_t pattern, const Type& type)
{
    return rowOf(type).isSigned ? signExtended(pattern, type) : static_cast<std::int64_t>(pattern);
}

/// How far below zero a typed number may go.
std::int64_t deepestTyped(const Type& type, Negatives negatives)
{
    const bool isRefused = negatives == Negatives::OfSignedTypes && isNumber(type);
    return isRefused ? -leastOf(type) : std::int64_t(1) << (bitsOf(type) - 1);
}

Failure doesNotFit(const std::string& text, const Type& type, Negatives negatives)
{
    return wrongUsage("'" + text + "' does not fit " + nameOf(type) + ": " +
                      std::to_string(-deepestTyped(type, negatives)) + " to " +
                      std::to_string(greatestOf(type)));
}

bool startsWithHexPrefix(const std::string& text)
{
    return text.size() > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

Value parseWhole(const std::string& text, const Type& type, Negatives negatives)
{
    const bool negative = !text.empty() && text[0] == '-';
    const std::string unsignedText = text.substr(negative ? 1 : 0);
    const bool hexadecimal = startsWithHexPrefix(unsignedText);
    const char* const digits = unsignedText.data() + (hexadecimal ? 2 : 0);
    const char* const end = unsignedText.data() + unsignedText.size();

    std::uint64_t magnitude = 0;
    const auto [stop, error] = std::from_chars(digits, end, magnitude, hexadecimal ? 16 : 10);
    if (stop != end || error == std::errc::invalid_argument)
        throw wrongUsage("'" + text + "' is not a whole number; write 12, -5 or 0x1F");
    const std::uint64_t largest =
        hexadecimal ? maskOf(type) : static_cast<std::uint64_t>(greatestOf(type));
    const auto deepest = static_cast<std::uint64_t>(deepestTyped(type, negatives));
    if (error != std::errc() || magnitude > (negative ? deepest : largest))
        throw doesNotFit(text, type, negatives);
    return fromPattern((negative ? 0 - magnitude : magnitude) & maskOf(type), type);
}

Value parseBool(const std::string& text)
{
    const std::string word = lower(text);
    if (word == "1" || word == "true")
        return std::int64_t(1);
    if (word == "0" || word == "false")
        return std::int64_t(0);
    throw wrongUsage("'" + text + "' is not a bool; write 0, 1, true or false");
}

/// Whether a number that is out of range is too near to 0.
bool isTiny(const std::string& text)
{
    const auto number = numberFrom(text);
    return number ? std::fabs(*number) < 1 : lower(text).find("e-") != std::string::npos;
}

Value parseReal(const std::string& text)
{
    float number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (stop != text.data() + text.size() || error == std::errc::invalid_argument)
        throw wrongUsage("'" + text + "' is not a number; write 21.5, -5 or 1e6");
    if (error != std::errc() && isTiny(text))
        throw wrongUsage("'" + text + "' is too small for real");
    if (error != std::errc() || !std::isfinite(number))
        throw wrongUsage("'" + text + "' does not fit real: up to about 3.4e38");
    return number;
}

Value parseString(const std::string& text, const Type& type)
{
    if (static_cast<int>(text.size()) > type.length)
        throw wrongUsage("'" + text + "' has " + std::to_string(text.size()) +
                         " bytes and does not fit " + nameOf(type));
    return text;
}

std::string realText(float number)
{
    char text[64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, number);
    return error == std::errc() ? std::string(text, end) : std::string();
}

std::string hexText(std::uint64_t pattern, int digits)
{
    std::string text = "0x";
    for (int digit = digits - 1; digit >= 0; --digit)
        text += "0123456789ABCDEF"[(pattern >> (4 * digit)) & 0xF];
    return text;
}

std::string shownString(const std::string& bytes)
{
    const std::string text = bytes.substr(0, bytes.find('\0'));
    const bool keepsHighBytes = isUtf8(text);
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        const bool printable = (byte >= 0x20 && byte < 0x7F) || (byte >= 0x80 && keepsHighBytes);
        char code[8];
        std::snprintf(code, sizeof code, "\\x%02X", byte);
        shown += printable ? std::string(1, c) : std::string(code);
    }
    return shown;
}

/// A whole number in another notation than the type's own. Returns the natural one for the rest.
std::int64_t inNotation(std::int64_t number, const Type& type, Notation notation)
{
    return notation == Notation::Signed && isWhole(type)
               ? signExtended(static_cast<std::uint64_t>(number) & maskOf(type), type)
               : number;
}

std::uint64_t patternFrom(const QByteArray& data, int bytes)
{
    std::uint64_t pattern = 0;
    for (int i = 0; i < bytes; ++i)
        pattern |= std::uint64_t(static_cast<unsigned char>(data[i])) << (8 * i);
    return pattern;
}

QByteArray bytesFrom(std::uint64_t pattern, int bytes)
{
    QByteArray data;
    for (int i = 0; i < bytes; ++i)
        data.append(static_cast<char>(pattern >> (8 * i)));
    return data;
}

} // namespace

std::optional<Type> typeFromText(const std::string& text)
{
    static const std::string Strings = "string";
    const std::string name = lower(text);
    if (name.compare(0, Strings.size(), Strings) == 0) {
        const auto length = stringLength(name.substr(Strings.size()));
        return length ? std::make_optional(Type{TypeKind::String, *length}) : std::nullopt;
    }
    for (const TypeRow& row : rows) {
        if (name == row.name)
            return Type{row.kind, 0};
    }
    return std::nullopt;
}

Type typeNamed(const std::string& text)
{
    if (const auto type = typeFromText(text))
        return *type;
    if (lower(text) == "string")
        throw wrongUsage("a string needs its number of bytes, as in string8");
    const auto names = typeNames();
    throw wrongUsage("there is no type '" + text + "'", didYouMean(text, names) + "Types are " +
                                                            listed(names, names.size()) +
                                                            "; a string has its number of bytes.");
}

std::string nameOf(const Type& type)
{
    return rowOf(type).name + (type.length > 0 ? std::to_string(type.length) : std::string());
}

std::vector<std::string> typeNames()
{
    std::vector<std::string> names;
    for (const TypeRow& row : rows)
        names.push_back(row.kind == TypeKind::String ? "string8" : row.name);
    return names;
}

int bytesOf(const Type& type)
{
    return type.kind == TypeKind::String ? type.length : rowOf(type).bytes;
}

DriverDataType widthOf(const Type& type)
{
    return rowOf(type).width;
}

bool isWhole(const Type& type)
{
    return rowOf(type).isWhole;
}

bool isNumber(const Type& type)
{
    return rowOf(type).isNumber;
}

std::int64_t leastOf(const Type& type)
{
    return rowOf(type).isSigned ? -(std::int64_t(1) << (bitsOf(type) - 1)) : 0;
}

std::int64_t greatestOf(const Type& type)
{
    return static_cast<std::int64_t>(maskOf(type) >> (rowOf(type).isSigned ? 1 : 0));
}

std::optional<Value> wholeValue(std::int64_t number, const Type& type)
{
    if (number < leastOf(type) || number > greatestOf(type))
        return std::nullopt;
    return std::optional<Value>(std::in_place, number);
}

Value parseValue(const std::string& text, const Type& type, Negatives negatives)
{
    switch (type.kind) {
    case TypeKind::Bool:
        return parseBool(text);
    case TypeKind::Real:
        return parseReal(text);
    case TypeKind::String:
        return parseString(text, type);
    default:
        return parseWhole(text, type, negatives);
    }
}

std::string textOf(const Value& value, const Type& type, Notation notation)
{
    if (const auto* real = std::get_if<float>(&value))
        return realText(*real);
    if (const auto* bytes = std::get_if<std::string>(&value))
        return shownString(*bytes);
    const std::int64_t number = std::get<std::int64_t>(value);
    if (notation == Notation::Hexadecimal && isWhole(type))
        return hexText(static_cast<std::uint64_t>(number) & maskOf(type), bitsOf(type) / 4);
    return std::to_string(inNotation(number, type, notation));
}

nlohmann::json jsonOf(const Value& value, const Type& type, Notation notation)
{
    const auto* number = std::get_if<std::int64_t>(&value);
    if (number != nullptr && (type.kind == TypeKind::Bool || notation != Notation::Hexadecimal))
        return inNotation(*number, type, notation);
    const auto* real = std::get_if<float>(&value);
    if (real == nullptr || !std::isfinite(*real))
        return textOf(value, type, notation);
    // The double equal to the single would show digits that the single does not have.
    return *numberFrom(realText(*real));
}

Value valueFrom(const QByteArray& data, const Type& type)
{
    if (type.kind == TypeKind::String)
        return data.left(type.length).toStdString();
    const std::uint64_t pattern = patternFrom(data, bytesOf(type));
    if (type.kind == TypeKind::Bool)
        return std::int64_t(pattern != 0);
    if (type.kind != TypeKind::Real)
        return fromPattern(pattern, type);
    const auto bits = static_cast<std::uint32_t>(pattern);
    float real = 0;
    std::memcpy(&real, &bits, sizeof real);
    return real;
}

QByteArray dataOf(const Value& value, const Type& type)
{
    if (const auto* bytes = std::get_if<std::string>(&value))
        return QByteArray::fromStdString(*bytes).leftJustified(type.length, '\0', true);
    if (const auto* real = std::get_if<float>(&value)) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, real, sizeof bits);
        return bytesFrom(bits, bytesOf(type));
    }
    return bytesFrom(static_cast<std::uint64_t>(std::get<std::int64_t>(value)), bytesOf(type));
}

bool isSame(const Value& a, const Value& b, const Type& type)
{
    return dataOf(a, type) == dataOf(b, type);
}

} // namespace bench
