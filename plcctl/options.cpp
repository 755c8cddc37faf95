// Declares the shared options, with their help texts and limits.
#include "options.h"

#include "driverhelp.h"
#include "help.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <map>

namespace plcctl
{

namespace
{

constexpr int MaxMs = 3600 * 1000;
constexpr int MaxDurationMs = 24 * 3600 * 1000;
constexpr int MaxRetries = 1000;
constexpr int MaxCount = 1000 * 1000;

const char* const LineGroup = "The line";
const char* const ProjectGroup = "The panel project";
const char* const SimulatorGroup = "The simulated controller";

void addProjectOptions(CLI::App& command, BenchOptions& options)
{
    CLI::Option* const project = addProjectOption(command, options.project);
    command
        .add_option("--port-name", options.portName,
                    "The port's name in the project, such as COM1 (default: the driver's own, or "
                    "ETHERNET for a tcp port)")
        ->needs(project)
        ->type_name("NAME")
        ->group(ProjectGroup);
}

/// Numbers that the driver has defaults for.
void addPatienceOptions(CLI::App& command, bench::PortOptions& options)
{
    const auto add = [&](const char* names, std::optional<int>& value, int low, int high,
                         const char* unit, const std::string& help) {
        defaultsToDriver(command.add_option(names, value, help)
                             ->check(between(low, high))
                             ->type_name(unit)
                             ->group(LineGroup));
    };
    const bool isTaken = command.get_option_no_throw("-o") != nullptr;
    add(isTaken ? "--timeout" : "-o,--timeout", options.timeoutMs, 1, MaxMs, "MS",
        "Longest wait for a reply, in ms");
    add("--retry", options.retry, 0, MaxRetries, "N", "How often a failed request is repeated");
    add("--delay", options.delayMs, 0, MaxMs, "MS", "Pause before every attempt, in ms");
}

/// As in "table, csv or json".
std::string wordsText(const std::vector<std::string>& words)
{
    const std::vector<std::string> most(words.begin(), words.end() - 1);
    return CLI::detail::join(most, ", ") + " or " + words.back();
}

/// An option that may be given again and again, with one value each time.
void addRepeatedOption(CLI::App& command, const char* name, std::vector<std::string>& values,
                       const char* help, const char* typeName)
{
    command.add_option(name, values, help)
        ->take_all()
        ->allow_extra_args(false)
        ->type_name(typeName)
        ->group(SimulatorGroup);
}

} // namespace

CLI::Validator between(std::int64_t low, std::int64_t high)
{
    const auto check = [low, high](std::string& text) {
        std::int64_t number = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, number);
        return isNumber && number >= low && number <= high
                   ? std::string()
                   : "'" + text + "' is not a number from " + std::to_string(low) + " to " +
                         std::to_string(high);
    };
    return CLI::Validator(check, "");
}

void addDevicesArgument(CLI::App& command, std::vector<std::string>& devices)
{
    command
        .add_option("DEVICE", devices,
                    "Device, range or tag, such as DM100, DM8:dint, MR0..MR15 or boiler.*")
        ->required()
        ->type_name("");
}

void addCountOption(CLI::App& command, int& count)
{
    command.add_option("-c,--count", count, "Values to read, from each device on")
        ->check(between(1, MaxCount))
        ->capture_default_str()
        ->type_name("N");
}

void addDriverOption(CLI::App& command, std::string& driverFile)
{
    command
        .add_option("--driver", driverFile,
                    "Driver plug-in to load (default: the KV-1000 driver of this build)")
        ->type_name("FILE");
}

void addNamingOptions(CLI::App& command, BenchOptions& options)
{
    command
        .add_option("--tags", options.tagFile,
                    "Tag file, a CSV table: its names can be used in place of devices")
        ->type_name("FILE");
    command
        .add_option("-t,--type", options.type,
                    "Type of devices that have none of their own: bool, byte, int, uint, word, "
                    "dint, udint, dword, real or string8 (default: the area's)")
        ->type_name("TYPE");
}

void addLineOption(CLI::App& command, bench::PortOptions& options)
{
    defaultsToDriver(
        command.add_option("-l,--line", options.line, "Serial line, such as RS485,19200,NONE,8,1")
            ->type_name("TEXT")
            ->group(LineGroup));
}

void addPortOptions(CLI::App& command, BenchOptions& options)
{
    command
        .add_option(
            "-p,--port", options.port.port,
            "A serial device such as /dev/ttyUSB0; or tcp:HOST[:PORT], the driver's usual "
            "port if omitted; or sim, a simulated controller inside this program that ends with "
            "it (default: sim)")
        ->type_name("PORT")
        ->group(LineGroup);
    addLineOption(command, options.port);
    addPatienceOptions(command, options.port);
    command
        .add_flag("--trace", options.trace,
                  "Show every call and byte of the line on standard error")
        ->group(LineGroup);
}

void addBenchOptions(CLI::App& command, BenchOptions& options)
{
    addNamingOptions(command, options);
    addRequestOptions(command, options);
}

void addRequestOptions(CLI::App& command, BenchOptions& options)
{
    addDriverOption(command, options.driverFile);
    addPortOptions(command, options);
    addProjectOptions(command, options);
    addControllerOptions(command, options.port.controller);
}

CLI::Option* addProjectOption(CLI::App& command, std::string& project)
{
    return command
        .add_option("--project", project,
                    "Directory of a panel program with a compiled project: link and station come "
                    "from its database")
        ->type_name("DIR")
        ->group(ProjectGroup);
}

void addControllerOptions(CLI::App& command, bench::ControllerOptions& options)
{
    command
        .add_option("--fault", options.faults,
                    "Faults on purpose, such as silent:0.2 (see plcctl simulate --help)")
        ->type_name("PLAN")
        ->group(SimulatorGroup);
    command.add_option("--seed", options.seed, "Seed of the faults: the same one, the same faults")
        ->check(between(0, UINT32_MAX))
        ->capture_default_str()
        ->type_name("N")
        ->group(SimulatorGroup);
    addRepeatedOption(command, "--set", options.presets,
                      "Value to start with, such as DM100=12 or T5=10,20,30; may be repeated",
                      "DEVICE=VALUE");
    addRepeatedOption(command, "--move", options.movements,
                      "Make a device's value move, such as DM100=ramp:0..100/10s; may be repeated",
                      "DEVICE=MOVEMENT");
}

void addFormatOption(CLI::App& command, Format& format, const std::vector<std::string>& choice)
{
    const std::map<std::string, Format> names = {
        {"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}};
    command
        .add_option_function<std::string>(
            "-f,--format", [&format, names](const std::string& name) { format = names.at(name); },
            wordsText(choice) + " (default: table)")
        ->check(oneOf(choice))
        ->type_name("FORMAT");
}

void addStyleOptions(CLI::App& command, Style& style)
{
    addFormatOption(command, style.format);
    const auto choose = [&style](bench::Notation notation) {
        return [&style, notation](std::int64_t) { style.notation = notation; };
    };
    CLI::Option* const isSigned = command.add_flag_function(
        "-s,--signed", choose(bench::Notation::Signed), "Whole numbers with a sign, such as -5");
    command
        .add_flag_function("-x,--hex", choose(bench::Notation::Hexadecimal),
                           "Whole numbers in hexadecimal, such as 0x001F")
        ->excludes(isSigned);
}

int parseDurationMs(const std::string& option, const std::string& text)
{
    static const std::map<std::string, int> msPerUnit = {
        {"ms", 1}, {"s", 1000}, {"m", 60 * 1000}, {"h", 3600 * 1000}};
    const auto refusal = [&](const std::string& why) {
        return CLI::ValidationError(option, "'" + text + "' " + why);
    };
    const std::size_t digits = std::min(text.find_first_not_of("0123456789."), text.size());
    const std::string number = text.substr(0, digits);
    const std::string unit = text.substr(digits);
    double count = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + digits, count);
    const bool isNumber = error == std::errc() && end == number.data() + digits;
    if (isNumber && unit.empty())
        throw refusal("has no unit: write " + text + "ms, " + text + "s or " + text + "m");
    const auto scale = msPerUnit.find(unit);
    if (!isNumber || scale == msPerUnit.end())
        throw refusal("is not a time; write 500ms, 2s or 1.5m");
    const double ms = count * scale->second;
    if (ms > MaxDurationMs)
        throw refusal("is more than a day");
    if (count > 0 && ms < 1)
        throw refusal("is less than 1ms");
    return static_cast<int>(std::lround(ms));
}

} // namespace plcctl
