#include "host/linetrust.h"

namespace host
{

namespace
{

constexpr qint64 MinMomentMs = 20;
constexpr int MomentsPerTimeout = 10;
constexpr int CompleteRepliesToTrust = 12;

} // namespace

LineTrust::LineTrust(int timeoutMs)
    : m_timeoutMs(timeoutMs)
    , m_momentMs(qMin(m_timeoutMs, qMax(MinMomentMs, m_timeoutMs / MomentsPerTimeout)))
{
}

void LineTrust::commandSent(qint64 sentMs)
{
    if (!m_unanswered)
        m_unansweredSinceMs = sentMs;
    m_unanswered = true;
    m_commandMs = sentMs;
    m_lastActivityMs = sentMs;
    m_raised = false;
}

void LineTrust::bytesHeard(qint64 nowMs)
{
    if (m_suspected && m_unanswered)
        m_longestLateMs = qMax(m_longestLateMs, nowMs - m_unansweredSinceMs);
    m_lastActivityMs = nowMs;
    m_alive = true;
}

void LineTrust::replyComplete()
{
    m_unanswered = false;
    if (++m_completeReplies >= CompleteRepliesToTrust) {
        m_suspected = false;
        m_silenceMs = 0;
        m_longestLateMs = 0;
    }
    if (m_suspected)
        needQuiet(m_momentMs);
}

void LineTrust::replyFellShort()
{
    if (!m_unanswered)
        m_unansweredSinceMs = m_commandMs;
    m_unanswered = true;
    m_suspected = true;
    m_completeReplies = 0;
    if (m_alive)
        raiseSuspicion();
    else
        needQuiet(m_timeoutMs + m_momentMs); // the time-out itself was silent already
    m_alive = false;
}

void LineTrust::attemptFailed()
{
    needQuiet(m_momentMs);
}

void LineTrust::strayBytesFound()
{
    if (m_suspected)
        raiseSuspicion();
    else
        needQuiet(m_momentMs);
}

void LineTrust::raiseSuspicion()
{
    m_completeReplies = 0;
    if (!m_raised)
        m_silenceMs = 2 * qMax(m_timeoutMs, m_silenceMs);
    m_raised = true;
    m_silenceMs = qMin(qMax(m_silenceMs, 2 * m_longestLateMs), MaxSilenceInTimeouts * m_timeoutMs);
    needQuiet(m_silenceMs);
}

} // namespace host
