// Pictures of the last values.
#include "bench/history.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace bench;

namespace
{

constexpr std::optional<double> Gap;

TEST(Sparkline, DrawsTheLastValues)
{
    const struct {
        const char* name;
        std::vector<std::optional<double>> values;
        std::size_t width;
        std::optional<Span> span;
        const char* line;
    } rows[] = {
        {"Nothing", {}, 3, {}, "   "},
        {"EveryLevel", {0, 1, 2, 3, 4, 5, 6, 7}, 8, {}, "▁▂▃▄▅▆▇█"},
        {"NewestAtTheRight", {5, 9}, 4, {}, "  ▁█"},
        {"OnlyWhatIsShownGivesTheLevels", {1000, -4, -2, 0}, 3, {}, "▁▅█"},
        {"Constant", {7, 7}, 2, {}, "▁▁"},
        {"GapsAndWhatIsNoNumber", {1, Gap, 2, NAN, HUGE_VAL, 3}, 6, {}, "▁ ▅  █"},
        {"OfASpan", {1, 1, 0}, 3, Span{0, 1}, "██▁"},
        {"BeyondASpan", {-1, 2}, 2, Span{0, 1}, "▁█"},
        {"OldestAreForgotten", {9, 1, 2, 3, 4, 5, 6, 7, 8}, 9, {}, " ▁▂▃▄▅▆▇█"},
    };
    for (const auto& row : rows) {
        History history(8);
        for (const auto& value : row.values)
            history.add(value);
        EXPECT_EQ(sparkline(history, row.width, row.span), row.line) << row.name;
    }
}

} // namespace
