#include "wrongarguments.h"

#include "help.h"

#include "bench/nearest.h"

#include <CLI/CLI.hpp>

namespace plcctl
{

namespace
{

bool isOption(const std::string& text)
{
    return text.size() > 1 && text.front() == '-';
}

/// Only these have a nearest one: one letter differs from every other one by one error.
bool isLong(const std::string& option)
{
    return option.compare(0, 2, "--") == 0;
}

std::vector<std::string> commandsToType(const CLI::App& program)
{
    std::vector<std::string> names;
    for (const CLI::App* command : subcommandsOf(program))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> optionsToType(const CLI::App& command)
{
    std::vector<std::string> names;
    for (const CLI::Option* option : optionsOf(command))
        for (const std::string& name : namesToType(*option))
            names.push_back(name);
    return names;
}

std::string helpOf(const CLI::App& command)
{
    const bool isProgram = command.get_parent() == nullptr;
    return "Try 'plcctl " + (isProgram ? "" : command.get_name() + " ") + "--help'.";
}

bench::Failure unknownCommand(const CLI::App& program, const std::string& word)
{
    std::vector<std::string> words = commandsToType(program);
    for (const std::string& name : optionsToType(program))
        if (isLong(name))
            words.push_back(name);
    const std::string meant = bench::nearest(word, words);
    return bench::wrongUsage("no such subcommand or option: " + word,
                             meant.empty() ? helpOf(program)
                                           : "Did you mean 'plcctl " + meant + "'?");
}

/// The first option that the subcommand does not have; else the first argument too many.
bench::Failure unexpected(const CLI::App& command, const std::vector<std::string>& words)
{
    const auto option = std::find_if(words.begin(), words.end(), isOption);
    if (option == words.end())
        return bench::wrongUsage("one argument too many: " + words.front(), helpOf(command));
    const std::string name = option->substr(0, option->find('='));
    const std::string meant = isLong(name) ? bench::nearest(name, optionsToType(command)) : "";
    return bench::wrongUsage(command.get_name() + " has no option " + name,
                             meant.empty() ? helpOf(command) : "Did you mean " + meant + "?");
}

/// The parser's text begins with the option's name and a colon.
bench::Failure wrongNumberOfValues(const CLI::App& command, const std::string& text)
{
    const std::string name = text.substr(0, text.find(':'));
    const CLI::Option* const option = command.get_option_no_throw(name);
    const bool isMissing = text.find("missing") != std::string::npos;
    if (option == nullptr || isMissing)
        return bench::wrongUsage(name + " needs a value", helpOf(command));
    const int most = option->get_items_expected_max();
    return bench::wrongUsage(name + " takes " + std::to_string(most) +
                                 (most == 1 ? " value" : " values") + ", but " +
                                 std::to_string(option->count()) + " were given",
                             helpOf(command));
}

} // namespace

bench::Failure wrongArguments(const CLI::App& program, const CLI::ParseError& error)
{
    const std::vector<CLI::App*> chosen = program.get_subcommands();
    if (chosen.empty()) {
        const std::vector<std::string> unknown = program.remaining();
        if (!unknown.empty())
            return unknownCommand(program, unknown.front());
        return bench::wrongUsage("a subcommand is missing: " +
                                     bench::listed(commandsToType(program), 20),
                                 helpOf(program));
    }
    const CLI::App& command = *chosen.front();
    const std::vector<std::string> left = command.remaining();
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr && !left.empty())
        return unexpected(command, left);
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr)
        return wrongNumberOfValues(command, error.what());
    return bench::wrongUsage(error.what(), helpOf(command));
}

void refuseEmptyValues(CLI::App& program)
{
    const auto notEmpty = [](std::string& value) {
        return value.empty() ? std::string("the value is empty") : std::string();
    };
    for (CLI::App* command : program.get_subcommands([](CLI::App*) { return true; }))
        for (CLI::Option* option : command->get_options())
            if (option->nonpositional() && option->get_items_expected_max() > 0)
                option->check(CLI::Validator(notEmpty, ""));
}

} // namespace plcctl
