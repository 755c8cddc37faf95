// The simulated controller as the options describe it, still without a line.
// It knows nothing of drivers.
#ifndef PLCCTL_CONTROLLER_H
#define PLCCTL_CONTROLLER_H

#include "options.h"

#include "simulator/memory.h"
#include "simulator/server.h"

namespace plcctl
{

/// Its memory and the server that lines are opened on.
class SimulatedController
{
public:
    /// Some devices hold values to look at, then those of the options.
    /// Throws a Failure (WrongUsage) when a fault plan or a preset can't be understood.
    explicit SimulatedController(const ControllerOptions& options,
                                 simulator::TrafficLog log = simulator::TrafficLog());

    simulator::Server& server() { return m_server; }

private:
    simulator::Memory m_memory;
    simulator::Server m_server;
};

} // namespace plcctl

#endif
