// The server on a real pseudo-terminal and on real sockets.
#include "simulator/kv1000/controller.h"
#include "simulator/server.h"

#include "tests/support/resourcelimit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <poll.h>
#include <set>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <vector>

namespace
{

using namespace simulator;
namespace fs = std::filesystem;

constexpr int VeryLongMs = 20000;

/// One end of a line, in a host's hands.
class Host
{
public:
    explicit Host(const std::string& pty)
        : m_fd(open(pty.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
    }

    explicit Host(uint16_t tcpPort)
        : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        const sockaddr_in address = {AF_INET, htons(tcpPort), {htonl(INADDR_LOOPBACK)}, {}};
        EXPECT_EQ(connect(m_fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
                  0);
    }

    void send(const std::string& bytes)
    {
        EXPECT_EQ(write(m_fd.get(), bytes.data(), bytes.size()),
                  static_cast<ssize_t>(bytes.size()));
    }

    /// The reply comes in full, unless the line ends or nothing comes for very long.
    void expect(const std::string& reply)
    {
        std::string bytes;
        pollfd event = {m_fd.get(), POLLIN, 0};
        for (char byte; bytes.size() < reply.size() && poll(&event, 1, VeryLongMs) == 1;) {
            if (read(m_fd.get(), &byte, 1) != 1)
                break;
            bytes += byte;
        }
        EXPECT_EQ(bytes, reply);
    }

    void ask(const std::string& commands, const std::string& replies)
    {
        send(commands);
        expect(replies);
    }

private:
    OwnedFd m_fd;
};

class ServerTest : public testing::Test
{
protected:
    ~ServerTest() override { fs::remove_all(directory); }

    /// A server on both lines, at work.
    std::unique_ptr<Server> serve(const char* plan = "")
    {
        auto server =
            std::make_unique<Server>(plc, FaultPlan::parse(plan, 1, plc.commands(), why).value());
        EXPECT_TRUE(server->openPty(link, why)) << why;
        EXPECT_TRUE(server->listenTcp("127.0.0.1", 0, why)) << why;
        server->start();
        return server;
    }

    fs::path directory = mkdtemp(std::string("/tmp/simulator-test-XXXXXX").data());
    fs::path link = directory / "plc";
    kv1000::Controller plc;
    std::string why;
};

TEST_F(ServerTest, ServesThePtyToOneHostAfterTheOtherAndTakesItsLinkAway)
{
    const OwnedFd terminal(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    fs::create_symlink(ptsname(terminal.get()), link); // left over, to a terminal of others by now
    auto server = serve();
    EXPECT_EQ(fs::read_symlink(link), server->ptyPath());
    for (const std::string& path : {server->ptyPath(), link.string(), server->ptyPath()}) {
        Host(path).ask("CR\r\nWRS DM00000 2 00012 65535\r\nRDS DM00000 2\r\nCQ\r\n",
                       "CC\r\nOK\r\n00012 65535\r\nCF\r\n");
    }
    server.reset();
    EXPECT_FALSE(fs::is_symlink(link));

    server = serve();
    fs::remove(link);
    fs::create_symlink("/dev/pts/99999", link);
    server.reset();
    EXPECT_TRUE(fs::is_symlink(link)) << "it was another's by then";
}

/// Opens the device for itself, changes these settings and dies with a reply unread.
/// Only what may be called in the child of a program with threads.
[[noreturn]] void useAndDie(const char* pty, tcflag_t flags, speed_t speed)
{
    const int fd = open(pty, O_RDWR | O_NOCTTY);
    termios settings;
    if (fd < 0 || ioctl(fd, TIOCEXCL) != 0 || tcgetattr(fd, &settings) != 0)
        _exit(1);
    settings.c_cflag |= flags;
    cfsetspeed(&settings, speed);
    if (tcsetattr(fd, TCSANOW, &settings) != 0)
        _exit(2);
    char reply[4];
    pollfd event = {fd, POLLIN, 0};
    if (write(fd, "CR\r\n", 4) != 4 || poll(&event, 1, -1) != 1 || read(fd, reply, 4) != 4 ||
        std::memcmp(reply, "CC\r\n", 4) != 0)
        _exit(3);
    if (write(fd, "CQ\r\n", 4) == 4 && poll(&event, 1, -1) == 1)
        raise(SIGKILL);
    _exit(4);
}

// A pseudo-terminal ignores parity: to ask for it is an error when nothing else changes with it.
TEST_F(ServerTest, ForgetsAHostThatWasKilled)
{
    const struct {
        tcflag_t flags;
        speed_t speed;
    } rows[] = {
        {PARENB | CLOCAL, B50},   {PARENB | CLOCAL, B50},   {PARENB, B9600},
        {PARENB | CLOCAL, B9600}, {PARENB | CLOCAL, B9600}, {PARENB, B38400},
    };
    const auto server = serve();
    const OwnedFd observer(open(server->ptyPath().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    termios initial;
    ASSERT_EQ(tcgetattr(observer.get(), &initial), 0);
    const auto isReset = [&] {
        termios settings;
        int isExclusive = 0;
        return tcgetattr(observer.get(), &settings) == 0 && settings.c_cflag == initial.c_cflag &&
               ioctl(observer.get(), TIOCGEXCL, &isExclusive) == 0 && isExclusive == 0;
    };
    for (const auto& row : rows) {
        const pid_t host = fork();
        if (host == 0)
            useAndDie(server->ptyPath().c_str(), row.flags, row.speed);
        int status = 0;
        ASSERT_EQ(waitpid(host, &status, 0), host);
        ASSERT_TRUE(WIFSIGNALED(status)) << "ended with " << WEXITSTATUS(status);
        for (int ms = 0; ms < VeryLongMs && !isReset(); ++ms)
            poll(nullptr, 0, 1);
        ASSERT_TRUE(isReset());
    }
}

TEST_F(ServerTest, WaitsForAHostThatIsSlowToRead)
{
    constexpr int Commands = 20; // their replies are far more than a pseudo-terminal holds
    const auto server = serve();
    std::string reply;
    for (int i = 0; i < 1000; ++i)
        reply += "00000 ";
    reply.replace(reply.size() - 1, 1, "\r\n");
    Host host(server->ptyPath());
    host.ask("CR\r\n", "CC\r\n");
    for (int i = 0; i < Commands; ++i)
        host.send("RDS DM0 1000\r\n");
    for (int i = 0; i < Commands && !HasFailure(); ++i)
        host.expect(reply);
}

TEST_F(ServerTest, GivesEveryHostASessionOfItsOwnAndAllOneMemory)
{
    constexpr int ManyHosts = 70; // more than may be connected at the same time
    auto server = serve();
    Host first(server->tcpPort());
    first.ask("CR\r\nWRS DM00000 1 00042\r\n", "CC\r\nOK\r\n");
    for (int i = 0; i < ManyHosts && !HasFailure(); ++i)
        Host(server->tcpPort()).ask("RDS DM0 1\r\nCR\r\nRDS DM0 1\r\n", "E4\r\nCC\r\n00042\r\n");
    Host(server->ptyPath()).ask("RDS DM0 1\r\n", "E4\r\n");
    first.ask("RDS DM0 1\r\n", "00042\r\n");

    const uint16_t port = server->tcpPort();
    server.reset();
    EXPECT_TRUE(Server(plc).listenTcp("127.0.0.1", port, why)) << "no restart: " << why;
}

std::set<fs::path> threadsOfThisProcess()
{
    return {fs::directory_iterator("/proc/self/task"), fs::directory_iterator()};
}

/// Whether the thread sleeps; `status` is its file /proc/self/task/TID/stat.
bool isAsleep(const OwnedFd& status)
{
    char text[128];
    const ssize_t length = pread(status.get(), text, sizeof text, 0);
    EXPECT_GT(length, 0);
    return std::string(text, size_t(std::max<ssize_t>(length, 0))).find(") S ") !=
           std::string::npos;
}

TEST_F(ServerTest, SleepsWhileAHostWaitsAndNoDescriptorIsLeft)
{
    const auto others = threadsOfThisProcess();
    const auto server = serve();
    const auto threads = threadsOfThisProcess();
    const auto thread = std::find_if(threads.begin(), threads.end(),
                                     [&](const fs::path& path) { return others.count(path) == 0; });
    ASSERT_NE(thread, threads.end());
    const OwnedFd status(open((*thread / "stat").c_str(), O_RDONLY | O_CLOEXEC));

    const ResourceLimit fewDescriptors(RLIMIT_NOFILE, 64);
    std::vector<OwnedFd> all;
    for (int fd = dup(STDIN_FILENO); fd >= 0; fd = dup(STDIN_FILENO))
        all.emplace_back(fd);
    all.pop_back();
    Host host(server->tcpPort());
    poll(nullptr, 0, 150); // the server finds it and gets none
    int samples = 0;
    while (!isAsleep(status) && ++samples < VeryLongMs)
        poll(nullptr, 0, 1);
    EXPECT_LT(samples, VeryLongMs) << "it tries again and again";
    all.clear();
    host.ask("CR\r\n", "CC\r\n");
}

TEST_F(ServerTest, SendsFaultyRepliesAndOutlivesAHostThatHangsUp)
{
    const auto server = serve("dribble=5ms@CR,late=5ms@RDS,cut=3@CQ");
    Host(server->tcpPort()).send("CR\r\nRDS DM00000 1000\r\nRDS DM00000 1000\r\n");
    Host(server->tcpPort())
        .ask("CR\r\nRDS DM00000 1\r\nCQ\r\nST 0\r\n", "CC\r\n00000\r\nCF\rE4\r\n");
}

TEST_F(ServerTest, KeepsThePaceOfALine)
{
    using namespace std::chrono;
    Server server(plc, FaultPlan(), TrafficLog(), 1100); // 10 ms a byte
    ASSERT_TRUE(server.openPty("", why)) << why;
    server.start();
    const auto start = steady_clock::now();
    Host(server.ptyPath()).ask("CR\r\n", "CC\r\n");
    EXPECT_GE(steady_clock::now() - start, milliseconds(79)); // its clock has whole milliseconds
}

TEST_F(ServerTest, SaysWhyItCannotOpenALine)
{
    const auto server = serve();
    const std::string where = "127.0.0.1:" + std::to_string(server->tcpPort());
    EXPECT_FALSE(Server(plc).listenTcp("127.0.0.1", server->tcpPort(), why));
    EXPECT_EQ(why, "can't listen on " + where + ": Address already in use");

    const std::string file = directory / "file";
    std::ofstream(file) << "precious";
    EXPECT_FALSE(Server(plc).openPty(file, why));
    EXPECT_EQ(why, file + " exists already and is not a link to a pseudo-terminal");

    EXPECT_FALSE(Server(plc).openPty(link, why));
    EXPECT_EQ(why, link.string() + " is in use: it leads to " + server->ptyPath() +
                       ", where another controller is simulated");
    EXPECT_EQ(fs::read_symlink(link), server->ptyPath());
}

} // namespace
