#include "report.h"

#include "help.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace plcctl
{

namespace
{

/// Beside an indent, in a terminal of 80 columns.
constexpr std::size_t AdviceWidth = 72;

/// The options that the advice speaks of.
std::string optionsFor(bench::FailureKind kind)
{
    if (kind == bench::FailureKind::NoReply)
        return " See --line and --timeout.";
    return kind == bench::FailureKind::InvalidReply ? " See --line." : "";
}

/// Refusals have codes that matter; how much of a reply was missing does not.
bool isSame(const bench::Failure& a, const bench::Failure& b)
{
    const bool refused = a.kind() == bench::FailureKind::ControllerRefused;
    return a.kind() == b.kind() && (!refused || std::string(a.what()) == b.what());
}

} // namespace

void report(const bench::Failure& failure, const std::string& subject)
{
    note((subject.empty() ? "" : subject + ": ") + failure.what());
    if (failure.advice().empty())
        return;
    std::istringstream advice(wrapped(failure.advice() + optionsFor(failure.kind()), AdviceWidth));
    for (std::string line; std::getline(advice, line);)
        std::fprintf(stderr, "        %s\n", line.c_str());
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

std::string firstAndMore(const std::string& first, std::size_t count)
{
    return first + (count > 1 ? " and " + std::to_string(count - 1) + " more" : "");
}

void note(const std::string& text)
{
    std::fprintf(stderr, "plcctl: %s\n", escaped(text).c_str());
}

std::string escaped(const std::string& text)
{
    std::string shown;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        char code[8];
        if (c == '\r') {
            shown += "\\r";
        } else if (c == '\n') {
            shown += "\\n";
        } else if (byte < 0x20 || byte == 0x7F) {
            std::snprintf(code, sizeof code, "\\x%02X", byte);
            shown += code;
        } else {
            shown += c;
        }
    }
    return shown;
}

} // namespace plcctl
