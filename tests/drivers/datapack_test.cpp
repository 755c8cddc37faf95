#include "drivers/tools.h"
#include "support/bytes.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace
{

/// What a byte holds that nobody has written.
const char Untouched = '\xEE';

unsigned char* writable(QByteArray& array)
{
    return reinterpret_cast<unsigned char*>(array.data());
}

} // namespace

TEST(DataPack, PacksRecords)
{
    const unsigned short words[] = {0x0102, 0x0304};
    const unsigned int doubleWord = 0x8A0B0C0D;
    QByteArray buffer(4, Untouched);
    EXPECT_EQ(DataPack(writable(buffer), "CxXC", 1, 2), 4);
    EXPECT_EQ(buffer, bytes("01 00 EE 02"));
    EXPECT_EQ(ByteArrayPack("CxXC", 1, 2), bytes("01 00 00 02"));
    // Runs are copied as they lie in memory, or turned round; written for a little-endian machine.
    EXPECT_EQ(ByteArrayPack("nN2v2n1N3c", 0x1234, 0x01020304, words, words, &doubleWord, "abc"),
              bytes("12 34 01 02 03 04 02 01 04 03 01 02 03 04 8A 0B 0C 0D 61 62 63"));

    unsigned int unpacked = 0;
    EXPECT_EQ(DataUnpack(unsignedBytes(bytes("AA BB CC 81 02 03 FF")), "2xXN", &unpacked), 7);
    EXPECT_EQ(unpacked, 0x810203FFu);

    QByteArray array = bytes("01");
    appendBigEndianUShort(array, 0xABCD);
    EXPECT_EQ(array, bytes("01 AB CD"));
}

TEST(DataPack, BadFormatsKeepWhatCameBeforeThem)
{
    const int ArrayRefused = 0;
    const struct {
        const char *meaning, *format;
        int packed, unpacked, arraySize;
    } rows[] = {
        {"blank", "v v", 0, -1, ArrayRefused},
        {"unknown letter", "vy", 0, -1, ArrayRefused},
        {"byte above 7F", "v\xE4", 0, -1, ArrayRefused},
        {"count of a letter without runs", "v2S", -1, -1, ArrayRefused},
        {"count 0 of bytes", "v0C", -1, -1, ArrayRefused},
        {"count 0 of gaps", "v0X", 2, 2, ArrayRefused},
        {"count beyond int", "v4294967297C", -1, -1, ArrayRefused},
        {"record beyond int", "v2147483646X", -1, -1, ArrayRefused},
        {"a letter behind it all", "vx", 3, 3, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        QByteArray buffer(8, Untouched);
        unsigned short first = 0;
        unsigned short second[4] = {};
        EXPECT_EQ(DataPack(writable(buffer), row.format, 0x1234, second), row.packed);
        EXPECT_EQ(buffer.left(2), bytes("34 12"));
        EXPECT_EQ(DataUnpack(writable(buffer), row.format, &first, second), row.unpacked);
        EXPECT_EQ(first, 0x1234);
        EXPECT_EQ(ByteArrayPack(row.format, 0x1234, second).size(), row.arraySize);
    }
}

namespace
{

/// A value or, behind a count, a run of them.
struct Item {
    char letter;
    int count;
    std::array<char, 32> memory; ///< holds the run, or the value in its first bytes

    bool is(const char* letters) const { return std::strchr(letters, letter) != nullptr; }
    int width() const { return is("Cc") ? 1 : is("Ssvn") ? 2 : 4; }
    QByteArray run() const { return QByteArray(memory.data(), count * width()); }
    int value() const { return QByteArrayToInt(QByteArray(memory.data(), 4)); }
};

using Items = std::array<Item, 3>;

/// The record that items make, worked out from them rather than from their format.
QByteArray recordOf(const Items& items)
{
    QByteArray record;
    for (const Item& item : items) {
        QByteArray run = item.run();
        for (int i = 0; item.is("nN") && i < run.size(); i += item.width())
            std::reverse(run.begin() + i, run.begin() + i + item.width());
        record += run;
    }
    return record;
}

template <typename... Arguments>
void checkPacking(const QByteArray& record, const char* format, Arguments... arguments)
{
    QByteArray buffer(record.size() + 1, Untouched);
    EXPECT_EQ(DataPack(writable(buffer), format, arguments...), record.size());
    EXPECT_EQ(buffer, record + Untouched);
    EXPECT_EQ(ByteArrayPack(format, arguments...), record);
}

/// Each target must come to hold what its item was made of, and nothing else.
void checkUnpacking(const QByteArray& record, const char* format, const Items& items)
{
    QByteArray a(32, Untouched), b(32, Untouched), c(32, Untouched);
    EXPECT_EQ(DataUnpack(unsignedBytes(record), format, a.data(), b.data(), c.data()),
              record.size());
    EXPECT_EQ(a, items[0].run().leftJustified(32, Untouched));
    EXPECT_EQ(b, items[1].run().leftJustified(32, Untouched));
    EXPECT_EQ(c, items[2].run().leftJustified(32, Untouched));
}

} // namespace

TEST(DataPack, RandomFormatsAgreeWithTheOracle)
{
    std::mt19937 random(20);
    for (int round = 0; round < 10000 && !HasFailure(); ++round) {
        const bool counted = round % 2;
        const std::string letters = counted ? "CcvnVN" : "CcSsvnIiLlVN";
        Items items;
        std::string format;
        for (Item& item : items) {
            item.letter = letters[random() % letters.size()];
            item.count = counted ? static_cast<int>(1 + random() % 7) : 1;
            for (char& byte : item.memory)
                byte = static_cast<char>(random());
            format += (counted ? std::to_string(item.count) : "") + item.letter;
        }
        SCOPED_TRACE(format);
        const QByteArray record = recordOf(items);
        const char* const text = format.c_str();
        const auto& [a, b, c] = items;
        if (counted)
            checkPacking(record, text, a.memory.data(), b.memory.data(), c.memory.data());
        else
            checkPacking(record, text, a.value(), b.value(), c.value());
        checkUnpacking(record, text, items);
    }
}
