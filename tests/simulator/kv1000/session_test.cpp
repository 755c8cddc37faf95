// Stories told to one session: what a host sends, and what it must get.
#include "simulator/kv1000/session.h"
#include "simulator/text.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using simulator::Memory;
using simulator::kv1000::Session;

/// The replies to commands that stand separated by ";", likewise separated, without their CR LF.
std::string replies(Session& session, const char* commands)
{
    std::string all;
    for (std::string_view command : simulator::split(commands, ';')) {
        const std::string reply = session.answer(command);
        all += (all.empty() ? "" : ";") + reply.substr(0, reply.find("\r\n"));
    }
    return all;
}

TEST(Session, TellsItsStories)
{
    const struct {
        const char* name;
        const char* commands;
        const char* replies;
    } rows[] = {
        {"nothing goes before the session",
         "RDS DM0 1;WRS DM0 1 1;WSS T0 1 1;ST 0;RS 0;CQ;CR;RDS DM0 1",
         "E4;E4;E4;E4;E4;E4;CC;00000"},
        {"nothing goes after the session", "CR;CR;CQ;RDS DM0 1;CQ", "CC;CC;CF;E4;E4"},
        {"words have five digits", "CR;WRS dm100 3 12 00002 65535;RDS DM00100 4",
         "CC;OK;00012 00002 65535 00000"},
        {"32-bit values have ten digits", "CR;WRS AT0 1 4294967295;RDS AT0 2",
         "CC;OK;4294967295 0000000000"},
        {"bits go on in the next channel", "CR;WRS LR00115 2 1 1;RS LR00115;RDS LR00115 3",
         "CC;OK;OK;0 1 0"},
        {"relays have no letters", "CR;ST 00100;RDS 00015 2;RDS R00100 1", "CC;OK;0 1;E0"},
        {"a timer has a contact, a current value and a set value",
         "CR;WRS T0012 1 0000000005;WSS T0012 2 0000000100 200;ST T0012;RDS T0012 2",
         "CC;OK;OK;OK;1,0000000005,0000000100 0,0000000000,0000000200"},
        {"counters count each on their own", "CR;WSS C1 1 7;WRS CTH1 1 9;RDS C1 1;RDS CTC1 1",
         "CC;OK;OK;0,0000000000,0000000007;0,0000000000,0000000000"},
        {"the last of an area", "CR;WRS DM65534 1 1;RDS DM65533 2;ST MR99915;RDS MR99914 2",
         "CC;OK;00000 00001;OK;0 1"},
        {"index registers begin with 1", "CR;RDS Z0 1;RDS Z01 1;RDS Z12 1", "CC;E0;00000;00000"},
        {"link relays are numbered in hexadecimal", "CR;ST b10;RDS BE 4;RDS B3FFF 1;RDS B4000 1",
         "CC;OK;0 0 1 0;0;E0"},
    };
    for (const auto& row : rows) {
        Memory memory;
        Session session(memory);
        EXPECT_EQ(replies(session, row.commands), row.replies) << row.name;
    }
}

TEST(Session, RefusesWhatItCannotDo)
{
    const struct {
        const char* error;
        const char* reason;
        std::vector<const char*> commands;
    } rows[] = {
        {"E0", "device", {"RDS DM65535 1", "RDS DM99999999999 1", "RDS DM 1", "RDS DM-1 1"}},
        {"E0", "device", {"RDS DM1F 1", "RDS MR00016 1", "RDS TS0 1", "WSS T4000 1 1", "ST QQ1"}},
        {"E0", "range", {"RDS DM65534 2", "RDS MR99915 2", "WRS DM65534 2 1 1"}},
        {"E1", "command", {"?K", "rds DM0 1", "RDSDM0 1", "CR ", "CQ 1", "RDS DM0 1\r"}},
        {"E1", "words", {"RDS DM0", "RDS DM0  1", "WRS DM0 2 1", "WRS DM0 1 1 1", "ST MR0 1"}},
        {"E1", "count", {"RDS DM0 0", "RDS DM0 +1", "RDS DM0 1001", "WRS DM0 0 1"}},
        {"E1", "value", {"WRS DM0 1 65536", "WRS DM0 1 x", "WRS MR0 1 2"}},
        {"E1", "kind", {"WSS DM0 1 1", "WSS MR0 1 1", "ST DM0", "RS AT0"}},
    };
    Memory memory;
    Session session(memory);
    session.answer("CR");
    for (const auto& row : rows) {
        for (const char* command : row.commands)
            EXPECT_EQ(replies(session, command), row.error) << row.reason << ": " << command;
        EXPECT_EQ(replies(session, "RDS DM0 2"), "00000 00000") << "after bad " << row.reason;
    }
}

} // namespace
