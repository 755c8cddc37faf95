// Word wrap, and CLI11's formatter with it.
#include "help.h"

#include <sstream>

namespace plcctl
{

namespace
{

constexpr std::size_t NameWidth = 26;
constexpr std::size_t DescriptionWidth = 80 - NameWidth;

} // namespace

std::string wrapped(const std::string& text, std::size_t width)
{
    std::istringstream words(text);
    std::string lines;
    std::size_t column = 0;
    for (std::string word; words >> word; column += word.size()) {
        if (column != 0) {
            const bool fits = column + 1 + word.size() <= width;
            lines += fits ? ' ' : '\n';
            column = fits ? column + 1 : 0;
        }
        lines += word;
    }
    return lines;
}

HelpFormatter::HelpFormatter()
{
    column_width(NameWidth);
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const
{
    return option->get_type_name().empty() ? "" : " " + option->get_type_name();
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const
{
    const std::string preset = option->get_default_str();
    return wrapped(option->get_description() + (preset.empty() ? "" : " (default: " + preset + ")"),
                   DescriptionWidth);
}

} // namespace plcctl
