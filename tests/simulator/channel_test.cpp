// A line without a line: bytes and times go in, bytes and times come out.
#include "simulator/channel.h"

#include <gtest/gtest.h>

namespace
{

using namespace simulator;

class ChannelTest : public testing::Test
{
protected:
    void usePlan(const std::string& text)
    {
        std::string why;
        plan = FaultPlan::parse(text, 1, why).value();
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
    Memory memory;
    FaultPlan plan;
    TrafficLog log = [this](const std::string& line) { logged += line + "\n"; };
    TimeMs now = 1000;
    Channel channel{"pty", memory, plan, log};
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
    EXPECT_EQ(memory.look("DM0"), 5u);
    now = 1700;
    EXPECT_EQ(hostGets(), "OK\r\n");
    EXPECT_EQ(channel.nextDue(), 2400);
    now = 2400;
    EXPECT_EQ(hostGets(), "OK\r\n00006\r\n");
    EXPECT_EQ(channel.nextDue(), std::nullopt);
}

TEST_F(ChannelTest, DribblesByteByByte)
{
    usePlan("dribble=5ms");
    hostSends("CR\r\n");
    for (const char* byte : {"", "C", "C", "\r", "\n"}) {
        EXPECT_EQ(hostGets(), byte);
        now += 5;
    }
}

TEST_F(ChannelTest, CarriesOutASilentCommandButNotARefusedOneAndTellsBoth)
{
    usePlan("silent@WRS,error=3@ST,nul=1@CR");
    hostSends("CR\r\nWRS DM0 1 5\r\nST MR0\r\n");
    hostGets();
    EXPECT_EQ(memory.look("DM0"), 5u);
    EXPECT_EQ(memory.lookState("MR0"), 0u);
    EXPECT_EQ(logged, "pty > CR\n"
                      "pty < C\\x00\\r\\n  (nul=1)\n"
                      "pty > WRS DM0 1 5\n"
                      "pty <   (silent)\n"
                      "pty > ST MR0\n"
                      "pty < E3\\r\\n  (error=3)\n");
}

} // namespace
