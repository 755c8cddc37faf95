// Ports over real lines: a pseudo-terminal and a loopback socket, the same stories for both.
#include "drivers/portoptions.h"
#include "host/hostlookup.h"
#include "host/makeport.h"
#include "host/serialsettings.h"
#include "host/transport.h"
#include "support/farend.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <sys/ioctl.h>
#include <thread>
#include <utility>
#include <vector>

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
    EXPECT_TRUE(port->isBroken());
    EXPECT_NE(port->lastFailure(), "");
}

TEST_P(Port, NextRequestOpensABrokenLineAgain)
{
    openLine(LongMs);
    plc->hangUp();
    discardInput();
    EXPECT_FALSE(write("CR\r\n"));
    EXPECT_EQ(read(4), "");
    EXPECT_TRUE(port->isBroken());
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

/// A socket on a free port of this address, which listens and never accepts, or refuses all.
class Listener
{
public:
    static constexpr int Refuses = -1;

    explicit Listener(const char* address, int backlog = 4)
    {
        host::SocketAddress place = host::numericHost(address, 0).addresses.at(0);
        auto* const any = reinterpret_cast<sockaddr*>(&place.storage);
        m_socket.reset(::socket(place.storage.ss_family, SOCK_STREAM, 0));
        require(::bind(m_socket.get(), any, place.length) == 0 &&
                    (backlog == Refuses || ::listen(m_socket.get(), backlog) == 0) &&
                    ::getsockname(m_socket.get(), any, &place.length) == 0,
                "listen");
        m_port = ntohs(reinterpret_cast<sockaddr_in*>(any)->sin_port); // in both families
    }

    quint16 port() const { return m_port; }

private:
    Descriptor m_socket;
    quint16 m_port = 0;
};

/// Answers nothing: its queue is full. Later attempts to connect wait.
struct BusyListener : Listener {
    BusyListener()
        : Listener("127.0.0.1", 0)
        , first(host::makeTcpTransport("127.0.0.1", port()))
    {
        require(first->open(LongMs), "connect");
    }

    std::unique_ptr<host::Transport> first;
};

TEST(TcpPort, SaysWhyItCannotConnect)
{
    const Listener closed("127.0.0.1", Listener::Refuses);
    const BusyListener busy;
    std::promise<void> testEnds;
    const auto end = testEnds.get_future().share();
    const host::Resolver stuck = [end](const QString&, quint16) {
        end.wait();
        return host::HostAddresses();
    };
    enum Interrupted : bool { No, Yes };
    const struct {
        const char* host;
        quint16 port;
        const char* reason;
        int timeoutMs = LongMs;
        host::Resolver resolver = host::resolveHost;
        Interrupted interrupted = No;
    } rows[] = {
        {"127.0.0.1", closed.port(), "Connection refused"},
        {"no such host", 1, "unknown host"},
        {"127.0.0.1", busy.port(), "no answer within 30 ms", ShortMs},
        {"127.0.0.1", busy.port(), "interrupted", LongMs, {}, Yes},
        {"slow", 1, "name not resolved within 30 ms", ShortMs, stuck},
        {"slow", 1, "interrupted", LongMs, stuck, Yes},
    };
    for (const auto& row : rows) {
        const auto transport = host::makeTcpTransport(row.host, row.port, row.resolver);
        if (row.interrupted)
            transport->interrupt();
        EXPECT_FALSE(transport->open(row.timeoutMs));
        EXPECT_EQ(transport->lastFailure(), QStringLiteral("can't connect to %1:%2: %3")
                                                .arg(row.host)
                                                .arg(row.port)
                                                .arg(row.reason));
    }
    testEnds.set_value();
}

/// "::1", or another address where a machine has no IPv6.
const char* otherLoopback()
try {
    Listener("::1");
    return "::1";
} catch (const std::runtime_error&) {
    return "127.0.0.2";
}

TEST(TcpPort, TriesEveryAddressOfAHost)
{
    const char* const v4 = "127.0.0.1";
    const char* const v6 = otherLoopback();
    const Listener plcV4(v4), plcV6(v6);
    const Listener closedV4(v4, Listener::Refuses), closedV6(v6, Listener::Refuses);
    const BusyListener busy;
    using Places = std::vector<std::pair<const char*, quint16>>;
    const struct {
        const char* name;
        Places places;
    } rows[] = {
        {"only IPv4 listens", {{v6, closedV6.port()}, {v4, plcV4.port()}}},
        {"only IPv6 listens", {{v4, closedV4.port()}, {v6, plcV6.port()}}},
        {"the first is silent", {{v4, busy.port()}, {v4, plcV4.port()}}},
    };
    for (const auto& row : rows) {
        const host::Resolver resolver = [&](const QString&, quint16) {
            host::HostAddresses found;
            for (const auto& [address, port] : row.places)
                found.addresses.push_back(host::numericHost(address, port).addresses.at(0));
            return found;
        };
        const auto transport = host::makeTcpTransport("plc", 1, resolver);
        EXPECT_TRUE(transport->open(10 * ShortMs))
            << row.name << ": " << qPrintable(transport->lastFailure());
    }
    EXPECT_TRUE(host::makeTcpTransport("localhost", plcV4.port())->open(LongMs));
}

TEST(TcpPort, LaterAttemptUsesALookupThatWasTooSlow)
{
    const Listener plc("127.0.0.1");
    std::promise<void> nameServerAnswers;
    const auto answer = nameServerAnswers.get_future().share();
    std::atomic<int> lookups{0};
    const host::Resolver slow = [&, answer](const QString&, quint16) {
        ++lookups;
        answer.wait();
        return host::numericHost("127.0.0.1", plc.port());
    };
    const auto transport = host::makeTcpTransport("plc", 1, slow);
    EXPECT_FALSE(transport->open(ShortMs));
    EXPECT_FALSE(transport->open(ShortMs));
    nameServerAnswers.set_value();
    EXPECT_TRUE(transport->open(LongMs)) << qPrintable(transport->lastFailure());
    EXPECT_EQ(lookups, 1);
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
