#include "bytes.h"
#include "drivers/tools.h"

#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

TEST(FrameCheck, Checksums)
{
    const struct {
        const char *meaning, *block;
        int len;
        unsigned char sum8;
        unsigned short sum16;
        unsigned char exclusiveOr;
    } rows[] = {
        {"sum above a byte", "FF02", 2, 0x01, 0x0101, 0xFD},
        {"bytes above 7F", "FF0F", 2, 0x0E, 0x010E, 0xF0},
        {"only the first byte", "8042", 1, 0x80, 0x0080, 0x80},
        {"empty", "", 0, 0, 0, 0},
        {"negative length", "FF", -1, 0, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        const QByteArray block = bytes(row.block);
        EXPECT_EQ(UInt8CheckSum(unsignedBytes(block), row.len), row.sum8);
        EXPECT_EQ(UShortCheckSum(unsignedBytes(block), row.len), row.sum16);
        EXPECT_EQ(XorUInt8CheckSum(unsignedBytes(block), row.len), row.exclusiveOr);
    }
    const QByteArray large(300, '\xFF'); // 76500 = 65536 + 10964
    EXPECT_EQ(UShortCheckSum(unsignedBytes(large), large.size()), 10964);
    EXPECT_TRUE(EmptyPackageSizeList().isEmpty());
}

TEST(HexText, ReadsNumbers)
{
    const struct {
        const char* text;
        int len;
        unsigned int value;
    } rows[] = {
        {"0xFF", 4, 255},
        {"0XfF", 4, 255},
        {"ff", 2, 255},
        {"00ff", 4, 255},
        {"ff", 100, 255},
        {"1234", 2, 0x12},
        {"0xFF", 3, 0xF},
        {"0x", 2, 0},
        {"0x", 9, 0},
        {"0", 1, 0},
        {"0", 9, 0},
        {"07", 2, 7},
        {"0x1G", 4, 0},
        {"1x2", 3, 0},
        {"00x1", 4, 0},
        {" 1", 2, 0},
        {"", 4, 0},
        {"12", 0, 0},
        {"12", -1, 0},
        {"FFFFFFFF", 8, 0xFFFFFFFF},
        {"123456789", 9, 0x23456789},
        {"0x0x1", 5, 0},
    };
    for (const auto& row : rows)
        EXPECT_EQ(HexToUInt(row.text, row.len), row.value) << row.text << ", len " << row.len;
    EXPECT_EQ(HexToUInt(nullptr, 0), 0u);
}

TEST(HexText, ShowsBytes)
{
    EXPECT_EQ(dumpByteArray(bytes("41 42 0A")), QString("(0X41 0X42 0Xa ) : AB\n"));
    EXPECT_EQ(dumpByteArray(bytes("00 41")), QString("(0X0 0X41 ) : "));
    EXPECT_EQ(dumpByteArray(bytes("41 00 42")), QString("(0X41 0X0 0X42 ) : A"));
    EXPECT_EQ(dumpByteArray(QByteArray()), QString("() : "));
    EXPECT_EQ(dumpByteArray(bytes("FF")), QString("(0Xff ) : ") + QChar(0xFF));
    const char unterminated[] = {'A', 'B', 'C'};
    EXPECT_EQ(dumpByteArray(QByteArray::fromRawData(unterminated, 2)),
              QString("(0X41 0X42 ) : AB"));
}

namespace
{

volatile std::sig_atomic_t signalsSeen = 0;

/// Sends this process a signal every millisecond, which interrupts what it waits in.
class SignalStorm
{
public:
    SignalStorm()
    {
        struct sigaction action = {};
        action.sa_handler = [](int) { signalsSeen = signalsSeen + 1; };
        sigaction(SIGALRM, &action, &m_actionBefore);
        const itimerval everyMillisecond = {{0, 1000}, {0, 1000}};
        setitimer(ITIMER_REAL, &everyMillisecond, nullptr);
    }
    ~SignalStorm()
    {
        const itimerval never = {};
        setitimer(ITIMER_REAL, &never, nullptr);
        sigaction(SIGALRM, &m_actionBefore, nullptr);
    }

private:
    struct sigaction m_actionBefore = {};
};

} // namespace

TEST(Platform, SleepsItsFullTimeThroughSignals)
{
    const qint64 before = CurrentMSecsSinceBoot();
    {
        const SignalStorm storm;
        HRSleep(50);
    }
    EXPECT_GE(CurrentMSecsSinceBoot() - before, 50);
    EXPECT_GT(signalsSeen, 0);
    HRSleep(0);
}

TEST(Platform, ReadsTheMonotonicClock)
{
    using namespace std::chrono;
    const auto now = [] {
        return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    };
    const auto before = now();
    const qint64 reading = CurrentMSecsSinceBoot();
    EXPECT_LE(before, reading);
    EXPECT_LE(reading, now());
}

TEST(Platform, TellsWhichProcessesRun)
{
    const pid_t ended = fork();
    if (ended == 0)
        _exit(0);
    ASSERT_EQ(waitpid(ended, nullptr, 0), ended);

    const long long own = getpid();
    const struct {
        const char* meaning;
        long long pid;
        bool running;
    } rows[] = {
        {"this process", own, true},
        {"an ended one", ended, false},
        {"the callers' group", 0, false},
        {"everyone", -1, false},
        {"a group", -own, false},
        {"this process if cut to 32 bits", own + (1ll << 32), false},
        {"largest", LLONG_MAX, false},
        {"smallest", LLONG_MIN, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ProcessIsRunning(row.pid), row.running) << row.meaning;
}

TEST(Platform, SeesProcessesOfOtherUsers)
{
    enum Verdict { Seen, Missed, NotAnotherUsers };
    const uid_t nobody = 65534;
    const pid_t init = 1;
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && setuid(nobody) != 0)
            _exit(NotAnotherUsers);
        if (kill(init, 0) == 0 || errno != EPERM)
            _exit(NotAnotherUsers);
        _exit(ProcessIsRunning(init) ? Seen : Missed);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == NotAnotherUsers)
        GTEST_SKIP() << "no process of another user to look for";
    EXPECT_EQ(WEXITSTATUS(status), Seen);
}
