// Plans and their draws, and what a fault makes of a reply.
#include "simulator/faults.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace
{

using namespace simulator;

/// The faults of the replies to these commands under a plan, "-" for none.
std::string faultsOf(const char* text, uint32_t seed, const std::string& commands)
{
    std::string why;
    FaultPlan plan = FaultPlan::parse(text, seed, why).value();
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
        {"  ", "CR RDS CQ", "- - -"},
        {"error=0@WRS#2-3", "WRS RDS WRS WRS WRS", "- - error=0 error=0 -"},
        {"late=2s@CR, cut=3@RDS", "CR RDS CQ", "late=2000ms cut=3 -"},
        {"silent@RDS#1,cut@RDS#2-2,nul", "RDS RDS RDS", "silent cut nul"},
        {"dribble@ST,error@RS", "ST RS", "dribble=2ms error=1"},
        {"garble=2@RDS:1,nul@CQ:0", "RDS CQ", "garble=2 -"},
        {"silent:0,cut:0.5,garble:0.5", "CR", "garble"},
    };
    for (const auto& row : rows) {
        // 4 is a seed whose first draw lies in the upper half.
        EXPECT_EQ(faultsOf(row.plan, 4, row.commands), row.faults) << row.plan;
    }
}

TEST(FaultPlan, FollowsFromItsSeed)
{
    const char* const plan = "late=5ms:0.2,cut:0.2,garble:0.2";
    const std::string commands = "CR RDS CQ CR RDS CQ CR RDS CQ CR RDS CQ CR RDS CQ CR RDS CQ";
    EXPECT_EQ(faultsOf(plan, 7, commands), faultsOf(plan, 7, commands));
    EXPECT_NE(faultsOf(plan, 7, commands), faultsOf(plan, 8, commands));
}

TEST(FaultPlan, NamesTheBadWord)
{
    const struct {
        const char* plan;
        const char* why; ///< the beginning
    } rows[] = {
        {"cut,lat=5ms", "bad fault \"lat=5ms\": \"lat\" is not a fault; there are late dribble"},
        {"late", "bad fault \"late\": a time is missing, such as in late=700ms"},
        {"cut=-1", "bad fault \"cut=-1\": \"-1\" is not a number of bytes"},
        {"error=10", "bad fault \"error=10\": \"10\" is not a digit"},
        {"silent=1", "bad fault \"silent=1\": this fault takes no value"},
        {"cut@RDX", "bad fault \"cut@RDX\": \"RDX\" is not a command; there are CR CQ RDS"},
        {"cut#3-2", "bad fault \"cut#3-2\": \"3-2\" is not a count of replies"},
        {"cut:nan", "bad fault \"cut:nan\": \"nan\" is not a share from 0 to 1"},
        {"cut:0.5@RDS", "bad fault \"cut:0.5@RDS\": \"0.5@RDS\" is not a share from 0 to 1"},
    };
    for (const auto& row : rows) {
        std::string why;
        EXPECT_FALSE(FaultPlan::parse(row.plan, 1, why)) << row.plan;
        EXPECT_EQ(why.rfind(row.why, 0), 0u) << why;
    }
}

TEST(Faults, StrikeTheGivenPlace)
{
    const auto struck = [](FaultKind kind, uint32_t place) {
        return piecesOf("CC\r\n", {kind, place, 0}).at(0).bytes;
    };
    EXPECT_EQ(struck(FaultKind::Cut, 3), "CC\r");
    EXPECT_EQ(struck(FaultKind::Garble, 1), "C\xC3\r\n");
    EXPECT_EQ(struck(FaultKind::Nul, 4), std::string("CC\r\0", 4));
    EXPECT_TRUE(piecesOf("CC\r\n", {FaultKind::Cut, 0, 0}).empty());
}

TEST(Faults, StrikeAnyPlaceInTurnAndAlwaysSpoilTheReply)
{
    const std::string reply = "00012\r\n";
    for (const FaultKind kind : {FaultKind::Cut, FaultKind::Garble, FaultKind::Nul}) {
        std::set<std::string> seen;
        for (uint32_t dice = 0; dice < 42; ++dice)
            seen.insert(piecesOf(reply, {kind, {}, dice}).at(0).bytes);
        // A cut keeps 1 to 6 bytes; any of the 7 bytes can be hit otherwise.
        EXPECT_EQ(seen.size(), kind == FaultKind::Cut ? 6u : 7u);
        EXPECT_EQ(seen.count(reply), 0u);
    }
}

} // namespace
