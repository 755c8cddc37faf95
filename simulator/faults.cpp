#include "simulator/faults.h"

#include "simulator/session.h"
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
    "  late=TIME       the reply comes after TIME, such as 700ms or 2s\n"
    "  dribble[=TIME]  the reply comes byte by byte, each after TIME (2ms)\n"
    "  cut[=K]         only the first K bytes of the reply come\n"
    "  garble[=K]      byte K of the reply, the first being 0, is one that no reply contains\n"
    "  nul[=K]         byte K of the reply is a NUL\n"
    "  error[=D]       the command is refused with the error reply E and digit D (E1)\n"
    "  silent          no reply comes\n"
    "\n"
    "  @COMMAND        only replies to this command: CR, CQ, RDS, WRS, WSS, ST or RS\n"
    "  #N or #A-B      of these, only the first N, or only the Ath to the Bth\n"
    "  :SHARE          of these, only this share, 0 to 1, drawn by lot\n"
    "\n"
    "A K that is not given is drawn by lot, one beyond the reply means its last byte. A reply\n"
    "suffers one fault at most: shares add up from left to right, and where they do not reach 1\n"
    "the rest is answered as it should be. Everything drawn by lot follows from the seed, so the\n"
    "same plan, seed and commands give the same faults.\n"
    "\n"
    "  late=700ms:0.2,cut:0.1    of all replies a fifth late, a tenth cut\n"
    "  silent@RDS#1              the first read gets no reply\n"
    "  error=0@WRS#2-3           the second and third write are refused with E0\n";

namespace
{

constexpr uint32_t MaxDelayMs = 3600 * 1000;
constexpr int TopBit = 0x80;

enum class ValueForm { None, Time, Place, Digit };

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
    {"error", FaultKind::Error, ValueForm::Digit, 1},
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

std::optional<uint32_t> parseTimeMs(std::string_view text)
{
    const size_t unitPlace = std::min(text.find_first_not_of("0123456789"), text.size());
    const std::string_view unit = text.substr(unitPlace);
    const auto number = parseNumber(text.substr(0, unitPlace));
    const uint32_t msPerUnit = unit == "ms" ? 1 : unit == "s" ? 1000 : 0;
    if (!number || msPerUnit == 0 || *number > MaxDelayMs / msPerUnit)
        return std::nullopt;
    return *number * msPerUnit;
}

std::optional<uint32_t> parseDigit(std::string_view text)
{
    return text.size() == 1 ? parseNumber(text) : std::nullopt;
}

// Each of the following reads one field of a rule; on failure it says in `why` what is wrong.

bool readValue(std::string_view text, ValueForm form, FaultRule& rule, std::string& why)
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
    case ValueForm::Digit:
        rule.value = parseDigit(text);
        why = quoted(text) + " is not a digit";
        break;
    }
    return rule.value.has_value();
}

bool readKind(std::string_view name, std::optional<std::string_view> value, FaultRule& rule,
              std::string& why)
{
    const auto known = std::find_if(std::begin(KindNames), std::end(KindNames),
                                    [&](const KindName& kind) { return name == kind.name; });
    if (known == std::end(KindNames)) {
        why = quoted(name) + " is not a fault; there are";
        for (const KindName& kind : KindNames)
            why += std::string(" ") + kind.name;
        return false;
    }
    rule.kind = known->kind;
    if (value)
        return readValue(*value, known->form, rule, why);
    rule.value = known->valueWhenNotGiven;
    why = "a time is missing, such as in late=700ms";
    return known->form != ValueForm::Time || rule.value;
}

bool readCommand(std::string_view word, FaultRule& rule, std::string& why)
{
    rule.command = word;
    const auto& words = commandWords();
    if (std::find(words.begin(), words.end(), word) != words.end())
        return true;
    why = quoted(word) + " is not a command; there are";
    for (std::string_view known : words)
        why += ' ' + std::string(known);
    return false;
}

bool readWindow(std::string_view text, FaultRule& rule, std::string& why)
{
    std::string_view head = text;
    const auto tail = cutTail(head, '-');
    const auto first = tail ? parseNumber(head) : 1;
    const auto last = parseNumber(tail ? *tail : text);
    if (!first || !last || *first == 0 || *last < *first) {
        why = quoted(text) + " is not a count of replies such as 1, nor a range such as 2-3";
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

bool readRule(std::string_view text, FaultRule& rule, std::string& why)
{
    const auto share = cutTail(text, ':');
    const auto window = cutTail(text, '#');
    const auto command = cutTail(text, '@');
    const auto value = cutTail(text, '=');
    return readKind(text, value, rule, why) && (!command || readCommand(*command, rule, why)) &&
           (!window || readWindow(*window, rule, why)) && (!share || readShare(*share, rule, why));
}

bool concerns(const FaultRule& rule, std::string_view commandWord)
{
    return rule.command.empty() || rule.command == commandWord;
}

/// The place among `size` bytes, 1 or more, that the fault strikes.
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
    // Drawn by lot, at least one byte comes: no byte at all is FaultKind::Silent.
    const size_t kept =
        fault.value ? placeIn(reply.size(), fault) : 1 + placeIn(reply.size() - 1, fault);
    return reply.substr(0, kept);
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

std::optional<FaultPlan> FaultPlan::parse(std::string_view text, uint32_t seed, std::string& why)
{
    FaultPlan plan;
    plan.random_.seed(seed);
    if (trimmed(text).empty())
        return plan;
    for (std::string_view part : split(text, ',')) {
        const std::string_view word = trimmed(part);
        CountedRule counted;
        std::string reason;
        if (!readRule(word, counted.rule, reason)) {
            why = "bad fault " + quoted(word) + ": " + reason;
            return std::nullopt;
        }
        plan.rules_.push_back(counted);
    }
    return plan;
}

Fault FaultPlan::next(std::string_view commandWord)
{
    // Two draws for every reply, whatever comes of them: so a rule more or less does not shift the
    // lots of the others.
    constexpr double Draws = 4294967296.0;
    double lot = static_cast<double>(random_()) / Draws;
    Fault fault;
    fault.dice = static_cast<uint32_t>(random_());
    for (CountedRule& counted : rules_) {
        const FaultRule& rule = counted.rule;
        if (!concerns(rule, commandWord))
            continue;
        const uint32_t reply = ++counted.repliesSeen;
        if (fault.kind != FaultKind::None || reply < rule.firstReply || reply > rule.lastReply)
            continue;
        if (lot < rule.share) {
            fault.kind = rule.kind;
            fault.value = rule.value;
        }
        lot -= rule.share;
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
