#include "host/hostlookup.h"

#include <QUrl>

#include <cerrno>
#include <cstring>
#include <netdb.h>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace host
{

namespace
{

QString reasonOf(int failure)
{
    switch (failure) {
    case EAI_NONAME:
        return QStringLiteral("unknown host");
    case EAI_SYSTEM:
        return qt_error_string(errno);
    default:
        return QString::fromLocal8Bit(::gai_strerror(failure));
    }
}

HostAddresses addressesOf(const QByteArray& host, quint16 port, int flags)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | flags;
    addrinfo* first = nullptr;
    const int failure = ::getaddrinfo(host, QByteArray::number(port), &hints, &first);
    if (failure != 0)
        return {{}, reasonOf(failure)};
    HostAddresses found;
    for (const addrinfo* each = first; each; each = each->ai_next) {
        SocketAddress address = {{}, each->ai_addrlen};
        std::memcpy(&address.storage, each->ai_addr, each->ai_addrlen);
        found.addresses.push_back(address);
    }
    ::freeaddrinfo(first);
    return found;
}

} // namespace

HostAddresses resolveHost(const QString& host, quint16 port)
{
    return addressesOf(QUrl::toAce(host), port, 0);
}

HostAddresses numericHost(const QString& host, quint16 port)
{
    return addressesOf(host.toUtf8(), port, AI_NUMERICHOST);
}

std::shared_ptr<HostLookup> HostLookup::start(const Resolver& resolver, const QString& host,
                                              quint16 port)
{
    const auto lookup = std::make_shared<HostLookup>();
    std::thread([=] { lookup->end(resolver(host, port)); }).detach();
    return lookup;
}

HostLookup::HostLookup()
    : m_ended(::eventfd(0, EFD_CLOEXEC))
{
    if (m_ended < 0)
        throw std::system_error(errno, std::generic_category());
}

HostLookup::~HostLookup()
{
    ::close(m_ended);
}

void HostLookup::end(HostAddresses found)
{
    m_found.set_value(std::move(found));
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_ended, &one, sizeof one);
}

} // namespace host
