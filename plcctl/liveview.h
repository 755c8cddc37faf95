// The state of the live watch as a person has set it: what is marked, sorted, typed, told. It must
// know neither keys nor the screen.
#ifndef PLCCTL_LIVEVIEW_H
#define PLCCTL_LIVEVIEW_H

#include "live.h"

#include "bench/watchthread.h"

#include <algorithm>
#include <numeric>

namespace plcctl
{

/// A value that is being typed for a point.
struct Prompt {
    std::size_t index; ///< of the point
    std::string text;
};

/// An order of the table; points that are equal in it stay as they were given.
struct Order {
    const char* name;
    bool (*isBefore)(const bench::LivePoint& a, const bench::LivePoint& b);
};

inline const Order Orders[] = {
    {"as given", [](const auto&, const auto&) { return false; }},
    {"by name",
     [](const auto& a, const auto& b) { return a.watched.point.name < b.watched.point.name; }},
    // What never changed has no time, which is before any other.
    {"last change first", [](const auto& a, const auto& b) { return a.changedAt > b.changedAt; }},
};

struct LiveView {
    LiveView(const std::vector<bench::Point>& points, const LiveOptions& options)
        : points(points)
        , place(options.place)
        , interval(options.interval)
        , rows(points.size())
    {
        std::iota(rows.begin(), rows.end(), std::size_t(0));
    }

    const std::vector<bench::Point>& points; ///< 1 or more
    const std::string place;                 ///< where they are
    std::chrono::microseconds interval;      ///< that was asked for last
    std::vector<std::size_t> rows;           ///< indexes of the points, sorted
    std::size_t order = 0;                   ///< the one of Orders that they are sorted in
    std::size_t marked = 0; ///< index of a point, which stays marked when its row moves
    int top = 0;            ///< the first row in sight
    int tableLines = 1;     ///< most rows in sight
    std::optional<Prompt> prompt;
    std::string message; ///< what was done last
    bool isPaused = false;
    bool showsHelp = false;
    bool quits = false;

    int markedRow() const
    {
        return int(std::find(rows.begin(), rows.end(), marked) - rows.begin());
    }

    /// The mark stops at the first and at the last row.
    void moveMark(int by)
    {
        marked = rows[std::size_t(std::clamp(markedRow() + by, 0, int(rows.size()) - 1))];
    }

    std::vector<std::size_t> pointsInSight() const
    {
        const int end = std::min(top + tableLines, int(rows.size()));
        return {rows.begin() + top, rows.begin() + end};
    }

    void sort(const std::vector<bench::LivePoint>& state)
    {
        std::iota(rows.begin(), rows.end(), std::size_t(0));
        std::stable_sort(rows.begin(), rows.end(), [&](std::size_t a, std::size_t b) {
            return Orders[order].isBefore(state[a], state[b]);
        });
    }

    /// Brings the marked row into a table of so many lines, 1 or more.
    void scroll(int lines)
    {
        tableLines = lines;
        top = std::clamp(top, markedRow() - lines + 1, markedRow());
        top = std::clamp(top, 0, std::max(0, int(rows.size()) - lines));
    }
};

} // namespace plcctl

#endif
