// Word wrap, and CLI11's formatter with it.
#include "help.h"

#include <algorithm>
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

std::vector<const CLI::App*> subcommandsOf(const CLI::App& program)
{
    return program.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> argumentsOf(const CLI::App& command)
{
    return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& command)
{
    return command.get_options([](const CLI::Option* option) {
        return option->nonpositional() && !option->get_group().empty();
    });
}

std::vector<const CLI::Option*> optionsOf(const CLI::App& command, const std::string& group)
{
    std::vector<const CLI::Option*> members;
    for (const CLI::Option* option : optionsOf(command))
        if (option->get_group() == group)
            members.push_back(option);
    return members;
}

std::vector<const CLI::Option*> requiredOptionsOf(const CLI::App& command)
{
    std::vector<const CLI::Option*> required;
    for (const CLI::Option* option : optionsOf(command))
        if (option->get_required())
            required.push_back(option);
    return required;
}

std::vector<std::string> namesToType(const CLI::Option& option)
{
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

std::string descriptionOf(const CLI::Option& option)
{
    const std::string preset = option.get_default_str();
    return option.get_description() + (preset.empty() ? "" : " (default: " + preset + ")");
}

// CLI11 keeps what a validator is called.
CLI::Validator oneOf(const std::vector<std::string>& words)
{
    const auto check = [words](std::string& word) {
        const bool isKnown = std::find(words.begin(), words.end(), word) != words.end();
        return isKnown ? std::string()
                       : "'" + word + "' is not one of " + CLI::detail::join(words, ", ");
    };
    return CLI::Validator(check, "", CLI::detail::join(words, "|"));
}

std::vector<std::string> wordsOf(const CLI::Option& option)
try {
    // get_validator() changes nothing, but is not declared so.
    const std::string& words = const_cast<CLI::Option&>(option).get_validator(0)->get_name();
    return words.find('|') == words.npos ? std::vector<std::string>()
                                         : CLI::detail::split(words, '|');
} catch (const CLI::OptionNotFound&) {
    return {};
}

HelpFormatter::HelpFormatter()
{
    column_width(NameWidth);
}

std::string HelpFormatter::make_usage(const CLI::App* app, std::string name) const
{
    const std::string options = "[OPTIONS]";
    std::string text = CLI::Formatter::make_usage(app, name);
    std::size_t end = text.find(options) + options.size();
    for (const CLI::Option* option : requiredOptionsOf(*app)) {
        const std::string word = " " + namesToType(*option).back() + " " + option->get_type_name();
        text.insert(end, word);
        end += word.size();
    }
    return text;
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const
{
    return option->get_type_name().empty() ? "" : " " + option->get_type_name();
}

std::string HelpFormatter::make_option_usage(const CLI::Option* option) const
{
    const std::string text =
        option->get_name(true) + (option->get_items_expected_max() > 1 ? "..." : "");
    return option->get_required() ? text : "[" + text + "]";
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const
{
    return wrapped(descriptionOf(*option), DescriptionWidth);
}

} // namespace plcctl
