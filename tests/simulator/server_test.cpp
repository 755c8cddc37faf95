// The server on a real pseudo-terminal and on real sockets.
#include "simulator/server.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

using namespace simulator;
namespace fs = std::filesystem;

/// One end of a line, in a host's hands.
class Host
{
public:
    static Host onPty(const std::string& path)
    {
        return Host(OwnedFd(open(path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)));
    }

    static Host onTcp(uint16_t port)
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        OwnedFd fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        if (connect(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            return Host(OwnedFd());
        return Host(std::move(fd));
    }

    bool isConnected() const { return fd_.valid(); }

    void send(const std::string& bytes)
    {
        EXPECT_EQ(write(fd_.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    /// As many bytes, or fewer when the line ends or none come for very long.
    std::string receive(size_t count)
    {
        constexpr int VeryLongMs = 20000;
        std::string bytes(count, '\0');
        size_t have = 0;
        pollfd event = {fd_.get(), POLLIN, 0};
        while (have < count && poll(&event, 1, VeryLongMs) == 1) {
            const ssize_t more = read(fd_.get(), &bytes[have], count - have);
            if (more <= 0)
                break;
            have += static_cast<size_t>(more);
        }
        bytes.resize(have);
        return bytes;
    }

    /// The reply, as long as the wanted one.
    void expect(const std::string& command, const std::string& reply)
    {
        send(command);
        EXPECT_EQ(receive(reply.size()), reply) << "answering " << command;
    }

private:
    explicit Host(OwnedFd fd)
        : fd_(std::move(fd))
    {
    }

    OwnedFd fd_;
};

class ServerTest : public testing::Test
{
protected:
    ServerTest()
    {
        char name[] = "/tmp/simulator-test-XXXXXX";
        directory = mkdtemp(name);
    }

    ~ServerTest() override { fs::remove_all(directory); }

    std::string link() const { return (directory / "plc").string(); }

    FaultPlan plan(const char* text)
    {
        return FaultPlan::parse(text, 1, why).value_or(FaultPlan());
    }

    fs::path directory;
    Memory memory;
    std::string why;
};

TEST_F(ServerTest, ServesThePtyToOneHostAfterTheOther)
{
    Server server(memory);
    ASSERT_TRUE(server.openPty(link(), why)) << why;
    server.start();
    EXPECT_EQ(fs::read_symlink(link()), server.ptyPath());
    for (const std::string& path : {server.ptyPath(), link(), server.ptyPath()}) {
        Host host = Host::onPty(path);
        ASSERT_TRUE(host.isConnected());
        host.expect("CR\r\n", "CC\r\n");
        host.expect("WRS DM00000 2 00012 65535\r\n", "OK\r\n");
        host.expect("RDS DM00000 2\r\n", "00012 65535\r\n");
        host.expect("CQ\r\n", "CF\r\n");
    }
}

TEST_F(ServerTest, WaitsForAHostThatIsSlowToRead)
{
    constexpr int Commands = 20; // their replies are far more than a pseudo-terminal holds
    Server server(memory);
    ASSERT_TRUE(server.openPty("", why)) << why;
    server.start();
    std::string reply = "0,0000000000,0000000000";
    for (int i = 1; i < 1000; ++i)
        reply += " 0,0000000000,0000000000";
    Host host = Host::onPty(server.ptyPath());
    host.expect("CR\r\n", "CC\r\n");
    for (int i = 0; i < Commands; ++i)
        host.send("RDS T0000 1000\r\n");
    for (int i = 0; i < Commands; ++i)
        ASSERT_EQ(host.receive(reply.size() + 2), reply + "\r\n") << "reply " << i;
}

TEST_F(ServerTest, GivesTcpHostsOneMemoryAndSessionsOfTheirOwn)
{
    Server server(memory);
    ASSERT_TRUE(server.listenTcp("127.0.0.1", 0, why)) << why;
    ASSERT_TRUE(server.openPty("", why)) << why;
    server.start();
    Host first = Host::onTcp(server.tcpPort());
    Host second = Host::onTcp(server.tcpPort());
    Host third = Host::onPty(server.ptyPath());
    first.expect("CR\r\n", "CC\r\n");
    first.expect("WRS DM00000 1 00042\r\n", "OK\r\n");
    second.expect("RDS DM00000 1\r\n", "E4\r\n");
    second.expect("CR\r\n", "CC\r\n");
    second.expect("RDS DM00000 1\r\n", "00042\r\n");
    third.expect("RDS DM00000 1\r\n", "E4\r\n");
    first = Host::onTcp(server.tcpPort());
    first.expect("RDS DM00000 1\r\n", "E4\r\n");
    EXPECT_EQ(memory.look("DM0"), 42u);
}

TEST_F(ServerTest, SendsBytesThatDribbleAndSpoiltReplies)
{
    Server server(memory, plan("dribble=1ms@CR,late=5ms@RDS,cut=3@CQ"));
    ASSERT_TRUE(server.listenTcp("127.0.0.1", 0, why)) << why;
    server.start();
    Host host = Host::onTcp(server.tcpPort());
    host.expect("CR\r\n", "CC\r\n");
    host.expect("RDS DM00000 1\r\nCQ\r\nST 0\r\n", "00000\r\nCF\rE4\r\n");
}

TEST_F(ServerTest, ServesManyHostsOneAfterTheOther)
{
    Server server(memory);
    ASSERT_TRUE(server.listenTcp("127.0.0.1", 0, why)) << why;
    server.start();
    for (int i = 0; i < 200; ++i)
        Host::onTcp(server.tcpPort()).expect("CR\r\n", "CC\r\n");
}

TEST_F(ServerTest, OutlivesAHostThatHangsUpBeforeItsReply)
{
    Server server(memory, plan("late=50ms@CR"));
    ASSERT_TRUE(server.listenTcp("127.0.0.1", 0, why)) << why;
    server.start();
    {
        Host hasty = Host::onTcp(server.tcpPort());
        hasty.send("CR\r\nRDS DM00000 1000\r\nRDS DM00000 1000\r\n");
    }
    Host patient = Host::onTcp(server.tcpPort());
    patient.expect("CR\r\nRDS DM00000 1\r\n", "CC\r\n00000\r\n");
}

TEST_F(ServerTest, TakesItsLinkAwayAndReplacesALeftOverOne)
{
    fs::create_symlink("/dev/pts/99999", link());
    {
        Server server(memory);
        ASSERT_TRUE(server.openPty(link(), why)) << why;
        EXPECT_EQ(fs::read_symlink(link()), server.ptyPath());
    }
    EXPECT_FALSE(fs::is_symlink(link()));
    {
        Server server(memory);
        ASSERT_TRUE(server.openPty(link(), why)) << why;
        fs::remove(link());
        fs::create_symlink("/dev/pts/99999", link());
    }
    EXPECT_TRUE(fs::is_symlink(link())) << "a link that is another server's by now";
}

TEST_F(ServerTest, LeavesWhatStandsInTheWayOfItsLink)
{
    std::ofstream(directory / "file") << "precious";
    fs::create_directory(directory / "directory");
    fs::create_symlink("file", directory / "elsewhere");
    for (const char* name : {"file", "directory", "elsewhere"}) {
        const std::string path = (directory / name).string();
        Server server(memory);
        EXPECT_FALSE(server.openPty(path, why)) << name;
        EXPECT_EQ(why, path + " exists already and is not a link to a pseudo-terminal");
        EXPECT_EQ(server.ptyPath(), "");
    }
    EXPECT_EQ(fs::file_size(directory / "elsewhere"), 8u);
    EXPECT_TRUE(fs::is_directory(directory / "directory"));

    const std::string nowhere = (directory / "none" / "plc").string();
    EXPECT_FALSE(Server(memory).openPty(nowhere, why));
    EXPECT_EQ(why, "cannot create the link " + nowhere + ": No such file or directory");
}

TEST_F(ServerTest, SaysWhyItCannotListen)
{
    Server first(memory);
    ASSERT_TRUE(first.listenTcp("127.0.0.1", 0, why)) << why;
    const uint16_t port = first.tcpPort();
    EXPECT_FALSE(Server(memory).listenTcp("127.0.0.1", port, why));
    EXPECT_EQ(why,
              "cannot listen on 127.0.0.1:" + std::to_string(port) + ": Address already in use");
    EXPECT_FALSE(Server(memory).listenTcp("no address", 0, why));
    EXPECT_EQ(why.rfind("cannot listen on no address:0: ", 0), 0u) << why;
}

Server* serverToStop = nullptr;

TEST_F(ServerTest, IsStoppedFromASignalHandler)
{
    Server server(memory);
    ASSERT_TRUE(server.openPty("", why)) << why;
    serverToStop = &server;
    const auto before = std::signal(SIGUSR1, [](int) { serverToStop->stop(); });
    raise(SIGUSR1);
    server.run(); // hangs unless the request is remembered
    std::signal(SIGUSR1, before);
}

} // namespace
