// Ports over real lines: a pseudo-terminal and a loopback socket, the same stories for both.
#include "host/lineport.h"
#include "support/farend.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <thread>

namespace
{

constexpr int LongMs = 10 * 60 * 1000; ///< a test that waits this long has failed
constexpr int ShortMs = 30;            ///< where nothing is to come
constexpr int AmpleMs = 500;           ///< where something comes, and then nothing more

using MakeFarEnd = std::unique_ptr<FarEnd> (*)();

template <class End>
std::unique_ptr<FarEnd> make()
{
    return std::make_unique<End>();
}

class Port : public testing::TestWithParam<MakeFarEnd>
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

    std::unique_ptr<FarEnd> plc = GetParam()();
    std::unique_ptr<host::LinePort> port;
};

INSTANTIATE_TEST_SUITE_P(, Port, testing::Values(make<SerialFarEnd>, make<TcpFarEnd>),
                         [](const auto& info) { return info.index == 0 ? "Serial" : "Tcp"; });

TEST_P(Port, CarriesEveryByteBothWays)
{
    openLine(LongMs);
    const QByteArray all("\0\x03\x04\n\r\x11\x13\x7f\xff", 9); // what a terminal would act upon
    EXPECT_TRUE(write(all));
    EXPECT_EQ(plc->receive(9), all);
    plc->send(all);
    EXPECT_EQ(read(9), all);
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

TEST_P(Port, BrokenLineEndsAReadAtOnce)
{
    openLine(LongMs);
    std::thread sender([this] {
        plc->send("CC");
        plc->hangUp();
    });
    EXPECT_LE(read(4).size(), 2); // a hang-up may swallow what was under way
    sender.join();
    EXPECT_NE(port->trouble(), "");
}

TEST_P(Port, NextRequestOpensABrokenLineAgain)
{
    openLine(LongMs);
    plc->hangUp();
    discardInput();
    EXPECT_FALSE(write("CR\r\n"));
    EXPECT_EQ(read(4), "");
    plc->comeBack();
    discardInput();
    EXPECT_TRUE(write("CR\r\n")) << qPrintable(port->trouble());
    plc->meet();
    EXPECT_EQ(plc->receive(4), "CR\r\n");
    plc->send("CC\r\n");
    EXPECT_EQ(read(4), "CC\r\n");
    EXPECT_EQ(port->trouble(), "");
}

TEST(TcpPort, LateReplyNeverReachesTheNextConnection)
{
    TcpFarEnd plc;
    const auto port = host::makePort(plc.address(), host::LineSettings(), {ShortMs, 0, 0});
    char reply[4];
    for (const char* command : {"1st!", "2nd!", "3rd!"}) {
        port->setOption(12, QVariant(0)); // leaves the old connection
        ASSERT_EQ(port->write(command, 4), 4) << qPrintable(port->trouble());
        plc.meet();
        EXPECT_EQ(plc.receive(4), command);
        EXPECT_EQ(port->read(reply, 4), 0);
    }
}

} // namespace
