#include "drivers/tools.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

TEST(FrameCheck, Checksums)
{
    const QByteArray block = bytes("FF 0F 42");
    EXPECT_EQ(UInt8CheckSum(unsignedBytes(block), 2), 0x0E);
    EXPECT_EQ(UShortCheckSum(unsignedBytes(block), 2), 0x010E);
    EXPECT_EQ(XorUInt8CheckSum(unsignedBytes(block), 2), 0xF0);
    EXPECT_EQ(UShortCheckSum(unsignedBytes(block), -1), 0);
    const QByteArray large(300, '\xFF'); // 76500 = 65536 + 10964
    EXPECT_EQ(UShortCheckSum(unsignedBytes(large), large.size()), 10964);
}
