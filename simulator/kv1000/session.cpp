#include "simulator/kv1000/session.h"

#include "simulator/text.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>

namespace simulator::kv1000
{

namespace
{

enum class NeedsSession { No, Yes };

constexpr const char* LineEnd = "\r\n";
constexpr size_t AnyNumber = SIZE_MAX;

std::string reply(std::string_view text)
{
    return std::string(text) + LineEnd;
}

std::string refusal(ErrorCode code)
{
    return reply("E" + std::to_string(static_cast<unsigned>(code)));
}

/// The count of a command, or nothing when it is not a number that a command may have.
std::optional<uint32_t> parseCount(std::string_view text)
{
    const auto count = parseNumber(text);
    if (!count || *count == 0 || *count > MaxDevicesPerCommand)
        return std::nullopt;
    return count;
}

/// The values of a write command, or nothing when there are too few or many or one is too large.
std::optional<std::vector<uint32_t>> parseValues(const std::vector<std::string_view>& texts,
                                                 size_t count, uint32_t largest)
{
    if (texts.size() != count)
        return std::nullopt;
    std::vector<uint32_t> values;
    for (std::string_view text : texts) {
        const auto value = parseNumber(text);
        if (!value || *value > largest)
            return std::nullopt;
        values.push_back(*value);
    }
    return values;
}

/// Devices of one area with consecutive indices, all of which exist.
struct Range {
    Device first;
    uint32_t count;
};

std::optional<Range> findRange(std::string_view device, uint32_t count)
{
    const auto first = findDevice(device);
    if (!first || !fits(*first, count))
        return std::nullopt;
    return Range{*first, count};
}

/// Where a write command stores its values, or nothing when such devices have no set value.
std::optional<Part> partToWrite(Part wanted, ValueKind kind)
{
    if (wanted == Part::Current)
        return mainPart(kind);
    if (kind != ValueKind::Counting)
        return std::nullopt;
    return wanted;
}

/// One of the numbers that a device has in a reply.
struct Column {
    Part part;
    int digits;
};

const std::vector<Column>& columnsOf(ValueKind kind)
{
    static const std::map<ValueKind, std::vector<Column>> table = {
        {ValueKind::Bit, {{Part::State, 1}}},
        {ValueKind::Word, {{Part::Current, 5}}},
        {ValueKind::DoubleWord, {{Part::Current, 10}}},
        {ValueKind::Counting, {{Part::State, 1}, {Part::Current, 10}, {Part::SetValue, 10}}},
    };
    return table.at(kind);
}

std::string decimal(uint32_t value, int digits)
{
    char text[16];
    std::snprintf(text, sizeof text, "%0*u", digits, value);
    return text;
}

/// "00012 00002" for two words, "1,0000000005,0000000100" for a timer.
std::string listOf(const Memory& memory, const Range& range)
{
    std::vector<std::string> items(range.count);
    for (const Column& column : columnsOf(range.first.area->kind)) {
        auto item = items.begin();
        for (uint32_t value : memory.read(placeOf(range.first, column.part), range.count)) {
            *item += (item->empty() ? "" : ",") + decimal(value, column.digits);
            ++item;
        }
    }
    std::string list;
    for (const std::string& item : items)
        list += (list.empty() ? "" : " ") + item;
    return list;
}

} // namespace

struct Session::Command {
    std::string_view word;
    size_t fewestArguments;
    size_t mostArguments;
    NeedsSession needsSession;
    std::string (Session::*carryOut)(const Arguments&);
};

const std::vector<Session::Command>& Session::commands()
{
    static const std::vector<Command> table = {
        {"CR", 0, 0, NeedsSession::No, &Session::open},
        {"CQ", 0, 0, NeedsSession::Yes, &Session::close},
        {"RDS", 2, 2, NeedsSession::Yes, &Session::read},
        {"WRS", 3, AnyNumber, NeedsSession::Yes, &Session::writeCurrent},
        {"WSS", 3, AnyNumber, NeedsSession::Yes, &Session::writeSetValues},
        {"ST", 1, 1, NeedsSession::Yes, &Session::set},
        {"RS", 1, 1, NeedsSession::Yes, &Session::reset},
    };
    return table;
}

const std::vector<std::string_view>& commandWords()
{
    static const std::vector<std::string_view> words = [] {
        std::vector<std::string_view> list;
        for (const Session::Command& command : Session::commands())
            list.push_back(command.word);
        return list;
    }();
    return words;
}

std::optional<std::string> Session::takeRequest(std::string& received)
{
    for (;;) {
        const size_t end = received.find('\n');
        if (end == std::string::npos)
            break;
        std::string line = received.substr(0, end);
        received.erase(0, end + 1);
        // Without its CR the line keeps the LF, and with that it is no known command.
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        else
            line += '\n';
        if (!line.empty())
            return line;
    }
    // A command and its CR, and one byte more to show that a line is too long.
    received.resize(std::min(received.size(), MaxCommandLength + 2));
    return std::nullopt;
}

std::string Session::commandName(std::string_view line) const
{
    return std::string(line.substr(0, line.find(' ')));
}

std::string Session::errorReply(std::string_view, uint32_t digit) const
{
    return reply("E" + std::to_string(digit));
}

std::string Session::answer(std::string_view line)
{
    if (line.size() > MaxCommandLength)
        return refusal(ErrorCode::BadCommand);
    // Two blanks in a row give an empty word, which no command takes.
    Arguments arguments = split(line, ' ');
    const std::string_view word = arguments.front();
    arguments.erase(arguments.begin());
    for (const Command& command : commands()) {
        if (word != command.word)
            continue;
        if (arguments.size() < command.fewestArguments || arguments.size() > command.mostArguments)
            return refusal(ErrorCode::BadCommand);
        if (command.needsSession == NeedsSession::Yes && !m_open)
            return refusal(ErrorCode::NotAllowed);
        return (this->*command.carryOut)(arguments);
    }
    return refusal(ErrorCode::BadCommand);
}

// A host that lost its way begins again with this command, so an open session is no obstacle.
std::string Session::open(const Arguments&)
{
    m_open = true;
    return reply("CC");
}

std::string Session::close(const Arguments&)
{
    m_open = false;
    return reply("CF");
}

std::string Session::read(const Arguments& arguments)
{
    const auto count = parseCount(arguments[1]);
    if (!count)
        return refusal(ErrorCode::BadCommand);
    const auto range = findRange(arguments[0], *count);
    if (!range)
        return refusal(ErrorCode::NoSuchDevice);
    return reply(listOf(m_memory, *range));
}

std::string Session::writeCurrent(const Arguments& arguments)
{
    return writeValues(arguments, Part::Current);
}

std::string Session::writeSetValues(const Arguments& arguments)
{
    return writeValues(arguments, Part::SetValue);
}

std::string Session::writeValues(const Arguments& arguments, Part wanted)
{
    const auto count = parseCount(arguments[1]);
    if (!count)
        return refusal(ErrorCode::BadCommand);
    const auto range = findRange(arguments[0], *count);
    if (!range)
        return refusal(ErrorCode::NoSuchDevice);
    const ValueKind kind = range->first.area->kind;
    const auto part = partToWrite(wanted, kind);
    const auto values =
        parseValues({arguments.begin() + 2, arguments.end()}, *count, largestValue(kind));
    if (!part || !values)
        return refusal(ErrorCode::BadCommand);
    m_memory.write(placeOf(range->first, *part), *values);
    return reply("OK");
}

std::string Session::set(const Arguments& arguments)
{
    return writeState(arguments, 1);
}

std::string Session::reset(const Arguments& arguments)
{
    return writeState(arguments, 0);
}

std::string Session::writeState(const Arguments& arguments, uint32_t state)
{
    const auto range = findRange(arguments[0], 1);
    if (!range)
        return refusal(ErrorCode::NoSuchDevice);
    const ValueKind kind = range->first.area->kind;
    if (kind != ValueKind::Bit && kind != ValueKind::Counting)
        return refusal(ErrorCode::BadCommand);
    m_memory.write(placeOf(range->first, Part::State), {state});
    return reply("OK");
}

} // namespace simulator::kv1000
