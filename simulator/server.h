// Serves the simulated controller over a pseudo-terminal and over TCP, several hosts at once.
// It moves bytes and watches the clock; what the bytes mean is the business of Channel.
#ifndef SIMULATOR_SERVER_H
#define SIMULATOR_SERVER_H

#include "simulator/channel.h"
#include "simulator/faults.h"
#include "simulator/memory.h"

#include <cstdint>
#include <list>
#include <string>
#include <thread>
#include <vector>

struct pollfd;

namespace simulator
{

constexpr uint16_t DefaultTcpPort = 8501;

/// A file descriptor that is closed with its owner; -1 stands for none.
class OwnedFd
{
public:
    OwnedFd() = default;
    explicit OwnedFd(int fd)
        : fd_(fd)
    {
    }
    OwnedFd(OwnedFd&& other) noexcept
        : fd_(other.release())
    {
    }
    OwnedFd& operator=(OwnedFd&& other) noexcept;
    ~OwnedFd();

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }

private:
    int release();

    int fd_ = -1;
};

/// Use: open a pseudo-terminal, a TCP port or both, then run() or start().
///
///     Memory memory;
///     Server server(memory);
///     std::string why;
///     if (!server.openPty("/tmp/plc", why))
///         ...
///     server.start();
///
/// Every line has a session of its own; memory and fault plan are shared by all.
class Server
{
public:
    /// The memory must outlive the server. The log is called in the thread that serves.
    explicit Server(Memory& memory, FaultPlan faults = FaultPlan(), TrafficLog log = TrafficLog());

    /// Stops, waits for the thread of start(), closes every line and removes the link.
    ~Server();

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Creates a pseudo-terminal in raw mode; at most once, and before run() or start(). With a
    /// non-empty `link`, a symbolic link of that name leads to it as long as the server lives. A
    /// link left over from an earlier run is replaced; anything else of that name is left alone and
    /// makes the call fail. On failure returns false and says why in a sentence.
    bool openPty(const std::string& link, std::string& why);

    /// Listens on a local address, such as "127.0.0.1"; at most once, and before run() or start().
    /// Port 0 takes any free one. On failure returns false and says why in a sentence.
    bool listenTcp(const std::string& address, uint16_t port, std::string& why);

    /// The device that a host opens, such as "/dev/pts/3"; empty without a pseudo-terminal.
    const std::string& ptyPath() const { return ptyPath_; }

    /// The port that is listened on; 0 without one.
    uint16_t tcpPort() const { return tcpPort_; }

    /// Serves in the calling thread until stop().
    void run();

    /// Serves in a thread of its own until stop(); at most once, and not beside run().
    void start();

    /// Ends run() or the thread's work soon, for good. May be called from any thread and from a
    /// signal handler. Lines stay open until the server is destroyed.
    void stop() noexcept;

private:
    enum class LineKind { Pty, Socket };

    struct Line {
        OwnedFd fd;
        LineKind kind;
        Channel channel;
        bool blocked; ///< the last write took less than there was
        bool gone;    ///< the other side hung up
    };

    bool makeLink(const std::string& link, std::string& why);
    void removeLink();
    void addLine(OwnedFd fd, LineKind kind, const std::string& name);

    /// Waits until there is something to do: fills in what happened to the wake-up, the listener
    /// and each line, in this order. Returns false once stop() was called.
    bool wait(std::vector<::pollfd>& events) const;
    void accept();
    void serve(Line& line, short events);
    void receive(Line& line);
    void send(Line& line);

    Memory& memory_;
    FaultPlan faults_;
    TrafficLog log_;
    OwnedFd wakeUp_;   ///< readable once stop() was called
    OwnedFd ptySlave_; ///< our own hold on the other end of the pseudo-terminal
    OwnedFd listener_;
    std::list<Line> lines_;
    std::string ptyPath_;
    std::string link_; ///< the link to remove at the end
    uint16_t tcpPort_ = 0;
    std::thread thread_;
};

} // namespace simulator

#endif // SIMULATOR_SERVER_H
