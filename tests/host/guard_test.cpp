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

/// So many lost replies, each followed by a reply and silence: one a second, in sync at the end.
void seeLosses(Guard& guard, int count, qint64 startMs = 0)
{
    for (int i = 0; i < count; ++i) {
        lose(guard, startMs + i * 1000);
        exchange(guard, startMs + i * 1000 + 100);
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
    {"Such bytes are not late: what they answer is not known.",
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
    {"Bytes within the time-out are not late.",
     [](Guard& guard) {
         lose(guard, 100);
         guard.bytesHeard(200);
     },
     false, 600, 600, 0},
    {"Where only losses were seen, the silence is as long as the reply may have been late.",
     [](Guard& guard) {
         seeLosses(guard, 8);
         lose(guard, 8000);
         lose(guard, 8100);
         exchange(guard, 8200);
     },
     false, 8205 + 205, 8205 + 205, 0},
    {"It is then never shorter than a time-out.",
     [](Guard& guard) {
         seeLosses(guard, 8);
         lose(guard, 8000);
         exchange(guard, 8050);
     },
     false, 8055 + 100, 8055 + 100, 0},
    {"Nor longer than the guard time.",
     [](Guard& guard) {
         seeLosses(guard, 8);
         lose(guard, 8000);
         exchange(guard, 8500);
     },
     false, 8505 + 400, 8505 + 400, 0},
    {"Seven losses are not enough.",
     [](Guard& guard) {
         seeLosses(guard, 7);
         lose(guard, 7000);
         exchange(guard, 7100);
     },
     false, 7105 + 400, 7105 + 400, 0},
    {"One unread byte, and the losses count anew, after the silence that it asked for.",
     [](Guard& guard) {
         seeLosses(guard, 9);
         lose(guard, 9000);
         guard.bytesHeard(9150);
         guard.silent(9550);
         seeLosses(guard, 7, 10000);
         lose(guard, 17000);
         exchange(guard, 17100);
     },
     false, 17105 + 400, 17105 + 400, 150},
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
