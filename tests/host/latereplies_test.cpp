// Replies that come late, in virtual time: a port with a controller below it whose every answer
// tells which request it belongs to. No value may reach another request, however late the replies
// are, and the line must come back once they are in time again.
#include "host/port.h"
#include "virtualtransport.h"

#include "drivers/portoptions.h"

#include <QHash>
#include <QVariant>

#include <gtest/gtest.h>

#include <random>

namespace
{

constexpr int TimeoutMs = 100;
constexpr qint64 PromptMs = 5;

using Order = VirtualLine::Order;
using Random = std::mt19937;

int between(Random& random, int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(random);
}

/// What the controller holds in a device; it follows from the number alone.
int heldIn(int device)
{
    return static_cast<int>(qHash(device, 1) % 65536);
}

/// "12345" is answered by the word in that device: "00042\r\n".
QByteArray answer(const QByteArray& command)
{
    return QByteArray::number(heldIn(command.toInt())).rightJustified(5, '0') + "\r\n";
}

/// The word in `device`, in two steps as drivers read, or -1 after a failure.
int readWord(host::Port& port, int device)
{
    const QByteArray command = QByteArray::number(device);
    for (int repeats = 0;; ++repeats) {
        char reply[7] = {};
        port.setOption(DiscardUnreadInput, QVariant(0));
        port.write(command.constData(), command.size());
        if (port.read(reply, 4) == 4 && port.read(reply + 4, 3) == 3 && reply[5] == '\r' &&
            reply[6] == '\n')
            return QByteArray(reply, 5).toInt();
        if (repeats >= port.retry())
            return -1;
    }
}

struct Tally {
    int right = 0;
    int wrong = 0;
};

/// A controller, and requests to it, each for another device.
class Station
{
public:
    Station(Order order, int retry, unsigned seed)
        : random(seed)
        , m_retry(retry)
    {
        line.answer = answer;
        line.order = order;
        line.byteGapMs = seed % 2;
        answerInTime();
    }

    void answerInTime()
    {
        line.latenessMs = [] { return PromptMs; };
    }

    std::unique_ptr<host::Port> makePort()
    {
        return std::make_unique<host::Port>(std::make_unique<VirtualTransport>(line),
                                            host::ExchangeSettings{TimeoutMs, m_retry, 0});
    }

    Tally read(host::Port& port, int requests)
    {
        Tally tally;
        for (int i = 0; i < requests; ++i) {
            const int device = between(random, 10000, 65534);
            const int word = readWord(port, device);
            if (word >= 0)
                ++(word == heldIn(device) ? tally.right : tally.wrong);
        }
        return tally;
    }

    /// As read(), with a new port for each request, like a program that is started for each.
    Tally readAnew(int requests)
    {
        Tally tally;
        for (int i = 0; i < requests; ++i) {
            line.nowMs += between(random, 0, 3 * TimeoutMs);
            const auto port = makePort();
            const Tally one = read(*port, 1);
            tally.right += one.right;
            tally.wrong += one.wrong;
        }
        return tally;
    }

    VirtualLine line;
    Random random;

private:
    int m_retry;
};

using Lateness = std::function<qint64()>;

/// `latePercent` of the replies are up to 4 time-outs late, and `lostPercent` are lost.
Lateness mixture(Random& random, int latePercent, int lostPercent)
{
    return [&random, latePercent, lostPercent]() -> qint64 {
        const int percent = between(random, 1, 100);
        if (percent <= lostPercent)
            return VirtualLine::Never;
        return percent <= lostPercent + latePercent ? between(random, TimeoutMs, 4 * TimeoutMs)
                                                    : PromptMs;
    };
}

const struct Plan {
    const char* name;
    Lateness (*lateness)(Random& random);
} plans[] = {
    {"AllLate",
     [](Random& random) -> Lateness {
         return [lateMs = between(random, TimeoutMs, 4 * TimeoutMs)] { return lateMs; };
     }},
    {"ManyLate", [](Random& random) { return mixture(random, 20, 0); }},
    {"LateAndLost", [](Random& random) { return mixture(random, 20, 10); }},
    {"AnyLateness",
     [](Random& random) -> Lateness {
         return [&random] { return between(random, 0, 4 * TimeoutMs); };
     }},
    {"LateForAWhile",
     [](Random& random) -> Lateness {
         return [&random, lateMs = PromptMs]() mutable {
             if (between(random, 1, 20) == 1)
                 lateMs =
                     between(random, 0, 1) ? PromptMs : between(random, TimeoutMs, 4 * TimeoutMs);
             return lateMs;
         };
     }},
};

class LateReplies : public testing::TestWithParam<Plan>
{
protected:
    /// Calls `play` with every order and number of repeats.
    template <typename Play>
    void playAll(Play play)
    {
        for (Order order : {Order::OneAtATime, Order::InOrder, Order::AnyOrder}) {
            for (unsigned seed = 0; seed < 30; ++seed) {
                SCOPED_TRACE(testing::Message()
                             << "order " << static_cast<int>(order) << ", seed " << seed);
                Station station(order, static_cast<int>(seed % 4), seed);
                play(station);
            }
        }
    }
};

INSTANTIATE_TEST_SUITE_P(, LateReplies, testing::ValuesIn(plans),
                         [](const auto& info) { return info.param.name; });

TEST_P(LateReplies, NeverReachAnotherRequest)
{
    playAll([](Station& station) {
        const auto port = station.makePort();
        EXPECT_EQ(station.read(*port, 10).right, 10);
        station.line.latenessMs = GetParam().lateness(station.random);
        EXPECT_EQ(station.read(*port, 100).wrong, 0);
        station.answerInTime();
        EXPECT_EQ(station.read(*port, 20).wrong, 0);
        EXPECT_EQ(station.read(*port, 10).right, 10);
    });
}

TEST_P(LateReplies, NeverReachAnotherPort)
{
    playAll([](Station& station) {
        station.line.latenessMs = GetParam().lateness(station.random);
        EXPECT_EQ(station.readAnew(30).wrong, 0);
    });
}

/// No number of losses proves that the next reply is not late.
TEST(LateRepliesAtLength, NeverReachAnotherRequestAfterManyLosses)
{
    for (unsigned seed = 0; seed < 20; ++seed) {
        Station station(Order::OneAtATime, 0, seed);
        int replies = 0;
        station.line.latenessMs = [&]() -> qint64 {
            if (between(station.random, 1, 10) > 1)
                return PromptMs;
            return ++replies <= 300 ? VirtualLine::Never
                                    : between(station.random, TimeoutMs, 3 * TimeoutMs / 2);
        };
        const auto port = station.makePort();
        EXPECT_EQ(station.read(*port, 5000).wrong, 0) << "seed " << seed;
    }
}

/// A port on a line in virtual time, called as drivers call it.
class PortInVirtualTime : public testing::Test
{
protected:
    void SetUp() override
    {
        line.answer = [](const QByteArray& command) { return command; };
        line.latenessMs = [this] { return latenessMs; };
        auto made = std::make_unique<VirtualTransport>(line);
        transport = made.get();
        port =
            std::make_unique<host::Port>(std::move(made), host::ExchangeSettings{TimeoutMs, 1, 0});
    }

    void discardUnreadInput() { port->setOption(DiscardUnreadInput, QVariant(0)); }
    bool write(const QByteArray& bytes)
    {
        return port->write(bytes.constData(), bytes.size()) == bytes.size();
    }
    QByteArray read(int count)
    {
        QByteArray bytes(count, '?');
        return bytes.left(port->read(bytes.data(), count));
    }
    QByteArray exchange(const QByteArray& command)
    {
        write(command);
        return read(command.size());
    }

    qint64 latenessMs = PromptMs;
    VirtualLine line;
    VirtualTransport* transport = nullptr;
    std::unique_ptr<host::Port> port;
};

TEST_F(PortInVirtualTime, OneDeadlineHoldsForAllBytes)
{
    line.byteGapMs = 40;
    line.send("CC\r\n", 40);
    EXPECT_EQ(read(4), "CC");
    EXPECT_EQ(line.nowMs, TimeoutMs);
    EXPECT_EQ(port->lastFailure(), "2 of 4 bytes within 100 ms");
    EXPECT_FALSE(port->isBroken());
}

TEST_F(PortInVirtualTime, TheTimeoutBeginsWhenTheBytesAreThrough)
{
    transport->msPerByte = 10;
    latenessMs = VirtualLine::Never;
    EXPECT_EQ(exchange("CR\r\n"), "");
    EXPECT_EQ(line.nowMs, 40 + TimeoutMs + 40);
}

TEST_F(PortInVirtualTime, ARefusalCostsNoTime)
{
    EXPECT_EQ(exchange("E1\r\n"), "E1\r\n");
    EXPECT_EQ(port->retry(), 1);
    EXPECT_EQ(exchange("next"), "next");
    EXPECT_EQ(line.nowMs, 2 * PromptMs);
    EXPECT_EQ(port->lastFailure(), "");
}

TEST_F(PortInVirtualTime, UnreadBytesRefuseTheNextCommand)
{
    for (bool withOption : {true, false}) {
        line.send("stale", line.nowMs);
        if (withOption)
            discardUnreadInput();
        EXPECT_FALSE(write("refused"));
        EXPECT_EQ(read(7), "");
        EXPECT_EQ(port->lastFailure(), "bytes came that no command had asked for");
        EXPECT_EQ(port->retry(), 2) << "the controller did nothing wrong";
        const qint64 foundMs = line.nowMs;
        EXPECT_EQ(exchange("again"), "again");
        EXPECT_EQ(line.nowMs, foundMs + 4 * TimeoutMs + PromptMs);
        EXPECT_EQ(port->retry(), 1);
    }
}

TEST_F(PortInVirtualTime, TheReplyAfterAMissingOneIsDropped)
{
    latenessMs = VirtualLine::Never;
    EXPECT_EQ(exchange("lost"), "");
    EXPECT_EQ(port->retry(), 1);
    latenessMs = PromptMs;
    EXPECT_TRUE(write("dropped"));
    EXPECT_EQ(read(4), "");
    EXPECT_EQ(read(3), "") << "and its rest";
    EXPECT_EQ(read(1), "") << "without waiting";
    EXPECT_EQ(port->lastFailure(), "dropped a reply that may answer an earlier command");
    EXPECT_EQ(port->retry(), 2);
    EXPECT_EQ(exchange("again"), "again");
    EXPECT_EQ(line.nowMs, TimeoutMs + PromptMs + 4 * TimeoutMs + PromptMs);
}

TEST_F(PortInVirtualTime, TheReplyAfterTheDroppedOneCostsNoAttempt)
{
    latenessMs = TimeoutMs + 20;
    EXPECT_EQ(exchange("late"), "");
    latenessMs = 60;
    EXPECT_EQ(exchange("next"), "") << "dropped: it is the late one";
    EXPECT_EQ(line.nowMs, TimeoutMs + 20);
    latenessMs = PromptMs;
    EXPECT_EQ(exchange("good"), "good");
    EXPECT_EQ(line.nowMs, TimeoutMs + 60 + 4 * TimeoutMs + PromptMs);
}

TEST_F(PortInVirtualTime, LateRepliesAreWhyItFails)
{
    const std::string lateness = "; replies come up to 260 ms after their command: a time-out of "
                                 "550 ms would do";
    latenessMs = 260;
    EXPECT_EQ(exchange("1st"), "");
    EXPECT_EQ(port->lastFailure(), "0 of 3 bytes within 100 ms");
    port->settle();
    EXPECT_EQ(port->lastFailure().toStdString(), "0 of 3 bytes within 100 ms" + lateness);
    EXPECT_EQ(line.nowMs, 260 + 4 * TimeoutMs);
    latenessMs = PromptMs;
    EXPECT_EQ(exchange("2nd"), "2nd");
    latenessMs = 260;
    for (const char* command : {"3rd", "4th", "5th", "6th"})
        EXPECT_EQ(exchange(command), "");
    EXPECT_EQ(port->lastFailure().toStdString(),
              "the line was not silent: late replies may still come" + lateness);
}

TEST_F(PortInVirtualTime, BytesThatLayThereForLongSayNothingOfLateness)
{
    latenessMs = 260;
    EXPECT_EQ(exchange("1st"), "");
    line.nowMs += 60 * TimeoutMs;
    discardUnreadInput();
    EXPECT_EQ(port->lastFailure(), "0 of 3 bytes within 100 ms");
}

TEST_F(PortInVirtualTime, GivesUpOnALineThatIsNeverSilent)
{
    EXPECT_EQ(exchange("good"), "good");
    line.byteGapMs = 1;
    line.send(QByteArray(100 * TimeoutMs, '?'), PromptMs);
    discardUnreadInput();
    EXPECT_EQ(line.nowMs, PromptMs);
    discardUnreadInput();
    EXPECT_EQ(line.nowMs, PromptMs + 5 * TimeoutMs);
    EXPECT_FALSE(write("CR\r\n"));
    EXPECT_EQ(port->lastFailure(), "the line was not silent: late replies may still come");
    port->settle();
    EXPECT_EQ(line.nowMs, PromptMs + 21 * TimeoutMs);
    port.reset();
    EXPECT_EQ(line.nowMs, PromptMs + 21 * TimeoutMs) << "it waits once";
}

TEST_F(PortInVirtualTime, ALineThatBreaksWhileItIsMadeQuietCanBeOpenedAgain)
{
    line.send("stale", 0);
    discardUnreadInput();
    transport->breaks = true;
    transport->canBeOpened = false;
    discardUnreadInput();
    EXPECT_EQ(port->lastFailure(), "broken");
    EXPECT_EQ(port->retry(), 1);
    transport->canBeOpened = true;
    EXPECT_TRUE(port->open());
    EXPECT_EQ(port->lastFailure(), "");
    EXPECT_TRUE(write("CR\r\n"));
}

TEST_F(PortInVirtualTime, ALineThatBrokeInSyncIsOpenedForTheNextCommand)
{
    EXPECT_EQ(exchange("good"), "good");
    transport->breaks = true;
    EXPECT_EQ(exchange("next"), "next");
}

/// A serial line that was unplugged keeps its late replies; part of a command may be answered.
TEST_F(PortInVirtualTime, AReplyAfterACommandThatBrokeIsDropped)
{
    discardUnreadInput();
    transport->breaks = true;
    EXPECT_FALSE(write("lost"));
    EXPECT_EQ(port->lastFailure(), "broken");
    EXPECT_EQ(exchange("drop"), "");
    EXPECT_EQ(exchange("good"), "good");
}

} // namespace
