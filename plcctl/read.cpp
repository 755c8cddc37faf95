// plcctl read: one request for every device, then all that came.
#include "bench.h"
#include "commands.h"
#include "devicenames.h"

#include <CLI/CLI.hpp>

namespace plcctl
{

namespace
{

struct ReadOptions {
    BenchOptions bench;
    std::vector<std::string> devices;
    int count = 1;
    std::string unit = "word";
    Style style;
};

std::vector<Reading> readRun(Bench& bench, const std::string& device, const Unit& unit, int count)
{
    const RunNames names(bench.driverName(), device, unit);
    std::vector<Reading> run;
    for (const std::uint32_t value : bench.read(device, unit, count))
        run.push_back({names.at(static_cast<int>(run.size())), value});
    return run;
}

/// Returns Success, or the status of the first device that failed; the others are read all the
/// same.
ExitStatus read(const ReadOptions& options)
{
    const Unit& unit = unitNamed(options.unit);
    Bench bench(options.bench);
    bench.checkCount(static_cast<std::size_t>(options.count), unit);
    std::vector<Reading> readings;
    ExitStatus status = Success;
    for (const std::string& device : options.devices) {
        try {
            const std::vector<Reading> run = readRun(bench, device, unit, options.count);
            readings.insert(readings.end(), run.begin(), run.end());
        } catch (const Failure& failure) {
            report(failure, device);
            status = status == Success ? failure.status() : status;
        }
    }
    printReadings(readings, unit, options.style);
    return status;
}

} // namespace

void addReadCommand(CLI::App& app, ExitStatus& status)
{
    CLI::App* const command = app.add_subcommand("read", "Read devices once");
    const auto options = std::make_shared<ReadOptions>();
    addDevicesArgument(*command, options->devices);
    addCountOption(*command, options->count);
    addUnitOption(*command, options->unit);
    addStyleOptions(*command, options->style);
    addBenchOptions(*command, options->bench);
    command->footer(R"(Examples:
  plcctl read DM100 -c 2                    DM100 and DM101
  plcctl read T5 TS5 -t dword               a timer's current value and its set value
  plcctl read MR514 -c 4 -t bit             MR514, MR515, MR600, MR601
  plcctl read DM100 --hex -p /dev/ttyUSB0 -l RS232,38400,EVEN,8,1
  plcctl read DM100 -p tcp:192.168.0.10 --trace)");
    command->callback([options, &status] { status = read(*options); });
}

} // namespace plcctl
