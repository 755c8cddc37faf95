// plcctl restore: writes the values of a snapshot that differ from the controller's, and reads them
// back.
#include "bench.h"
#include "commands.h"
#include "progress.h"
#include "readcurrent.h"
#include "report.h"

#include "bench/comparison.h"
#include "bench/transfer.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::FailureKind;
using Values = std::vector<bench::SnapshotValue>;

struct RestoreOptions {
    BenchOptions bench;
    std::string file;
    bool dryRun = false;
    bool all = false;
    bool yes = false;
};

/// Tells all refusals, so that a person mends the file once.
void requireAllowedByTags(const Bench& bench, const Values& written, const Values& values,
                          const std::string& file)
{
    constexpr std::size_t MostTold = 20;
    const std::vector<std::string> refusals = bench::refusals(written, values, bench.tags());
    if (refusals.empty())
        return;
    for (std::size_t i = 0; i < std::min(refusals.size(), MostTold); ++i)
        note(file + ", " + refusals[i]);
    throw bench::wrongUsage("the tags refuse " + counted(refusals.size(), "change") +
                            (refusals.size() > MostTold
                                 ? ", of which " + std::to_string(MostTold) + " are named"
                                 : std::string()) +
                            "; nothing was written");
}

/// The values of the file that can be written. What is left out is reported.
Values loadValues(const Bench& bench, const bench::TextFile& file)
{
    bench::Snapshot snapshot = bench::loadSnapshot(file, bench.driver());
    tellUnread(snapshot, file.name);
    for (const bench::SkippedValues& skipped : bench::takeUnwritable(snapshot.values))
        note(counted(skipped.count, "value") + " skipped: the driver can't write " + skipped.what);
    if (snapshot.values.empty())
        throw bench::wrongUsage("nothing in " + file.name + " can be written");
    return snapshot.values;
}

void printChanges(const std::vector<bench::Difference>& changes)
{
    std::size_t width = 0;
    for (const bench::Difference& change : changes)
        width = std::max(width, bench::nameInSnapshot(change.point).size());
    for (const bench::Difference& change : changes) {
        const bench::Type& type = change.point.device.type;
        std::printf("%-*s  %s -> %s\n", int(width), bench::nameInSnapshot(change.point).c_str(),
                    bench::snapshotText(*change.right, type).c_str(),
                    bench::snapshotText(*change.left, type).c_str());
    }
}

bool canAsk()
{
    return isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

/// Whether the answer to a question is yes; a signal is a no.
bool askPerson(const Bench& bench, const std::string& question)
{
    std::fprintf(stderr, "%s [y/N] ", bench::visible(question).c_str());
    std::fflush(stderr);
    constexpr int PollMs = 100;
    pollfd answer = {STDIN_FILENO, POLLIN, 0};
    while (poll(&answer, 1, PollMs) <= 0)
        if (bench.isStopped())
            return false;
    char line[16];
    return std::fgets(line, sizeof line, stdin) != nullptr && (line[0] == 'y' || line[0] == 'Y');
}

/// How far the writing came, and how it goes on.
void tellWritten(const bench::WriteFailure& failure, std::size_t total, bool all)
{
    const std::string last =
        failure.count == 1 ? "the next one" : "some of the next " + std::to_string(failure.count);
    const std::size_t untried = total - failure.index - failure.count;
    note(std::to_string(failure.index) + " of " + counted(total, "value") +
         " written, perhaps also " + last +
         (untried == 0 ? "." : "; not tried: " + std::to_string(untried) + "."));
    if (failure.kind() != FailureKind::ControllerRefused)
        note(std::string("The same command") + (all ? " without --all" : "") +
             " writes what is missing.");
}

int writeAll(Bench& bench, const Values& values, bool all)
try {
    Progress progress(values.size());
    bench::writeSnapshot(bench.session(), values,
                         [&](std::size_t written) { progress.show(written); });
    return Success;
} catch (const bench::WriteFailure& failure) {
    report(failure);
    tellWritten(failure, values.size(), all);
    return bench::exitStatus(failure.kind());
}

Current readBack(Bench& bench, const Values& values)
try {
    return readCurrent(bench, values);
} catch (const Failure& failure) {
    throw failure.with("; " + counted(values.size(), "value") + " written, but not all read back");
}

/// Returns the exit status; that of wrong usage when a person says no.
int writeAndReadBack(Bench& bench, const Values& values, const RestoreOptions& options)
{
    const bool isSimulated = options.bench.port.isSimulated();
    const std::string place = isSimulated ? "the simulated controller" : options.bench.port.port;
    const std::string what = counted(values.size(), "value") + " to " + place;
    if (!options.yes && !askPerson(bench, "write " + what + "?")) {
        note("nothing was written");
        return bench::exitStatus(FailureKind::WrongUsage);
    }
    const int status = writeAll(bench, values, options.all);
    if (status != Success)
        return status;
    const Current kept = readBack(bench, values);
    bench::requireKept(values, kept.readings);
    if (kept.status != Success) {
        note(counted(values.size(), "value") + " written, but not all read back");
        return kept.status;
    }
    note(counted(values.size(), "value") + " written and read back" +
         (isSimulated ? ", to a simulated controller that ends now" : ""));
    return Success;
}

/// What the controller holds before anything is written.
Current readBefore(Bench& bench, const Values& values)
try {
    return readCurrent(bench, values);
} catch (const Failure& failure) {
    if (!bench.isStopped())
        throw;
    throw failure.with("; nothing was written");
}

/// Writes the values that differ.
int restoreChanges(Bench& bench, const Values& values, const std::string& file,
                   const RestoreOptions& options)
{
    const Current current = readBefore(bench, values);
    if (options.dryRun)
        printChanges(bench::differences(values, current.readings));
    if (current.status != Success) {
        if (!options.dryRun)
            note("nothing was written");
        return current.status;
    }
    const Values changed = bench::valuesToWrite(values, current.readings);
    requireAllowedByTags(bench, changed, values, file);
    if (changed.empty())
        note("nothing to write: " + counted(values.size(), "value") + " already the same");
    if (changed.empty() || options.dryRun)
        return Success;
    const int status = writeAndReadBack(bench, changed, options);
    if (status == Success && changed.size() < values.size())
        note(std::to_string(values.size() - changed.size()) + " already the same");
    return status;
}

int restore(const RestoreOptions& options)
{
    if (!options.dryRun && !options.yes && !canAsk())
        throw bench::wrongUsage("there is no terminal to ask for confirmation on",
                                "Give --yes to write without asking, or --dry-run to see what "
                                "would change.");
    Bench bench(options.bench);
    const bench::TextFile file = bench::readTextFile(options.file);
    const Values values = loadValues(bench, file);
    if (!options.all || options.dryRun)
        return restoreChanges(bench, values, file.name, options);
    requireAllowedByTags(bench, values, values, file.name);
    return writeAndReadBack(bench, values, options);
}

} // namespace

void addRestoreCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("restore", "Write the values of a dump, and read them back");
    const auto options = std::make_shared<RestoreOptions>();
    command
        ->add_option("FILE", options->file,
                     "A file that plcctl dump has written; - for standard input")
        ->required()
        ->type_name("");
    command->add_flag("-n,--dry-run", options->dryRun,
                      "Write nothing; show what would change as device, old -> new");
    command->add_flag("--all", options->all, "Also write the values that are already the same");
    command->add_flag("-y,--yes", options->yes, "Write without asking");
    command
        ->add_option(
            "--tags", options->bench.tagFile,
            "Tag file, a CSV table: a change that one of its tags does not allow is refused")
        ->type_name("FILE");
    addRequestOptions(*command, options->bench);
    command->footer(
        R"(Only values that differ are written, after a confirmation. Then they are read
back; the exit status is 6 when one differs. The dump of another driver is
refused. With --tags, so is a change of a tag that is not writable, or one to a
value outside its limits, in whatever type the file has the device; then nothing
is written. Limits are not checked where the file has only a part of the tag.

Examples:
  plcctl restore line3.txt --dry-run -p /dev/ttyUSB0
  plcctl restore line3.txt -p /dev/ttyUSB0
  plcctl restore line3.txt --yes -p tcp:192.168.0.10)");
    command->callback([options, &status] { status = restore(*options); });
}

} // namespace plcctl
