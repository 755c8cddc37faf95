// Which replies are data. The driver's loop over a reply must accept what these patterns match, the
// whole reply of the right length, and nothing else. fuzz/kv1000.cpp does the same with long ones.
#include "drivers/kv1000/fourdigits.h"
#include "support/answeringport.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <QRegExp>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

extern "C" DriverInterface* CreateDriver();

namespace
{

const char Bits[] = "[01](?: [01])*\\x0D\\x0A";
const char Words[] = "\\d{5}(?: \\d{5})*\\x0D\\x0A";
const char Values32[] = "\\d{10}(?: \\d{10})*\\x0D\\x0A";
const char Triples[] = "[01],\\d{10},\\d{10}(?: [01],\\d{10},\\d{10})*\\x0D\\x0A";

struct Form {
    const char* pattern;
    int type;
    const char* device;
    int units;
    std::string reply; ///< a good one
    const char* failure;
};

const Form forms[] = {
    {Bits, DataBit, "MR0", 1, "1\r\n", "invalid response2"},
    {Bits, DataBit, "MR0", 2, "1 0\r\n", "invalid response2"},
    {Triples, DataBit, "T0", 1, "1,0000000012,0000000100\r\n", "invalid response3"},
    {Words, DataWord, "DM0", 1, "65535\r\n", "invalid response"},
    {Words, DataByte, "DM0", 5, "00001 09876 54321\r\n", "invalid response:"},
    {Words, DataDoubleWord, "DM0", 1, "00001 65535\r\n", "invalid response1"},
    {Values32, DataWord, "AT0", 4, "0000000001 9876543210\r\n", "invalid response"},
    {Values32, DataByte, "AT0", 1, "0000000001\r\n", "invalid response"},
    {Values32, DataDoubleWord, "AT0", 1, "4294967295\r\n", "invalid response2"},
    {Triples, DataWord, "T0", 1, "1,0000000012,0000000100\r\n", "invalid response"},
    {Triples, DataBlock, "TS0", 1, "1,0000000012,0000000100\r\n", "invalid response"},
    {Triples, DataDoubleWord, "C0", 2, "0,0000000012,0000000100 1,9876543210,0123456789\r\n",
     "invalid response3"},
};

/// The error text of a read that gets this reply; empty when the reply is data.
std::string failureOf(const Form& form, const std::string& reply)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    CommunicatorCommand command;
    command.dataType = form.type;
    command.address = form.device;
    command.length = form.units;
    AnsweringPort port([&reply](const std::string& sent) {
        return sent == "CR\r\n" ? "CC\r\n" : sent == "CQ\r\n" ? "CF\r\n" : reply;
    });
    const QByteArray data = driver->read(&port, command);
    EXPECT_EQ(data.isEmpty(), driver->hasError());
    return driver->getLastError().toStdString();
}

TEST(Replies, WithOneByteChangedAreTakenAsThePatternSays)
{
    for (const Form& form : forms) {
        SCOPED_TRACE(std::string(form.device) + ": " + form.reply);
        const QRegExp pattern(form.pattern);
        for (size_t place = 0; place < form.reply.size(); ++place) {
            for (int byte = 0; byte < 256; ++byte) {
                std::string reply = form.reply;
                reply[place] = char(byte);
                const QString text = QString::fromLatin1(reply.data(), int(reply.size()));
                ASSERT_EQ(failureOf(form, reply), pattern.exactMatch(text) ? "" : form.failure)
                    << qPrintable(text);
            }
        }
    }
}

TEST(Replies, ThatOnlyLookLikeErrorRepliesAreInvalid)
{
    EXPECT_EQ(failureOf(forms[0], "EA\r"), "invalid response2");
    EXPECT_EQ(failureOf(forms[3], "EA\r\n001"), "invalid response");
    EXPECT_EQ(failureOf(forms[3], "e1\r\n001"), "invalid response");
}

TEST(Digits, FourAtATimeAreThoseReadOneByOne)
{
    const auto plain = [](const char* text, bool* good) {
        quint32 number = 0;
        for (int i = 0; i < 4; ++i) {
            *good = *good && text[i] >= '0' && text[i] <= '9';
            number = number * 10 + quint32(text[i] - '0');
        }
        return number;
    };
    const auto expectPlain = [&](const char* text) {
        bool good = true;
        quint32 bad = 0;
        const quint32 number = plain(text, &good);
        const quint32 fast = kv1000::fourDigits(text, &bad);
        ASSERT_EQ(bad == 0, good) << QByteArray(text, 4).toHex().constData();
        ASSERT_EQ(good ? fast : 0, good ? number : 0);
    };

    for (quint32 number = 0; number < 10000; ++number) {
        char text[5];
        std::snprintf(text, sizeof text, "%04u", number);
        expectPlain(text);
        char written[4];
        kv1000::putFourDigits(written, number);
        ASSERT_EQ(std::memcmp(written, text, 4), 0) << text;
    }
    // Every byte beside bytes at both ends of the digits, and of all bytes.
    const char edges[] = {'0', '9', '/', ':', '\0', '\xFF'};
    for (int byte = 0; byte < 256; ++byte)
        for (char edge : edges)
            for (int place = 0; place < 4; ++place) {
                char text[4] = {edge, edge, edge, edge};
                text[place] = char(byte);
                expectPlain(text);
            }
}

} // namespace
