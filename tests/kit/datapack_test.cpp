#include "bytes.h"
#include "drivers/tools.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace
{

using Buffer = std::array<unsigned char, 128>;

/// What a byte holds that nobody has written.
const unsigned char Untouched = 0xEE;

Buffer untouchedBuffer()
{
    Buffer buffer;
    buffer.fill(Untouched);
    return buffer;
}

QByteArray firstBytes(const Buffer& buffer, int count)
{
    return QByteArray(reinterpret_cast<const char*>(buffer.data()), count);
}

} // namespace

TEST(DataPack, PacksEachLetter)
{
    // Every letter that takes a value gets 0x89ABCDEF, which also shows that no sign is in the way.
    const struct {
        const char *format, *packed;
    } rows[] = {
        {"C", "EF"},          {"c", "EF"},          {"S", "EF CD"},
        {"s", "EF CD"},       {"v", "EF CD"},       {"n", "CD EF"},
        {"I", "EF CD AB 89"}, {"i", "EF CD AB 89"}, {"L", "EF CD AB 89"},
        {"l", "EF CD AB 89"}, {"V", "EF CD AB 89"}, {"N", "89 AB CD EF"},
        {"x", "00"},          {"X", "EE"},          {"4x", "00 00 00 00"},
        {"2X", "EE EE"},      {"0x", ""},           {"", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.format);
        Buffer buffer = untouchedBuffer();
        const QByteArray packed = bytes(row.packed);
        EXPECT_EQ(DataPack(buffer.data(), row.format, static_cast<int>(0x89ABCDEF)), packed.size());
        EXPECT_EQ(firstBytes(buffer, packed.size() + 1), packed + bytes("EE"));
    }
}

TEST(DataPack, PacksRecords)
{
    const unsigned short words[] = {0x0102, 0x0304};
    const unsigned int doubleWord = 0x0A0B0C0D;
    Buffer buffer = untouchedBuffer();
    EXPECT_EQ(DataPack(buffer.data(), "vN", 0x1234, 0x01020304), 6);
    EXPECT_EQ(firstBytes(buffer, 6), bytes("34 12 01 02 03 04"));

    buffer = untouchedBuffer();
    EXPECT_EQ(DataPack(buffer.data(), "CxXC", 1, 2), 4);
    EXPECT_EQ(firstBytes(buffer, 4), bytes("01 00 EE 02"));
    EXPECT_EQ(ByteArrayPack("CxXC", 1, 2), bytes("01 00 00 02"));

    // Runs are copied as they lie in memory, or turned round; written for a little-endian machine.
    EXPECT_EQ(ByteArrayPack("2v2n1V1N3c", words, words, &doubleWord, &doubleWord, "abc"),
              bytes("02 01 04 03 01 02 03 04 0D 0C 0B 0A 0A 0B 0C 0D 61 62 63"));
}

TEST(DataPack, UnpacksRecords)
{
    unsigned short word = 0;
    unsigned int doubleWord = 0;
    unsigned short words[2] = {};
    EXPECT_EQ(DataUnpack(unsignedBytes(bytes("34 12")), "v", &word), 2);
    EXPECT_EQ(word, 0x1234);
    EXPECT_EQ(DataUnpack(unsignedBytes(bytes("34 F2")), "n", &word), 2);
    EXPECT_EQ(word, 0x34F2);
    EXPECT_EQ(DataUnpack(unsignedBytes(bytes("00 01 00 02")), "2n", words), 4);
    EXPECT_EQ(words[0], 1);
    EXPECT_EQ(words[1], 2);
    EXPECT_EQ(DataUnpack(unsignedBytes(bytes("AA BB CC 81 02 03 FF")), "2xXN", &doubleWord), 7);
    EXPECT_EQ(doubleWord, 0x810203FFu);
    EXPECT_EQ(DataUnpack(unsignedBytes(bytes("AA")), ""), 0);
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
        {"punctuation", "v-", 0, -1, ArrayRefused},
        {"byte above 7F", "v\xE4", 0, -1, ArrayRefused},
        {"count of a letter without runs", "v2S", -1, -1, ArrayRefused},
        {"count of an unknown letter", "v2y", -1, -1, ArrayRefused},
        {"count of nothing", "v2", -1, -1, ArrayRefused},
        {"count 0 of bytes", "v0C", -1, -1, ArrayRefused},
        {"count 00 of words", "v00n", -1, -1, ArrayRefused},
        {"count 0 of gaps", "v0X", 2, 2, ArrayRefused},
        {"count of zero bytes", "v4x", 6, 6, ArrayRefused},
        {"count beyond int", "v4294967297C", -1, -1, ArrayRefused},
        {"count of twenty digits", "v18446744073709551617X", -1, -1, ArrayRefused},
        {"record beyond int", "v2147483646X", -1, -1, ArrayRefused},
        {"words beyond int", "v1073741824n", -1, -1, ArrayRefused},
        {"a letter behind it all", "vx", 3, 3, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        Buffer buffer = untouchedBuffer();
        unsigned char source[8] = {0x34, 0x12};
        unsigned short first = 0;
        unsigned short second[4] = {};
        EXPECT_EQ(DataPack(buffer.data(), row.format, 0x1234, second), row.packed);
        EXPECT_EQ(firstBytes(buffer, 2), bytes("34 12"));
        EXPECT_EQ(DataUnpack(source, row.format, &first, second), row.unpacked);
        EXPECT_EQ(first, 0x1234);
        EXPECT_EQ(ByteArrayPack(row.format, 0x1234, second).size(), row.arraySize);
    }
}

TEST(DataPack, AppendsBigEndianWords)
{
    QByteArray array = bytes("01");
    appendBigEndianUShort(array, 0xABCD);
    appendBigEndianUShort(array, 0x0080);
    EXPECT_EQ(array, bytes("01 AB CD 00 80"));
}

namespace
{

const int NoCount = -1;

/// One item of a random format. Its argument is the memory behind a count, else the int in its
/// first bytes.
struct Item {
    int count;
    char letter;
    alignas(int) std::array<unsigned char, 32> memory;

    bool is(const char* letters) const { return std::strchr(letters, letter) != nullptr; }
    bool counted() const { return count != NoCount; }
    int width() const { return is("Ssvn") ? 2 : is("IiLlVN") ? 4 : is("CcxX") ? 1 : 0; }
    int size() const { return counted() ? count * width() : width(); }
    bool takesArgument() const { return !is("xX"); }
    bool bad() const
    {
        return counted() ? !is("CcvnVNxX") || (count == 0 && !is("xX")) : width() == 0;
    }
    int value() const
    {
        int value;
        std::memcpy(&value, memory.data(), sizeof value);
        return value;
    }
};

using Items = std::vector<Item>;

/// What a format should come to, worked out from its items rather than from its text.
struct Expected {
    int packed, unpacked;
    QByteArray buffer, array;
};

Expected expectedOf(const Items& items)
{
    QByteArray buffer, array;
    bool refusedByArray = false;
    for (const Item& item : items) {
        if (item.bad())
            return {item.counted() ? -1 : 0, -1, buffer, QByteArray()};
        QByteArray field(reinterpret_cast<const char*>(item.memory.data()), item.size());
        if (!item.takesArgument())
            field.fill('\0');
        for (int i = 0; item.is("nN") && i < field.size(); i += item.width())
            std::reverse(field.begin() + i, field.begin() + i + item.width());
        array += field;
        buffer += item.is("X") ? field.fill(static_cast<char>(Untouched)) : field;
        refusedByArray |= item.counted() && !item.takesArgument();
    }
    return {buffer.size(), buffer.size(), buffer, refusedByArray ? QByteArray() : array};
}

/// Calls a packer with one argument for each item that takes one.
template <typename Packer, typename... Arguments>
auto packItems(const Packer& packer, const Items& items, size_t next, Arguments... arguments)
{
    while (next < items.size() && !items[next].takesArgument())
        ++next;
    if constexpr (sizeof...(arguments) < 4) {
        if (next < items.size() && items[next].counted())
            return packItems(packer, items, next + 1, arguments..., items[next].memory.data());
        if (next < items.size())
            return packItems(packer, items, next + 1, arguments..., items[next].value());
    }
    return packer(arguments...);
}

void checkPacking(const Items& items, const char* format, const Expected& expected)
{
    Buffer buffer = untouchedBuffer();
    const auto intoBuffer = [&](auto... values) {
        return DataPack(buffer.data(), format, values...);
    };
    const auto intoArray = [&](auto... values) { return ByteArrayPack(format, values...); };
    ASSERT_EQ(packItems(intoBuffer, items, 0), expected.packed);
    ASSERT_EQ(firstBytes(buffer, expected.buffer.size() + 1), expected.buffer + bytes("EE"));
    ASSERT_EQ(packItems(intoArray, items, 0), expected.array);
}

/// Each target must come to hold what its item was made of, and nothing else.
void checkUnpacking(const Items& items, const char* format, const Expected& expected)
{
    const QByteArray source = expected.buffer + QByteArray(32, '\0');
    Items targets(4);
    for (Item& target : targets)
        target.memory.fill(Untouched);
    ASSERT_EQ(DataUnpack(unsignedBytes(source), format, targets[0].memory.data(),
                         targets[1].memory.data(), targets[2].memory.data(),
                         targets[3].memory.data()),
              expected.unpacked);
    size_t next = 0;
    for (auto item = items.begin(); item != items.end() && !item->bad(); ++item) {
        if (!item->takesArgument())
            continue;
        auto wanted = item->memory;
        std::fill(wanted.begin() + item->size(), wanted.end(), Untouched);
        ASSERT_EQ(targets[next++].memory, wanted);
    }
}

Item randomItem(std::mt19937& random)
{
    const std::string letters = "CcSsvnIiLlVNxXCcvnVNxXCcvnVNxX y%";
    Item item = {random() % 2 ? NoCount : static_cast<int>(random() % 8),
                 letters[random() % letters.size()],
                 {}};
    for (unsigned char& byte : item.memory)
        byte = static_cast<unsigned char>(random());
    return item;
}

} // namespace

TEST(DataPack, RandomFormatsAgreeWithTheOracle)
{
    std::mt19937 random(20);
    for (int round = 0; round < 10000; ++round) {
        Items items;
        std::string format;
        for (auto left = random() % 5; left > 0; --left) {
            items.push_back(randomItem(random));
            if (items.back().counted())
                format += std::to_string(items.back().count);
            format += items.back().letter;
        }
        SCOPED_TRACE(testing::Message() << "round " << round << ", format '" << format << "'");
        const Expected expected = expectedOf(items);
        ASSERT_NO_FATAL_FAILURE(checkPacking(items, format.c_str(), expected));
        ASSERT_NO_FATAL_FAILURE(checkUnpacking(items, format.c_str(), expected));
    }
}
