// Points: typed devices with what a person knows about them: a name, a scale, a unit and limits.
// They come from a tag file, or straight from a device text.
#ifndef BENCH_POINTS_H
#define BENCH_POINTS_H

#include "bench/devices.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace bench
{

/// What a person reads is the controller's number times the factor, plus the offset.
struct Scale {
    double factor = 1; ///< never 0
    double offset = 0;

    bool isPlain() const { return factor == 1 && offset == 0; }
};

struct Point {
    std::string name;
    TypedDevice device;
    Scale scale; ///< plain for bools and strings
    std::string unit;
    std::optional<int> decimals; ///< that a scaled value or a real is shown with
    bool writable = true;
    std::optional<double> min; ///< scaled, like max
    std::optional<double> max;
    std::string comment;
};

/// A device as a point: its own name, no scale, no limits.
Point pointOf(const TypedDevice& device);

/// Whether a point has a name of its own.
inline bool isTag(const Point& point)
{
    return point.name != point.device.name;
}

/// The number that a value stands for; nothing for a string.
std::optional<double> scaledNumber(const Point& point, const Value& value);

/// A value as a person reads it, without its unit. Hexadecimal notation shows what the controller
/// holds, without the scale.
std::string textOf(const Point& point, const Value& value, Notation notation = Notation::Natural);

/// The same with all its digits, whatever number of decimals the point is shown with.
std::string fullText(const Point& point, const Value& value);

/// The unit that belongs to a text of textOf(); empty where it shows a number without its scale.
std::string unitOf(const Point& point, Notation notation);

/// The same as textOf() for JSON; what is a number in the text is a number here.
nlohmann::json jsonOf(const Point& point, const Value& value,
                      Notation notation = Notation::Natural);

/// The value that a typed text stands for, rounded to what the device can hold. Throws a Failure
/// (WrongUsage) when the point can't be written, when the text is no such value, or when it or what
/// it is rounded to is outside the limits.
Value valueToWrite(const Point& point, const std::string& text);

/// Throws a Failure (WrongUsage) when the point can't be written, or when what the value stands for
/// is outside the limits.
void requireAllowed(const Point& point, const Value& value);

/// Whether such a value stands for another number than the text, because of the scale's steps.
bool isRounded(const Point& point, const std::string& text, const Value& value);

/// Whether a name matches a pattern, in which * stands for any characters and ? for any one.
bool matches(const std::string& pattern, const std::string& name);

/// What texts can name.
struct Names {
    const std::vector<Point>& tags; ///< may be empty
    const Devices& devices;
    std::optional<Type> defaultType = {}; ///< of devices without a type; tags have their own
};

/// What a person names: a tag, a pattern of tags, a device, a range of devices, or `count` values
/// from a device on.
/// Throws a Failure (WrongUsage) that names the tags nearest to what was typed.
std::vector<Point> resolve(const std::string& text, const Names& names, int count = 1);

/// The only point that a text names. Throws a Failure (WrongUsage) for more than one.
Point resolveOne(const std::string& text, const Names& names);

/// The points that so many values go to, 1 or more: those of a tag, a pattern or a range, or as
/// many as there are values from a device on. Throws a Failure (WrongUsage), also when a text names
/// more or fewer points.
std::vector<Point> resolveToWrite(const std::string& text, std::size_t valueCount,
                                  const Names& names);

} // namespace bench

#endif
