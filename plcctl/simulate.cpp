// plcctl simulate: a simulated controller as a program of its own.
#include "commands.h"
#include "help.h"
#include "options.h"
#include "report.h"
#include "stopsignal.h"

#include "bench/controllers.h"

#include "host/linesettings.h"
#include "host/portaddress.h"

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>

namespace plcctl
{

namespace
{

constexpr std::uint32_t SlowestBaud = 50;
constexpr std::uint32_t FastestBaud = 4000000;

struct SimulateOptions {
    std::string protocol = bench::simulatedProtocols().front();
    bench::ControllerOptions controller;
    std::optional<std::string> ptyLink;
    std::optional<std::string> tcp;
    std::string line; ///< that the pseudo-terminal understands; empty for all
    bool verbose = false;
};

host::PortAddress parseTcp(const std::string& text)
{
    QString error;
    const auto address = host::listenAddressFromText(QString::fromStdString(text), &error);
    if (!address)
        throw bench::wrongUsage("--tcp: " + error.toStdString());
    return *address;
}

simulator::LineForm parseLine(const std::string& text)
{
    QString error;
    const auto line = host::lineSettingsFromText(QString::fromStdString(text), &error);
    if (!line)
        throw bench::wrongUsage("--line: " + error.toStdString());
    return {static_cast<std::uint32_t>(line->baud), line->stopBits == host::StopBits::Two};
}

std::string openPty(simulator::Server& server, const std::string& link)
{
    std::string why;
    if (!server.openPty(link, why))
        throw bench::Failure(bench::FailureKind::CannotOpen, why);
    return link.empty() ? server.ptyPath() : link + " (" + server.ptyPath() + ")";
}

std::string listenTcp(simulator::Server& server, host::PortAddress address)
{
    std::string why;
    if (!server.listenTcp(address.place.toStdString(), address.tcpPort, why))
        throw bench::Failure(bench::FailureKind::CannotOpen, why);
    address.tcpPort = server.tcpPort();
    return host::textOf(address).toStdString();
}

/// Opens what was asked for, a pseudo-terminal when nothing was. Returns where that is.
std::string openLines(simulator::Server& server, const SimulateOptions& options)
{
    const bool hasPty = options.ptyLink || !options.tcp;
    std::string places = hasPty ? openPty(server, options.ptyLink.value_or("")) : "";
    if (options.tcp)
        places += (hasPty ? " and " : "") + listenTcp(server, parseTcp(*options.tcp));
    return places;
}

int simulate(const SimulateOptions& options)
{
    // The link must be gone in the end, and the reader of the traffic may leave before that.
    std::signal(SIGPIPE, SIG_IGN);
    const StopSignal stop(StopSignal::Second::IsIgnored);
    bench::SimulatedController controller(options.protocol, options.controller,
                                          options.verbose ? printTrace : simulator::TrafficLog());
    if (!options.line.empty() && options.tcp && !options.ptyLink)
        throw bench::wrongUsage("--line is for a pseudo-terminal; TCP has no line settings",
                                "Add --pty LINK, or omit --line.");
    if (!options.line.empty())
        controller.server().requireLineForm(parseLine(options.line));
    const std::string places = openLines(controller.server(), options);
    controller.server().start();
    // One line that other programs wait for.
    std::printf("listening on %s\n", places.c_str());
    if (std::fflush(stdout) != 0)
        throw bench::Failure(bench::FailureKind::CannotOpen, "can't write to standard output");
    stop.waitFor(StopSignal::Forever);
    return Success;
}

void addProtocolOption(CLI::App& command, std::string& protocol)
{
    command.add_option("--protocol", protocol, "What the controller speaks: kv1000 or modbusrtu")
        ->check(oneOf(bench::simulatedProtocols()))
        ->capture_default_str()
        ->type_name("NAME");
}

void addLineOptions(CLI::App& command, SimulateOptions& options)
{
    command
        .add_option("--pty", options.ptyLink,
                    "Serve a pseudo-terminal; LINK becomes a symbolic link to it")
        ->type_name("LINK");
    command
        .add_option("--tcp", options.tcp,
                    "Serve TCP on this port, 0 for any free one; on loopback unless an address "
                    "is given")
        ->type_name("[ADDRESS:]PORT");
    command
        .add_option("--baud", options.controller.baud,
                    "Reply at the pace of a serial line of this speed (default: at once)")
        ->check(between(SlowestBaud, FastestBaud))
        ->type_name("BAUD");
    command
        .add_option("-l,--line", options.line,
                    "Ignore hosts that set the pseudo-terminal to another speed or other stop "
                    "bits, so that scan can be tried; a pseudo-terminal keeps neither parity nor "
                    "data bits, so these do not matter (default: any line)")
        ->type_name("TEXT");
    command.add_flag("-v,--trace,--verbose", options.verbose, "Show the traffic on standard error");
}

/// What the controllers hold, a paragraph each.
std::string contents()
{
    constexpr std::size_t Width = 72; // a man page is indented
    const std::string indent = "\n  ";
    std::string text;
    for (const std::string& help : bench::contentsHelp())
        for (const std::string& line : CLI::detail::split(wrapped(help, Width), '\n'))
            text += indent + line;
    return text + "\n";
}

std::string footer()
{
    return std::string(R"(It prints one line on standard output once it is listening.

Examples:
  plcctl simulate --pty /tmp/plc --set DM100=12,2 --set T5=42
  plcctl read DM100 -c 2 -p /tmp/plc            in another terminal
  plcctl simulate --pty /tmp/plc --line RS232,19200,EVEN,8,1
  plcctl scan DM0 -p /tmp/plc                   in another terminal
  plcctl simulate --tcp 8501 --fault late=700ms:0.2 --seed 7 -v
  plcctl simulate --protocol modbusrtu --move HR5=sine:0..90/1s --baud 9600

From the start these hold values, until --set, --move or a write changes them;
all other devices are 0:
)") + contents() +
           "\n" + simulator::MotionHelp + "\n" + simulator::FaultHelp +
           "\nCommands and error codes:\n\n" + bench::commandsHelp() +
           R"(
Examples of fault plans:

  late=700ms:0.2,cut:0.1    of all replies a fifth late, a tenth cut
  silent@RDS#1              the first read gets no reply
  error=0@WRS#2-3           the second and third write are refused with E0)";
}

} // namespace

void addSimulateCommand(CLI::App& app, int& status)
{
    CLI::App* const command =
        app.add_subcommand("simulate", "Run a simulated controller until Ctrl-C");
    const auto options = std::make_shared<SimulateOptions>();
    addProtocolOption(*command, options->protocol);
    addLineOptions(*command, *options);
    addControllerOptions(*command, options->controller);
    command->footer(footer());
    command->callback([options, &status] { status = simulate(*options); });
}

} // namespace plcctl
