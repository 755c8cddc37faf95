// TCP connections: the addresses of the host, one after the other, until one accepts.
#include "host/descriptortransport.h"
#include "host/hostlookup.h"

#include <QStringList>

#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace host
{

namespace
{

constexpr int Interrupted = ECANCELED;

QString reasonOf(int error, int timeoutMs)
{
    switch (error) {
    case Interrupted:
        return QStringLiteral("interrupted");
    case ETIMEDOUT:
        return QStringLiteral("no answer within %1 ms").arg(timeoutMs);
    default:
        return qt_error_string(error);
    }
}

class TcpTransport : public DescriptorTransport
{
public:
    TcpTransport(const QString& host, quint16 port, const Resolver& resolver)
        : m_host(host)
        , m_port(port)
        , m_resolver(resolver)
    {
    }

    bool keepsLateReplies() const override { return false; }
    qint64 transferMs(int) const override { return 0; }

protected:
    int openDescriptor(int timeoutMs, QString* error) override
    {
        const qint64 deadlineMs = nowMs() + timeoutMs;
        const HostAddresses host = addresses(timeoutMs);
        QStringList reasons;
        if (!host.failure.isEmpty())
            reasons.append(host.failure);
        qint64 left = static_cast<qint64>(host.addresses.size());
        for (const SocketAddress& address : host.addresses) {
            // An address that does not answer leaves time for those after it.
            const qint64 shareMs = (deadlineMs - nowMs()) / left--;
            int descriptor = NoDescriptor;
            const int failure = connectTo(address, nowMs() + shareMs, descriptor);
            if (failure == 0)
                return descriptor;
            if (descriptor != NoDescriptor)
                ::close(descriptor);
            reasons.append(reasonOf(failure, timeoutMs));
        }
        reasons.removeDuplicates();
        *error = QStringLiteral("can't connect to %1: %2").arg(name(), reasons.join("; "));
        return NoDescriptor;
    }

    ssize_t writeSome(int descriptor, const char* data, size_t length) override
    {
        return ::send(descriptor, data, length, MSG_NOSIGNAL);
    }

    QString name() const override
    {
        const QString host = m_host.contains(QLatin1Char(':'))
                                 ? QLatin1Char('[') + m_host + QLatin1Char(']')
                                 : m_host;
        return host + QLatin1Char(':') + QString::number(m_port);
    }

    QString endReason() const override { return QStringLiteral("closed by the far end"); }

private:
    HostAddresses addresses(int timeoutMs)
    {
        const HostAddresses numeric = numericHost(m_host, m_port);
        return numeric.addresses.empty() ? lookUp(timeoutMs) : numeric;
    }

    /// A lookup that takes longer goes on, and the next attempt to connect waits for it.
    HostAddresses lookUp(int timeoutMs)
    try {
        if (!m_lookup)
            m_lookup = HostLookup::start(m_resolver, m_host, m_port);
        switch (waitUntil(m_lookup->descriptor(), POLLIN, nowMs() + timeoutMs)) {
        case Wait::Ready:
            break;
        case Wait::TimedOut:
            return {{}, QStringLiteral("name not resolved within %1 ms").arg(timeoutMs)};
        case Wait::Interrupted:
            return {{}, reasonOf(Interrupted, timeoutMs)};
        }
        return std::exchange(m_lookup, nullptr)->take();
    } catch (const std::system_error& error) {
        return {{}, QString::fromLocal8Bit(error.what())};
    }

    /// Returns 0, or an error number; a descriptor that was opened stays open either way.
    int connectTo(const SocketAddress& address, qint64 deadlineMs, int& descriptor) const
    {
        descriptor =
            ::socket(address.storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        const auto* const place = reinterpret_cast<const sockaddr*>(&address.storage);
        if (descriptor == NoDescriptor)
            return errno;
        if (::connect(descriptor, place, address.length) != 0) {
            const int failure = errno == EINPROGRESS ? handshake(descriptor, deadlineMs) : errno;
            if (failure != 0)
                return failure;
        }
        // A command is one small packet, which must not wait for the one before to be confirmed.
        const int on = 1;
        return ::setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0 ? 0 : errno;
    }

    /// Waits until the far end has answered. Returns 0, or an error number.
    int handshake(int descriptor, qint64 deadlineMs) const
    {
        const Wait wait = waitUntil(descriptor, POLLOUT, deadlineMs);
        if (wait != Wait::Ready)
            return wait == Wait::Interrupted ? Interrupted : ETIMEDOUT;
        int failure = 0;
        socklen_t size = sizeof failure;
        return ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &failure, &size) == 0 ? failure
                                                                                    : errno;
    }

    QString m_host;
    quint16 m_port;
    Resolver m_resolver;
    std::shared_ptr<HostLookup> m_lookup; ///< one that has not ended in time
};

} // namespace

std::unique_ptr<Transport> makeTcpTransport(const QString& host, quint16 port,
                                            const Resolver& resolver)
{
    return std::make_unique<TcpTransport>(host, port, resolver);
}

} // namespace host
