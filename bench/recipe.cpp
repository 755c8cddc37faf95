#include "bench/recipe.h"

#include "bench/internal/text.h"
#include "bench/nearest.h"

#include <algorithm>
#include <sstream>

namespace bench
{

namespace
{

const char* const Blanks = " \t";

/// Where a comment begins, or the text ends: at a # at the beginning or after a blank.
std::size_t commentAt(const std::string& text)
{
    for (std::size_t i = 0; i < text.size(); ++i)
        if (text[i] == '#' && (i == 0 || text[i - 1] == ' ' || text[i - 1] == '\t'))
            return i;
    return text.size();
}

/// The value of a pair that begins with a quote.
std::string quotedValue(const std::string& text)
{
    std::string value;
    for (std::size_t i = 1; i < text.size(); ++i) {
        if (text[i] != '"') {
            value += text[i];
        } else if (text.compare(i, 2, "\"\"") == 0) {
            value += text[++i];
        } else {
            const std::string rest = text.substr(i + 1);
            if (!trimmed(rest.substr(0, commentAt(rest))).empty())
                throw wrongUsage("something follows the closing quote",
                                 "Inside quotes, write a quote twice.");
            return value;
        }
    }
    throw wrongUsage("the closing quote is missing");
}

struct Pair {
    std::string name; ///< empty in a line without a pair
    std::string value;
};

Pair pairIn(const std::string& line)
{
    const std::string text = trimmed(line);
    if (text.empty() || text.front() == '#')
        return {};
    const std::size_t end = std::min(text.find_first_of(std::string(Blanks) + "="), text.size());
    const std::string name = text.substr(0, end);
    if (name.empty())
        throw wrongUsage("there is no device before the =",
                         "Write a device and a value, such as DM100 12.");
    std::string value = trimmed(text.substr(end));
    if (!value.empty() && value.front() == '=')
        value = trimmed(value.substr(1));
    const bool isQuoted = !value.empty() && value.front() == '"';
    value = isQuoted ? quotedValue(value) : trimmed(value.substr(0, commentAt(value)));
    if (value.empty() && name.find_first_of(";,") != std::string::npos)
        throw wrongUsage("separate device and value with a blank, not as in " + name);
    if (!isQuoted && value.find_first_of(Blanks) != std::string::npos)
        throw wrongUsage("a line has one device and one value",
                         "Write a text with blanks in quotes.");
    if (value.empty() && !isQuoted)
        throw wrongUsage("there is no value after " + name,
                         "Write a device and a value, such as DM100 12.");
    return {name, value};
}

void addLine(Recipe& recipe, const std::string& text, int number, const Names& known)
{
    const Pair pair = pairIn(text);
    if (pair.name.empty())
        return;
    const Point point = resolveToWrite(pair.name, 1, known).front();
    recipe.entries.push_back({point, valueToWrite(point, pair.value), pair.value, number});
}

/// Whether a negative number is written in two's complement.
bool losesItsSign(const Recipe::Entry& entry)
{
    const auto* whole = std::get_if<std::int64_t>(&entry.value);
    return entry.point.scale.isPlain() && whole != nullptr && *whole > 0 &&
           entry.typed.front() == '-';
}

std::string lineText(const Recipe& recipe, std::size_t entry)
{
    return "line " + std::to_string(recipe.entries[entry].line);
}

Failure inLine(const std::string& name, int number, const Failure& failure)
{
    return failure.prefixed(name + ", line " + std::to_string(number) + ": ");
}

} // namespace

std::vector<TypedDevice> Recipe::devices() const
{
    std::vector<TypedDevice> devices;
    for (const Entry& entry : entries)
        devices.push_back(entry.point.device);
    return devices;
}

std::vector<Value> Recipe::values() const
{
    std::vector<Value> values;
    for (const Entry& entry : entries)
        values.push_back(entry.value);
    return values;
}

Recipe recipeOf(const std::string& names, const std::vector<std::string>& values,
                const Names& known)
{
    const std::vector<Point> points = resolveToWrite(names, values.size(), known);
    Recipe recipe;
    for (std::size_t i = 0; i < points.size(); ++i)
        recipe.entries.push_back({points[i], valueToWrite(points[i], values[i]), values[i], 0});
    return recipe;
}

Recipe recipeFromText(const std::string& name, const std::string& text, const Names& known)
{
    Recipe recipe;
    recipe.name = name;
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            addLine(recipe, line, number, known);
        } catch (const Failure& failure) {
            throw inLine(name, number, failure);
        }
    }
    if (recipe.entries.empty())
        throw wrongUsage("there is nothing to write in " + name,
                         "Write a device and a value in a line, such as DM100 12.");
    return recipe;
}

void check(const Recipe& recipe, const BlockSizes& blocks)
try {
    planWrites(recipe.devices(), recipe.values(), blocks);
} catch (const WrittenTwice& twice) {
    if (recipe.name.empty())
        throw;
    throw inLine(recipe.name, recipe.entries[twice.second].line,
                 twice.with(", first in " + lineText(recipe, twice.first)));
}

std::vector<std::string> alterations(const Recipe& recipe)
{
    std::vector<std::string> texts;
    const auto add = [&](const Recipe::Entry& entry, const char* what) {
        texts.push_back(entry.point.name + ": " + entry.typed + what +
                        fullText(entry.point, entry.value));
    };
    for (const Recipe::Entry& entry : recipe.entries) {
        if (isRounded(entry.point, entry.typed, entry.value))
            add(entry, " is rounded to ");
        else if (losesItsSign(entry))
            add(entry, " is written as ");
    }
    return texts;
}

void write(Session& session, const Recipe& recipe)
try {
    session.write(recipe.devices(), recipe.values());
} catch (const WriteFailure& failure) {
    throw failure.at(recipe.entries[failure.index].point.name);
}

void verify(Session& session, const Recipe& recipe)
{
    const std::vector<Reading> readings = session.read(recipe.devices());
    for (std::size_t i = 0; i < readings.size(); ++i) {
        const auto& [point, written, typed, line] = recipe.entries[i];
        if (readings[i].failure)
            throw readings[i].failure->prefixed("written, but " + point.name +
                                                " can't be read back: ");
        const Type& type = point.device.type;
        if (!isSame(*readings[i].value, written, type))
            throw Failure(FailureKind::Different,
                          point.name + ": wrote " + fullText(point, written) + ", read back " +
                              fullText(point, *readings[i].value),
                          "The controller took the value and changed it, or its program did.");
    }
}

} // namespace bench
