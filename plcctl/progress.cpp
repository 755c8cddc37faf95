#include "progress.h"

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace plcctl
{

namespace
{

using std::chrono::milliseconds;

constexpr std::size_t BarWidth = 24;
constexpr milliseconds FrameTime(100);

/// Moves to the beginning of the line and clears it.
const char* const ClearLine = "\r\033[K";

std::string timeText(double seconds)
{
    const auto whole = static_cast<long long>(std::ceil(seconds));
    if (whole < 60)
        return std::to_string(whole) + " s";
    if (whole < 3600)
        return std::to_string(whole / 60) + " min " + std::to_string(whole % 60) + " s";
    return std::to_string(whole / 3600) + " h " + std::to_string(whole % 3600 / 60) + " min";
}

/// doneNow  how many of `done` were done within `elapsed`; the others before it
std::string progressText(std::size_t done, std::size_t total, std::size_t doneNow,
                         milliseconds elapsed)
{
    const double part = total == 0 ? 1 : double(done) / double(total);
    const auto filled = static_cast<std::size_t>(part * double(BarWidth));
    char percent[16];
    std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(part * 100));
    const std::string text = "[" + std::string(filled, '#') + std::string(BarWidth - filled, '.') +
                             "] " + percent + "  " + std::to_string(done) + "/" +
                             std::to_string(total) + " values";
    if (doneNow == 0 || elapsed.count() == 0)
        return text;
    const double perSecond = double(doneNow) * 1000 / double(elapsed.count());
    return text + "  " + std::to_string(std::llround(perSecond)) + "/s  " +
           timeText(double(total - done) / perSecond) + " left";
}

} // namespace

StatusLine::StatusLine(bool isWanted)
    : m_isTerminal(isWanted && isatty(STDERR_FILENO) == 1)
{
}

StatusLine::~StatusLine()
{
    clear();
}

void StatusLine::show(const std::string& text)
{
    const auto now = std::chrono::steady_clock::now();
    if (!m_isTerminal || (m_isShown && now < m_next))
        return;
    std::fprintf(stderr, "%s%s", ClearLine, text.c_str());
    std::fflush(stderr);
    m_isShown = true;
    m_next = now + FrameTime;
}

void StatusLine::clear()
{
    if (m_isShown)
        std::fputs(ClearLine, stderr);
    m_isShown = false;
}

Progress::Progress(std::size_t total, std::size_t already)
    : m_total(total)
    , m_already(already)
    , m_begin(std::chrono::steady_clock::now())
{
}

void Progress::show(std::size_t done)
{
    const auto elapsed = std::chrono::steady_clock::now() - m_begin;
    m_line.show(progressText(done, m_total, done - m_already,
                             std::chrono::duration_cast<milliseconds>(elapsed)));
}

} // namespace plcctl
