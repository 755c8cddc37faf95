// One line between a host and the simulated controller: collects bytes to commands, has them
// answered, spoils the replies by the fault plan and says which bytes are due when.
// It knows no file descriptor and no clock: the time comes in with every call.
#ifndef SIMULATOR_CHANNEL_H
#define SIMULATOR_CHANNEL_H

#include "simulator/faults.h"
#include "simulator/session.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace simulator
{

/// Milliseconds on some clock that never goes back.
using TimeMs = int64_t;

/// One line of traffic, such as "pty < 00012 00002\r\n", with the bytes written out like this and
/// no newline of its own.
using TrafficLog = std::function<void(const std::string& line)>;

/// A controller finishes one command after the other: while a reply is under way, late or slow, no
/// further command is carried out.
class Channel
{
public:
    /// The name stands before every line of the log. All references must outlive the channel.
    Channel(std::string name, Memory& memory, FaultPlan& faults, const TrafficLog& log);

    /// Takes bytes from the host, in portions as they come. A command ends with LF; what does not
    /// end with CR LF, or is too long, is a bad command. Whoever calls this only while idle() keeps
    /// the channel's memory bounded.
    void receive(std::string_view bytes, TimeMs now);

    /// True when no reply is under way.
    bool idle() const { return pieces_.empty(); }

    /// When the next bytes are due; nothing while idle.
    std::optional<TimeMs> nextDue() const;

    /// The bytes to send now, perhaps none. They stay until sent() takes them away.
    std::string_view due(TimeMs now) const;

    /// The first `count` bytes of due() are gone.
    void sent(size_t count, TimeMs now);

private:
    void collect(char byte);
    void carryOutCommands(TimeMs now);
    void carryOut(const std::string& line);
    void report(const std::string& line, const Fault& fault) const;

    std::string name_;
    Session session_;
    FaultPlan& faults_;
    const TrafficLog& log_;
    std::string line_;              ///< the command under way
    std::deque<std::string> lines_; ///< complete commands, CR LF taken off
    std::deque<Piece> pieces_;      ///< what is left of the reply under way
    TimeMs frontDue_ = 0;           ///< when the first piece is due
};

/// Bytes as text that can be printed: "\r", "\n", and "\x00" for what has no sign of its own.
std::string printable(std::string_view bytes);

} // namespace simulator

#endif // SIMULATOR_CHANNEL_H
