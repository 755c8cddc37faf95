#include "host/port.h"

#include "drivers/portoptions.h"
#include "host/transport.h"

#include <QVariant>

namespace host
{

namespace
{

constexpr int MaxTimeoutMs = 60 * 60 * 1000;

/// Commands that one after the other were answered too late may leave that many replies, each a
/// guard time after the one before.
constexpr int MaxGuardTimesToSettle = 4;

} // namespace

Port::Port(std::unique_ptr<Transport> transport, const ExchangeSettings& exchange)
    : m_transport(std::move(transport))
    , m_exchange{qBound(0, exchange.timeoutMs, MaxTimeoutMs), exchange.retry, exchange.delayMs}
    , m_guard(m_exchange.timeoutMs)
{
}

Port::~Port()
{
    settle();
}

bool Port::open()
{
    m_failure = Failure::None;
    m_command = Command::None;
    return reopen();
}

int Port::read(char* buffer, int maxLength)
{
    if (maxLength <= 0 || m_command == Command::NotSent || m_command == Command::Refused)
        return 0;
    const int count = receive(buffer, maxLength);
    if (count < maxLength) {
        m_guard.replyIncomplete();
        return count;
    }
    if (!m_guard.replyComplete(m_transport->nowMs())) {
        m_command = Command::NotSent;
        fail(Failure::Dropped);
        return 0;
    }
    m_failure = Failure::None;
    return count;
}

int Port::receive(char* buffer, int maxLength)
{
    const qint64 deadlineMs = qMax(m_transport->nowMs(), m_sentMs) + m_exchange.timeoutMs +
                              m_transport->transferMs(maxLength);
    int have = 0;
    while (have < maxLength) {
        if (m_interrupted) {
            fail(Failure::Interrupted);
            break;
        }
        const int waitMs = remainingMs(deadlineMs);
        const int count = m_transport->read(buffer + have, maxLength - have, waitMs);
        if (count == Transport::Failed) {
            fail(Failure::Transport);
            break;
        }
        have += count;
        if (count == 0 && remainingMs(deadlineMs) == 0) {
            m_received = have;
            m_wanted = maxLength;
            fail(Failure::Incomplete);
            break;
        }
    }
    return have;
}

int Port::write(const char* data, int length)
{
    if (length <= 0)
        return 0;
    const bool ready = m_command == Command::Ready || (m_command != Command::Refused && prepare());
    const bool sent = ready && send(data, length);
    m_command = sent ? Command::Sent : Command::NotSent;
    return sent ? length : -1;
}

bool Port::send(const char* data, int length)
{
    m_sentMs = m_transport->nowMs() + m_transport->transferMs(length);
    m_guard.commandSent(m_sentMs);
    m_isNeverSilent = false;
    if (m_transport->write(data, length, m_exchange.timeoutMs))
        return true;
    // Part of the command may have gone out and be answered.
    m_guard.replyIncomplete();
    return fail(Failure::Transport);
}

void Port::setOption(int option, const QVariant& value)
{
    if (option == DiscardUnreadInput && value.toInt() == 0)
        m_command = prepare() ? Command::Ready : Command::Refused;
}

void Port::interrupt()
{
    m_interrupted = true;
    m_transport->interrupt();
}

int Port::retry()
{
    if (m_interrupted)
        return 0;
    return isOwnFailure() ? qMax(0, m_exchange.retry) + 1 : m_exchange.retry;
}

bool Port::isOwnFailure() const
{
    return m_failure == Failure::Dropped || m_failure == Failure::Unread;
}

bool Port::keepsLateReplies() const
{
    return m_transport->keepsLateReplies();
}

int Port::delay()
{
    return m_interrupted ? 0 : m_exchange.delayMs;
}

/// Makes the transport ready for a command: open, and with no late reply under way.
bool Port::prepare()
{
    if (m_interrupted)
        return fail(Failure::Interrupted);
    const bool leaveLateReplies = !m_guard.isInSync() && !m_transport->keepsLateReplies();
    if ((leaveLateReplies || !m_transport->isOpen()) && !reopen())
        return false;
    // Silence counts from the last byte. A reply to the command before may still come, within a
    // time-out.
    return listenUntilReady(m_transport->nowMs() + m_guard.guardTimeMs() + m_exchange.timeoutMs);
}

bool Port::listenUntilReady(qint64 deadlineMs)
{
    char unread[256];
    bool reopened = false;
    int waitMs = 0; // first for what is there already
    for (;;) {
        const int count = m_transport->read(unread, sizeof unread, waitMs);
        const qint64 nowMs = m_transport->nowMs();
        if (m_interrupted)
            return fail(Failure::Interrupted);
        if (count == Transport::Failed) {
            if (reopened || !reopen())
                return fail(Failure::Transport);
            reopened = true;
        } else if (count > 0) {
            if (waitMs > 0)
                m_guard.bytesHeard(nowMs);
            else if (!m_guard.bytesFound(nowMs))
                return fail(Failure::Unread);
        } else if (nowMs >= m_guard.readyAtMs()) {
            m_guard.silent(nowMs);
            return true;
        }
        waitMs = remainingMs(qMin(deadlineMs, m_guard.readyAtMs()));
        if (remainingMs(deadlineMs) == 0)
            return fail(Failure::NotSilent);
    }
}

void Port::settle()
{
    if (!m_transport->keepsLateReplies() || m_isNeverSilent)
        return;
    const qint64 deadlineMs = m_transport->nowMs() + MaxGuardTimesToSettle * m_guard.guardTimeMs();
    char unread[256];
    while (m_transport->isOpen() && !m_interrupted) {
        const int waitMs = remainingMs(qMin(deadlineMs, m_guard.settledAtMs()));
        m_isNeverSilent = remainingMs(deadlineMs) == 0;
        if (waitMs == 0)
            return;
        if (m_transport->read(unread, sizeof unread, waitMs) > 0)
            m_guard.bytesHeard(m_transport->nowMs());
    }
}

bool Port::reopen()
{
    if (!m_transport->open(m_exchange.timeoutMs))
        return fail(Failure::Transport);
    if (!m_transport->keepsLateReplies())
        m_guard = Guard(m_exchange.timeoutMs);
    return true;
}

/// After an interruption the transport fails too; that is not the cause.
bool Port::fail(Failure failure)
{
    m_failure = m_interrupted ? Failure::Interrupted : failure;
    return false;
}

QString Port::lastFailure() const
{
    const qint64 latenessMs = m_guard.latenessMs();
    if (m_failure == Failure::None || m_failure == Failure::Transport || latenessMs == 0)
        return failureText();
    return QStringLiteral("%1; replies come up to %2 ms after their command: a time-out of %3 ms "
                          "would do")
        .arg(failureText())
        .arg(latenessMs)
        .arg(sufficientTimeoutMs(latenessMs));
}

QString Port::failureText() const
{
    switch (m_failure) {
    case Failure::None:
        break;
    case Failure::Transport:
        return m_transport->lastFailure();
    case Failure::Incomplete:
        return QStringLiteral("%1 of %2 bytes within %3 ms")
            .arg(m_received)
            .arg(m_wanted)
            .arg(m_exchange.timeoutMs);
    case Failure::Dropped:
        return QStringLiteral("dropped a reply that may answer an earlier command");
    case Failure::Unread:
        return QStringLiteral("bytes came that no command had asked for");
    case Failure::Interrupted:
        return QStringLiteral("interrupted");
    case Failure::NotSilent:
        return QStringLiteral("the line was not silent: late replies may still come");
    }
    return QString();
}

/// 0 for a time that has passed.
int Port::remainingMs(qint64 untilMs) const
{
    return static_cast<int>(qBound<qint64>(0, untilMs - m_transport->nowMs(), INT_MAX));
}

} // namespace host
