// plcctl write: all values in one request.
#include "bench.h"
#include "commands.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

struct WriteOptions {
    BenchOptions bench;
    std::string device;
    std::vector<std::string> values;
    std::string unit = "word";
};

std::vector<std::uint32_t> parseValues(const std::vector<std::string>& texts, const Unit& unit)
{
    std::vector<std::uint32_t> values;
    for (const std::string& text : texts)
        values.push_back(parseValue(text, unit));
    return values;
}

/// Nothing is sent unless every value can be understood.
ExitStatus write(const WriteOptions& options)
{
    const Unit& unit = unitNamed(options.unit);
    const std::vector<std::uint32_t> values = parseValues(options.values, unit);
    Bench bench(options.bench);
    bench.checkCount(values.size(), unit);
    try {
        bench.write(options.device, unit, values);
    } catch (const Failure& failure) {
        report(failure, options.device);
        return failure.status();
    }
    std::fprintf(stderr, "%s: %s written%s\n", escaped(options.device).c_str(),
                 counted(static_cast<int>(values.size()), unit).c_str(),
                 bench.isSimulated() ? ", to a simulated controller that ends now" : "");
    return Success;
}

} // namespace

void addWriteCommand(CLI::App& app, ExitStatus& status)
{
    CLI::App* const command =
        app.add_subcommand("write", "Write values to a device and those behind it");
    const auto options = std::make_shared<WriteOptions>();
    command->add_option("DEVICE", options->device, "Where to start, such as DM100, MR500 or TS5")
        ->required()
        ->type_name("");
    command->add_option("VALUE", options->values, "Numbers such as 12, -5 or 0x1F")
        ->required()
        ->type_name("");
    addUnitOption(*command, options->unit);
    addBenchOptions(*command, options->bench);
    command->footer(R"(Examples:
  plcctl write DM100 12 2 -p /dev/ttyUSB0          DM100 = 12, DM101 = 2
  plcctl write DM100 -100000 -t dword -p /dev/ttyUSB0
  plcctl write MR500 1 0 1 -t bit -p tcp:192.168.0.10
  plcctl write TS5 100 -t dword -p tcp:192.168.0.10   a timer's set value)");
    command->callback([options, &status] { status = write(*options); });
}

} // namespace plcctl
