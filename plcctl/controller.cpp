// Turns options into a simulated controller.
#include "controller.h"

#include "failure.h"

#include <utility>

namespace plcctl
{

namespace
{

simulator::FaultPlan planOf(const ControllerOptions& options)
{
    std::string why;
    const auto plan = simulator::FaultPlan::parse(options.faults, options.seed, why);
    if (!plan)
        throw Failure(WrongUsage, "--fault: " + why);
    return *plan;
}

} // namespace

SimulatedController::SimulatedController(const ControllerOptions& options,
                                         simulator::TrafficLog log)
    : m_server(m_memory, planOf(options), std::move(log))
{
    m_memory.presetDemo();
    std::string why;
    for (const std::string& preset : options.presets) {
        if (!m_memory.preset(preset, why))
            throw Failure(WrongUsage, "--set: " + why);
    }
}

} // namespace plcctl
