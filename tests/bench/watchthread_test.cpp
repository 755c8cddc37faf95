// A watch in a thread of its own, told from here what to do. The far end is a controller in memory.
#include "bench/points.h"
#include "bench/watchthread.h"

#include "drivers/abstractdeviceinterface.h"
#include "drivers/portoptions.h"
#include "simulator/kv1000/controller.h"

#include <QVariant>
#include <gtest/gtest.h>

#include <algorithm>

using namespace bench;
using namespace std::chrono_literals;

namespace
{

constexpr auto Patience = 20s; ///< after which a test fails; none takes as long

/// The port to a controller, used by the thread that watches. The rest is for the test.
class MemoryPort : public AbstractDeviceInterface
{
public:
    int read(char* buffer, int maxLength) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isWaiting = true;
        m_change.notify_all();
        m_change.wait(lock, [this] { return !m_hangs; });
        m_isWaiting = false;
        if (m_isSilent)
            return 0;
        const std::size_t count = std::min(m_unread.size(), std::size_t(maxLength));
        std::copy_n(m_unread.begin(), count, buffer);
        m_unread.erase(0, count);
        return int(count);
    }

    int write(const char* data, int length) override
    {
        m_received.append(data, std::size_t(length));
        while (const auto request = m_session->takeRequest(m_received))
            m_unread += m_session->answer(*request);
        return length;
    }

    void setOption(int option, const QVariant&) override
    {
        if (option == DiscardUnreadInput)
            m_unread.clear();
    }
    int retry() override { return 0; }
    int delay() override { return 0; }

    void setSilent(bool isSilent)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isSilent = isSilent;
    }

    /// Returns when a request hangs.
    bool hang()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_isWaiting = false;
        m_hangs = true;
        return m_change.wait_for(lock, Patience, [this] { return m_isWaiting; });
    }

    void goOn()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_hangs = false;
        m_change.notify_all();
    }

private:
    simulator::kv1000::Controller m_controller;
    std::unique_ptr<simulator::Session> m_session = m_controller.newSession();
    std::string m_received; ///< by the controller
    std::string m_unread;   ///< by the driver

    std::mutex m_mutex; ///< of all that follows
    std::condition_variable m_change;
    bool m_isSilent = false;
    bool m_hangs = false;
    bool m_isWaiting = false;
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
        const auto end = std::chrono::steady_clock::now() + Patience;
        for (bool is = false; std::chrono::steady_clock::now() < end;) {
            thread->look([&](const LiveState& state) { is = wanted(state); });
            if (is)
                return true;
            std::this_thread::sleep_for(1ms);
        }
        return false;
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
        const auto end = std::chrono::steady_clock::now() + Patience;
        while (!found && std::chrono::steady_clock::now() < end) {
            found = thread->takeOutcome();
            std::this_thread::sleep_for(1ms);
        }
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
