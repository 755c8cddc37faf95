// What texts and settings records say about a line, and what is refused.
#include "host/linesettings.h"
#include "host/portaddress.h"

#include "drivers/devicesetting.h"
#include "drivers/driversetting.h"

#include <gtest/gtest.h>

namespace host
{

bool operator==(const LineSettings& a, const LineSettings& b)
{
    return a.baud == b.baud && a.parity == b.parity && a.dataBits == b.dataBits &&
           a.stopBits == b.stopBits;
}

bool operator==(const PortAddress& a, const PortAddress& b)
{
    return a.kind == b.kind && a.place == b.place &&
           (a.kind == PortAddress::Kind::Serial || a.tcpPort == b.tcpPort);
}

} // namespace host

using host::LineSettings;
using host::Parity;
using host::PortAddress;
using host::StopBits;

namespace
{

TEST(LineText, GoodOnesAreRead)
{
    const struct {
        const char* text;
        LineSettings line;
    } rows[] = {
        {"RS232,9600,EVEN,8,1", {9600, Parity::Even, 8, StopBits::One}},
        {"RS232,9600,EVEN,7,1", {9600, Parity::Even, 7, StopBits::One}},
        {"rs422,115200,none,8,2", {115200, Parity::None, 8, StopBits::Two}},
        {" Rs485 , 1200 , Odd , 5 , 1 ", {1200, Parity::Odd, 5, StopBits::One}},
        {"RS232,300,MARK,6,1", {300, Parity::Mark, 6, StopBits::One}},
        {"RS232,300,SPACE,6,1", {300, Parity::Space, 6, StopBits::One}},
    };
    for (const auto& row : rows) {
        QString error = "untouched";
        EXPECT_EQ(host::lineSettingsFromText(row.text, &error), row.line) << row.text;
        EXPECT_EQ(error, "untouched") << row.text;
    }
}

TEST(LineText, BadOnesNameTheirField)
{
    const struct {
        const char* text;
        const char* error;
    } rows[] = {
        {"", "line \"\": expected kind, baud rate, parity, data bits and stop bits, as in "
             "\"RS232,9600,EVEN,8,1\""},
        {"RS232,9600,EVEN,8", "line \"RS232,9600,EVEN,8\": expected kind, baud rate, parity, data "
                              "bits and stop bits, as in \"RS232,9600,EVEN,8,1\""},
        {"USB,9600,EVEN,8,1",
         "line \"USB,9600,EVEN,8,1\": kind \"USB\" is not RS232, RS422 or RS485"},
        {"RS232,fast,EVEN,8,1",
         "line \"RS232,fast,EVEN,8,1\": baud rate \"FAST\" is not a number above 0"},
        {"RS232,0,EVEN,8,1", "line \"RS232,0,EVEN,8,1\": baud rate \"0\" is not a number above 0"},
        {"RS232,9600,E,8,1", "line \"RS232,9600,E,8,1\": parity \"E\" is not NONE, ODD, EVEN, MARK "
                             "or SPACE"},
        {"RS232,9600,EVEN,9,1",
         "line \"RS232,9600,EVEN,9,1\": number of data bits \"9\" is not 5 to 8"},
        {"RS232,9600,EVEN,8,1.5",
         "line \"RS232,9600,EVEN,8,1.5\": number of stop bits \"1.5\" is not 1 or 2"},
        {"RS232,9600,%1,8,", "line \"RS232,9600,%1,8,\": parity \"%1\" is not NONE, ODD, EVEN, "
                             "MARK or SPACE"},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_FALSE(host::lineSettingsFromText(row.text, &error)) << row.text;
        EXPECT_EQ(error, row.error);
    }
}

TEST(LineRecord, CodesBecomeSettingsOrARefusal)
{
    const struct {
        const char* meaning;
        DeviceSetting record;
        std::optional<LineSettings> line;
        const char* error;
    } rows[] = {
        {"parity 2 is even, stop-bit code 0 is one",
         {SerialPortDevice, "COM2", 9600, 8, 0, 2},
         LineSettings{9600, Parity::Even, 8, StopBits::One},
         ""},
        {"the host's own codes",
         {SerialPortDevice, "COM2", 19200, 7, 2, 0},
         LineSettings{19200, Parity::None, 7, StopBits::Two},
         ""},
        {"odd", {SerialPortDevice, "COM2", 300, 5, 0, 1}, LineSettings{300, Parity::Odd, 5}, ""},
        {"baud", {SerialPortDevice, "COM2", 0, 8, 0, 2}, {}, "port COM2: bad baud rate 0"},
        {"data bits",
         {SerialPortDevice, "COM2", 9600, 4, 0, 2},
         {},
         "port COM2: bad number of data bits 4"},
        {"parity", {SerialPortDevice, "COM2", 9600, 8, 0, 5}, {}, "port COM2: bad parity code 5"},
        {"stop bits", {SerialPortDevice, "%2", 9600, 8, 1, 2}, {}, "port %2: bad stop-bit code 1"},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_EQ(host::lineSettingsFrom(row.record, &error), row.line) << row.meaning;
        EXPECT_EQ(error, row.error) << row.meaning;
    }
}

TEST(ExchangeRecord, GivesTimeoutRetryAndDelay)
{
    const host::ExchangeSettings exchange = host::exchangeSettingsFrom(DriverSetting(500, 3, 9, 7));
    EXPECT_EQ(exchange.timeoutMs, 500);
    EXPECT_EQ(exchange.retry, 3);
    EXPECT_EQ(exchange.delayMs, 7);
}

TEST(PortText, GoodOnesAreRead)
{
    const auto serial = [](const char* device) {
        return PortAddress{PortAddress::Kind::Serial, device, 0};
    };
    const auto tcp = [](const char* host, quint16 port) {
        return PortAddress{PortAddress::Kind::Tcp, host, port};
    };
    const struct {
        const char* text;
        PortAddress address;
    } rows[] = {
        {"/dev/ttyUSB0", serial("/dev/ttyUSB0")},
        {"ttyS0", serial("ttyS0")},
        {"tcp:192.168.0.10:8501", tcp("192.168.0.10", 8501)},
        {"tcp:plc-7", tcp("plc-7", 8501)},
        {"TCP:plc-7:1", tcp("plc-7", 1)},
        {"tcp:[::1]:65535", tcp("::1", 65535)},
        {"tcp:[fe80::1]", tcp("fe80::1", 8501)},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_EQ(host::portAddressFromText(row.text, &error), row.address) << row.text;
        EXPECT_EQ(error, "");
    }
}

TEST(PortText, BadOnesAreRefused)
{
    const char* const NoHost = "the host is missing, as in tcp:192.168.0.10:8501";
    const char* const NoBrackets = "an IPv6 address stands in brackets, as in tcp:[::1]:8501";
    const char* const NoNumber = "the port number is not one from 1 to 65535";
    const struct {
        const char* text;
        const char* reason;
    } rows[] = {
        {"", "expected a serial device or tcp:HOST:PORT"},
        {"tcp:", NoHost},
        {"tcp::8501", NoHost},
        {"tcp:[]:8501", NoHost},
        {"tcp:plc:", NoNumber},
        {"tcp:plc:0", NoNumber},
        {"tcp:plc:65536", NoNumber},
        {"tcp:plc:http", NoNumber},
        {"tcp:[::1]:", NoNumber},
        {"tcp:::1", NoBrackets},
        {"tcp:[::1", NoBrackets},
        {"tcp:[::1]8501", NoBrackets},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_FALSE(host::portAddressFromText(row.text, &error)) << row.text;
        EXPECT_EQ(error, QStringLiteral("port \"%1\": %2").arg(row.text, row.reason));
    }
}

} // namespace
