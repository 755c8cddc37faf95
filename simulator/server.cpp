#include "simulator/server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace simulator
{

namespace
{

constexpr size_t MaxLines = 64;
constexpr size_t BytesPerRead = 4096;
constexpr const char* PtyDirectory = "/dev/pts/";

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
constexpr size_t FirstLineEvent = 2;

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

/// Where a symbolic link leads to; empty for anything that is none.
std::string linkTarget(const std::string& link)
{
    std::array<char, 256> target;
    const ssize_t length = readlink(link.c_str(), target.data(), target.size());
    return length < 0 ? std::string() : std::string(target.data(), static_cast<size_t>(length));
}

bool exists(const std::string& path)
{
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

OwnedFd openPtyMaster(std::string& slavePath)
{
    OwnedFd master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    std::array<char, 64> name;
    if (!master.valid() || grantpt(master.get()) != 0 || unlockpt(master.get()) != 0 ||
        ptsname_r(master.get(), name.data(), name.size()) != 0)
        return OwnedFd();
    slavePath = name.data();
    return master;
}

/// Bytes pass unchanged and without echo, as on a serial line.
bool makeRaw(int fd)
{
    termios settings;
    if (tcgetattr(fd, &settings) != 0)
        return false;
    cfmakeraw(&settings);
    return tcsetattr(fd, TCSANOW, &settings) == 0;
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
    // The port stands at the same place in both kinds of address.
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

OwnedFd& OwnedFd::operator=(OwnedFd&& other) noexcept
{
    OwnedFd old(std::exchange(fd_, other.release()));
    return *this;
}

OwnedFd::~OwnedFd()
{
    if (valid())
        close(fd_);
}

int OwnedFd::release()
{
    return std::exchange(fd_, -1);
}

Server::Server(Memory& memory, FaultPlan faults, TrafficLog log)
    : memory_(memory)
    , faults_(std::move(faults))
    , log_(std::move(log))
    , wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

Server::~Server()
{
    stop();
    if (thread_.joinable())
        thread_.join();
    removeLink();
}

bool Server::openPty(const std::string& link, std::string& why)
{
    std::string path;
    OwnedFd master = openPtyMaster(path);
    // As long as somebody holds the slave open, the master never sees a hang-up: hosts may come and
    // go, and what they send while we are busy stays.
    OwnedFd slave(master.valid() ? open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC) : -1);
    if (!slave.valid() || !makeRaw(slave.get())) {
        why = "cannot create a pseudo-terminal: " + lastError();
        return false;
    }
    ptyPath_ = path;
    if (!link.empty() && !makeLink(link, why)) {
        ptyPath_.clear();
        return false;
    }
    ptySlave_ = std::move(slave);
    addLine(std::move(master), LineKind::Pty, "pty");
    return true;
}

bool Server::makeLink(const std::string& link, std::string& why)
{
    const bool isLeftOver = linkTarget(link).rfind(PtyDirectory, 0) == 0;
    if (exists(link) && !isLeftOver) {
        why = link + " exists already and is not a link to a pseudo-terminal";
        return false;
    }
    if (isLeftOver)
        unlink(link.c_str());
    if (symlink(ptyPath_.c_str(), link.c_str()) != 0) {
        why = "cannot create the link " + link + ": " + lastError();
        return false;
    }
    link_ = link;
    return true;
}

void Server::removeLink()
{
    // Another server may have taken the name over.
    if (!link_.empty() && linkTarget(link_) == ptyPath_)
        unlink(link_.c_str());
}

bool Server::listenTcp(const std::string& address, uint16_t port, std::string& why)
{
    const std::string where = address + ":" + std::to_string(port);
    std::string reason;
    const AddressList addresses = resolve(address, port, reason);
    if (!addresses) {
        why = "cannot listen on " + where + ": " + reason;
        return false;
    }
    for (const addrinfo* each = addresses.get(); each && !listener_.valid(); each = each->ai_next)
        listener_ = listenOn(*each);
    if (!listener_.valid()) {
        why = "cannot listen on " + where + ": " + lastError();
        return false;
    }
    tcpPort_ = localPort(listener_.get());
    return true;
}

void Server::start()
{
    thread_ = std::thread([this] { run(); });
}

void Server::stop() noexcept
{
    const int error = errno; // a signal handler must leave it as it was
    const uint64_t one = 1;
    const ssize_t written = write(wakeUp_.get(), &one, sizeof one);
    static_cast<void>(written); // fails only when the counter is full, and so readable anyway
    errno = error;
}

void Server::run()
{
    std::vector<pollfd> events;
    while (wait(events)) {
        auto event = events.begin() + FirstLineEvent;
        for (Line& line : lines_)
            serve(line, (event++)->revents);
        lines_.remove_if([](const Line& line) { return line.gone; });
        if (events[ListenerEvent].revents != 0)
            accept();
    }
}

bool Server::wait(std::vector<pollfd>& events) const
{
    if (!wakeUp_.valid())
        return false;
    const bool isFull = lines_.size() >= MaxLines;
    events = {{wakeUp_.get(), POLLIN, 0}, {isFull ? -1 : listener_.get(), POLLIN, 0}};
    TimeMs nextDue = std::numeric_limits<TimeMs>::max();
    for (const Line& line : lines_) {
        // A line that is busy is not read: what the host sends meanwhile waits in the system.
        const bool isIdle = line.channel.idle();
        const int wanted = isIdle ? POLLIN : line.blocked ? POLLOUT : 0;
        events.push_back({line.fd.get(), static_cast<short>(wanted), 0});
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
    OwnedFd fd(accept4(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length,
                       SOCK_NONBLOCK | SOCK_CLOEXEC));
    if (!fd.valid())
        return; // the host has gone again
    // Bytes that dribble must not be gathered into one packet.
    const int on = 1;
    setsockopt(fd.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    addLine(std::move(fd), LineKind::Socket, nameOfPeer(address, length));
}

void Server::addLine(OwnedFd fd, LineKind kind, const std::string& name)
{
    Channel channel(name, memory_, faults_, log_);
    lines_.push_back({std::move(fd), kind, std::move(channel), false, false});
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
    std::array<char, BytesPerRead> bytes;
    const ssize_t count = read(line.fd.get(), bytes.data(), bytes.size());
    if (count <= 0) {
        line.gone = count == 0 || !isTransient(errno);
        return;
    }
    // A host that claimed the device for itself and was killed must not lock out the next one: our
    // hold on the slave would keep its claim alive.
    if (line.kind == LineKind::Pty)
        ioctl(ptySlave_.get(), TIOCNXCL);
    line.channel.receive({bytes.data(), static_cast<size_t>(count)}, currentTime());
}

void Server::send(Line& line)
{
    std::string_view bytes;
    while (bytes = line.channel.due(currentTime()), !bytes.empty()) {
        const ssize_t count = line.kind == LineKind::Socket
                                  ? ::send(line.fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL)
                                  : write(line.fd.get(), bytes.data(), bytes.size());
        line.blocked = count < 0 && isTransient(errno);
        line.gone = count < 0 && !line.blocked;
        if (count < 0)
            return;
        line.channel.sent(static_cast<size_t>(count), currentTime());
    }
}

} // namespace simulator
