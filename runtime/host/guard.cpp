#include "host/guard.h"

namespace host
{

namespace
{

constexpr int LossesToBelieve = 64;
constexpr int MostLossesToBelieve = 1 << 20;

} // namespace

Guard::Guard(int timeoutMs)
    : m_timeoutMs(timeoutMs)
    , m_lossesToBelieve(LossesToBelieve)
{
}

void Guard::commandSent(qint64 sentMs)
{
    m_commandMs = sentMs;
}

bool Guard::replyComplete(qint64 nowMs)
{
    if (m_state == ReplyMissing) {
        if (nowMs > m_commandMs + m_timeoutMs / 2)
            lateReplySeen();
        needSilence(nowMs, seesOnlyLosses() ? nowMs - m_unansweredMs : guardTimeMs());
    }
    if (m_state != InSync)
        return false;
    m_latenessMs = 0;
    return true;
}

void Guard::restDropped(qint64 nowMs)
{
    m_silentSinceMs = nowMs;
}

void Guard::replyIncomplete()
{
    if (m_state == InSync)
        m_unansweredMs = m_commandMs;
    m_state = ReplyMissing;
}

bool Guard::bytesFound(qint64 nowMs)
{
    const bool wasInSync = isInSync();
    if (wasInSync)
        m_unansweredMs = nowMs; // no command that is known
    lateReplySeen();
    needSilence(nowMs, guardTimeMs());
    return !wasInSync;
}

bool Guard::bytesHeard(qint64 nowMs)
{
    const qint64 latenessMs = nowMs - m_commandMs;
    const bool isReply = !isInSync() && m_unansweredMs <= m_commandMs;
    if (isReply && latenessMs > m_timeoutMs)
        m_latenessMs = qMax(m_latenessMs, latenessMs);
    return bytesFound(nowMs);
}

void Guard::needSilence(qint64 nowMs, qint64 silenceMs)
{
    m_state = SilenceNeeded;
    m_silentSinceMs = nowMs;
    m_silenceMs = qBound(m_timeoutMs, silenceMs, guardTimeMs());
}

qint64 Guard::readyAtMs() const
{
    return m_state == SilenceNeeded ? m_silentSinceMs + m_silenceMs : 0;
}

void Guard::silent(qint64 nowMs)
{
    if (m_state == SilenceNeeded && nowMs >= readyAtMs()) {
        ++m_losses;
        m_state = InSync;
    }
    if (m_state == ReplyMissing && nowMs >= m_commandMs + guardTimeMs())
        m_state = InSync;
}

void Guard::lateReplySeen()
{
    if (m_losses >= 0)
        m_lossesToBelieve = qMin(2 * m_lossesToBelieve, MostLossesToBelieve);
    m_losses = -1; // the silence that begins now does not count
}

bool Guard::seesOnlyLosses() const
{
    return m_losses >= m_lossesToBelieve;
}

qint64 Guard::settledAtMs() const
{
    return m_state == ReplyMissing ? m_commandMs + guardTimeMs() : readyAtMs();
}

} // namespace host
