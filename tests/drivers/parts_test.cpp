// The parts that drivers are made of, and BasicDriver that puts them together.
#include "conformance/scriptedport.h"

#include "drivers/basicdriver.h"
#include "drivers/driversetting.h"
#include "drivers/tools.h"

#include <gtest/gtest.h>

#include <memory>

using namespace driverkit;

namespace
{

TEST(Parts, DeviceTexts)
{
    const struct {
        const char* text;
        const char* symbol;
        qint64 number; ///< -1: not plain
        bool hasNumber;
        const char* next; ///< the text of number + 1
    } rows[] = {
        {"DM100", "DM", 100, true, "DM101"},
        {"dm009", "DM", 9, true, "dm010"},
        {"DM99", "dm", 99, true, "DM100"},
        {"DM", "DM", 0, false, "DM1"},
        {"", "", 0, false, "1"},
        {"D1F", "D", -1, false, nullptr},
        {"D123456789012345678", "D", 123456789012345678, true, "D123456789012345679"},
        {"D1234567890123456789", "D", -1, false, nullptr},
        {"D00000000000000000000000000000017", "", -1, false, nullptr}, // 33 characters
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        const DeviceText text{QByteArray(row.text)};
        EXPECT_TRUE(text.hasSymbol(row.symbol));
        EXPECT_EQ(text.number(), row.number);
        EXPECT_EQ(text.hasNumber(), row.hasNumber);
        EXPECT_TRUE(!row.next || text.at(row.number + 1) == row.next);
    }
    EXPECT_FALSE(DeviceText(QByteArray("DM1")).hasSymbol("D"));
    EXPECT_FALSE(DeviceText(QByteArray("D1")).hasSymbol("DM"));
}

TEST(Parts, DevicesThatExist)
{
    const struct {
        const char* text;
        qint64 count;
        bool exist; ///< of D0 to D99
    } rows[] = {
        {"D0", 100, true}, {"D0", 101, false}, {"D99", 1, true},
        {"D99", 2, false}, {"D100", 0, false}, {"D", 1, false},
        {"E0", 1, false},  {"D1x", 1, false},  {"D1", Q_INT64_C(0x7FFFFFFFFFFFFFFF), false}};
    for (const auto& row : rows)
        EXPECT_EQ(DeviceText(QByteArray(row.text)).hasDevices("D", row.count, 100), row.exist)
            << row.text << " x " << row.count;
}

TEST(Parts, UnitsAndValues)
{
    const int bits[] = {0, 1, 8, 16, 32, 64, 8, 1, 0};
    for (int code = -1; code <= 7; ++code)
        EXPECT_EQ(unitBits(code), bits[code + 1]) << code;

    QByteArray data;
    appendValue(&data, 0x12345678, 2);
    appendValue(&data, 0x9ABCDEF0, 4);
    EXPECT_EQ(data.toHex(), "7856f0debc9a");
    EXPECT_EQ(valueAt(data, 0, 2), 0x5678u);
    EXPECT_EQ(valueAt(data, 1, 4), 0x00009ABCu); // the last two bytes are missing
    EXPECT_EQ(valueAt(data, 9, 4), 0u);
}

TEST(Parts, DefaultLineIsTheSameAsRecordAndAsText)
{
    const struct {
        DefaultLine line;
        const char* text;
    } rows[] = {{{"COM2", 9600, 8, EvenParity, OneStopBit}, "RS232,9600,EVEN,8,1"},
                {{"COM1", 115200, 7, OddParity, TwoStopBits}, "RS232,115200,ODD,7,2"},
                {{"COM3", 300, 5, NoParity, OneAndAHalfStopBits}, "RS232,300,NONE,5,1.5"},
                {{"COM3", 1200, 8, MarkParity, OneStopBit}, "RS232,1200,MARK,8,1"},
                {{"COM3", 1200, 8, SpaceParity, OneStopBit}, "RS232,1200,SPACE,8,1"}};
    for (const auto& row : rows) {
        EXPECT_EQ(lineText(row.line), row.text);
        const std::unique_ptr<DeviceSetting> record(newDeviceSetting(row.line));
        EXPECT_EQ(record->string, row.line.port);
        EXPECT_EQ(record->baudrate, row.line.baud);
        EXPECT_EQ(record->databits, row.line.dataBits);
        EXPECT_EQ(record->parity, row.line.parity);
        EXPECT_EQ(record->stopbits, row.line.stopBits);
    }
}

TEST(Parts, ReceivingUpToADelimiter)
{
    const struct {
        const char* name;
        std::vector<std::string> script;
        const char* reply;
        const char* failure; ///< null for none
    } rows[] = {
        {"reply", {R"(read 1 "3")", R"(read 1 "5")", R"(read 1 "\n")"}, "35", nullptr},
        {"empty reply", {R"(read 1 "\n")"}, "", nullptr},
        {"longest reply",
         {R"(read 1 "1")", R"(read 1 "2")", R"(read 1 "3")", R"(read 1 "\n")"},
         "123",
         nullptr},
        {"too long",
         {R"(read 1 "1")", R"(read 1 "2")", R"(read 1 "3")", R"(read 1 "4")"},
         "123",
         "invalid response"},
        {"cut", {R"(read 1 "1")", R"(read 1 "")"}, "1", "packet loss"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedPort port(row.script);
        ErrorState error;
        QByteArray reply("left over");
        EXPECT_EQ(Exchange(&port, error).receiveUntil('\n', 3, &reply), !row.failure);
        EXPECT_EQ(reply, row.reply);
        EXPECT_EQ(error.text(), row.failure ? row.failure : "");
        EXPECT_EQ(port.calls(), row.script);
    }
}

TEST(Parts, ReceivingWhatTheFirstBytesTell)
{
    const auto restOf = [](const char* begin) { return begin[0] - '0'; };
    const struct {
        const char* name;
        std::vector<std::string> script;
        bool good;
        const char* bytes = "";
    } rows[] = {
        {"rest", {R"(read 2 "3x")", R"(read 3 "abc")"}, true, "3xabc"},
        {"no rest", {R"(read 2 "0x")"}, true, "0x"},
        {"refused by the caller", {R"(read 2 "!x")"}, false},
        {"shorter than the shortest", {R"(read 2 "3")"}, false},
        {"rest is cut", {R"(read 2 "3x")", R"(read 3 "ab")"}, false},
        {"count beyond what was asked", {R"(read 2 "3x" as 7)"}, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ScriptedPort port(row.script);
        ErrorState error;
        char buffer[16] = {};
        EXPECT_EQ(Exchange(&port, error).receiveProbed(buffer, 2, restOf), row.good);
        EXPECT_EQ(row.good ? std::string(buffer) : "", row.bytes);
        EXPECT_EQ(port.calls(), row.script);
    }
}

/// A port that gives one byte at each read and takes its time: for the first byte of a reply, and
/// for the others.
class SlowPort : public ScriptedPort
{
public:
    SlowPort(int firstMs, int otherMs)
        : ScriptedPort({})
        , m_firstMs(firstMs)
        , m_otherMs(otherMs)
    {
    }
    int read(char* buffer, int) override
    {
        HRSleep(m_reads++ == 0 ? m_firstMs : m_otherMs);
        *buffer = m_reads % 4 == 0 ? '\n' : 'x';
        return 1;
    }

private:
    const int m_firstMs, m_otherMs;
    int m_reads = 0;
};

TEST(Parts, AReplyMayBeginLateButNotDribble)
{
    const int limitMs = 300;
    const auto receives = [](SlowPort port, char delimiter) {
        ErrorState error;
        QByteArray reply;
        Exchange exchange(&port, error, limitMs);
        exchange.ask("G 1\n");
        const bool good = exchange.receiveUntil(delimiter, 1000000, &reply);
        EXPECT_EQ(error.text(), good ? "" : "packet loss");
        return good;
    };
    EXPECT_TRUE(receives(SlowPort(limitMs + 50, 0), '\n'));
    EXPECT_FALSE(receives(SlowPort(0, 20), 'y')); // which never comes
}

const Identity WordsOnly = {
    "name",           "vendor",     "1",    {"COM1", 9600, 8, NoParity, OneStopBit},
    SerialPortDevice, {1, 2, 3, 4}, {5, 6}, {Words, Words}};

/// Fails as often as it is told, then gives one word.
class Stubborn : public BasicDriver
{
public:
    explicit Stubborn(int failures)
        : BasicDriver(WordsOnly)
        , failuresLeft(failures)
    {
    }
    QByteArray readOnce(AbstractDeviceInterface*, const CommunicatorCommand& command) override
    {
        writeOnce(nullptr, command, QByteArray());
        return "ab";
    }
    bool writeOnce(AbstractDeviceInterface*, const CommunicatorCommand&, const QByteArray&) override
    {
        ++attempts;
        return failuresLeft-- <= 0 || fail("failure ", "here");
    }

    int failuresLeft;
    int attempts = 0;
};

/// A driver whose hasError() is always true.
class NeverContent : public Stubborn
{
public:
    NeverContent()
        : Stubborn(0)
    {
    }
    bool hasError() override { return true; }
};

CommunicatorCommand request(int type, int length)
{
    CommunicatorCommand command;
    command.dataType = type;
    command.length = length;
    return command;
}

TEST(BasicDriver, TriesUntilAnAttemptLeavesNoError)
{
    const struct {
        const char* name;
        int failures;
        std::vector<std::string> calls; ///< of the port
        int attempts;
        const char* data;
        int pausesMs = 0;
    } rows[] = {
        {"at once", 0, {"delay"}, 1, "ab"},
        {"after two failures", 2, {"delay", "retry 3", "delay", "retry 3", "delay"}, 3, "ab"},
        {"no more retries", 2, {"delay", "retry 1", "delay", "retry 1"}, 2, ""},
        {"retries below zero", 1, {"delay", "retry -1"}, 1, ""},
        {"after pauses",
         2,
         {"delay 10", "retry 3", "delay -1", "retry 3", "delay 20"},
         3,
         "ab",
         30},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Stubborn reader(row.failures), writer(row.failures);
        ScriptedPort readPort(row.calls), writePort(row.calls);
        const qint64 begin = CurrentMSecsSinceBoot();
        EXPECT_EQ(reader.read(&readPort, request(DataWord, 1)), row.data);
        EXPECT_GE(CurrentMSecsSinceBoot() - begin, row.pausesMs); // a sleep never ends early
        EXPECT_EQ(writer.write(&writePort, request(DataWord, 0), "ab"), *row.data != '\0');
        EXPECT_EQ(readPort.calls(), row.calls);
        EXPECT_EQ(writePort.calls(), row.calls);
        EXPECT_EQ(reader.attempts, row.attempts);
        EXPECT_EQ(reader.hasError(), *row.data == '\0');
        EXPECT_EQ(reader.getLastError(), row.failures ? "failure here" : "");
    }
}

TEST(BasicDriver, IsDoneAtOnceWithWhatItDoesNotServe)
{
    NeverContent driver;
    const auto expectNoAttempt = [&](int type, int length, const QByteArray& data) {
        SCOPED_TRACE(type);
        ScriptedPort port({"delay"});
        EXPECT_TRUE(driver.read(&port, request(type, length)).isEmpty());
        EXPECT_EQ(port.calls(), std::vector<std::string>{"delay"});
        ScriptedPort writePort({"delay"});
        EXPECT_FALSE(driver.write(&writePort, request(type, length), data));
        EXPECT_EQ(driver.attempts, 0);
    };
    for (int type : {-1, int(DataBit), int(DataByte), int(DataDoubleWord), int(DataQuadWord),
                     int(DataBlock), int(DataBitGroup), 7, 34})
        expectNoAttempt(type, 1, "ab");

    Stubborn idle(0);
    ScriptedPort port({"delay", "delay"});
    EXPECT_TRUE(idle.read(&port, request(DataWord, -5)).isEmpty());
    EXPECT_TRUE(idle.write(&port, request(DataWord, 0), QByteArray()));
    EXPECT_EQ(idle.attempts, 0);
}

TEST(Parts, WidthsHaveTwoCodesForBitsAndBytes)
{
    const int served[] = {0, Bits, Bytes, Words, DoubleWords, QuadWords, Bytes, Bits, 0};
    for (int code = -1; code <= 7; ++code)
        for (int widths : {int(Bits), int(Bytes), int(Words), int(DoubleWords), int(QuadWords)})
            EXPECT_EQ(serves(widths, code), widths == served[code + 1]) << code;
}

TEST(BasicDriver, IsFoundByTheNamesOfItsBases)
{
    Stubborn driver(0);
    EXPECT_TRUE(driver.initialize(nullptr));
    void* const interface = static_cast<DriverInterface*>(&driver);
    EXPECT_EQ(driver.qt_metacast("DriverInterface"), interface);
    EXPECT_EQ(driver.qt_metacast(DriverInterface_iid), interface);
    EXPECT_EQ(driver.getThisObject(), &driver);
    EXPECT_EQ(driver.getBlockAccessSize(), 5);
    EXPECT_EQ(driver.getBitBlockAccessSize(), 6);
    const std::unique_ptr<DriverSetting> setting(driver.getDefaultDriverSetting());
    EXPECT_EQ(setting->timeout * 1000 + setting->retry * 100 + setting->stationid * 10 +
                  setting->delay,
              1234);
}

} // namespace
