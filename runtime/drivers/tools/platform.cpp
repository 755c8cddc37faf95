// Pause, clock and processes of Linux.
#include "drivers/tools/platform.h"

#include <cerrno>
#include <limits>
#include <signal.h>
#include <sys/types.h>
#include <time.h>

void HRSleep(unsigned long ms)
{
    timespec request = {};
    request.tv_sec = static_cast<time_t>(ms / 1000);
    request.tv_nsec = static_cast<long>(ms % 1000) * 1000000;
    timespec rest = {};
    while (nanosleep(&request, &rest) != 0 && errno == EINTR)
        request = rest;
}

qint64 CurrentMSecsSinceBoot()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<qint64>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

bool ProcessIsRunning(long long pid)
{
    // To kill() an id of 0 or less is a group of processes, and an id too large for pid_t would be
    // cut to that of a stranger.
    if (pid <= 0 || pid > std::numeric_limits<pid_t>::max())
        return false;
    return kill(static_cast<pid_t>(pid), 0) == 0 || errno == EPERM;
}
