#include "drivers/tools.h"
#include "support/bytes.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(FrameCheck, Checksums)
{
    const QByteArray block = bytes("FF 0F 42");
    EXPECT_EQ(UInt8CheckSum(unsignedBytes(block), 2), 0x0E);
    EXPECT_EQ(UShortCheckSum(unsignedBytes(block), 2), 0x010E);
    EXPECT_EQ(XorUInt8CheckSum(unsignedBytes(block), 2), 0xF0);
    EXPECT_EQ(UShortCheckSum(unsignedBytes(block), -1), 0);
    const QByteArray large(300, '\xFF'); // 76500 = 65536 + 10964
    EXPECT_EQ(UShortCheckSum(unsignedBytes(large), large.size()), 10964);
}

TEST(HexText, ReadsNumbers)
{
    const struct {
        const char* text;
        int len;
        unsigned int value;
    } rows[] = {
        {"0XfF", 4, 255}, {"ff", 100, 255}, {"1234", 2, 0x12},
        {"0x", 2, 0},     {"0x1G", 4, 0},   {"123456789", 9, 0x23456789},
    };
    for (const auto& row : rows)
        EXPECT_EQ(HexToUInt(row.text, row.len), row.value) << row.text << ", len " << row.len;
}

TEST(HexText, ShowsBytes)
{
    EXPECT_EQ(dumpByteArray(bytes("41 42 0A")), QString("(0X41 0X42 0Xa ) : AB\n"));
    EXPECT_EQ(dumpByteArray(bytes("41 00 42")), QString("(0X41 0X0 0X42 ) : A"));
    EXPECT_EQ(dumpByteArray(QByteArray::fromRawData("ABC", 2)), QString("(0X41 0X42 ) : AB"));
}

namespace
{

volatile std::sig_atomic_t signalsSeen = 0;

} // namespace

TEST(Platform, SleepsItsFullTimeThroughSignals)
{
    using namespace std::chrono;
    std::signal(SIGALRM, [](int) { signalsSeen = signalsSeen + 1; });
    const auto start = duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    const qint64 before = CurrentMSecsSinceBoot();
    ualarm(1000, 1000);
    HRSleep(50);
    ualarm(0, 0);
    EXPECT_GE(before, start);
    EXPECT_GE(CurrentMSecsSinceBoot() - before, 50);
    EXPECT_GT(signalsSeen, 0);
}

TEST(Platform, TellsWhichProcessesRun)
{
    const pid_t ended = fork();
    if (ended == 0)
        _exit(0);
    ASSERT_EQ(waitpid(ended, nullptr, 0), ended);
    const long long own = getpid();
    EXPECT_TRUE(ProcessIsRunning(own));
    for (const long long none : {static_cast<long long>(ended), 0ll, -1ll, own + (1ll << 32)})
        EXPECT_FALSE(ProcessIsRunning(none)) << none;
}

TEST(Platform, ProcessesOfOtherUsersRunToo)
{
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        const uid_t other = 65534;
        if (setuid(other) != 0) // only root may; for everyone else init is another user's
            _exit(ProcessIsRunning(1) ? 0 : 1);
        _exit(kill(parent, 0) != 0 && ProcessIsRunning(parent) ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}
