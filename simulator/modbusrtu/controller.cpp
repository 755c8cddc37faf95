#include "simulator/modbusrtu/controller.h"

#include "simulator/text.h"

namespace simulator::modbusrtu
{

namespace
{

struct Table {
    const char* symbol; ///< letters of a device name
    uint32_t block;     ///< in the memory
    uint32_t largestValue;
};

constexpr Table Coils = {"C", 0, 1};
constexpr Table HoldingRegisters = {"HR", 1, UINT16_MAX};
constexpr uint32_t DevicesPerTable = 10000;

struct Function {
    uint8_t code;
    const char* name;
    const Table& table;
    uint32_t maxCount; ///< of devices in one request
    bool isWrite;
};

constexpr Function Functions[] = {
    {0x01, "FC01", Coils, 2000, false},
    {0x03, "FC03", HoldingRegisters, 125, false},
    {0x0F, "FC15", Coils, 1968, true},
    {0x10, "FC16", HoldingRegisters, 123, true},
};

enum Exception : uint8_t { IllegalFunction = 1, IllegalAddress = 2, IllegalValue = 3 };
constexpr uint8_t ExceptionFlag = 0x80;

constexpr size_t HeadSize = 6; // station, function, first device and count
constexpr size_t CheckSize = 2;

// Much longer than the 3.5 characters of a real line: bytes may come through buffers of a system
// that is busy.
constexpr TimeMs LongestPauseMs = 30;

uint8_t byteAt(std::string_view frame, size_t place)
{
    return static_cast<uint8_t>(frame[place]);
}

uint32_t wordAt(std::string_view frame, size_t place)
{
    return byteAt(frame, place) * 256u + byteAt(frame, place + 1);
}

/// 0 for a frame that ends with a correct check.
uint16_t checkOf(std::string_view frame)
{
    constexpr uint16_t Polynomial = 0xA001;
    uint16_t check = 0xFFFF;
    for (char byte : frame) {
        check ^= static_cast<uint8_t>(byte);
        for (int bit = 0; bit < 8; ++bit)
            check = static_cast<uint16_t>(check & 1 ? check >> 1 ^ Polynomial : check >> 1);
    }
    return check;
}

std::string withCheck(std::string frame)
{
    const uint16_t check = checkOf(frame);
    frame += static_cast<char>(check & 0xFF);
    return frame += static_cast<char>(check >> 8);
}

/// The function that a frame asks for; null for one that the station does not serve.
const Function* functionOf(std::string_view frame)
{
    for (const Function& function : Functions) {
        if (function.code == byteAt(frame, 1))
            return &function;
    }
    return nullptr;
}

/// The size of the frame that these bytes begin with; more than there are while it is incomplete.
/// Unknown functions are taken to be as long as reads: 2, 4, 5 and 6 are.
size_t frameSize(std::string_view received)
{
    if (received.size() <= HeadSize)
        return HeadSize + CheckSize;
    const Function* const function = functionOf(received);
    const bool hasValues = function && function->isWrite;
    return HeadSize + (hasValues ? 1 + byteAt(received, HeadSize) : 0) + CheckSize;
}

size_t bytesFor(const Table& table, uint32_t count)
{
    return table.largestValue == 1 ? (count + 7) / 8 : 2 * count;
}

/// Coils fill bytes from the lowest bit on; registers have their high byte first.
std::string packed(const Table& table, const std::vector<uint32_t>& values)
{
    std::string bytes(bytesFor(table, static_cast<uint32_t>(values.size())), '\0');
    for (size_t i = 0; i < values.size(); ++i) {
        if (table.largestValue == 1) {
            bytes[i / 8] = static_cast<char>(byteAt(bytes, i / 8) | values[i] << i % 8);
        } else {
            bytes[2 * i] = static_cast<char>(values[i] >> 8);
            bytes[2 * i + 1] = static_cast<char>(values[i] & 0xFF);
        }
    }
    return bytes;
}

std::vector<uint32_t> unpacked(const Table& table, std::string_view bytes, uint32_t count)
{
    std::vector<uint32_t> values(count);
    for (uint32_t i = 0; i < count; ++i)
        values[i] =
            table.largestValue == 1 ? byteAt(bytes, i / 8) >> i % 8 & 1 : wordAt(bytes, 2 * i);
    return values;
}

/// Requests are whole frames with a correct check.
class Session : public simulator::Session
{
public:
    Session(Memory& memory, uint8_t station)
        : m_memory(memory)
        , m_station(station)
    {
    }

    std::optional<std::string> takeRequest(std::string& received) override
    {
        while (frameSize(received) <= received.size()) {
            const std::string frame = received.substr(0, frameSize(received));
            if (checkOf(frame) != 0) {
                received.clear(); // where the next frame begins only a pause can tell
                break;
            }
            received.erase(0, frame.size());
            if (byteAt(frame, 0) == m_station)
                return frame;
        }
        return std::nullopt;
    }

    TimeMs longestPauseMs() const override { return LongestPauseMs; }

    std::string commandName(std::string_view frame) const override
    {
        const Function* const function = functionOf(frame);
        return function ? function->name : "unknown";
    }

    std::string answer(std::string_view frame) override
    {
        const Function* const function = functionOf(frame);
        if (!function)
            return errorReply(frame, IllegalFunction);
        const Table& table = function->table;
        const Place first = {table.block, wordAt(frame, 2)};
        const uint32_t count = wordAt(frame, 4);
        if (count == 0 || count > function->maxCount)
            return errorReply(frame, IllegalValue);
        if (function->isWrite && byteAt(frame, HeadSize) != bytesFor(table, count))
            return errorReply(frame, IllegalValue);
        if (first.index + count > DevicesPerTable)
            return errorReply(frame, IllegalAddress);
        if (function->isWrite) {
            m_memory.write(first, unpacked(table, frame.substr(HeadSize + 1), count));
            return withCheck(std::string(frame.substr(0, HeadSize)));
        }
        const std::string bytes = packed(table, m_memory.read(first, count));
        return withCheck(std::string{frame[0], frame[1], static_cast<char>(bytes.size())} + bytes);
    }

    std::string errorReply(std::string_view frame, uint32_t exceptionCode) const override
    {
        const auto function = static_cast<char>(byteAt(frame, 1) | ExceptionFlag);
        return withCheck({frame[0], function, static_cast<char>(exceptionCode)});
    }

private:
    Memory& m_memory;
    uint8_t m_station;
};

} // namespace

const Commands& Controller::commands() const
{
    static const Commands commands = [] {
        Commands served = {{}, UINT8_MAX};
        for (const Function& function : Functions)
            served.names.push_back(function.name);
        return served;
    }();
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
