// Serves a simulated controller over a pseudo-terminal and over TCP, several hosts at once.
// It moves bytes and watches the clock; what the bytes mean is the business of Channel.
#ifndef SIMULATOR_SERVER_H
#define SIMULATOR_SERVER_H

#include "simulator/channel.h"
#include "simulator/faults.h"
#include "simulator/lineform.h"
#include "simulator/ownedfd.h"
#include "simulator/pseudoterminal.h"

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <thread>
#include <vector>

struct pollfd;

namespace simulator
{

/// Use: open a pseudo-terminal, a TCP port or both, then run() or start().
///
///     kv1000::Controller controller;
///     Server server(controller);
///     std::string why;
///     if (!server.openPty("/tmp/plc", why))
///         ...
///     server.start();
///
/// Every line has a session of its own; controller and fault plan are shared by all.
class Server
{
public:
    /// The controller must outlive the server. The log is called in the thread that serves. The
    /// speed is that of Channel.
    explicit Server(Controller& controller, FaultPlan faults = FaultPlan(),
                    TrafficLog log = TrafficLog(), uint32_t baud = Unpaced);

    /// Stops, waits for the thread of start(), closes every line and removes the link.
    ~Server();

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Creates a pseudo-terminal, with a link to it unless `link` is empty; at most once, and
    /// before run() or start(). PseudoTerminal::open() says when that fails.
    bool openPty(const std::string& link, std::string& why);

    /// Lets the pseudo-terminal ignore hosts that set it to another speed or other stop bits.
    /// To be called before run() or start(). A pseudo-terminal keeps neither parity nor data bits.
    void requireLineForm(const LineForm& form) { m_lineForm = form; }

    /// Listens on a local address, such as "127.0.0.1"; at most once, and before run() or start().
    /// Port 0 takes any free one. On failure returns false and says why in a sentence.
    bool listenTcp(const std::string& address, uint16_t port, std::string& why);

    /// The device that a host opens, such as "/dev/pts/3"; empty without a pseudo-terminal.
    const std::string& ptyPath() const { return m_pty.path(); }

    /// The port that is listened on; 0 without one.
    uint16_t tcpPort() const { return m_tcpPort; }

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
        LineKind kind;
        OwnedFd socket; ///< of a socket only
        Channel channel;
        bool blocked; ///< the last write took less than there was
        bool gone;    ///< the other side hung up
    };

    void addLine(LineKind kind, OwnedFd socket, const std::string& name);
    int descriptorOf(const Line& line) const;

    /// Waits until there is something to do: fills in what happened to the wake-up, the listener,
    /// the hosts of the pseudo-terminal and each line, in this order. Returns false once stop() was
    /// called.
    bool wait(std::vector<::pollfd>& events) const;
    void accept();
    void serve(Line& line, short events);
    void receive(Line& line);
    bool understands(const Line& line) const;
    void send(Line& line);

    Controller& m_controller;
    FaultPlan m_faults;
    TrafficLog m_log;
    uint32_t m_baud;
    OwnedFd m_wakeUp; ///< readable once stop() was called
    PseudoTerminal m_pty;
    std::optional<LineForm> m_lineForm; ///< that the pseudo-terminal understands; nothing for all
    OwnedFd m_listener;
    TimeMs m_acceptAfter = 0; ///< hosts that connect wait until then
    std::list<Line> m_lines;
    uint16_t m_tcpPort = 0;
    std::thread m_thread;
};

} // namespace simulator

#endif
