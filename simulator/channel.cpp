#include "simulator/channel.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace simulator
{

namespace
{

/// Start bit, eight data bits, parity and a stop bit.
constexpr TimeMs BitsPerByte = 11;

} // namespace

Channel::Channel(std::string name, Controller& controller, FaultPlan& faults, const TrafficLog& log,
                 uint32_t baud)
    : m_name(std::move(name))
    , m_controller(controller)
    , m_session(controller.newSession())
    , m_faults(faults)
    , m_log(log)
    , m_baud(baud)
{
}

void Channel::receive(std::string_view bytes, TimeMs now)
{
    if (now - m_lastReceived > m_session->longestPauseMs())
        m_received.clear();
    m_received += bytes;
    m_lastReceived = now;
    if (idle())
        carryOutRequests(now);
}

void Channel::carryOutRequests(TimeMs now)
{
    m_controller.memory().advanceTo(now);
    while (idle()) {
        const size_t sizeBefore = m_received.size();
        const std::optional<std::string> request = m_session->takeRequest(m_received);
        if (!request)
            return;
        carryOut(*request);
        if (!idle())
            beginPiece(now + transferMs(sizeBefore - m_received.size()));
    }
}

void Channel::carryOut(const std::string& request)
{
    const Fault fault = m_faults.next(m_session->commandName(request));
    const std::string reply = fault.kind == FaultKind::Error
                                  ? m_session->errorReply(request, fault.value.value_or(0))
                                  : m_session->answer(request);
    for (Piece& piece : piecesOf(reply, fault))
        m_pieces.push_back(std::move(piece));
    if (m_log)
        report(request, fault);
}

void Channel::beginPiece(TimeMs now)
{
    m_pieceStart = now + m_pieces.front().delayMs;
    m_pieceSent = 0;
}

/// How long the line takes for so many bytes, rounded up.
TimeMs Channel::transferMs(size_t byteCount) const
{
    if (m_baud == Unpaced)
        return 0;
    return (static_cast<TimeMs>(byteCount) * BitsPerByte * 1000 + m_baud - 1) / m_baud;
}

void Channel::report(const std::string& request, const Fault& fault) const
{
    std::string bytes;
    for (const Piece& piece : m_pieces)
        bytes += piece.bytes;
    const std::string remark = describe(fault);
    m_log(m_name + " > " + printable(request));
    m_log(m_name + " < " + printable(bytes) + (remark.empty() ? "" : "  (" + remark + ")"));
}

std::optional<TimeMs> Channel::nextDue() const
{
    if (idle())
        return std::nullopt;
    return m_pieceStart + transferMs(m_pieceSent + 1);
}

std::string_view Channel::due(TimeMs now) const
{
    if (idle() || now < *nextDue())
        return std::string_view();
    const std::string_view bytes = m_pieces.front().bytes;
    if (m_baud == Unpaced)
        return bytes;
    const TimeMs arrived = (now - m_pieceStart) * m_baud / (BitsPerByte * 1000);
    return bytes.substr(0, static_cast<size_t>(arrived) - m_pieceSent);
}

void Channel::sent(size_t count, TimeMs now)
{
    std::string& bytes = m_pieces.front().bytes;
    bytes.erase(0, count);
    m_pieceSent += count;
    if (!bytes.empty())
        return;
    m_pieces.pop_front();
    if (idle())
        carryOutRequests(now);
    else
        beginPiece(now);
}

namespace
{

bool isText(char byte)
{
    return (byte >= ' ' && byte <= '~') || byte == '\r' || byte == '\n';
}

std::string printable(char byte)
{
    if (byte == '\r')
        return "\\r";
    if (byte == '\n')
        return "\\n";
    if (isText(byte))
        return std::string(1, byte);
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(byte));
    return code;
}

std::string hexadecimal(std::string_view bytes)
{
    std::string text;
    char code[8];
    for (char byte : bytes) {
        std::snprintf(code, sizeof code, "%s%02X", text.empty() ? "" : " ",
                      static_cast<unsigned char>(byte));
        text += code;
    }
    return text;
}

} // namespace

std::string printable(std::string_view bytes)
{
    const auto texts = static_cast<size_t>(std::count_if(bytes.begin(), bytes.end(), isText));
    if (texts * 4 < bytes.size() * 3)
        return hexadecimal(bytes);
    std::string text;
    for (char byte : bytes)
        text += printable(byte);
    return text;
}

} // namespace simulator
