#include "drivers/tools.h"
#include "support/bytes.h"

#include <climits>
#include <gtest/gtest.h>

TEST(BitArray, BitsOfIntegers)
{
    const auto byte = static_cast<unsigned char>(0xA5);
    EXPECT_EQ(setBit(byte, 1), 0xA7);
    EXPECT_EQ(clearBit(byte, 7), 0x25);
    EXPECT_TRUE(getBit(byte, 5));
    EXPECT_EQ(setBit(byte, 8), 0xA5) << "there is no such bit";
    EXPECT_FALSE(getBit(0xFFFFFFFFu, 32));
}

TEST(BitArray, CountsUnits)
{
    EXPECT_EQ(NumOfBitsToNumOfBytes(3, 14), 3u);
    EXPECT_EQ(NumOfBitsToNumOfWords(31, 2), 3u);
    EXPECT_EQ(NumOfBitsToNumOfDWords(31, 2), 2u);
    EXPECT_EQ(NumOfBytesToNumOfWords(3), 2u);
    EXPECT_EQ(NumOfBytesToNumOfDWords(5), 2u);
    EXPECT_EQ(NumOfBytesToNumOfQuadWords(9), 2u);
}

TEST(BitArray, WholeArrays)
{
    EXPECT_EQ(ExpandBitsToBytes(bytes("80 01"), 6, 4), bytes("00 01 01 00"));
    EXPECT_EQ(ExpandBitsToBytes(bytes("FF FF"), 1, INT_MAX), QByteArray());
    QByteArray array = bytes("11 22 33");
    CopyBits(array, array, INT_MAX, 2);
    EXPECT_EQ(array, bytes("11 22 33"));
    EXPECT_EQ(reverseArray(array), bytes("33 22 11"));
    const QByteArray window = QByteArray::fromRawData("\xFF\xFF", 1);
    EXPECT_FALSE(getBit(window, 8));
}

TEST(BitArray, Shifts)
{
    const struct {
        int n;
        const char *before, *after;
    } rows[] = {
        {4, "2143", "3204"},
        {12, "112233", "320311"},
        {17, "1122", "1122"},
    };
    for (const auto& row : rows) {
        QByteArray array = bytes(row.before);
        const QByteArray shared = array;
        RightShiftNBits(array, row.n);
        EXPECT_EQ(array, bytes(row.after)) << row.before << " by " << row.n;
        EXPECT_EQ(shared, bytes(row.before));
    }
}
