#include "report.h"

#include "help.h"

#include <cstdio>
#include <sstream>

namespace plcctl
{

namespace
{

/// Beside an indent, in a terminal of 80 columns.
constexpr std::size_t AdviceWidth = 72;

} // namespace

void report(const bench::Failure& failure, const std::string& subject)
{
    note((subject.empty() ? "" : subject + ": ") + failure.what());
    std::istringstream advice(wrapped(failure.advice(), AdviceWidth));
    for (std::string line; std::getline(advice, line);)
        std::fprintf(stderr, "        %s\n", line.c_str());
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

std::string counted(std::size_t count, const std::string& thing)
{
    return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

} // namespace plcctl
