// plcctl dump: what many devices hold, into a snapshot.
#include "bench.h"
#include "commands.h"
#include "output.h"
#include "progress.h"
#include "report.h"

#include "bench/dump.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::FailureKind;

struct DumpOptions {
    BenchOptions bench;
    std::vector<std::string> devices;
    std::string file; ///< empty: standard output
    bool resume = false;
    bool date = false;
};

bench::SnapshotHeader headerOf(const DumpOptions& options, const bench::Driver& driver)
{
    bench::SnapshotHeader header;
    header.tool = "plcctl " PLCCTL_VERSION;
    header.driver = driver.name();
    header.devices = CLI::detail::join(options.devices, " ");
    if (options.date)
        header.date = timeStamp();
    return header;
}

/// The file to write. Throws a Failure (WrongUsage) rather than replacing a part that a dump that
/// was stopped has left.
std::unique_ptr<bench::PartFile> fileFor(const DumpOptions& options)
{
    if (options.file.empty())
        return nullptr;
    auto file = std::make_unique<bench::PartFile>(options.file);
    if (!options.resume && file->hasPart())
        throw bench::wrongUsage(file->part() + " holds the values of a dump that was stopped",
                                "Add --resume to continue it, or delete it.");
    return file;
}

void takePart(bench::Dump& dump, const bench::PartFile& file, const bench::Driver& driver)
{
    if (!file.hasPart())
        return note("there is no " + file.part() + "; reading all");
    dump.takePart(file, driver.devices());
    note(std::to_string(dump.taken()) + " of " + counted(dump.size(), "value") + " kept from " +
         file.part());
}

/// What became of the values read, when they are not all.
void tellPart(const bench::Dump& dump, const std::string& file, const bench::PartFile& part,
              const std::string& start)
{
    const std::size_t kept = dump.size() - dump.failed();
    if (kept == 0)
        return note(start + "no value was read; " + file + " was not written");
    note(start + std::to_string(kept) + " of " + counted(dump.size(), "value") + " are in " +
         part.part() + "; " + file + " was not written.");
    note("The same command with --resume reads the rest.");
}

/// With what to do about a file that can't be written any more, such as on a full disk.
Failure withAdvice(const Failure& failure, const bench::PartFile& part)
{
    return Failure(
        failure.kind(), failure.what(),
        "The values read before are in " + part.part() +
            ". When there is room again, the same command with --resume reads the rest.");
}

void tellResult(const bench::Dump& dump, const std::string& file)
{
    note(counted(dump.size() - dump.failed(), "value") + (file.empty() ? "" : " in " + file) +
         (dump.failed() == 0 ? "" : ", " + std::to_string(dump.failed()) + " could not be read"));
}

void tellEnd(bench::DumpEnd end, const bench::Dump& dump, const std::string& file,
             const bench::PartFile* part)
{
    const bool isStopped = end == bench::DumpEnd::Stopped;
    if (part != nullptr && end != bench::DumpEnd::Complete)
        return tellPart(dump, file, *part, isStopped ? "stopped; " : "");
    if (isStopped)
        return note("stopped; nothing was written. With --output, the values read are kept.");
    // Output that was lost is reported by the program's end.
    if (part == nullptr &&
        (std::fputs(dump.text().c_str(), stdout) < 0 || std::fflush(stdout) != 0))
        return;
    tellResult(dump, file);
}

bench::DumpEnd readAll(bench::Dump& dump, bench::Session& session, bench::PartFile* file)
try {
    return dump.run(session, file);
} catch (const Failure& failure) {
    if (file == nullptr || !file->hasPart())
        throw;
    throw withAdvice(failure, *file);
}

int runDump(bench::Dump& dump, bench::Session& session, const DumpOptions& options,
            bench::PartFile* file)
{
    std::vector<FailedPoints> failed;
    Progress progress(dump.size(), dump.taken());
    dump.onProgress = [&](std::size_t done) { progress.show(done); };
    dump.onFailure = [&](const bench::Point& point, const Failure& failure) {
        addFailed(failed, failure, point.name);
    };
    progress.show(dump.taken());
    const bench::DumpEnd end = readAll(dump, session, file);
    progress.clear();
    const int status = report(failed);
    tellEnd(end, dump, options.file, file);
    if (end == bench::DumpEnd::Stopped)
        return bench::exitStatus(FailureKind::NoReply);
    return dump.firstLost() != nullptr ? bench::exitStatus(dump.firstLost()->kind()) : status;
}

int dump(const DumpOptions& options)
{
    if (options.resume && options.file.empty())
        throw bench::wrongUsage("--resume needs the --output of the dump that was stopped");
    Bench bench(options.bench);
    const std::vector<bench::Point> points = bench.points(options.devices);
    bench::Dump dump(headerOf(options, bench.driver()), points);
    // What can't be read is refused before the port is opened.
    bench::planReads(devicesOf(points), bench.driver().blocks());
    const std::unique_ptr<bench::PartFile> file = fileFor(options);
    if (options.resume)
        takePart(dump, *file, bench.driver());
    return runDump(dump, bench.session(), options, file.get());
}

} // namespace

void addDumpCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("dump", "Save devices to a text file, for restore and diff");
    const auto options = std::make_shared<DumpOptions>();
    addDevicesArgument(*command, options->devices);
    command
        ->add_option(
            "-o,--output", options->file,
            "File to write; FILE.part until it is complete (default, or -: standard output). "
            "The time-out has no short name here")
        ->type_name("FILE");
    command->add_flag("--resume", options->resume,
                      "Continue FILE.part; the values in it are not read again");
    command->add_flag("--date", options->date,
                      "Write date and time into the file. Without them two dumps of the same "
                      "values are the same");
    addBenchOptions(*command, options->bench);
    command->footer(R"(Devices that the controller refuses are reported and become comments in the
file. When valid replies are missing, FILE stays as it is and FILE.part keeps
what was read; --resume reads the rest, as it does after Ctrl-C. After three
requests in a row without a reply no more are sent. On standard output, what is
missing becomes comments too. The last line of a dump is "# end"; restore and
diff refuse a file without it, so that one that was cut off does no harm. The
exit status is that of the first missing reply, else that of the first refusal.

Examples:
  plcctl dump DM0..DM4999 MR0..MR99915 -o line.txt -p /dev/ttyUSB0
  plcctl dump DM0..DM4999 MR0..MR99915 -o line.txt -p /dev/ttyUSB0 --resume
  plcctl dump 'boiler.*' DM8:dint --tags plant.csv -p tcp:192.168.0.10)");
    command->callback([options, &status] {
        if (options->file == "-")
            options->file.clear();
        status = dump(*options);
    });
}

} // namespace plcctl
