// Ports over real lines: a pseudo-terminal and a loopback socket, the same stories for both.
#include "farend.h"
#include "host/lineport.h"

#include <QTemporaryFile>
#include <QVariant>

#include <gtest/gtest.h>

#include <thread>

namespace
{

constexpr int LongMs = 10 * 60 * 1000; ///< a test that waits this long has failed
constexpr int ShortMs = 30;            ///< where nothing is to come
constexpr int AmpleMs = 500;           ///< where something comes, and then nothing more

struct LineKind {
    const char* name;
    std::unique_ptr<FarEnd> (*farEnd)();
};

void PrintTo(const LineKind& kind, std::ostream* out)
{
    *out << kind.name;
}

class Port : public testing::TestWithParam<LineKind>
{
protected:
    void openLine(int timeoutMs)
    {
        port = host::makePort(plc->address(), host::LineSettings(), {timeoutMs, 3, 7});
        ASSERT_TRUE(port->open()) << qPrintable(port->trouble());
        plc->meet();
    }

    QByteArray read(int count)
    {
        QByteArray bytes(count, '?');
        return bytes.left(port->read(bytes.data(), count));
    }

    bool write(const QByteArray& bytes)
    {
        return port->write(bytes.constData(), bytes.size()) == bytes.size();
    }

    void discardInput() { port->setOption(12, QVariant(0)); }

    std::unique_ptr<FarEnd> plc = GetParam().farEnd();
    std::unique_ptr<host::LinePort> port;
};

INSTANTIATE_TEST_SUITE_P(, Port,
                         testing::Values(LineKind{"Serial", serialFarEnd},
                                         LineKind{"Tcp", tcpFarEnd}),
                         [](const auto& info) { return info.param.name; });

TEST_P(Port, CarriesEveryByteBothWays)
{
    openLine(LongMs);
    QByteArray all;
    for (int byte = 0; byte < 256; ++byte)
        all += static_cast<char>(byte);
    EXPECT_TRUE(write(all));
    EXPECT_EQ(plc->receive(256), all);
    plc->send(all);
    EXPECT_EQ(read(256), all);
}

TEST_P(Port, TakesAReplyInParts)
{
    openLine(LongMs);
    plc->send("0001 00002\r\n");
    EXPECT_EQ(read(4), "0001");
    EXPECT_EQ(read(8), " 00002\r\n");
}

TEST_P(Port, WaitsForBytesThatTrickleIn)
{
    openLine(LongMs);
    std::thread sender([this] {
        for (char byte : QByteArray("CC\r\n"))
            plc->send(QByteArray(1, byte));
    });
    EXPECT_EQ(read(4), "CC\r\n");
    sender.join();
}

TEST_P(Port, ReturnsWhatCameInTime)
{
    openLine(AmpleMs);
    plc->send("CC\r");
    EXPECT_EQ(read(4), "CC\r");
    EXPECT_EQ(port->trouble(), "3 of 4 bytes within 500 ms");
}

TEST_P(Port, Option12DiscardsUnreadInput)
{
    openLine(AmpleMs);
    plc->send("late\r\n");
    EXPECT_EQ(read(4), "late"); // so the rest has arrived too
    discardInput();
    EXPECT_TRUE(write("CR\r\n"));
    EXPECT_EQ(plc->receive(4), "CR\r\n");
    plc->send("CC\r\n");
    EXPECT_EQ(read(4), "CC\r\n");
}

TEST_P(Port, IgnoresOtherOptions)
{
    openLine(LongMs);
    plc->send("kept");
    port->setOption(11, QVariant(0));
    port->setOption(12, QVariant(1));
    EXPECT_EQ(read(4), "kept");
}

TEST_P(Port, EmptyTransfersAreHarmless)
{
    char untouched = '?';
    port = host::makePort(plc->address(), host::LineSettings(), {ShortMs, 0, 0});
    EXPECT_EQ(port->read(&untouched, 1), 0); // not even open
    for (int length : {0, -1, INT_MIN}) {
        EXPECT_EQ(port->read(&untouched, length), 0);
        EXPECT_EQ(port->write(&untouched, length), 0);
    }
    EXPECT_EQ(untouched, '?');
}

TEST_P(Port, BrokenLineEndsAReadAtOnce)
{
    openLine(LongMs);
    std::thread sender([this] {
        plc->send("CC");
        plc->hangUp();
    });
    const QByteArray reply = read(4);
    sender.join();
    EXPECT_TRUE(QByteArray("CC").startsWith(reply)); // a hang-up may swallow what was under way
    EXPECT_NE(port->trouble(), "");
    EXPECT_FALSE(write("CR\r\n"));
    EXPECT_EQ(read(4), "");
}

TEST_P(Port, NextRequestOpensABrokenLineAgain)
{
    openLine(LongMs);
    plc->hangUp();
    for (int attempt = 0; attempt < 3; ++attempt) {
        discardInput();
        EXPECT_FALSE(write("CR\r\n"));
        EXPECT_EQ(read(4), "");
    }
    plc->comeBack();
    discardInput();
    EXPECT_TRUE(write("CR\r\n")) << qPrintable(port->trouble());
    plc->meet();
    EXPECT_EQ(plc->receive(4), "CR\r\n");
    plc->send("CC\r\n");
    EXPECT_EQ(read(4), "CC\r\n");
    EXPECT_EQ(port->trouble(), "");
}

TEST_P(Port, WriteAloneOpensABrokenLineAgain)
{
    openLine(ShortMs);
    plc->hangUp();
    EXPECT_EQ(read(4), "");
    plc->comeBack();
    // The line broke under a reply: it must be silent first.
    bool written = write("CR\r\n");
    for (int attempt = 0; !written && attempt < 3; ++attempt) {
        EXPECT_EQ(read(4), "");
        written = write("CR\r\n");
    }
    ASSERT_TRUE(written) << qPrintable(port->trouble());
    plc->meet();
    EXPECT_EQ(plc->receive(4), "CR\r\n");
}

TEST_P(Port, AnswersRetryAndDelayFromItsSettings)
{
    openLine(ShortMs);
    EXPECT_EQ(port->retry(), 3);
    EXPECT_EQ(port->delay(), 7);
}

TEST(TcpPort, LateReplyNeverReachesTheNextConnection)
{
    const auto plc = tcpFarEnd();
    const auto port = host::makePort(plc->address(), host::LineSettings(), {ShortMs, 0, 0});
    char reply[4];
    for (const char* command : {"1st!", "2nd!", "3rd!"}) {
        port->setOption(12, QVariant(0)); // leaves the old connection
        ASSERT_EQ(port->write(command, 4), 4) << qPrintable(port->trouble());
        plc->meet();
        EXPECT_EQ(plc->receive(4), command);
        EXPECT_EQ(port->read(reply, 4), 0);
    }
}

TEST(PortFailure, IsToldInASentence)
{
    const auto server = tcpFarEnd();
    const quint16 nobodyThere = server->address().tcpPort;
    server->hangUp();

    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    const QString noFile = file.fileName() + QStringLiteral("-gone");

    using Kind = host::PortAddress::Kind;
    const struct {
        const char* meaning;
        host::PortAddress address;
        QString trouble;
    } rows[] = {
        {"no such device",
         {Kind::Serial, noFile, 0},
         QStringLiteral("can't open %1: No such file or directory").arg(noFile)},
        {"not a serial line",
         {Kind::Serial, file.fileName(), 0},
         QStringLiteral("can't open %1: Inappropriate ioctl for device").arg(file.fileName())},
        {"nobody listens",
         {Kind::Tcp, QStringLiteral("127.0.0.1"), nobodyThere},
         QStringLiteral("can't connect to 127.0.0.1:%1: Connection refused").arg(nobodyThere)},
        {"IPv6 in brackets",
         {Kind::Tcp, QStringLiteral("::1"), nobodyThere},
         QStringLiteral("can't connect to [::1]:%1: ").arg(nobodyThere)}, // there may be no IPv6
    };
    for (const auto& row : rows) {
        const auto port = host::makePort(row.address, host::LineSettings(), {LongMs, 0, 0});
        EXPECT_FALSE(port->open()) << row.meaning;
        EXPECT_TRUE(port->trouble().startsWith(row.trouble)) << qPrintable(port->trouble());
        EXPECT_EQ(port->write("CR\r\n", 4), -1) << row.meaning;
    }
}

} // namespace
