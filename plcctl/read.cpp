// plcctl read: everything that was asked for, once, in as few requests as possible.
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

/// The values that came are printed also when others failed.
int read(const ReadOptions& options)
{
    Bench bench(options.bench);
    bench.hearLateReplies();
    const std::vector<bench::Point> points = bench.points(options.devices, options.count);
    const std::vector<bench::TypedDevice> devices = devicesOf(points);
    const auto plan = bench::planReads(devices, bench.driver().blocks());
    const auto readings = bench.session().read(plan, devices);
    std::vector<PointValue> values;
    for (std::size_t i = 0; i < points.size(); ++i)
        if (readings[i].value)
            values.push_back({&points[i], *readings[i].value});
    const int status = report(readings, [&](std::size_t i) { return points[i].name; });
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
