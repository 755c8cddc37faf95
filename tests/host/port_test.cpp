// Ports over real lines: a pseudo-terminal and a loopback socket, the same stories for both.
#include "drivers/portoptions.h"
#include "host/makeport.h"
#include "host/serialsettings.h"
#include "host/transport.h"
#include "support/farend.h"

#include <QNetworkProxy>
#include <QVariant>

#include <gtest/gtest.h>

#include <sys/ioctl.h>
#include <thread>

namespace
{

constexpr int LongMs = 10 * 60 * 1000; ///< a test that waits this long has failed
constexpr int ShortMs = 30;            ///< where nothing is to come

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
        ASSERT_TRUE(port->open()) << qPrintable(port->lastFailure());
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

    void discardInput() { port->setOption(DiscardUnreadInput, QVariant(0)); }

    std::unique_ptr<FarEnd> plc = GetParam()();
    std::unique_ptr<host::Port> port;
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

TEST(SerialPort, EndsAWriteWhenInterrupted)
{
    SerialFarEnd end; // which takes no bytes
    const auto transport = host::makeSerialTransport(end.address().place, host::LineSettings());
    ASSERT_TRUE(transport->open(LongMs));
    const QByteArray much(1 << 20, 'x');
    transport->interrupt();
    EXPECT_FALSE(transport->write(much.constData(), much.size(), LongMs));
    EXPECT_EQ(transport->lastFailure(), "interrupted");
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
    EXPECT_NE(port->lastFailure(), "");
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
    EXPECT_TRUE(write("CR\r\n")) << qPrintable(port->lastFailure());
    plc->meet();
    EXPECT_EQ(plc->receive(4), "CR\r\n");
    plc->send("CC\r\n");
    EXPECT_EQ(read(4), "CC\r\n");
    EXPECT_EQ(port->lastFailure(), "");
}

/// As the far end of the pseudo-terminal sees them. It can't show whether parity is on.
TEST(SerialPort, SetsUpTheLine)
{
    using namespace host;
    const struct {
        LineSettings line;
        unsigned controlFlags;
        unsigned inputFlags;
    } rows[] = {
        {{9600, Parity::Even, 8, StopBits::One}, 0, INPCK},
        {{115200, Parity::Odd, 8, StopBits::Two}, PARODD | CSTOPB, INPCK},
        {{31250, Parity::None, 8, StopBits::One}, 0, 0}, // a rate that no list has
        {{1200, Parity::Mark, 8, StopBits::One}, PARODD | CMSPAR, INPCK},
        {{1200, Parity::Space, 8, StopBits::Two}, CMSPAR | CSTOPB, INPCK},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.line.baud);
        SerialFarEnd plc;
        const auto port = makePort(plc.address(), row.line, {});
        ASSERT_TRUE(port->open()) << qPrintable(port->lastFailure());
        termios2 seen;
        ASSERT_EQ(ioctl(plc.descriptor(), TCGETS2, &seen), 0);
        EXPECT_EQ(seen.c_ispeed, static_cast<unsigned>(row.line.baud));
        EXPECT_EQ(seen.c_ospeed, static_cast<unsigned>(row.line.baud));
        EXPECT_EQ(seen.c_cflag & (PARODD | CMSPAR | CSTOPB | CRTSCTS | CLOCAL),
                  row.controlFlags | CLOCAL);
        // A byte with bad parity, and a break, are dropped.
        EXPECT_EQ(seen.c_iflag, row.inputFlags | IGNPAR | IGNBRK);
        EXPECT_EQ(seen.c_oflag, 0u);
        EXPECT_EQ(seen.c_lflag, 0u);
    }
}

TEST(SerialPort, NamesTheSettingThatADeviceDidNotTake)
{
    using namespace host;
    struct Row {
        const char* reason;
        void (*make)(termios2& taken);
        DeviceKind kind = DeviceKind::SerialPort;
    };
    const auto pty = DeviceKind::PseudoTerminal;
    const char* const noParity = "it does not support this parity";
    const char* const noSize = "it does not support this number of data bits";
    const Row rows[] = {
        {"", [](termios2&) {}},
        {"", [](termios2& taken) { taken.c_ispeed = taken.c_ospeed = 9888; }},
        {"it runs at 9889 baud when set to 9600", [](termios2& taken) { taken.c_ospeed = 9889; }},
        {"it runs at 9311 baud when set to 9600", [](termios2& taken) { taken.c_ispeed = 9311; }},
        {noParity, [](termios2& taken) { taken.c_cflag &= ~unsigned(PARENB); }},
        {noParity, [](termios2& taken) { taken.c_cflag &= ~unsigned(CMSPAR); }, pty},
        {noParity, [](termios2& taken) { taken.c_cflag &= ~unsigned(PARODD); }, pty},
        {noSize, [](termios2& taken) { taken.c_cflag |= CS8; }},
        {"", [](termios2& taken) { taken.c_cflag = (taken.c_cflag | CS8) & ~PARENB; }, pty},
    };
    const termios2 given = serialSettings({9600, Parity::Mark, 7, StopBits::Two});
    for (const Row& row : rows) {
        termios2 taken = given;
        row.make(taken);
        EXPECT_EQ(settingNotTaken(given, taken, row.kind), row.reason);
    }
}

TEST(SerialPort, RefusesADeviceThatTakesOtherSettings)
{
    SerialFarEnd plc;
    termios locked = {};
    locked.c_cflag = CSTOPB;
    if (ioctl(plc.descriptor(), TIOCSLCKTRMIOS, &locked) != 0)
        GTEST_SKIP() << "only the administrator can lock the settings of a terminal";
    const auto port =
        host::makePort(plc.address(), {9600, host::Parity::None, 8, host::StopBits::Two}, {});
    EXPECT_FALSE(port->open());
    EXPECT_EQ(port->lastFailure(),
              QStringLiteral("can't open %1: it does not support this number of stop bits")
                  .arg(plc.address().place));
}

TEST(SerialPort, IsForOneAtATime)
{
    SerialFarEnd plc;
    const auto first = host::makePort(plc.address(), host::LineSettings(), {});
    const auto second = host::makePort(plc.address(), host::LineSettings(), {});
    EXPECT_TRUE(first->open());
    EXPECT_FALSE(second->open());
    EXPECT_EQ(second->lastFailure(),
              QStringLiteral("can't open %1: another program uses it").arg(plc.address().place));
}

TEST(SerialPort, KnowsHowLongBytesTake)
{
    using namespace host;
    const struct {
        LineSettings line;
        qint64 ms; ///< of 120 bytes, rounded up
    } rows[] = {
        {{1200, Parity::Even, 8, StopBits::One}, 1101},
        {{1200, Parity::None, 8, StopBits::Two}, 1101},
        {{1200, Parity::None, 7, StopBits::One}, 901},
    };
    for (const auto& row : rows)
        EXPECT_EQ(makeSerialTransport("/dev/null", row.line)->transferMs(120), row.ms);
}

TEST(SerialPort, GivesUpWhenTheLineTakesNoBytes)
{
    SerialFarEnd plc;
    const auto port = host::makePort(plc.address(), host::LineSettings(), {ShortMs, 0, 0});
    ASSERT_TRUE(port->open());
    const QByteArray tooMuch(1 << 20, '?');
    EXPECT_EQ(port->write(tooMuch.constData(), tooMuch.size()), -1);
    EXPECT_TRUE(port->lastFailure().endsWith("it takes no bytes"))
        << qPrintable(port->lastFailure());
}

class ProxyFactory : public QNetworkProxyFactory
{
public:
    explicit ProxyFactory(bool& asked)
        : m_asked(asked)
    {
    }
    QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery&) override
    {
        m_asked = true;
        return {QNetworkProxy::NoProxy};
    }

private:
    bool& m_asked;
};

TEST(TcpPort, LeavesTheDesktopsProxyAlone)
{
    bool asked = false;
    QNetworkProxyFactory::setApplicationProxyFactory(new ProxyFactory(asked));
    // An address that is never assigned; Qt asks for no proxy on the way to this machine itself.
    host::makePort({host::PortAddress::Kind::Tcp, "192.0.2.1", 1}, {}, {1, 0, 0})->open();
    QNetworkProxyFactory::setApplicationProxyFactory(nullptr);
    EXPECT_FALSE(asked);
}

TEST(TcpPort, LateReplyNeverReachesTheNextConnection)
{
    TcpFarEnd plc;
    const auto port = host::makePort(plc.address(), host::LineSettings(), {ShortMs, 0, 0});
    char reply[4];
    for (const char* command : {"1st!", "2nd!", "3rd!"}) {
        port->setOption(DiscardUnreadInput, QVariant(0)); // leaves the old connection
        ASSERT_EQ(port->write(command, 4), 4) << qPrintable(port->lastFailure());
        plc.meet();
        EXPECT_EQ(plc.receive(4), command);
        EXPECT_EQ(port->read(reply, 4), 0);
    }
    port->write("4th!", 4);
    plc.meet();
    plc.send("good");
    EXPECT_EQ(port->read(reply, 4), 4) << "a new connection has no late replies";
}

} // namespace
