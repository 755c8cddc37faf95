// Reads points again and again: rounds on time, the last value of each, and statistics of it all.
#ifndef BENCH_WATCHER_H
#define BENCH_WATCHER_H

#include "bench/points.h"
#include "bench/poller.h"
#include "bench/session.h"
#include "bench/statistics.h"

#include <chrono>
#include <optional>
#include <vector>

namespace bench
{

/// A point with what is known of it.
struct Watched {
    Point point;
    std::optional<Value> value;                   ///< the last that was read
    std::chrono::steady_clock::time_point readAt; ///< when that was
    std::optional<Failure> failure;               ///< of the last round
    bool isNewValue = false;   ///< the last round read another value than before, or the first
    bool isNewFailure = false; ///< the last round failed in another way than before
    bool isBack = false;       ///< the last round read a value after a failure
};

class Watcher
{
public:
    using Duration = std::chrono::microseconds;

    /// session  must outlive the watcher; its onRequest is used here
    /// Throws a Failure (WrongUsage) for a point that can't be read.
    Watcher(Session& session, const std::vector<Point>& points, Duration interval);
    ~Watcher();

    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    /// 0 when a round is due.
    Duration untilDue() const { return m_poller.untilDue(); }

    /// Reads every point once. Returns what to report of the round's time.
    Round round();

    const std::vector<Watched>& points() const { return m_points; }

    /// The first failure of the last round, or null.
    const Failure* firstFailure() const;

    Duration interval() const { return m_poller.interval(); }
    void setInterval(Duration interval) { m_poller.setInterval(interval); }

    /// Call after rounds were left out on purpose.
    void resume() { m_statistics.addPause(); }

    Summary summary() const { return m_statistics.summary(); }

private:
    Session& m_session;
    std::vector<Watched> m_points;
    std::vector<TypedDevice> m_devices;
    std::vector<ReadRequest> m_plan;
    Poller m_poller;
    Statistics m_statistics;
};

} // namespace bench

#endif
