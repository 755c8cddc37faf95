#include "bench/snapshot.h"

#include "bench/file.h"
#include "bench/internal/extent.h"
#include "bench/internal/text.h"
#include "bench/nearest.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <tuple>

namespace bench
{

namespace
{

constexpr std::size_t NameWidth = 13;
constexpr int BitsPerLine = 16;
constexpr int BytesPerLine = 16;
constexpr int ValuesPerLine = 8;

const char* const Blanks = " \t\r";
const char* const FormatMark = "snapshot 1";
const char* const EndLine = "# end";
const char* const AnyFormatMark = "snapshot ";
const char* const DriverKey = "driver: ";
const char* const NotReadMark = " not read: ";

/// A line of the header: its key, and where its text is kept.
struct HeaderRow {
    const char* key;
    std::string SnapshotHeader::*text;
};

const HeaderRow headerRows[] = {
    {DriverKey, &SnapshotHeader::driver},
    {"devices: ", &SnapshotHeader::devices},
    {"date: ", &SnapshotHeader::date},
};

std::string leftJustified(const std::string& text, std::size_t width)
{
    return text + std::string(width - std::min(width, text.size()), ' ');
}

std::string rightJustified(const std::string& text, std::size_t width)
{
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

// --- where values belong ------------------------------------------------------------------------

int valuesPerLine(const Type& type)
{
    switch (type.kind) {
    case TypeKind::Bool:
        return BitsPerLine;
    case TypeKind::Byte:
        return BytesPerLine;
    default:
        return ValuesPerLine;
    }
}

/// Whether the second point continues the first one's line.
bool continuesLine(const Point& first, const Point& second)
{
    if (isTag(first) || isTag(second) || first.device.type != second.device.type ||
        first.device.type.kind == TypeKind::String)
        return false;
    const Extent a = extentOf(first.device);
    const Extent b = extentOf(second.device);
    if (a.group() != b.group() || b.begin != a.end)
        return false;
    if (!a.area)
        return true;
    const std::int64_t lineBytes = (a.end - a.begin) * valuesPerLine(first.device.type);
    return a.begin / lineBytes == b.begin / lineBytes;
}

bool isNaturalDevice(const Point& point)
{
    const TypedDevice& device = point.device;
    return !isTag(point) && device.isDescribed() &&
           typeFromText(device.place.area->type) == device.type;
}

Failure namedTwice(const TypedDevice& a, const TypedDevice& b)
{
    return wrongUsage(snapshotName(a) + " and " + snapshotName(b) + " overlap",
                      "Name each device in one type.");
}

struct Placed {
    Point point;
    Extent extent;
    bool isNatural;
};

// --- values as text -----------------------------------------------------------------------------

std::string escapedByte(char byte)
{
    char code[8];
    std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned char>(byte));
    return code;
}

/// Bytes above ASCII stay as they are in what is UTF-8.
std::string escaped(const std::string& bytes)
{
    const bool keepsHighBytes = isUtf8(bytes);
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        const bool isPlain = (byte >= 0x20 && byte < 0x7F) || (byte >= 0x80 && keepsHighBytes);
        text += c == '"' || c == '\\' ? std::string("\\") + c
                : isPlain             ? std::string(1, c)
                                      : escapedByte(c);
    }
    return text;
}

/// A character after a backslash; moves `at` to the last one that belongs to it.
char unescaped(const std::string& text, std::size_t& at)
{
    if (text[at] == '"' || text[at] == '\\')
        return text[at];
    const std::string digits = text.substr(at + 1, 2);
    if (text[at] != 'x' || digits.size() != 2 ||
        digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        throw wrongUsage(R"(a backslash is followed by ", \ or by x and two hexadecimal digits)");
    at += 2;
    return static_cast<char>(std::stoi(digits, nullptr, 16));
}

/// The string that begins with the quote at `at`; moves `at` past its end.
std::string parseQuoted(const std::string& line, std::size_t& at)
{
    std::string text;
    for (++at; at < line.size(); ++at) {
        if (line[at] == '"') {
            ++at;
            return text;
        }
        text += line[at] == '\\' && at + 1 < line.size() ? unescaped(line, ++at) : line[at];
    }
    throw wrongUsage("a quote is not closed");
}

bool isHexadecimal(const std::string& text)
{
    return startsWith(text, "0x") || startsWith(text, "0X");
}

const Type BitsOfReal = {TypeKind::Dword};

std::string hexOfReal(const Value& value, const Type& type)
{
    return textOf(valueFrom(dataOf(value, type), BitsOfReal), BitsOfReal, Notation::Hexadecimal);
}

std::size_t columnWidth(const Type& type)
{
    constexpr std::size_t RealWidth = 13;
    if (type.kind == TypeKind::Real)
        return RealWidth;
    if (type.kind == TypeKind::String)
        return 0;
    return std::max(std::to_string(leastOf(type)).size(), std::to_string(greatestOf(type)).size());
}

// --- lines --------------------------------------------------------------------------------------

/// Collects lines, with failures of neighbours in one comment.
class LineWriter
{
public:
    void add(const Point& point, const Reading& reading)
    {
        if (reading.failure)
            return addFailure(point, reading.failure->what());
        if (!reading.value)
            return endLine();
        endComment();
        const Type& type = point.device.type;
        if (!m_last || !continuesLine(*m_last, point)) {
            endLine();
            m_line = leftJustified(snapshotName(point.device), NameWidth);
        }
        m_line += " " + rightJustified(snapshotText(*reading.value, type), columnWidth(type));
        if (isTag(point))
            m_line += " @" + point.name;
        m_last = &point;
    }

    std::string finish()
    {
        endLine();
        endComment();
        return m_text;
    }

private:
    void addFailure(const Point& point, const std::string& what)
    {
        endLine();
        if (what != m_failure)
            endComment();
        if (m_failure.empty())
            m_firstFailed = snapshotName(point.device);
        m_lastFailed = snapshotName(point.device);
        m_failure = what;
    }

    void endLine()
    {
        if (!m_line.empty())
            m_text += m_line + "\n";
        m_line.clear();
        m_last = nullptr;
    }

    void endComment()
    {
        if (m_failure.empty())
            return;
        const std::string range = m_firstFailed == m_lastFailed ? "" : ".." + m_lastFailed;
        m_text += "# " + m_firstFailed + range + NotReadMark + visible(m_failure) + "\n";
        m_failure.clear();
    }

    std::string m_text;
    std::string m_line;
    const Point* m_last = nullptr;
    std::string m_firstFailed;
    std::string m_lastFailed;
    std::string m_failure; ///< empty for none
};

/// A line can only begin with a whole device, or with the first value of a run without areas: what
/// shares such a device with a failure fails with it.
std::vector<Reading> withWholeDevices(const std::vector<Point>& points,
                                      std::vector<Reading> readings)
{
    const auto shareDevice = [&](std::size_t i, std::size_t j) {
        const TypedDevice& device = points[i].device;
        return (!device.isDescribed() || isPacked(device.type)) &&
               continuesLine(points[i], points[j]);
    };
    for (std::size_t i = 1; i < points.size(); ++i)
        if (readings[i - 1].failure && shareDevice(i - 1, i))
            readings[i] = {std::nullopt, readings[i - 1].failure};
    for (std::size_t i = points.size(); i-- > 1;)
        if (readings[i].failure && shareDevice(i - 1, i))
            readings[i - 1] = {std::nullopt, readings[i].failure};
    return readings;
}

/// One word of a line: what is between blanks, or a string in quotes.
struct Word {
    std::string text;
    bool isQuoted;
};

struct Words {
    std::vector<Word> words;
    std::string tag; ///< empty for none
};

Words split(const std::string& line)
{
    Words found;
    for (std::size_t at = line.find_first_not_of(Blanks); at < line.size();
         at = line.find_first_not_of(Blanks, at)) {
        if (line[at] == '#')
            break;
        if (line[at] == '@') {
            found.tag = trimmed(line.substr(at + 1));
            break;
        }
        if (line[at] == '"') {
            found.words.push_back({parseQuoted(line, at), true});
            continue;
        }
        const std::size_t end = std::min(line.find_first_of(Blanks, at), line.size());
        found.words.push_back({line.substr(at, end - at), false});
        at = end;
    }
    return found;
}

Value parseWord(const Word& word, const Type& type)
{
    const bool isString = type.kind == TypeKind::String;
    if (isString != word.isQuoted)
        throw wrongUsage(isString ? "a string must be in quotes: \"" + word.text + "\""
                                  : "\"" + word.text + "\" is a string, not a value of type " +
                                        nameOf(type));
    if (type.kind == TypeKind::Real && isHexadecimal(word.text))
        return valueFrom(dataOf(parseValue(word.text, BitsOfReal), BitsOfReal), type);
    return parseValue(word.text, type);
}

/// Devices have one name here, whatever number of zeros was typed.
void renameWithoutZeros(TypedDevice& device)
{
    if (!device.isDescribed())
        return;
    const std::string index =
        device.byteOffset > 0 ? "[" + std::to_string(device.byteOffset) + "]" : "";
    device.place.digits = 0;
    device.name = deviceText(device.place) + index;
}

void addLine(Snapshot& snapshot, const std::string& text, int line, const Devices& devices)
{
    const Words found = split(text);
    if (found.words.empty())
        return;
    const auto count = static_cast<int>(found.words.size()) - 1;
    const std::string& name = found.words.front().text;
    if (count == 0)
        throw wrongUsage("there is no value after " + name);
    if (!found.tag.empty() && count > 1)
        throw wrongUsage("a tag has one value, but this line has " + std::to_string(count));
    std::vector<TypedDevice> run = devices.parseRun(name, count);
    if (run.size() != static_cast<std::size_t>(count))
        throw wrongUsage("'" + name + "' is a range; a line begins with its first device only");
    for (int i = 0; i < count; ++i) {
        TypedDevice& device = run[static_cast<std::size_t>(i)];
        renameWithoutZeros(device);
        SnapshotValue value = {pointOf(device), {}, line};
        if (!found.tag.empty())
            value.point.name = found.tag;
        value.value = parseWord(found.words[static_cast<std::size_t>(i) + 1], device.type);
        snapshot.values.push_back(value);
    }
}

void addHeaderLine(SnapshotHeader& header, const std::string& text)
{
    const std::string comment = trimmed(text.substr(1));
    if (startsWith(comment, AnyFormatMark)) {
        const std::string rest = comment.substr(std::string(AnyFormatMark).size());
        const std::string number = rest.substr(0, rest.find(','));
        if (AnyFormatMark + number != FormatMark)
            throw wrongUsage("this program can't read format " + number + " of snapshots");
        header.tool = trimmed(rest.substr(std::min(number.size() + 1, rest.size())));
    }
    for (const HeaderRow& row : headerRows)
        if (startsWith(comment, row.key))
            header.*row.text = comment.substr(std::string(row.key).size());
}

/// The driver that the header names; empty for none.
std::string driverIn(const std::string& content)
{
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line) && startsWith(line, "#");) {
        const std::string comment = trimmed(line.substr(1));
        if (startsWith(comment, DriverKey))
            return comment.substr(std::string(DriverKey).size());
    }
    return std::string();
}

/// A file that is cut off may end within a number, which then has another value.
void requireEnd(const std::string& path, const std::string& content)
{
    const bool hasHeader =
        content.substr(0, content.find_first_of(",\r\n")) == std::string("# ") + FormatMark;
    const std::string text = trimmed(content);
    const std::string last = text.substr(text.rfind('\n') + 1);
    if (hasHeader && last != EndLine)
        throw wrongUsage(path + " is not complete: its last line, " + EndLine + ", is missing",
                         "Continue a dump that was stopped, or copy the file again. If you edited "
                         "it and nothing is missing, add the line.",
                         {Topic::Resume});
}

/// Takes in a comment such as "# DM40:uint..DM99:uint not read: no reply".
void addUnread(Snapshot& snapshot, const std::string& text)
{
    const std::size_t mark = text.find(NotReadMark);
    if (mark != std::string::npos)
        snapshot.unread.push_back(trimmed(text.substr(1, mark)));
}

[[noreturn]] void throwAtLine(int line, const Failure& failure)
{
    throw failure.prefixed("line " + std::to_string(line) + ": ");
}

/// Puts the values into the order of the format. Each device may appear once.
void sortValues(std::vector<SnapshotValue>& values)
{
    std::vector<std::pair<Extent, std::size_t>> order;
    for (std::size_t i = 0; i < values.size(); ++i)
        order.emplace_back(extentOf(values[i].point.device), i);
    std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
        return std::tuple_cat(a.first.place(), std::tie(a.second)) <
               std::tuple_cat(b.first.place(), std::tie(b.second));
    });
    std::vector<SnapshotValue> sorted;
    for (std::size_t i = 0; i < order.size(); ++i) {
        SnapshotValue& value = values[order[i].second];
        if (i > 0 && order[i].first.overlaps(order[i - 1].first)) {
            const int lines[] = {sorted.back().line, value.line};
            throwAtLine(std::max(lines[0], lines[1]),
                        wrongUsage(snapshotName(value.point.device) + " is already on line " +
                                   std::to_string(std::min(lines[0], lines[1]))));
        }
        sorted.push_back(std::move(value));
    }
    values = std::move(sorted);
}

} // namespace

std::string snapshotName(const TypedDevice& device)
{
    return device.name + ":" + nameOf(device.type);
}

std::string snapshotText(const Value& value, const Type& type)
{
    if (type.kind == TypeKind::String) {
        const std::string& bytes = std::get<std::string>(value);
        return '"' + escaped(bytes.substr(0, bytes.find_last_not_of('\0') + 1)) + '"';
    }
    const auto* real = std::get_if<float>(&value);
    return real != nullptr && !std::isfinite(*real) ? hexOfReal(value, type) : textOf(value, type);
}

std::vector<Point> snapshotPoints(std::vector<Point> points)
{
    std::vector<Placed> placed;
    for (Point& point : points) {
        const bool wasTag = isTag(point);
        renameWithoutZeros(point.device);
        if (!wasTag)
            point.name = point.device.name;
        const Extent extent = extentOf(point.device);
        const bool isNatural = isNaturalDevice(point);
        placed.push_back({std::move(point), extent, isNatural});
    }
    std::stable_sort(placed.begin(), placed.end(), [](const Placed& a, const Placed& b) {
        return std::tuple_cat(a.extent.place(), std::tie(a.isNatural)) <
               std::tuple_cat(b.extent.place(), std::tie(b.isNatural));
    });

    std::vector<Placed> kept;
    for (Placed& next : placed) {
        if (!kept.empty() && next.extent.overlaps(kept.back().extent)) {
            const Placed& last = kept.back();
            const bool isTwice = last.extent.begin == next.extent.begin &&
                                 last.point.device.type == next.point.device.type;
            const bool givesWay = next.isNatural && next.extent.end <= last.extent.end;
            if (isTwice || givesWay)
                continue;
            throw namedTwice(last.point.device, next.point.device);
        }
        kept.push_back(std::move(next));
    }
    points.clear();
    for (Placed& one : kept)
        points.push_back(std::move(one.point));
    return points;
}

std::string textOf(const SnapshotHeader& header)
{
    std::string text = std::string("# ") + FormatMark + ", " + header.tool + "\n";
    for (const HeaderRow& row : headerRows)
        if (!(header.*row.text).empty())
            text += std::string("# ") + row.key + header.*row.text + "\n";
    return text;
}

std::string endOfSnapshot()
{
    return EndLine + std::string("\n");
}

std::string snapshotLines(const std::vector<Point>& points, const std::vector<Reading>& readings)
{
    const std::vector<Reading> shown = withWholeDevices(points, readings);
    LineWriter lines;
    for (std::size_t i = 0; i < points.size(); ++i)
        lines.add(points[i], shown[i]);
    return lines.finish();
}

Snapshot parseSnapshot(const std::string& content, const Devices& devices)
{
    Snapshot snapshot;
    std::istringstream lines(content);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        try {
            if (startsWith(line, "#"))
                addUnread(snapshot, line);
            if (startsWith(line, "#") && snapshot.values.empty())
                addHeaderLine(snapshot.header, line);
            else
                addLine(snapshot, line, number, devices);
        } catch (const Failure& failure) {
            throwAtLine(number, failure);
        }
    }
    sortValues(snapshot.values);
    return snapshot;
}

std::string driverNamedIn(const TextFile& file)
{
    return driverIn(file.text);
}

Snapshot loadSnapshot(const TextFile& file, const Driver& driver)
{
    requireEnd(file.name, file.text);
    // The same letters may be other devices, so this comes before they are understood.
    const std::string writer = driverNamedIn(file);
    if (!writer.empty() && writer != driver.name())
        throw wrongUsage(file.name + " is a dump of the driver " + writer + ", and this one is " +
                             driver.name(),
                         "Name the plug-in of that driver.", {Topic::Driver});
    Snapshot snapshot;
    try {
        snapshot = parseSnapshot(file.text, driver.devices());
    } catch (const Failure& failure) {
        throw failure.prefixed(file.name + ", ");
    }
    if (snapshot.values.empty())
        throw wrongUsage(file.name + ": it has no values");
    return snapshot;
}

std::vector<TypedDevice> devicesOf(const std::vector<SnapshotValue>& values)
{
    std::vector<TypedDevice> devices;
    for (const SnapshotValue& value : values)
        devices.push_back(value.point.device);
    return devices;
}

} // namespace bench
