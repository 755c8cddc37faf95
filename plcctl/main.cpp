// plcctl: loads a PLC driver plug-in and lets a person use it.
#include "commands.h"
#include "driverhelp.h"
#include "help.h"
#include "report.h"
#include "stopsignal.h"

#include "bench/nearest.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include <cstdio>

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
read back is not the one written. Data goes to standard output, everything else
to standard error.)";

std::vector<std::string> subcommandNames(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    return names;
}

/// What CLI11 complains about, in our words where its own would not help.
bench::Failure wrongArguments(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const std::vector<std::string> unknown = app.remaining();
    if (!chosen.empty())
        return bench::wrongUsage(error.what(),
                                 "Try 'plcctl " + chosen.front()->get_name() + " --help'.");
    if (unknown.empty())
        return bench::wrongUsage("a subcommand is missing: " +
                                     bench::listed(subcommandNames(app), 20),
                                 "Try 'plcctl --help'.");
    const std::string meant = bench::nearest(unknown.front(), subcommandNames(app));
    return bench::wrongUsage("no such subcommand or option: " + unknown.front(),
                             meant.empty() ? "Try 'plcctl --help'."
                                           : "Did you mean 'plcctl " + meant + "'?");
}

int run(int argc, char** argv)
{
    using namespace plcctl;
    CLI::App app(Description, "plcctl");
    int status = Success;
    app.formatter(std::make_shared<HelpFormatter>());
    app.footer(Footer);
    app.set_version_flag("--version", "plcctl " PLCCTL_VERSION);
    app.require_subcommand(1);
    addGenerateOption(app);
    addInfoCommand(app, status);
    addReadCommand(app, status);
    addWriteCommand(app, status);
    addWatchCommand(app, status);
    addCheckCommand(app, status);
    addDiffCommand(app, status);
    addDumpCommand(app, status);
    addRestoreCommand(app, status);
    addTagsCommand(app, status);
    addLinksCommand(app, status);
    addPortsCommand(app, status);
    addScanCommand(app, status);
    addExplainCommand(app, status);
    addSimulateCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        describeDriver(app);
        app.exit(help);
    } catch (const CLI::ParseError& error) {
        report(wrongArguments(app, error));
        return bench::exitStatus(bench::FailureKind::WrongUsage);
    } catch (const bench::Failure& failure) {
        report(failure);
        return bench::exitStatus(failure.kind());
    } catch (const std::exception& error) {
        // Such as memory that runs out. No status is meant for that.
        report(bench::Failure(bench::FailureKind::CannotOpen, error.what()));
        return bench::exitStatus(bench::FailureKind::CannotOpen);
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const int status = run(argc, argv);
    // As a shell says it of a program that a signal ended.
    if (status != plcctl::Success && plcctl::StopSignal::caught() != 0)
        return 128 + plcctl::StopSignal::caught();
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    const int lost = bench::exitStatus(bench::FailureKind::CannotOpen);
    if (status != lost) // else the reason has been told
        plcctl::note("cannot write to standard output");
    return lost;
}
