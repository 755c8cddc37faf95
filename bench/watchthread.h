// A watch in a thread of its own, for programs that must answer a person while a request waits:
// what was read so far can be looked at at any time, and the watch can be asked to write, to pause
// and to change its interval.
#ifndef BENCH_WATCHTHREAD_H
#define BENCH_WATCHTHREAD_H

#include "bench/history.h"
#include "bench/watcher.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace bench
{

/// A watched point with what it was before.
struct LivePoint {
    explicit LivePoint(Watched point);

    static constexpr std::size_t HistoryLength = 120;

    Watched watched;
    History history;                                                ///< scaled numbers, one a round
    std::optional<std::chrono::steady_clock::time_point> changedAt; ///< not for the first value
};

/// The outcome of a write.
struct WriteOutcome {
    std::size_t index; ///< of the point
    Value value;
    std::optional<Failure> failure;
};

struct LiveState {
    std::vector<LivePoint> points; ///< in the order in which they were given
    Summary summary;
    Round lastRound;
    double requestsPerSecond = 0; ///< over the last seconds; 0 when paused
    bool isPaused = false;
    Watcher::Duration interval{0};
};

class WatchThread
{
public:
    using Duration = Watcher::Duration;

    /// session  must outlive the thread, which alone uses it; it uses its onRequest and isStopped
    /// Throws a Failure (WrongUsage) for a point that can't be read.
    WatchThread(Session& session, const std::vector<Point>& points, Duration interval);

    /// Waits for the request under way.
    ~WatchThread();

    WatchThread(const WatchThread&) = delete;
    WatchThread& operator=(const WatchThread&) = delete;

    /// Shows the state, which does not change meanwhile. Throws what ended the thread, if anything
    /// did.
    void look(const std::function<void(const LiveState&)>& viewer) const;

    void setPaused(bool isPaused);
    void setInterval(Duration interval);

    /// Writes a value to a point when no request is under way, and reads all points after it, also
    /// in a pause.
    void write(std::size_t index, const Value& value);

    /// The outcome of the next finished write; nothing if no write has finished.
    std::optional<WriteOutcome> takeOutcome();

    /// Lets the thread end after the request under way. Returns whether it did so in that time; if
    /// not, interrupting the port helps.
    bool stop(Duration patience);

private:
    using Clock = std::chrono::steady_clock;
    using Lock = std::unique_lock<std::mutex>;

    struct Order {
        std::size_t index;
        Value value;
    };

    void run();
    void serve();
    bool isRoundDue() const;
    void readRound(Lock& lock);
    void writeNext(Lock& lock);
    void publish(const Round& round);
    void measureRate();

    Session& m_session;
    std::function<bool()> m_isStoppedBefore;
    Watcher m_watcher; ///< used by the thread only

    mutable std::mutex m_mutex; ///< of all that follows
    std::condition_variable m_wake;
    std::condition_variable m_end;
    LiveState m_state;
    std::deque<std::pair<Clock::time_point, std::uint64_t>> m_requests; ///< after each round
    std::deque<Order> m_orders;
    std::deque<WriteOutcome> m_outcomes;
    bool m_readsOnce = false;
    bool m_hasEnded = false;
    std::exception_ptr m_error;
    std::atomic<bool> m_stopping{false};

    std::thread m_thread;
};

} // namespace bench

#endif
