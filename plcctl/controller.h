// The simulated controllers that are built in, as options describe them, still without a line.
#ifndef PLCCTL_CONTROLLER_H
#define PLCCTL_CONTROLLER_H

#include "options.h"

#include "simulator/controller.h"
#include "simulator/server.h"

#include <memory>
#include <string>
#include <vector>

namespace plcctl
{

/// The names of the protocols that a simulated controller can speak; the first is the usual one.
std::vector<std::string> protocolNames();

/// The protocol that a driver of this name speaks, or nothing when no simulated controller speaks
/// it.
std::optional<std::string> protocolOfDriver(const std::string& driverName);

/// For help texts: the commands and error codes of every protocol, each line ended by a newline.
std::string commandsHelp();

/// A controller and the server that lines are opened on.
class SimulatedController
{
public:
    /// Some devices hold values to look at, then those of the options.
    ///
    /// protocol  one of protocolNames()
    ///
    /// Throws a Failure (WrongUsage) when an option can't be understood.
    SimulatedController(const std::string& protocol, const ControllerOptions& options,
                        simulator::TrafficLog log = simulator::TrafficLog());

    simulator::Server& server() { return m_server; }

private:
    std::unique_ptr<simulator::Controller> m_controller;
    simulator::Server m_server;
};

} // namespace plcctl

#endif
