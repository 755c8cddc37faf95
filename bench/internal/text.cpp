#include "bench/internal/text.h"

#include <QString>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

namespace bench
{

std::string upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
    return text;
}

std::string lower(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

std::string trimmed(const std::string& text)
{
    const char* const blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string::npos)
        return std::string();
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

bool startsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool isUtf8(const std::string& text)
{
    return QString::fromStdString(text).toStdString() == text;
}

std::optional<double> numberFrom(const std::string& text)
{
    double number = 0;
    const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || stop != text.data() + text.size() || !std::isfinite(number))
        return std::nullopt;
    return number;
}

std::string fixedText(double number, int decimals)
{
    char text[400]; // the longest double has 309 digits before the point
    const auto [end, error] =
        std::to_chars(text, std::end(text), number, std::chars_format::fixed, decimals);
    return error == std::errc() ? std::string(text, end) : std::string();
}

std::string shortText(double number, int digits)
{
    char text[64];
    const auto [end, error] =
        std::to_chars(text, std::end(text), number, std::chars_format::general, digits);
    return error == std::errc() ? std::string(text, end) : std::string();
}

} // namespace bench
