#include "driverhelp.h"

#include "bench.h"
#include "help.h"

#include "bench/nearest.h"

#include "drivers/driverinterface.h"

#include <CLI/CLI.hpp>

#include <map>
#include <optional>

namespace plcctl
{

namespace
{

const char* const DriversOwn = "the driver's";
const char* const DeviceArgument = "DEVICE";
constexpr std::size_t MostAreasListed = 24;

/// The driver of a subcommand that was named with --driver; empty for the usual one.
std::string driverNamed(const CLI::App& program)
{
    for (const CLI::App* command : program.get_subcommands()) {
        const CLI::Option* const option = command->get_option_no_throw("--driver");
        if (option != nullptr && !option->empty())
            return option->results().back();
    }
    return std::string();
}

/// By the long names of the options.
std::map<std::string, std::string> defaultsOf(const bench::Driver& driver)
{
    const host::ExchangeSettings exchange = bench::exchangeSettings({}, driver);
    return {
        {"line", driver.object().getStringBasedDefaultDriverSetting().toStdString()},
        {"timeout", std::to_string(exchange.timeoutMs)},
        {"retry", std::to_string(exchange.retry)},
        {"delay", std::to_string(exchange.delayMs)},
    };
}

std::string areasOf(const bench::Driver& driver)
{
    std::vector<std::string> areas;
    for (const host::DeviceArea& area : driver.description().areas)
        areas.push_back(area.letters);
    return areas.empty() ? "" : ". Areas: " + bench::listed(areas, MostAreasListed);
}

void describe(CLI::Option& option, const bench::Driver& driver)
{
    if (option.get_default_str() == DriversOwn)
        option.default_str(defaultsOf(driver).at(option.get_lnames().front()));
    if (option.get_positional() && option.get_name(true) == DeviceArgument)
        option.description(option.get_description() + areasOf(driver));
}

} // namespace

void defaultsToDriver(CLI::Option* option)
{
    option->default_str(DriversOwn);
}

void describeDriver(CLI::App& program)
try {
    const bench::Driver driver(driverFile(driverNamed(program)));
    for (CLI::App* command : program.get_subcommands({}))
        for (CLI::Option* option : command->get_options())
            describe(*option, driver);
} catch (const bench::Failure&) {
    // Help is there for those who have no driver yet, too.
}

} // namespace plcctl
