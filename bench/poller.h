// When the next round of requests is due. It sleeps and sends nothing; whoever polls does both.
#ifndef BENCH_POLLER_H
#define BENCH_POLLER_H

#include <chrono>
#include <functional>

namespace bench
{

/// What to report of a round.
struct Round {
    std::chrono::microseconds took{0};
    bool overran = false; ///< it took longer than the interval
    bool isNews = false;  ///< the first to overrun, or the interval is held again
};

/// Rounds on a grid: the next one is due an interval after the last one was, however late the last
/// one began. After a round that overran the next one is due at once. One that begins an interval
/// late or more begins a new grid: rounds that were missed are not made up for.
///
/// The first round is due at once. The interval counts as held again after ten rounds in a row that
/// did not overrun.
///
///     while (!stopped) {
///         wait(poller.untilDue());
///         poller.begin();
///         ...
///         const Round round = poller.end();
///     }
class Poller
{
public:
    using Duration = std::chrono::microseconds;
    using Time = std::chrono::steady_clock::time_point;
    using Clock = std::function<Time()>;

    explicit Poller(Duration interval, Clock now = std::chrono::steady_clock::now);

    Duration interval() const { return m_interval; }

    /// From now on rounds are due in this interval, the next one that long after the last one
    /// began.
    void setInterval(Duration interval);

    /// 0 when a round is due.
    Duration untilDue() const;

    /// Call at the beginning of a round, due or not. Returns its time.
    Time begin();

    /// Call at its end.
    Round end();

private:
    Clock m_now;
    Duration m_interval;
    Time m_due;
    Time m_begin;
    bool m_lags = false;
    int m_heldInARow = 0;
};

} // namespace bench

#endif
