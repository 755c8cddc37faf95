#include "conformance/report.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace
{

constexpr unsigned PatienceSeconds = 60;
constexpr int FailedStatus = 1;
const std::string Indent(11, ' ');

// What the signal handler prints of the check and the request. Global, because a handler has no
// arguments of ours, and made beforehand, because a crash may have damaged the heap.
char whereItWas[1000];

// The driver's own may have overflowed.
char handlerStack[64 * 1024];

void print(const char* text)
{
    if (::write(STDOUT_FILENO, text, std::strlen(text)) < 0)
        std::_Exit(FailedStatus);
}

void reportAndEnd(int signal)
{
    print(whereItWas);
    if (signal == SIGALRM) {
        print("the driver did not return within a minute\n");
        std::_Exit(FailedStatus);
    }
    // The handler is gone by now, so the signal ends the program as it always would.
    print("the driver crashed: ");
    print(::sigdescr_np(signal));
    print("\n");
}

} // namespace

Report::Report()
{
    const stack_t stack = {handlerStack, 0, sizeof handlerStack};
    ::sigaltstack(&stack, nullptr);
    struct sigaction action = {};
    action.sa_handler = reportAndEnd;
    action.sa_flags = SA_RESETHAND | SA_ONSTACK;
    for (int signal : {SIGALRM, SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        ::sigaction(signal, &action, nullptr);
}

void Report::begin(const std::string& name)
{
    m_check = name;
    m_failures = 0;
    m_notes.clear();
    at("");
}

void Report::at(const std::string& place)
{
    m_place = place;
    std::snprintf(whereItWas, sizeof whereItWas, "FAILED   %s\n%s%s", m_check.c_str(),
                  (place.empty() ? "" : Indent + place + "\n").c_str(), Indent.c_str());
    ::alarm(PatienceSeconds);
}

bool Report::expect(bool good, const std::string& expected, const std::string& got)
{
    if (good)
        return true;
    if (++m_failures == 1)
        m_first = (m_place.empty() ? "" : Indent + m_place + "\n") + Indent +
                  "expected: " + expected + "\n" + Indent + "got:      " + got + "\n";
    return false;
}

void Report::end()
{
    ::alarm(0);
    if (m_failures == 0) {
        ++m_passedChecks;
        std::printf("passed   %s\n", m_check.c_str());
    } else {
        ++m_failedChecks;
        std::printf("FAILED   %s\n%s", m_check.c_str(), m_first.c_str());
        if (m_failures > 1)
            std::printf("%sand %d more of this kind\n", Indent.c_str(), m_failures - 1);
    }
    std::printf("%s", m_notes.c_str());
    std::fflush(stdout);
}

void Report::note(const std::string& text)
{
    m_notes += Indent + text + "\n";
}

bool Report::summarize() const
{
    std::printf("checks passed: %d; failed: %d\n", m_passedChecks, m_failedChecks);
    return m_failedChecks == 0;
}
