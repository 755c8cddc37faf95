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
        : fd_(fd)
    {
    }
    OwnedFd(OwnedFd&& other) noexcept
        : fd_(std::exchange(other.fd_, -1))
    {
    }
    OwnedFd& operator=(OwnedFd&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~OwnedFd()
    {
        if (valid())
            close(fd_);
    }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }

private:
    int fd_ = -1; ///< -1: none
};

} // namespace simulator

#endif // SIMULATOR_OWNEDFD_H
