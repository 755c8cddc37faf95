#include "simulator/channel.h"

#include <cstdio>
#include <utility>

namespace simulator
{

Channel::Channel(std::string name, Memory& memory, FaultPlan& faults, const TrafficLog& log)
    : name_(std::move(name))
    , session_(memory)
    , faults_(faults)
    , log_(log)
{
}

void Channel::receive(std::string_view bytes, TimeMs now)
{
    for (char byte : bytes)
        collect(byte);
    if (idle())
        carryOutCommands(now);
}

void Channel::collect(char byte)
{
    if (byte == '\n') {
        // Without its CR the line keeps the LF, and with it no command is known.
        if (!line_.empty() && line_.back() == '\r')
            line_.pop_back();
        else
            line_ += '\n';
        lines_.push_back(std::exchange(line_, std::string()));
        return;
    }
    // A command and its CR, and one byte more to show that a line is too long.
    if (line_.size() < MaxCommandLength + 2)
        line_ += byte;
}

void Channel::carryOutCommands(TimeMs now)
{
    while (idle() && !lines_.empty()) {
        carryOut(lines_.front());
        lines_.pop_front();
    }
    if (!idle())
        frontDue_ = now + pieces_.front().delayMs;
}

void Channel::carryOut(const std::string& line)
{
    const Fault fault = faults_.next(commandWord(line));
    const std::string reply = fault.kind == FaultKind::Error ? errorReply(fault.value.value_or(0))
                                                             : session_.answer(line);
    for (Piece& piece : piecesOf(reply, fault))
        pieces_.push_back(std::move(piece));
    if (log_)
        report(line, fault);
}

void Channel::report(const std::string& line, const Fault& fault) const
{
    std::string bytes;
    for (const Piece& piece : pieces_)
        bytes += piece.bytes;
    const std::string remark = describe(fault);
    log_(name_ + " > " + printable(line));
    log_(name_ + " < " + printable(bytes) + (remark.empty() ? "" : "  (" + remark + ")"));
}

std::optional<TimeMs> Channel::nextDue() const
{
    if (idle())
        return std::nullopt;
    return frontDue_;
}

std::string_view Channel::due(TimeMs now) const
{
    if (idle() || now < frontDue_)
        return std::string_view();
    return pieces_.front().bytes;
}

void Channel::sent(size_t count, TimeMs now)
{
    std::string& bytes = pieces_.front().bytes;
    bytes.erase(0, count);
    if (!bytes.empty())
        return;
    pieces_.pop_front();
    if (idle())
        carryOutCommands(now);
    else
        frontDue_ = now + pieces_.front().delayMs;
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
