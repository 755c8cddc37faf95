// plcctl write: values to consecutive devices, or to many points from a file. Nothing is sent
// unless every device and every value can be understood.
#include "bench.h"
#include "commands.h"
#include "report.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::FailureKind;

struct WriteOptions {
    BenchOptions bench;
    std::string device;
    std::vector<std::string> values;
    std::string from; ///< file of devices and values; "-" for standard input
    bool verify = false;
    Style style;
};

/// What is written, in this order.
struct Plan {
    std::vector<bench::Point> points;
    std::vector<bench::Value> values;

    void add(const bench::Point& point, const std::string& text)
    {
        points.push_back(point);
        values.push_back(bench::valueToWrite(point, text));
    }
};

Plan planFromArguments(const Bench& bench, const WriteOptions& options)
{
    Plan plan;
    const auto points =
        bench.points({options.device}, options.values.size() > 1 ? int(options.values.size()) : 1);
    if (points.size() != options.values.size())
        throw bench::wrongUsage(options.device + " names " + counted(points.size(), "point") +
                                    ", but there are " + counted(options.values.size(), "value"),
                                "Write one value for each.");
    for (std::size_t i = 0; i < points.size(); ++i)
        plan.add(points[i], options.values[i]);
    return plan;
}

/// "DM100 12", "DM100 = 12" or "boiler.setpoint 21.5"; a comment after # and blank lines are
/// skipped.
void addLine(Plan& plan, const Bench& bench, const std::string& text)
{
    const std::string line = text.substr(0, text.find('#'));
    const std::size_t begin = line.find_first_not_of(" \t\r");
    if (begin == std::string::npos)
        return;
    const std::size_t end = std::min(line.find_first_of(" \t=", begin), line.size());
    const std::size_t value = line.find_first_not_of(" \t=", end);
    if (value == std::string::npos)
        throw bench::wrongUsage("there is no value after " + line.substr(begin, end - begin),
                                "Write a device and a value, such as DM100 12.");
    const auto points = bench.points({line.substr(begin, end - begin)});
    if (points.size() != 1)
        throw bench::wrongUsage(line.substr(begin, end - begin) + " names " +
                                counted(points.size(), "point"));
    plan.add(points.front(), line.substr(value, line.find_last_not_of(" \t\r") + 1 - value));
}

Plan planFromLines(const Bench& bench, const std::string& name, std::istream& lines)
{
    Plan plan;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            addLine(plan, bench, line);
        } catch (const Failure& failure) {
            throw Failure(failure.kind(),
                          name + ", line " + std::to_string(number) + ": " + failure.what(),
                          failure.advice());
        }
    }
    return plan;
}

Plan planFromFile(const Bench& bench, const std::string& name)
{
    if (name == "-")
        return planFromLines(bench, "standard input", std::cin);
    std::ifstream file(name);
    if (!file)
        throw Failure(FailureKind::CannotOpen, "cannot read " + name);
    return planFromLines(bench, name, file);
}

/// Throws a Failure (Different) that names the first point that differs.
void verify(bench::Session& session, const Plan& plan)
{
    const auto readings = session.read(devicesOf(plan.points));
    for (std::size_t i = 0; i < readings.size(); ++i) {
        const bench::Point& point = plan.points[i];
        if (readings[i].failure)
            throw Failure(readings[i].failure->kind(),
                          point.name + ": " + readings[i].failure->what() + " (reading it back)",
                          readings[i].failure->advice());
        const bench::Type& type = point.device.type;
        if (bench::dataOf(*readings[i].value, type) != bench::dataOf(plan.values[i], type))
            throw Failure(FailureKind::Different,
                          point.name + ": wrote " + bench::textOf(point, plan.values[i]) +
                              ", read back " + bench::textOf(point, *readings[i].value),
                          "The controller took the value and changed it, or its program did.");
    }
}

void send(bench::Session& session, const Plan& plan)
try {
    session.write(devicesOf(plan.points), plan.values);
} catch (const bench::WriteFailure& failure) {
    const std::string before =
        failure.index == 0 ? "" : " (written before it: " + counted(failure.index, "value") + ")";
    throw Failure(failure.kind(), plan.points[failure.index].name + ": " + failure.what() + before,
                  failure.advice());
}

void checkArguments(const WriteOptions& options)
{
    if (options.from.empty() == options.values.empty() ||
        options.device.empty() == options.from.empty())
        throw bench::wrongUsage("write wants a device and values, or --from FILE",
                                "Try 'plcctl write --help'.");
}

int write(const WriteOptions& options)
{
    checkArguments(options);
    Bench bench(options.bench);
    const Plan plan = options.from.empty() ? planFromArguments(bench, options)
                                           : planFromFile(bench, options.from);
    // What can't be written as a whole is refused before the port is opened.
    bench::planWrites(devicesOf(plan.points), plan.values, bench.driver().blocks());
    bench::Session& session = bench.session();
    send(session, plan);
    if (options.verify)
        verify(session, plan);
    note((options.from.empty() ? options.device : options.from) + ": " +
         counted(plan.values.size(), "value") + " written" +
         (options.verify ? " and read back" : "") +
         (options.bench.port.isSimulated() ? ", to a simulated controller that ends now" : ""));
    return Success;
}

} // namespace

void addWriteCommand(CLI::App& app, int& status)
{
    CLI::App* const command = app.add_subcommand("write", "Write values to consecutive devices");
    const auto options = std::make_shared<WriteOptions>();
    command
        ->add_option("DEVICE", options->device,
                     "Where to start, such as DM100, DM8:dint, MR500 or a tag")
        ->type_name("");
    command->add_option("VALUE", options->values, "Numbers such as 12, -5, 0x1F or 21.5, or texts")
        ->type_name("");
    command
        ->add_option("--from", options->from,
                     "File of devices and values, one pair a line; - for standard input")
        ->type_name("FILE");
    command->add_flag("--verify", options->verify,
                      "Read the values back; exit status 6 when one differs");
    addBenchOptions(*command, options->bench);
    command->footer(R"(Examples:
  plcctl write DM100 12 2 -p /dev/ttyUSB0          DM100 = 12, DM101 = 2
  plcctl write DM100:dint -100000 -p /dev/ttyUSB0
  plcctl write MR500 1 0 1 -p tcp:192.168.0.10
  plcctl write boiler.setpoint 21.5 --tags plant.csv --verify -p /dev/ttyUSB0
  plcctl write --from recipe.txt -p /dev/ttyUSB0)");
    command->callback([options, &status] { status = write(*options); });
}

} // namespace plcctl
