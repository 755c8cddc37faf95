#include "simulator/server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace simulator
{

namespace
{

constexpr size_t MaxLines = 64;
constexpr size_t BytesPerRead = 4096;
constexpr TimeMs AcceptPause = 100; ///< after a host that could not be accepted

TimeMs currentTime()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::string lastError()
{
    return std::strerror(errno);
}

// Places in the list of what poll() waits for; the lines follow, in their order.
constexpr size_t WakeUpEvent = 0;
constexpr size_t ListenerEvent = 1;
constexpr size_t PtyHostEvent = 2;
constexpr size_t FirstLineEvent = 3;

int timeoutUntil(TimeMs due)
{
    constexpr int Forever = -1;
    if (due == std::numeric_limits<TimeMs>::max())
        return Forever;
    const TimeMs left = due - currentTime();
    return static_cast<int>(std::clamp<TimeMs>(left, 0, std::numeric_limits<int>::max()));
}

bool isTransient(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

using AddressList = std::unique_ptr<addrinfo, decltype(&freeaddrinfo)>;

AddressList resolve(const std::string& address, uint16_t port, std::string& why)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int failure = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (failure != 0)
        why = gai_strerror(failure);
    return AddressList(failure == 0 ? found : nullptr, &freeaddrinfo);
}

OwnedFd listenOn(const addrinfo& address)
{
    constexpr int WaitingHosts = 16;
    OwnedFd fd(socket(address.ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    // Without this a server that was just stopped keeps its port from the next one.
    const int on = 1;
    if (!fd.valid() || setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(fd.get(), address.ai_addr, address.ai_addrlen) != 0 ||
        listen(fd.get(), WaitingHosts) != 0)
        return OwnedFd();
    return fd;
}

uint16_t localPort(int fd)
{
    sockaddr_storage address;
    socklen_t length = sizeof address;
    if (getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return 0;
    // The port is at the same place in both kinds of address.
    return ntohs(reinterpret_cast<sockaddr_in*>(&address)->sin_port);
}

/// "tcp 127.0.0.1:50123"
std::string nameOfPeer(const sockaddr_storage& address, socklen_t length)
{
    std::array<char, NI_MAXHOST> host = {};
    std::array<char, NI_MAXSERV> port = {};
    getnameinfo(reinterpret_cast<const sockaddr*>(&address), length, host.data(), host.size(),
                port.data(), port.size(), NI_NUMERICHOST | NI_NUMERICSERV);
    return std::string("tcp ") + host.data() + ":" + port.data();
}

} // namespace

Server::Server(Controller& controller, FaultPlan faults, TrafficLog log, uint32_t baud)
    : m_controller(controller)
    , m_faults(std::move(faults))
    , m_log(std::move(log))
    , m_baud(baud)
    , m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

Server::~Server()
{
    stop();
    if (m_thread.joinable())
        m_thread.join();
}

bool Server::openPty(const std::string& link, std::string& why)
{
    if (!m_pty.open(link, why))
        return false;
    addLine(LineKind::Pty, OwnedFd(), "pty");
    return true;
}

bool Server::listenTcp(const std::string& address, uint16_t port, std::string& why)
{
    const bool isIpv6 = address.find(':') != std::string::npos;
    const std::string where = (isIpv6 ? "[" + address + "]" : address) + ":" + std::to_string(port);
    std::string reason;
    const AddressList addresses = resolve(address, port, reason);
    if (!addresses) {
        why = "can't listen on " + where + ": " + reason;
        return false;
    }
    for (const addrinfo* each = addresses.get(); each && !m_listener.valid(); each = each->ai_next)
        m_listener = listenOn(*each);
    if (!m_listener.valid()) {
        why = "can't listen on " + where + ": " + lastError();
        return false;
    }
    m_tcpPort = localPort(m_listener.get());
    return true;
}

void Server::start()
{
    m_thread = std::thread([this] { run(); });
}

void Server::stop() noexcept
{
    const int error = errno; // a signal handler must leave it as it was
    const uint64_t one = 1;
    const ssize_t written = write(m_wakeUp.get(), &one, sizeof one);
    static_cast<void>(written); // fails only when the counter is full, and so readable anyway
    errno = error;
}

void Server::run()
{
    std::vector<pollfd> events;
    while (wait(events)) {
        auto event = events.begin() + FirstLineEvent;
        for (Line& line : m_lines)
            serve(line, (event++)->revents);
        m_lines.remove_if([](const Line& line) { return line.gone; });
        if (events[PtyHostEvent].revents != 0)
            m_pty.welcomeHosts();
        if (events[ListenerEvent].revents != 0)
            accept();
    }
}

bool Server::wait(std::vector<pollfd>& events) const
{
    if (!m_wakeUp.valid())
        return false;
    const bool isFull = m_lines.size() >= MaxLines;
    const bool isPaused = currentTime() < m_acceptAfter;
    events = {{m_wakeUp.get(), POLLIN, 0},
              {isFull || isPaused ? -1 : m_listener.get(), POLLIN, 0},
              {m_pty.eventDescriptor(), POLLIN, 0}};
    TimeMs nextDue = isPaused ? m_acceptAfter : std::numeric_limits<TimeMs>::max();
    for (const Line& line : m_lines) {
        // A line that is busy is not read: what the host sends meanwhile waits in the system.
        const bool isIdle = line.channel.idle();
        const int wanted = isIdle ? POLLIN : line.blocked ? POLLOUT : 0;
        events.push_back({descriptorOf(line), static_cast<short>(wanted), 0});
        if (!isIdle && !line.blocked)
            nextDue = std::min(nextDue, *line.channel.nextDue());
    }
    if (poll(events.data(), events.size(), timeoutUntil(nextDue)) < 0 && errno != EINTR)
        return false;
    return events[WakeUpEvent].revents == 0;
}

void Server::accept()
{
    sockaddr_storage address = {};
    socklen_t length = sizeof address;
    OwnedFd fd(accept4(m_listener.get(), reinterpret_cast<sockaddr*>(&address), &length,
                       SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!fd.valid()) {
        // The host has gone again, or no descriptor is left: then it would be found waiting anew
        // as fast as the loop turns.
        m_acceptAfter = currentTime() + AcceptPause;
        return;
    }
    // Bytes that dribble must not be gathered into one packet.
    const int on = 1;
    setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    addLine(LineKind::Socket, std::move(fd), nameOfPeer(address, length));
}

void Server::addLine(LineKind kind, OwnedFd socket, const std::string& name)
{
    Channel channel(name, m_controller, m_faults, m_log, m_baud);
    m_lines.push_back({kind, std::move(socket), std::move(channel), false, false});
}

int Server::descriptorOf(const Line& line) const
{
    return line.kind == LineKind::Pty ? m_pty.descriptor() : line.socket.get();
}

void Server::serve(Line& line, short events)
{
    if (line.channel.idle()) {
        if (events != 0)
            receive(line);
    } else if (events & (POLLERR | POLLHUP | POLLNVAL)) {
        line.gone = true;
    }
    if (!line.gone && (!line.blocked || events != 0))
        send(line);
}

void Server::receive(Line& line)
{
    if (line.kind == LineKind::Pty)
        m_pty.welcomeHosts();
    std::array<char, BytesPerRead> bytes;
    const ssize_t count = read(descriptorOf(line), bytes.data(), bytes.size());
    if (count <= 0) {
        line.gone = count == 0 || !isTransient(errno);
        return;
    }
    if (understands(line))
        line.channel.receive({bytes.data(), static_cast<size_t>(count)}, currentTime());
}

bool Server::understands(const Line& line) const
{
    return line.kind != LineKind::Pty || !m_lineForm ||
           lineFormOf(m_pty.descriptor()) == *m_lineForm;
}

void Server::send(Line& line)
{
    std::string_view bytes;
    while (bytes = line.channel.due(currentTime()), !bytes.empty()) {
        const ssize_t count =
            line.kind == LineKind::Socket
                ? ::send(line.socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL)
                : write(m_pty.descriptor(), bytes.data(), bytes.size());
        line.blocked = count < 0 && isTransient(errno);
        line.gone = count < 0 && !line.blocked;
        if (count < 0)
            return;
        line.channel.sent(static_cast<size_t>(count), currentTime());
    }
}

} // namespace simulator
