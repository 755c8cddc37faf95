#include "host/lineport.h"

#include "host/line.h"

#include <QVariant>

namespace host
{

namespace
{

constexpr int DiscardInputOption = 12;
constexpr int MaxTimeoutMs = 60 * 60 * 1000;

} // namespace

LinePort::LinePort(std::unique_ptr<Line> line, const ExchangeSettings& exchange)
    : m_line(std::move(line))
    , m_exchange{qBound(0, exchange.timeoutMs, MaxTimeoutMs), exchange.retry, exchange.delayMs}
    , m_trust(m_exchange.timeoutMs)
{
}

LinePort::~LinePort() = default;

bool LinePort::open()
{
    m_trouble.clear();
    return reopen();
}

int LinePort::read(char* buffer, int maxLength)
{
    m_settled = false;
    if (maxLength <= 0 || !m_sending)
        return 0;
    const int count = receive(buffer, maxLength);
    if (count == maxLength) {
        m_trouble.clear();
        m_trust.replyComplete();
    } else {
        m_trust.replyFellShort();
    }
    return count;
}

int LinePort::receive(char* buffer, int maxLength)
{
    const qint64 deadlineMs = m_line->nowMs() + m_exchange.timeoutMs;
    int have = 0;
    for (qint64 nowMs = m_line->nowMs(); have < maxLength; nowMs = m_line->nowMs()) {
        const int waitMs = static_cast<int>(qMax<qint64>(0, deadlineMs - nowMs));
        const int count = m_line->read(buffer + have, maxLength - have, waitMs);
        if (count == Line::Failed) {
            m_trouble = m_line->trouble();
            break;
        }
        if (count > 0) {
            have += count;
            m_trust.bytesHeard(m_line->nowMs());
        } else if (m_line->nowMs() >= deadlineMs) {
            m_trouble = QStringLiteral("%1 of %2 bytes within %3 ms")
                            .arg(have)
                            .arg(maxLength)
                            .arg(m_exchange.timeoutMs);
            break;
        }
    }
    return have;
}

int LinePort::write(const char* data, int length)
{
    if (length <= 0)
        return 0;
    const bool ready = m_settled ? m_sending : isReady() || settle();
    m_sending = ready && send(data, length);
    return m_sending ? length : -1;
}

bool LinePort::send(const char* data, int length)
{
    m_trust.commandSent(m_line->nowMs());
    if (m_line->write(data, length, m_exchange.timeoutMs))
        return true;
    // Part of the command may have gone out and be answered.
    m_trust.replyFellShort();
    m_trouble = m_line->trouble();
    return false;
}

void LinePort::setOption(int option, const QVariant& value)
{
    if (option == DiscardInputOption && value.toInt() == 0)
        m_sending = settle();
}

int LinePort::retry()
{
    // Drivers ask after every failed attempt, and only then.
    m_trust.attemptFailed();
    return m_exchange.retry;
}

int LinePort::delay()
{
    return m_exchange.delayMs;
}

bool LinePort::isReady() const
{
    return m_line->isOpen() && !m_trust.needsQuiet();
}

bool LinePort::settle()
{
    m_settled = true;
    const bool startAfresh = m_trust.isSuspected() && shedsLateReplies();
    if ((startAfresh || !m_line->isOpen()) && !reopen())
        return false;
    return waitForQuiet();
}

bool LinePort::waitForQuiet()
{
    const qint64 deadlineMs = m_line->nowMs() + m_exchange.timeoutMs;
    char unread[256];
    for (;;) {
        const qint64 waitMs = qMin(deadlineMs, m_trust.quietAtMs()) - m_line->nowMs();
        const int count =
            m_line->read(unread, sizeof unread, static_cast<int>(qMax<qint64>(0, waitMs)));
        const qint64 nowMs = m_line->nowMs();
        if (count == Line::Failed)
            return reopen() && !m_trust.needsQuiet();
        if (count > 0) {
            m_trust.bytesHeard(nowMs);
            m_trust.strayBytesFound();
        } else if (nowMs >= m_trust.quietAtMs()) {
            m_trust.quietReached();
            return true;
        }
        if (nowMs >= deadlineMs) {
            m_trouble =
                QStringLiteral("replies are out of step: waiting for the line to be silent");
            return false;
        }
    }
}

bool LinePort::reopen()
{
    if (!m_line->open(m_exchange.timeoutMs)) {
        m_trouble = m_line->trouble();
        return false;
    }
    if (shedsLateReplies())
        m_trust = LineTrust(m_exchange.timeoutMs);
    return true;
}

bool LinePort::shedsLateReplies() const
{
    return m_line->reopening() == Line::Reopening::ShedsLateReplies;
}

} // namespace host
