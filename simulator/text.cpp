#include "simulator/text.h"

#include <charconv>

namespace simulator
{

std::optional<uint32_t> parseNumber(std::string_view text, int base)
{
    uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number, base);
    if (failure != std::errc() || stop != end)
        return std::nullopt;
    return number;
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
