// What texts and settings records say about a line, and what is refused.
#include "host/linesettings.h"
#include "host/portaddress.h"

#include "drivers/devicesetting.h"

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

using namespace host;

namespace
{

TEST(LineText, IsALineOrARefusal)
{
    const struct {
        const char* text;
        std::optional<LineSettings> line;
        const char* reason;
    } rows[] = {
        {"RS232,9600,EVEN,8,1", LineSettings{9600, Parity::Even, 8, StopBits::One}, ""},
        {" Rs485 , 1200 , Odd , 5 , 2 ", LineSettings{1200, Parity::Odd, 5, StopBits::Two}, ""},
        {"RS232,9600,EVEN,8", {}, "expected kind, baud rate, parity, data bits and stop bits"},
        {"USB,9600,EVEN,8,1", {}, "kind \"USB\" is not RS232, RS422 or RS485"},
        {"RS232,0,EVEN,8,1", {}, "baud rate \"0\" is not a number above 0"},
        {"RS232,9600,E,8,1", {}, "parity \"E\" is not NONE, ODD, EVEN, MARK or SPACE"},
        {"RS232,9600,EVEN,9,1", {}, "number of data bits \"9\" is not 5 to 8"},
        {"RS232,9600,EVEN,8,1.5", {}, "number of stop bits \"1.5\" is not 1 or 2"},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_EQ(lineSettingsFromText(row.text, &error), row.line) << row.text;
        EXPECT_TRUE(error.contains(row.reason)) << qPrintable(error);
        EXPECT_EQ(error.isEmpty(), row.line.has_value()) << row.text;
    }
}

TEST(LineRecord, CodesBecomeSettingsOrARefusal)
{
    const struct {
        DeviceSetting record;
        std::optional<LineSettings> line;
        const char* error;
    } rows[] = {
        {{SerialPortDevice, "A", 9600, 8, 0, 2}, LineSettings{9600, Parity::Even, 8}, ""},
        {{SerialPortDevice, "A", 9600, 7, 2, 0},
         LineSettings{9600, Parity::None, 7, StopBits::Two},
         ""},
        {{SerialPortDevice, "A", 0, 8, 0, 2}, {}, "port A: bad baud rate 0"},
        {{SerialPortDevice, "A", 9600, 8, 0, 5}, {}, "port A: bad parity code 5"},
        {{SerialPortDevice, "A", 9600, 8, 1, 2}, {}, "port A: bad stop-bit code 1"},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_EQ(lineSettingsFrom(row.record, &error), row.line) << row.error;
        EXPECT_EQ(error, row.error);
    }
}

TEST(PortText, IsAnAddressOrARefusal)
{
    using Kind = PortAddress::Kind;
    const struct {
        const char* text;
        std::optional<PortAddress> address;
        const char* error;
    } rows[] = {
        {"/dev/ttyUSB0", PortAddress{Kind::Serial, "/dev/ttyUSB0", 0}, ""},
        {"tcp:192.168.0.10:8502", PortAddress{Kind::Tcp, "192.168.0.10", 8502}, ""},
        {"TCP:plc-7", PortAddress{Kind::Tcp, "plc-7", 0}, ""},
        {"tcp:[::1]:65535", PortAddress{Kind::Tcp, "::1", 65535}, ""},
        {"", {}, "\"\": expected a serial device or tcp:HOST:PORT"},
        {"tcp::8501", {}, "\"tcp::8501\": the host is missing, as in tcp:192.168.0.10:8501"},
        {"tcp:plc:65536", {}, "\"tcp:plc:65536\": the port number is not between 1 and 65535"},
        {"10.0.0.1:8501",
         {},
         "\"10.0.0.1:8501\": type tcp:10.0.0.1:8501 for a controller at this address"},
        {"::1", {}, "\"::1\": type tcp:[::1] for a controller at this address"},
        {"tcp:::1", {}, "\"tcp:::1\": an IPv6 address must be in brackets, as in tcp:[::1]:8501"},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_EQ(portAddressFromText(row.text, &error), row.address) << row.text;
        EXPECT_EQ(error, row.error);
    }
}

TEST(ListenText, IsAnAddressOrARefusal)
{
    const struct {
        const char* text;
        const char* address; ///< as portAddressFromText() reads it; null for a refusal
        const char* error;
    } rows[] = {
        {"8501", "tcp:127.0.0.1:8501", ""},
        {"0.0.0.0:65535", "tcp:0.0.0.0:65535", ""},
        {"[::1]:0", "tcp:[::1]", ""},
        {"::1:0", nullptr, "\"::1:0\": an IPv6 address must be in brackets, as in [::1]:8501"},
        {":8501", nullptr, "\":8501\": the address is missing, as in 0.0.0.0:8501"},
        {"10.0.0.1", nullptr, "\"10.0.0.1\": the port is missing, as in 127.0.0.1:8501"},
        {"[::1]", nullptr, "\"[::1]\": the port number is not between 0 and 65535"},
        {"4294967297", nullptr, "\"4294967297\": the port number is not between 0 and 65535"},
        {"", nullptr, "\"\": the port number is not between 0 and 65535"},
    };
    for (const auto& row : rows) {
        QString error;
        const auto address = listenAddressFromText(row.text, &error);
        EXPECT_EQ(address ? textOf(*address) : QString(), row.address) << row.text;
        EXPECT_EQ(error, row.error);
    }
    EXPECT_EQ(textOf({PortAddress::Kind::Serial, "/dev/ttyUSB0", 0}), "/dev/ttyUSB0");
}

} // namespace
