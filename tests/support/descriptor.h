// File descriptors for tests: one that closes itself, and a pseudo-terminal.
#ifndef TESTS_SUPPORT_DESCRIPTOR_H
#define TESTS_SUPPORT_DESCRIPTOR_H

#include <cstdlib>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <unistd.h>

class Descriptor
{
public:
    explicit Descriptor(int fd = -1)
        : m_fd(fd)
    {
    }
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = fd;
    }
    int get() const { return m_fd; }

private:
    int m_fd;
};

inline void require(bool done, const char* what)
{
    if (!done)
        throw std::runtime_error(what);
}

/// A pseudo-terminal. Returns the path of the end that a program opens as its serial device.
inline std::string openPseudoTerminal(Descriptor& farEnd)
{
    farEnd.reset(posix_openpt(O_RDWR | O_NOCTTY));
    require(grantpt(farEnd.get()) == 0 && unlockpt(farEnd.get()) == 0, "posix_openpt");
    return ptsname(farEnd.get());
}

#endif
