// Which replies are data. The driver's loop over a reply must accept what these patterns match, the
// whole reply of the right length, and nothing else.
#include "drivers/kv1000/digits.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"

#include <QRegExp>

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>

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
    QByteArray reply; ///< a good one
};

const Form forms[] = {
    {Bits, DataBit, "MR0", 1, "1\r\n"},
    {Bits, DataBit, "MR0", 2, "1 0\r\n"},
    {Words, DataWord, "DM0", 1, "65535\r\n"},
    {Words, DataByte, "DM0", 5, "00001 09876 54321\r\n"},
    {Values32, DataDoubleWord, "AT0", 1, "4294967295\r\n"},
    {Values32, DataWord, "AT0", 4, "0000000001 9876543210\r\n"},
    {Triples, DataBit, "T0", 1, "1,0000000012,0000000100\r\n"},
    {Triples, DataDoubleWord, "C0", 2, "0,0000000012,0000000100 1,9876543210,0123456789\r\n"},
};

/// A controller with one reply to everything between open and close.
class OneReply : public AbstractDeviceInterface
{
public:
    explicit OneReply(const QByteArray& reply)
        : m_reply(reply)
    {
    }
    int read(char* buffer, int maxLength) override
    {
        const int length = qMin(maxLength, m_unread.size());
        std::memcpy(buffer, m_unread.constData(), size_t(length));
        m_unread.remove(0, length);
        return length;
    }
    int write(const char* data, int length) override
    {
        m_unread = data[0] == 'C' ? QByteArray(data[1] == 'R' ? "CC\r\n" : "CF\r\n") : m_reply;
        return length;
    }
    void setOption(int, const QVariant&) override {}
    int retry() override { return 0; }
    int delay() override { return 0; }

private:
    QByteArray m_reply, m_unread;
};

class Replies : public testing::TestWithParam<Form>
{
protected:
    bool isData(const QByteArray& reply)
    {
        CommunicatorCommand command;
        command.dataType = GetParam().type;
        command.address = GetParam().device;
        command.length = GetParam().units;
        OneReply port(reply);
        return !driver->read(&port, command).isEmpty();
    }

    void expectLikePattern(const QByteArray& reply)
    {
        const QString text = QString::fromLatin1(reply.constData());
        ASSERT_EQ(isData(reply), text.size() == reply.size() && pattern.exactMatch(text))
            << reply.toHex(' ').constData();
    }

    std::unique_ptr<DriverInterface> driver{CreateDriver()};
    QRegExp pattern{GetParam().pattern};
};

TEST_P(Replies, WithOneByteChangedAreTakenAsThePatternSays)
{
    ASSERT_TRUE(isData(GetParam().reply));
    for (int place = 0; place < GetParam().reply.size(); ++place)
        for (int byte = 0; byte < 256; ++byte) {
            QByteArray reply = GetParam().reply;
            reply[place] = char(byte);
            expectLikePattern(reply);
        }
}

TEST_P(Replies, OfRandomBytesAreTakenAsThePatternSays)
{
    const QByteArray likely("0123456789 ,\r\nE\0/:\xB2", 19);
    std::mt19937 random(unsigned(testing::UnitTest::GetInstance()->random_seed()));
    for (int i = 0; i < 10000; ++i) {
        QByteArray reply = GetParam().reply;
        for (unsigned changes = random() % 4; changes > 0; --changes)
            reply[int(random() % unsigned(reply.size()))] = likely[int(random() % 19)];
        if (random() % 2)
            std::swap(reply.data()[random() % unsigned(reply.size())],
                      reply.data()[random() % unsigned(reply.size())]);
        expectLikePattern(reply);
    }
}

INSTANTIATE_TEST_SUITE_P(Driver, Replies, testing::ValuesIn(forms));

TEST(Replies, OfThreeBytesAreTakenAsThePatternSays)
{
    const std::unique_ptr<DriverInterface> driver(CreateDriver());
    const QRegExp pattern(Bits);
    const QByteArray bytes("01 29,\r\nEe\0\xB2", 12);
    for (char first : bytes)
        for (char second : bytes)
            for (char third : bytes) {
                const QByteArray reply = QByteArray(1, first) + second + third;
                CommunicatorCommand command;
                command.address = "R0";
                command.length = 1;
                OneReply port(reply);
                const QString text = QString::fromLatin1(reply.constData());
                ASSERT_EQ(!driver->read(&port, command).isEmpty(), pattern.exactMatch(text))
                    << reply.toHex(' ').constData();
            }
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
