#include "simulator/text.h"

#include <algorithm>
#include <charconv>

namespace simulator
{

namespace
{

constexpr uint32_t MaxTimeMs = 3600 * 1000;

} // namespace

std::optional<uint32_t> parseNumber(std::string_view text, int base)
{
    uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number, base);
    if (failure != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

std::optional<uint32_t> parseValue(std::string_view text, uint32_t largest, std::string& why)
{
    const bool isHexadecimal = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
    const auto value = isHexadecimal ? parseNumber(text.substr(2), 16) : parseNumber(text);
    if (value && *value <= largest)
        return value;
    why = quoted(text) + " is not a value from 0 to " + std::to_string(largest);
    return std::nullopt;
}

std::optional<uint32_t> parseTimeMs(std::string_view text)
{
    const size_t unitPlace = std::min(text.find_first_not_of("0123456789"), text.size());
    const std::string_view unit = text.substr(unitPlace);
    const auto number = parseNumber(text.substr(0, unitPlace));
    const uint32_t msPerUnit = unit == "ms" ? 1 : unit == "s" ? 1000 : 0;
    if (!number || msPerUnit == 0 || *number > MaxTimeMs / msPerUnit)
        return std::nullopt;
    return *number * msPerUnit;
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> pieces;
    for (;;) {
        const size_t place = text.find(separator);
        pieces.push_back(text.substr(0, place));
        if (place == std::string_view::npos)
            return pieces;
        text.remove_prefix(place + 1);
    }
}

std::string inUpperCase(std::string_view text)
{
    std::string result(text);
    for (char& c : result) {
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return result;
}

std::string quoted(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

} // namespace simulator
