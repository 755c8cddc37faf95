// What is told of the checks: a line each, and of a failed one its first failure.
#ifndef CONFORMANCE_REPORT_H
#define CONFORMANCE_REPORT_H

#include <string>

/// While a check runs, a watch is kept: when a driver crashes, or doesn't return for a minute, the
/// check and the request are told before the program ends.
class Report
{
public:
    Report();

    /// Begins a check; `name` completes "the driver ...".
    void begin(const std::string& name);

    /// What is done next, such as "read word D0, a dead port".
    void at(const std::string& place);

    /// Notes a failure unless `good`. Returns `good`.
    bool expect(bool good, const std::string& expected, const std::string& got);

    /// Tells what became of the check.
    void end();

    /// A line to tell below the check's own.
    void note(const std::string& text);

    /// Tells how many checks passed. Returns whether all did.
    bool summarize() const;

private:
    std::string m_place;
    std::string m_notes; ///< of this check
    std::string m_first; ///< failure of this check
    int m_failures = 0;  ///< of this check
    int m_passedChecks = 0;
    int m_failedChecks = 0;
};

#endif
