// The last values of a point, and a picture of them in one line of text.
#ifndef BENCH_HISTORY_H
#define BENCH_HISTORY_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace bench
{

/// Keeps the last values, and forgets the oldest when it is full.
class History
{
public:
    /// capacity  1 or more
    explicit History(std::size_t capacity);

    /// Nothing means a round that read no value; infinite or not a number counts as nothing.
    void add(std::optional<double> value);

    std::size_t size() const { return m_size; }

    /// The value that was added `age` values before the last one; age is less than size().
    const std::optional<double>& last(std::size_t age = 0) const;

private:
    std::vector<std::optional<double>> m_values;
    std::size_t m_next = 0;
    std::size_t m_size = 0;
};

struct Span {
    double least;
    double greatest;
};

/// The last `width` values as one of ▁▂▃▄▅▆▇█ each, the newest at the right end. A blank stands
/// for each that is missing or not there yet.
///
/// span  what ▁ and █ stand for; nothing: the least and the greatest value that are shown. All are
///       ▁ when these are equal.
std::string sparkline(const History& history, std::size_t width, std::optional<Span> span = {});

} // namespace bench

#endif
