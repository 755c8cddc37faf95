// Declares the shared options, with their help texts and limits.
#include "options.h"

#include <CLI/CLI.hpp>

namespace plcctl
{

namespace
{

constexpr int MaxMs = 3600 * 1000;
constexpr int MaxRetries = 1000;
constexpr int MaxCount = 65535;

const char* const LineGroup = "The line";
const char* const ProjectGroup = "The panel project";
const char* const SimulatorGroup = "The simulated controller";

std::vector<std::string> unitNames()
{
    std::vector<std::string> names;
    for (const Unit& unit : units())
        names.push_back(unit.name);
    return names;
}

void addLineOptions(CLI::App& command, BenchOptions& options)
{
    command
        .add_option("-p,--port", options.port,
                    "A serial device such as /dev/ttyUSB0; or tcp:HOST[:PORT], port 8501 if "
                    "omitted; or sim, a simulated controller inside this program that ends with it")
        ->default_val(BenchOptions::SimulatedPort)
        ->type_name("PORT")
        ->group(LineGroup);
    command
        .add_option("-l,--line", options.line,
                    "Serial line, such as RS232,9600,EVEN,8,1 (default: the driver's)")
        ->type_name("TEXT")
        ->group(LineGroup);
    command
        .add_flag("--trace", options.trace,
                  "Show every call and byte of the line on standard error")
        ->group(LineGroup);
}

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

/// Numbers that the driver knows defaults for.
void addPatienceOptions(CLI::App& command, BenchOptions& options)
{
    const auto add = [&](const char* names, std::optional<int>& value, int low, int high,
                         const char* unit, const std::string& help) {
        command.add_option(names, value, help + " (default: the driver's)")
            ->check(between(low, high))
            ->type_name(unit)
            ->group(LineGroup);
    };
    add("-o,--timeout", options.timeoutMs, 1, MaxMs, "MS", "Longest wait for a reply, in ms");
    add("--retry", options.retry, 0, MaxRetries, "N", "How often a failed request is repeated");
    add("--delay", options.delayMs, 0, MaxMs, "MS", "Pause before every attempt, in ms");
}

} // namespace

CLI::Validator between(int low, int high)
{
    CLI::Validator range = CLI::Range(low, high);
    return range.description("");
}

void addCountOption(CLI::App& command, int& count)
{
    command.add_option("-c,--count", count, "Units to read, from each device on")
        ->check(between(1, MaxCount))
        ->capture_default_str()
        ->type_name("N");
}

void addDevicesArgument(CLI::App& command, std::vector<std::string>& devices)
{
    command.add_option("DEVICE", devices, "Where to start, such as DM100, MR500 or T5")
        ->required()
        ->type_name("");
}

void addDriverOption(CLI::App& command, std::string& driverFile)
{
    command
        .add_option("--driver", driverFile,
                    "Driver plug-in to load (default: the KV-1000 driver of this build)")
        ->type_name("FILE");
}

void addBenchOptions(CLI::App& command, BenchOptions& options)
{
    addDriverOption(command, options.driverFile);
    addLineOptions(command, options);
    addPatienceOptions(command, options);
    addProjectOptions(command, options);
    addControllerOptions(command, options.controller);
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

void addControllerOptions(CLI::App& command, ControllerOptions& options)
{
    command
        .add_option("--fault", options.faults,
                    "Faults on purpose, such as silent:0.2 (see plcctl simulate --help)")
        ->type_name("PLAN")
        ->group(SimulatorGroup);
    command.add_option("--seed", options.seed, "Seed of the faults: the same one, the same faults")
        ->capture_default_str()
        ->type_name("N")
        ->group(SimulatorGroup);
    command
        .add_option("--set", options.presets,
                    "Value to start with, such as DM100=12 or T5=10,20,30; may be repeated")
        ->take_all()
        ->allow_extra_args(false)
        ->type_name("DEVICE=VALUE")
        ->group(SimulatorGroup);
}

void addUnitOption(CLI::App& command, std::string& unitName)
{
    command.add_option("-t,--type", unitName, "Unit: bit, byte, word, dword or block (of bytes)")
        ->check(CLI::Validator(CLI::IsMember(unitNames())).description(""))
        ->capture_default_str()
        ->type_name("TYPE");
}

void addFormatOption(CLI::App& command, Format& format)
{
    const std::map<std::string, Format> names = {
        {"table", Format::Table}, {"csv", Format::Csv}, {"json", Format::Json}};
    command
        .add_option_function<std::string>(
            "-f,--format", [&format, names](const std::string& name) { format = names.at(name); },
            "table, csv or json (default: table)")
        ->check(CLI::Validator(CLI::IsMember({"table", "csv", "json"})).description(""))
        ->type_name("FORMAT");
}

void addStyleOptions(CLI::App& command, Style& style)
{
    addFormatOption(command, style.format);
    const auto choose = [&style](Notation notation) {
        return [&style, notation](std::int64_t) { style.notation = notation; };
    };
    CLI::Option* const isSigned = command.add_flag_function("-s,--signed", choose(Notation::Signed),
                                                            "Values with a sign, such as -5");
    command
        .add_flag_function("-x,--hex", choose(Notation::Hexadecimal),
                           "Values in hexadecimal, such as 0x001F")
        ->excludes(isSigned);
}

} // namespace plcctl
