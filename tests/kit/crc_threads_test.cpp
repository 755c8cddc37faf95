// A program of its own, so that the calls below really are the first ones in their process.
#include "drivers/crc.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{

const int ThreadCount = 16;

/// The CRCs of "123456789" by every function, one after the other.
std::vector<unsigned long> allCrcs()
{
    unsigned short ccitt = 0;
    unsigned short arc = 0;
    unsigned short kermit = 0;
    unsigned short dnp = 0;
    unsigned long crc32 = 0xFFFFFFFFul;
    unsigned short sick = 0;
    char previous = 0;
    for (char c = '1'; c <= '9'; previous = c++) {
        ccitt = update_crc_ccitt(ccitt, c);
        arc = update_crc_16(arc, c);
        kermit = update_crc_kermit(kermit, c);
        dnp = update_crc_dnp(dnp, c);
        crc32 = update_crc_32(crc32, c);
        sick = update_crc_sick(sick, c, previous);
    }
    return {ccitt, arc, kermit, dnp, crc32, sick};
}

} // namespace

TEST(CrcThreads, FirstCallsFromManyThreadsAtOnce)
{
    std::atomic<int> waiting(0);
    std::vector<std::vector<unsigned long>> results(ThreadCount);
    std::vector<std::thread> threads;
    for (auto& result : results) {
        threads.emplace_back([&] {
            // All start together: a thread that is ready goes round until the last one is.
            ++waiting;
            while (waiting < ThreadCount)
                std::this_thread::yield();
            result = allCrcs();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    const std::vector<unsigned long> wanted = {
        0x31C3, 0xBB3D, 0x2189, 0xEA82 ^ 0xFFFF, 0xCBF43926 ^ 0xFFFFFFFF, 0xA656};
    for (const auto& result : results)
        EXPECT_EQ(result, wanted);
}
