#include "bench/points.h"

#include "bench/internal/text.h"
#include "bench/nearest.h"

#include <nlohmann/json.hpp>

#include <QChar>

#include <algorithm>
#include <cmath>

namespace bench
{

namespace
{

/// A scaled real has no more digits that mean something.
constexpr int RealDigits = 7;

/// Enough for factors, limits and values as people write them.
constexpr int NumberDigits = 10;

constexpr std::size_t MaxTagsListed = 5;

const char* const Wildcards = "*?";

double parseNumber(const std::string& text)
{
    const auto number = numberFrom(text);
    if (!number)
        throw wrongUsage("'" + text + "' is not a number; write 21.5 or -5");
    return *number;
}

/// What a parser returns; its refusal names the point, one of many perhaps.
template <typename Parser>
auto parsedFor(const Point& point, Parser parse)
try {
    return parse();
} catch (const Failure& failure) {
    throw failure.prefixed(point.name + ": ");
}

std::string limitText(const Point& point, double limit)
{
    const std::string number = shortText(limit, NumberDigits);
    return point.unit.empty() ? number : number + " " + point.unit;
}

/// Fails where a number is outside the limits by more than `tolerance`.
void checkLimits(const Point& point, double number, double tolerance, const std::string& text)
{
    if ((point.min || point.max) && !std::isfinite(number))
        throw wrongUsage(point.name + ": " + text + " is not within its limits");
    if (point.max && number > *point.max + tolerance)
        throw wrongUsage(point.name + ": " + text + " is above its maximum, " +
                         limitText(point, *point.max));
    if (point.min && number < *point.min - tolerance)
        throw wrongUsage(point.name + ": " + text + " is below its minimum, " +
                         limitText(point, *point.min));
}

void requireWritable(const Point& point)
{
    if (!isServed(point.device, Direction::Write))
        throw notServed(point.device, Direction::Write);
    if (!point.writable)
        throw wrongUsage(point.name + " is not writable", "Its tag does not allow it.");
}

/// How far a number may be off because the device holds only steps: far less than a step.
double toleranceOf(const Point& point, double number)
{
    return point.device.type.kind == TypeKind::Real ? std::fabs(number) * 1e-6
                                                    : std::fabs(point.scale.factor) * 1e-3;
}

/// Fails where the number of a value that the device can hold is outside the limits.
void checkHeldValue(const Point& point, const Value& value, const std::string& text)
{
    if (const auto number = scaledNumber(point, value))
        checkLimits(point, *number, toleranceOf(point, *number), text);
}

Value unscaled(const Point& point, double number, const std::string& text)
{
    const double raw = (number - point.scale.offset) / point.scale.factor;
    const auto real = static_cast<float>(raw);
    if (point.device.type.kind == TypeKind::Real && std::isfinite(real))
        return real;
    // Far beyond any type, and still safe to round.
    constexpr double Far = 1e15;
    if (isWhole(point.device.type) && std::fabs(raw) < Far) {
        if (const auto value = wholeValue(std::llround(raw), point.device.type))
            return *value;
    }
    throw wrongUsage(point.name + ": " + text + " does not fit " + nameOf(point.device.type) +
                     " with a factor of " + shortText(point.scale.factor, NumberDigits));
}

const Point* tagNamed(const std::string& name, const std::vector<Point>& tags)
{
    const auto tag = std::find_if(tags.begin(), tags.end(),
                                  [&](const Point& point) { return point.name == name; });
    return tag == tags.end() ? nullptr : &*tag;
}

/// A wrong text for a device, when there are tags too: it may have been meant as either.
Failure neitherTagNorDevice(const std::string& text, const std::vector<Point>& tags,
                            const Failure& asDevice)
{
    const std::string withoutType = text.substr(0, text.rfind(':'));
    if (tagNamed(withoutType, tags) != nullptr)
        return wrongUsage("'" + withoutType + "' is a tag and has a type of its own",
                          "Type " + withoutType + ".");
    std::vector<std::string> names;
    for (const Point& tag : tags)
        names.push_back(tag.name);
    const std::string meant = nearest(text, names);
    if (!meant.empty())
        return wrongUsage("there is no tag '" + text + "'", "Did you mean " + meant + "?");
    return asDevice.with(", and there is no tag '" + text + "'");
}

/// Whether a text looks like a name rather than like a device, as "boiler.temp" does.
bool mayBeTag(const std::string& text)
{
    return text.find_first_of("._") != std::string::npos && !Devices::isRange(text) &&
           QChar::fromLatin1(text.front()).isLetter();
}

Failure withoutTags(const std::string& what)
{
    return wrongUsage(what, "There are no tags; names need a tag file.", {Topic::Tags});
}

std::vector<Point> matching(const std::string& pattern, const std::vector<Point>& tags)
{
    std::vector<Point> found;
    std::vector<std::string> names;
    for (const Point& tag : tags) {
        names.push_back(tag.name);
        if (matches(pattern, tag.name))
            found.push_back(tag);
    }
    if (!found.empty())
        return found;
    const std::string what = "no tag matches '" + pattern + "'";
    if (tags.empty())
        throw withoutTags(what);
    throw wrongUsage(what,
                     "There are " + listed(nearestFirst(pattern, names), MaxTagsListed) + ".");
}

} // namespace

Point pointOf(const TypedDevice& device)
{
    Point point;
    point.name = device.name;
    point.device = device;
    point.writable = isServed(device, Direction::Write);
    return point;
}

std::optional<double> scaledNumber(const Point& point, const Value& value)
{
    double number = 0;
    if (const auto* whole = std::get_if<std::int64_t>(&value))
        number = static_cast<double>(*whole);
    else if (const auto* real = std::get_if<float>(&value))
        number = *real;
    else
        return std::nullopt;
    return number * point.scale.factor + point.scale.offset;
}

std::string textOf(const Point& point, const Value& value, Notation notation)
{
    const Type& type = point.device.type;
    const bool isReal = type.kind == TypeKind::Real;
    const auto number = scaledNumber(point, value);
    const bool isAsHeld = point.scale.isPlain() && !(isReal && point.decimals);
    if (!number || isAsHeld || (notation == Notation::Hexadecimal && !isReal))
        return textOf(value, type, notation);
    if (!std::isfinite(*number))
        return textOf(value, type, notation);
    return point.decimals ? fixedText(*number, *point.decimals) : shortText(*number, RealDigits);
}

std::string fullText(const Point& point, const Value& value)
{
    return point.scale.isPlain() ? textOf(value, point.device.type)
                                 : shortText(*scaledNumber(point, value), NumberDigits);
}

std::string unitOf(const Point& point, Notation notation)
{
    const bool isRaw = notation == Notation::Hexadecimal && isWhole(point.device.type);
    return isRaw && !point.scale.isPlain() ? std::string() : point.unit;
}

nlohmann::json jsonOf(const Point& point, const Value& value, Notation notation)
{
    const std::string text = textOf(point, value, notation);
    if (text == textOf(value, point.device.type, notation))
        return jsonOf(value, point.device.type, notation);
    return parseNumber(text);
}

Value valueToWrite(const Point& point, const std::string& text)
{
    requireWritable(point);
    if (point.scale.isPlain()) {
        // Who chose an unsigned type did not mean a negative number; an area's own is a mere word.
        const Negatives negatives =
            point.device.isTyped ? Negatives::OfSignedTypes : Negatives::InTwosComplement;
        const Value value =
            parsedFor(point, [&] { return parseValue(text, point.device.type, negatives); });
        checkHeldValue(point, value, text);
        return value;
    }
    const double number = parsedFor(point, [&] { return parseNumber(text); });
    checkLimits(point, number, 0, text);
    const Value value = unscaled(point, number, text);
    checkHeldValue(point, value, text + " (rounded to " + fullText(point, value) + ")");
    return value;
}

void requireAllowed(const Point& point, const Value& value)
{
    requireWritable(point);
    checkHeldValue(point, value, fullText(point, value));
}

bool isRounded(const Point& point, const std::string& text, const Value& value)
{
    if (point.scale.isPlain())
        return false;
    const double typed = parseNumber(text);
    const double written = *scaledNumber(point, value);
    return std::fabs(typed - written) > toleranceOf(point, written);
}

bool matches(const std::string& pattern, const std::string& name)
{
    // Where to go on when the rest does not match: the last star takes one character more.
    std::size_t star = std::string::npos, taken = 0;
    std::size_t p = 0, n = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            taken = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != std::string::npos) {
            p = star + 1;
            n = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string::npos;
}

std::vector<Point> resolve(const std::string& text, const Names& names, int count)
{
    if (text.find_first_of(Wildcards) != std::string::npos)
        return matching(text, names.tags);
    if (const Point* const tag = tagNamed(text, names.tags)) {
        if (count != 1)
            throw wrongUsage("'" + text + "' is a tag and takes no count");
        return {*tag};
    }
    try {
        std::vector<Point> points;
        for (const TypedDevice& device : names.devices.parseRun(text, count, names.defaultType))
            points.push_back(pointOf(device));
        return points;
    } catch (const Failure& failure) {
        if (!names.tags.empty())
            throw neitherTagNorDevice(text, names.tags, failure);
        if (mayBeTag(text))
            throw withoutTags(failure.what());
        throw;
    }
}

Point resolveOne(const std::string& text, const Names& names)
{
    const std::vector<Point> points = resolve(text, names);
    if (points.size() != 1)
        throw wrongUsage(text + " names " + counted(points.size(), "point"),
                         "Name one device or tag.");
    return points.front();
}

std::vector<Point> resolveToWrite(const std::string& text, std::size_t valueCount,
                                  const Names& names)
{
    const bool isOneDevice = text.find_first_of(Wildcards) == std::string::npos &&
                             !Devices::isRange(text) && tagNamed(text, names.tags) == nullptr;
    const auto points = resolve(text, names, isOneDevice ? static_cast<int>(valueCount) : 1);
    if (points.size() == valueCount)
        return points;
    throw wrongUsage(text + " takes " + std::to_string(points.size()) +
                     (points.size() == 1 ? " value" : " values") + ", but " +
                     std::to_string(valueCount) + (valueCount == 1 ? " was" : " were") + " given");
}

} // namespace bench
