#include "livetable.h"

#include <cstdio>

namespace plcctl
{

namespace
{

using Clock = std::chrono::steady_clock;
using bench::LivePoint;
using bench::Point;

/// How long a change stands out.
constexpr std::chrono::milliseconds ChangeTime{1000};

std::string ageText(Clock::duration age)
{
    using namespace std::chrono;
    const double inSeconds = duration<double>(age).count();
    char text[32];
    if (age < seconds(10))
        std::snprintf(text, sizeof text, "%.1f s", inSeconds);
    else if (age < minutes(10))
        std::snprintf(text, sizeof text, "%.0f s", inSeconds);
    else if (age < hours(10))
        std::snprintf(text, sizeof text, "%.0f min", inSeconds / 60);
    else
        std::snprintf(text, sizeof text, "%.0f h", inSeconds / 3600);
    return text;
}

/// Bools move between 0 and 1, so that one that stays on does not look like one that stays off.
std::optional<bench::Span> spanOf(const Point& point)
{
    if (point.device.type.kind == bench::TypeKind::Bool)
        return bench::Span{0, 1};
    return std::nullopt;
}

} // namespace

LiveTable::LiveTable(Screen& screen, const std::vector<Point>& points, bench::Notation notation)
    : m_screen(screen)
    , m_notation(notation)
{
    const bool hasTags = std::any_of(points.begin(), points.end(), [](const Point& point) {
        return point.name != point.device.name;
    });
    for (const Point& point : points) {
        m_name.widenFor(point.name);
        if (hasTags)
            m_device.widenFor(point.device.name);
        if (!point.unit.empty())
            m_unit.widenFor(point.unit);
    }
}

void LiveTable::draw(int line, const LiveView& view, const std::vector<LivePoint>& points)
{
    for (const std::size_t index : view.pointsInSight())
        m_value.widenFor(valueOf(points[index]));
    fitInto(m_screen.columns());
    for (const Column* column : m_columns)
        put(line, *column, column->heading, Look::Bold);
    for (const std::size_t index : view.pointsInSight()) {
        drawPoint(++line, points[index]);
        if (index == view.marked)
            m_screen.mark(line);
    }
}

void LiveTable::Column::widenFor(const std::string& text)
{
    width = std::clamp(columnsOf(text), std::max(width, least), most);
}

/// Failures have a column of their own when that leaves enough of the last values.
void LiveTable::fitInto(int screenWidth)
{
    place();
    const int left = screenWidth - m_history.at - (m_age.width + 1);
    const bool hasErrors = left >= m_history.least + 1 + m_error.most;
    m_error.width = hasErrors ? m_error.most : 0;
    m_history.width = std::clamp(left - (hasErrors ? m_error.width + 1 : 0), 0, m_history.most);
    place();
}

void LiveTable::place()
{
    int at = 1;
    for (Column* column : m_columns) {
        column->at = at;
        at += column->width ? column->width + 1 : 0;
    }
}

void LiveTable::put(int line, const Column& column, const std::string& text, Look look)
{
    m_screen.put(line, column.at, fitted(text, column.width, column.align), look);
}

std::string LiveTable::valueOf(const LivePoint& live) const
{
    const auto& value = live.watched.value;
    return value ? bench::textOf(live.watched.point, *value, m_notation) : "-";
}

void LiveTable::drawPoint(int line, const LivePoint& live)
{
    const bench::Watched& watched = live.watched;
    const Point& point = watched.point;
    const Clock::time_point now = Clock::now();
    const bool isFresh = live.changedAt && now - *live.changedAt < ChangeTime;
    const Look look = watched.failure ? Look::Faint : isFresh ? Look::Changed : Look::Normal;
    const auto width = std::size_t(m_history.width);
    put(line, m_name, point.name);
    put(line, m_device, point.device.name);
    put(line, m_value, valueOf(live), look);
    put(line, m_unit, bench::unitOf(point, m_notation));
    put(line, m_history, bench::sparkline(live.history, width, spanOf(point)));
    put(line, m_age, watched.value ? ageText(now - watched.readAt) : "");
    if (watched.failure)
        drawFailure(line, bench::nameOf(watched.failure->kind()));
}

/// In a narrow terminal the failure hides the older values, in a very narrow one the value.
void LiveTable::drawFailure(int line, const std::string& text)
{
    const bool hidesValue = m_history.at + columnsOf(text) > m_screen.columns();
    const Column& column = m_error.width ? m_error : hidesValue ? m_value : m_history;
    const int width = std::max(columnsOf(text), hidesValue ? m_value.width : 0);
    m_screen.put(line, column.at, fitted(text, width), Look::Failed);
}

} // namespace plcctl
