// Texts of movements, and the values at points in time worked out by hand.
#include "simulator/motion.h"

#include <gtest/gtest.h>

namespace
{

using namespace simulator;

TEST(Motion, TakesItsValuesFromTime)
{
    const struct {
        const char* text;
        std::vector<std::pair<TimeMs, uint32_t>> values;
    } rows[] = {
        // 101 values in 10.1 s: 100 ms each
        {"ramp:0..100/10100ms", {{0, 0}, {99, 0}, {100, 1}, {10099, 100}, {10100, 0}, {25250, 50}}},
        {"ramp:9..5/5s", {{0, 9}, {999, 9}, {1000, 8}, {4999, 5}, {5000, 9}}},
        {"sine:0..100/12s", {{0, 50}, {1000, 75}, {3000, 100}, {6000, 50}, {9000, 0}, {13000, 75}}},
        {"counter:3..5/2s", {{0, 3}, {1999, 3}, {2000, 4}, {4000, 5}, {6000, 3}}},
        {"counter:5..3/2s", {{2000, 4}, {5999, 3}, {6000, 5}}},
        {"toggle:7..0x9/2s", {{0, 7}, {999, 7}, {1000, 9}, {1999, 9}, {2000, 7}}},
        {"toggle/1ms", {{0, 0}, {1, 0}}},
        {"toggle/2ms", {{0, 0}, {1, 65535}, {2, 0}}},
        {"counter/3600s", {{3599999, 0}, {3600000, 1}}},
        {"ramp/1s", {{999, 65470}}}, // 65536 * 0.999 = 65470.5
    };
    for (const auto& row : rows) {
        std::string why;
        const auto motion = parseMotion(row.text, 65535, why);
        ASSERT_TRUE(motion) << row.text << ": " << why;
        for (const auto& [elapsedMs, value] : row.values)
            EXPECT_EQ(valueAfter(*motion, elapsedMs), value) << row.text << " at " << elapsedMs;
    }
    EXPECT_EQ(valueAfter({MotionKind::Ramp, 0, UINT32_MAX, 3600000}, 3599999), 4294966102u);
}

TEST(Motion, NamesTheBadWord)
{
    const struct {
        const char* text;
        const char* why;
    } rows[] = {
        {"ramp:0..9", "\"ramp:0..9\" has no period, as in ramp:0..100/10s"},
        {"saw:0..9/1s", "\"saw\" is not a movement; choose ramp, sine, counter, toggle"},
        {"ramp:0-9/1s", "\"0-9\" is not a range such as 0..100"},
        {"ramp:-1..9/1s", "\"-1\" is not a value from 0 to 65535"},
        {"ramp:0..65536/1s", "\"65536\" is not a value from 0 to 65535"},
        {"ramp:0../1s", "\"\" is not a value from 0 to 65535"},
        {"ramp:0..9/1", "\"1\" is not a period such as 500ms or 10s, an hour at most"},
        {"ramp:0..9/0s", "\"0s\" is not a period such as 500ms or 10s, an hour at most"},
        {"ramp:0..9/3601s", "\"3601s\" is not a period such as 500ms or 10s, an hour at most"},
    };
    for (const auto& row : rows) {
        std::string why;
        EXPECT_FALSE(parseMotion(row.text, 65535, why)) << row.text;
        EXPECT_EQ(why, row.why);
    }
}

} // namespace
