#include "livepicture.h"

#include "help.h"
#include "livekeys.h"
#include "report.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace plcctl
{

namespace
{

using bench::durationText;
using bench::LiveState;

// The lines of the picture beside those of the points. A low terminal has no statistics.
constexpr int HeadLines = 2;       ///< title and headings
constexpr int StatisticsLines = 4; ///< a blank one first
constexpr int MessageLines = 2;
constexpr int FootLines = MessageLines + 1;
constexpr int LeastTableLines = 3;

bool hasStatistics(const Screen& screen)
{
    return screen.lines() >= HeadLines + LeastTableLines + StatisticsLines + FootLines;
}

void drawTitle(Screen& screen, const LiveView& view, const LiveState& state)
{
    const int shown = int(view.pointsInSight().size());
    std::string title = " " + counted(view.rows.size(), "point");
    if (shown < int(view.rows.size()))
        title = " " + std::to_string(view.top + 1) + " to " + std::to_string(view.top + shown) +
                " of" + title;
    title += " on " + view.place + ", ";
    title += state.interval.count() > 0 ? "every " + durationText(state.interval)
                                        : "as fast as possible";
    const std::string right = state.isPaused ? "PAUSED " : clockTime().substr(0, 8) + " ";
    const int left = std::max(0, screen.columns() - columnsOf(right));
    screen.put(0, 0, fitted(title, left) + right, Look::Bar);
}

std::string paceText(const LiveState& state)
{
    char rate[64];
    std::snprintf(rate, sizeof rate, "%.1f requests/s", state.requestsPerSecond);
    const bench::Summary& summary = state.summary;
    if (summary.achievedInterval.count() <= 0)
        return rate;
    const std::string pace = rate + (", a round every " + durationText(summary.achievedInterval));
    if (summary.wantedInterval.count() <= 0)
        return pace;
    return pace + " (wanted " + durationText(summary.wantedInterval) + ")";
}

void drawStatistics(Screen& screen, const LiveState& state)
{
    int line = screen.lines() - FootLines - StatisticsLines + 1;
    const std::string pace = paceText(state);
    screen.put(line, 1, pace);
    if (state.lastRound.overran && state.interval.count() > 0)
        screen.put(line, 1 + columnsOf(pace),
                   "; the last one took " + durationText(state.lastRound.took), Look::Failed);
    for (const std::string& text : bench::textLines(state.summary)) {
        if (text.find(" every ") == std::string::npos)
            screen.put(++line, 1, text);
    }
}

/// What was just done, else what is known of the marked point.
std::string messageFor(const LiveView& view, const bench::Watched& marked)
{
    if (!view.message.empty())
        return bench::visible(view.message);
    if (view.prompt)
        return "Enter writes the value, Ctrl-U clears it, Esc cancels";
    if (marked.failure)
        return bench::visible(marked.point.name + ": " + inOneLine(*marked.failure));
    return marked.point.comment.empty() ? "" : marked.point.name + ": " + marked.point.comment;
}

/// Close to the line of keys.
void drawMessage(Screen& screen, const std::string& message)
{
    const int width = screen.columns() - 2;
    std::istringstream text(wrapped(message, std::size_t(std::max(1, width))));
    std::vector<std::string> rows;
    for (std::string row; std::getline(text, row);)
        rows.push_back(row);
    if (rows.size() > MessageLines) {
        rows[MessageLines - 1] = fitted(rows[MessageLines - 1] + " " + rows[MessageLines], width);
        rows.resize(MessageLines);
    }
    int line = screen.lines() - 1 - int(rows.size());
    for (const std::string& row : rows)
        screen.put(line++, 1, row);
}

std::string promptText(const LiveView& view)
{
    const bench::Point& point = view.points[view.prompt->index];
    return " write " + point.name + " (" + bench::nameOf(point.device.type) +
           (point.unit.empty() ? "" : ", " + point.unit) + "): " + view.prompt->text;
}

void drawKeyLine(Screen& screen, const LiveView& view)
{
    const int line = screen.lines() - 1;
    if (view.prompt)
        screen.put(line, 0, promptText(view), Look::Bold);
    else
        screen.put(line, 0, fitted(KeyLine, screen.columns()), Look::Bar);
}

void drawHelp(Screen& screen)
{
    std::vector<std::string> rows = keyHelp();
    rows.insert(rows.begin(), "Keys");
    rows.push_back("Any key closes this.");
    int width = 0;
    for (const std::string& row : rows)
        width = std::max(width, columnsOf(row) + 4);
    const int left = std::max(0, (screen.columns() - width) / 2);
    int line = HeadLines;
    for (const std::string& row : rows)
        screen.put(line++, left, fitted("  " + row, width), Look::Bar);
}

} // namespace

int tableLines(const Screen& screen)
{
    const int others = HeadLines + FootLines + (hasStatistics(screen) ? StatisticsLines : 0);
    return std::max(1, screen.lines() - others);
}

void drawPicture(Screen& screen, LiveTable& table, const LiveView& view, const LiveState& state)
{
    screen.clear();
    drawTitle(screen, view, state);
    table.draw(HeadLines - 1, view, state.points);
    if (hasStatistics(screen))
        drawStatistics(screen, state);
    drawMessage(screen, messageFor(view, state.points[view.marked].watched));
    drawKeyLine(screen, view);
    if (view.showsHelp)
        drawHelp(screen);
}

void showPicture(Screen& screen, const LiveView& view)
{
    if (view.prompt)
        screen.showWithCursor(screen.lines() - 1, columnsOf(promptText(view)));
    else
        screen.show();
}

} // namespace plcctl
