// plcctl scan, against a far end that answers at one speed only; plcctl ports and explain beside
// it.
#include "program.h"

#include "bench/serialports.h"
#include "support/descriptor.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <asm/termbits.h>
#include <atomic>
#include <poll.h>
#include <sys/ioctl.h>
#include <thread>

namespace
{

/// Understands one speed, with one stop bit. The settings are those that the program set at its
/// end; a pseudo-terminal keeps speed and stop bits, but neither parity nor data bits.
class PickyController
{
public:
    /// words   the reply to every read of words
    /// noise   what it sends at any other speed
    PickyController(unsigned speed, std::string words, std::string noise)
        : m_path(openPseudoTerminal(m_line))
        , m_program(::open(m_path.c_str(), O_RDWR | O_NOCTTY)) // so that hang-ups do not end reads
        , m_speed(speed)
        , m_words(std::move(words))
        , m_noise(std::move(noise))
        , m_thread([this] { serve(); })
    {
    }
    ~PickyController()
    {
        m_ended = true;
        m_thread.join();
    }

    const std::string& path() const { return m_path; }

private:
    void serve()
    {
        std::string received;
        pollfd input = {m_line.get(), POLLIN, 0};
        while (!m_ended) {
            char bytes[256];
            if (poll(&input, 1, 20) <= 0)
                continue;
            const ssize_t count = ::read(m_line.get(), bytes, sizeof bytes);
            received.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(0, count)));
            const std::size_t end = received.find('\n');
            if (end == std::string::npos)
                continue;
            const std::string reply = understands() ? replyTo(received) : m_noise;
            received.clear();
            require(::write(m_line.get(), reply.data(), reply.size()) == ssize_t(reply.size()),
                    "write");
        }
    }

    bool understands() const
    {
        termios2 settings = {};
        require(::ioctl(m_line.get(), TCGETS2, &settings) == 0, "TCGETS2");
        return settings.c_ospeed == m_speed && (settings.c_cflag & CSTOPB) == 0;
    }

    std::string replyTo(const std::string& command) const
    {
        return command == "CR\r\n" ? "CC\r\n" : command == "CQ\r\n" ? "CF\r\n" : m_words;
    }

    Descriptor m_line;
    std::string m_path;
    Descriptor m_program;
    unsigned m_speed;
    std::string m_words;
    std::string m_noise;
    std::atomic<bool> m_ended{false};
    std::thread m_thread;
};

TEST(Scan, FindsTheLineOfAController)
{
    const struct {
        const char* name;
        unsigned speed;
        const char* words;
        const char* noise;
        const char* options;
        int status;
        const char* out;   ///< how it begins
        const char* error; ///< part of it
    } rows[] = {
        {"TheDefaultLine", 9600, "00007\r\n", "", "", 0, "--line RS232,9600,EVEN,8,1 --timeout ",
         "the controller answered; 6 of 6 reads"},
        {"NoiseBeforeIt", 19200, "00007\r\n", "\xFE\x80\r\x80", "-v -f csv", 0,
         "line,timeoutMs,outcome,reads,answers,longestMs\n\"RS232,19200,EVEN,8,1\",",
         "RS232,9600,EVEN,8,1: invalid reply"},
        {"Refusal", 19200, "E0\r\n", "", "-v", 0, "--line RS232,19200,EVEN,8,1 --timeout ",
         "RS232,9600,EVEN,8,1: no reply"},
        {"AtNoUsualSpeed", 110, "00007\r\n", "", "-o 1", 4, "", "nothing answered"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const PickyController controller(row.speed, row.words, row.noise);
        const Result run = plcctl("scan DM7 -p " + controller.path() + " " + row.options);
        EXPECT_EQ(run.status, row.status) << run.err;
        EXPECT_EQ(run.out.substr(0, std::string(row.out).size()), row.out) << run.err;
        EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err;
    }
}

TEST(Scan, RefusesWhatHasNoLine)
{
    const struct {
        const char* arguments;
        int status;
        const char* error;
    } rows[] = {
        {"DM7 -p tcp:192.0.2.1", 2, "network address"},
        {"DM7 -p sim", 2, "no line to find"},
        {"XY7 -p /nowhere/tty", 2, "no area 'XY'"},
        {"DM7 -p /nowhere/tty", 3, "can't open /nowhere/tty"},
    };
    for (const auto& row : rows) {
        const Result run = plcctl(std::string("scan ") + row.arguments);
        EXPECT_EQ(run.status, row.status) << row.arguments;
        EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err;
    }
}

TEST(Ports, AreListedWithTheProgramThatUsesThem)
{
    const Result run = plcctl("ports -f json");
    EXPECT_EQ(run.status, 0);
    const auto ports = nlohmann::json::parse(run.out);
    EXPECT_EQ(ports.empty(), run.err.find("there is no serial port") != std::string::npos);
    for (const auto& port : ports)
        EXPECT_EQ(port.at("device").get<std::string>().find("/dev/"), 0U);

    Descriptor farEnd;
    const std::string device = openPseudoTerminal(farEnd);
    EXPECT_EQ(bench::programUsing(device), "");
    const Descriptor nearEnd(::open(device.c_str(), O_RDWR | O_NOCTTY));
    EXPECT_EQ(bench::programUsing(device), "plcctl_test (" + std::to_string(getpid()) + ")");
}

TEST(Explain, ShowsAShortTableAndTheWholeInJson)
{
    const Result table = plcctl("explain write MR0 1 0 1 1 1");
    EXPECT_EQ(table.out.find("request  command                bytes out  bytes in  ms on the line\n"
                             "1        CR\\r\\n                 4          4         9.2\n"
                             "1        ST MR00000\\r\\n         12         4         18.3\n"
                             "1        CQ\\r\\n                 4          4         9.2\n"
                             "         … 4 more like these 3\n"
                             "\n"
                             "1 request, 5 sessions, 15 commands: 100 bytes out, 60 bytes in\n"),
              0U)
        << table.out;
    const auto json = nlohmann::json::parse(plcctl("explain write MR0 1 0 1 1 1 -f json").out);
    EXPECT_EQ(json.at("requests").at(0).size(), 15U);
    EXPECT_EQ(json.at("totals").at("leastTimeoutMs"), 19);
    EXPECT_EQ(plcctl("explain read DM99999").status, 1);
    EXPECT_EQ(plcctl("explain write DM7").status, 2);
    EXPECT_NE(plcctl("explain read D5 --driver " MINIMAL_DRIVER).err.find("needs a simulated"),
              std::string::npos);
}

} // namespace
