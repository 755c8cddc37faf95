// plcctl simulate: the simulated controller as a program of its own.
#include "commands.h"
#include "controller.h"
#include "stopsignal.h"

#include <CLI/CLI.hpp>

#include <cstdio>

namespace plcctl
{

namespace
{

const char* const LoopbackAddress = "127.0.0.1";

struct SimulateOptions {
    ControllerOptions controller;
    std::optional<std::string> ptyLink;
    std::optional<std::string> tcp;
    bool verbose = false;
};

struct TcpAddress {
    std::string host;
    std::uint16_t port;
};

/// "8501" or "0.0.0.0:8501".
TcpAddress parseTcp(const std::string& text)
{
    const std::size_t colon = text.rfind(':');
    const std::string host = colon == std::string::npos ? LoopbackAddress : text.substr(0, colon);
    const std::string port = colon == std::string::npos ? text : text.substr(colon + 1);
    const bool isNumber = !port.empty() && port.size() <= 5 &&
                          port.find_first_not_of("0123456789") == std::string::npos;
    if (host.empty() || !isNumber || std::stoi(port) > UINT16_MAX)
        throw Failure(WrongUsage, "--tcp: '" + text + "' is no port; write 8501 or 0.0.0.0:8501");
    return {host, static_cast<std::uint16_t>(std::stoi(port))};
}

std::string openPty(simulator::Server& server, const std::string& link)
{
    std::string why;
    if (!server.openPty(link, why))
        throw Failure(CannotOpen, why);
    return link.empty() ? server.ptyPath() : link + " (" + server.ptyPath() + ")";
}

std::string listenTcp(simulator::Server& server, const TcpAddress& address)
{
    std::string why;
    if (!server.listenTcp(address.host, address.port, why))
        throw Failure(CannotOpen, why);
    return "tcp:" + address.host + ":" + std::to_string(server.tcpPort());
}

/// Opens what was asked for, a pseudo-terminal when nothing was. Returns where that is.
std::string openLines(simulator::Server& server, const SimulateOptions& options)
{
    const bool wantsPty = options.ptyLink || !options.tcp;
    std::string places = wantsPty ? openPty(server, options.ptyLink.value_or("")) : "";
    if (options.tcp)
        places += (wantsPty ? " and " : "") + listenTcp(server, parseTcp(*options.tcp));
    return places;
}

void printTraffic(const std::string& line)
{
    std::fprintf(stderr, "%s\n", line.c_str());
}

ExitStatus simulate(const SimulateOptions& options)
{
    const StopSignal stop;
    SimulatedController controller(options.controller,
                                   options.verbose ? printTraffic : simulator::TrafficLog());
    const std::string places = openLines(controller.server(), options);
    controller.server().start();
    // One line that other programs wait for.
    std::printf("listening on %s\n", places.c_str());
    std::fflush(stdout);
    stop.waitFor(StopSignal::Forever);
    return Success;
}

} // namespace

void addSimulateCommand(CLI::App& app, ExitStatus& status)
{
    CLI::App* const command =
        app.add_subcommand("simulate", "Be a controller, until Ctrl-C, for others to connect to");
    const auto options = std::make_shared<SimulateOptions>();
    command
        ->add_option("--pty", options->ptyLink,
                     "Serve a pseudo-terminal; LINK is made to lead to it")
        ->type_name("LINK");
    command
        ->add_option("--tcp", options->tcp,
                     "Serve TCP on this port, 0 for any free one; on loopback unless an address "
                     "stands before it")
        ->type_name("[ADDRESS:]PORT");
    command->add_flag("-v,--trace,--verbose", options->verbose,
                      "Show the traffic on standard error");
    addControllerOptions(*command, options->controller);
    command->footer(std::string(R"(Once it listens it says so in one line on standard output.

Examples:
  plcctl simulate --pty /tmp/plc --set DM100=12,2 --set T5=42
  plcctl read DM100 -c 2 -p /tmp/plc            in another terminal
  plcctl simulate --tcp 8501 --fault late=700ms:0.2 --seed 7 -v

)") + simulator::FaultHelp);
    command->callback([options, &status] { status = simulate(*options); });
}

} // namespace plcctl
