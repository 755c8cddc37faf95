// plcctl scan: tries the settings of a serial line until the controller answers.
#include "bench.h"
#include "commands.h"
#include "progress.h"
#include "report.h"

#include "bench/scan.h"
#include "bench/statistics.h"
#include "bench/tags.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

struct ScanOptions {
    std::string driverFile;
    std::string tagFile;
    std::string device;
    bench::PortOptions port;
    bench::ScanOptions scan;
    bool trace = false;
    bool verbose = false;
    Format format = Format::Table;
};

/// How far the scan is: one line of the terminal, or with -v a line for each try.
class ScanProgress
{
public:
    ScanProgress(std::size_t count, bool verbose)
        : m_count(count)
        , m_verbose(verbose)
        , m_line(!verbose)
    {
    }

    void trying(std::size_t number, const host::LineSettings& line)
    {
        m_line.show("trying " + std::to_string(number) + " of " + std::to_string(m_count) + ": " +
                    host::textOf(line).toStdString());
    }

    void tried(const host::LineSettings& line, bench::ProbeOutcome outcome) const
    {
        if (m_verbose)
            note(host::textOf(line).toStdString() + ": " + bench::nameOf(outcome));
    }

private:
    std::size_t m_count;
    bool m_verbose;
    StatusLine m_line;
};

int roundedUpMs(std::chrono::microseconds time)
{
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(time).count());
}

Table tableOf(const std::vector<bench::FoundLine>& lines)
{
    Table table{{"line", "timeoutMs", "outcome", "reads", "answers", "longestMs"}, {}};
    for (const bench::FoundLine& found : lines)
        table.rows.push_back({host::textOf(found.line).toStdString(), found.timeoutMs,
                              std::string(bench::nameOf(found.outcome)), found.reads, found.answers,
                              roundedUpMs(found.longest)});
    return table;
}

/// As options for the other subcommands, and what they rest on.
void printForPeople(const std::vector<bench::FoundLine>& lines)
{
    for (const bench::FoundLine& found : lines) {
        const std::string line = host::textOf(found.line).toStdString();
        std::printf("--line %s --timeout %d\n", line.c_str(), found.timeoutMs);
        note(line + ": the controller " + bench::nameOf(found.outcome) + "; " +
             std::to_string(found.answers) + " of " + counted(found.reads, "read") +
             " answered, the longest reply took " + bench::durationText(found.longest));
    }
}

/// A tag or a device.
bench::TypedDevice deviceOf(const ScanOptions& options, const bench::Devices& devices)
{
    std::vector<bench::Point> tags;
    if (!options.tagFile.empty())
        tags = bench::loadTags(options.tagFile, devices);
    return bench::resolveOne(options.device, {tags, devices}).device;
}

bench::Failure nothingFound()
{
    if (StopSignal::caught() != 0)
        return bench::Failure(bench::FailureKind::NoReply, "stopped before anything answered");
    return bench::Failure(
        bench::FailureKind::NoReply, "nothing answered at any usual setting",
        "Check power, cable and port (a null-modem cable, or a straight one?), and that the "
        "controller's port is set to this protocol. A slow controller may need --timeout 1000.");
}

std::vector<bench::FoundLine> findLines(const ScanOptions& options)
{
    StopSignal stop;
    bench::Driver driver(driverFile(options.driverFile));
    const bench::TypedDevice device = deviceOf(options, driver.devices());
    bench::PortOptions port = options.port;
    if (options.trace)
        port.trace = printTrace;
    const bench::Probe probe =
        bench::probeOf(driver, device, port, [&](bench::OpenPort* open) { stop.interrupts(open); });

    const auto lines = bench::linesToTry(bench::lineSettings(bench::PortOptions(), driver));
    ScanProgress progress(lines.size(), options.verbose || options.trace);
    bench::ScanEvents events;
    events.trying = [&](std::size_t number, const auto& line) { progress.trying(number, line); };
    events.tried = [&](const auto& line, auto outcome) { progress.tried(line, outcome); };
    events.isStopped = [&] { return stop.waitFor(0); };
    return bench::scan(lines, options.scan, probe, events);
}

int scan(const ScanOptions& options)
{
    const std::vector<bench::FoundLine> found = findLines(options);
    if (options.format == Format::Table)
        printForPeople(found);
    else
        printTable(tableOf(found), options.format);
    // With --all, a signal leaves settings untried.
    if (!found.empty())
        return StopSignal::exitStatus();
    throw nothingFound();
}

void addScanPortOptions(CLI::App& command, ScanOptions& options)
{
    command.add_option("-p,--port", options.port.port, "Serial device, such as /dev/ttyUSB0")
        ->required()
        ->type_name("PORT");
    command
        .add_option("-o,--timeout", options.port.timeoutMs,
                    "Longest wait for a reply at each setting, in ms, besides the time that the "
                    "bytes take (default: " +
                        std::to_string(bench::ScanTimeoutMs) + ")")
        ->check(between(1, 60 * 1000))
        ->type_name("MS");
    command.add_flag("--trace", options.trace,
                     "Show every call and byte of the line on standard error");
}

} // namespace

void addScanCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("scan", "Find the settings of a serial line by trying them");
    const auto options = std::make_shared<ScanOptions>();
    command
        ->add_option(
            "DEVICE", options->device,
            "Device or tag to read, such as DM0; one that the controller refuses will do too")
        ->required()
        ->type_name("");
    addScanPortOptions(*command, *options);
    command->add_flag("--all", options->scan.all, "Continue after the first setting that works");
    command->add_flag("-v,--verbose", options->verbose,
                      "Print a line on standard error for each try");
    command
        ->add_option("--tags", options->tagFile, "Tag file, a CSV table: its names are devices too")
        ->type_name("FILE");
    addDriverOption(*command, options->driverFile);
    addFormatOption(*command, options->format);
    command->footer(
        R"(Devices are only read. The driver's own default line is tried first, then other
speeds, then other forms of characters. A line that it prints is a setting that
works, as options to paste; of several settings, take one.

Examples:
  plcctl scan DM0 -p /dev/ttyUSB0
  plcctl scan DM0 -p /dev/ttyUSB0 --all -v -f csv)");
    command->callback([options, &status] { status = scan(*options); });
}

} // namespace plcctl
