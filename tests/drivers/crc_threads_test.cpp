// A program of its own, so that the calls below really are the first ones in their process.
#include "drivers/crc.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

TEST(CrcThreads, FirstBlocksFromManyThreadsAtOnce)
{
    const size_t threadCount = 16;
    std::atomic<size_t> waiting(0);
    std::vector<std::vector<unsigned long>> results(threadCount);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&] {
            // All start together: a thread that is ready waits in this loop for the last one.
            for (++waiting; waiting < threadCount;)
                std::this_thread::yield();
            const char* const text = "123456789";
            result = {update_crc_ccitt_block(0, text, 9), update_crc_16_block(0, text, 9),
                      update_crc_kermit_block(0, text, 9), update_crc_dnp_block(0, text, 9),
                      update_crc_32_block(0xFFFFFFFF, text, 9)};
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& result : results)
        EXPECT_EQ(result, (std::vector<unsigned long>{0x31C3, 0xBB3D, 0x2189, 0xEA82 ^ 0xFFFF,
                                                      0xCBF43926 ^ 0xFFFFFFFF}));
}
