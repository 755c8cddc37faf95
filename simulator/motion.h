// How a value moves with time.
#ifndef SIMULATOR_MOTION_H
#define SIMULATOR_MOTION_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace simulator
{

/// Milliseconds on some clock that never goes back.
using TimeMs = int64_t;

enum class MotionKind {
    Ramp,    ///< from the first value to the last in one period, then again
    Sine,    ///< begins halfway between them and swings once in each period
    Counter, ///< from the first value to the last, one step a period, then again
    Toggle,  ///< the first value for half a period, then the last
};

struct Motion {
    MotionKind kind;
    uint32_t first;
    uint32_t last;   ///< may be less than the first: a ramp that falls, a counter that counts down
    TimeMs periodMs; ///< 1 or more
};

/// The grammar of parseMotion(), for a person to read: several lines, each ended by a newline.
extern const char* const MotionHelp;

/// Reads "ramp:0..100/10s" or, with the whole range of the value, "toggle/2s". On a bad text
/// returns nothing and says in a sentence which word is bad and why.
std::optional<Motion> parseMotion(std::string_view text, uint32_t largestValue, std::string& why);

/// The value when this much time has passed since the movement began.
uint32_t valueAfter(const Motion& motion, TimeMs elapsedMs);

} // namespace simulator

#endif
