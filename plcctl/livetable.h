// The table of the live watch. Which columns it has, and how wide, depends on the terminal.
#ifndef PLCCTL_LIVETABLE_H
#define PLCCTL_LIVETABLE_H

#include "liveview.h"
#include "screen.h"

#include <cstdio>

namespace plcctl
{

class LiveTable
{
public:
    LiveTable(Screen& screen, const std::vector<bench::Point>& points, bench::Notation notation)
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

    /// Draws the headings in this line, and the rows in sight below it.
    void draw(int line, const LiveView& view, const std::vector<bench::LivePoint>& points)
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

private:
    using Clock = std::chrono::steady_clock;
    using LivePoint = bench::LivePoint;
    using Point = bench::Point;

    /// How long a change stands out.
    static constexpr std::chrono::milliseconds ChangeTime{1000};

    struct Column {
        const char* heading;
        int least;
        int most;
        Align align = Align::Left;
        int width = 0; ///< 0 leaves it out
        int at = 0;    ///< the column of the screen that it begins in

        /// Never narrower than before, so that the columns do not tremble.
        void widenFor(const std::string& text)
        {
            width = std::clamp(columnsOf(text), std::max(width, least), most);
        }
    };

    /// Failures have a column of their own when that leaves enough of the last values.
    void fitInto(int screenWidth)
    {
        place();
        const int left = screenWidth - m_history.at - (m_age.width + 1);
        const bool hasErrors = left >= m_history.least + 1 + m_error.most;
        m_error.width = hasErrors ? m_error.most : 0;
        m_history.width = std::clamp(left - (hasErrors ? m_error.width + 1 : 0), 0, m_history.most);
        place();
    }

    void place()
    {
        int at = 1;
        for (Column* column : m_columns) {
            column->at = at;
            at += column->width ? column->width + 1 : 0;
        }
    }

    void put(int line, const Column& column, const std::string& text, Look look = Look::Normal)
    {
        m_screen.put(line, column.at, fitted(text, column.width, column.align), look);
    }

    std::string valueOf(const LivePoint& live) const
    {
        const auto& value = live.watched.value;
        return value ? bench::textOf(live.watched.point, *value, m_notation) : "-";
    }

    static std::string ageText(Clock::duration age)
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
    static std::optional<bench::Span> spanOf(const Point& point)
    {
        if (point.device.type.kind == bench::TypeKind::Bool)
            return bench::Span{0, 1};
        return std::nullopt;
    }

    void drawPoint(int line, const LivePoint& live)
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
    void drawFailure(int line, const std::string& text)
    {
        const bool hidesValue = m_history.at + columnsOf(text) > m_screen.columns();
        const Column& column = m_error.width ? m_error : hidesValue ? m_value : m_history;
        const int width = std::max(columnsOf(text), hidesValue ? m_value.width : 0);
        m_screen.put(line, column.at, fitted(text, width), Look::Failed);
    }

    Screen& m_screen;
    bench::Notation m_notation;
    Column m_name{"name", 4, 24};
    Column m_device{"device", 6, 10};
    Column m_value{"value", 8, 16, Align::Right};
    Column m_unit{"unit", 4, 6};
    Column m_history{"last values", 12, 40};
    Column m_age{"age", 7, 7, Align::Right, 7};
    Column m_error{"error", 13, 13};
    Column* const m_columns[7] = {&m_name,    &m_device, &m_value, &m_unit,
                                  &m_history, &m_age,    &m_error};
};

} // namespace plcctl

#endif
