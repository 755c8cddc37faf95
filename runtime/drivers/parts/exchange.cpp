#include "drivers/parts/exchange.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/errortexts.h"
#include "drivers/parts/errorstate.h"
#include "drivers/portoptions.h"
#include "drivers/tools/platform.h"

#include <QVariant>

namespace driverkit
{

namespace
{

const qint64 NotBegun = -1;

} // namespace

Exchange::Exchange(AbstractDeviceInterface* port, ErrorState& error, int replyLimitMs)
    : m_port(port)
    , m_error(error)
    , m_replyLimitMs(replyLimitMs)
    , m_begunMs(NotBegun)
{
}

void Exchange::ask(const char* command, int length)
{
    m_port->setOption(DiscardUnreadInput, QVariant(0));
    send(command, length);
}

void Exchange::send(const char* command, int length)
{
    m_begunMs = NotBegun;
    m_port->write(command, length);
}

bool Exchange::receive(char* buffer, int length)
{
    if (isOverdue() || m_port->read(buffer, length) != length)
        return m_error.fail(errortext::PacketLoss);
    noteBegin();
    return true;
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
    return m_begunMs != NotBegun && CurrentMSecsSinceBoot() - m_begunMs > m_replyLimitMs;
}

void Exchange::noteBegin()
{
    if (m_begunMs == NotBegun && m_replyLimitMs != NoLimit)
        m_begunMs = CurrentMSecsSinceBoot();
}

} // namespace driverkit
