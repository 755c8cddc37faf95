// One host's session with the simulated controller: a command line in, its reply out, all as text.
// It knows no line, no socket and no clock; several sessions may share one memory.
#ifndef SIMULATOR_SESSION_H
#define SIMULATOR_SESSION_H

#include "simulator/memory.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace simulator
{

/// What the digit of an error reply means, such as the 1 in "E1".
enum class ErrorCode {
    NoSuchDevice = 0, ///< the device does not exist, or the run of devices leaves its area
    BadCommand = 1,   ///< unknown or malformed command, or one that does not suit the device
    NotAllowed = 4,   ///< a command other than "CR" while no session is open
};

/// The most devices that one command may name, whatever they hold.
constexpr uint32_t MaxDevicesPerCommand = 1000;

/// No command line is longer than this, CR LF not counted: "WRS ", a device, a count and as many
/// ten-digit values as a command may have, with their blanks.
constexpr size_t MaxCommandLength = 32 + 11 * MaxDevicesPerCommand;

/// Every command word, such as "RDS".
const std::vector<std::string_view>& commandWords();

/// The first word of a command line.
std::string_view commandWord(std::string_view line);

/// An error reply with this digit, 0 to 9, CR LF included.
std::string errorReply(unsigned digit);

class Session
{
public:
    /// The memory must outlive the session.
    explicit Session(Memory& memory)
        : memory_(memory)
    {
    }

    /// Carries out one command and returns the reply with its CR LF. The line comes without its CR
    /// LF and may be anything at all. An empty line is no command and gets an empty reply.
    std::string answer(std::string_view line);

private:
    struct Command;
    using Arguments = std::vector<std::string_view>;

    static const std::vector<Command>& commands();
    friend const std::vector<std::string_view>& commandWords();

    std::string open(const Arguments& arguments);
    std::string close(const Arguments& arguments);
    std::string read(const Arguments& arguments);
    std::string writeCurrent(const Arguments& arguments);
    std::string writeSetValues(const Arguments& arguments);
    std::string set(const Arguments& arguments);
    std::string reset(const Arguments& arguments);

    std::string writeValues(const Arguments& arguments, Part wanted);
    std::string writeState(const Arguments& arguments, uint32_t state);

    Memory& memory_;
    bool open_ = false;
};

} // namespace simulator

#endif // SIMULATOR_SESSION_H
