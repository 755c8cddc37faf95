#include "bench/controllers.h"

#include "bench/failure.h"

#include "simulator/kv1000/controller.h"
#include "simulator/modbusrtu/controller.h"

#include <algorithm>
#include <utility>

namespace bench
{

namespace
{

struct Protocol {
    const char* name;
    std::unique_ptr<simulator::Controller> (*make)();
};

template <typename Controller>
std::unique_ptr<simulator::Controller> make()
{
    return std::make_unique<Controller>();
}

constexpr Protocol protocols[] = {
    {"kv1000", make<simulator::kv1000::Controller>},
    {"modbusrtu", make<simulator::modbusrtu::Controller>},
};

simulator::FaultPlan planOf(const ControllerOptions& options, const simulator::Commands& commands)
{
    std::string why;
    const auto plan = simulator::FaultPlan::parse(options.faults, options.seed, commands, why);
    if (!plan)
        throw wrongUsage(why, "", {Topic::Faults});
    return *plan;
}

} // namespace

std::vector<std::string> simulatedProtocols()
{
    std::vector<std::string> names;
    for (const Protocol& protocol : protocols)
        names.push_back(protocol.name);
    return names;
}

bool isSimulated(const std::string& name)
{
    return std::any_of(std::begin(protocols), std::end(protocols),
                       [&](const Protocol& protocol) { return name == protocol.name; });
}

std::unique_ptr<simulator::Controller> makeController(const std::string& name)
{
    for (const Protocol& protocol : protocols) {
        if (name == protocol.name)
            return protocol.make();
    }
    throw wrongUsage("no simulated controller speaks " + name);
}

std::string commandsHelp()
{
    std::string help;
    for (const Protocol& protocol : protocols) {
        const simulator::Commands commands = protocol.make()->commands();
        help += std::string("  ") + protocol.name + ":";
        for (std::string_view name : commands.names)
            help += " " + std::string(name);
        help += "; error codes 0 to " + std::to_string(commands.maxErrorCode) + "\n";
    }
    return help;
}

std::vector<std::string> contentsHelp()
{
    std::vector<std::string> help;
    for (const Protocol& protocol : protocols) {
        help.push_back(std::string(protocol.name) + ":");
        for (const std::string& text : protocol.make()->demoTexts())
            help.back() += " " + text;
    }
    return help;
}

SimulatedController::SimulatedController(const std::string& protocol,
                                         const ControllerOptions& options,
                                         simulator::TrafficLog log)
    : m_controller(makeController(protocol))
    , m_server(*m_controller, planOf(options, m_controller->commands()), std::move(log),
               options.baud)
{
    m_controller->presetDemo();
    std::string why;
    for (const std::string& preset : options.presets) {
        if (!m_controller->preset(preset, why))
            throw wrongUsage(why, "", {Topic::Presets});
    }
    for (const std::string& movement : options.movements) {
        if (!m_controller->move(movement, why))
            throw wrongUsage(why, "", {Topic::Movements});
    }
}

} // namespace bench
