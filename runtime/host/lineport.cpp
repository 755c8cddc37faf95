#include "host/lineport.h"

#include "drivers/portoptions.h"
#include "host/line.h"

#include <QVariant>

namespace host
{

namespace
{

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
    return reopen(m_line->nowMs() + m_exchange.timeoutMs);
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
    const qint64 deadlineMs =
        qMax(m_line->nowMs(), m_sentMs) + m_exchange.timeoutMs + m_line->transferMs(maxLength);
    int have = 0;
    while (have < maxLength) {
        const int count = m_line->read(buffer + have, maxLength - have, remainingMs(deadlineMs));
        if (count == Line::Failed) {
            m_trouble = m_line->trouble();
            break;
        }
        if (count > 0) {
            have += count;
            m_trust.bytesHeard(m_line->nowMs());
        } else if (remainingMs(deadlineMs) == 0) {
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
    m_sentMs = m_line->nowMs() + m_line->transferMs(length);
    m_trust.commandSent(m_sentMs);
    if (m_line->write(data, length, m_exchange.timeoutMs))
        return true;
    // Part of the command may have gone out and be answered.
    m_trust.replyFellShort();
    m_trouble = m_line->trouble();
    return false;
}

void LinePort::setOption(int option, const QVariant& value)
{
    if (option == DiscardUnreadInput && value.toInt() == 0)
        m_sending = settle();
}

int LinePort::retry()
{
    // Drivers ask after every failed attempt, and only then.
    m_trust.leftoversExpected();
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
    const qint64 deadlineMs = m_line->nowMs() + m_exchange.timeoutMs;
    const bool startAfresh = m_trust.isReplyMissing() && shedsLateReplies();
    if ((startAfresh || !m_line->isOpen()) && !reopen(deadlineMs))
        return false;
    return waitForQuiet(deadlineMs);
}

bool LinePort::waitForQuiet(qint64 deadlineMs)
{
    char unread[256];
    for (;;) {
        const int waitMs = remainingMs(qMin(deadlineMs, m_trust.quietAtMs()));
        const int count = m_line->read(unread, sizeof unread, waitMs);
        if (count == Line::Failed)
            return reopen(deadlineMs) && !m_trust.needsQuiet();
        if (count > 0) {
            m_trust.bytesHeard(m_line->nowMs());
            m_trust.leftoversExpected();
        } else if (remainingMs(m_trust.quietAtMs()) == 0) {
            m_trust.quietReached();
            return true;
        }
        if (remainingMs(deadlineMs) == 0) {
            m_trouble =
                QStringLiteral("waiting for the line to be silent: late replies may still come");
            return false;
        }
    }
}

bool LinePort::reopen(qint64 deadlineMs)
{
    if (!m_line->open(remainingMs(deadlineMs))) {
        m_trouble = m_line->trouble();
        return false;
    }
    if (shedsLateReplies())
        m_trust = LineTrust(m_exchange.timeoutMs);
    return true;
}

/// 0 for a time that has passed.
int LinePort::remainingMs(qint64 untilMs) const
{
    return static_cast<int>(qBound<qint64>(0, untilMs - m_line->nowMs(), INT_MAX));
}

bool LinePort::shedsLateReplies() const
{
    return m_line->reopening() == Line::Reopening::ShedsLateReplies;
}

} // namespace host
