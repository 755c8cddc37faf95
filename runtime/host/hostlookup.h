// The addresses of a host. A resolver may take many seconds and can't be stopped, so it works in a
// thread of its own: a transport waits for it only as long as it wants to.
#ifndef HOST_HOSTLOOKUP_H
#define HOST_HOSTLOOKUP_H

#include <QString>

#include <functional>
#include <future>
#include <memory>
#include <sys/socket.h>
#include <vector>

namespace host
{

struct SocketAddress {
    sockaddr_storage storage; ///< its first `length` bytes
    socklen_t length;
};

struct HostAddresses {
    std::vector<SocketAddress> addresses; ///< in the order in which to try them
    QString failure;                      ///< why there are none, for a person
};

/// Finds the addresses of a host, with the TCP port in them, and takes as long as it needs.
/// Called in any thread. Does not throw.
using Resolver = std::function<HostAddresses(const QString& host, quint16 port)>;

/// The system's resolver.
HostAddresses resolveHost(const QString& host, quint16 port);

/// The same for a host that is written as an address; others fail. Returns at once.
HostAddresses numericHost(const QString& host, quint16 port);

/// One lookup. Its thread is never waited for: it shares this object with whoever asked, and the
/// last of the two frees it.
class HostLookup
{
public:
    /// Throws std::system_error when the system has no thread or descriptor left.
    static std::shared_ptr<HostLookup> start(const Resolver& resolver, const QString& host,
                                             quint16 port);

    HostLookup();
    ~HostLookup();

    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;

    /// Readable once the lookup has ended.
    int descriptor() const { return m_ended; }

    /// What was found; at most once, waits for the end.
    HostAddresses take() { return m_found.get_future().get(); }

private:
    void end(HostAddresses found);

    int m_ended; ///< an eventfd
    std::promise<HostAddresses> m_found;
};

} // namespace host

#endif
