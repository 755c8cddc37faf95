// The Modbus RTU driver against a station that libmodbus plays, over a real serial port.
#include "station.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "host/driverplugin.h"
#include "host/lineport.h"
#include "host/portaddress.h"

#include <QCoreApplication>
#include <QProcess>
#include <QVariant>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

constexpr int LongMs = 10 * 1000; ///< a test that waits this long has failed
constexpr int ShortMs = 50;       ///< for replies that never come
constexpr int NoRetry = 0;

CommunicatorCommand commandFor(int dataType, const char* address, int length)
{
    CommunicatorCommand command;
    command.dataType = dataType;
    command.address = QString::fromUtf8(address);
    command.length = length;
    return command;
}

class Modbus : public testing::Test
{
protected:
    void SetUp() override
    {
        QString error;
        plugin = host::DriverPlugin::load(QStringLiteral(MODBUS_DRIVER), &error);
        ASSERT_TRUE(plugin) << qPrintable(error);
        openPort(LongMs, NoRetry);
    }

    void openPort(int timeoutMs, int retries)
    {
        port.reset(); // before the device is opened again
        const host::PortAddress address = {host::PortAddress::Kind::Serial, station.device(), 0};
        port = host::makePort(address, host::LineSettings(), {timeoutMs, retries, 0});
        ASSERT_TRUE(port->open()) << qPrintable(port->trouble());
    }

    QByteArray read(int dataType, const char* address, int length)
    {
        return driver().read(port.get(), commandFor(dataType, address, length));
    }

    bool write(int dataType, const char* address, const QByteArray& data)
    {
        return driver().write(port.get(), commandFor(dataType, address, 0), data);
    }

    DriverInterface& driver() { return *plugin->driver(); }

    /// What the driver tells of its last request.
    std::string error()
    {
        return driver().hasError() ? driver().getLastError().toStdString() : "no error";
    }

    Station station;
    std::unique_ptr<host::DriverPlugin> plugin;
    std::unique_ptr<host::LinePort> port;
};

struct Kind {
    const char* name;
    int dataType;
    const char* address;
    int length;
    QByteArray data;
    int first;
    std::vector<int> memory; ///< of the station: coils for bits, else registers
};

class Kinds : public Modbus, public testing::WithParamInterface<Kind>
{
protected:
    bool isBits() const
    {
        return GetParam().dataType == DataBit || GetParam().dataType == DataBitGroup;
    }
    std::vector<int> memory(int first, size_t count)
    {
        return isBits() ? station.coils(first, int(count)) : station.registers(first, int(count));
    }
    void setMemory(int first, const std::vector<int>& values)
    {
        isBits() ? station.setCoils(first, values) : station.setRegisters(first, values);
    }
};

QByteArray bytes(const char* hex)
{
    return QByteArray::fromHex(hex);
}

const Kind AllKinds[] = {
    {"Word", DataWord, "HR100", 1, bytes("3412"), 100, {0x1234}},
    {"Words", DataWord, "HR7", 3, bytes("0100 ff80 feff"), 7, {1, 0x80FF, 0xFFFE}},
    {"LastWord", DataWord, "HR399", 1, bytes("3412"), 399, {0x1234}},
    {"DoubleWords",
     DataDoubleWord,
     "HR10",
     2,
     bytes("78563412 01000000"),
     10,
     {0x5678, 0x1234, 1, 0}},
    {"QuadWord",
     DataQuadWord,
     "HR10",
     1,
     bytes("0807060504030201"),
     10,
     {0x0708, 0x0506, 0x0304, 0x0102}},
    {"Byte", DataByte, "HR1", 1, bytes("5a"), 1, {0x5A}},
    {"OddBytes", DataByte, "HR1", 3, bytes("010203"), 1, {0x0201, 0x0003}},
    {"Block", DataBlock, "HR1", 4, bytes("01020304"), 1, {0x0201, 0x0403}},
    {"Bit", DataBit, "C5", 1, bytes("01"), 5, {1}},
    {"BitOff", DataBit, "C5", 1, bytes("00"), 5, {0}},
    {"Bits", DataBit, "C5", 10, bytes("01000101000000000101"), 5, {1, 0, 1, 1, 0, 0, 0, 0, 1, 1}},
    {"BitGroup", DataBitGroup, "C4999", 1, bytes("01"), 4999, {1}},
    {"StationNamed", DataWord, "1:HR100", 1, bytes("3412"), 100, {0x1234}},
    {"LeadingZeros", DataWord, "001:HR00100", 1, bytes("3412"), 100, {0x1234}},
};

INSTANTIATE_TEST_SUITE_P(, Kinds, testing::ValuesIn(AllKinds),
                         [](const auto& info) { return info.param.name; });

TEST_P(Kinds, IsRead)
{
    const Kind& kind = GetParam();
    setMemory(kind.first, kind.memory);
    EXPECT_EQ(read(kind.dataType, kind.address, kind.length).toHex(), kind.data.toHex());
    EXPECT_EQ(error(), "no error");
}

TEST_P(Kinds, IsWrittenAndNothingBesideIt)
{
    const Kind& kind = GetParam();
    const int total = isBits() ? Station::CoilCount : Station::RegisterCount;
    std::vector<int> expected(total, 1);
    setMemory(0, expected);
    std::copy(kind.memory.begin(), kind.memory.end(), expected.begin() + kind.first);

    EXPECT_TRUE(write(kind.dataType, kind.address, kind.data));
    EXPECT_EQ(error(), "no error");
    EXPECT_EQ(memory(0, total), expected);
}

struct Split {
    const char* name;
    int dataType;
    const char* address;
    int length;
    int devices;                 ///< coils or registers
    std::vector<int> readCounts; ///< devices of each request
    std::vector<int> writeCounts;
};

void PrintTo(const Split& split, std::ostream* out)
{
    *out << split.name;
}

class Splits : public Modbus, public testing::WithParamInterface<Split>
{
protected:
    /// The devices of each request that arrived, which must join seamlessly.
    std::vector<int> countsOfRequests(int first)
    {
        std::vector<int> counts;
        for (const QByteArray& request : station.takeRequests()) {
            const auto number = [&](int i) {
                return (request.at(i) & 0xFF) << 8 | (request.at(i + 1) & 0xFF);
            };
            EXPECT_EQ(number(2), first);
            counts.push_back(number(4));
            first += counts.back();
        }
        return counts;
    }
};

INSTANTIATE_TEST_SUITE_P(
    , Splits,
    testing::Values(Split{"LargestWordRead", DataWord, "HR9", 125, 125, {125}, {123, 2}},
                    Split{"LargestWordWrite", DataWord, "HR9", 123, 123, {123}, {123}},
                    Split{"Words", DataWord, "HR9", 251, 251, {125, 125, 1}, {123, 123, 5}},
                    Split{
                        "DoubleWordsStayWhole", DataDoubleWord, "HR9", 63, 126, {124, 2}, {122, 4}},
                    Split{"LargestBitRead", DataBit, "C3", 2000, 2000, {2000}, {1968, 32}},
                    Split{"Bits", DataBit, "C3", 4001, 4001, {2000, 2000, 1}, {1968, 1968, 65}}),
    [](const auto& info) { return info.param.name; });

TEST_P(Splits, CoverTheRequestExactly)
{
    const Split& split = GetParam();
    const bool isBits = split.dataType == DataBit;
    const int first = isBits ? 3 : 9;
    QByteArray data;
    std::vector<int> memory;
    for (int i = 0; i < split.devices; ++i) {
        const int value = isBits ? (i * i / 3) % 2 : 257 * i % 65521;
        memory.push_back(value);
        data.append(char(value));
        if (!isBits)
            data.append(char(value >> 8));
    }

    EXPECT_TRUE(write(split.dataType, split.address, data)) << error();
    EXPECT_EQ(countsOfRequests(first), split.writeCounts);
    EXPECT_EQ(isBits ? station.coils(first, split.devices)
                     : station.registers(first, split.devices),
              memory);

    EXPECT_EQ(read(split.dataType, split.address, split.length), data) << error();
    EXPECT_EQ(countsOfRequests(first), split.readCounts);
}

TEST_F(Modbus, TellsWhyTheStationRefuses)
{
    const struct {
        int code;
        const char* text;
    } rows[] = {
        {1, "Response During an Error: exception 1, illegal function"},
        {2, "Response During an Error: exception 2, illegal data address"},
        {3, "Response During an Error: exception 3, illegal data value"},
        {4, "Response During an Error: exception 4, device failure"},
        {6, "Response During an Error: exception 6, of its own"},
    };
    for (const auto& row : rows) {
        station.refuseWith(row.code);
        openPort(LongMs, NoRetry); // a port is slow to trust a line after a failure
        EXPECT_EQ(read(DataWord, "HR0", 1), QByteArray());
        EXPECT_EQ(error(), row.text);
        openPort(LongMs, NoRetry);
        EXPECT_FALSE(write(DataBit, "C0", bytes("01")));
        EXPECT_EQ(error(), row.text);
    }
    station.refuseWith(0);
    openPort(LongMs, NoRetry);
    EXPECT_EQ(read(DataWord, "HR399", 2), QByteArray()) << "HR400 is none";
    EXPECT_EQ(error(), rows[1].text);
    EXPECT_EQ(read(DataWord, "HR399", 1), bytes("0000"));
    EXPECT_EQ(error(), "no error");
}

TEST_F(Modbus, ReachesOtherStations)
{
    Station other(247);
    other.setRegisters(0, {0x1234});
    const auto otherPort = host::makePort({host::PortAddress::Kind::Serial, other.device(), 0},
                                          host::LineSettings(), {LongMs, NoRetry, 0});
    ASSERT_TRUE(otherPort->open());
    EXPECT_EQ(driver().read(otherPort.get(), commandFor(DataWord, "247:HR0", 1)), bytes("3412"));

    const std::unique_ptr<DeviceSetting> setting(driver().getDefaultSerialDeviceSetting());
    setting->auxValue = 247;
    EXPECT_TRUE(driver().deviceSettingChanged(setting.get()));
    EXPECT_EQ(driver().read(otherPort.get(), commandFor(DataWord, "HR0", 1)), bytes("3412"));

    for (int none : {0, 248, -1}) {
        setting->auxValue = none;
        EXPECT_TRUE(driver().deviceSettingChanged(setting.get()));
        openPort(LongMs, NoRetry);
        EXPECT_EQ(read(DataWord, "HR0", 1), bytes("0000")) << none;
    }

    // Comes last: libmodbus takes whatever follows for the other station's reply.
    openPort(ShortMs, NoRetry);
    EXPECT_EQ(read(DataWord, "2:HR0", 1), QByteArray());
    EXPECT_EQ(error(), "packet loss: 0 of 5 bytes");
}

/// A reply of nine bytes, and the eight of a write's echo.
const int ReadReplySize = 9, WriteReplySize = 8;

TEST_F(Modbus, TakesNoValueFromAReplyWithAWrongBit)
{
    for (int bit : {0x01, 0x80}) {
        for (int place = 0; place < ReadReplySize; ++place) {
            station.spoilReplies({place, bit});
            openPort(LongMs, NoRetry);
            EXPECT_EQ(read(DataWord, "HR0", 2), QByteArray()) << "byte " << place;
            EXPECT_EQ(error(), "invalid response: bad CRC") << "byte " << place;
        }
        for (int place = 0; place < WriteReplySize; ++place) {
            station.spoilReplies({place, bit});
            openPort(LongMs, NoRetry);
            EXPECT_FALSE(write(DataWord, "HR0", bytes("3412"))) << "byte " << place;
            EXPECT_EQ(error(), "invalid response: bad CRC") << "byte " << place;
        }
    }
}

TEST_F(Modbus, TakesNoValueFromAPartOfAReply)
{
    for (int size = 0; size < ReadReplySize; ++size) {
        Fault cut;
        cut.bytesLeft = size;
        station.spoilReplies(cut);
        openPort(ShortMs, NoRetry);
        EXPECT_EQ(read(DataWord, "HR0", 2), QByteArray()) << size;
        EXPECT_EQ(error(), "packet loss: " + (size < 5 ? std::to_string(size) + " of 5 bytes"
                                                       : std::to_string(size - 5) + " of 4 bytes"));
    }
}

TEST_F(Modbus, TriesAgainAfterASpoiledReply)
{
    Fault once;
    once.flippedByte = 4;
    once.flippedBits = 0x10;
    once.repliesLeft = 1;
    station.spoilReplies(once);
    station.setRegisters(0, {0x1234});
    openPort(LongMs, 1);
    EXPECT_EQ(read(DataWord, "HR0", 1), bytes("3412"));
    EXPECT_EQ(error(), "no error");
    EXPECT_EQ(station.takeRequests().size(), 2u);
}

/// A line that nothing may go over.
class UntouchedPort : public AbstractDeviceInterface
{
public:
    int read(char*, int) override { return touched(); }
    int write(const char*, int) override { return touched(); }
    void setOption(int, const QVariant&) override { touched(); }
    int retry() override { return 0; }
    int delay() override { return 0; }

private:
    int touched()
    {
        ADD_FAILURE() << "the line was used";
        return 0;
    }
};

TEST_F(Modbus, RefusesAddressesThatAreNone)
{
    const struct {
        int dataType;
        const char* address;
        int length;
    } rows[] = {
        {DataWord, "", 1},
        {DataWord, "HR", 1},
        {DataWord, "5", 1},
        {DataWord, "X5", 1},
        {DataWord, "C5", 1},
        {DataBit, "HR5", 1},
        {DataWord, "hr5", 1},
        {DataWord, "HR+5", 1},
        {DataWord, "HR-5", 1},
        {DataWord, "HR 5", 1},
        {DataWord, "HR5x", 1},
        {DataWord, "HR5\xC3\xBC", 1},
        {DataWord, "HR65536", 1},
        {DataWord, "HR000005", 1},
        {DataWord, "HR99999999999", 1},
        {DataWord, "HR65535", 2},
        {DataDoubleWord, "HR65535", 1},
        {DataByte, "HR65535", 3},
        {DataBit, "C65535", 2},
        {DataBit, "C0", INT_MAX},
        {DataQuadWord, "HR0", INT_MAX},
        {DataWord, "0:HR5", 1},
        {DataWord, "248:HR5", 1},
        {DataWord, ":HR5", 1},
        {DataWord, "1:", 1},
        {DataWord, "1:2:HR5", 1},
        {DataWord, "-1:HR5", 1},
    };
    UntouchedPort line;
    for (const auto& row : rows) {
        const CommunicatorCommand command = commandFor(row.dataType, row.address, row.length);
        EXPECT_EQ(driver().read(&line, command), QByteArray());
        EXPECT_EQ(error(), "invalid device address: " + command.address.toStdString());
    }
    EXPECT_FALSE(driver().write(&line, commandFor(DataWord, "HR65535", 0), bytes("01020304")));
    EXPECT_EQ(error(), "invalid device address: HR65535");
}

TEST_F(Modbus, MovesNothingWhenAskedForNothing)
{
    UntouchedPort line;
    for (int length : {0, -1, INT_MIN}) {
        EXPECT_EQ(driver().read(&line, commandFor(DataWord, "HR0", length)), QByteArray());
        EXPECT_EQ(driver().read(&line, commandFor(DataBit, "C0", length)), QByteArray());
    }
    EXPECT_TRUE(driver().write(&line, commandFor(DataWord, "HR0", 0), QByteArray()));
    EXPECT_EQ(error(), "no error");
}

TEST_F(Modbus, IsReachedThroughPlcctl)
{
    port.reset(); // plcctl wants the device for itself
    struct Outcome {
        int status;
        std::string output;
    };
    const auto plcctl = [&](QStringList arguments) -> Outcome {
        arguments << "--driver" << MODBUS_DRIVER << "--port" << station.device();
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(PLCCTL, arguments);
        process.waitForFinished(LongMs);
        return {process.exitCode(), process.readAll().toStdString()};
    };
    const Outcome write = plcctl({"write", "HR100", "4660", "2"});
    EXPECT_EQ(write.status, 0) << write.output;
    EXPECT_EQ(station.registers(100, 2), (std::vector<int>{0x1234, 2}));

    const Outcome read = plcctl({"read", "HR100", "--format", "csv"});
    EXPECT_EQ(read.status, 0);
    EXPECT_EQ(read.output, "device,type,value\nHR100,word,4660\n");

    const Outcome refused = plcctl({"read", "HR400", "--retry", "0"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.output, testing::HasSubstr("exception 2, illegal data address"));
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv); // for Qt's serial port
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
