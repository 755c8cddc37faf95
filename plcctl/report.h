// How failures and texts from outside are shown to the person who typed the command.
#ifndef PLCCTL_REPORT_H
#define PLCCTL_REPORT_H

#include "bench/failure.h"
#include "bench/nearest.h"
#include "bench/plan.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace plcctl
{

/// What the program ends with after success; bench::exitStatus() has the others.
constexpr int Success = 0;

/// Advice, and where the person finds more.
std::string adviceText(const std::string& advice, const std::vector<bench::Topic>& topics);

/// Prints the failure and its advice on standard error.
///
/// subject  what it happened to, such as a device; may be empty
void report(const bench::Failure& failure, const std::string& subject = std::string());

/// A failure and the points that it hit.
struct FailedPoints {
    bench::Failure failure;
    std::string first;
    std::size_t count;
};

/// Adds a point to the failure of the same cause, or begins a new one.
void addFailed(std::vector<FailedPoints>& failed, const bench::Failure& failure,
               const std::string& name);

/// Prints them. Returns the exit status of the first; Success for none.
int report(const std::vector<FailedPoints>& failed);

/// The same for the failures among readings.
///
/// nameOf  names the point of a reading
int report(const std::vector<bench::Reading>& readings,
           const std::function<std::string(std::size_t)>& nameOf);

/// Prints one line on standard error, with the program's name before it.
void note(const std::string& text);

/// Prints a line of a trace, which stands as it is, on standard error.
void printTrace(const std::string& line);

using bench::counted;
using bench::firstAndMore;

} // namespace plcctl

#endif
