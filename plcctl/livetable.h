// The table of the live watch. Which columns it has, and how wide, depends on the terminal.
#ifndef PLCCTL_LIVETABLE_H
#define PLCCTL_LIVETABLE_H

#include "liveview.h"
#include "screen.h"

namespace plcctl
{

class LiveTable
{
public:
    LiveTable(Screen& screen, const std::vector<bench::Point>& points, bench::Notation notation);

    /// Draws the headings in this line, and the rows in sight below it.
    void draw(int line, const LiveView& view, const std::vector<bench::LivePoint>& points);

private:
    struct Column {
        const char* heading;
        int least;
        int most;
        Align align = Align::Left;
        int width = 0; ///< 0 leaves it out
        int at = 0;    ///< the column of the screen that it begins in

        /// Never narrower than before, so that the columns do not jitter.
        void widenFor(const std::string& text);
    };

    void fitInto(int screenWidth);
    void place();
    void put(int line, const Column& column, const std::string& text, Look look = Look::Normal);
    void drawPoint(int line, const bench::LivePoint& live);
    void drawFailure(int line, const std::string& text);
    std::string valueOf(const bench::LivePoint& live) const;

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
