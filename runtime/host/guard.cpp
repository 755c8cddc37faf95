#include "host/guard.h"

namespace host
{

namespace
{

/// Bytes with shorter pauses between them belong to one reply.
constexpr int LongestPauseMs = 30;

} // namespace

Guard::Guard(int timeoutMs)
    : m_timeoutMs(timeoutMs)
{
}

void Guard::commandSent(qint64 sentMs)
{
    m_commandMs = sentMs;
}

bool Guard::replyComplete(qint64 nowMs)
{
    if (m_state == ReplyMissing)
        needSilence(nowMs);
    if (m_state != InSync)
        return false;
    m_latenessMs = 0;
    return true;
}

void Guard::replyIncomplete()
{
    if (m_state == SilenceNeeded)
        return;
    if (m_state == InSync)
        m_unansweredMs = m_commandMs;
    m_state = ReplyMissing;
}

bool Guard::bytesFound(qint64 nowMs)
{
    const bool wasInSync = isInSync();
    if (wasInSync)
        m_unansweredMs = nowMs; // no command that is known
    needSilence(nowMs);
    return !wasInSync;
}

void Guard::bytesHeard(qint64 nowMs)
{
    const qint64 latenessMs = nowMs - m_commandMs;
    const bool goesOn = m_state == SilenceNeeded && nowMs - m_silentSinceMs <= LongestPauseMs;
    const bool isReply = !goesOn && m_unansweredMs <= m_commandMs;
    if (isReply && latenessMs > m_timeoutMs)
        m_latenessMs = qMax(m_latenessMs, latenessMs);
    needSilence(nowMs);
}

void Guard::needSilence(qint64 nowMs)
{
    m_state = SilenceNeeded;
    m_silentSinceMs = nowMs;
}

qint64 Guard::readyAtMs() const
{
    return m_state == SilenceNeeded ? m_silentSinceMs + guardTimeMs() : 0;
}

void Guard::silent(qint64 nowMs)
{
    if (m_state == SilenceNeeded && nowMs >= readyAtMs())
        m_state = InSync;
    if (m_state == ReplyMissing && nowMs >= m_commandMs + guardTimeMs())
        m_state = InSync;
}

qint64 Guard::settledAtMs() const
{
    return m_state == ReplyMissing ? m_commandMs + guardTimeMs() : readyAtMs();
}

} // namespace host
