// How far a long command is: a line on standard error that stays in place. Where standard error is
// not a terminal, nothing is shown.
#ifndef PLCCTL_PROGRESS_H
#define PLCCTL_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace plcctl
{

class StatusLine
{
public:
    /// isWanted  false: nothing is shown, not on a terminal either
    explicit StatusLine(bool isWanted = true);

    /// Removes the line.
    ~StatusLine();

    StatusLine(const StatusLine&) = delete;
    StatusLine& operator=(const StatusLine&) = delete;

    /// Texts that come faster than a person can read are left out.
    void show(const std::string& text);

    /// Removes the line, for other text on standard error. The next show() brings it back.
    void clear();

private:
    bool m_isTerminal;
    bool m_isShown = false;
    std::chrono::steady_clock::time_point m_next;
};

/// A bar for values that are read or written.
class Progress
{
public:
    /// total    what there is to do
    /// already  how much of it was done by an earlier run
    explicit Progress(std::size_t total, std::size_t already = 0);

    /// "[#####.....]  50%  2500/5000 values  812/s  3 s left", without rate and time before there
    /// is something to measure.
    void show(std::size_t done);

    void clear() { m_line.clear(); }

private:
    StatusLine m_line;
    std::size_t m_total;
    std::size_t m_already;
    std::chrono::steady_clock::time_point m_begin;
};

} // namespace plcctl

#endif
