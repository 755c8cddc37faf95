#include "host/linetrust.h"

namespace host
{

namespace
{

constexpr qint64 MinMomentMs = 20;
constexpr int MomentsPerTimeout = 10;
constexpr int CompleteRepliesToForget = 12;

} // namespace

LineTrust::LineTrust(int timeoutMs)
    : m_timeoutMs(timeoutMs)
    , m_momentMs(qMin(m_timeoutMs, qMax(MinMomentMs, m_timeoutMs / MomentsPerTimeout)))
{
}

void LineTrust::commandSent(qint64 sentMs)
{
    m_commandMs = sentMs;
    m_lastActivityMs = sentMs;
}

void LineTrust::bytesHeard(qint64 nowMs)
{
    if (m_replyMissing)
        m_longestLateMs = qMax(m_longestLateMs, nowMs - m_missingSinceMs);
    m_lastActivityMs = nowMs;
    m_alive = true;
}

void LineTrust::replyComplete()
{
    m_replyMissing = false;
    m_completeReplies = qMin(m_completeReplies + 1, CompleteRepliesToForget);
    if (m_completeReplies == CompleteRepliesToForget)
        m_longestLateMs = 0;
}

void LineTrust::replyFellShort()
{
    if (!m_replyMissing)
        m_missingSinceMs = m_commandMs;
    m_replyMissing = true;
    m_completeReplies = 0;
    needQuiet(m_alive ? silenceMs() : m_timeoutMs + m_momentMs); // one time-out was silent already
    m_alive = false;
}

qint64 LineTrust::silenceMs() const
{
    return qMin(2 * qMax(m_timeoutMs, m_longestLateMs), MaxSilenceInTimeouts * m_timeoutMs);
}

} // namespace host
