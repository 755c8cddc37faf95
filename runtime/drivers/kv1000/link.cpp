// The link session: every request opens the host link, exchanges its commands and closes it again.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/errortexts.h"
#include "drivers/internal/qtcompat.h"
#include "drivers/kv1000/commands.h"
#include "drivers/kv1000/kv1000.h"
#include "drivers/kv1000/replies.h"
#include "drivers/parts/exchange.h"

#include <cstring>

using namespace kv1000;

bool DriverKV1000::startComm(AbstractDeviceInterface* port)
{
    return exchangeAcknowledge(port, OpenCommand, OpenedReply);
}

bool DriverKV1000::endComm(AbstractDeviceInterface* port)
{
    return exchangeAcknowledge(port, CloseCommand, ClosedReply);
}

/// A reply comes in two reads at most, so the port's own time-out is limit enough.
driverkit::Exchange DriverKV1000::exchangeOver(AbstractDeviceInterface* port)
{
    return driverkit::Exchange(port, m_error, driverkit::Exchange::NoLimit);
}

bool DriverKV1000::exchangeAcknowledge(AbstractDeviceInterface* port, const char* command,
                                       const char* expected)
{
    driverkit::Exchange exchange = exchangeOver(port);
    exchange.ask(command, static_cast<int>(std::strlen(command)));

    char reply[ShortReplyLength + 1] = {};
    if (!exchange.receive(reply, ShortReplyLength))
        return false;
    if (isErrorReply(reply))
        return failWithReply(reply);
    return std::memcmp(reply, expected, ShortReplyLength) == 0 ||
           m_error.fail(errortext::InvalidResponse);
}

bool DriverKV1000::readMinRsp(AbstractDeviceInterface* port, char*, int& count)
{
    char* reply = rxBuffer.data();
    count = port->read(reply, ShortReplyLength);
    if (count != ShortReplyLength)
        return m_error.fail(errortext::PacketLoss);
    if (!isErrorReply(reply))
        return true;
    failWithReply(reply);
    // The controller is in sync, it only refuses: leave the link closed. A failure of the close
    // replaces the refusal's text.
    endComm(port);
    return false;
}

/// reply  ended by a NUL
bool DriverKV1000::failWithReply(const char* reply)
{
    return m_error.fail(errortext::ErrorReply, qtcompat::fromAscii(reply));
}
