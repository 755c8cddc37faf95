// Stories told to one session: what a host sends, and what it must get.
#include "simulator/session.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace
{

using simulator::Memory;
using simulator::Session;

/// Lines that begin with "> " are commands, the line "< " after each is the wanted reply without
/// its CR LF.
struct Story {
    const char* name;
    const char* text;
};

void expectStory(const Story& story)
{
    SCOPED_TRACE(story.name);
    Memory memory;
    Session session(memory);
    std::istringstream lines(story.text);
    std::string command;
    for (std::string line; std::getline(lines, line);) {
        const std::string content = line.substr(std::min<size_t>(2, line.size()));
        if (line[0] == '>')
            command = content;
        else
            EXPECT_EQ(session.answer(command), content + "\r\n") << "answering " << command;
    }
}

TEST(Session, TellsItsStories)
{
    const Story stories[] = {
        {"a session opens and closes", "> CR\n< CC\n> CQ\n< CF"},
        {"a host that lost its way opens again", "> CR\n< CC\n> CR\n< CC\n> RDS DM0 1\n< 00000"},
        {"nothing goes before the session", "> RDS DM0 1\n< E4\n> WRS DM0 1 00001\n< E4\n> WSS T0 "
                                            "1 1\n< E4\n> ST 0\n< E4\n> RS 0\n< E4\n"
                                            "> CQ\n< E4\n> CR\n< CC\n> RDS DM0 1\n< 00000"},
        {"nothing goes after the session", "> CR\n< CC\n> CQ\n< CF\n> RDS DM0 1\n< E4\n> CQ\n< E4"},

        {"words have five digits", "> CR\n< CC\n> WRS DM00100 3 00012 00002 65535\n< OK\n"
                                   "> RDS DM00100 4\n< 00012 00002 65535 00000"},
        {"32-bit values have ten digits", "> CR\n< CC\n> WRS AT0 2 4294967295 0000000001\n< OK\n"
                                          "> RDS AT0 3\n< 4294967295 0000000001 0000000000"},
        {"bits are set and reset, and go on in the next channel",
         "> CR\n< CC\n> ST MR00014\n< OK\n> ST MR00100\n< OK\n> RDS MR00014 4\n< 1 0 1 0\n"
         "> RS MR00014\n< OK\n> RDS MR00014 1\n< 0"},
        {"bits are written in a row",
         "> CR\n< CC\n> WRS LR00115 2 1 1\n< OK\n> RDS LR00200 2\n< 1 0"},
        {"relays have no letters",
         "> CR\n< CC\n> ST 00100\n< OK\n> RDS 00015 2\n< 0 1\n> RDS R00100 1\n< E0"},
        {"a timer has a contact, a current value and a set value",
         "> CR\n< CC\n> WRS T0012 1 0000000005\n< OK\n> WSS T0012 2 0000000100 0000000200\n< OK\n"
         "> ST T0012\n< OK\n> RDS T0012 2\n< 1,0000000005,0000000100 0,0000000000,0000000200\n"
         "> RS T0012\n< OK\n> RDS T0012 1\n< 0,0000000005,0000000100"},
        {"C, CTC and CTH count too, each on its own",
         "> CR\n< CC\n> WSS C0001 1 7\n< OK\n> WSS CTC1 1 8\n< OK\n> WRS CTH1 1 9\n< OK\n"
         "> RDS C0001 1\n< 0,0000000000,0000000007\n> RDS CTC1 1\n< 0,0000000000,0000000008\n"
         "> RDS CTH1 1\n< 0,0000000009,0000000000"},
        {"device letters count without regard to case, numbers without leading zeros",
         "> CR\n< CC\n> WRS dm5 1 3\n< OK\n> RDS Dm000005 1\n< 00003\n> ST mr1\n< OK\n"
         "> RDS MR00001 1\n< 1"},
        {"Z01 is the first index register", "> CR\n< CC\n> RDS Z01 1\n< 00000\n> RDS Z0 1\n< E0\n> "
                                            "RDS Z12 1\n< 00000\n> RDS Z13 1\n< E0"},
        {"link relays are numbered in hexadecimal",
         "> CR\n< CC\n> ST B0F\n< OK\n> ST b10\n< OK\n> RDS BE 4\n< 0 1 1 0\n> RDS B3FFF 1\n< 0\n"
         "> RDS B4000 1\n< E0"},
    };
    for (const Story& story : stories)
        expectStory(story);
}

TEST(Session, RefusesWhatItCannotDo)
{
    const struct {
        const char* command;
        const char* error;
    } rows[] = {
        // a device or a run that does not exist
        {"RDS DM65535 1", "E0"},
        {"RDS DM65534 2", "E0"},
        {"RDS DM123456 1", "E0"},
        {"RDS DM99999999999999999999 1", "E0"},
        {"RDS DM 1", "E0"},
        {"RDS DM-1 1", "E0"},
        {"RDS DM1F 1", "E0"},
        {"RDS QQ1 1", "E0"},
        {"RDS  1", "E0"},
        {"RDS MR00016 1", "E0"},
        {"RDS MR99915 2", "E0"},
        {"RDS T4000 1", "E0"},
        {"RDS TS0 1", "E0"},
        {"WRS DM65534 2 1 1", "E0"},
        {"WSS T4000 1 1", "E0"},
        {"ST MR00016", "E0"},
        {"RS 60000", "E0"},
        // a command that is none
        {"?K", "E1"},
        {"rds DM0 1", "E1"},
        {"RDSDM0 1", "E1"},
        {"CR ", "E1"},
        {"CQ 1", "E1"},
        {"RDS", "E1"},
        {"RDS DM0", "E1"},
        {"RDS DM0 1 1", "E1"},
        {"RDS DM0  1", "E1"},
        {"RDS DM0 0", "E1"},
        {"RDS DM0 -1", "E1"},
        {"RDS DM0 +1", "E1"},
        {"RDS DM0 1001", "E1"},
        {"RDS DM0 4294967297", "E1"},
        {"RDS DM0 1\r", "E1"},
        {"WRS DM0 0", "E1"},
        {"WRS DM0 2 1", "E1"},
        {"WRS DM0 1 1 1", "E1"},
        {"WRS DM0 1 65536", "E1"},
        {"WRS DM0 1 x", "E1"},
        {"WRS DM0 1 ", "E1"},
        {"WRS MR0 1 2", "E1"},
        {"WRS AT0 1 4294967296", "E1"},
        {"WSS DM0 1 1", "E1"},
        {"WSS MR0 1 1", "E1"},
        {"ST DM0", "E1"},
        {"ST AT0", "E1"},
        {"ST MR0 1", "E1"},
        {"ST", "E1"},
    };
    for (const auto& row : rows) {
        Memory memory;
        Session session(memory);
        session.answer("CR");
        EXPECT_EQ(session.answer(row.command), row.error + std::string("\r\n")) << row.command;
        EXPECT_EQ(session.answer("RDS DM0 2"), "00000 00000\r\n") << "after " << row.command;
    }
}

TEST(Session, CarriesTheLargestCommands)
{
    const struct {
        const char* name;
        const char* device;
        size_t bytesPerItem; ///< with its blank
    } rows[] = {
        {"words", "DM0", 6},
        {"32-bit values", "AT0", 11},
        {"bits", "MR0", 2},
        {"timers", "T0", 24},
    };
    Memory memory;
    Session session(memory);
    session.answer("CR");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::string write = std::string("WRS ") + row.device + " 1000";
        for (int i = 0; i < 1000; ++i)
            write += " 0000000001";
        EXPECT_EQ(session.answer(write), "OK\r\n");
        const std::string read = session.answer(std::string("RDS ") + row.device + " 1000");
        EXPECT_EQ(read.size(), 1000 * row.bytesPerItem + 1);
    }
    EXPECT_EQ(session.answer("RDS DM999 2"), "00001 00000\r\n");
}

TEST(Session, SaysNothingToAnEmptyLine)
{
    Memory memory;
    EXPECT_EQ(Session(memory).answer(""), "");
}

} // namespace
