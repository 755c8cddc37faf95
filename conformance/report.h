// The results of the checks as text: one line each, and the first failure of a check that failed.
#ifndef CONFORMANCE_REPORT_H
#define CONFORMANCE_REPORT_H

#include <string>

/// When a driver crashes during a check, or doesn't return for a minute, the check and the request
/// are printed before the program ends.
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

    /// Prints the result of the check.
    void end();

    /// A line to print below the check's own.
    void note(const std::string& text);

    /// Prints how many checks passed. Returns whether all did.
    bool summarize() const;

private:
    std::string m_check; ///< its name
    std::string m_place;
    std::string m_notes; ///< of this check
    std::string m_first; ///< failure of this check
    int m_failures = 0;  ///< of this check
    int m_passedChecks = 0;
    int m_failedChecks = 0;
};

#endif
