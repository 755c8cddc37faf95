// A Modbus RTU station: holding registers HR0 to HR9999 and coils C0 to C9999.
#ifndef SIMULATOR_MODBUSRTU_CONTROLLER_H
#define SIMULATOR_MODBUSRTU_CONTROLLER_H

#include "simulator/controller.h"

namespace simulator::modbusrtu
{

/// Serves functions 1, 3, 15 and 16, which fault plans call FC01, FC03, FC15 and FC16. Damaged
/// frames, broadcasts and frames for other stations get no reply.
class Controller : public simulator::Controller
{
public:
    /// The number that the station answers to, 1 to 247.
    explicit Controller(uint8_t station = 1)
        : m_station(station)
    {
    }

    const Commands& commands() const override;
    std::unique_ptr<simulator::Session> newSession() override;

protected:
    std::optional<NamedPlace> find(std::string_view device) const override;
    const Demo& demo() const override;

private:
    uint8_t m_station;
};

} // namespace simulator::modbusrtu

#endif
