// Faults on purpose: a seeded plan that decides for each reply whether and how it goes wrong, and
// the pieces in which a reply then goes out.
// There is no clock in here: lateness is a number in a piece.
#ifndef SIMULATOR_FAULTS_H
#define SIMULATOR_FAULTS_H

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace simulator
{

enum class FaultKind {
    None,    ///< the reply goes out as it is
    Late,    ///< the whole reply after a pause
    Dribble, ///< the reply byte by byte, with a pause before each
    Cut,     ///< only the first bytes of the reply
    Garble,  ///< one byte of the reply with its top bit inverted
    Nul,     ///< one byte of the reply replaced by a NUL
    Error,   ///< an error reply; the command is not carried out
    Silent,  ///< the command is carried out, but no reply goes out
};

/// What happens to one reply.
struct Fault {
    FaultKind kind = FaultKind::None;
    std::optional<uint32_t> value; ///< milliseconds, error code, or place in the reply; a place
                                   ///< that is not given follows from `dice`
    uint32_t dice = 0;             ///< random bits
};

/// Bytes to send, and how long after the previous piece (or after the command, for the first).
struct Piece {
    uint32_t delayMs;
    std::string bytes;
};

/// What a fault plan can refer to in a protocol.
struct Commands {
    std::vector<std::string_view> names;
    uint32_t maxErrorCode; ///< error codes are 0 to this
};

/// The grammar of FaultPlan::parse(), for a person to read: several lines, each ended by a newline.
extern const char* const FaultHelp;

/// One entry of a plan: a fault, and the replies that it may affect.
struct FaultRule {
    FaultKind kind = FaultKind::None;
    std::optional<uint32_t> value;   ///< as in Fault
    std::string command;             ///< only replies to this command; empty: to any
    uint32_t firstReply = 1;         ///< of these replies, only from this one (the first is 1)
    uint32_t lastReply = UINT32_MAX; ///< to this one
    std::optional<double> share;     ///< and of those, this share; nothing: all that is left
};

/// Decides reply by reply. The same text, seed and sequence of commands give the same faults.
class FaultPlan
{
public:
    /// A plan without faults.
    FaultPlan() = default;

    /// A plan from text such as "late=700ms:0.2,cut#1"; FaultHelp has the grammar. An empty
    /// text is a plan without faults. On a bad text returns nothing and says in a sentence which
    /// word is bad and why.
    static std::optional<FaultPlan> parse(std::string_view text, uint32_t seed,
                                          const Commands& commands, std::string& why);

    /// The fault of the next reply, which answers this command.
    Fault next(std::string_view command);

private:
    struct CountedRule {
        FaultRule rule;
        uint32_t repliesSeen = 0;
    };

    std::vector<CountedRule> m_rules;
    std::mt19937 m_random;
};

/// The pieces in which a reply goes out under a fault; none when nothing is sent. For
/// FaultKind::Error the reply must be the error reply already.
std::vector<Piece> piecesOf(const std::string& reply, const Fault& fault);

/// A few words for a log, such as "late=700ms"; empty for FaultKind::None.
std::string describe(const Fault& fault);

} // namespace simulator

#endif
