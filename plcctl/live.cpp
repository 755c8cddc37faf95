// Keys and the picture; reading and writing go on in a bench::WatchThread.
#include "live.h"

#include "help.h"
#include "report.h"
#include "screen.h"

#include "bench/watchthread.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <sstream>
#include <unistd.h>

namespace plcctl
{

namespace
{

using bench::Failure;
using bench::LivePoint;
using bench::LiveState;
using bench::WatchThread;
using std::chrono::milliseconds;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

/// How often the picture is drawn anew, for ages and what changed.
constexpr int FrameMs = 100;

/// How long a change stands out.
constexpr milliseconds ChangeTime(1000);

/// What a request under way gets to end by itself when the watch ends.
constexpr milliseconds EndPatience(300);

/// Faster and slower go from one of these to the next.
constexpr milliseconds Intervals[] = {
    milliseconds(0),   milliseconds(10),  milliseconds(20), milliseconds(50), milliseconds(100),
    milliseconds(200), milliseconds(500), seconds(1),       seconds(2),       seconds(5),
    seconds(10),       seconds(30),       seconds(60)};

enum class Order { Given, Name, Change };

const char* nameOf(Order order)
{
    switch (order) {
    case Order::Given:
        return "as given";
    case Order::Name:
        return "by name";
    case Order::Change:
        break;
    }
    return "last change first";
}

const char* const HelpLines[] = {
    "Up, Down, j, k        mark a line",
    "PgUp, PgDn, Home, End mark a line further away",
    "w or Enter            write a value to the marked line",
    "Space                 pause, and go on",
    "+ and -               read faster, slower",
    "s                     sort: by name, by last change, as given",
    "?                     this help",
    "q                     quit; a summary follows",
};

const char* const KeyLine = " Up/Down mark  w write  Space pause  +- speed  s sort  ? help  q quit";

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
std::optional<bench::Span> spanOf(const bench::Point& point)
{
    if (point.device.type.kind == bench::TypeKind::Bool)
        return bench::Span{0, 1};
    return std::nullopt;
}

/// Where the columns of the table stand; a width of 0 leaves one out.
class Columns
{
public:
    static constexpr int Age = 7;
    static constexpr int Error = 13;

    explicit Columns(const std::vector<LivePoint>& points)
    {
        bool hasDevices = false;
        for (const LivePoint& point : points) {
            const bench::Point& known = point.watched.point;
            name = std::max(name, columnsOf(known.name));
            device = std::max(device, columnsOf(known.device.name));
            unit = std::max(unit, columnsOf(known.unit));
            hasDevices = hasDevices || known.name != known.device.name;
        }
        name = std::min(name, MostName);
        device = hasDevices ? std::min(device, MostDevice) : 0;
        unit = unit == 0 ? 0 : std::clamp(unit, LeastUnit, MostUnit);
    }

    /// Values get the width that the longest one had so far, so that the columns do not tremble.
    void widenFor(const std::string& text)
    {
        value = std::clamp(columnsOf(text), value, MostValue);
    }

    void fitInto(int width)
    {
        const int left = width - history();
        error = left >= LeastHistory + Age + 1 + Error + 1 ? Error : 0;
        historyWidth = std::clamp(left - Age - 1 - (error ? error + 1 : 0), 0, MostHistory);
    }

    // The first column of the screen that each begins in.
    int deviceAt() const { return 1 + name + 1; }
    int valueAt() const { return deviceAt() + (device ? device + 1 : 0); }
    int unitAt() const { return valueAt() + value + 1; }
    int history() const { return unitAt() + (unit ? unit + 1 : 0); }
    int age() const { return history() + (historyWidth ? historyWidth + 1 : 0); }
    int errorAt() const { return age() + Age + 1; }

    int name = 4;
    int device = 6;
    int value = 8;
    int unit = 0;
    int historyWidth = 0;
    int error = 0;

private:
    static constexpr int MostName = 24;
    static constexpr int MostDevice = 10;
    static constexpr int MostValue = 16;
    static constexpr int LeastUnit = 4; ///< of its heading
    static constexpr int MostUnit = 6;
    static constexpr int LeastHistory = 12;
    static constexpr int MostHistory = 40;
};

/// A value on its way from the keys to a point.
struct Prompt {
    std::size_t index;
    std::string text;
};

class LiveView
{
public:
    LiveView(WatchThread& watch, const std::vector<bench::Point>& points,
             const LiveOptions& options)
        : m_watch(watch)
        , m_points(points)
        , m_options(options)
        , m_order(points.size())
    {
        std::iota(m_order.begin(), m_order.end(), std::size_t(0));
        m_watch.look([this](const LiveState& state) {
            m_columns = std::make_unique<Columns>(state.points);
        });
    }

    /// Until a key ends it, or a signal, or the terminal goes.
    void run(const Bench& bench)
    {
        while (!bench.isStopped() && !m_quits) {
            takeOutcomes();
            m_watch.look([this](const LiveState& state) { draw(state); });
            if (m_prompt)
                m_screen.showWithCursor(m_screen.lines() - 1, m_cursor);
            else
                m_screen.show();
            if (!m_screen.waitForKey(FrameMs))
                return;
            for (Key key = m_screen.key(); key.kind != Key::None; key = m_screen.key())
                handle(key);
        }
    }

private:
    void handle(const Key& key)
    {
        m_message.clear();
        if (m_prompt)
            handleInPrompt(key);
        else if (m_showsHelp)
            m_showsHelp = false;
        else
            handleInTable(key);
    }

    void handleInTable(const Key& key)
    {
        const int page = std::max(1, m_tableLines - 1);
        if (key.kind == Key::Up || key.is("k"))
            moveMark(-1);
        else if (key.kind == Key::Down || key.is("j"))
            moveMark(1);
        else if (key.kind == Key::PageUp)
            moveMark(-page);
        else if (key.kind == Key::PageDown)
            moveMark(page);
        else if (key.kind == Key::First)
            moveMark(-int(m_points.size()));
        else if (key.kind == Key::Last)
            moveMark(int(m_points.size()));
        else if (key.kind == Key::Enter || key.is("w"))
            beginPrompt();
        else if (key.is(" "))
            m_watch.setPaused(m_isPaused = !m_isPaused);
        else if (key.is("+") || key.is("="))
            setInterval(nextInterval(true));
        else if (key.is("-"))
            setInterval(nextInterval(false));
        else if (key.is("s"))
            sortNext();
        else if (key.is("?"))
            m_showsHelp = true;
        else if (key.is("q"))
            m_quits = true;
    }

    /// The mark stays on its point when the order changes.
    void moveMark(int by)
    {
        const auto at = std::find(m_order.begin(), m_order.end(), m_marked) - m_order.begin();
        const int last = int(m_order.size()) - 1;
        m_marked = m_order[std::size_t(std::clamp(int(at) + by, 0, last))];
    }

    /// The next one in the table, also from one that is not in it.
    milliseconds nextInterval(bool faster) const
    {
        const auto begin = std::begin(Intervals);
        const auto end = std::end(Intervals);
        if (faster) {
            const auto at = std::lower_bound(begin, end, m_options.interval);
            return at == begin ? *begin : *(at - 1);
        }
        const auto at = std::upper_bound(begin, end, m_options.interval);
        return at == end ? *(end - 1) : *at;
    }

    void setInterval(milliseconds interval)
    {
        m_options.interval = interval;
        m_watch.setInterval(interval);
    }

    void sortNext()
    {
        m_sorting = m_sorting == Order::Given  ? Order::Name
                    : m_sorting == Order::Name ? Order::Change
                                               : Order::Given;
        m_message = std::string("Sorted ") + nameOf(m_sorting);
    }

    void beginPrompt()
    {
        if (m_points[m_marked].writable)
            m_prompt = Prompt{m_marked, ""};
        else
            m_message = m_points[m_marked].name + " is not writable";
    }

    void handleInPrompt(const Key& key)
    {
        switch (key.kind) {
        case Key::Escape:
            m_prompt.reset();
            break;
        case Key::Enter:
            orderWrite();
            break;
        case Key::Erase:
            eraseLast(m_prompt->text);
            break;
        case Key::Text:
            m_prompt->text += key.text;
            break;
        default:
            break;
        }
    }

    /// A character, with all its bytes.
    static void eraseLast(std::string& text)
    {
        while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80)
            text.pop_back();
        if (!text.empty())
            text.pop_back();
    }

    /// A value that is refused stays in the prompt to be put right.
    void orderWrite()
    {
        try {
            const bench::Point& point = m_points[m_prompt->index];
            m_watch.write(m_prompt->index, bench::valueToWrite(point, m_prompt->text));
            m_message = point.name + ": writing";
            m_prompt.reset();
        } catch (const Failure& failure) {
            m_message = textOf(failure);
        }
    }

    static std::string textOf(const Failure& failure)
    {
        return failure.what() + (failure.advice().empty() ? "" : ". " + failure.advice());
    }

    void takeOutcomes()
    {
        while (const auto outcome = m_watch.takeOutcome()) {
            const bench::Point& point = m_points[outcome->index];
            m_message = outcome->failure ? point.name + " not written: " + textOf(*outcome->failure)
                                         : point.name + " = " +
                                               bench::textOf(point, outcome->value) + " written";
        }
    }

    // The picture: title, headings, points, statistics, a line of messages, a line of keys. A low
    // terminal has no statistics.

    static constexpr int HeadLines = 2;
    static constexpr int MessageLines = 2;
    static constexpr int FootLines = MessageLines + 1;
    static constexpr int StatisticsLines = 4; ///< a blank one first
    static constexpr int LeastTableLines = 3;

    void draw(const LiveState& state)
    {
        m_now = Clock::now();
        m_screen.clear();
        const int lines = m_screen.lines() - HeadLines - FootLines;
        const bool hasStatistics = lines >= StatisticsLines + LeastTableLines;
        m_tableLines = std::max(1, lines - (hasStatistics ? StatisticsLines : 0));
        sort(state);
        scroll();
        drawTitle(state);
        drawTable(state);
        if (hasStatistics)
            drawStatistics(state, m_screen.lines() - FootLines - StatisticsLines + 1);
        drawFoot(state);
        if (m_showsHelp)
            drawHelp();
    }

    void sort(const LiveState& state)
    {
        const auto changedAt = [&](std::size_t i) {
            return state.points[i].changedAt.value_or(Clock::time_point::min());
        };
        std::sort(m_order.begin(), m_order.end(), [&](std::size_t a, std::size_t b) {
            if (m_sorting == Order::Name && m_points[a].name != m_points[b].name)
                return m_points[a].name < m_points[b].name;
            if (m_sorting == Order::Change && changedAt(a) != changedAt(b))
                return changedAt(a) > changedAt(b);
            return a < b;
        });
    }

    void scroll()
    {
        const auto marked =
            int(std::find(m_order.begin(), m_order.end(), m_marked) - m_order.begin());
        const int most = std::max(0, int(m_order.size()) - m_tableLines);
        m_top = std::clamp(m_top, marked - m_tableLines + 1, marked);
        m_top = std::clamp(m_top, 0, most);
    }

    void drawTitle(const LiveState& state)
    {
        const int shown = std::min(m_tableLines, int(m_order.size()) - m_top);
        std::string title = " " + counted(m_points.size(), "point");
        if (shown < int(m_points.size()))
            title = " " + std::to_string(m_top + 1) + " to " + std::to_string(m_top + shown) +
                    " of " + std::to_string(m_points.size()) + " points";
        title += " on " + m_options.place + ", ";
        title += state.interval.count() > 0 ? "every " + bench::durationText(state.interval)
                                            : "as fast as can be";
        const std::string right = state.isPaused ? "PAUSED " : clockTime().substr(0, 8) + " ";
        const int left = std::max(0, m_screen.columns() - columnsOf(right));
        m_screen.put(0, 0, fitted(title, left) + right, Look::Bar);
    }

    void drawTable(const LiveState& state)
    {
        const int shown = std::min(m_tableLines, int(m_order.size()) - m_top);
        for (int line = 0; line < shown; ++line)
            m_columns->widenFor(valueOf(state.points[m_order[std::size_t(m_top + line)]]));
        m_columns->fitInto(m_screen.columns());
        drawHeadings();
        for (int line = 0; line < shown; ++line) {
            const std::size_t index = m_order[std::size_t(m_top + line)];
            drawPoint(HeadLines + line, state.points[index]);
            if (index == m_marked)
                m_screen.mark(HeadLines + line);
        }
    }

    void drawHeadings()
    {
        const Columns& at = *m_columns;
        m_screen.put(1, 1, fitted("name", at.name), Look::Bold);
        m_screen.put(1, at.deviceAt(), fitted("device", at.device), Look::Bold);
        m_screen.put(1, at.valueAt(), fitted("value", at.value, Align::Right), Look::Bold);
        m_screen.put(1, at.unitAt(), fitted("unit", at.unit), Look::Bold);
        m_screen.put(1, at.history(), fitted("last values", at.historyWidth), Look::Bold);
        m_screen.put(1, at.age(), fitted("age", Columns::Age, Align::Right), Look::Bold);
        m_screen.put(1, at.errorAt(), fitted("error", at.error), Look::Bold);
    }

    std::string valueOf(const LivePoint& point) const
    {
        const auto& value = point.watched.value;
        return value ? bench::textOf(point.watched.point, *value, m_options.notation) : "-";
    }

    void drawPoint(int line, const LivePoint& live)
    {
        const Columns& at = *m_columns;
        const bench::Watched& watched = live.watched;
        const bench::Point& point = watched.point;
        const bool isFresh = live.changedAt && m_now - *live.changedAt < ChangeTime;
        const Look look = watched.failure ? Look::Faint : isFresh ? Look::Changed : Look::Normal;
        m_screen.put(line, 1, fitted(point.name, at.name));
        m_screen.put(line, at.deviceAt(), fitted(point.device.name, at.device));
        m_screen.put(line, at.valueAt(), fitted(valueOf(live), at.value, Align::Right), look);
        m_screen.put(line, at.unitAt(), fitted(bench::unitOf(point, m_options.notation), at.unit));
        m_screen.put(line, at.history(),
                     bench::sparkline(live.history, std::size_t(at.historyWidth), spanOf(point)));
        const std::string age = watched.value ? ageText(m_now - watched.readAt) : "";
        m_screen.put(line, at.age(), fitted(age, Columns::Age, Align::Right));
        if (watched.failure)
            drawFailure(line, bench::nameOf(watched.failure->kind()));
    }

    /// In a narrow terminal the failure hides the older values, in a very narrow one the value.
    void drawFailure(int line, const std::string& text)
    {
        const Columns& at = *m_columns;
        const bool hidesValue = at.history() + columnsOf(text) > m_screen.columns();
        const int column = at.error ? at.errorAt() : hidesValue ? at.valueAt() : at.history();
        const int width = hidesValue ? std::max(at.value, columnsOf(text)) : columnsOf(text);
        m_screen.put(line, column, fitted(text, width), Look::Failed);
    }

    void drawStatistics(const LiveState& state, int line)
    {
        const bench::Summary& summary = state.summary;
        char rate[64];
        std::snprintf(rate, sizeof rate, "%.1f requests/s", state.requestsPerSecond);
        std::string interval;
        if (summary.achievedInterval.count() > 0)
            interval = ", a round every " + bench::durationText(summary.achievedInterval);
        if (summary.wantedInterval.count() > 0 && !interval.empty())
            interval += " (wanted " + bench::durationText(summary.wantedInterval) + ")";
        const bool isLate = state.lastRound.overran && state.interval.count() > 0;
        m_screen.put(line, 1, rate + interval);
        if (isLate)
            m_screen.put(line, 1 + columnsOf(rate + interval),
                         "; the last one took " + bench::durationText(state.lastRound.took),
                         Look::Failed);
        for (const std::string& text : bench::textLines(summary)) {
            if (text.find(" every ") == std::string::npos)
                m_screen.put(++line, 1, text);
        }
    }

    void drawFoot(const LiveState& state)
    {
        const int line = m_screen.lines() - FootLines;
        drawMessage(line, messageFor(state.points[m_marked].watched));
        const std::string keys = m_prompt ? promptText() : KeyLine;
        m_cursor = columnsOf(keys);
        m_screen.put(line + MessageLines, 0, m_prompt ? keys : fitted(keys, m_screen.columns()),
                     m_prompt ? Look::Bold : Look::Bar);
    }

    /// Close to the line of keys.
    void drawMessage(int line, const std::string& message)
    {
        std::istringstream text(wrapped(message, std::size_t(std::max(1, m_screen.columns() - 2))));
        std::vector<std::string> rows;
        for (std::string row; std::getline(text, row);)
            rows.push_back(row);
        if (rows.size() == 1)
            ++line;
        if (rows.size() > MessageLines)
            rows[MessageLines - 1] =
                fitted(rows[MessageLines - 1] + " " + rows[MessageLines], m_screen.columns() - 2);
        for (std::size_t i = 0; i < rows.size() && i < MessageLines; ++i)
            m_screen.put(line + int(i), 1, rows[i]);
    }

    /// What was just done, else what is known of the marked point.
    std::string messageFor(const bench::Watched& marked) const
    {
        if (!m_message.empty())
            return escaped(m_message);
        if (m_prompt)
            return "Enter writes the value, Esc leaves it";
        if (marked.failure)
            return escaped(marked.point.name + ": " + textOf(*marked.failure));
        return marked.point.comment.empty() ? "" : marked.point.name + ": " + marked.point.comment;
    }

    std::string promptText() const
    {
        const bench::Point& point = m_points[m_prompt->index];
        return " write " + point.name + " (" + bench::nameOf(point.device.type) +
               (point.unit.empty() ? "" : ", " + point.unit) + "): " + m_prompt->text;
    }

    void drawHelp()
    {
        int width = 0;
        for (const char* line : HelpLines)
            width = std::max(width, columnsOf(line) + 4);
        const int left = std::max(0, (m_screen.columns() - width) / 2);
        int line = HeadLines;
        m_screen.put(line++, left, fitted("  Keys", width), Look::Bar);
        for (const char* text : HelpLines)
            m_screen.put(line++, left, fitted("  " + std::string(text), width), Look::Bar);
        m_screen.put(line, left, fitted("  Any key closes this.", width), Look::Bar);
    }

    WatchThread& m_watch;
    const std::vector<bench::Point>& m_points;
    LiveOptions m_options;
    Screen m_screen;
    std::unique_ptr<Columns> m_columns;

    std::vector<std::size_t> m_order; ///< of the points, as they are shown
    Order m_sorting = Order::Given;
    std::size_t m_marked = 0; ///< index of a point
    int m_top = 0;            ///< place in m_order of the first that is shown
    int m_tableLines = 1;
    std::optional<Prompt> m_prompt;
    int m_cursor = 0;
    std::string m_message;
    bool m_showsHelp = false;
    bool m_isPaused = false;
    bool m_quits = false;
    Clock::time_point m_now;
};

} // namespace

bench::Summary watchLive(Bench& bench, const std::vector<bench::Point>& points,
                         const LiveOptions& options)
{
    if (options.traces && isatty(STDERR_FILENO))
        throw bench::wrongUsage("--trace would write over the live table",
                                "Send it to a file: 2> trace.txt");
    requireTerminal();
    WatchThread watch(bench.session(), points, options.interval);
    LiveView(watch, points, options).run(bench);
    // The line gets to finish its exchange when that goes fast; a silent one is cut short.
    watch.stop(EndPatience);
    bench.interrupt();
    bench::Summary summary;
    watch.look([&](const LiveState& state) { summary = state.summary; });
    return summary;
}

} // namespace plcctl
