#include "drivers/parts/exchange.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/errortexts.h"
#include "drivers/parts/errorstate.h"
#include "drivers/portoptions.h"
#include "drivers/tools/platform.h"

#include <QVariant>

namespace driverkit
{

Exchange::Exchange(AbstractDeviceInterface* port, ErrorState& error, int replyLimitMs)
    : m_port(port)
    , m_error(error)
    , m_replyLimitMs(replyLimitMs)
    , m_sentMs(replyLimitMs != NoLimit ? CurrentMSecsSinceBoot() : 0)
{
}

void Exchange::ask(const char* command, int length)
{
    m_port->setOption(DiscardUnreadInput, QVariant(0));
    send(command, length);
}

void Exchange::send(const char* command, int length)
{
    if (m_replyLimitMs != NoLimit)
        m_sentMs = CurrentMSecsSinceBoot();
    m_port->write(command, length);
}

bool Exchange::receive(char* buffer, int length)
{
    return (!isOverdue() && m_port->read(buffer, length) == length) ||
           m_error.fail(errortext::PacketLoss);
}

bool Exchange::receiveUntil(char delimiter, int maxLength, QByteArray* reply)
{
    reply->clear();
    char byte = 0;
    while (receive(&byte, 1)) {
        if (byte == delimiter)
            return true;
        if (reply->size() == maxLength)
            return m_error.fail(errortext::InvalidResponse);
        reply->append(byte);
    }
    return false;
}

bool Exchange::isOverdue() const
{
    return m_replyLimitMs != NoLimit && CurrentMSecsSinceBoot() - m_sentMs > m_replyLimitMs;
}

} // namespace driverkit
