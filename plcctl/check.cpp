// plcctl check: whether a line can be trusted, and with which time-out.
#include "bench.h"
#include "commands.h"
#include "help.h"
#include "progress.h"
#include "report.h"

#include "bench/linecheck.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

using std::chrono::milliseconds;

constexpr int MaxReads = 1000 * 1000 * 1000;
constexpr int DefaultMs = 10 * 1000;
constexpr std::size_t TerminalWidth = 80;

struct CheckOptions {
    BenchOptions bench;
    std::string device;
    int count = 0; ///< 0: until the time is over
    int forMs = DefaultMs;
    Format format = Format::Table;
};

std::string progressText(const CheckOptions& options, const bench::Summary& summary,
                         milliseconds elapsed)
{
    const std::string reads = options.count > 0 ? std::to_string(summary.requests) + " of " +
                                                      counted(std::size_t(options.count), "read")
                                                : std::to_string(elapsed.count() / 1000) + " of " +
                                                      std::to_string((options.forMs + 999) / 1000) +
                                                      " s, " + counted(summary.requests, "read");
    return reads + ", " + std::to_string(summary.failed()) + " failed, p50 " +
           bench::durationText(summary.p50);
}

bench::LineRecord checkWithProgress(Bench& bench, const CheckOptions& options)
{
    const bench::TypedDevice device = bench::resolveOne(options.device, bench.names()).device;
    const milliseconds timeout(
        bench::exchangeSettings(options.bench.port, bench.driver()).timeoutMs);
    bench::Session& session = bench.session();
    StatusLine line;
    const auto begin = std::chrono::steady_clock::now();
    const auto goesOn = [&](const bench::LineRecord& record) {
        const auto elapsed =
            std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
        line.show(progressText(options, record.summary, elapsed));
        const bool isDone = options.count > 0
                                ? record.summary.requests >= std::uint64_t(options.count)
                                : elapsed.count() >= options.forMs;
        return !isDone && !bench.isStopped();
    };
    return bench::checkLine(session, bench.port(), device, timeout, goesOn);
}

void printVerdict(const bench::LineRecord& record, const bench::LineVerdict& verdict)
{
    for (const std::string& line : bench::textLines(record.summary))
        std::printf("%s\n", line.c_str());
    std::printf("%s\n", verdict.text.c_str());
    if (!verdict.advice.empty())
        std::printf("%s\n",
                    wrapped(adviceText(verdict.advice, verdict.topics), TerminalWidth).c_str());
    if (verdict.advisedTimeout.count() > 0)
        std::printf("a time-out of %d ms will do: --timeout %d\n",
                    int(verdict.advisedTimeout.count()), int(verdict.advisedTimeout.count()));
}

int check(const CheckOptions& options)
{
    Bench bench(options.bench);
    const bench::LineRecord record = checkWithProgress(bench, options);
    const bench::LineVerdict verdict = bench::judge(record);
    if (options.format == Format::Json)
        printJson(bench::toJson(record, verdict));
    else
        printVerdict(record, verdict);
    if (bench.isStopped())
        return StopSignal::exitStatus();
    return verdict.worst ? bench::exitStatus(*verdict.worst) : Success;
}

} // namespace

void addCheckCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("check", "Read one device again and again, and judge the line");
    const auto options = std::make_shared<CheckOptions>();
    command->add_option("DEVICE", options->device, "What to read, such as DM0")
        ->required()
        ->type_name("");
    CLI::Option* const count =
        command->add_option("-n,--count", options->count, "Reads before it ends")
            ->check(between(1, MaxReads))
            ->type_name("N");
    command
        ->add_option_function<std::string>(
            "--for",
            [options](const std::string& text) { options->forMs = parseDurationMs("--for", text); },
            "Time before it ends, such as 60s or 1.5m; the read under way is finished (default: "
            "10s)")
        ->excludes(count)
        ->type_name("TIME");
    addFormatOption(*command, options->format, {"table", "json"});
    addBenchOptions(*command, options->bench);
    command->footer(
        R"(It prints failures, retries and latencies, whether the line can be trusted, and
the time-out that it needs. Exit status 0 when no read failed, else that of
the most frequent failure. Ctrl-C ends it early: it judges what was read so far,
and the exit status is 130 (128 plus the signal's number).

Examples:
  plcctl check DM0 -p /dev/ttyUSB0 --for 60s
  plcctl check DM0 -n 1000 -p tcp:192.168.0.10 -f json)");
    command->callback([options, &status] { status = check(*options); });
}

} // namespace plcctl
