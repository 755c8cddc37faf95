// Replies that come late, in virtual time: a port with the real driver above it and a controller
// below it whose every answer tells which request it belongs to. No value may reach another
// request, however late the replies are, and the line must come back once they are in time again.
#include "host/driverplugin.h"
#include "host/lineport.h"
#include "virtualline.h"

#include "drivers/driverinterface.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <random>

namespace
{

constexpr int TimeoutMs = 100;
constexpr int MomentMs = 20;
constexpr qint64 PromptMs = 5;

using Random = std::mt19937;
using Work = LateController::Work;

int between(Random& random, int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(random);
}

/// A port that trusts every reply, as a line without any guard would.
class TrustingPort : public AbstractDeviceInterface
{
public:
    explicit TrustingPort(std::unique_ptr<host::Line> line)
        : m_line(std::move(line))
    {
    }

    int read(char* buffer, int maxLength) override
    {
        const qint64 deadlineMs = m_line->nowMs() + TimeoutMs;
        int have = 0;
        while (have < maxLength) {
            const int count = m_line->read(buffer + have, maxLength - have,
                                           static_cast<int>(deadlineMs - m_line->nowMs()));
            if (count == 0)
                break;
            have += count;
        }
        return have;
    }
    int write(const char* data, int length) override
    {
        return m_line->write(data, length, TimeoutMs) ? length : -1;
    }
    void setOption(int, const QVariant&) override
    {
        char unread[64];
        while (m_line->read(unread, sizeof unread, 0) > 0) {
        }
    }
    int retry() override { return 1; }
    int delay() override { return 0; }

private:
    std::unique_ptr<host::Line> m_line;
};

struct Tally {
    int right = 0;
    int wrong = 0;
    int failed = 0;
};

/// Requests over one line, each for another device.
class Session
{
public:
    explicit Session(Work work, unsigned seed = 1)
        : controller(work)
        , random(seed)
    {
        prompt();
    }

    void prompt()
    {
        controller.latenessMs = [] { return PromptMs; };
    }

    std::unique_ptr<host::Line> line()
    {
        return std::make_unique<VirtualLine>(controller, clockMs);
    }

    void read(DriverInterface& driver, AbstractDeviceInterface& port, int requests, Tally* tally)
    {
        for (int i = 0; i < requests; ++i)
            count(driver, port, tally);
    }

    LateController controller;
    Random random;
    qint64 clockMs = 0;

private:
    void count(DriverInterface& driver, AbstractDeviceInterface& port, Tally* tally)
    {
        CommunicatorCommand command;
        command.dataType = DataWord;
        command.length = between(random, 1, 3);
        command.address = QStringLiteral("DM%1").arg(between(random, 10000, 65534));
        const QByteArray value = driver.read(&port, command);
        if (driver.hasError())
            ++tally->failed;
        else if (value == held(command))
            ++tally->right;
        else
            ++tally->wrong;
    }

    static QByteArray held(const CommunicatorCommand& command)
    {
        const QByteArray reply = LateController::replyTo(
            QStringLiteral("RDS %1 %2\r\n").arg(command.address).arg(command.length).toLatin1());
        QByteArray bytes;
        for (const QByteArray& text : reply.trimmed().split(' ')) {
            const uint word = text.toUInt();
            bytes += static_cast<char>(word & 0xff);
            bytes += static_cast<char>(word >> 8);
        }
        return bytes;
    }
};

class LateReplies : public testing::TestWithParam<Work>
{
protected:
    void SetUp() override
    {
        QString error;
        plugin = host::DriverPlugin::load(DRIVER, &error);
        ASSERT_TRUE(plugin) << qPrintable(error);
    }

    /// In time, then as late as `latenessMs` says, then in time again.
    void expectNoWrongValue(const char* meaning, unsigned seed, int requests,
                            const std::function<qint64(Random&)>& latenessMs)
    {
        SCOPED_TRACE(testing::Message() << meaning << ", seed " << seed);
        Session session(GetParam(), seed);
        host::LinePort port(session.line(), {TimeoutMs, static_cast<int>(seed % 4), 0});
        session.controller.byteGapMs = seed % 2;

        Tally before, late, recovering, after;
        session.read(*plugin->driver(), port, 10, &before);
        EXPECT_EQ(before.right, 10);

        Random random(seed);
        session.controller.latenessMs = [&] { return latenessMs(random); };
        session.read(*plugin->driver(), port, requests, &late);
        EXPECT_EQ(late.wrong, 0);

        session.prompt();
        session.read(*plugin->driver(), port, 60, &recovering);
        EXPECT_EQ(recovering.wrong, 0);
        session.read(*plugin->driver(), port, 10, &after);
        EXPECT_EQ(after.right, 10);
    }

    std::unique_ptr<host::DriverPlugin> plugin;
};

INSTANTIATE_TEST_SUITE_P(, LateReplies, testing::Values(Work::OneAtATime, Work::Pipelined),
                         [](const auto& info) {
                             return info.param == Work::Pipelined ? "Pipelined" : "OneAtATime";
                         });

TEST_P(LateReplies, OfAllTheSameLateness)
{
    for (int lateMs = TimeoutMs / 2; lateMs <= 8 * TimeoutMs; lateMs += TimeoutMs / 20)
        expectNoWrongValue("the same", static_cast<unsigned>(lateMs), 60,
                           [&](Random&) { return lateMs; });
}

TEST_P(LateReplies, OfAJitteringLateness)
{
    for (int lateMs = TimeoutMs / 2; lateMs <= 8 * TimeoutMs; lateMs += TimeoutMs / 20)
        expectNoWrongValue("jitter", static_cast<unsigned>(lateMs), 60, [&](Random& random) {
            return between(random, lateMs * 8 / 10, lateMs * 12 / 10);
        });
}

TEST_P(LateReplies, NowAndThen)
{
    for (unsigned seed = 0; seed < 100; ++seed) {
        const int oneIn = 1 + static_cast<int>(seed % 30);
        expectNoWrongValue("now and then", seed, 150, [&](Random& random) -> qint64 {
            return between(random, 1, oneIn) > 1 ? PromptMs
                                                 : between(random, TimeoutMs / 2, 8 * TimeoutMs);
        });
    }
}

TEST_P(LateReplies, OrLostOnes)
{
    for (unsigned seed = 0; seed < 100; ++seed)
        expectNoWrongValue("or lost", seed, 150, [&](Random& random) -> qint64 {
            const int dice = between(random, 1, 10);
            return dice == 1   ? LateController::Never
                   : dice == 2 ? between(random, TimeoutMs, 5 * TimeoutMs)
                               : PromptMs;
        });
}

TEST_P(LateReplies, InAPatternThatComesAgain)
{
    for (unsigned seed = 0; seed < 200; ++seed) {
        Random pattern(seed);
        std::vector<int> latenessesMs(static_cast<size_t>(between(pattern, 1, 14)));
        for (int& lateMs : latenessesMs)
            lateMs = between(pattern, 0, 1) ? 0 : between(pattern, 5, 80) * TimeoutMs / 10;
        size_t next = 0;
        expectNoWrongValue("pattern", seed, 100,
                           [&](Random&) { return latenessesMs[next++ % latenessesMs.size()]; });
    }
}

TEST_P(LateReplies, FoolAPortThatTrustsThem)
{
    Tally tally;
    for (int lateMs = TimeoutMs; lateMs <= 8 * TimeoutMs; lateMs += TimeoutMs / 10) {
        Session session(GetParam());
        TrustingPort port(session.line());
        Random random(1);
        session.controller.latenessMs = [&] { return between(random, lateMs / 2, lateMs); };
        session.read(*plugin->driver(), port, 100, &tally);
    }
    EXPECT_GT(tally.wrong, 0) << "the controller is no trap";
}

/// A port over a virtual line, called as drivers call it.
class LinePortTiming : public testing::Test
{
protected:
    QByteArray read(int count)
    {
        QByteArray bytes(count, '?');
        return bytes.left(port.read(bytes.data(), count));
    }
    bool write(const QByteArray& command)
    {
        return port.write(command.constData(), command.size()) == command.size();
    }
    QByteArray exchange()
    {
        port.setOption(12, QVariant(0));
        return write("CR\r\n") ? read(4) : QByteArray();
    }
    void loseReplies()
    {
        session.controller.latenessMs = [] { return LateController::Never; };
    }

    Session session{Work::Pipelined};
    host::LinePort port{session.line(), {TimeoutMs, 1, 0}};
};

TEST_F(LinePortTiming, OneDeadlineHoldsForAllBytes)
{
    session.controller.byteGapMs = 40;
    session.controller.send("CC\r\n", 40);
    EXPECT_EQ(read(4), "CC");
    EXPECT_EQ(session.clockMs, TimeoutMs);
}

TEST_F(LinePortTiming, TransferOnASlowLineIsNotTheControllersTime)
{
    session.controller.byteMs = 10;
    session.controller.byteGapMs = 10;
    loseReplies();
    EXPECT_TRUE(write(QByteArray(16, ' ')));
    session.controller.send("0123456789ab", 16 * 10 + TimeoutMs);
    EXPECT_EQ(read(12), "0123456789ab");
}

TEST_F(LinePortTiming, LineInStepCostsNoTime)
{
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(exchange(), "CC\r\n");
    EXPECT_EQ(session.clockMs, 10 * PromptMs);
}

TEST_F(LinePortTiming, DeadLineCostsATimeoutAndAMomentEachTime)
{
    loseReplies();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(exchange(), "");
    EXPECT_EQ(session.clockMs, 10 * TimeoutMs + 9 * MomentMs);
}

TEST_F(LinePortTiming, OneLostReplyCostsOneAttemptAndIsForgotten)
{
    EXPECT_EQ(exchange(), "CC\r\n");
    for (int round = 0; round < 3; ++round) {
        loseReplies();
        EXPECT_EQ(exchange(), "");
        session.prompt();
        for (int i = 0; i < 12; ++i)
            EXPECT_EQ(exchange(), "CC\r\n");
    }
}

TEST_F(LinePortTiming, NoCallOutlastsTheTimeoutOnALineThatNeverStops)
{
    session.controller.byteGapMs = 1;
    session.controller.send(QByteArray(3 * TimeoutMs, '?'), 0);
    port.setOption(12, QVariant(0));
    EXPECT_EQ(session.clockMs, TimeoutMs);
    EXPECT_FALSE(write("CR\r\n"));
    EXPECT_EQ(read(4), "");
    EXPECT_EQ(session.clockMs, TimeoutMs);
    EXPECT_NE(port.trouble(), "");
}

TEST_F(LinePortTiming, FailedAttemptWaitsForTheTailOfItsReply)
{
    session.controller.byteGapMs = 10;
    session.controller.send("12345", session.clockMs);
    EXPECT_EQ(read(4), "1234");
    port.retry();
    EXPECT_EQ(exchange(), "CC\r\n");
}

} // namespace
