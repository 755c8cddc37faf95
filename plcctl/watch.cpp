// plcctl watch: reads again and again and prints what changed.
#include "bench.h"
#include "commands.h"
#include "live.h"
#include "report.h"

#include "bench/watcher.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::FailureKind;
using std::chrono::milliseconds;

constexpr int MaxRounds = 1000 * 1000 * 1000;

struct WatchOptions {
    BenchOptions bench;
    std::vector<std::string> devices;
    int count = 1;
    Style style;
    int intervalMs = 500;
    int rounds = 0; ///< 0: until a signal
    bool live = false;
};

/// Prints what changed as it comes, a line each with the time; in CSV after a header, in JSON as an
/// object each. These two also have a line for a point that fails and for its return, so that a log
/// tells an outage from a value that did not change.
class ChangePrinter
{
public:
    explicit ChangePrinter(const Style& style)
        : m_style(style)
    {
        if (style.format != Format::Csv)
            return;
        std::vector<std::string> columns = {"time"};
        columns.insert(columns.end(), valueColumns().begin(), valueColumns().end());
        columns.emplace_back("failure");
        printCsv(columns);
    }

    /// Throws a Failure (CannotOpen) when a line can't be written.
    void print(const bench::Watched& watched) const
    {
        const bool isLog = m_style.format != Format::Table;
        if (watched.isNewValue || (isLog && watched.isBack))
            print({&watched.point, *watched.value});
        else if (isLog && watched.isNewFailure)
            print(watched.point, *watched.failure);
        if (std::fflush(stdout) != 0)
            throw Failure(FailureKind::CannotOpen, "can't write to standard output");
    }

private:
    void print(const PointValue& value) const
    {
        const bench::Notation notation = m_style.notation;
        switch (m_style.format) {
        case Format::Table:
            std::printf("%s  %s  %s\n", clockTime().c_str(), value.point->name.c_str(),
                        textWithUnit(value, notation).c_str());
            break;
        case Format::Csv:
            printCells(cellsOf(value, notation), std::string());
            break;
        case Format::Json:
            printObject(jsonOf(value, notation));
            break;
        }
    }

    void print(const bench::Point& point, const Failure& failure) const
    {
        if (m_style.format == Format::Csv) {
            std::vector<std::string> cells = cellsOf(point);
            cells.resize(valueColumns().size());
            return printCells(cells, bench::keyOf(failure.kind()));
        }
        Json object = jsonOf(point);
        object["failure"] = bench::keyOf(failure.kind());
        printObject(object);
    }

    static void printCells(std::vector<std::string> cells, const std::string& failure)
    {
        cells.insert(cells.begin(), timeStamp());
        cells.push_back(failure);
        printCsv(cells);
    }

    static void printObject(const Json& object)
    {
        Json change = {{"time", timeStamp()}};
        change.update(object);
        printJson(change);
    }

    Style m_style;
};

std::string subject(const std::string& first, std::size_t count)
{
    return clockTime() + " " + firstAndMore(first, count);
}

/// A failure that lasts is reported once, for all points that it hit; its details may vary. Advice
/// comes with the first of a kind only, so that a line that comes and goes fills no screen with it.
class FailureReporter
{
public:
    void tell(const std::vector<bench::Watched>& points)
    {
        tellBack(points);
        std::vector<FailedPoints> failed;
        for (const bench::Watched& watched : points)
            if (watched.isNewFailure)
                addFailed(failed, *watched.failure, watched.point.name);
        for (const FailedPoints& some : failed)
            tell(some);
    }

private:
    static void tellBack(const std::vector<bench::Watched>& points)
    {
        std::vector<std::string> back;
        for (const bench::Watched& watched : points)
            if (watched.isBack)
                back.push_back(watched.point.name);
        if (!back.empty())
            note(subject(back.front(), back.size()) +
                 (back.size() == 1 ? ": answers again" : ": answer again"));
    }

    void tell(const FailedPoints& some)
    {
        const Failure& failure = some.failure;
        const int before = m_reported[std::size_t(failure.kind())]++;
        const std::string times = ", " + std::to_string(before + 1) + " times so far";
        report(before == 0 ? failure : Failure(failure.kind(), failure.what() + times),
               subject(some.first, some.count));
    }

    int m_reported[bench::LastFailureKind + 1] = {};
};

void tellRound(const bench::Round& round, milliseconds interval)
{
    if (!round.isNews || interval == milliseconds::zero()) // at 0 as fast as possible
        return;
    const std::string wanted = "the interval of " + bench::durationText(interval);
    note(round.overran ? wanted + " can't be held: a round took " + bench::durationText(round.took)
                       : wanted + " is held again");
}

void tellSummary(const bench::Summary& summary, Format format)
{
    if (format == Format::Json) {
        std::fprintf(stderr, "%s\n", bench::toJson(summary).dump().c_str());
        return;
    }
    for (const std::string& line : bench::textLines(summary))
        std::fprintf(stderr, "%s\n", line.c_str());
}

/// Ends with the status of the last round, or with Success at a signal. A request that is wrong in
/// itself never gets better and ends it too.
int watchPoints(Bench& bench, bench::Watcher& watcher, const WatchOptions& options)
{
    const ChangePrinter changes(options.style);
    FailureReporter failures;
    for (int done = 1;; ++done) {
        const bench::Round round = watcher.round();
        if (bench.isStopped())
            return Success;
        failures.tell(watcher.points());
        for (const bench::Watched& watched : watcher.points())
            changes.print(watched);
        tellRound(round, milliseconds(options.intervalMs));
        const Failure* const failure = watcher.firstFailure();
        if (done == options.rounds || (failure && failure->kind() == FailureKind::WrongUsage))
            return failure ? bench::exitStatus(failure->kind()) : Success;
        if (bench.waitForStop(watcher.untilDue()))
            return Success;
    }
}

LiveOptions liveOptions(const WatchOptions& options)
{
    LiveOptions live;
    live.place =
        options.bench.port.isSimulated() ? "a simulated controller" : options.bench.port.port;
    live.interval = milliseconds(options.intervalMs);
    live.notation = options.style.notation;
    live.traces = options.bench.trace;
    return live;
}

int watch(const WatchOptions& options)
{
    Bench bench(options.bench);
    const std::vector<bench::Point> points = bench.points(options.devices, options.count);
    if (options.live) {
        tellSummary(watchLive(bench, points, liveOptions(options)), Format::Table);
        return Success;
    }
    bench::Watcher watcher(bench.session(), points, milliseconds(options.intervalMs));
    const int status = watchPoints(bench, watcher, options);
    tellSummary(watcher.summary(), options.style.format);
    return status;
}

void addRoundOptions(CLI::App& command, WatchOptions& options)
{
    command
        .add_option_function<std::string>(
            "-i,--interval",
            [&options](const std::string& text) {
                options.intervalMs = parseDurationMs("--interval", text);
            },
            "Time from one round to the next, such as 500ms or 2s (default: 500ms)")
        ->type_name("TIME");
    CLI::Option* const live = command.add_flag(
        "--live", options.live, "Show a table that stays in place and takes keys (? lists them)");
    command.add_option("-n,--rounds", options.rounds, "Rounds before it ends (default: no end)")
        ->check(between(1, MaxRounds))
        ->excludes(live)
        ->type_name("N");
    addStyleOptions(command, options.style);
    live->excludes(command.get_option("--format"));
}

} // namespace

void addWatchCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("watch", "Read devices again and again and print what changes");
    const auto options = std::make_shared<WatchOptions>();
    addDevicesArgument(*command, options->devices);
    addCountOption(*command, options->count);
    addRoundOptions(*command, *options);
    addBenchOptions(*command, options->bench);
    command->footer(
        R"(The first round prints every value. A failure is reported once, and again when
the device recovers; meanwhile plcctl keeps trying. CSV and JSON have a line for
both: the failure without a value, with "failure" such as "noReply", and the
recovery with the value. Ctrl-C ends the watch. A summary comes last, on
standard error: requests, failures, latencies and the achieved interval.

Examples:
  plcctl watch DM100 T5 -i 200ms -p /dev/ttyUSB0
  plcctl watch 'boiler.*' --tags plant.csv --live -p /dev/ttyUSB0
  plcctl watch MR0..MR15 -f csv -p tcp:192.168.0.10 > changes.csv)");
    command->callback([options, &status] { status = watch(*options); });
}

} // namespace plcctl
