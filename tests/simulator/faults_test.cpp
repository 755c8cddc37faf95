// Plans and their random choices, and what a fault makes of a reply.
#include "simulator/faults.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace
{

using namespace simulator;

const Commands commands = {{"CR", "CQ", "RDS", "WRS", "ST", "RS"}, 9};

/// The faults of the replies to these commands under a plan, "-" for none.
std::string faultsOf(const char* text, uint32_t seed, const std::string& names)
{
    std::string why;
    FaultPlan plan = FaultPlan::parse(text, seed, commands, why).value();
    std::istringstream words(names);
    std::string faults;
    for (std::string word; words >> word;) {
        const std::string fault = describe(plan.next(word));
        faults += (faults.empty() ? "" : " ") + (fault.empty() ? "-" : fault);
    }
    return faults;
}

TEST(FaultPlan, AffectsTheRepliesThatItNames)
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
        {"silent@CR:0.7,cut@RDS:0.7,nul", "CQ", "nul"},
    };
    for (const auto& row : rows) {
        // 4 is a seed whose first random number lies in the upper half.
        EXPECT_EQ(faultsOf(row.plan, 4, row.commands), row.faults) << row.plan;
    }
}

TEST(FaultPlan, NamesTheBadWord)
{
    const struct {
        const char* plan;
        const char* why; ///< the beginning
    } rows[] = {
        {"cut,lat=5ms", "\"lat=5ms\": \"lat\" is not a fault; choose late, dribble"},
        {"lat", "\"lat\" is not a fault; choose late, dribble"},
        {"late", "\"late\": a time is missing, such as in late=700ms"},
        {"cut=-1", "\"cut=-1\": \"-1\" is not a number of bytes"},
        {"error=10", "\"error=10\": \"10\" is not an error code from 0 to 9"},
        {"silent=1", "\"silent=1\": this fault takes no value"},
        {"cut@RDX", "\"cut@RDX\": \"RDX\" is not a command; choose CR, CQ, RDS"},
        {"cut#3-2", "\"cut#3-2\": \"3-2\" is neither a number of replies"},
        {"cut:nan", "\"cut:nan\": \"nan\" is not a share from 0 to 1"},
        {"silent:0.7,cut@WRS:0.7", "the shares of faults that the same reply"},
        {"cut:0.5@RDS", "\"cut:0.5@RDS\": \"0.5@RDS\" is not a share from 0 to 1"},
    };
    for (const auto& row : rows) {
        std::string why;
        EXPECT_FALSE(FaultPlan::parse(row.plan, 1, commands, why)) << row.plan;
        EXPECT_EQ(why.rfind(row.why, 0), 0u) << why;
    }
}

TEST(Faults, ChangeTheReply)
{
    using namespace std::string_literals;
    constexpr uint32_t Dice = 6; // the third of four bytes
    const struct {
        const char* name;
        Fault fault;
        std::string reply;
        std::vector<Piece> pieces;
    } rows[] = {
        {"none", {FaultKind::None, {}, Dice}, "CC\r\n", {{0, "CC\r\n"}}},
        {"late", {FaultKind::Late, 700, Dice}, "CC\r\n", {{700, "CC\r\n"}}},
        {"dribble", {FaultKind::Dribble, 2, Dice}, "OK", {{2, "O"}, {2, "K"}}},
        {"silent", {FaultKind::Silent, {}, Dice}, "CC\r\n", {}},
        {"cut after 3", {FaultKind::Cut, 3, Dice}, "CC\r\n", {{0, "CC\r"}}},
        {"cut after 0", {FaultKind::Cut, 0, Dice}, "CC\r\n", {}},
        {"cut after 9", {FaultKind::Cut, 9, Dice}, "CC\r\n", {{0, "CC\r"}}},
        {"cut of one byte", {FaultKind::Cut, {}, Dice}, "!", {}},
        {"garble 1", {FaultKind::Garble, 1, Dice}, "CC\r\n", {{0, "C\xC3\r\n"}}},
        {"garble at random", {FaultKind::Garble, {}, Dice}, "CF\r\n", {{0, "CF\x8D\n"}}},
        {"NUL 4", {FaultKind::Nul, 4, Dice}, "CC\r\n", {{0, "CC\r\0"s}}},
        {"NUL at random", {FaultKind::Nul, {}, Dice}, "CC\r\n", {{0, "CC\0\n"s}}},
        {"no reply at all", {FaultKind::Garble, {}, Dice}, "", {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::vector<Piece> pieces = piecesOf(row.reply, row.fault);
        ASSERT_EQ(pieces.size(), row.pieces.size());
        for (size_t i = 0; i < pieces.size(); ++i) {
            EXPECT_EQ(pieces[i].delayMs, row.pieces[i].delayMs);
            EXPECT_EQ(pieces[i].bytes, row.pieces[i].bytes);
        }
    }
}

TEST(Faults, ApplyToEveryPlaceAndLeaveNoReplyIntact)
{
    const std::string reply = "00012\r\n";
    for (const FaultKind kind : {FaultKind::Cut, FaultKind::Garble, FaultKind::Nul}) {
        std::set<std::string> seen;
        for (uint32_t dice = 0; dice < 42; ++dice)
            seen.insert(piecesOf(reply, {kind, {}, dice}).at(0).bytes);
        // A cut keeps 1 to 6 bytes; any of the 7 bytes may change otherwise.
        EXPECT_EQ(seen.size(), kind == FaultKind::Cut ? 6u : 7u);
        EXPECT_EQ(seen.count(reply), 0u);
    }
}

} // namespace
