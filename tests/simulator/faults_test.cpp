// Plans and their draws, and what a fault makes of a reply.
#include "simulator/faults.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

namespace
{

using simulator::describe;
using simulator::Fault;
using simulator::FaultKind;
using simulator::FaultPlan;
using simulator::Piece;
using simulator::piecesOf;

FaultPlan planOf(const std::string& text, uint32_t seed = 1)
{
    std::string why;
    const auto plan = FaultPlan::parse(text, seed, why);
    EXPECT_TRUE(plan) << why;
    return plan.value_or(FaultPlan());
}

/// The faults of the replies to these commands, "-" for none.
std::string faultsOf(FaultPlan plan, const std::string& commands)
{
    std::istringstream words(commands);
    std::string faults;
    for (std::string word; words >> word;) {
        const std::string fault = describe(plan.next(word));
        faults += (faults.empty() ? "" : " ") + (fault.empty() ? "-" : fault);
    }
    return faults;
}

TEST(FaultPlan, StrikesTheRepliesThatItNames)
{
    const struct {
        const char* plan;
        const char* commands;
        const char* faults;
    } rows[] = {
        {"", "CR RDS CQ", "- - -"},
        {"  ", "CR RDS CQ", "- - -"},
        {"silent", "CR RDS CQ", "silent silent silent"},
        {"silent@RDS", "CR RDS CQ RDS", "- silent - silent"},
        {"silent@RDS#1", "CR RDS CQ RDS", "- silent - -"},
        {"silent#2", "CR RDS CQ", "silent silent -"},
        {"error=0@WRS#2-3", "WRS RDS WRS WRS WRS", "- - error=0 error=0 -"},
        {"late=700ms@CR, cut=3@RDS", "CR RDS CQ", "late=700ms cut=3 -"},
        {"late=2s,cut", "CR", "late=2000ms"},
        {"silent@RDS#1,cut@RDS#2-2,nul", "RDS RDS RDS", "silent cut nul"},
        {"dribble@ST,error@RS", "ST RS", "dribble=2ms error=1"},
        {"garble=2@RDS:1,nul@CQ:0", "RDS CQ", "garble=2 -"},
        {"silent:0,cut:0.5,garble:0.5", "CR", "garble"},
    };
    for (const auto& row : rows) {
        // 4 is a seed whose first draw lies in the upper half.
        EXPECT_EQ(faultsOf(planOf(row.plan, 4), row.commands), row.faults) << row.plan;
    }
}

TEST(FaultPlan, FollowsFromItsSeed)
{
    const char* const text = "late=5ms:0.2,cut:0.2,garble:0.2";
    std::string commands;
    for (int i = 0; i < 100; ++i)
        commands += "CR RDS CQ ";
    EXPECT_EQ(faultsOf(planOf(text, 7), commands), faultsOf(planOf(text, 7), commands));
    EXPECT_NE(faultsOf(planOf(text, 7), commands), faultsOf(planOf(text, 8), commands));
}

TEST(FaultPlan, KeepsToItsShares)
{
    FaultPlan plan = planOf("late=1ms:0.2,cut@RDS:0.5,nul:0.1");
    std::map<std::string, std::map<FaultKind, int>> counts;
    for (int i = 0; i < 10000; ++i) {
        for (const char* command : {"CR", "RDS"})
            ++counts[command][plan.next(command).kind];
    }
    EXPECT_NEAR(counts["CR"][FaultKind::Late], 2000, 200);
    EXPECT_EQ(counts["CR"][FaultKind::Cut], 0);
    EXPECT_NEAR(counts["CR"][FaultKind::Nul], 1000, 200);
    EXPECT_NEAR(counts["RDS"][FaultKind::Late], 2000, 200);
    EXPECT_NEAR(counts["RDS"][FaultKind::Cut], 5000, 200);
    EXPECT_NEAR(counts["RDS"][FaultKind::Nul], 1000, 200);
}

TEST(FaultPlan, NamesTheBadWord)
{
    const struct {
        const char* plan;
        const char* why;
    } rows[] = {
        {"cut,lat=5ms", "bad fault \"lat=5ms\": \"lat\" is not a fault; there are late dribble cut "
                        "garble nul error silent"},
        {"cut,,nul", "bad fault \"\": \"\" is not a fault; there are late dribble cut garble nul "
                     "error silent"},
        {"late", "bad fault \"late\": a time is missing, such as in late=700ms"},
        {"late=5",
         "bad fault \"late=5\": \"5\" is not a time such as 700ms or 2s, an hour at most"},
        {"late=ms",
         "bad fault \"late=ms\": \"ms\" is not a time such as 700ms or 2s, an hour at most"},
        {"late=4294968s", "bad fault \"late=4294968s\": \"4294968s\" is not a time such as 700ms "
                          "or 2s, an hour at most"},
        {"cut=-1", "bad fault \"cut=-1\": \"-1\" is not a number of bytes"},
        {"error=10", "bad fault \"error=10\": \"10\" is not a digit"},
        {"silent=1", "bad fault \"silent=1\": this fault takes no value"},
        {"cut@RDX",
         "bad fault \"cut@RDX\": \"RDX\" is not a command; there are CR CQ RDS WRS WSS ST RS"},
        {"cut@", "bad fault \"cut@\": \"\" is not a command; there are CR CQ RDS WRS WSS ST RS"},
        {"cut#0",
         "bad fault \"cut#0\": \"0\" is not a count of replies such as 1, nor a range such as 2-3"},
        {"cut#3-2",
         "bad fault \"cut#3-2\": \"3-2\" is not a count of replies such as 1, nor a range "
         "such as 2-3"},
        {"cut:1.5", "bad fault \"cut:1.5\": \"1.5\" is not a share from 0 to 1"},
        {"cut:nan", "bad fault \"cut:nan\": \"nan\" is not a share from 0 to 1"},
        {"cut:0.5@RDS", "bad fault \"cut:0.5@RDS\": \"0.5@RDS\" is not a share from 0 to 1"},
    };
    for (const auto& row : rows) {
        std::string why;
        EXPECT_FALSE(FaultPlan::parse(row.plan, 1, why)) << row.plan;
        EXPECT_EQ(why, row.why);
    }
}

TEST(Faults, StrikeTheGivenPlace)
{
    using namespace std::string_literals;
    const struct {
        const char* name;
        Fault fault;
        uint32_t delayMs;
        std::string bytes;
    } rows[] = {
        {"none", {FaultKind::None, {}, 0}, 0, "CC\r\n"},
        {"late", {FaultKind::Late, 700, 0}, 700, "CC\r\n"},
        {"cut", {FaultKind::Cut, 3, 0}, 0, "CC\r"},
        {"cut beyond the end", {FaultKind::Cut, 9, 0}, 0, "CC\r"},
        {"garbled", {FaultKind::Garble, 1, 0}, 0, "C\xC3\r\n"},
        {"NUL", {FaultKind::Nul, 0, 0}, 0, "\0C\r\n"s},
        {"NUL beyond the end", {FaultKind::Nul, 4, 0}, 0, "CC\r\0"s},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto pieces = piecesOf("CC\r\n", row.fault);
        ASSERT_EQ(pieces.size(), 1u);
        EXPECT_EQ(pieces[0].delayMs, row.delayMs);
        EXPECT_EQ(pieces[0].bytes, row.bytes);
    }
    EXPECT_TRUE(piecesOf("CC\r\n", {FaultKind::Silent, {}, 0}).empty());
    EXPECT_TRUE(piecesOf("CC\r\n", {FaultKind::Cut, 0, 0}).empty());
    EXPECT_TRUE(piecesOf("", {FaultKind::Late, 5, 0}).empty());
    EXPECT_EQ(piecesOf("CC\r\n", {FaultKind::Dribble, 2, 0}).size(), 4u);
}

TEST(Faults, StrikeAnyPlaceInTurnAndAlwaysSpoilTheReply)
{
    const std::string reply = "00012\r\n";
    for (const FaultKind kind : {FaultKind::Cut, FaultKind::Garble, FaultKind::Nul}) {
        std::map<std::string, int> seen;
        for (uint32_t dice = 0; dice < 42; ++dice) {
            const auto pieces = piecesOf(reply, {kind, {}, dice});
            ASSERT_EQ(pieces.size(), 1u);
            EXPECT_NE(pieces[0].bytes, reply);
            ++seen[pieces[0].bytes];
        }
        // A cut keeps 1 to 6 bytes; any of the 7 bytes can be hit otherwise.
        EXPECT_EQ(seen.size(), kind == FaultKind::Cut ? 6u : 7u);
    }
}

} // namespace
