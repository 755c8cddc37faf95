// The one table of error texts, and how failures are shown.
#include "failure.h"

#include "help.h"

#include <cstdio>
#include <sstream>

namespace plcctl
{

namespace
{

/// Beside an indent, in a terminal of 80 columns.
constexpr std::size_t AdviceWidth = 72;

/// The start of a driver's error text and what it means to the person at the keyboard.
struct Meaning {
    const char* start;
    ExitStatus status;
    const char* advice;
};

// The first row that fits counts; the last one fits every text.
const Meaning meanings[] = {
    {"Response During an Error:", ControllerRefused,
     "The line works, but the controller refused the command. Check that the device exists in this "
     "controller, and the last one of the run too."},
    {"packet loss", NoReply,
     "No complete reply came in time. Check cable, power and --line (speed, parity), or allow more "
     "time with --timeout."},
    {"invalid response", InvalidReply,
     "Something answered, but not as this controller does. Check --line (speed, parity), --port, "
     "and that nobody else uses the line."},
    {"invalid device address: ", WrongUsage,
     "Nothing was sent. The driver knows no such device, or the run ends outside its area. A "
     "device "
     "is an area and a number, such as DM100."},
    {"can't read word from ", WrongUsage,
     "Nothing was sent. This area holds no numbers; relays want --type bit."},
    {"can't write word to ", WrongUsage,
     "Nothing was sent. Write the set value of CTC1 as PCTC1, and its contact with --type bit."},
    {"can't write bit to ", WrongUsage,
     "Nothing was written. Bits can be written to R, MR, LR, CR, T, C and CTC; write words, such "
     "as DM, with --type word."},
    {"", ControllerRefused, "The request failed; the driver tells no more than this."},
};

const Meaning& meaningOf(const QString& errorText)
{
    const Meaning* meaning = meanings;
    while (!errorText.startsWith(QLatin1String(meaning->start)))
        ++meaning;
    return *meaning;
}

} // namespace

Failure::Failure(ExitStatus status, const std::string& text, const std::string& advice)
    : std::runtime_error(text)
    , m_status(status)
    , m_advice(advice)
{
}

Failure driverFailure(const QString& errorText)
{
    const Meaning& meaning = meaningOf(errorText);
    return Failure(meaning.status, errorText.toStdString(), meaning.advice);
}

void report(const Failure& failure, const std::string& subject)
{
    const std::string text = (subject.empty() ? "" : subject + ": ") + failure.what();
    std::fprintf(stderr, "plcctl: %s\n", escaped(text).c_str());
    std::istringstream advice(wrapped(failure.advice(), AdviceWidth));
    for (std::string line; std::getline(advice, line);)
        std::fprintf(stderr, "        %s\n", line.c_str());
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
