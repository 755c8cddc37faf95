// plcctl read: everything that was asked for, once, in as few requests as can be.
#include "bench.h"
#include "commands.h"
#include "report.h"

#include <CLI/CLI.hpp>

namespace plcctl
{

namespace
{

struct ReadOptions {
    BenchOptions bench;
    std::vector<std::string> devices;
    int count = 1;
    Style style;
};

/// Tells of each failure once, by the name of the first point that it hit. Returns the exit status
/// of the first.
int reportFailures(const std::vector<bench::Point>& points,
                   const std::vector<bench::Reading>& readings)
{
    int status = Success;
    std::string last;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto& failure = readings[i].failure;
        if (!failure || failure->what() == last)
            continue;
        report(*failure, points[i].name);
        last = failure->what();
        status = status == Success ? bench::exitStatus(failure->kind()) : status;
    }
    return status;
}

/// The values that came are printed also when others failed.
int read(const ReadOptions& options)
{
    Bench bench(options.bench);
    const std::vector<bench::Point> points = bench.points(options.devices, options.count);
    const auto readings = bench.session().read(devicesOf(points));
    std::vector<PointValue> values;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (readings[i].value)
            values.push_back({&points[i], *readings[i].value});
    const int status = reportFailures(points, readings);
    printValues(values, options.style);
    return status;
}

} // namespace

void addReadCommand(CLI::App& app, int& status)
{
    CLI::App* const command = app.add_subcommand("read", "Read devices once");
    const auto options = std::make_shared<ReadOptions>();
    addDevicesArgument(*command, options->devices);
    addCountOption(*command, options->count);
    addStyleOptions(*command, options->style);
    addBenchOptions(*command, options->bench);
    command->footer(R"(Examples:
  plcctl read DM100 -c 2                    DM100 and DM101
  plcctl read DM8:dint DM20:real T5 MR500   each in a type of its own
  plcctl read MR0..MR15 DM100:string8
  plcctl read 'boiler.*' --tags plant.csv -p /dev/ttyUSB0
  plcctl read DM100 --hex -p tcp:192.168.0.10 --trace)");
    command->callback([options, &status] { status = read(*options); });
}

} // namespace plcctl
