#include "bench/watcher.h"

namespace bench
{

namespace
{

void take(Watched& watched, const Reading& reading, std::chrono::steady_clock::time_point now)
{
    const bool failedBefore = watched.failure.has_value();
    watched.isNewFailure =
        reading.failure && (!failedBefore || watched.failure->kind() != reading.failure->kind());
    watched.isBack = failedBefore && reading.value;
    const Type& type = watched.point.device.type;
    watched.isNewValue =
        reading.value && !(watched.value && isSame(*reading.value, *watched.value, type));
    watched.failure = reading.failure;
    if (reading.value) {
        watched.value = reading.value;
        watched.readAt = now;
    }
}

} // namespace

Watcher::Watcher(Session& session, const std::vector<Point>& points, Duration interval)
    : m_session(session)
    , m_poller(interval)
{
    for (const Point& point : points) {
        Watched watched;
        watched.point = point;
        m_points.push_back(watched);
        m_devices.push_back(point.device);
    }
    m_plan = planReads(m_devices, session.driver().blocks());
    m_session.onRequest = [this](const RequestRecord& record) { m_statistics.add(record); };
}

Watcher::~Watcher()
{
    m_session.onRequest = nullptr;
}

Round Watcher::round()
{
    m_statistics.addRound(m_poller.begin(), m_poller.interval());
    const std::vector<Reading> readings = m_session.read(m_plan, m_devices);
    const auto now = std::chrono::steady_clock::now();
    for (std::size_t i = 0; i < m_points.size(); ++i)
        take(m_points[i], readings[i], now);
    return m_poller.end();
}

const Failure* Watcher::firstFailure() const
{
    for (const Watched& watched : m_points)
        if (watched.failure)
            return &*watched.failure;
    return nullptr;
}

} // namespace bench
