#include "host/linetrust.h"

namespace host
{

namespace
{

constexpr qint64 MinMomentMs = 20;
constexpr int MomentsPerTimeout = 10;
constexpr int MaxLevel = 4;
constexpr int GoodRepliesToTrust = 12;

} // namespace

LineTrust::LineTrust(int timeoutMs)
    : m_timeoutMs(timeoutMs)
    , m_momentMs(qMin(m_timeoutMs, qMax(MinMomentMs, m_timeoutMs / MomentsPerTimeout)))
{
}

void LineTrust::commandSent(qint64 nowMs)
{
    m_lastActivityMs = nowMs;
    m_raised = false;
}

void LineTrust::bytesHeard(qint64 nowMs)
{
    m_lastActivityMs = nowMs;
    m_alive = true;
}

void LineTrust::replyComplete()
{
    if (m_suspected && ++m_goodReplies >= GoodRepliesToTrust) {
        m_suspected = false;
        m_level = 0;
    }
    if (m_suspected)
        needQuiet(m_momentMs);
}

void LineTrust::replyFellShort()
{
    m_suspected = true;
    m_goodReplies = 0;
    if (m_alive)
        raiseSuspicion();
    else
        needQuiet(m_timeoutMs + m_momentMs);
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
    m_goodReplies = 0;
    if (!m_raised && m_level < MaxLevel)
        ++m_level;
    m_raised = true;
    needQuiet(m_timeoutMs << m_level);
}

} // namespace host
