// How help texts and advice are laid out on a terminal.
// It knows no option and no subcommand.
#ifndef PLCCTL_HELP_H
#define PLCCTL_HELP_H

#include <CLI/CLI.hpp>

#include <string>

namespace plcctl
{

/// The text with line ends instead of blanks where a line would get longer than `width` characters.
std::string wrapped(const std::string& text, std::size_t width);

/// Names of options with their values on the left, what they do beside them in lines of their own.
class HelpFormatter : public CLI::Formatter
{
public:
    HelpFormatter();
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
};

} // namespace plcctl

#endif
