#include "simulator/modbusrtu/controller.h"

#include "simulator/modbusrtu/session.h"
#include "simulator/text.h"

namespace simulator::modbusrtu
{

const Commands& Controller::commands() const
{
    static const Commands commands = {functionNames(), UINT8_MAX};
    return commands;
}

std::unique_ptr<simulator::Session> Controller::newSession()
{
    return std::make_unique<Session>(m_memory, m_station);
}

std::optional<Controller::NamedPlace> Controller::find(std::string_view device) const
{
    const std::string text = inUpperCase(device);
    const size_t letters = std::min(text.find_first_of("0123456789"), text.size());
    const auto number = parseNumber(std::string_view(text).substr(letters));
    if (!number || *number >= DevicesPerTable)
        return std::nullopt;
    for (const Table& table : {Coils, HoldingRegisters}) {
        if (text.substr(0, letters) == table.symbol)
            return NamedPlace{{table.block, *number},
                              DevicesPerTable - *number,
                              table.largestValue,
                              table.symbol + std::to_string(DevicesPerTable - 1)};
    }
    return std::nullopt;
}

const Controller::Demo& Controller::demo() const
{
    static const Demo demo = {
        {"HR0=10,20,30,40,50,60,70,80,90,100", "C0=1,0,1,1"},
        {"HR100=ramp:0..1000/10s", "HR101=sine:0..1000/20s", "HR102=counter/1s", "C5=toggle/2s"},
    };
    return demo;
}

} // namespace simulator::modbusrtu
