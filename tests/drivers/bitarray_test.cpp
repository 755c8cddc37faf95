#include "drivers/tools.h"
#include "support/bytes.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <vector>

namespace
{

/// A packed array bit by bit: the oracle of this file.
using Bits = std::vector<bool>;

Bits bitsOf(const QByteArray& array)
{
    Bits bits;
    for (const char c : array)
        for (int position = 0; position < 8; ++position)
            bits.push_back(c & (1 << position));
    return bits;
}

QByteArray packed(const Bits& bits)
{
    QByteArray array(static_cast<int>(bits.size() + 7) / 8, '\0');
    for (size_t n = 0; n < bits.size(); ++n)
        if (bits[n])
            array.data()[n / 8] |= static_cast<char>(1 << (n % 8));
    return array;
}

std::mt19937 generator(22);

int randomNumber(int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(generator);
}

QByteArray randomBytes(int lowSize, int highSize)
{
    QByteArray array(randomNumber(lowSize, highSize), '\0');
    for (char& c : array)
        c = static_cast<char>(generator());
    return array;
}

/// The same bytes without the zero byte that arrays of their own have after the last one.
QByteArray rawView(const std::vector<char>& bytes)
{
    return QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()));
}

} // namespace

TEST(BitArray, BitsOfIntegers)
{
    const auto check = [](auto value) {
        using Integer = decltype(value);
        for (const unsigned short bit : {0, 7, 8, 15, 16, 31, 32, 0x8000, 0xFFFF}) {
            const bool outside = bit >= sizeof value * 8;
            const auto mask = outside ? Integer(0) : static_cast<Integer>(1u << bit);
            EXPECT_EQ(setBit(value, bit), static_cast<Integer>(value | mask)) << bit;
            EXPECT_EQ(clearBit(value, bit), static_cast<Integer>(value & ~mask)) << bit;
            EXPECT_EQ(getBit(value, bit), (value & mask) != 0) << bit;
        }
    };
    check(static_cast<unsigned char>(0xA5));
    check(static_cast<unsigned short>(0x5AA5));
    check(0x5AA5A5A5u);
}

TEST(BitArray, RandomBitsAgreeWithTheOracle)
{
    for (int round = 0; round < 2000; ++round) {
        const QByteArray random = randomBytes(0, 8);
        const std::vector<char> exact(random.begin(), random.end());
        const QByteArray before = rawView(exact);
        const int n = randomNumber(-20, 100);
        const bool on = round % 2;
        SCOPED_TRACE(testing::Message() << "bit " << n << " of " << before.toHex().constData());
        Bits bits = bitsOf(before);
        EXPECT_EQ(getBit(before, n), n >= 0 && size_t(n) < bits.size() && bits[size_t(n)]);
        if (n >= 0 && n < before.size() * 8) {
            QByteArray tail;
            std::copy(bits.begin() + n, bits.end(), std::back_inserter(tail));
            const auto start = static_cast<unsigned short>(n);
            ASSERT_EQ(ExpandBitsToBytes(before, start, tail.size()), tail);
        }

        QByteArray fitted = before;
        FitBitArray(fitted, n);
        Bits wanted = bits;
        if (n >= 0)
            wanted.resize(size_t(n + 7) / 8 * 8);
        ASSERT_EQ(fitted, packed(wanted));

        QByteArray cleared = before;
        clearUnnecessaryBits(cleared, n);
        wanted = bits;
        for (size_t i = n > 0 ? size_t(n) : 0; i % 8 != 0 && i < wanted.size(); ++i)
            wanted[i] = false;
        ASSERT_EQ(cleared, packed(wanted));

        if (n >= 0) {
            bits.resize(std::max(bits.size(), size_t(n + 1)));
            bits[size_t(n)] = on;
        }
        QByteArray array = before;
        setBit(array, n, on);
        ASSERT_EQ(array, packed(bits));
        ASSERT_EQ(before, packed(bitsOf(before))) << "a shared array changed";
    }
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
    EXPECT_EQ(ExpandBitsToBytes(bytes("FF FF"), 15, 2), QByteArray());
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
        {4, "2143", "3204"},  {12, "112233", "320311"}, {8, "112233", "223311"},
        {15, "1180", "0111"}, {17, "1122", "1122"},     {-9, "1122", "1122"},
    };
    for (const auto& row : rows) {
        QByteArray array = bytes(row.before);
        const QByteArray shared = array;
        RightShiftNBits(array, row.n);
        EXPECT_EQ(array, bytes(row.after)) << row.before << " by " << row.n;
        EXPECT_EQ(shared, bytes(row.before));
    }
}

TEST(BitArray, RandomCopiesAgreeWithTheOracle)
{
    for (int round = 0; round < 4000; ++round) {
        QByteArray src = randomBytes(1, 40);
        const std::vector<char> exact(src.begin(), src.end());
        QByteArray other = randomBytes(0, 40);
        const bool ontoItself = round % 3 == 0;
        QByteArray& dst = ontoItself ? src : other;
        if (!ontoItself)
            src = rawView(exact);
        const int count = randomNumber(-1, src.size() * 8 + 1);
        const int start = randomNumber(-1, round % 2 ? 20 : 350);
        SCOPED_TRACE(testing::Message() << count << " bits to " << start);
        const Bits from = bitsOf(src);
        Bits to = bitsOf(dst);
        const bool possible = start >= 0 && count > 0 && count <= src.size() * 8;
        if (possible)
            to.resize(std::max(to.size(), size_t(start + count)));
        for (size_t i = 0; possible && i < size_t(count); ++i)
            to[size_t(start) + i] = ontoItself ? to[i] : from[i];

        CopyBits(dst, src, start, count);

        ASSERT_EQ(dst, packed(to));
        ASSERT_TRUE(ontoItself || src == packed(from));
    }
}
