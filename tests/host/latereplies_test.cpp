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
#include <vector>

namespace
{

constexpr int TimeoutMs = 100;
constexpr qint64 PromptMs = 5;

using Random = std::mt19937;
using Work = LateController::Work;

int between(Random& random, int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(random);
}

struct Tally {
    int right = 0;
    int wrong = 0;
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

    Tally read(DriverInterface& driver, AbstractDeviceInterface& port, int requests)
    {
        Tally tally;
        for (int i = 0; i < requests; ++i) {
            CommunicatorCommand command;
            command.dataType = DataWord;
            command.length = between(random, 1, 3);
            command.address = QStringLiteral("DM%1").arg(between(random, 10000, 65534));
            const QByteArray value = driver.read(&port, command);
            if (!driver.hasError())
                ++(value == held(command) ? tally.right : tally.wrong);
        }
        return tally;
    }

    LateController controller;
    Random random;
    qint64 clockMs = 0;

private:
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
};

INSTANTIATE_TEST_SUITE_P(, LateReplies, testing::Values(Work::OneAtATime, Work::Pipelined),
                         [](const auto& info) {
                             return info.index == 0 ? "OneAtATime" : "Pipelined";
                         });

/// In time, then late in a pattern that comes again, then in time again.
TEST_P(LateReplies, NeverReachAnotherRequest)
{
    QString error;
    const auto plugin = host::DriverPlugin::load(DRIVER, &error);
    ASSERT_TRUE(plugin) << qPrintable(error);
    DriverInterface& driver = *plugin->driver();
    for (unsigned seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Session session(GetParam(), seed);
        host::LinePort port(session.line(), {TimeoutMs, static_cast<int>(seed % 4), 0});
        session.controller.byteGapMs = seed % 2;
        EXPECT_EQ(session.read(driver, port, 10).right, 10);

        std::vector<qint64> latenessesMs(static_cast<size_t>(between(session.random, 1, 14)));
        for (qint64& lateMs : latenessesMs)
            lateMs = between(session.random, 0, 1) ? PromptMs
                     : between(session.random, 0, 5)
                         ? between(session.random, 5, 80) * TimeoutMs / 10
                         : LateController::Never;
        size_t next = 0;
        session.controller.latenessMs = [&] { return latenessesMs[next++ % latenessesMs.size()]; };
        EXPECT_EQ(session.read(driver, port, 150).wrong, 0);

        session.prompt();
        EXPECT_EQ(session.read(driver, port, 60).wrong, 0);
        EXPECT_EQ(session.read(driver, port, 10).right, 10);
    }
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

TEST_F(LinePortTiming, NoCallOutlastsTheTimeoutOnALineThatNeverStops)
{
    session.controller.byteGapMs = 1;
    session.controller.send(QByteArray(3 * TimeoutMs, '?'), 0);
    port.setOption(12, QVariant(0));
    EXPECT_EQ(session.clockMs, TimeoutMs);
    EXPECT_EQ(port.write("CR\r\n", 4), -1);
    EXPECT_EQ(read(4), "");
    EXPECT_EQ(session.clockMs, TimeoutMs);
    EXPECT_NE(port.trouble(), "");
}

} // namespace
