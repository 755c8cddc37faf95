// The plug-in through the loader, against the simulated controller in a process of its own, over a
// real pseudo-terminal and over TCP.
#include "program.h"

#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"
#include "host/driverplugin.h"
#include "host/makeport.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{

/// A driver with a port to a controller.
class Station
{
public:
    Station(const std::string& port, const host::ExchangeSettings& exchange)
    {
        QString error;
        m_plugin = host::DriverPlugin::load(KV1000_DRIVER, &error);
        const auto address = host::portAddressFromText(QString::fromStdString(port), &error);
        if (m_plugin && address)
            m_port = host::makePort(*address, host::LineSettings(), exchange);
        m_open = m_port && m_port->open();
        EXPECT_TRUE(m_open) << error.toStdString() << " " << port;
    }

    bool isOpen() const { return m_open; }
    DriverInterface& driver() { return *m_plugin->driver(); }

    QByteArray read(const char* address, DriverDataType type, int count)
    {
        return driver().read(m_port.get(), command(address, type, count));
    }

    bool write(const char* address, DriverDataType type, const QByteArray& data)
    {
        return driver().write(m_port.get(), command(address, type, 0), data);
    }

private:
    static CommunicatorCommand command(const char* address, DriverDataType type, int count)
    {
        CommunicatorCommand command;
        command.dataType = type;
        command.length = count;
        command.address = address;
        return command;
    }

    std::unique_ptr<host::DriverPlugin> m_plugin;
    std::unique_ptr<host::Port> m_port;
    bool m_open = false;
};

/// A run of devices in one width. The runs of the table share no device.
struct Field {
    const char* first;
    DriverDataType type;
    int count;
    int bytes; ///< of one unit
};

const Field fields[] = {
    {"DM0", DataWord, 1024, 2},       {"DM3000", DataDoubleWord, 1024, 4},
    {"DM6000", DataByte, 1024, 1},    {"EM0", DataWord, 1024, 2},
    {"FM0", DataWord, 1024, 2},       {"ZF0", DataWord, 90, 2},
    {"Z1", DataWord, 12, 2},          {"CM0", DataWord, 1024, 2},
    {"TM0", DataWord, 512, 2},        {"VM0", DataWord, 9, 2},
    {"AT0", DataDoubleWord, 9, 4},    {"T0", DataDoubleWord, 1024, 4},
    {"TS0", DataDoubleWord, 1024, 4}, {"TS1024", DataByte, 1024, 1},
    {"C0", DataDoubleWord, 1024, 4},  {"CS0", DataDoubleWord, 1024, 4},
    {"C1024", DataBlock, 1024, 1},    {"PCTC0", DataDoubleWord, 2, 4},
    {"CTH0", DataDoubleWord, 2, 4},   {"R0", DataBit, 1024, 1},
    {"MR0", DataBit, 1024, 1},        {"LR115", DataBitGroup, 2, 1},
    {"CR2015", DataBit, 20, 1},       {"T0", DataBit, 1024, 1},
    {"C0", DataBitGroup, 20, 1},      {"CTC0", DataBit, 2, 1},
};

/// Bytes that differ from field to field, from place to place and with the seed.
QByteArray patternFor(const Field& field, quint32 seed)
{
    quint32 state = seed + static_cast<quint32>(&field - fields);
    QByteArray pattern;
    while (pattern.size() < field.count * field.bytes) {
        state = state * 1664525 + 1013904223;
        const bool isBit = field.type == DataBit || field.type == DataBitGroup;
        pattern.append(static_cast<char>(isBit ? state >> 31 : state >> 24));
    }
    return pattern;
}

TEST(BothLines, CarryEveryAreaAndWidthAsItWasWritten)
{
    SimulatedController controller;
    quint32 seed = 0;
    for (const std::string& port : {controller.pty(), controller.tcp()}) {
        Station station(port, {10000, 0, 0});
        ASSERT_TRUE(station.isOpen());
        seed += 1000; // what the first line left behind must not pass for what the second wrote
        for (const Field& field : fields) {
            ASSERT_TRUE(station.write(field.first, field.type, patternFor(field, seed)))
                << field.first << ": " << station.driver().getLastError().toStdString();
        }
        for (const Field& field : fields) {
            EXPECT_EQ(station.read(field.first, field.type, field.count), patternFor(field, seed))
                << field.first << " as " << field.type;
        }
    }
}

} // namespace
