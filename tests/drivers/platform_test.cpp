#include "drivers/tools.h"

#include <chrono>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

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
