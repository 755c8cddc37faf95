// Which replies are data. The driver's loop over a reply must accept what these patterns match, the
// whole reply of the right length, and nothing else.
#include "drivers/kv1000/fourdigits.h"
#include "support/answeringport.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <QRegExp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

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

struct Outcome {
    std::string failure; ///< empty when the reply is data
    QByteArray data;
};

/// What the driver makes of this reply to a read.
Outcome outcomeOf(int type, const char* device, int units, const std::string& reply)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    CommunicatorCommand command;
    command.dataType = type;
    command.address = device;
    command.length = units;
    AnsweringPort port([&reply](const std::string& sent) {
        return sent == "CR\r\n" ? "CC\r\n" : sent == "CQ\r\n" ? "CF\r\n" : reply;
    });
    const QByteArray data = driver->read(&port, command);
    EXPECT_EQ(data.isEmpty(), driver->hasError());
    return {driver->getLastError().toStdString(), data};
}

std::string failureOf(const Form& form, const std::string& reply)
{
    return outcomeOf(form.type, form.device, form.units, reply).failure;
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

/// Replies of many items, asked for one unit an item.
struct LongForm {
    const char* pattern;
    int type;
    const char* device;
    int maxItems;
    std::vector<int> digits; ///< of the fields of an item; 1 for a contact
    int field;               ///< that the request is for
    int bytes;               ///< that it gives, low byte first
};

const LongForm longForms[] = {
    {Bits, DataBit, "MR0", 256, {1}, 0, 1},
    {Triples, DataBit, "T0", 64, {1, 10, 10}, 0, 1},
    {Words, DataWord, "DM0", 256, {5}, 0, 2},
    {Values32, DataDoubleWord, "AT0", 139, {10}, 0, 4},
    {Triples, DataDoubleWord, "C0", 64, {1, 10, 10}, 1, 4},
    {Triples, DataDoubleWord, "TS0", 64, {1, 10, 10}, 2, 4},
};

std::string randomReply(const LongForm& form, int items, std::mt19937& random)
{
    std::string reply;
    for (int i = 0; i < items; ++i) {
        for (int digits : form.digits) {
            for (int k = 0; k < digits; ++k)
                reply += char('0' + random() % (digits == 1 ? 2 : 10));
            reply += ',';
        }
        reply.back() = ' ';
    }
    reply.back() = '\r';
    return reply + '\n';
}

/// Changes up to three bytes, none as often as not.
void damage(std::string& reply, std::mt19937& random)
{
    const std::string likely("0129:/,. \r\nE\0\xB0", 14);
    for (auto changes = random() % 2 * (1 + random() % 3); changes > 0; --changes)
        reply[random() % reply.size()] =
            random() % 2 ? likely[random() % likely.size()] : char(random());
}

QByteArray valuesOf(const LongForm& form, const QString& reply)
{
    QByteArray data;
    for (const QString& item : reply.trimmed().split(' ')) {
        const auto value = std::min(item.split(',').at(form.field).toULongLong(), 0xFFFFFFFFULL);
        for (int byte = 0; byte < form.bytes; ++byte)
            data.append(char(value >> (8 * byte)));
    }
    return data;
}

TEST(Replies, OfManyItemsAreTakenAsThePatternSays)
{
    std::mt19937 random(1);
    const QRegExp refusal("E\\d\\r.*");
    for (const LongForm& form : longForms) {
        const QRegExp pattern(form.pattern);
        int accepted = 0, refused = 0;
        for (int round = 0; round < 500; ++round) {
            const int items = 1 + int(random() % unsigned(form.maxItems));
            std::string reply = randomReply(form, items, random);
            damage(reply, random);
            const QString text = QString::fromLatin1(reply.data(), int(reply.size()));
            if (refusal.exactMatch(text))
                continue;
            const Outcome outcome = outcomeOf(form.type, form.device, items, reply);
            if (pattern.exactMatch(text)) {
                ++accepted;
                ASSERT_EQ(outcome.failure, "") << reply;
                ASSERT_EQ(outcome.data, valuesOf(form, text)) << reply;
            } else {
                ++refused;
                ASSERT_EQ(outcome.failure.find("invalid response"), 0u) << reply;
            }
        }
        EXPECT_GT(std::min(accepted, refused), 100) << form.device;
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
