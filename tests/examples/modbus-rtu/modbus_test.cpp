// The Modbus RTU driver against the simulated station, and once against a station that a public
// implementation of the protocol plays over a real serial port.
#include "libmodbusstation.h"

#include "drivers/devicesetting.h"
#include "drivers/driverinterface.h"
#include "host/driverplugin.h"
#include "host/makeport.h"
#include "simulator/modbusrtu/controller.h"
#include "support/answeringport.h"

#include <QtEndian>

#include <gtest/gtest.h>

namespace
{

using simulator::modbusrtu::Controller;

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
        connectTo(station);
    }

    /// A fault changes the replies of the controller.
    void connectTo(Controller& controller, std::function<void(std::string& reply)> fault = {})
    {
        session = controller.newSession();
        port = std::make_unique<AnsweringPort>([this, fault](std::string request) {
            const auto frame = session->takeRequest(request);
            std::string reply = frame ? session->answer(*frame) : "";
            if (fault)
                fault(reply);
            return reply;
        });
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

    /// The devices of each request that was sent, which must join seamlessly.
    std::vector<int> countsOfRequests(int first)
    {
        std::vector<int> counts;
        for (const std::string& request : port->commands) {
            EXPECT_EQ(qFromBigEndian<quint16>(request.data() + 2), first);
            counts.push_back(qFromBigEndian<quint16>(request.data() + 4));
            first += counts.back();
        }
        port->commands.clear();
        return counts;
    }

    Controller station;
    std::unique_ptr<host::DriverPlugin> plugin;
    std::unique_ptr<simulator::Session> session;
    std::unique_ptr<AnsweringPort> port;
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
    {"Words", DataWord, "HR7", 3, bytes("0100 ff80 feff"), 7, {1, 0x80FF, 0xFFFE}},
    {"DoubleWord", DataDoubleWord, "HR10", 1, bytes("78563412"), 10, {0x5678, 0x1234}},
    {"QuadWord", DataQuadWord, "HR10", 1, bytes("0200010000000000"), 10, {2, 1, 0, 0}},
    {"OddBytes", DataByte, "HR1", 3, bytes("010203"), 1, {0x0201, 0x0003}},
    {"Bit", DataBit, "C5", 1, bytes("01"), 5, {1}},
    {"Bits", DataBit, "C5", 10, bytes("01000101000000000101"), 5, {1, 0, 1, 1, 0, 0, 0, 0, 1, 1}},
    {"BitGroup", DataBitGroup, "C4999", 1, bytes("01"), 4999, {1}},
};

TEST_F(Modbus, ReadsAndWritesEveryKindOfARealPeerAndNothingBesideIt)
{
    constexpr int LongMs = 10 * 1000; // a test that waits this long has failed
    LibmodbusStation peer(247);
    const auto line = host::makePort({host::PortAddress::Kind::Serial, peer.device(), 0},
                                     host::LineSettings(), {LongMs, 0, 0});
    ASSERT_TRUE(line->open()) << qPrintable(line->lastFailure());
    for (const Kind& kind : kinds) {
        SCOPED_TRACE(kind.name);
        std::vector<int> registers(LibmodbusStation::RegisterCount, 1);
        std::vector<int> coils(LibmodbusStation::CoilCount, 1);
        std::copy(registers.begin(), registers.end(), peer.registers());
        std::copy(coils.begin(), coils.end(), peer.coils());
        std::vector<int>& expected = isBits(kind.dataType) ? coils : registers;
        std::copy(kind.memory.begin(), kind.memory.end(), expected.begin() + kind.first);

        const CommunicatorCommand command =
            commandFor(kind.dataType, (std::string("247:") + kind.address).c_str(), kind.length);
        EXPECT_TRUE(driver().write(line.get(), command, kind.data)) << error();
        EXPECT_TRUE(std::equal(registers.begin(), registers.end(), peer.registers()));
        EXPECT_TRUE(std::equal(coils.begin(), coils.end(), peer.coils()));
        EXPECT_EQ(driver().read(line.get(), command).toHex(), kind.data.toHex());
        EXPECT_EQ(error(), "no error");
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
        for (int i = 0; i < row.devices; ++i) {
            const std::string device = (isBits(row.dataType) ? "C" : "HR") + std::to_string(9 + i);
            ASSERT_EQ(station.look(device), unsigned(values[size_t(i)])) << device;
        }
        EXPECT_EQ(read(row.dataType, row.address, row.length), data) << error();
        EXPECT_EQ(countsOfRequests(9), row.readCounts);
    }
}

TEST_F(Modbus, TellsWhatIsWrongWithAReply)
{
    const struct {
        void (*fault)(std::string& reply);
        const char* error;
    } rows[] = {
        {[](std::string& reply) { reply.clear(); }, "packet loss"},
        {[](std::string& reply) { reply.resize(4); }, "packet loss"},
        {[](std::string& reply) { reply.resize(7); }, "packet loss"},
        {[](std::string& reply) { reply.front() ^= 1; }, "invalid response: bad CRC"},
        {[](std::string& reply) { reply.back() ^= 1; }, "invalid response: bad CRC"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        connectTo(station, row.fault);
        EXPECT_EQ(read(DataWord, "HR0", 2), QByteArray());
        EXPECT_EQ(error(), row.error);
        EXPECT_FALSE(write(DataBit, "C0", bytes("01")));
        EXPECT_EQ(error(), row.error);
    }
    connectTo(station);
    EXPECT_EQ(read(DataWord, "HR9999", 2), QByteArray());
    EXPECT_EQ(error(), "Response During an Error: exception 2");
}

TEST_F(Modbus, ReachesOtherStations)
{
    std::string why;
    Controller other(247);
    ASSERT_TRUE(other.preset("HR0=0x1234", why)) << why;
    connectTo(other);
    EXPECT_EQ(read(DataWord, "247:HR0", 1), bytes("3412")) << error();
    EXPECT_EQ(read(DataWord, "HR0", 1), QByteArray());
    EXPECT_EQ(error(), "packet loss");

    const std::unique_ptr<DeviceSetting> setting(driver().getDefaultSerialDeviceSetting());
    setting->auxValue = 247;
    EXPECT_TRUE(driver().deviceSettingChanged(setting.get()));
    EXPECT_EQ(read(DataWord, "HR0", 1), bytes("3412")) << error();

    connectTo(station);
    for (int none : {0, 248, -1}) {
        setting->auxValue = none;
        EXPECT_TRUE(driver().deviceSettingChanged(setting.get()));
        EXPECT_EQ(read(DataWord, "HR0", 1), bytes("0000")) << none;
    }
}

TEST_F(Modbus, RefusesInvalidAddresses)
{
    for (const char* address : {"C5", "HR+5", "HR65535", "248:HR5"}) {
        EXPECT_EQ(read(DataWord, address, 2), QByteArray());
        EXPECT_EQ(error(), std::string("invalid device address: ") + address);
    }
    EXPECT_TRUE(port->commands.empty());
}

} // namespace
