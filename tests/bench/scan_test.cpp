// Which settings of a line are tried, and which of them count as found.
#include "bench/scan.h"

#include <gtest/gtest.h>

#include <map>

using namespace bench;

namespace
{

using Texts = std::vector<std::string>;

host::LineSettings line(const std::string& text)
{
    QString error;
    return host::lineSettingsFromText("RS232," + QString::fromStdString(text), &error).value();
}

std::string shortTextOf(const host::LineSettings& line)
{
    return host::textOf(line).mid(6).toStdString();
}

TEST(Scan, TriesThePreferredLineThenItsSpeedsThenOtherForms)
{
    const struct {
        const char* preferred;
        Texts first;
        std::size_t count;
        std::size_t place; ///< of the text after it
        const char* other;
    } rows[] = {
        {"9600,EVEN,8,1", {"9600,EVEN,8,1", "19200,EVEN,8,1"}, 64, 8, "9600,NONE,8,1"},
        {"19200,NONE,8,1", {"19200,NONE,8,1", "9600,NONE,8,1"}, 64, 8, "19200,EVEN,8,1"},
        {"300,MARK,7,2", {"300,MARK,7,2", "9600,MARK,7,2"}, 81, 9, "300,EVEN,8,1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.preferred);
        std::map<std::string, int> seen;
        Texts lines;
        for (const host::LineSettings& tried : linesToTry(line(row.preferred))) {
            lines.push_back(shortTextOf(tried));
            EXPECT_EQ(++seen[lines.back()], 1) << lines.back();
        }
        ASSERT_EQ(lines.size(), row.count);
        EXPECT_EQ(Texts(lines.begin(), lines.begin() + 2), row.first);
        EXPECT_EQ(lines[row.place], row.other);
    }
}

ProbeOutcome outcomeOf(char letter)
{
    return letter == 'a'   ? ProbeOutcome::Answered
           : letter == 'r' ? ProbeOutcome::Refused
           : letter == 'g' ? ProbeOutcome::Garbled
           : letter == 'x' ? ProbeOutcome::NotPossible
                           : ProbeOutcome::NoReply;
}

TEST(Scan, FindsWhatAnswersAndIsConfirmed)
{
    // Outcomes of one read after the other at 9600, 19200 and 38400 baud.
    const struct {
        const char* name;
        Texts outcomes;
        bool all;
        Texts found; ///< speed, answers of reads
        int probes;
    } rows[] = {
        {"Nothing", {"-", "-", "-"}, false, {}, 3},
        {"NoiseIsNoAnswer", {"g", "g", "x"}, false, {}, 3},
        {"TheFirst", {"aaaa", "aaaa", "-"}, false, {"9600 4/4"}, 4},
        {"ARefusal", {"-", "rrrr", "-"}, false, {"19200 4/4"}, 5},
        {"AWeakLine", {"-", "a-ga", "-"}, false, {"19200 2/4"}, 5},
        {"OnceAndNeverAgain", {"a-g-", "aaaa", "-"}, false, {"19200 4/4"}, 8},
        {"All", {"aaaa", "g", "arar"}, true, {"9600 4/4", "38400 4/4"}, 9},
    };
    const std::vector<host::LineSettings> lines = {line("9600,EVEN,8,1"), line("19200,EVEN,8,1"),
                                                   line("38400,EVEN,8,1")};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::map<int, std::string> left = {
            {9600, row.outcomes[0]}, {19200, row.outcomes[1]}, {38400, row.outcomes[2]}};
        int probes = 0;
        const Probe probe = [&](const host::LineSettings& tried) {
            ++probes;
            std::string& outcomes = left[tried.baud];
            const char next = outcomes.empty() ? '-' : outcomes[0];
            outcomes.erase(0, 1);
            return ProbeResult{outcomeOf(next), std::chrono::milliseconds(10 * probes)};
        };
        ScanOptions options;
        options.all = row.all;
        options.moreReads = 3;
        Texts found;
        for (const FoundLine& one : scan(lines, options, probe))
            found.push_back(std::to_string(one.line.baud) + " " + std::to_string(one.answers) +
                            "/" + std::to_string(one.reads));
        EXPECT_EQ(found, row.found);
        EXPECT_EQ(probes, row.probes);
    }
}

TEST(Scan, EndsWhenItIsStopped)
{
    int probes = 0;
    ScanEvents events;
    events.isStopped = [&] { return probes == 3; };
    const Probe probe = [&](const host::LineSettings&) {
        ++probes;
        return ProbeResult{};
    };
    EXPECT_STREQ(
        linesToTry({9600, host::Parity::Even, 8, host::StopBits::One, "RS485"}).back().kind,
        "RS485");
    EXPECT_TRUE(scan(linesToTry(host::LineSettings()), ScanOptions(), probe, events).empty());
    EXPECT_EQ(probes, 3);
}

} // namespace
