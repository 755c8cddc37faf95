// The rules that keep late replies away from other commands, one row each.
#include "host/guard.h"

#include <gtest/gtest.h>

using host::Guard;

namespace
{

constexpr int TimeoutMs = 100;
constexpr qint64 Now = 0; ///< any time in the past

/// A command at `sentMs` whose reply does not come.
void lose(Guard& guard, qint64 sentMs)
{
    guard.commandSent(sentMs);
    guard.replyIncomplete();
}

/// A command at `sentMs` and a complete reply 5 ms later. Returns whether it can be handed out.
bool exchange(Guard& guard, qint64 sentMs)
{
    guard.commandSent(sentMs);
    return guard.replyComplete(sentMs + 5);
}

/// So many lost replies, each followed by a reply within half a time-out and by silence: one a
/// second, in sync at the end.
void seeLosses(Guard& guard, int count, qint64 startMs = 0)
{
    for (int i = 0; i < count; ++i) {
        lose(guard, startMs + i * 1000);
        guard.commandSent(startMs + i * 1000 + 100);
        guard.replyComplete(startMs + i * 1000 + 150);
        guard.silent(startMs + (i + 1) * 1000);
    }
}

struct Row {
    const char* name;
    void (*story)(Guard& guard);
    bool inSync;
    qint64 readyAtMs;
    qint64 settledAtMs;
    qint64 latenessMs;
};

const Row rows[] = {
    {"After missing replies the next command can go out, and the last may still be answered.",
     [](Guard& guard) {
         lose(guard, 10);
         lose(guard, 110);
     },
     false, Now, 510, 0},
    {"The reply after a missing one is dropped and followed by silence.",
     [](Guard& guard) {
         lose(guard, 0);
         EXPECT_FALSE(exchange(guard, 100));
         EXPECT_FALSE(guard.replyComplete(110)) << "its second part";
         guard.silent(504);
     },
     false, 505, 505, 0},
    {"A missing reply is forgotten a guard time after the last command, not before.",
     [](Guard& guard) {
         lose(guard, 0);
         lose(guard, 200);
         guard.silent(599);
         EXPECT_FALSE(guard.isInSync());
         guard.silent(600);
     },
     true, Now, Now, 0},
    {"Bytes found in sync are not late: what they answer is not known.",
     [](Guard& guard) {
         exchange(guard, 0);
         guard.bytesFound(900);
         EXPECT_TRUE(guard.bytesHeard(950));
     },
     false, 1350, 1350, 0},
    {"Unread bytes after a missing reply only ask for silence, counted from the last of them.",
     [](Guard& guard) {
         lose(guard, 0);
         EXPECT_TRUE(guard.bytesFound(150));
         EXPECT_TRUE(guard.bytesHeard(151));
     },
     false, 551, 551, 151},
    {"Lateness is what was heard, not what may have lain there for long.",
     [](Guard& guard) {
         lose(guard, 0);
         guard.bytesFound(9000);
     },
     false, 9400, 9400, 0},
    {"The largest lateness counts.",
     [](Guard& guard) {
         lose(guard, 100);
         guard.bytesHeard(350);
         guard.commandSent(400);
         guard.bytesHeard(520);
     },
     false, 920, 920, 250},
    {"A good reply ends it.",
     [](Guard& guard) {
         lose(guard, 0);
         guard.bytesHeard(350);
         guard.silent(750);
         EXPECT_EQ(guard.latenessMs(), 350);
         EXPECT_TRUE(exchange(guard, 800));
     },
     true, Now, Now, 0},
    {"Bytes within the time-out are not late.",
     [](Guard& guard) {
         lose(guard, 100);
         guard.bytesHeard(200);
     },
     false, 600, 600, 0},
    {"The rest of a dropped reply begins the silence anew, and is not late.",
     [](Guard& guard) {
         lose(guard, 0);
         exchange(guard, 100);
         guard.restDropped(120);
     },
     false, 520, 520, 0},
    {"Where only losses were seen, the silence is as long as the reply may have been late.",
     [](Guard& guard) {
         seeLosses(guard, 66);
         lose(guard, 70000);
         lose(guard, 70100);
         exchange(guard, 70200);
     },
     false, 70205 + 205, 70205 + 205, 0},
    {"It is then never shorter than a time-out.",
     [](Guard& guard) {
         seeLosses(guard, 64);
         lose(guard, 70000);
         exchange(guard, 70050);
     },
     false, 70055 + 100, 70055 + 100, 0},
    {"Nor longer than the guard time.",
     [](Guard& guard) {
         seeLosses(guard, 64);
         lose(guard, 70000);
         exchange(guard, 70500);
     },
     false, 70505 + 400, 70505 + 400, 0},
    {"One loss less is not enough.",
     [](Guard& guard) {
         seeLosses(guard, 63);
         lose(guard, 70000);
         exchange(guard, 70100);
     },
     false, 70105 + 400, 70105 + 400, 0},
    {"A reply that comes in the second half of the time-out looks like a late one.",
     [](Guard& guard) {
         seeLosses(guard, 64);
         lose(guard, 70000);
         guard.commandSent(70100);
         guard.replyComplete(70151);
     },
     false, 70151 + 400, 70151 + 400, 0},
    {"After unread bytes twice as many losses are needed, counted after their silence.",
     [](Guard& guard) {
         seeLosses(guard, 64);
         lose(guard, 70000);
         guard.bytesHeard(70150);
         guard.bytesHeard(70151);
         guard.silent(70551);
         seeLosses(guard, 127, 80000);
         lose(guard, 210000);
         EXPECT_FALSE(exchange(guard, 210100));
         EXPECT_EQ(guard.readyAtMs(), 210105 + 400);
         guard.silent(210505);
         lose(guard, 220000);
         exchange(guard, 220100);
     },
     false, 220105 + 105, 220105 + 105, 151},
};

TEST(Guard, SaysWhenTheNextCommandMayGoOut)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Guard guard(TimeoutMs);
        row.story(guard);
        EXPECT_EQ(guard.isInSync(), row.inSync);
        EXPECT_EQ(guard.readyAtMs(), row.readyAtMs);
        EXPECT_EQ(guard.settledAtMs(), row.settledAtMs);
        EXPECT_EQ(guard.latenessMs(), row.latenessMs);
    }
}

} // namespace
