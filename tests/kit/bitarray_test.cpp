#include "bytes.h"
#include "drivers/tools.h"

#include <climits>
#include <gtest/gtest.h>
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
            bits.push_back(static_cast<unsigned char>(c) & (1 << position));
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

QByteArray randomBytes(std::mt19937& random, int size)
{
    QByteArray array(size, '\0');
    for (char& c : array)
        c = static_cast<char>(random());
    return array;
}

int randomNumber(std::mt19937& random, int low, int high)
{
    return std::uniform_int_distribution<int>(low, high)(random);
}

template <typename Integer>
void checkIntegerBits()
{
    const unsigned width = sizeof(Integer) * 8;
    for (const Integer value : {Integer(0), Integer(~Integer(0)), Integer(0xA5A5A5A5u)}) {
        for (unsigned short bit = 0; bit < width; ++bit) {
            const quint64 mask = quint64(1) << bit;
            EXPECT_EQ(setBit(value, bit), Integer(value | mask)) << bit;
            EXPECT_EQ(clearBit(value, bit), Integer(value & ~mask)) << bit;
            EXPECT_EQ(getBit(value, bit), (value & mask) != 0) << bit;
        }
        for (const unsigned bit : {width, width + 1, 0x8000u, 0xFFFFu}) {
            EXPECT_EQ(setBit(value, static_cast<unsigned short>(bit)), value) << bit;
            EXPECT_EQ(clearBit(value, static_cast<unsigned short>(bit)), value) << bit;
            EXPECT_FALSE(getBit(value, static_cast<unsigned short>(bit))) << bit;
        }
    }
}

} // namespace

TEST(IntegerBits, EveryWidthAndNumber)
{
    checkIntegerBits<unsigned char>();
    checkIntegerBits<unsigned short>();
    checkIntegerBits<unsigned int>();
}

TEST(BitArray, SetsBitsAndGrowsByZeros)
{
    const struct {
        const char *meaning, *before;
        int n;
        bool on;
        const char* after;
    } rows[] = {
        {"bit 9 is bit 1 of byte 1", "0000", 9, true, "0002"},
        {"others of the byte stay", "FFFF", 9, false, "FFFD"},
        {"one byte beyond the end", "AA", 8, true, "AA01"},
        {"clearing grows too", "AA", 8, false, "AA00"},
        {"several bytes beyond the end", "", 31, true, "00000080"},
        {"negative", "AA", -1, true, "AA"},
        {"most negative", "AA", INT_MIN, false, "AA"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        QByteArray array = bytes(row.before);
        const QByteArray shared = array;
        setBit(array, row.n, row.on);
        EXPECT_EQ(array, bytes(row.after));
        EXPECT_EQ(shared, bytes(row.before));
        if (array.size() == shared.size()) {
            QByteArray buffer = bytes(row.before);
            setBit(reinterpret_cast<unsigned char*>(buffer.data()), row.n, row.on);
            EXPECT_EQ(buffer, bytes(row.after));
        }
    }
}

TEST(BitArray, ReadsBits)
{
    const QByteArray array = bytes("05 80");
    const Bits bits = bitsOf(array);
    for (int n = 0; n < 16; ++n) {
        EXPECT_EQ(getBit(array, n), bits[size_t(n)]) << n;
        EXPECT_EQ(getBit(unsignedBytes(array), n), bits[size_t(n)]) << n;
    }
    for (const int outside : {-1, -16, INT_MIN, 16, INT_MAX})
        EXPECT_FALSE(getBit(array, outside)) << outside;
    EXPECT_FALSE(getBit(unsignedBytes(array), -1));
    EXPECT_FALSE(getBit(QByteArray(), -1));
}

TEST(BitArray, CountsUnits)
{
    const struct {
        unsigned offset, count, asBytes, asWords, asDoubleWords;
    } rows[] = {
        {0, 0, 0, 0, 0},         {0, 1, 1, 1, 1},
        {3, 13, 2, 1, 1},        {3, 14, 3, 2, 1},
        {31, 2, 5, 3, 2},        {0, UINT_MAX, 0x20000000, 0x10000000, 0x08000000},
        {UINT_MAX, 1, 0, 0, 0}, // the sum wraps
        {UINT_MAX, 18, 3, 2, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.count << " bits behind " << row.offset);
        EXPECT_EQ(NumOfBitsToNumOfBytes(row.offset, row.count), row.asBytes);
        EXPECT_EQ(NumOfBitsToNumOfWords(row.offset, row.count), row.asWords);
        EXPECT_EQ(NumOfBitsToNumOfDWords(row.offset, row.count), row.asDoubleWords);
    }
    EXPECT_EQ(NumOfBytesToNumOfWords(3), 2u);
    EXPECT_EQ(NumOfBytesToNumOfDWords(5), 2u);
    EXPECT_EQ(NumOfBytesToNumOfQuadWords(9), 2u);
    EXPECT_EQ(NumOfBytesToNumOfWords(UINT_MAX), 0x80000000u);
    EXPECT_EQ(NumOfBytesToNumOfDWords(UINT_MAX), 0x40000000u);
    EXPECT_EQ(NumOfBytesToNumOfQuadWords(0), 0u);
}

TEST(BitArray, FitsAndClears)
{
    const struct {
        const char* before;
        int nbits;
        const char *fitted, *cleared;
    } rows[] = {
        {"FFFF", 12, "FFFF", "FF0F"},   {"FFFF", 16, "FFFF", "FFFF"},
        {"FFFF", 17, "FFFF00", "FFFF"}, {"FFFF", 8, "FF", "FFFF"},
        {"FFFF", 1, "FF", "01FF"},      {"FFFF", 0, "", "FFFF"},
        {"FFFF", -1, "FFFF", "FFFF"},   {"FF", 30, "FF000000", "FF"},
        {"FF", INT_MIN, "FF", "FF"},    {"", 3, "00", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.before << " to " << row.nbits << " bits");
        QByteArray array = bytes(row.before);
        FitBitArray(array, row.nbits);
        EXPECT_EQ(array, bytes(row.fitted));
        array = bytes(row.before);
        clearUnnecessaryBits(array, row.nbits);
        EXPECT_EQ(array, bytes(row.cleared));
    }
}

TEST(BitArray, ExpandsToBytes)
{
    EXPECT_EQ(ExpandBitsToBytes(bytes("05"), 0, 4), bytes("01 00 01 00"));
    EXPECT_EQ(ExpandBitsToBytes(bytes("80 01"), 7, 2), bytes("01 01"));
    const struct {
        const char* meaning;
        int start, count;
    } emptyRows[] = {
        {"none", 0, 0},
        {"negative", 0, -1},
        {"beyond the end", 0, 17},
        {"start outside", 16, 1},
        {"sum beyond int", 1, INT_MAX},
    };
    for (const auto& row : emptyRows) {
        const auto start = static_cast<unsigned short>(row.start);
        EXPECT_EQ(ExpandBitsToBytes(bytes("FF FF"), start, row.count), QByteArray()) << row.meaning;
    }
    std::mt19937 random(21);
    const QByteArray array = randomBytes(random, 8200);
    const Bits bits = bitsOf(array);
    const QByteArray expanded = ExpandBitsToBytes(array, 65535, 60);
    for (int i = 0; i < 60; ++i)
        EXPECT_EQ(expanded.at(i), bits[size_t(65535 + i)] ? 1 : 0) << i;
}

TEST(BitArray, CopiesBits)
{
    QByteArray dst = bytes("00 00");
    QByteArray src = bytes("07");
    CopyBits(dst, src, 6, 3);
    EXPECT_EQ(dst, bytes("C0 01"));

    const struct {
        const char* meaning;
        int start, count;
    } ignoredRows[] = {
        {"none", 0, 0},
        {"negative count", 0, -1},
        {"negative start", -1, 1},
        {"more than the source has", 0, 9},
        {"end beyond int", INT_MAX, 2},
        {"most negative", INT_MIN, INT_MAX},
    };
    for (const auto& row : ignoredRows) {
        CopyBits(dst, src, row.start, row.count);
        EXPECT_EQ(dst, bytes("C0 01")) << row.meaning;
    }
}

TEST(BitArray, RandomCopiesAgreeWithTheOracle)
{
    std::mt19937 random(22);
    for (int round = 0; round < 4000; ++round) {
        QByteArray src = randomBytes(random, randomNumber(random, 1, 40));
        QByteArray dst = randomBytes(random, randomNumber(random, 0, 40));
        const int count = randomNumber(random, 0, src.size() * 8);
        const int start = randomNumber(random, 0, round % 2 ? 20 : 350);
        const bool ontoItself = round % 3 == 0;
        SCOPED_TRACE(testing::Message() << count << " bits to " << start << " of "
                                        << (ontoItself ? "itself" : "another"));
        Bits to = bitsOf(ontoItself ? src : dst);
        if (count > 0)
            to.resize(std::max(to.size(), size_t(start + count)));
        const Bits from = bitsOf(src);
        for (size_t i = 0; i < size_t(count); ++i)
            to[size_t(start) + i] = ontoItself ? to[i] : from[i];
        const QByteArray srcBefore = src;

        CopyBits(ontoItself ? src : dst, src, start, count);

        ASSERT_EQ(ontoItself ? src : dst, packed(to));
        ASSERT_TRUE(ontoItself || src == srcBefore);
    }
}

TEST(BitArray, ShiftsRight)
{
    const struct {
        const char* before;
        int n;
        const char* after;
    } rows[] = {
        {"2143", 4, "3204"},      {"112233", 8, "223311"},
        {"112233", 12, "320311"}, {"112233", 0, "112233"},
        {"112233", 23, "001122"}, {"112233", 24, "112233"},
        {"112233", -4, "112233"}, {"", 4, ""},
        {"F0", INT_MAX, "F0"},    {"F0", INT_MIN, "F0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.before << " by " << row.n);
        QByteArray array = bytes(row.before);
        const QByteArray shared = array;
        RightShiftNBits(array, row.n);
        EXPECT_EQ(array, bytes(row.after));
        EXPECT_EQ(shared, bytes(row.before));
    }
}

TEST(BitArray, RandomShiftsAgreeWithTheOracle)
{
    std::mt19937 random(23);
    for (int round = 0; round < 2000; ++round) {
        QByteArray array = randomBytes(random, randomNumber(random, 1, 60));
        const int n = randomNumber(random, 0, array.size() * 8 - 1);
        SCOPED_TRACE(testing::Message() << array.toHex().constData() << " by " << n);
        // All bits below the moved bytes come down by n; the moved bytes stand above them.
        const Bits bits = bitsOf(array);
        const Bits moved(bits.begin(), bits.begin() + n / 8 * 8);
        Bits wanted(bits.begin() + n, bits.end());
        wanted.resize(bits.size() - moved.size());
        wanted.insert(wanted.end(), moved.begin(), moved.end());

        RightShiftNBits(array, n);

        ASSERT_EQ(array, packed(wanted));
    }
}

TEST(BitArray, ReversesBytes)
{
    EXPECT_EQ(reverseArray(bytes("01 02 03")), bytes("03 02 01"));
    EXPECT_EQ(reverseArray(QByteArray()), QByteArray());
}
