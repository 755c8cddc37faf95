// Signals through a pipe, which can be waited for without a race.
#include "stopsignal.h"

#include "report.h"

#include "bench/openport.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <system_error>
#include <unistd.h>

namespace plcctl
{

namespace
{

constexpr int StopSignals[] = {SIGINT, SIGTERM, SIGHUP};

/// Read end and write end. A byte in it stays there: every later wait finds it too.
int stopPipe[2];

std::atomic<bench::OpenPort*> interruptedPort{nullptr};
std::atomic<int> caughtSignal{0};

void noteSignal(int signal)
{
    const int errorBefore = errno;
    caughtSignal = signal;
    const char anything = 0;
    // It fails only when the pipe is full, and then there is enough in it.
    [[maybe_unused]] const ssize_t written = write(stopPipe[1], &anything, 1);
    if (bench::OpenPort* const port = interruptedPort)
        port->interrupt();
    errno = errorBefore;
}

} // namespace

StopSignal::StopSignal(Second second)
{
    if (pipe2(stopPipe, O_CLOEXEC | O_NONBLOCK) != 0)
        throw std::system_error(errno, std::generic_category(), "pipe");
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART | (second == Second::Ends ? static_cast<int>(SA_RESETHAND) : 0);
    for (const int signal : StopSignals)
        sigaction(signal, &action, nullptr);
}

StopSignal::~StopSignal()
{
    for (const int signal : StopSignals)
        std::signal(signal, SIG_DFL);
    interruptedPort = nullptr;
    close(stopPipe[0]);
    close(stopPipe[1]);
}

void StopSignal::interrupts(bench::OpenPort* port)
{
    interruptedPort = port;
    if (port && caughtSignal != 0)
        port->interrupt();
}

bool StopSignal::waitFor(int ms) const
{
    using namespace std::chrono;
    const auto end = steady_clock::now() + milliseconds(ms);
    pollfd arrival = {stopPipe[0], POLLIN, 0};
    int left = ms;
    // A signal of another kind may end the wait too early.
    while (poll(&arrival, 1, left) < 0 && errno == EINTR) {
        const auto rest = duration_cast<milliseconds>(end - steady_clock::now()).count();
        left = ms == Forever ? Forever : static_cast<int>(rest < 0 ? 0 : rest);
    }
    return arrival.revents != 0;
}

int StopSignal::caught()
{
    return caughtSignal;
}

int StopSignal::exitStatus()
{
    return caught() == 0 ? Success : 128 + caught();
}

} // namespace plcctl
