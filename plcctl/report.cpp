#include "report.h"

#include "help.h"

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <unistd.h>

namespace plcctl
{

namespace
{

/// In a terminal of 80 columns, the text fits beside the program's name and below it.
constexpr std::size_t TextWidth = 72;
const char* const Program = "plcctl: ";
const char* const AdviceIndent = "        ";

/// What a person types for a topic.
const char* typed(bench::Topic topic)
{
    switch (topic) {
    case bench::Topic::Port:
        return "--port";
    case bench::Topic::Line:
        return "--line";
    case bench::Topic::Timeout:
        return "--timeout";
    case bench::Topic::Driver:
        return "--driver";
    case bench::Topic::Tags:
        return "--tags";
    case bench::Topic::Resume:
        return "plcctl dump --resume";
    case bench::Topic::Faults:
        return "--fault";
    case bench::Topic::Presets:
        return "--set";
    case bench::Topic::Movements:
        return "--move";
    case bench::Topic::LineSearch:
        return "plcctl scan";
    case bench::Topic::Simulator:
        break;
    }
    return "plcctl simulate";
}

/// As in "--line, --timeout and plcctl scan".
std::string typed(const std::vector<bench::Topic>& topics)
{
    std::string text;
    for (std::size_t i = 0; i < topics.size(); ++i)
        text += (i == 0                   ? ""
                 : i + 1 == topics.size() ? " and "
                                          : ", ") +
                std::string(typed(topics[i]));
    return text;
}

/// Prints a text in lines that fit, the first one after `start` and the others below it.
void printWrapped(const char* start, const std::string& text)
{
    std::istringstream lines(wrapped(text, TextWidth));
    for (std::string line; std::getline(lines, line); start = AdviceIndent)
        std::fprintf(stderr, "%s%s\n", start, line.c_str());
}

/// Refusals have codes that matter; how much of a reply was missing does not.
bool isSame(const bench::Failure& a, const bench::Failure& b)
{
    const bool refused = a.kind() == bench::FailureKind::ControllerRefused;
    return a.kind() == b.kind() && a.advice() == b.advice() &&
           (!refused || std::string(a.what()) == b.what());
}

} // namespace

std::string adviceText(const std::string& advice, const std::vector<bench::Topic>& topics)
{
    return advice + (topics.empty() ? "" : " See " + typed(topics) + ".");
}

void report(const bench::Failure& failure, const std::string& subject)
{
    const std::string options = typed(failure.topics());
    const bool isRefusedText = failure.advice().empty() && !options.empty();
    const std::string& start = isRefusedText ? options : subject;
    note((start.empty() ? "" : start + ": ") + failure.what());
    if (!failure.advice().empty())
        printWrapped(AdviceIndent, adviceText(failure.advice(), failure.topics()));
}

void addFailed(std::vector<FailedPoints>& failed, const bench::Failure& failure,
               const std::string& name)
{
    const auto same = std::find_if(failed.begin(), failed.end(), [&](const FailedPoints& other) {
        return isSame(failure, other.failure);
    });
    if (same == failed.end())
        failed.push_back({failure, name, 1});
    else
        ++same->count;
}

int report(const std::vector<FailedPoints>& failed)
{
    for (const FailedPoints& some : failed)
        report(some.failure, firstAndMore(some.first, some.count));
    return failed.empty() ? Success : bench::exitStatus(failed.front().failure.kind());
}

int report(const std::vector<bench::Reading>& readings,
           const std::function<std::string(std::size_t)>& nameOf)
{
    std::vector<FailedPoints> failed;
    for (std::size_t i = 0; i < readings.size(); ++i)
        if (readings[i].failure)
            addFailed(failed, *readings[i].failure, nameOf(i));
    return report(failed);
}

// In a log a message stays a line.
void note(const std::string& text)
{
    if (isatty(STDERR_FILENO))
        printWrapped(Program, bench::visible(text));
    else
        std::fprintf(stderr, "%s%s\n", Program, bench::visible(text).c_str());
}

void printTrace(const std::string& line)
{
    std::fprintf(stderr, "%s\n", line.c_str());
}

} // namespace plcctl
