#include "bench/poller.h"

#include <algorithm>

namespace bench
{

namespace
{

/// With fewer, a line on the edge would be reported again and again.
constexpr int RoundsToTrust = 10;

} // namespace

Poller::Poller(Duration interval, Clock now)
    : m_now(std::move(now))
    , m_interval(interval)
    , m_due(m_now())
    , m_begin(m_due)
{
}

void Poller::setInterval(Duration interval)
{
    m_interval = interval;
    m_due = m_begin + interval;
}

Poller::Duration Poller::untilDue() const
{
    const auto wait = std::chrono::ceil<Duration>(m_due - m_now());
    return std::max(wait, Duration(0));
}

Poller::Time Poller::begin()
{
    m_begin = m_now();
    // Late by a whole interval or more: what was missed is past.
    const bool isOnGrid = m_begin >= m_due && m_begin < m_due + m_interval;
    m_due = (isOnGrid ? m_due : m_begin) + m_interval;
    return m_begin;
}

Round Poller::end()
{
    const Time now = m_now();
    Round round;
    round.took = std::chrono::duration_cast<Duration>(now - m_begin);
    round.overran = round.took > m_interval;
    m_heldInARow = round.overran ? 0 : m_heldInARow + 1;
    const bool lags = round.overran || (m_lags && m_heldInARow < RoundsToTrust);
    round.isNews = lags != m_lags;
    m_lags = lags;
    return round;
}

} // namespace bench
