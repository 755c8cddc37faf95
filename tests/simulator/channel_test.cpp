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
        const auto parsed = FaultPlan::parse(text, 1, why);
        ASSERT_TRUE(parsed) << why;
        plan = *parsed;
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

TEST_F(ChannelTest, TakesCommandsHoweverTheyArrive)
{
    for (char byte : std::string("CR\r\nRDS DM0 1\r"))
        hostSends(std::string(1, byte));
    EXPECT_EQ(hostGets(), "CC\r\n");
    hostSends("\nCQ\r\nCR\r\n");
    EXPECT_EQ(hostGets(), "00000\r\nCF\r\nCC\r\n");
    EXPECT_TRUE(channel.idle());
}

TEST_F(ChannelTest, RefusesLinesOfTheWrongForm)
{
    const struct {
        const char* name;
        std::string bytes;
        const char* reply;
    } rows[] = {
        {"LF alone", "CR\n", "E1\r\n"},
        {"LF alone after a data command", "CR\r\nRDS DM0 1\n", "CC\r\nE1\r\n"},
        {"CR inside", "CR\rCR\r\n", "E1\r\n"},
        {"noise", std::string("\x80\0\xFF\r\n", 5), "E1\r\n"},
        {"an empty line is passed over", "\r\nCR\r\n", "CC\r\n"},
        {"a line far too long", "RDS " + std::string(1 << 20, '0') + "\r\nCR\r\n", "E1\r\nCC\r\n"},
        {"the longest line of all", "RDS DM" + std::string(MaxCommandLength - 9, '0') + "0 1\r\n",
         "00000\r\n"},
        {"a line too long by one, good but for that",
         "RDS DM" + std::string(MaxCommandLength + 1 - 9, '0') + "0 1\r\nCR\r\n", "E1\r\nCC\r\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        hostSends(row.bytes);
        EXPECT_EQ(hostGets(), row.reply);
    }
}

TEST_F(ChannelTest, FinishesALateReplyBeforeTheNextCommand)
{
    usePlan("late=700ms@WRS");
    hostSends("CR\r\n");
    EXPECT_EQ(hostGets(), "CC\r\n");
    hostSends("WRS DM0 1 5\r\nWRS DM0 1 6\r\n");
    EXPECT_EQ(channel.nextDue(), 1700);
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
    std::string bytes;
    for (TimeMs due = 1005; due <= 1020; due += 5) {
        EXPECT_EQ(channel.nextDue(), due);
        now = due;
        bytes += channel.due(now);
        channel.sent(1, now);
    }
    EXPECT_EQ(bytes, "CC\r\n");
    EXPECT_TRUE(channel.idle());
}

TEST_F(ChannelTest, CarriesOutASilentCommandButNotARefusedOne)
{
    usePlan("silent@WRS,error=3@ST");
    hostSends("CR\r\nWRS DM0 1 5\r\nST MR0\r\n");
    EXPECT_EQ(hostGets(), "CC\r\nE3\r\n");
    EXPECT_EQ(memory.look("DM0"), 5u);
    EXPECT_EQ(memory.lookState("MR0"), 0u);
}

TEST_F(ChannelTest, TellsItsTraffic)
{
    usePlan("nul=1@CQ");
    hostSends("CR\r\nCQ\r\n\x7F\n");
    hostGets();
    EXPECT_EQ(logged, "pty > CR\n"
                      "pty < CC\\r\\n\n"
                      "pty > CQ\n"
                      "pty < C\\x00\\r\\n  (nul=1)\n"
                      "pty > \\x7F\\n\n"
                      "pty < E1\\r\\n\n");
}

} // namespace
