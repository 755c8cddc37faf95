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
         guard.bytesHeard(950);
     },
     false, 1350, 1350, 0},
    {"Unread bytes after a missing reply only ask for silence, counted from the last of them.",
     [](Guard& guard) {
         lose(guard, 0);
         EXPECT_TRUE(guard.bytesFound(150));
         guard.bytesHeard(190);
     },
     false, 590, 590, 190},
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
    {"Of bytes without a pause only the first can be late.",
     [](Guard& guard) {
         lose(guard, 0);
         for (qint64 atMs = 150; atMs <= 900; atMs += 30)
             guard.bytesHeard(atMs);
     },
     false, 1300, 1300, 150},
    {"After a pause they can.",
     [](Guard& guard) {
         lose(guard, 0);
         guard.bytesHeard(150);
         guard.bytesHeard(181);
     },
     false, 581, 581, 181},
    {"A reply that does not come while silence is needed changes nothing.",
     [](Guard& guard) {
         lose(guard, 0);
         exchange(guard, 100);
         guard.replyIncomplete();
     },
     false, 505, 505, 0},
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
