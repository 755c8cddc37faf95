// The Modbus RTU driver against a station that libmodbus plays, over a real serial port.
#include "station.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "host/driverplugin.h"
#include "host/lineport.h"
#include "host/portaddress.h"

#include <QCoreApplication>
#include <QtEndian>

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

bool isBits(int dataType)
{
    return dataType == DataBit || dataType == DataBitGroup;
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

    std::vector<int> memory(int dataType, int first, int count)
    {
        return isBits(dataType) ? station.coils(first, count) : station.registers(first, count);
    }
    void setMemory(int dataType, int first, const std::vector<int>& values)
    {
        isBits(dataType) ? station.setCoils(first, values) : station.setRegisters(first, values);
    }

    /// The devices of each request that arrived, which must join seamlessly.
    std::vector<int> countsOfRequests(int first)
    {
        std::vector<int> counts;
        for (const QByteArray& request : station.takeRequests()) {
            EXPECT_EQ(qFromBigEndian<quint16>(request.data() + 2), first);
            counts.push_back(qFromBigEndian<quint16>(request.data() + 4));
            first += counts.back();
        }
        return counts;
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

QByteArray bytes(const char* hex)
{
    return QByteArray::fromHex(hex);
}

const Kind kinds[] = {
    {"Word", DataWord, "HR100", 1, bytes("3412"), 100, {0x1234}},
    {"Words", DataWord, "HR7", 3, bytes("0100 ff80 feff"), 7, {1, 0x80FF, 0xFFFE}},
    {"DoubleWord", DataDoubleWord, "HR10", 1, bytes("78563412"), 10, {0x5678, 0x1234}},
    {"QuadWord", DataQuadWord, "HR10", 1, bytes("0200010000000000"), 10, {2, 1, 0, 0}},
    {"OddBytes", DataByte, "HR1", 3, bytes("010203"), 1, {0x0201, 0x0003}},
    {"Block", DataBlock, "HR1", 4, bytes("01020304"), 1, {0x0201, 0x0403}},
    {"Bit", DataBit, "C5", 1, bytes("01"), 5, {1}},
    {"Bits", DataBit, "C5", 10, bytes("01000101000000000101"), 5, {1, 0, 1, 1, 0, 0, 0, 0, 1, 1}},
    {"BitGroup", DataBitGroup, "C4999", 1, bytes("01"), 4999, {1}},
};

TEST_F(Modbus, ReadsEveryKind)
{
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        setMemory(kind.dataType, kind.first, kind.memory);
        EXPECT_EQ(read(kind.dataType, kind.address, kind.length).toHex(), kind.data.toHex());
        EXPECT_EQ(error(), "no error");
    }
}

TEST_F(Modbus, WritesEveryKindAndNothingBesideIt)
{
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        const int total = isBits(kind.dataType) ? Station::CoilCount : Station::RegisterCount;
        std::vector<int> expected(size_t(total), 1);
        setMemory(kind.dataType, 0, expected);
        std::copy(kind.memory.begin(), kind.memory.end(), expected.begin() + kind.first);
        EXPECT_TRUE(write(kind.dataType, kind.address, kind.data)) << error();
        EXPECT_EQ(memory(kind.dataType, 0, total), expected);
    }
}

TEST_F(Modbus, SplitsRequestsThatAreTooLong)
{
    const struct {
        const char* name;
        int dataType;
        const char* address;
        int length;
        int devices;                 ///< coils or registers, from 9 on
        std::vector<int> readCounts; ///< devices of each request
        std::vector<int> writeCounts;
    } rows[] = {
        {"words", DataWord, "HR9", 251, 251, {125, 125, 1}, {123, 123, 5}},
        {"double words stay whole", DataDoubleWord, "HR9", 63, 126, {124, 2}, {122, 4}},
        {"bits", DataBit, "C9", 4001, 4001, {2000, 2000, 1}, {1968, 1968, 65}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        QByteArray data;
        std::vector<int> values;
        for (int i = 0; i < row.devices; ++i) {
            values.push_back(isBits(row.dataType) ? (i * i / 3) % 2 : 257 * i % 65521);
            data.append(char(values.back()));
            if (!isBits(row.dataType))
                data.append(char(values.back() >> 8));
        }
        EXPECT_TRUE(write(row.dataType, row.address, data)) << error();
        EXPECT_EQ(countsOfRequests(9), row.writeCounts);
        EXPECT_EQ(memory(row.dataType, 9, row.devices), values);
        EXPECT_EQ(read(row.dataType, row.address, row.length), data) << error();
        EXPECT_EQ(countsOfRequests(9), row.readCounts);
    }
}

TEST_F(Modbus, TellsWhyTheStationRefuses)
{
    const struct {
        int code;
        const char* text;
    } rows[] = {
        {1, "Response During an Error: exception 1, illegal function"},
        {2, "Response During an Error: exception 2, illegal data address"},
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
    EXPECT_EQ(error(), "packet loss");
}

TEST_F(Modbus, TakesNoValueFromAReplyWithAWrongBit)
{
    const int writeReplySize = 8; // a read's is longer
    for (int place = 0; place < writeReplySize; ++place) {
        Fault flip;
        flip.flippedByte = place;
        flip.flippedBits = 0x80;
        station.spoilReplies(flip);
        openPort(LongMs, NoRetry);
        EXPECT_EQ(read(DataWord, "HR0", 2), QByteArray()) << "byte " << place;
        EXPECT_EQ(error(), "invalid response: bad CRC") << "byte " << place;
        openPort(LongMs, NoRetry);
        EXPECT_FALSE(write(DataWord, "HR0", bytes("3412"))) << "byte " << place;
        EXPECT_EQ(error(), "invalid response: bad CRC") << "byte " << place;
    }
}

TEST_F(Modbus, TakesNoValueFromAPartOfAReply)
{
    const int replySize = 9;
    for (int size = 0; size < replySize; ++size) {
        Fault cut;
        cut.bytesLeft = size;
        station.spoilReplies(cut);
        openPort(ShortMs, NoRetry);
        EXPECT_EQ(read(DataWord, "HR0", 2), QByteArray()) << size;
        EXPECT_EQ(error(), "packet loss") << size;
    }
}

TEST_F(Modbus, RefusesAddressesThatAreNone)
{
    const struct {
        int dataType;
        const char* address;
        int length;
    } rows[] = {
        {DataWord, "X5", 1},
        {DataWord, "C5", 1},
        {DataBit, "HR5", 1},
        {DataWord, "HR+5", 1},
        {DataWord, "HR65536", 1},
        {DataWord, "HR65535", 2},
        {DataDoubleWord, "HR65535", 1},
        {DataBit, "C65535", 2},
        {DataWord, "0:HR5", 1},
        {DataWord, "248:HR5", 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(read(row.dataType, row.address, row.length), QByteArray());
        EXPECT_EQ(error(), std::string("invalid device address: ") + row.address);
    }
    EXPECT_FALSE(write(DataWord, "HR65535", bytes("01020304")));
    EXPECT_EQ(error(), "invalid device address: HR65535");
    EXPECT_TRUE(station.takeRequests().empty());
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv); // for Qt's serial port
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
