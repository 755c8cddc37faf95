// plcctl: loads a PLC driver plug-in and lets a person use it.
#include "commands.h"
#include "failure.h"
#include "help.h"

#include <CLI/CLI.hpp>
#include <QCoreApplication>

#include <cstdio>

namespace
{

const char* const Description =
    "Reads, writes and watches the devices of a PLC through a driver plug-in, and simulates a\n"
    "controller to try it on.";

const char* const Footer = R"(Examples:
  plcctl read DM100 -c 2             two words from a simulated controller inside plcctl
  plcctl read MR500 -t bit -p /dev/ttyUSB0
  plcctl write DM100 12 2 -p tcp:192.168.0.10
  plcctl read --help                 what one subcommand can do

Exit status: 0 success, 1 the controller refused, 2 wrong usage, 3 the line or the plug-in
could not be opened, 4 no reply, 5 a reply that is none. Data goes to standard output,
everything else to standard error.)";

/// What CLI11 complains about, in our words where its own would not help.
plcctl::Failure wrongArguments(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    const std::vector<std::string> unknown = app.remaining();
    const std::string name = chosen.empty() ? "plcctl" : "plcctl " + chosen.front()->get_name();
    const std::string text = chosen.empty() && !unknown.empty()
                                 ? "no such subcommand or option: " + unknown.front()
                                 : error.what();
    return plcctl::Failure(plcctl::WrongUsage, text, "Try '" + name + " --help'.");
}

plcctl::ExitStatus run(int argc, char** argv)
{
    using namespace plcctl;
    CLI::App app(Description, "plcctl");
    ExitStatus status = Success;
    app.formatter(std::make_shared<HelpFormatter>());
    app.footer(Footer);
    app.set_version_flag("--version", "plcctl " PLCCTL_VERSION);
    app.require_subcommand(1);
    addInfoCommand(app, status);
    addReadCommand(app, status);
    addWriteCommand(app, status);
    addWatchCommand(app, status);
    addLinksCommand(app, status);
    addSimulateCommand(app, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        app.exit(help);
    } catch (const CLI::ParseError& error) {
        report(wrongArguments(app, error));
        return WrongUsage;
    } catch (const Failure& failure) {
        report(failure);
        return failure.status();
    }
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const plcctl::ExitStatus status = run(argc, argv);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0)
        return status;
    plcctl::report(plcctl::Failure(plcctl::CannotOpen, "can't write to standard output"));
    return plcctl::CannotOpen;
}
