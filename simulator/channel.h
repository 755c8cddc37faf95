// The line between one host and a simulated controller, without the line: bytes and times go in,
// bytes and the times when they are due come out. Requests are answered here, faults applied and
// replies paced.
#ifndef SIMULATOR_CHANNEL_H
#define SIMULATOR_CHANNEL_H

#include "simulator/controller.h"
#include "simulator/faults.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace simulator
{

/// One line of traffic, such as "pty < 00012 00002\r\n", with the bytes written out like this and
/// without a newline at its end.
using TrafficLog = std::function<void(const std::string& line)>;

/// The value of a speed that means a line without delay.
constexpr uint32_t Unpaced = 0;

/// A controller finishes one command after the other: while a reply is under way, late or slow, no
/// further command is carried out.
class Channel
{
public:
    /// name  begins every line of the log
    /// baud  speed of the line that the channel imitates, 11 bits a byte; or Unpaced
    ///
    /// All references must outlive the channel.
    Channel(std::string name, Controller& controller, FaultPlan& faults, const TrafficLog& log,
            uint32_t baud = Unpaced);

    /// Takes bytes from the host, in portions as they come. Whoever calls this only while idle()
    /// keeps the channel's memory bounded.
    void receive(std::string_view bytes, TimeMs now);

    /// True when no reply is under way.
    bool idle() const { return m_pieces.empty(); }

    /// When the next bytes are due; nothing while idle.
    std::optional<TimeMs> nextDue() const;

    /// The bytes to send now, possibly none. They stay until sent() removes them.
    std::string_view due(TimeMs now) const;

    /// The first `count` bytes of due() were sent.
    void sent(size_t count, TimeMs now);

private:
    void carryOutRequests(TimeMs now);
    void carryOut(const std::string& request);
    void beginPiece(TimeMs now);
    TimeMs transferMs(size_t byteCount) const;
    void report(const std::string& request, const Fault& fault) const;

    std::string m_name;
    Controller& m_controller;
    std::unique_ptr<Session> m_session;
    FaultPlan& m_faults;
    const TrafficLog& m_log;
    uint32_t m_baud;
    std::string m_received;     ///< what has not been carried out yet
    TimeMs m_lastReceived = 0;  ///< when its last byte came
    std::deque<Piece> m_pieces; ///< what is left of the reply under way
    TimeMs m_pieceStart = 0;    ///< when the first piece begins to be sent
    size_t m_pieceSent = 0;     ///< bytes of it that were sent, and are no longer in it
};

/// Bytes as text that can be printed: "\r", "\n", and "\x00" for what cannot be printed. Where that
/// is more than a quarter of them, all are written as hexadecimal digits: "01 03 00 FA".
std::string printable(std::string_view bytes);

} // namespace simulator

#endif
