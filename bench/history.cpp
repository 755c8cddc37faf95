#include "bench/history.h"

#include <algorithm>
#include <cmath>

namespace bench
{

namespace
{

const char* const levels[] = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr int LevelCount = 8;

const char* levelOf(double value, const Span& span)
{
    const double range = span.greatest - span.least;
    const double share = range > 0 ? (value - span.least) / range : 0;
    return levels[std::clamp(static_cast<int>(share * LevelCount), 0, LevelCount - 1)];
}

Span spanOf(const History& history, std::size_t count)
{
    Span span = {HUGE_VAL, -HUGE_VAL};
    for (std::size_t age = 0; age < count; ++age) {
        if (const auto value = history.last(age)) {
            span.least = std::min(span.least, *value);
            span.greatest = std::max(span.greatest, *value);
        }
    }
    return span;
}

} // namespace

History::History(std::size_t capacity)
    : m_values(capacity)
{
}

void History::add(std::optional<double> value)
{
    if (value && !std::isfinite(*value))
        value.reset();
    m_values[m_next] = value;
    m_next = (m_next + 1) % m_values.size();
    m_size = std::min(m_size + 1, m_values.size());
}

const std::optional<double>& History::last(std::size_t age) const
{
    return m_values[(m_next + m_values.size() - 1 - age) % m_values.size()];
}

std::string sparkline(const History& history, std::size_t width, std::optional<Span> span)
{
    const std::size_t count = std::min(width, history.size());
    const Span shown = span.value_or(spanOf(history, count));
    std::string line(width - count, ' ');
    for (std::size_t age = count; age-- > 0;) {
        const auto value = history.last(age);
        line += value ? levelOf(*value, shown) : " ";
    }
    return line;
}

} // namespace bench
