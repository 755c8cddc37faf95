#include "simulator/modbusrtu/session.h"

#include "simulator/modbusrtu/controller.h"

namespace simulator::modbusrtu
{

namespace
{

enum Exception : uint8_t { IllegalFunction = 1, IllegalAddress = 2, IllegalValue = 3 };
enum class Action { Read, Write };

struct Function {
    uint8_t code;
    const char* name;
    Action action;
    const Table& table;
};

constexpr Function Functions[] = {
    {0x01, "FC01", Action::Read, Coils},
    {0x03, "FC03", Action::Read, HoldingRegisters},
    {0x0F, "FC15", Action::Write, Coils},
    {0x10, "FC16", Action::Write, HoldingRegisters},
};

constexpr uint8_t ExceptionFlag = 0x80;
constexpr size_t CheckSize = 2;
constexpr size_t HeadSize = 6; // station, function and two numbers

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

const Function* findFunction(uint8_t code)
{
    for (const Function& function : Functions) {
        if (function.code == code)
            return &function;
    }
    return nullptr;
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

/// The size of the frame that these bytes begin with; more than there are while it is incomplete.
size_t frameSize(std::string_view received)
{
    if (received.size() <= HeadSize)
        return HeadSize + CheckSize;
    const Function* const function = findFunction(byteAt(received, 1));
    if (!function || function->action == Action::Read)
        return HeadSize + CheckSize;
    return HeadSize + 1 + byteAt(received, HeadSize) + CheckSize;
}

bool exist(uint32_t first, uint32_t count)
{
    return first + count <= DevicesPerTable;
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

} // namespace

std::vector<std::string_view> functionNames()
{
    std::vector<std::string_view> names;
    for (const Function& function : Functions)
        names.push_back(function.name);
    return names;
}

std::optional<std::string> Session::takeRequest(std::string& received)
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

TimeMs Session::longestPauseMs() const
{
    return LongestPauseMs;
}

std::string Session::commandName(std::string_view frame) const
{
    const Function* const function = findFunction(byteAt(frame, 1));
    return function ? function->name : "unknown";
}

std::string Session::errorReply(std::string_view frame, uint32_t exceptionCode) const
{
    const auto function = static_cast<char>(byteAt(frame, 1) | ExceptionFlag);
    return withCheck({frame[0], function, static_cast<char>(exceptionCode)});
}

std::string Session::answer(std::string_view frame)
{
    const Function* const function = findFunction(byteAt(frame, 1));
    if (!function)
        return errorReply(frame, IllegalFunction);
    return function->action == Action::Read ? read(function->table, frame)
                                            : write(function->table, frame);
}

std::string Session::read(const Table& table, std::string_view frame)
{
    const uint32_t first = wordAt(frame, 2);
    const uint32_t count = wordAt(frame, 4);
    if (count == 0 || count > table.maxRead)
        return errorReply(frame, IllegalValue);
    if (!exist(first, count))
        return errorReply(frame, IllegalAddress);
    const std::string bytes = packed(table, m_memory.read({table.block, first}, count));
    return withCheck(std::string{frame[0], frame[1], static_cast<char>(bytes.size())} + bytes);
}

std::string Session::write(const Table& table, std::string_view frame)
{
    const uint32_t first = wordAt(frame, 2);
    const uint32_t count = wordAt(frame, 4);
    const std::string_view bytes = frame.substr(HeadSize + 1, byteAt(frame, HeadSize));
    if (count == 0 || count > table.maxWrite || bytes.size() != bytesFor(table, count))
        return errorReply(frame, IllegalValue);
    if (!exist(first, count))
        return errorReply(frame, IllegalAddress);
    m_memory.write({table.block, first}, unpacked(table, bytes, count));
    return withCheck(std::string(frame.substr(0, HeadSize)));
}

} // namespace simulator::modbusrtu
