#include "simulator/session.h"

#include "simulator/text.h"

#include <cstdio>
#include <optional>

namespace simulator
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
    return errorReply(static_cast<unsigned>(code));
}

/// The count of a command, or nothing when it is no number or one that no command may have.
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

std::string item(const Cell& cell, ValueKind kind)
{
    char text[32];
    switch (kind) {
    case ValueKind::Bit:
        std::snprintf(text, sizeof text, "%u", cell.state);
        break;
    case ValueKind::Word:
        std::snprintf(text, sizeof text, "%05u", cell.current);
        break;
    case ValueKind::DoubleWord:
        std::snprintf(text, sizeof text, "%010u", cell.current);
        break;
    case ValueKind::Counting:
        std::snprintf(text, sizeof text, "%u,%010u,%010u", cell.state, cell.current, cell.setValue);
        break;
    }
    return text;
}

std::string listOf(const std::vector<Cell>& cells, ValueKind kind)
{
    std::string list;
    for (const Cell& cell : cells) {
        if (!list.empty())
            list += ' ';
        list += item(cell, kind);
    }
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

std::string_view commandWord(std::string_view line)
{
    return line.substr(0, line.find(' '));
}

std::string errorReply(unsigned digit)
{
    return reply("E" + std::to_string(digit));
}

std::string Session::answer(std::string_view line)
{
    if (line.empty())
        return std::string();
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
        if (command.needsSession == NeedsSession::Yes && !open_)
            return refusal(ErrorCode::NotAllowed);
        return (this->*command.carryOut)(arguments);
    }
    return refusal(ErrorCode::BadCommand);
}

// A host that lost its way begins again with this command, so an open session is no obstacle.
std::string Session::open(const Arguments&)
{
    open_ = true;
    return reply("CC");
}

std::string Session::close(const Arguments&)
{
    open_ = false;
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
    return reply(listOf(memory_.read(*range), range->first.area->kind));
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
    memory_.write(*range, *part, *values);
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
    memory_.write(*range, Part::State, {state});
    return reply("OK");
}

} // namespace simulator
