// plcctl watch: reads again and again and tells what changed.
#include "bench.h"
#include "commands.h"
#include "devicenames.h"
#include "stopsignal.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cstdio>
#include <optional>

namespace plcctl
{

namespace
{

constexpr int MaxIntervalMs = 24 * 3600 * 1000;
constexpr int MaxRounds = 1000 * 1000 * 1000;

struct WatchOptions {
    BenchOptions bench;
    std::vector<std::string> devices;
    int count = 1;
    std::string unit = "word";
    Style style;
    int intervalMs = 500;
    int rounds = 0; ///< 0: until a signal
};

/// One device with what was last seen of it.
struct Watched {
    std::string device;
    RunNames names;
    std::vector<std::uint32_t> values; ///< empty until the first good reading
    ExitStatus status;                 ///< of the last reading, Success before the first
};

class Watch
{
public:
    Watch(const WatchOptions& options)
        : m_unit(unitNamed(options.unit))
        , m_count(options.count)
        , m_bench(options.bench)
        , m_changes(m_unit, options.style)
    {
        m_bench.checkCount(static_cast<std::size_t>(m_count), m_unit);
        for (const std::string& device : options.devices)
            m_devices.push_back({device, {m_bench.driverName(), device, m_unit}, {}, Success});
    }

    /// Reads every device once. Returns Success, or the status of the first that failed.
    ExitStatus round()
    {
        ExitStatus status = Success;
        for (Watched& watched : m_devices) {
            const ExitStatus outcome = look(watched);
            status = status == Success ? outcome : status;
        }
        return status;
    }

private:
    ExitStatus look(Watched& watched)
    {
        try {
            tellChanges(watched, m_bench.read(watched.device, m_unit, m_count));
            return Success;
        } catch (const Failure& failure) {
            tellFailure(watched, failure);
            return failure.status();
        }
    }

    void tellChanges(Watched& watched, const std::vector<std::uint32_t>& values)
    {
        if (watched.status != Success)
            std::fprintf(stderr, "plcctl: %s: answers again\n", subject(watched).c_str());
        watched.status = Success;
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (watched.values.empty() || watched.values[i] != values[i])
                m_changes.print({watched.names.at(static_cast<int>(i)), values[i]});
        }
        watched.values = values;
    }

    static std::string subject(const Watched& watched)
    {
        return clockTime() + " " + escaped(watched.device);
    }

    /// A failure that lasts is told once; its details may vary.
    static void tellFailure(Watched& watched, const Failure& failure)
    {
        if (watched.status != failure.status())
            report(failure, subject(watched));
        watched.status = failure.status();
    }

    const Unit& m_unit;
    int m_count;
    Bench m_bench;
    ChangePrinter m_changes;
    std::vector<Watched> m_devices;
};

/// Ends with the status of the last round, or with Success at a signal. A request that is wrong in
/// itself never gets better and ends it too.
ExitStatus watch(const WatchOptions& options)
{
    using namespace std::chrono;
    const StopSignal stop;
    Watch watch(options);
    for (int done = 1;; ++done) {
        const auto next = steady_clock::now() + milliseconds(options.intervalMs);
        const ExitStatus status = watch.round();
        if (done == options.rounds || status == WrongUsage)
            return status;
        const auto wait = duration_cast<milliseconds>(next - steady_clock::now()).count();
        if (stop.waitFor(static_cast<int>(std::max<std::int64_t>(wait, 0))))
            return Success;
    }
}

/// "500ms", "2s" or a plain number of milliseconds.
int parseInterval(const std::string& text)
{
    const std::map<std::string, int> scales = {{"", 1}, {"ms", 1}, {"s", 1000}};
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    const auto scale = scales.find(text.substr(digits));
    if (digits == 0 || digits > 8 || scale == scales.end())
        throw CLI::ValidationError("--interval", "'" + text + "' is no time; write 500ms or 2s");
    const long long ms = std::stoll(text.substr(0, digits)) * scale->second;
    if (ms > MaxIntervalMs)
        throw CLI::ValidationError("--interval", "'" + text + "' is more than a day");
    return static_cast<int>(ms);
}

} // namespace

void addWatchCommand(CLI::App& app, ExitStatus& status)
{
    CLI::App* const command =
        app.add_subcommand("watch", "Read devices again and again and print what changes");
    const auto options = std::make_shared<WatchOptions>();
    addDevicesArgument(*command, options->devices);
    addCountOption(*command, options->count);
    command
        ->add_option_function<std::string>(
            "-i,--interval",
            [options](const std::string& text) { options->intervalMs = parseInterval(text); },
            "Time from one round to the next, such as 500ms or 2s (default: 500ms)")
        ->type_name("TIME");
    command->add_option("-n,--rounds", options->rounds, "Rounds before it ends (default: no end)")
        ->check(between(1, MaxRounds))
        ->type_name("N");
    addUnitOption(*command, options->unit);
    addStyleOptions(*command, options->style);
    addBenchOptions(*command, options->bench);
    command->footer(
        R"(The first round prints every value. A failure is told once, and once more when the device
answers again; meanwhile plcctl keeps trying. Ctrl-C ends it.

Examples:
  plcctl watch DM100 T5 -i 200ms -p /dev/ttyUSB0
  plcctl watch MR500 -c 16 -t bit -f csv -p tcp:192.168.0.10 > changes.csv)");
    command->callback([options, &status] { status = watch(*options); });
}

} // namespace plcctl
