// plcctl: loads a PLC driver plug-in and lets a person use it.
#include "commands.h"
#include "driverhelp.h"
#include "help.h"
#include "report.h"
#include "stopsignal.h"
#include "wrongarguments.h"

#include "host/standardstreams.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include <clocale>

namespace
{

const char* const Description =
    "Reads, writes and watches the devices of a PLC through a driver plug-in, and\n"
    "simulates a controller to try it on.";

const char* const Footer = R"(Examples:
  plcctl read DM100 -c 2             two words from a simulated controller
  plcctl read MR500 DM8:dint -p /dev/ttyUSB0
  plcctl write DM100 12 2 -p tcp:192.168.0.10
  plcctl read --help                 what one subcommand can do

Exit status: 0 success, 1 the controller refused, 2 wrong usage, 3 the line, the
plug-in or a file could not be opened, 4 no reply, 5 invalid reply, 6 a value
read back is not the one written, or diff found a difference; 128 plus the
signal's number when a signal cut the command short, but 0 for simulate and
watch, which usually end that way. Data goes to standard output, everything else
to standard error.)";

/// In the order in which help lists them.
constexpr void (*AddCommands[])(CLI::App& app, int& status) = {
    plcctl::addInfoCommand,    plcctl::addReadCommand,     plcctl::addWriteCommand,
    plcctl::addWatchCommand,   plcctl::addCheckCommand,    plcctl::addDiffCommand,
    plcctl::addDumpCommand,    plcctl::addRestoreCommand,  plcctl::addTagsCommand,
    plcctl::addLinksCommand,   plcctl::addPortsCommand,    plcctl::addScanCommand,
    plcctl::addExplainCommand, plcctl::addSimulateCommand,
};

/// status  receives what the subcommand ends with
void build(CLI::App& app, int& status)
{
    app.formatter(std::make_shared<plcctl::HelpFormatter>());
    app.footer(Footer);
    app.set_version_flag("--version", "plcctl " PLCCTL_VERSION);
    app.require_subcommand(1);
    plcctl::addGenerateOption(app);
    for (const auto add : AddCommands)
        add(app, status);
    plcctl::refuseEmptyValues(app);
}

int fail(const bench::Failure& failure)
{
    plcctl::report(failure);
    return bench::exitStatus(failure.kind());
}

int run(int argc, char** argv)
{
    CLI::App app(Description, "plcctl");
    int status = plcctl::Success;
    build(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        plcctl::describeDriver(app);
        app.exit(help);
    } catch (const CLI::ParseError& error) {
        return fail(plcctl::wrongArguments(app, error));
    } catch (const bench::Failure& failure) {
        return fail(failure);
    } catch (const std::exception& error) {
        // Such as memory that runs out. No status is meant for that.
        return fail(bench::Failure(bench::FailureKind::CannotOpen, error.what()));
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    host::openMissingStreams();
    QCoreApplication application(argc, argv);
    // The application takes over the user's locale. Numbers are for programs too: 21.5, not 21,5.
    std::setlocale(LC_NUMERIC, "C");
    const int status = run(argc, argv);
    if (status != plcctl::Success && plcctl::StopSignal::caught() != 0)
        return plcctl::StopSignal::exitStatus();
    if (host::flushOutput())
        return status;
    const int lost = bench::exitStatus(bench::FailureKind::CannotOpen);
    if (status != lost) // else the reason has been reported
        plcctl::note("can't write to standard output");
    return lost;
}
