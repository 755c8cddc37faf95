// A line without a line: bytes and times go in, bytes and times come out.
#include "simulator/channel.h"
#include "simulator/kv1000/controller.h"
#include "simulator/kv1000/session.h"
#include "simulator/modbusrtu/controller.h"

#include <gtest/gtest.h>

namespace
{

using namespace simulator;
using kv1000::MaxCommandLength;

class ChannelTest : public testing::Test
{
protected:
    void usePlan(const std::string& text)
    {
        std::string why;
        plan = FaultPlan::parse(text, 1, plc.commands(), why).value();
    }

    void hostSends(const std::string& bytes) { channel.receive(bytes, now); }

    /// Everything that is due by now.
    std::string hostGets()
    {
        std::string bytes;
        while (!channel.due(now).empty()) {
            bytes += channel.due(now).front();
            channel.sent(1, now);
        }
        return bytes;
    }

    std::string logged;
    kv1000::Controller plc;
    FaultPlan plan;
    TrafficLog log = [this](const std::string& line) { logged += line + "\n"; };
    TimeMs now = 1000;
    Channel channel{"pty", plc, plan, log};
};

TEST_F(ChannelTest, CutsBytesIntoCommands)
{
    const std::string longest = "RDS DM" + std::string(MaxCommandLength - 9, '0');
    const struct {
        const char* name;
        std::string bytes;
        const char* reply;
    } rows[] = {
        {"several at once", "CQ\r\nCR\r\nRDS DM0 1\r\n", "E4\r\nCC\r\n00000\r\n"},
        {"LF alone", "RDS DM0 1\n", "E1\r\n"},
        {"noise", std::string("\x80\0\xFF\r\n", 5), "E1\r\n"},
        {"an empty line is passed over", "\r\nCR\r\n", "CC\r\n"},
        {"the longest line of all", longest + "0 1\r\n", "00000\r\n"},
        {"too long by one, good but for that", longest + "00 1\r\nCR\r\n", "E1\r\nCC\r\n"},
        {"far too long", longest + longest + longest + "\r\nCR\r\n", "E1\r\nCC\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        hostSends(row.bytes);
        EXPECT_EQ(hostGets(), row.reply);
    }
    for (char byte : std::string("CQ\r\nCR\r\n"))
        hostSends(std::string(1, byte));
    EXPECT_EQ(hostGets(), "CF\r\nCC\r\n");
}

TEST_F(ChannelTest, FinishesALateReplyBeforeTheNextCommand)
{
    usePlan("late=700ms@WRS");
    hostSends("CR\r\nWRS DM0 1 5\r\nWRS DM0 1 6\r\n");
    EXPECT_EQ(hostGets(), "CC\r\n");
    now = 1699;
    hostSends("RDS DM0 1\r\n");
    EXPECT_EQ(channel.nextDue(), 1700);
    EXPECT_EQ(hostGets(), "");
    EXPECT_EQ(plc.look("DM0"), 5u);
    now = 1700;
    EXPECT_EQ(hostGets(), "OK\r\n");
    EXPECT_EQ(channel.nextDue(), 2400);
    now = 2400;
    EXPECT_EQ(hostGets(), "OK\r\n00006\r\n");
    EXPECT_EQ(channel.nextDue(), std::nullopt);
}

// 11 bits a byte at 1100 baud are 10 ms a byte.
TEST_F(ChannelTest, PacesRequestAndReplyLikeALine)
{
    usePlan("late=5ms@CQ");
    Channel slow("pty", plc, plan, log, 1100);
    const struct {
        TimeMs time;
        const char* bytes;
    } rows[] = {{1079, ""}, {1080, "C"}, {1089, ""}, {1105, "C\r"}, {1110, "\n"}};
    const auto get = [&](TimeMs time) {
        const std::string bytes(slow.due(time));
        if (!bytes.empty())
            slow.sent(bytes.size(), time);
        return bytes;
    };
    slow.receive("\r\nCR\r\n", 1010); // six bytes, the first two no request
    EXPECT_EQ(slow.nextDue(), 1080);
    for (const auto& row : rows)
        EXPECT_EQ(get(row.time), row.bytes) << row.time;
    slow.receive("CQ\r\n", 2000);
    EXPECT_EQ(slow.nextDue(), 2055);
    EXPECT_EQ(get(2500), "CF\r\n");
    EXPECT_TRUE(slow.idle());
}

TEST_F(ChannelTest, DropsARequestWithAPauseInIt)
{
    modbusrtu::Controller station;
    Channel rtu("pty", station, plan, log);
    const std::string request("\x01\x03\x00\x08\x00\x01\x05\xC8", 8);
    rtu.receive(request.substr(0, 3), 1000);
    rtu.receive(request.substr(3), 1030);
    EXPECT_FALSE(rtu.idle());
    rtu.sent(rtu.due(1030).size(), 1030);
    rtu.receive(request.substr(0, 3), 1100);
    rtu.receive(request.substr(3), 1131);
    EXPECT_TRUE(rtu.idle());
}

TEST_F(ChannelTest, LetsValuesMove)
{
    std::string why;
    ASSERT_TRUE(plc.move("DM0=counter/1s", why)) << why;
    hostSends("CR\r\nRDS DM0 1\r\n");
    EXPECT_EQ(hostGets(), "CC\r\n00000\r\n");
    now += 7000;
    hostSends("RDS DM0 1\r\nWRS DM0 1 5\r\n");
    EXPECT_EQ(hostGets(), "00007\r\nOK\r\n");
    now += 1000;
    hostSends("RDS DM0 1\r\n");
    EXPECT_EQ(hostGets(), "00005\r\n");
}

TEST_F(ChannelTest, CarriesOutASilentCommandButNotARefusedOneAndTellsBoth)
{
    usePlan("silent@WRS,error=3@ST,nul=1@CR");
    hostSends("CR\r\nWRS DM0 1 5\r\nST MR0\r\n");
    hostGets();
    EXPECT_EQ(plc.look("DM0"), 5u);
    EXPECT_EQ(plc.lookState("MR0"), 0u);
    EXPECT_EQ(logged, "pty > CR\n"
                      "pty < C\\x00\\r\\n  (nul=1)\n"
                      "pty > WRS DM0 1 5\n"
                      "pty <   (silent)\n"
                      "pty > ST MR0\n"
                      "pty < E3\\r\\n  (error=3)\n");
}

} // namespace
