// Plays the stories of transcripts.txt against a driver from CreateDriver, through the interface
// alone.
#include "support/portcalls.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <QRegularExpression>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>

extern "C" DriverInterface* CreateDriver();

namespace
{

struct Story {
    std::string name;
    std::string request;
    std::vector<std::string> calls;
    std::string outcome;
};

void PrintTo(const Story& story, std::ostream* out)
{
    *out << story.name;
}

/// The calls that one item of a story stands for; see the head of transcripts.txt.
QStringList callsOf(const QString& item)
{
    if (item == "open")
        return callsOf(R"(ask CR -> "CC\r\n")");
    if (item == "close")
        return callsOf(R"(ask CQ -> "CF\r\n")");
    static const QRegularExpression exchange("^(ask|tell) (.*) -> (.*)$");
    static const QRegularExpression reply(R"rx(("[^"]*")( as -?\d+)?(?: of (\d+))?)rx");
    const QRegularExpressionMatch parts = exchange.match(item);
    if (!parts.hasMatch())
        return {item};

    QStringList calls;
    if (parts.captured(1) == "ask")
        calls << "option 12 0";
    calls << "write \"" + parts.captured(2) + R"(\r\n")";
    for (auto replies = reply.globalMatch(parts.captured(3)); replies.hasNext();) {
        const QRegularExpressionMatch one = replies.next();
        const int length = unquoted(one.captured(1).toStdString()).size();
        const QString asked = one.captured(3).isEmpty() ? QString::number(length) : one.captured(3);
        calls << "read " + asked + " " + one.captured(1) + one.captured(2);
    }
    return calls;
}

void addCalls(const QString& item, std::vector<std::string>& calls)
{
    for (const QString& call : callsOf(item))
        calls.push_back(call.toStdString());
}

void addLine(Story& story, const std::string& line)
{
    if (story.request.empty())
        story.request = line;
    else if (line[0] == '=' || line[0] == '!')
        story.outcome = line;
    else
        for (const QString& item : QString::fromStdString(line).split("; "))
            addCalls(item, story.calls);
}

std::vector<Story> readStories()
{
    std::ifstream file(TRANSCRIPTS);
    std::vector<Story> stories;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line[0] == '#')
            continue;
        if (line[0] != ' ')
            stories.push_back({line, "", {}, ""});
        else
            addLine(stories.back(), line.substr(line.find_first_not_of(' ')));
    }
    return stories;
}

int dataTypeNamed(const std::string& name)
{
    static const std::map<std::string, int> types = {
        {"bit", DataBit},          {"byte", DataByte},     {"word", DataWord},
        {"dword", DataDoubleWord}, {"quad", DataQuadWord}, {"block", DataBlock},
        {"group", DataBitGroup},
    };
    const auto type = types.find(name);
    return type == types.end() ? std::stoi(name) : type->second;
}

std::string failure(DriverInterface& driver)
{
    const std::string text = quoted(driver.getLastError().toLatin1());
    return "! " + text.substr(1, text.size() - 2);
}

/// What a person would say of the request's result, in the words of the stories.
std::string outcomeOf(DriverInterface& driver, AbstractDeviceInterface& port,
                      const std::string& request)
{
    std::istringstream words(request);
    std::string verb, type, device, rest;
    words >> verb >> type >> device;
    std::getline(words, rest);

    CommunicatorCommand command;
    command.dataType = dataTypeNamed(type);
    command.address = QString::fromStdString(device);
    if (verb == "write") {
        const bool written = driver.write(&port, command, QByteArray::fromHex(rest.c_str()));
        return driver.hasError() ? (written ? "written?" : failure(driver))
                                 : (written ? "= ok" : "= false");
    }
    command.length = std::stoi(rest);
    const QByteArray data = driver.read(&port, command);
    if (driver.hasError())
        return data.isEmpty() ? failure(driver) : "data in spite of an error";
    return data.isEmpty() ? "= nothing" : "= " + data.toHex(' ').toUpper().toStdString();
}

std::string lines(const std::vector<std::string>& calls)
{
    std::string text;
    for (const std::string& call : calls)
        text += call + "\n";
    return text;
}

/// A driver that has read before: nothing of the earlier request may show in the story's.
class Transcript : public testing::TestWithParam<Story>
{
protected:
    void SetUp() override
    {
        ScriptedPort port({"delay", "option 12 0", R"(write "CR\r\n")", R"(read 4 "CC\r\n")",
                           "option 12 0", R"(write "RDS DM00000 2\r\n")", R"(read 4 "1234")",
                           R"(read 9 "5 54321\r\n")"});
        EXPECT_EQ(outcomeOf(*driver, port, "read word DM0 2"), "! packet loss");
    }

    std::unique_ptr<DriverInterface> driver{CreateDriver()};
};

class CutTranscript : public Transcript
{
};

TEST_P(Transcript, IsFollowedCallByCall)
{
    const Story& story = GetParam();
    ScriptedPort port(story.calls);
    const std::string outcome = outcomeOf(*driver, port, story.request);
    EXPECT_EQ(lines(port.calls()), lines(story.calls));
    EXPECT_EQ(outcome, story.outcome);
}

TEST_P(CutTranscript, GivesNoResult)
{
    const Story& story = GetParam();
    for (size_t i = 0; i < story.calls.size(); ++i) {
        if (story.calls[i].compare(0, 5, "read ") != 0)
            continue;
        const QByteArray whole = unquoted(story.calls[i]);
        for (int length = 0; length < whole.size(); ++length) {
            std::vector<std::string> calls(story.calls.begin(), story.calls.begin() + long(i));
            calls.push_back("read " + std::to_string(whole.size()) + " " +
                            quoted(whole.left(length)));
            ScriptedPort port(calls);
            // A story with retries of its own goes on trying, and fails in silence.
            EXPECT_EQ(outcomeOf(*driver, port, story.request), "! packet loss")
                << "call " << i << " cut to " << length << " bytes";
        }
    }
}

bool beginsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

std::string answer(const std::string& readCall, const QByteArray& bytes)
{
    return readCall.substr(0, readCall.find('"')) + quoted(bytes);
}

/// What can go wrong at one read of a story.
struct Fault {
    const char* name;
    QByteArray (*bytes)(const QByteArray& whole);
    const char* outcome;
    bool onlyFirstOfAReply;   ///< meant for the read that begins a reply
    bool goodEnoughForWrites; ///< what answers a write of values is only screened for errors
    const char* count = "";   ///< what the port claims to have read, if not the number of bytes
};

const Fault faults[] = {
    {"silence", [](const QByteArray&) { return QByteArray(); }, "! packet loss", false, false},
    {"one byte short", [](const QByteArray& whole) { return whole.left(whole.size() - 1); },
     "! packet loss", false, false},
    {"error reply", [](const QByteArray& whole) { return QByteArray("E1\r\n").left(whole.size()); },
     "! Response During an Error:E1\\r", true, false},
    {"more than asked for", [](const QByteArray& whole) { return whole; }, "! packet loss", false,
     false, " as 10000"},
    {"a negative count", [](const QByteArray& whole) { return whole; }, "! packet loss", false,
     false, " as -1"},
    {"garbage", [](const QByteArray& whole) { return QByteArray(whole.size(), '#'); },
     "! invalid response", false, true},
    {"NUL bytes", [](const QByteArray& whole) { return QByteArray(whole.size(), '\0'); },
     "! invalid response", false, true},
};

/// The story up to the read at `step`, that read gone wrong, and what the driver does about it.
std::vector<std::string> faultyAttempt(const Story& story, size_t step, const Fault& fault)
{
    const std::string& command = story.calls[step - 1];
    const QByteArray whole = unquoted(story.calls[step]);
    std::vector<std::string> calls(story.calls.begin(), story.calls.begin() + long(step));
    calls.push_back(answer(story.calls[step], fault.bytes(whole)) + fault.count);
    const bool restFollows =
        step + 1 < story.calls.size() && beginsWith(story.calls[step + 1], "read ");
    if (fault.goodEnoughForWrites && restFollows) // the rest is fetched before the whole is judged
        calls.push_back(story.calls[step + 1]);
    const bool ofTheLink = command == R"(write "CR\r\n")" || command == R"(write "CQ\r\n")";
    if (fault.onlyFirstOfAReply && !ofTheLink) {
        if (whole.size() == 3)
            calls.push_back(R"(read 1 "\n")");
        addCalls("close", calls);
    }
    return calls;
}

class FaultMatrix : public Transcript
{
protected:
    void play(const Story& story, size_t step, const Fault& fault)
    {
        SCOPED_TRACE(std::string(fault.name) + " at call " + std::to_string(step) + ": " +
                     story.calls[step]);
        std::vector<std::string> calls = faultyAttempt(story, step, fault);
        calls.push_back("retry 0");
        ScriptedPort strict(calls);
        const std::string outcome = outcomeOf(*driver, strict, story.request);
        EXPECT_TRUE(beginsWith(outcome, fault.outcome)) << outcome;
        EXPECT_EQ(lines(strict.calls()), lines(calls));

        calls.back() = "retry 2";
        calls.insert(calls.end(), story.calls.begin(), story.calls.end());
        ScriptedPort patient(calls);
        EXPECT_EQ(outcomeOf(*driver, patient, story.request), story.outcome);
        EXPECT_EQ(lines(patient.calls()), lines(calls));
    }
};

TEST_P(FaultMatrix, FailsAloneAndRecoversWithRetries)
{
    const Story& story = GetParam();
    for (size_t step = 0; step < story.calls.size(); ++step) {
        if (!beginsWith(story.calls[step], "read "))
            continue;
        const std::string& before = story.calls[step - 1];
        const bool beginsReply = beginsWith(before, "write ");
        const bool ofValues = beginsWith(before, "write \"W");
        for (const Fault& fault : faults)
            if ((beginsReply || !fault.onlyFirstOfAReply) &&
                !(ofValues && fault.goodEnoughForWrites))
                play(story, step, fault);
    }
}

std::vector<Story> storiesWhere(bool (*chosen)(const Story&))
{
    std::vector<Story> all = readStories();
    std::vector<Story> stories;
    std::copy_if(all.begin(), all.end(), std::back_inserter(stories), chosen);
    return stories;
}

bool succeeds(const Story& story)
{
    return story.outcome[0] == '=';
}

bool succeedsAtOnce(const Story& story)
{
    const auto isRetry = [](const std::string& call) { return beginsWith(call, "retry"); };
    return succeeds(story) && std::none_of(story.calls.begin(), story.calls.end(), isRetry);
}

std::string testName(const testing::TestParamInfo<Story>& info)
{
    std::string name = info.param.name;
    for (char& c : name)
        c = isalnum(static_cast<unsigned char>(c)) ? c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Driver, Transcript, testing::ValuesIn(readStories()), testName);
INSTANTIATE_TEST_SUITE_P(Driver, CutTranscript, testing::ValuesIn(storiesWhere(succeeds)),
                         testName);
INSTANTIATE_TEST_SUITE_P(Driver, FaultMatrix, testing::ValuesIn(storiesWhere(succeedsAtOnce)),
                         testName);

} // namespace
