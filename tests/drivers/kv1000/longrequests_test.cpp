// Requests of every size against a simulated controller: what is too large for one command is cut
// into the largest commands that do, and the data is what one large command would have carried.
#include "drivers/abstractdeviceinterface.h"
#include "drivers/communicatorcommand.h"
#include "drivers/driverinterface.h"
#include "simulator/kv1000/controller.h"
#include "simulator/kv1000/session.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>

extern "C" DriverInterface* CreateDriver();

namespace
{

/// A line whose other end answers at once.
class SimulatedPort : public AbstractDeviceInterface
{
public:
    explicit SimulatedPort(simulator::kv1000::Controller& controller)
        : m_session(controller.memory())
    {
    }

    int read(char* buffer, int maxLength) override
    {
        const int length = qMin(maxLength, int(m_unread.size()));
        std::memcpy(buffer, m_unread.data(), size_t(length));
        m_unread.erase(0, size_t(length));
        return length;
    }

    int write(const char* data, int length) override
    {
        EXPECT_LE(length, 1552);
        const std::string line(data, size_t(length - 2));
        EXPECT_EQ(std::string(data + length - 2, 2), "\r\n");
        if (line != "CR" && line != "CQ")
            commands.push_back(line);
        else
            sessions += line == "CR";
        m_unread += m_session.answer(line);
        return length;
    }

    void setOption(int, const QVariant&) override { m_unread.clear(); }
    int retry() override { return 0; }
    int delay() override { return 0; }

    std::vector<std::string> commands; ///< but for opening and closing
    int sessions = 0;

private:
    simulator::kv1000::Session m_session;
    std::string m_unread;
};

class LongRequests : public testing::Test
{
protected:
    QByteArray read(int type, const std::string& device, int units)
    {
        CommunicatorCommand command;
        command.dataType = type;
        command.address = QString::fromStdString(device);
        command.length = units;
        const QByteArray data = driver->read(&port, command);
        EXPECT_FALSE(driver->hasError()) << driver->getLastError().toStdString();
        return data;
    }

    bool write(int type, const std::string& device, const QByteArray& data)
    {
        CommunicatorCommand command;
        command.dataType = type;
        command.address = QString::fromStdString(device);
        const bool written = driver->write(&port, command, data);
        EXPECT_EQ(written, !driver->hasError()) << driver->getLastError().toStdString();
        return written;
    }

    simulator::kv1000::Controller controller;
    SimulatedPort port{controller};
    const std::unique_ptr<DriverInterface> driver{CreateDriver()};
};

TEST_F(LongRequests, ReadsAreCutWhereAReplyWouldNotFit)
{
    const struct {
        int type;
        const char* device;
        int units;
        std::vector<std::string> commands;
    } rows[] = {
        {DataWord, "DM100", 256, {"RDS DM00100 256"}},
        {DataWord, "DM100", 257, {"RDS DM00100 256", "RDS DM00356 1"}},
        {DataWord, "VM10", 300, {"RDS VM10 256", "RDS VM266 44"}},
        {DataDoubleWord, "em0", 129, {"RDS em00000 256", "RDS em00256 2"}},
        {DataByte, "FM7", 513, {"RDS FM00007 256", "RDS FM00263 1"}},
        {DataWord, "AT0", 280, {"RDS AT0 139", "RDS AT139 1"}},
        {DataDoubleWord, "T10", 65, {"RDS T0010 64", "RDS T0074 1"}},
        {DataDoubleWord, "TS10", 65, {"RDS T0010 64", "RDS T0074 1"}},
        {DataWord, "CS3900", 129, {"RDS C3900 64", "RDS C3964 1"}},
        {DataByte, "PCTC9", 257, {"RDS CTC9 64", "RDS CTC73 1"}},
        {DataByte, "CTH0", 256, {"RDS CTH0 64"}},
        {DataBit, "MR0", 768, {"RDS MR00000 768"}},
        {DataBit, "MR1", 769, {"RDS MR00001 768", "RDS MR04801 1"}},
        {DataBit, "R15", 1024, {"RDS 00015 768", "RDS 04815 256"}},
        {DataBit, "CR0", 1024, {"RDS CR0000 768", "RDS CR4800 256"}},
        {DataBit, "C100", 65, {"RDS C0100 64", "RDS C0164 1"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device);
        port.commands.clear();
        port.sessions = 0;
        EXPECT_FALSE(read(row.type, row.device, row.units).isEmpty());
        EXPECT_EQ(port.commands, row.commands);
        EXPECT_EQ(port.sessions, 1);
    }
}

TEST_F(LongRequests, WritesAreCutWhereACommandWouldNotFit)
{
    const struct {
        int type;
        const char* device;
        int bytes;
        std::vector<std::string> heads; ///< the commands without their values
    } rows[] = {
        {DataWord,
         "DM100",
         510,
         {"WRS DM00100 255"}}, // 256 would take 15 + 256 x 6 + 2 characters, one too many
        {DataWord, "DM100", 512, {"WRS DM00100 255", "WRS DM00355 1"}},
        {DataWord, "TM0", 512, {"WRS TM000 256"}}, // 13 + 256 x 6 + 2 characters
        {DataWord, "VM1", 512, {"WRS VM1 256"}},   // 11 + 256 x 6 + 2 characters
        {DataWord, "VM1", 514, {"WRS VM1 256", "WRS VM257 1"}},
        {DataWord, "VM1000", 512, {"WRS VM1000 256"}}, // 14 + 256 x 6 + 2 characters fill it
        {DataDoubleWord, "T0", 560, {"WRS T0000 139", "WRS T0139 1"}},
        {DataByte, "PCTC0", 559, {"WSS CTC0 139", "WSS CTC139 1"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.device);
        port.commands.clear();
        port.sessions = 0;
        EXPECT_TRUE(write(row.type, row.device, QByteArray(row.bytes, '\0')));
        ASSERT_EQ(port.commands.size(), row.heads.size());
        for (size_t i = 0; i < row.heads.size(); ++i)
            EXPECT_EQ(port.commands[i].substr(0, row.heads[i].size() + 1), row.heads[i] + " ");
        EXPECT_EQ(port.sessions, 1);
    }
}

TEST_F(LongRequests, BitsAreThoseInMemory)
{
    const struct {
        const char* symbol;
        int first;
        bool channels;
    } areas[] = {{"MR", 114, true}, {"R", 0, true},  {"LR", 99915 - 6500, true}, {"CR", 3, true},
                 {"T", 7, false},   {"C", 0, false}, {"CTC", 1, false}};

    std::mt19937 random(2);
    for (const auto& area : areas) {
        for (int bits : {1, 2, 17, 64, 65, 1024}) {
            const std::string device = area.symbol + std::to_string(area.first);
            SCOPED_TRACE(device + " x " + std::to_string(bits));
            QByteArray data;
            for (int i = 0; i < bits; ++i)
                data.append(char(random() & 1));
            ASSERT_TRUE(write(DataBit, device, data));
            ASSERT_EQ(read(DataBit, device, bits).toHex(), data.toHex());

            int number = area.first;
            for (int i = 0; i < bits; ++i) {
                const std::string bit = area.symbol + std::to_string(number);
                ASSERT_EQ(controller.lookState(bit).value(), unsigned(data.at(i))) << bit;
                number = area.channels && number % 100 == 15 ? number + 85 : number + 1;
            }
        }
    }
}

} // namespace
