#include "simulator/channel.h"

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
    : name_(std::move(name))
    , controller_(controller)
    , session_(controller.newSession())
    , faults_(faults)
    , log_(log)
    , baud_(baud)
{
}

void Channel::receive(std::string_view bytes, TimeMs now)
{
    if (now - lastReceived_ > session_->longestPauseMs())
        received_.clear();
    received_ += bytes;
    lastReceived_ = now;
    if (idle())
        carryOutRequests(now);
}

void Channel::carryOutRequests(TimeMs now)
{
    controller_.memory().advanceTo(now);
    while (idle()) {
        const size_t sizeBefore = received_.size();
        const std::optional<std::string> request = session_->takeRequest(received_);
        if (!request)
            return;
        carryOut(*request);
        if (!idle())
            beginPiece(now + transferMs(sizeBefore - received_.size()));
    }
}

void Channel::carryOut(const std::string& request)
{
    const Fault fault = faults_.next(session_->commandName(request));
    const std::string reply = fault.kind == FaultKind::Error
                                  ? session_->errorReply(request, fault.value.value_or(0))
                                  : session_->answer(request);
    for (Piece& piece : piecesOf(reply, fault))
        pieces_.push_back(std::move(piece));
    if (log_)
        report(request, fault);
}

void Channel::beginPiece(TimeMs now)
{
    pieceStart_ = now + pieces_.front().delayMs;
    pieceSent_ = 0;
}

/// How long the line takes for so many bytes, rounded up.
TimeMs Channel::transferMs(size_t byteCount) const
{
    if (baud_ == Unpaced)
        return 0;
    return (static_cast<TimeMs>(byteCount) * BitsPerByte * 1000 + baud_ - 1) / baud_;
}

void Channel::report(const std::string& request, const Fault& fault) const
{
    std::string bytes;
    for (const Piece& piece : pieces_)
        bytes += piece.bytes;
    const std::string remark = describe(fault);
    log_(name_ + " > " + printable(request));
    log_(name_ + " < " + printable(bytes) + (remark.empty() ? "" : "  (" + remark + ")"));
}

std::optional<TimeMs> Channel::nextDue() const
{
    if (idle())
        return std::nullopt;
    return pieceStart_ + transferMs(pieceSent_ + 1);
}

std::string_view Channel::due(TimeMs now) const
{
    if (idle() || now < *nextDue())
        return std::string_view();
    const std::string_view bytes = pieces_.front().bytes;
    if (baud_ == Unpaced)
        return bytes;
    const TimeMs arrived = (now - pieceStart_) * baud_ / (BitsPerByte * 1000);
    return bytes.substr(0, static_cast<size_t>(arrived) - pieceSent_);
}

void Channel::sent(size_t count, TimeMs now)
{
    std::string& bytes = pieces_.front().bytes;
    bytes.erase(0, count);
    pieceSent_ += count;
    if (!bytes.empty())
        return;
    pieces_.pop_front();
    if (idle())
        carryOutRequests(now);
    else
        beginPiece(now);
}

namespace
{

std::string printable(char byte)
{
    if (byte == '\r')
        return "\\r";
    if (byte == '\n')
        return "\\n";
    if (byte >= ' ' && byte <= '~')
        return std::string(1, byte);
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(byte));
    return code;
}

} // namespace

std::string printable(std::string_view bytes)
{
    std::string text;
    for (char byte : bytes)
        text += printable(byte);
    return text;
}

} // namespace simulator
