// How help texts and advice are laid out on a terminal.
#ifndef PLCCTL_HELP_H
#define PLCCTL_HELP_H

#include <CLI/CLI.hpp>

#include <string>
#include <vector>

namespace plcctl
{

/// The text with line ends instead of blanks where a line would get longer than `width` characters.
std::string wrapped(const std::string& text, std::size_t width);

/// What help, man pages and completion list, in the order in which it was declared.
std::vector<const CLI::App*> subcommandsOf(const CLI::App& program);
std::vector<const CLI::Option*> argumentsOf(const CLI::App& command);
std::vector<const CLI::Option*> optionsOf(const CLI::App& command);
std::vector<const CLI::Option*> optionsOf(const CLI::App& command, const std::string& group);

/// Those that can't be left out.
std::vector<const CLI::Option*> requiredOptionsOf(const CLI::App& command);

/// The names of an option with their hyphens, the short ones first.
std::vector<std::string> namesToType(const CLI::Option& option);

/// What an option does, with its default.
std::string descriptionOf(const CLI::Option& option);

/// Accepts one of a few words, without naming them in the help text; and the words that an option
/// accepts this way, empty for any other option.
CLI::Validator oneOf(const std::vector<std::string>& words);
std::vector<std::string> wordsOf(const CLI::Option& option);

/// Names of options with their values on the left, what they do beside them in lines of their own.
class HelpFormatter : public CLI::Formatter
{
public:
    HelpFormatter();
    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_usage(const CLI::Option* option) const override;
    std::string make_option_desc(const CLI::Option* option) const override;
};

} // namespace plcctl

#endif
