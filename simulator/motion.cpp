#include "simulator/motion.h"

#include "simulator/text.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace simulator
{

const char* const MotionHelp =
    "A movement is a kind, a range and a period:\n"
    "\n"
    "  KIND[:FIRST..LAST]/PERIOD\n"
    "\n"
    "  ramp            from FIRST to LAST in one PERIOD, then again\n"
    "  sine            swings between them, once in each PERIOD\n"
    "  counter         from FIRST to LAST, one step each PERIOD, then again\n"
    "  toggle          FIRST for half a PERIOD, then LAST for the other half\n"
    "\n"
    "Without a range the value moves from 0 to the largest that the device holds.\n"
    "A PERIOD is a time such as 500ms or 10s. A write ends the movement.\n";

namespace
{

struct KindName {
    const char* name;
    MotionKind kind;
};

constexpr KindName KindNames[] = {
    {"ramp", MotionKind::Ramp},
    {"sine", MotionKind::Sine},
    {"counter", MotionKind::Counter},
    {"toggle", MotionKind::Toggle},
};

// Each of the following reads one field of a movement; on failure it says in `why` what is wrong.

bool readKind(std::string_view text, Motion& motion, std::string& why)
{
    for (const KindName& known : KindNames) {
        motion.kind = known.kind;
        if (text == known.name)
            return true;
    }
    why = quoted(text) + " is not a movement; choose ";
    for (const KindName& known : KindNames)
        why += std::string(&known == KindNames ? "" : ", ") + known.name;
    return false;
}

bool readRange(std::string_view text, uint32_t largestValue, Motion& motion, std::string& why)
{
    const size_t dots = text.find("..");
    if (dots == std::string_view::npos) {
        why = quoted(text) + " is not a range such as 0..100";
        return false;
    }
    const auto first = parseValue(text.substr(0, dots), largestValue, why);
    const auto last = first ? parseValue(text.substr(dots + 2), largestValue, why) : std::nullopt;
    motion.first = first.value_or(0);
    motion.last = last.value_or(0);
    return last.has_value();
}

bool readPeriod(std::string_view text, Motion& motion, std::string& why)
{
    motion.periodMs = parseTimeMs(text).value_or(0);
    why = quoted(text) + " is not a period such as 500ms or 10s, an hour at most";
    return motion.periodMs > 0;
}

} // namespace

std::optional<Motion> parseMotion(std::string_view text, uint32_t largestValue, std::string& why)
{
    const size_t slash = text.rfind('/');
    if (slash == std::string_view::npos) {
        why = quoted(text) + " has no period, as in ramp:0..100/10s";
        return std::nullopt;
    }
    const std::string_view head = text.substr(0, slash);
    const size_t colon = head.find(':');
    Motion motion = {MotionKind::Ramp, 0, largestValue, 0};
    const bool understood = readKind(head.substr(0, colon), motion, why) &&
                            (colon == std::string_view::npos ||
                             readRange(head.substr(colon + 1), largestValue, motion, why)) &&
                            readPeriod(text.substr(slash + 1), motion, why);
    return understood ? std::optional<Motion>(motion) : std::nullopt;
}

uint32_t valueAfter(const Motion& motion, TimeMs elapsedMs)
{
    constexpr double TwoPi = 6.283185307179586;
    const int64_t span = int64_t(motion.last) - motion.first;
    const int64_t values = std::abs(span) + 1;
    const TimeMs inPeriod = elapsedMs % motion.periodMs;
    int64_t steps = 0;
    switch (motion.kind) {
    case MotionKind::Ramp:
        steps = values * inPeriod / motion.periodMs;
        break;
    case MotionKind::Sine: {
        const double angle = TwoPi * double(inPeriod) / double(motion.periodMs);
        steps = std::llround(double(values - 1) / 2 * (1 + std::sin(angle)));
        break;
    }
    case MotionKind::Counter:
        steps = elapsedMs / motion.periodMs % values;
        break;
    case MotionKind::Toggle:
        steps = inPeriod < (motion.periodMs + 1) / 2 ? 0 : values - 1;
        break;
    }
    return static_cast<uint32_t>(motion.first + (span < 0 ? -steps : steps));
}

} // namespace simulator
