// A file descriptor that is closed with its owner.
#ifndef SIMULATOR_OWNEDFD_H
#define SIMULATOR_OWNEDFD_H

#include <unistd.h>
#include <utility>

namespace simulator
{

class OwnedFd
{
public:
    OwnedFd() = default;
    explicit OwnedFd(int fd)
        : m_fd(fd)
    {
    }
    OwnedFd(OwnedFd&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    {
    }
    OwnedFd& operator=(OwnedFd&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~OwnedFd()
    {
        if (valid())
            close(m_fd);
    }

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }

private:
    int m_fd = -1; ///< -1: none
};

} // namespace simulator

#endif
