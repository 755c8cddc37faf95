#include "drivers/tools.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

TEST(RotateArray, ExchangesTwoBlocks)
{
    // Few bytes are set aside while the others move, so both sides of that size count.
    for (const int m : {-1, 0, 1, 256, 257, 400}) {
        for (const int k : {-1, 0, 1, 256, 257, 400}) {
            SCOPED_TRACE(testing::Message() << m << " and " << k);
            std::string characters;
            for (int i = 0; i < m + k; ++i)
                characters += static_cast<char>(i % 251);
            std::vector<int> numbers(characters.begin(), characters.end());
            std::string wanted = characters;
            if (m > 0 && k > 0)
                wanted = characters.substr(size_t(m)) + characters.substr(0, size_t(m));
            RotateArray(&characters[0], m, k);
            EXPECT_EQ(characters, wanted);
            RotateArray(numbers.data(), m, k);
            EXPECT_EQ(std::string(numbers.begin(), numbers.end()), wanted);
        }
    }
}
