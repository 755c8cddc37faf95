// A program of its own, so that the calls below really are the first ones in their process.
#include "drivers/crc.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{

const size_t ThreadCount = 16;

/// One entry of each table.
std::vector<unsigned long> entries()
{
    return {update_crc_ccitt(0, '\xFF'), update_crc_16(0, '\xFF'), update_crc_kermit(0, '\x80'),
            update_crc_dnp(0, '\xFF'), update_crc_32(0, '\xFF')};
}

} // namespace

TEST(CrcThreads, FirstCallsFromManyThreadsAtOnce)
{
    std::atomic<size_t> waiting(0);
    std::vector<std::vector<unsigned long>> results(ThreadCount);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&] {
            // All start together: a thread that is ready goes round until the last one is.
            for (++waiting; waiting < ThreadCount;)
                std::this_thread::yield();
            result = entries();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& result : results)
        EXPECT_EQ(result, (std::vector<unsigned long>{0x1EF0, 0x4040, 0x8408, 0x1235, 0x2D02EF8D}));
}
