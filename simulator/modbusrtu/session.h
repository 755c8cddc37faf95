// The Modbus RTU protocol of one station: a frame in, its reply out.
#ifndef SIMULATOR_MODBUSRTU_SESSION_H
#define SIMULATOR_MODBUSRTU_SESSION_H

#include "simulator/controller.h"

namespace simulator::modbusrtu
{

/// What the station has of one kind.
struct Table {
    const char* symbol; ///< letters of a device name
    uint32_t block;     ///< in the memory
    uint32_t largestValue;
    uint32_t maxRead; ///< devices in one request
    uint32_t maxWrite;
};

constexpr Table Coils = {"C", 0, 1, 2000, 1968};
constexpr Table HoldingRegisters = {"HR", 1, UINT16_MAX, 125, 123};

/// Every function, as fault plans name it: "FC03" reads holding registers.
std::vector<std::string_view> functionNames();

/// Requests are whole frames with a correct check.
class Session : public simulator::Session
{
public:
    /// The memory must outlive the session.
    Session(Memory& memory, uint8_t station)
        : m_memory(memory)
        , m_station(station)
    {
    }

    /// A frame's length follows from its function. Unknown ones are taken to be as long as reads:
    /// FC02, FC04, FC05 and FC06 are. Damaged frames, broadcasts and frames for other stations are
    /// no requests.
    std::optional<std::string> takeRequest(std::string& received) override;

    TimeMs longestPauseMs() const override;
    std::string commandName(std::string_view frame) const override;
    std::string answer(std::string_view frame) override;
    std::string errorReply(std::string_view frame, uint32_t exceptionCode) const override;

private:
    std::string read(const Table& table, std::string_view frame);
    std::string write(const Table& table, std::string_view frame);

    Memory& m_memory;
    uint8_t m_station;
};

} // namespace simulator::modbusrtu

#endif
