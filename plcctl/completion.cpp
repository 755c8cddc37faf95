// What completes an option's value or an argument, and the two scripts that pass it to a shell.
#include "completion.h"

#include "help.h"

#include "bench/types.h"

namespace plcctl
{

namespace
{

enum class Kind { Nothing, Words, Files, Directories, Ports, Devices };

/// What can be in a place of the command line.
struct Completion {
    Kind kind = Kind::Nothing;
    std::string words; ///< for Words, separated by blanks
};

std::string joined(const std::vector<std::string>& words)
{
    return CLI::detail::join(words, " ");
}

/// By the name that the help gives a value.
Completion completionOf(const CLI::Option& option)
{
    const std::vector<std::string> words = wordsOf(option);
    if (!words.empty())
        return {Kind::Words, joined(words)};
    const std::string value =
        option.get_positional() ? option.get_name(true) : option.get_type_name();
    if (value == "TYPE")
        return {Kind::Words, joined(bench::typeNames())};
    if (value == "FILE" || value == "LINK")
        return {Kind::Files, ""};
    if (value == "DIR")
        return {Kind::Directories, ""};
    if (value == "PORT")
        return {Kind::Ports, ""};
    if (value.rfind("DEVICE", 0) == 0)
        return {Kind::Devices, ""};
    return {};
}

bool takesValue(const CLI::Option& option)
{
    return option.get_items_expected_max() > 0;
}

std::string replaced(std::string text, const std::string& mark, const std::string& replacement)
{
    text.replace(text.find(mark), mark.size(), replacement);
    return text;
}

// bash

/// COMPREPLY for a word such as "DM8:di" holds what follows the last colon, because a colon ends a
/// word for bash. The marks are filled in.
const char* const BashScript = R"bash(# bash completion for plcctl; plcctl itself made it.
_plcctl_words() { COMPREPLY=($(compgen -W "$1" -- "$cur")); }

_plcctl_files() { compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen "$1" -- "$cur")); }

_plcctl_ports()
{
    _plcctl_words "sim tcp: $("$program" --generate ports 2>/dev/null)"
    [[ $cur != [./]* ]] || COMPREPLY+=($(compgen -f -- "$cur"))
    [[ ${COMPREPLY[*]} != tcp: ]] || compopt -o nospace 2>/dev/null
}

# The areas of the driver and the tags, then types after a colon.
_plcctl_devices()
{
    compopt -o nospace 2>/dev/null
    if [[ $cur == *:* ]]; then
        compopt +o nospace 2>/dev/null
        COMPREPLY=($(compgen -P "${cur%:*}:" -W "@TYPES@" -- "${cur##*:}"))
    else
        _plcctl_words "$("$program" --generate names "$driver" "$tags" 2>/dev/null)"
    fi
}

_plcctl()
{
    local line=${COMP_LINE:0:COMP_POINT} words cur previous program command='' driver='' tags='' i
    local options='' argument=:
    read -ra words <<<"$line"
    [[ $line != *[[:space:]] ]] || words+=('')
    program=${words[0]/#\~/$HOME} cur=${words[-1]} previous=${words[-2]}
    COMPREPLY=()
    for ((i = 1; i < ${#words[@]} - 1; ++i)); do
        [[ -n $command || ${words[i]} == -* ]] || command=${words[i]}
        [[ ${words[i]} != --driver ]] || driver=${words[i + 1]}
        [[ ${words[i]} != --driver=* ]] || driver=${words[i]#*=}
        [[ ${words[i]} != --tags ]] || tags=${words[i + 1]}
        [[ ${words[i]} != --tags=* ]] || tags=${words[i]#*=}
    done
    [[ $cur != --*=* ]] || { previous=${cur%%=*}; cur=${cur#*=}; }

    case "$command $previous" in
@VALUES@    *)
        case $command in
@COMMANDS@        esac
        if [[ $cur == -* ]]; then _plcctl_words "$options"; else eval "$argument"; fi
        ;;
    esac
    [[ $cur != *:* || $COMP_WORDBREAKS != *:* ]] ||
        COMPREPLY=("${COMPREPLY[@]#"${cur%"${cur##*:}"}"}")
}
complete -F _plcctl plcctl
)bash";

std::string bashAction(const Completion& completion)
{
    switch (completion.kind) {
    case Kind::Nothing:
        return ":";
    case Kind::Words:
        return "_plcctl_words '" + completion.words + "'";
    case Kind::Files:
        return "_plcctl_files -f";
    case Kind::Directories:
        return "_plcctl_files -d";
    case Kind::Ports:
        return "_plcctl_ports";
    case Kind::Devices:
        return "_plcctl_devices";
    }
    return ":";
}

/// A row for each option that has a value: "read -f" and "read --format".
std::string bashValues(const CLI::App& program)
{
    std::string rows;
    for (const CLI::App* command : subcommandsOf(program)) {
        for (const CLI::Option* option : optionsOf(*command)) {
            if (!takesValue(*option))
                continue;
            std::string pattern;
            for (const std::string& name : namesToType(*option))
                pattern +=
                    (pattern.empty() ? "" : " | ") + ("'" + command->get_name() + " " + name + "'");
            rows += "    " + pattern + ") " + bashAction(completionOf(*option)) + " ;;\n";
        }
    }
    return rows;
}

std::string optionNames(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : optionsOf(command))
        for (const std::string& name : namesToType(*option))
            names.push_back(name);
    return joined(names);
}

std::string bashRow(const std::string& command, const CLI::App& app, const std::string& argument)
{
    return "        " + command + ") options='" + optionNames(app) + "'" +
           (argument.empty() ? "" : " argument=\"" + argument + "\"") + " ;;\n";
}

std::string subcommandNames(const CLI::App& program)
{
    std::vector<std::string> names;
    for (const CLI::App* command : subcommandsOf(program))
        names.push_back(command->get_name());
    return joined(names);
}

/// The first argument; where it is one of a few words, also the second, of which none begins alike.
std::string bashArguments(const std::vector<const CLI::Option*>& arguments)
{
    if (arguments.empty())
        return std::string();
    const Completion first = completionOf(*arguments.front());
    if (first.kind != Kind::Words || arguments.size() == 1)
        return bashAction(first);
    return bashAction(first) + "; ((\\${#COMPREPLY[@]})) || " +
           bashAction(completionOf(*arguments[1]));
}

/// A row for each subcommand: what its options are called and what its arguments are.
std::string bashCommands(const CLI::App& program)
{
    std::string rows = bashRow("''", program, "_plcctl_subcommands");
    for (const CLI::App* command : subcommandsOf(program)) {
        rows += bashRow(command->get_name(), *command, bashArguments(argumentsOf(*command)));
    }
    return rows;
}

// zsh

const char* const ZshScript = R"zsh(#compdef plcctl
# zsh completion for plcctl; plcctl itself made it.
_plcctl_ports() {
    local -a ports=(${(f)"$($program --generate ports 2>/dev/null)"})
    _alternative 'kinds:kind of port:(sim)' 'tcp:address:compadd -S "" tcp\:' \
        'devices:serial device:compadd -a ports' 'files:file:_files'
}

# The areas of the driver and the tags, then types after a colon.
_plcctl_devices() {
    if compset -P '*:'; then
        compadd @TYPES@
    else
        compadd -S '' -- \
            ${(f)"$($program --generate names "$opt_args[--driver]" "$opt_args[--tags]" 2>/dev/null)"}
    fi
}

_plcctl() {
    local curcontext=$curcontext program=${~words[1]} state line
    local -a commands
    typeset -A opt_args
    _arguments -C @OPTIONS@ \
        '1:subcommand:->subcommand' '*::argument:->argument'
    case $state in
    subcommand)
        commands=(
@DESCRIPTIONS@        )
        _describe subcommand commands
        ;;
    argument)
        case $words[1] in
@COMMANDS@        esac
        ;;
    esac
}

_plcctl "$@"
)zsh";

/// Text between single quotes, with backslashes before the characters that end a part of it.
std::string zshText(const std::string& text, const char* ends)
{
    std::string escaped;
    for (const char letter : text) {
        if (letter == '\'') {
            escaped += "'\\''";
            continue;
        }
        if (letter == '\\' || std::string(ends).find(letter) != std::string::npos)
            escaped += '\\';
        escaped += letter;
    }
    return escaped;
}

std::string zshAction(const Completion& completion)
{
    switch (completion.kind) {
    case Kind::Nothing:
        return " ";
    case Kind::Words:
        return "(" + completion.words + ")";
    case Kind::Files:
        return "_files";
    case Kind::Directories:
        return "_files -/";
    case Kind::Ports:
        return "_plcctl_ports";
    case Kind::Devices:
        return "_plcctl_devices";
    }
    return " ";
}

/// '(-c --count)'{-c+,--count=}'[Values to read]:N: '
std::string zshOption(const CLI::Option& option)
{
    const std::vector<std::string> names = namesToType(option);
    std::vector<std::string> alternatives;
    for (const std::string& name : names)
        alternatives.push_back(name + (!takesValue(option) ? "" : name[1] == '-' ? "=" : "+"));
    const std::string value = takesValue(option) ? ":" + zshText(option.get_type_name(), ":[]") +
                                                       ":" + zshAction(completionOf(option))
                                                 : "";
    const std::string rest = "'[" + zshText(descriptionOf(option), "[]") + "]" + value + "'";
    const bool repeats = option.get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    const std::string before = repeats ? "'*'" : "'(" + joined(names) + ")'";
    return before +
           (alternatives.size() == 1 ? alternatives.front()
                                     : "{" + CLI::detail::join(alternatives, ",") + "}") +
           rest;
}

std::string zshArgument(const CLI::Option& argument)
{
    const bool isMany = argument.get_items_expected_max() > 1;
    return std::string("'") +
           (isMany                    ? "*"
            : argument.get_required() ? ""
                                      : ":") +
           ":" + argument.get_name(true) + ":" + zshAction(completionOf(argument)) + "'";
}

std::string zshOptions(const CLI::App& command, const std::string& separator)
{
    std::vector<std::string> specs;
    for (const CLI::Option* option : optionsOf(command))
        specs.push_back(zshOption(*option));
    for (const CLI::Option* argument : argumentsOf(command))
        specs.push_back(zshArgument(*argument));
    return CLI::detail::join(specs, separator);
}

std::string zshCommands(const CLI::App& program)
{
    std::string rows;
    for (const CLI::App* command : subcommandsOf(program))
        rows += "        " + command->get_name() + ") _arguments -s \\\n            " +
                zshOptions(*command, " \\\n            ") + " ;;\n";
    return rows;
}

std::string zshDescriptions(const CLI::App& program)
{
    std::string rows;
    for (const CLI::App* command : subcommandsOf(program))
        rows += "            '" + command->get_name() + ":" +
                zshText(command->get_description(), ":") + "'\n";
    return rows;
}

} // namespace

std::string bashCompletion(const CLI::App& program)
{
    std::string script = BashScript;
    script = replaced(script, "@TYPES@", joined(bench::typeNames()));
    script = replaced(script, "@VALUES@", bashValues(program));
    script = replaced(script, "@COMMANDS@", bashCommands(program));
    return replaced(script, "_plcctl_subcommands",
                    "_plcctl_words '" + subcommandNames(program) + "'");
}

std::string zshCompletion(const CLI::App& program)
{
    std::string script = ZshScript;
    script = replaced(script, "@TYPES@", joined(bench::typeNames()));
    script = replaced(script, "@OPTIONS@", zshOptions(program, " "));
    script = replaced(script, "@DESCRIPTIONS@", zshDescriptions(program));
    return replaced(script, "@COMMANDS@", zshCommands(program));
}

} // namespace plcctl
