// What can go wrong for plcctl, and the exit status and the advice that go with it.
// It opens nothing and talks to nobody.
#ifndef PLCCTL_FAILURE_H
#define PLCCTL_FAILURE_H

#include <QString>

#include <stdexcept>
#include <string>

namespace plcctl
{

/// What the program ends with. Scripts depend on the numbers; `plcctl --help` lists them.
enum ExitStatus {
    Success = 0,
    ControllerRefused = 1,
    WrongUsage = 2,
    CannotOpen = 3,
    NoReply = 4,
    InvalidReply = 5,
};

/// A failure on its way to the person who typed the command.
class Failure : public std::runtime_error
{
public:
    /// text    what happened, without a full stop
    /// advice  what to do about it, in a sentence or two; may be empty
    Failure(ExitStatus status, const std::string& text, const std::string& advice = std::string());

    ExitStatus status() const { return m_status; }
    const std::string& advice() const { return m_advice; }

private:
    ExitStatus m_status;
    std::string m_advice;
};

/// The failure that a driver's error text stands for; the text itself is kept whole.
Failure driverFailure(const QString& errorText);

/// Writes a failure to standard error: its text behind `subject` (a device; empty for none), then
/// its advice. Control characters are shown as \r, \n or \x1F.
void report(const Failure& failure, const std::string& subject = std::string());

/// The text with its control characters written out.
std::string escaped(const std::string& text);

} // namespace plcctl

#endif
