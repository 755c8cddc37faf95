// A watch in a thread of its own, told from here what to do. The far end is a controller in memory.
#include "bench/points.h"
#include "bench/watchthread.h"

#include "simulator/kv1000/controller.h"
#include "support/answeringport.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace bench;
using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::milliseconds Patience =
    20s; ///< after which a test fails; none takes as long

/// Looks until something is so. Returns whether it has come to that.
bool comesToBe(const std::function<bool()>& isSo)
{
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

/// The port to a controller, used by the thread that watches. The rest is for the test.
class MemoryPort : public AnsweringPort
{
public:
    MemoryPort()
        : AnsweringPort([this](const std::string& command) { return answer(command); })
    {
    }

    void setSilent(bool isSilent) { m_isSilent = isSilent; }

    /// Returns when a request hangs.
    bool hang()
    {
        m_hangs = true;
        return comesToBe([this] { return m_isHanging.load(); });
    }

    void goOn() { m_hangs = false; }

private:
    std::string answer(std::string command)
    {
        for (; m_hangs; std::this_thread::sleep_for(1ms))
            m_isHanging = true;
        return m_isSilent ? "" : m_session->answer(*m_session->takeRequest(command));
    }

    simulator::kv1000::Controller m_controller;
    std::unique_ptr<simulator::Session> m_session = m_controller.newSession();
    std::atomic<bool> m_isSilent{false}, m_hangs{false}, m_isHanging{false};
};

class WatchThreadTest : public testing::Test
{
protected:
    ~WatchThreadTest() override { port.goOn(); } // else a test that failed would never end

    void start(Watcher::Duration interval)
    {
        std::vector<Point> points;
        for (const char* device : {"DM7", "DM9"})
            points.push_back(pointOf(driver.devices().parse(device)));
        thread = std::make_unique<WatchThread>(session, points, interval);
    }

    /// Looks until the state is as wanted.
    bool comesTo(const std::function<bool(const LiveState&)>& wanted) const
    {
        return comesToBe([&] {
            bool isSo = false;
            thread->look([&](const LiveState& state) { isSo = wanted(state); });
            return isSo;
        });
    }

    bool shows(std::size_t index, std::int64_t number) const
    {
        return comesTo([&](const LiveState& state) {
            const Watched& watched = state.points[index].watched;
            return !watched.failure && watched.value == Value(number);
        });
    }

    std::uint64_t requests() const
    {
        std::uint64_t count = 0;
        thread->look([&](const LiveState& state) { count = state.summary.requests; });
        return count;
    }

    /// Of the write that ends next.
    std::optional<WriteOutcome> outcome() const
    {
        std::optional<WriteOutcome> found;
        comesToBe([&] { return (found = thread->takeOutcome()).has_value(); });
        return found;
    }

    Driver driver{KV1000_DRIVER};
    MemoryPort port;
    Session session{driver, port};
    std::unique_ptr<WatchThread> thread;
};

TEST_F(WatchThreadTest, WritesBetweenRoundsAndTellsWhatCameOfIt)
{
    start(0us);
    ASSERT_TRUE(shows(1, 0));
    thread->write(1, Value(std::int64_t(5)));
    const auto written = outcome();
    ASSERT_TRUE(written);
    EXPECT_EQ(written->index, 1U);
    EXPECT_FALSE(written->failure);
    EXPECT_TRUE(shows(1, 5));
    EXPECT_TRUE(shows(0, 0));

    port.setSilent(true);
    thread->write(0, Value(std::int64_t(6)));
    const auto lost = outcome();
    ASSERT_TRUE(lost && lost->failure);
    EXPECT_EQ(lost->failure->kind(), FailureKind::NoReply);
    EXPECT_TRUE(comesTo([](const LiveState& state) {
        const Watched& watched = state.points[1].watched;
        return watched.failure && watched.value == Value(std::int64_t(5));
    }));
}

TEST_F(WatchThreadTest, ReadsInAPauseOnlyAfterAWrite)
{
    start(0us);
    ASSERT_TRUE(shows(0, 0));
    thread->setPaused(true);
    thread->write(0, Value(std::int64_t(1)));
    ASSERT_TRUE(shows(0, 1));
    const std::uint64_t before = requests();
    thread->write(0, Value(std::int64_t(2)));
    ASSERT_TRUE(shows(0, 2));
    EXPECT_EQ(requests(), before + 3) << "the write, and a read of each of two runs";
    thread->setPaused(false);
    EXPECT_TRUE(
        comesTo([&](const LiveState& state) { return state.summary.requests > before + 10; }));
}

TEST_F(WatchThreadTest, GoesFasterAtOnce)
{
    start(1h);
    ASSERT_TRUE(shows(0, 0));
    thread->setInterval(1ms);
    EXPECT_TRUE(comesTo([](const LiveState& state) {
        return state.summary.rounds > 3 && state.interval == Watcher::Duration(1ms);
    }));
}

TEST_F(WatchThreadTest, EndsWhenTheRequestThatHangsHasEnded)
{
    start(0us);
    ASSERT_TRUE(port.hang());
    const std::uint64_t before = requests();
    EXPECT_FALSE(thread->stop(0us));
    port.setSilent(true);
    port.goOn();
    EXPECT_TRUE(thread->stop(Patience));
    EXPECT_EQ(requests(), before) << "what was cut short says nothing about the line";
}

} // namespace
