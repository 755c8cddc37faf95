#include "simulator/faults.h"

#include "simulator/text.h"

#include <algorithm>
#include <charconv>

namespace simulator
{

const char* const FaultHelp =
    "A fault plan is a list of faults, separated by commas:\n"
    "\n"
    "  FAULT[=VALUE][@COMMAND][#N][:SHARE]\n"
    "\n"
    "  late=TIME       the reply is sent after TIME, such as 700ms or 2s\n"
    "  dribble[=TIME]  the reply is sent byte by byte, each after TIME (2ms)\n"
    "  cut[=K]         only the first K bytes of the reply are sent\n"
    "  garble[=K]      the top bit of byte K, counted from 0, is inverted\n"
    "  nul[=K]         byte K of the reply is a NUL\n"
    "  error[=CODE]    the command is refused with this error code (1)\n"
    "  silent          no reply is sent\n"
    "\n"
    "  @COMMAND        only replies to this command\n"
    "  #N or #A-B      of these, only the first N, or only the Ath to the Bth\n"
    "  :SHARE          of these, only this share, 0 to 1, chosen at random\n"
    "\n"
    "Without a K the place is random; a K beyond the reply means its last byte. A\n"
    "reply has at most one fault: shares add up from left to right, to 1 at most. A\n"
    "fault without a share takes all that is left; without one, what is left is\n"
    "answered correctly. All random choices follow from the seed: the same plan, seed\n"
    "and commands give the same faults.\n";

namespace
{

constexpr int TopBit = 0x80;

enum class ValueForm { None, Time, Place, ErrorCode };

struct KindName {
    const char* name;
    FaultKind kind;
    ValueForm form;
    std::optional<uint32_t> valueWhenNotGiven;
};

constexpr KindName KindNames[] = {
    {"late", FaultKind::Late, ValueForm::Time, std::nullopt},
    {"dribble", FaultKind::Dribble, ValueForm::Time, 2},
    {"cut", FaultKind::Cut, ValueForm::Place, std::nullopt},
    {"garble", FaultKind::Garble, ValueForm::Place, std::nullopt},
    {"nul", FaultKind::Nul, ValueForm::Place, std::nullopt},
    {"error", FaultKind::Error, ValueForm::ErrorCode, 1},
    {"silent", FaultKind::Silent, ValueForm::None, std::nullopt},
};

std::string_view trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos)
        return std::string_view();
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// Cuts what follows the last `mark` off the end of the text, the mark included, and returns it;
/// nothing when the text has no such mark.
std::optional<std::string_view> cutTail(std::string_view& text, char mark)
{
    const size_t place = text.rfind(mark);
    if (place == std::string_view::npos)
        return std::nullopt;
    const std::string_view tail = text.substr(place + 1);
    text = text.substr(0, place);
    return tail;
}

std::optional<uint32_t> parseErrorCode(std::string_view text, uint32_t largest)
{
    const auto code = parseNumber(text);
    return code && *code <= largest ? code : std::nullopt;
}

// Each of the following reads one field of a rule; on failure it says in `why` what is wrong.

bool readValue(std::string_view text, ValueForm form, const Commands& commands, FaultRule& rule,
               std::string& why)
{
    switch (form) {
    case ValueForm::None:
        why = "this fault takes no value";
        return false;
    case ValueForm::Time:
        rule.value = parseTimeMs(text);
        why = quoted(text) + " is not a time such as 700ms or 2s, an hour at most";
        break;
    case ValueForm::Place:
        rule.value = parseNumber(text);
        why = quoted(text) + " is not a number of bytes";
        break;
    case ValueForm::ErrorCode:
        rule.value = parseErrorCode(text, commands.maxErrorCode);
        why = quoted(text) + " is not an error code from 0 to " +
              std::to_string(commands.maxErrorCode);
        break;
    }
    return rule.value.has_value();
}

bool readKind(std::string_view name, std::optional<std::string_view> value,
              const Commands& commands, FaultRule& rule, std::string& why)
{
    const auto known = std::find_if(std::begin(KindNames), std::end(KindNames),
                                    [&](const KindName& kind) { return name == kind.name; });
    if (known == std::end(KindNames)) {
        why = quoted(name) + " is not a fault; choose ";
        for (const KindName& kind : KindNames)
            why += std::string(&kind == KindNames ? "" : ", ") + kind.name;
        return false;
    }
    rule.kind = known->kind;
    if (value)
        return readValue(*value, known->form, commands, rule, why);
    rule.value = known->valueWhenNotGiven;
    why = "a time is missing, such as in late=700ms";
    return known->form != ValueForm::Time || rule.value;
}

bool readCommand(std::string_view name, const Commands& commands, FaultRule& rule, std::string& why)
{
    rule.command = name;
    if (std::find(commands.names.begin(), commands.names.end(), name) != commands.names.end())
        return true;
    why = quoted(name) + " is not a command; choose ";
    for (std::string_view known : commands.names)
        why += (known == commands.names.front() ? "" : ", ") + std::string(known);
    return false;
}

bool readWindow(std::string_view text, FaultRule& rule, std::string& why)
{
    std::string_view head = text;
    const auto tail = cutTail(head, '-');
    const auto first = tail ? parseNumber(head) : 1;
    const auto last = parseNumber(tail ? *tail : text);
    if (!first || !last || *first == 0 || *last < *first) {
        why = quoted(text) + " is neither a number of replies such as 1 nor a range such as 2-3";
        return false;
    }
    rule.firstReply = *first;
    rule.lastReply = *last;
    return true;
}

std::optional<double> parseShare(std::string_view text)
{
    double share = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, share);
    // "nan" is a number to from_chars, but within no bounds.
    if (failure != std::errc() || stop != end || !(share >= 0 && share <= 1))
        return std::nullopt;
    return share;
}

bool readShare(std::string_view text, FaultRule& rule, std::string& why)
{
    const auto share = parseShare(text);
    if (!share) {
        why = quoted(text) + " is not a share from 0 to 1";
        return false;
    }
    rule.share = *share;
    return true;
}

bool readRule(std::string_view text, const Commands& commands, FaultRule& rule, std::string& why)
{
    const auto share = cutTail(text, ':');
    const auto window = cutTail(text, '#');
    const auto command = cutTail(text, '@');
    const auto value = cutTail(text, '=');
    return readKind(text, value, commands, rule, why) &&
           (!command || readCommand(*command, commands, rule, why)) &&
           (!window || readWindow(*window, rule, why)) && (!share || readShare(*share, rule, why));
}

bool concerns(const FaultRule& rule, std::string_view command)
{
    return rule.command.empty() || rule.command == command;
}

/// What the given shares of all replies to a command add up to; faults of a few replies, and those
/// that take what others leave, don't count.
template <typename Rules>
double shareOf(const Rules& rules, std::string_view command)
{
    double sum = 0;
    for (const auto& counted : rules) {
        const FaultRule& rule = counted.rule;
        const bool isOfAll = rule.firstReply == 1 && rule.lastReply == UINT32_MAX;
        if (isOfAll && concerns(rule, command))
            sum += rule.share.value_or(0);
    }
    return sum;
}

/// The place among `size` bytes, 1 or more, where the fault applies.
size_t placeIn(size_t size, const Fault& fault)
{
    return fault.value ? std::min<size_t>(*fault.value, size - 1) : fault.dice % size;
}

std::string withByte(std::string reply, size_t place, char byte)
{
    reply[place] = byte;
    return reply;
}

std::string firstBytes(const std::string& reply, const Fault& fault)
{
    if (fault.value)
        return reply.substr(0, placeIn(reply.size(), fault));
    // Chosen at random at least one byte is sent, unless the reply has no more than one.
    return reply.size() < 2 ? "" : reply.substr(0, 1 + placeIn(reply.size() - 1, fault));
}

std::vector<Piece> byteByByte(const std::string& reply, uint32_t delayMs)
{
    std::vector<Piece> pieces;
    for (char byte : reply)
        pieces.push_back({delayMs, std::string(1, byte)});
    return pieces;
}

std::vector<Piece> onePiece(const std::string& bytes, uint32_t delayMs = 0)
{
    if (bytes.empty())
        return {};
    return {{delayMs, bytes}};
}

} // namespace

std::optional<FaultPlan> FaultPlan::parse(std::string_view text, uint32_t seed,
                                          const Commands& commands, std::string& why)
{
    FaultPlan plan;
    plan.m_random.seed(seed);
    if (trimmed(text).empty())
        return plan;
    for (std::string_view part : split(text, ',')) {
        const std::string_view word = trimmed(part);
        CountedRule counted;
        std::string reason;
        if (!readRule(word, commands, counted.rule, reason)) {
            const bool repeats = reason.compare(0, word.size() + 2, quoted(word)) == 0;
            why = (repeats ? "" : quoted(word) + ": ") + reason;
            return std::nullopt;
        }
        plan.m_rules.push_back(counted);
    }
    constexpr double Rounding = 1e-9;
    for (std::string_view command : commands.names) {
        if (shareOf(plan.m_rules, command) <= 1 + Rounding)
            continue;
        why = "the shares of faults that the same reply can have add up to more than 1";
        return std::nullopt;
    }
    return plan;
}

Fault FaultPlan::next(std::string_view command)
{
    // Two random numbers for every reply, used or not: a rule more or less does not shift those of
    // the others.
    constexpr double RandomNumbers = 4294967296.0;
    double chance = static_cast<double>(m_random()) / RandomNumbers;
    Fault fault;
    fault.dice = static_cast<uint32_t>(m_random());
    for (CountedRule& counted : m_rules) {
        const FaultRule& rule = counted.rule;
        if (!concerns(rule, command))
            continue;
        const uint32_t reply = ++counted.repliesSeen;
        if (fault.kind != FaultKind::None || reply < rule.firstReply || reply > rule.lastReply)
            continue;
        const double share = rule.share.value_or(1);
        if (chance < share) {
            fault.kind = rule.kind;
            fault.value = rule.value;
        }
        chance -= share;
    }
    return fault;
}

std::vector<Piece> piecesOf(const std::string& reply, const Fault& fault)
{
    if (reply.empty())
        return {};
    const size_t place = placeIn(reply.size(), fault);
    switch (fault.kind) {
    case FaultKind::None:
    case FaultKind::Error:
        return onePiece(reply);
    case FaultKind::Late:
        return onePiece(reply, fault.value.value_or(0));
    case FaultKind::Dribble:
        return byteByByte(reply, fault.value.value_or(0));
    case FaultKind::Cut:
        return onePiece(firstBytes(reply, fault));
    case FaultKind::Garble:
        return onePiece(withByte(reply, place, static_cast<char>(reply[place] ^ TopBit)));
    case FaultKind::Nul:
        return onePiece(withByte(reply, place, '\0'));
    case FaultKind::Silent:
        break;
    }
    return {};
}

std::string describe(const Fault& fault)
{
    for (const KindName& known : KindNames) {
        if (known.kind != fault.kind)
            continue;
        if (!fault.value)
            return known.name;
        const char* const unit = known.form == ValueForm::Time ? "ms" : "";
        return known.name + ("=" + std::to_string(*fault.value)) + unit;
    }
    return std::string();
}

} // namespace simulator
