// The host-link protocol of a KV-1000: a command line in, its reply out, all as text.
#ifndef SIMULATOR_KV1000_SESSION_H
#define SIMULATOR_KV1000_SESSION_H

#include "simulator/controller.h"
#include "simulator/kv1000/areas.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::kv1000
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

/// The digit of an error reply is 0 to this.
constexpr uint32_t MaxErrorDigit = 9;

/// Every command word, such as "RDS".
const std::vector<std::string_view>& commandWords();

/// Requests are command lines without their CR LF.
class Session : public simulator::Session
{
public:
    /// The memory must outlive the session; several sessions may share one.
    explicit Session(Memory& memory)
        : m_memory(memory)
    {
    }

    /// A command ends with LF; one that does not end with CR LF, or is too long, becomes a request
    /// that gets an error reply. Empty lines are no commands.
    std::optional<std::string> takeRequest(std::string& received) override;

    std::string commandName(std::string_view line) const override;

    /// Carries out one command and returns the reply with its CR LF. The line may be anything.
    std::string answer(std::string_view line) override;

    bool isOpen() const override { return m_open; }
    std::string errorReply(std::string_view line, uint32_t digit) const override;

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

    Memory& m_memory;
    bool m_open = false;
};

} // namespace simulator::kv1000

#endif
