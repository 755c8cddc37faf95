// The link session: every request opens the host link, exchanges its commands and closes it again.
// Nothing here knows devices or data.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/errortexts.h"
#include "drivers/internal/qtcompat.h"
#include "drivers/kv1000/commands.h"
#include "drivers/kv1000/kv1000.h"
#include "drivers/kv1000/replies.h"

#include <cstring>

bool DriverKV1000::startComm(AbstractDeviceInterface* port)
{
    return exchangeAcknowledge(port, OpenCommand, OpenedReply);
}

bool DriverKV1000::endComm(AbstractDeviceInterface* port)
{
    return exchangeAcknowledge(port, CloseCommand, ClosedReply);
}

bool DriverKV1000::exchangeAcknowledge(AbstractDeviceInterface* port, const char* command,
                                       const char* expected)
{
    discardUnreadInput(port);
    sendCommand(port, command, static_cast<int>(std::strlen(command)));

    char reply[ShortReplyLength + 1] = {};
    if (!readExactly(port, reply, ShortReplyLength) || !passesAsNoError(reply, errorRspRegExp))
        return false;
    return std::memcmp(reply, expected, ShortReplyLength) == 0 || fail(errortext::InvalidResponse);
}

bool DriverKV1000::readMinRsp(AbstractDeviceInterface* port, char*, int& count)
{
    char* reply = rxBuffer.data();
    count = port->read(reply, ShortReplyLength);
    if (count != ShortReplyLength)
        return fail(errortext::PacketLoss);
    if (passesAsNoError(reply, errorRspRegExp))
        return true;
    // The controller is in step, it only refuses: leave the link closed. A failure of the close
    // replaces the refusal's text.
    endComm(port);
    return false;
}

/// Whether `reply`, ended by a NUL, is no error reply; one that is becomes the error text.
bool DriverKV1000::passesAsNoError(const char* reply, const QRegExp& errorPattern)
{
    const QString text = qtcompat::fromAscii(reply);
    return !errorPattern.exactMatch(text) || fail(errortext::ErrorReply, text);
}

bool DriverKV1000::readExactly(AbstractDeviceInterface* port, char* buffer, int length)
{
    return port->read(buffer, length) == length || fail(errortext::PacketLoss);
}
