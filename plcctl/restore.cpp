// plcctl restore: writes the values of a snapshot, as far as the controller holds others, and reads
// them back.
#include "bench.h"
#include "commands.h"
#include "progress.h"
#include "readcurrent.h"
#include "report.h"

#include "bench/snapshot.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <map>
#include <poll.h>
#include <unistd.h>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::FailureKind;
using bench::SnapshotValue;
using Values = std::vector<SnapshotValue>;

constexpr std::size_t MaxDifferencesTold = 5;

struct RestoreOptions {
    BenchOptions bench;
    std::string file;
    bool dryRun = false;
    bool all = false;
    bool yes = false;
};

/// Leaves out what the driver can't write, with a note for each area and type.
Values writableOf(const Values& values)
{
    Values writable;
    std::map<std::string, std::size_t> skipped;
    for (const SnapshotValue& value : values) {
        const bench::TypedDevice& device = value.point.device;
        if (bench::isServed(device, bench::Direction::Write))
            writable.push_back(value);
        else
            ++skipped[device.place.area->letters + " as " + bench::nameOf(device.type)];
    }
    for (const auto& [what, count] : skipped)
        note(counted(count, "value") + " skipped: the driver cannot write " + what);
    return writable;
}

/// "DM100:uint", or "boiler.temp (DM100:int)".
std::string nameOf(const bench::Point& point)
{
    const std::string device = bench::snapshotName(point.device);
    return point.name == point.device.name ? device : point.name + " (" + device + ")";
}

void printChanges(const std::vector<bench::Difference>& changes)
{
    std::size_t width = 0;
    for (const bench::Difference& change : changes)
        width = std::max(width, nameOf(change.point).size());
    for (const bench::Difference& change : changes) {
        const bench::Type& type = change.point.device.type;
        std::printf("%-*s  %s -> %s\n", int(width), nameOf(change.point).c_str(),
                    bench::snapshotText(*change.right, type).c_str(),
                    bench::snapshotText(*change.left, type).c_str());
    }
}

/// Throws a Failure (Different) that names the first devices that differ.
void verify(Bench& bench, const Values& written)
{
    const Current current = readCurrent(bench, written);
    for (const bench::Reading& reading : current.readings)
        if (reading.failure)
            throw reading.failure->with(" (while the values were read back)");
    const auto wrong = bench::differences(written, current.readings);
    if (wrong.empty())
        return;
    std::string text;
    for (std::size_t i = 0; i < std::min(wrong.size(), MaxDifferencesTold); ++i) {
        const bench::Type& type = wrong[i].point.device.type;
        text += (i == 0 ? "" : "; ") + nameOf(wrong[i].point) + ": wrote " +
                bench::snapshotText(*wrong[i].left, type) + ", read back " +
                bench::snapshotText(*wrong[i].right, type);
    }
    if (wrong.size() > MaxDifferencesTold)
        text += "; and " + std::to_string(wrong.size() - MaxDifferencesTold) + " more";
    throw Failure(FailureKind::Different, text,
                  "The controller took the values and changed them, or its program did.");
}

bool canAsk()
{
    return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

/// Whether the answer to a question is yes; a signal is a no.
bool askPerson(const Bench& bench, const std::string& question)
{
    std::fprintf(stderr, "%s [y/N] ", escaped(question).c_str());
    std::fflush(stderr);
    constexpr int PollMs = 100;
    pollfd answer = {STDIN_FILENO, POLLIN, 0};
    while (poll(&answer, 1, PollMs) <= 0)
        if (bench.isStopped())
            return false;
    char line[16];
    return std::fgets(line, sizeof line, stdin) != nullptr && (line[0] == 'y' || line[0] == 'Y');
}

std::string placeOf(const RestoreOptions& options)
{
    return options.bench.port.isSimulated() ? "the simulated controller" : options.bench.port.port;
}

void writeAll(Bench& bench, const Values& values)
{
    Progress progress(values.size());
    bench::writeSnapshot(bench.session(), values,
                         [&](std::size_t written) { progress.show(written); });
}

int restore(const RestoreOptions& options)
{
    if (!options.dryRun && !options.yes && !canAsk())
        throw bench::wrongUsage("there is no terminal to ask on before anything is written",
                                "Give --yes to write without a question, or --dry-run to see what "
                                "would change.");
    Bench bench(options.bench);
    const Values values =
        writableOf(bench::loadSnapshot(options.file, bench.driver().devices()).values);
    Values toWrite = values;
    if (!options.all || options.dryRun) {
        const Current current = readCurrent(bench, values);
        if (options.dryRun) {
            printChanges(bench::differences(values, current.readings));
            return current.status;
        }
        if (current.status != Success) {
            note("nothing was written");
            return current.status;
        }
        toWrite = bench::valuesToWrite(values, current.readings);
    }
    if (toWrite.empty()) {
        note("nothing to write: the controller holds all " + counted(values.size(), "value"));
        return Success;
    }
    const std::string what = counted(toWrite.size(), "value") + " to " + placeOf(options);
    if (!options.yes && !askPerson(bench, "write " + what + "?")) {
        note("nothing was written");
        return bench::exitStatus(FailureKind::WrongUsage);
    }
    writeAll(bench, toWrite);
    verify(bench, toWrite);
    note(counted(toWrite.size(), "value") + " written and read back, " +
         std::to_string(values.size() - toWrite.size()) + " were the same already");
    return Success;
}

} // namespace

void addRestoreCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("restore", "Write what a dump has, and read it back");
    const auto options = std::make_shared<RestoreOptions>();
    command->add_option("FILE", options->file, "A file that plcctl dump has written")
        ->required()
        ->type_name("");
    command->add_flag("-n,--dry-run", options->dryRun,
                      "Write nothing; show what would change as device, old -> new");
    command->add_flag("--all", options->all, "Write also the values that are the same already");
    command->add_flag("-y,--yes", options->yes, "Write without a question");
    addBenchOptions(*command, options->bench);
    command->footer(
        R"(Only values that differ are written, after a question. Then they are read back;
the exit status is 6 when one differs.

Examples:
  plcctl restore line3.txt --dry-run -p /dev/ttyUSB0
  plcctl restore line3.txt -p /dev/ttyUSB0
  plcctl restore line3.txt --yes -p tcp:192.168.0.10)");
    command->callback([options, &status] { status = restore(*options); });
}

} // namespace plcctl
