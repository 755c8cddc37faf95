// What can go wrong at a bench: its kind, its text and the advice that goes with it.
#ifndef BENCH_FAILURE_H
#define BENCH_FAILURE_H

#include <stdexcept>
#include <string>
#include <vector>

namespace bench
{

/// The causes of failures. Scripts depend on the numbers, which are exit statuses; 0 is success.
enum class FailureKind {
    ControllerRefused = 1,
    WrongUsage = 2, ///< refused before anything was sent, or a request that can never succeed
    CannotOpen = 3, ///< a port, a plug-in or a file
    NoReply = 4,
    InvalidReply = 5,
    Different = 6, ///< a value read back, or what two sides of a comparison hold
};

constexpr int FirstFailureKind = 1;
constexpr int LastFailureKind = 6;

/// What a program ends with after a failure of this kind.
int exitStatus(FailureKind kind);

/// Whether the line failed: no reply, or an invalid one. The controller may have carried out the
/// request, and another attempt may succeed.
bool isLineFailure(FailureKind kind);

/// The kind in words, such as "no reply".
const char* nameOf(FailureKind kind);

/// What a failure can be about. A program knows how each is typed or chosen, such as by an option.
enum class Topic {
    Port,
    Line,
    Timeout,
    Driver,
    Tags,
    Resume, ///< of a dump
    Faults,
    Presets,
    Movements,
    LineSearch, ///< for the settings of a serial line
    Simulator,  ///< as a program of its own
};

/// A failure on its way to a person.
class Failure : public std::runtime_error
{
public:
    /// text    what happened, without a full stop
    /// advice  what to do about it, in a sentence or two; may be empty
    /// topics  what the advice speaks of; without advice, whose text was refused; may be empty
    Failure(FailureKind kind, const std::string& text, const std::string& advice = std::string(),
            const std::vector<Topic>& topics = {});

    FailureKind kind() const { return m_kind; }
    const std::string& advice() const { return m_advice; }
    const std::vector<Topic>& topics() const { return m_topics; }

    /// The same failure with more text after its own.
    Failure with(const std::string& detail) const;

    /// The same failure with more text before its own, such as "plant.csv, ".
    Failure prefixed(const std::string& start) const;

private:
    FailureKind m_kind;
    std::string m_advice;
    std::vector<Topic> m_topics;
};

/// "what. advice"
std::string inOneLine(const Failure& failure);

/// A failure of kind WrongUsage.
Failure wrongUsage(const std::string& text, const std::string& advice = std::string(),
                   const std::vector<Topic>& topics = {});

} // namespace bench

#endif
