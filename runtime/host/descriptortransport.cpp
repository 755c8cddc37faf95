#include "host/descriptortransport.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <poll.h>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

namespace host
{

namespace
{

bool isForNow(int error)
{
    return error == EAGAIN || error == EINTR;
}

} // namespace

DescriptorTransport::DescriptorTransport()
    : m_wakeUp(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    m_clock.start();
}

DescriptorTransport::~DescriptorTransport()
{
    if (isInterrupted())
        dropUnsent();
    close();
    ::close(m_wakeUp);
}

bool DescriptorTransport::open(int timeoutMs)
{
    close();
    m_descriptor = openDescriptor(timeoutMs, &m_failure);
    return isOpen();
}

bool DescriptorTransport::write(const char* data, int length, int timeoutMs)
{
    if (!isOpen())
        return false;
    const qint64 deadlineMs = nowMs() + timeoutMs;
    while (length > 0) {
        const ssize_t count = writeSome(m_descriptor, data, static_cast<size_t>(length));
        if (count >= 0) {
            data += count;
            length -= static_cast<int>(count);
            continue;
        }
        if (!isForNow(errno))
            return fail(
                QStringLiteral("can't write to %1: %2").arg(name(), qt_error_string(errno)));
        if (waitUntil(m_descriptor, POLLOUT, deadlineMs) == Wait::Interrupted)
            return fail(QStringLiteral("interrupted"));
        if (nowMs() >= deadlineMs)
            return fail(QStringLiteral("can't write to %1: it takes no bytes").arg(name()));
    }
    return true;
}

int DescriptorTransport::read(char* buffer, int maxLength, int waitMs)
{
    if (m_begin < m_end)
        return takeReceived(buffer, maxLength);
    if (!isOpen())
        return Failed;
    if (waitMs > 0 && waitUntil(m_descriptor, POLLIN, nowMs() + waitMs) != Wait::Ready)
        return 0;
    const ssize_t count = ::read(m_descriptor, m_received, sizeof m_received);
    if (count > 0) {
        m_begin = 0;
        m_end = static_cast<int>(count);
        return takeReceived(buffer, maxLength);
    }
    if (count < 0 && isForNow(errno))
        return 0;
    fail(QStringLiteral("%1: %2").arg(name(), count == 0 ? endReason() : qt_error_string(errno)));
    return Failed;
}

int DescriptorTransport::takeReceived(char* buffer, int maxLength)
{
    const int count = std::min(maxLength, m_end - m_begin);
    std::memcpy(buffer, m_received + m_begin, static_cast<size_t>(count));
    m_begin += count;
    return count;
}

void DescriptorTransport::interrupt()
{
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_wakeUp, &one, sizeof one);
}

bool DescriptorTransport::isInterrupted() const
{
    pollfd wakeUp = {m_wakeUp, POLLIN, 0};
    return ::poll(&wakeUp, 1, 0) == 1;
}

DescriptorTransport::Wait DescriptorTransport::waitUntil(int descriptor, short events,
                                                         qint64 deadlineMs) const
{
    pollfd wanted[] = {{descriptor, events, 0}, {m_wakeUp, POLLIN, 0}};
    int count = 0;
    do {
        const qint64 leftMs = qBound<qint64>(0, deadlineMs - nowMs(), INT_MAX);
        count = ::poll(wanted, 2, static_cast<int>(leftMs));
    } while (count < 0 && errno == EINTR);
    if (count <= 0)
        return Wait::TimedOut;
    return wanted[0].revents != 0 ? Wait::Ready : Wait::Interrupted;
}

bool DescriptorTransport::fail(const QString& reason)
{
    m_failure = reason;
    dropUnsent();
    close();
    return false;
}

/// A serial line would go on to send the rest of a command, and closing it would wait for that.
void DescriptorTransport::dropUnsent()
{
    ::tcflush(m_descriptor, TCOFLUSH);
}

void DescriptorTransport::close()
{
    if (isOpen())
        ::close(m_descriptor);
    m_descriptor = NoDescriptor;
    m_begin = m_end = 0;
}

} // namespace host
