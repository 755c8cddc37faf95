// Random device texts against the naming rules of the host link, written down here step by step.
// More of them: --gtest_filter=Naming.* --gtest_repeat=100 --gtest_shuffle
#include "drivers/abstractdeviceinterface.h"
#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <memory>
#include <random>

extern "C" DriverInterface* CreateDriver();

namespace
{

using Text = std::string;

bool begins(const Text& text, const char* capitals)
{
    const size_t length = std::strlen(capitals);
    return text.size() >= length && std::equal(capitals, capitals + length, text.begin(),
                                               [](char a, char b) { return a == toupper(b); });
}

int digitsIn(const Text& text)
{
    return int(std::count_if(text.begin(), text.end(), [](char c) { return isdigit(c); }));
}

Text letters(const Text& text)
{
    return Text(text.begin(), std::find_if_not(text.begin(), text.end(), isalpha));
}

/// The number of digits that an area's numbers have; 0 for none.
int width(const Text& text)
{
    const char first = text.empty() ? '\0' : char(toupper(text[0]));
    const char second = text.size() < 2 ? '\0' : char(toupper(text[1]));
    if (std::strchr("DEFLMR", first) && first)
        return 5;
    if (first == 'A')
        return 1;
    if (first == 'Z')
        return 2;
    const bool numbered = isdigit(second) || second == 'S';
    if (first == 'C')
        return second == 'M' ? 5 : second == 'T' ? 1 : numbered || second == 'R' ? 4 : 0;
    if (first == 'T')
        return second == 'M' ? 3 : numbered ? 4 : 0;
    return 0;
}

/// The m characters at `place` exchanged with the k after them.
void rotate(Text& text, size_t place, int m, int k)
{
    std::rotate(text.begin() + long(place), text.begin() + long(place) + m,
                text.begin() + long(place) + m + k);
}

Text hostLinkText(const Text& source)
{
    if (begins(source, "PCTC"))
        return source.substr(1);
    Text text = source;
    const int w = width(source), d = digitsIn(source);
    if (w > d) {
        text.append(size_t(w - d), '0');
        rotate(text, letters(source).size(), d, w - d);
    }
    const bool setValue = begins(source, "TS") || begins(source, "CS");
    if (!setValue && !begins(source, "R"))
        return text;
    const size_t dropped = setValue ? 1 : 0;
    rotate(text, dropped, 1, w);
    return text.substr(0, dropped + size_t(w));
}

bool holdsWords(const Text& text)
{
    for (const char* area : {"D", "E", "F", "Z", "CM", "TM", "VM"})
        if (begins(text, area))
            return true;
    return false;
}

bool isTimerOrCounter(const Text& text)
{
    for (const char* area : {"T", "C", "CTC", "CTH", "TS", "CS", "PCTC"})
        if (begins(text, area) && letters(text).size() == std::strlen(area))
            return true;
    return false;
}

bool takesWss(const Text& text)
{
    return begins(text, "PCTC") || begins(text, "TS") || begins(text, "CS") ||
           begins(text, "TTC") || begins(text, "CTC");
}

bool fits(const Text& text)
{
    const bool printable =
        std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
    return printable && !text.empty() &&
           text.size() + size_t(std::max(0, width(text) - digitsIn(text))) <= 10;
}

/// Commands for values name CTC where the request says PCTC.
Text valueText(const Text& text)
{
    return hostLinkText(begins(text, "PCTC") ? text.substr(1) : text);
}

// What a request of one bit, or of one word, does: the command it sends and the length of the reply
// it reads, or the text it fails with before it sends anything.

Text bitRead(const Text& text)
{
    return fits(text) ? "RDS " + hostLinkText(text) + " 1\r\n" : "invalid device address: " + text;
}

Text wordRead(const Text& text)
{
    if (!fits(text))
        return "invalid device address: " + text;
    const char* length = holdsWords(text)         ? "7"
                         : begins(text, "AT")     ? "12"
                         : isTimerOrCounter(text) ? "25"
                                                  : nullptr;
    return length ? "RDS " + valueText(text) + " 1\r\n" + length : "can't read word from " + text;
}

Text wordWrite(const Text& text)
{
    if (begins(text, "CTC"))
        return "can't write word to " + text;
    if (!fits(text))
        return "invalid device address: " + text;
    return (takesWss(text) ? "WSS " : "WRS ") + valueText(text) + " 1 " +
           (holdsWords(text) ? "00513" : "0000000513") + "\r\n";
}

/// Opens the link, notes the first command, and answers reads by four zeros and then by nothing.
class NotingPort : public AbstractDeviceInterface
{
public:
    int read(char* buffer, int maxLength) override
    {
        if (command.empty()) {
            std::memcpy(buffer, "CC\r\n", 4);
            return 4;
        }
        asked += maxLength;
        std::memset(buffer, '0', 4);
        return maxLength == 4 && asked == 4 ? 4 : 0;
    }
    int write(const char* data, int length) override
    {
        if (command.empty() && std::strncmp(data, "CR\r", 3) != 0)
            command.assign(data, size_t(length));
        return length;
    }
    void setOption(int, const QVariant&) override {}
    int retry() override { return 0; }
    int delay() override { return 0; }

    Text command;
    int asked = 0; ///< bytes of the reply
};

class Naming : public testing::Test
{
protected:
    CommunicatorCommand request(int type, const Text& device)
    {
        CommunicatorCommand command;
        command.dataType = type;
        command.address = QString::fromLatin1(device.data(), int(device.size()));
        command.length = 1;
        return command;
    }

    /// The command that went out, or the failure when none did.
    Text outcome(const NotingPort& port)
    {
        const QByteArray error = driver->getLastError().toLatin1();
        return port.command.empty() ? Text(error.constData(), size_t(error.size())) : port.command;
    }

    Text randomText()
    {
        static const char* const symbols[] = {"DM", "EM", "FM",  "Z",   "CM", "TM",  "VM",   "AT",
                                              "T",  "C",  "CTC", "CTH", "TS", "CS",  "PCTC", "R",
                                              "MR", "LR", "CR",  "L",   "M",  "TTC", "CT",   "A"};
        Text text = symbols[random() % (sizeof symbols / sizeof *symbols)];
        for (char& c : text)
            if (random() % 4 == 0)
                c = char(tolower(c));
        for (unsigned count = random() % 7; count > 0; --count)
            text += char('0' + random() % 10);
        for (unsigned changes = random() % 3; changes > 0; --changes)
            text.insert(random() % (text.size() + 1), 1,
                        char(random() % 8 ? '!' + random() % 94 : random()));
        return text.substr(random() % 16 ? 0 : random() % text.size());
    }

    std::unique_ptr<DriverInterface> driver{CreateDriver()};
    std::mt19937 random{unsigned(testing::UnitTest::GetInstance()->random_seed())};
};

TEST_F(Naming, OfRandomTextsFollowsTheRules)
{
    for (int i = 0; i < 30000; ++i) {
        const Text text = randomText();
        NotingPort bit, word, write;
        driver->read(&bit, request(DataBit, text));
        ASSERT_EQ(outcome(bit), bitRead(text)) << '"' << text << '"';
        driver->read(&word, request(DataWord, text));
        ASSERT_EQ(outcome(word) + (word.asked ? std::to_string(word.asked) : ""), wordRead(text))
            << '"' << text << '"';
        driver->write(&write, request(DataWord, text), QByteArray("\x01\x02", 2));
        ASSERT_EQ(outcome(write), wordWrite(text)) << '"' << text << '"';
    }
}

} // namespace
