#include "bench/watchthread.h"

#include <csignal>

namespace bench
{

namespace
{

/// The time over which the rate of requests is measured.
constexpr std::chrono::seconds RateSpan(5);

/// A thread that signals do not reach: they are for the one that waits for them.
template <typename Function>
std::thread quietThread(Function function)
{
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(function);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

} // namespace

LivePoint::LivePoint(Watched point)
    : watched(std::move(point))
    , history(HistoryLength)
{
}

WatchThread::WatchThread(Session& session, const std::vector<Point>& points, Duration interval)
    : m_session(session)
    , m_isStoppedBefore(session.isStopped)
    , m_watcher(session, points, interval)
{
    for (const Watched& watched : m_watcher.points())
        m_state.points.emplace_back(watched);
    m_state.interval = interval;
    m_session.isStopped = [this] {
        return m_stopping || (m_isStoppedBefore && m_isStoppedBefore());
    };
    m_thread = quietThread([this] { run(); });
}

WatchThread::~WatchThread()
{
    stop(Duration(0));
    m_thread.join();
    m_session.isStopped = m_isStoppedBefore;
}

void WatchThread::look(const std::function<void(const LiveState&)>& viewer) const
{
    const Lock lock(m_mutex);
    if (m_error)
        std::rethrow_exception(m_error);
    viewer(m_state);
}

void WatchThread::setPaused(bool isPaused)
{
    const Lock lock(m_mutex);
    m_state.isPaused = isPaused;
    m_state.requestsPerSecond = 0;
    m_requests.clear();
    m_wake.notify_one();
}

void WatchThread::setInterval(Duration interval)
{
    const Lock lock(m_mutex);
    m_state.interval = interval;
    m_wake.notify_one();
}

void WatchThread::write(std::size_t index, const Value& value)
{
    const Lock lock(m_mutex);
    m_orders.push_back({index, value});
    m_wake.notify_one();
}

std::optional<WriteOutcome> WatchThread::takeOutcome()
{
    const Lock lock(m_mutex);
    if (m_outcomes.empty())
        return std::nullopt;
    const WriteOutcome outcome = m_outcomes.front();
    m_outcomes.pop_front();
    return outcome;
}

bool WatchThread::stop(Duration patience)
{
    Lock lock(m_mutex);
    m_stopping = true;
    m_wake.notify_one();
    return m_end.wait_for(lock, patience, [this] { return m_hasEnded; });
}

void WatchThread::run()
{
    try {
        serve();
    } catch (...) {
        const Lock lock(m_mutex);
        m_error = std::current_exception();
    }
    const Lock lock(m_mutex);
    m_hasEnded = true;
    m_end.notify_all();
}

void WatchThread::serve()
{
    Lock lock(m_mutex);
    while (!m_stopping) {
        if (m_watcher.interval() != m_state.interval)
            m_watcher.setInterval(m_state.interval);
        if (!m_orders.empty())
            writeNext(lock);
        else if (isRoundDue())
            readRound(lock);
        else if (m_state.isPaused)
            m_wake.wait(lock);
        else
            m_wake.wait_for(lock, m_watcher.untilDue());
    }
}

bool WatchThread::isRoundDue() const
{
    return m_readsOnce || (!m_state.isPaused && m_watcher.untilDue() == Duration(0));
}

void WatchThread::readRound(Lock& lock)
{
    // Neither a round between others nor the first after a pause says anything about the interval.
    if (m_readsOnce || m_requests.empty())
        m_watcher.resume();
    m_readsOnce = false;
    lock.unlock();
    const Round round = m_watcher.round();
    lock.lock();
    if (!m_session.isStopped())
        publish(round);
}

void WatchThread::writeNext(Lock& lock)
{
    const Order order = m_orders.front();
    m_orders.pop_front();
    const TypedDevice device = m_state.points[order.index].watched.point.device;
    lock.unlock();
    WriteOutcome outcome = {order.index, order.value, std::nullopt};
    try {
        m_session.write({device}, {order.value});
    } catch (const Failure& failure) {
        outcome.failure = failure;
    }
    lock.lock();
    m_outcomes.push_back(outcome);
    m_readsOnce = true;
}

void WatchThread::publish(const Round& round)
{
    const auto now = Clock::now();
    for (std::size_t i = 0; i < m_state.points.size(); ++i) {
        LivePoint& point = m_state.points[i];
        const bool hadValue = point.watched.value.has_value();
        point.watched = m_watcher.points()[i];
        if (hadValue && point.watched.isNewValue)
            point.changedAt = now;
        const bool hasValue = !point.watched.failure && point.watched.value;
        point.history.add(hasValue ? scaledNumber(point.watched.point, *point.watched.value)
                                   : std::nullopt);
    }
    m_state.summary = m_watcher.summary();
    m_state.lastRound = round;
    if (!m_state.isPaused)
        measureRate();
}

void WatchThread::measureRate()
{
    const auto now = Clock::now();
    m_requests.emplace_back(now, m_state.summary.requests);
    while (m_requests.size() > 2 && now - m_requests[1].first > RateSpan)
        m_requests.pop_front();
    const std::chrono::duration<double> time = now - m_requests.front().first;
    const auto count = m_state.summary.requests - m_requests.front().second;
    m_state.requestsPerSecond = time.count() > 0 ? static_cast<double>(count) / time.count() : 0;
}

} // namespace bench
