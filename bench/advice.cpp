#include "bench/advice.h"

#include "bench/internal/text.h"
#include "bench/portadvice.h"

#include "drivers/errortexts.h"

#include <algorithm>

namespace bench
{

namespace
{

/// How a driver's error text begins and what it means.
struct Meaning {
    const char* start;
    FailureKind kind;
    const char* advice;
    std::vector<Topic> topics = {}; ///< of the advice
};

// The first row that fits counts; the last one fits every text.
const Meaning meanings[] = {
    {errortext::ErrorReply, FailureKind::ControllerRefused,
     "The line works, but the controller refused the command. Check that the device and the last "
     "one of the run exist in this controller."},
    {errortext::PacketLoss,
     FailureKind::NoReply,
     "No complete reply came in time. Check cable, power and the line's settings (speed, parity), "
     "or allow a longer time-out.",
     {Topic::Line, Topic::Timeout, Topic::LineSearch}},
    {errortext::InvalidResponse,
     FailureKind::InvalidReply,
     "Something answered, but not as this controller does. Check the port, the line's settings "
     "(speed, parity), and that no other program uses the line.",
     {Topic::Line, Topic::LineSearch}},
    {errortext::InvalidAddress, FailureKind::WrongUsage,
     "Nothing was sent. The driver knows no such device, or the run ends outside its area."},
    {errortext::CantReadWord, FailureKind::WrongUsage,
     "Nothing was sent. This area holds no numbers; try the type bool."},
    {errortext::CantWriteWord, FailureKind::WrongUsage,
     "Nothing was sent. This device takes no numbers; try the type bool."},
    {errortext::CantWriteBit, FailureKind::WrongUsage,
     "Nothing was written. This device has no single bits; try the type uint."},
    {"", FailureKind::ControllerRefused, "The request failed; the driver says no more than this."},
};

// They come first over TCP, which has neither speed nor parity.
const Meaning meaningsOverTcp[] = {
    {errortext::PacketLoss,
     FailureKind::NoReply,
     "No complete reply came in time. Check that the controller and any gateway in between are "
     "running, or allow a longer time-out.",
     {Topic::Timeout}},
    {errortext::InvalidResponse,
     FailureKind::InvalidReply,
     "Something answered, but not as this controller does. Check the address, and the settings of "
     "any gateway in between.",
     {Topic::Port}},
};

bool isTcp(const PortReport& port)
{
    return port.address.kind == host::PortAddress::Kind::Tcp;
}

const Meaning& meaningOf(const std::string& errorText, const PortReport& port)
{
    const auto fits = [&](const Meaning& row) { return startsWith(errorText, row.start); };
    if (isTcp(port)) {
        const auto end = std::end(meaningsOverTcp);
        const auto row = std::find_if(std::begin(meaningsOverTcp), end, fits);
        if (row != end)
            return *row;
    }
    return *std::find_if(std::begin(meanings), std::end(meanings), fits);
}

/// Of a port that broke in use, or could not be opened again.
Failure brokenPort(const std::string& errorText, const PortReport& port)
{
    const std::string state = portAdvice(port.address);
    const std::string advice =
        isTcp(port) ? "The controller or a gateway closed the connection, or the network failed. "
                    : "The port failed or is gone. ";
    return Failure(FailureKind::NoReply, errorText,
                   advice + (state.empty() ? "Is the adapter still plugged in?" : state));
}

/// The meaning of the first number in an error reply, where the driver describes it.
std::string replyMeaning(const std::string& errorText, const host::DriverDescription& description)
{
    if (!startsWith(errorText, errortext::ErrorReply))
        return std::string();
    const std::size_t first = errorText.find_first_of("0123456789");
    // Longer numbers are no code, and would not fit an int.
    const std::size_t end =
        std::min(errorText.find_first_not_of("0123456789", first), errorText.size());
    if (first == std::string::npos || end - first > 6)
        return std::string();
    const auto meaning = description.errors.find(std::stoi(errorText.substr(first, end - first)));
    return meaning == description.errors.end() ? std::string() : meaning->second;
}

} // namespace

FailureKind driverFailureKind(const std::string& errorText, const RequestContext& context)
{
    return isServed(context.device, context.direction) ? meaningOf(errorText, context.port).kind
                                                       : FailureKind::WrongUsage;
}

Failure driverFailure(const std::string& errorText, const RequestContext& context)
{
    if (!isServed(context.device, context.direction))
        return wrongUsage(errorText, inOneLine(notServed(context.device, context.direction)));
    const Meaning& meaning = meaningOf(errorText, context.port);
    if (meaning.kind == FailureKind::NoReply && context.port.isBroken)
        return brokenPort(errorText, context.port);
    const std::string reply = replyMeaning(errorText, context.description);
    if (!reply.empty())
        return Failure(meaning.kind, errorText,
                       "The line works, but the controller refused the command: " + reply + ".");
    const bool isAddress = meaning.start == errortext::InvalidAddress;
    const std::string range = isAddress && context.device.isDescribed()
                                  ? rangeOf(*context.device.place.area)
                                  : std::string();
    return Failure(meaning.kind, errorText, meaning.advice + (range.empty() ? "" : " " + range),
                   meaning.topics);
}

} // namespace bench
