// The simulated controllers that are built in: which there are, and one with its values and faults.
#ifndef BENCH_CONTROLLERS_H
#define BENCH_CONTROLLERS_H

#include "simulator/controller.h"
#include "simulator/server.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench
{

/// What a simulated controller starts with and what goes wrong with it.
struct ControllerOptions {
    std::string faults;
    std::uint32_t seed = 1;
    std::vector<std::string> presets;   ///< such as "DM100=12"
    std::vector<std::string> movements; ///< such as "DM100=ramp:0..100/10s"
    std::uint32_t baud = 0;             ///< speed that replies are paced by; 0: at once
};

/// The protocols that simulated controllers speak, by the names that driver descriptions use.
std::vector<std::string> simulatedProtocols();

bool isSimulated(const std::string& protocol);

/// A controller of one of these protocols, its values all 0, with no line to it. Throws a Failure
/// (WrongUsage) for any other protocol.
std::unique_ptr<simulator::Controller> makeController(const std::string& protocol);

/// For help texts: the commands and error codes of every protocol, each line ended by a newline.
std::string commandsHelp();

/// For help texts: what a SimulatedController of every protocol holds from the start, such as
/// "kv1000: DM0=10,20 C0=counter:0..1000/1s".
std::vector<std::string> contentsHelp();

/// A controller and the server that lines are opened on.
class SimulatedController
{
public:
    /// Some devices hold values to look at, then those of the options.
    ///
    /// protocol  one of simulatedProtocols()
    ///
    /// Throws a Failure (WrongUsage) that names the option that is wrong.
    SimulatedController(const std::string& protocol, const ControllerOptions& options,
                        simulator::TrafficLog log = simulator::TrafficLog());

    simulator::Server& server() { return m_server; }

private:
    std::unique_ptr<simulator::Controller> m_controller;
    simulator::Server m_server;
};

} // namespace bench

#endif
