#include "bytes.h"
#include "drivers/tools.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
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

/// One item of a random format, with the memory its argument lives in.
struct Item {
    std::optional<int> count;
    char letter;
    int value;
    alignas(4) std::array<unsigned char, 32> memory;

    std::string text() const { return (count ? std::to_string(*count) : std::string()) + letter; }
    bool is(const char* letters) const
    {
        return std::string(letters).find(letter) != std::string::npos;
    }
    int width() const { return is("Ssvn") ? 2 : is("IiLlVN") ? 4 : is("CcxX") ? 1 : 0; }
    bool takesArgument() const { return !is("xX"); }
};

using Items = std::vector<Item>;

/// What packing a format should come to, worked out from the items rather than from the text.
struct Expected {
    int packResult = 0;
    int unpackResult = 0;
    bool refusedByArray = false;
    std::vector<std::optional<unsigned char>> record; ///< no value: stepped over
};

/// The bytes of an item's argument in the order of the record.
std::vector<unsigned char> argumentBytes(const Item& item)
{
    std::vector<unsigned char> little;
    for (int i = 0; i < item.width(); ++i)
        little.push_back(static_cast<unsigned char>(static_cast<unsigned>(item.value) >> (8 * i)));
    if (item.count)
        little.assign(item.memory.begin(), item.memory.begin() + *item.count * item.width());
    if (item.is("nN")) {
        for (auto element = little.begin(); element != little.end(); element += item.width())
            std::reverse(element, element + item.width());
    }
    return little;
}

bool isBad(const Item& item)
{
    if (!item.count)
        return item.width() == 0;
    return !item.is("CcvnVNxX") || (*item.count == 0 && !item.is("xX"));
}

Expected expectedOf(const Items& items)
{
    Expected expected;
    for (const Item& item : items) {
        if (isBad(item)) {
            expected.packResult = item.count ? -1 : 0;
            expected.unpackResult = -1;
            expected.refusedByArray = true;
            return expected;
        }
        expected.refusedByArray |= item.count && item.is("xX");
        if (item.is("x"))
            expected.record.insert(expected.record.end(), size_t(item.count.value_or(1)), 0);
        else if (item.is("X"))
            expected.record.resize(expected.record.size() + size_t(item.count.value_or(1)));
        else
            for (unsigned char byte : argumentBytes(item))
                expected.record.push_back(byte);
    }
    expected.packResult = expected.unpackResult = static_cast<int>(expected.record.size());
    return expected;
}

/// Calls a packer with one argument for each item that takes one: a pointer behind a count, else an
/// int.
template <typename Packer, typename... Arguments>
auto packItems(const Packer& packer, Items& items, size_t next, Arguments... arguments)
{
    while (next < items.size() && !items[next].takesArgument())
        ++next;
    if constexpr (sizeof...(arguments) < 4) {
        if (next < items.size() && items[next].count)
            return packItems(packer, items, next + 1, arguments..., items[next].memory.data());
        if (next < items.size())
            return packItems(packer, items, next + 1, arguments..., items[next].value);
    }
    return packer(arguments...);
}

Item randomItem(std::mt19937& random)
{
    const std::string letters = "CcSsvnIiLlVNxXCcvnVNxXCcvnVNxX y%";
    Item item = {};
    item.letter = letters[random() % letters.size()];
    if (random() % 2)
        item.count = static_cast<int>(random() % 8);
    item.value = static_cast<int>(random());
    for (unsigned char& byte : item.memory)
        byte = static_cast<unsigned char>(random());
    return item;
}

/// Packs into a buffer and into an array.
void checkPacking(Items& items, const char* format, const Expected& expected)
{
    Buffer wanted = untouchedBuffer();
    QByteArray wantedArray;
    for (size_t i = 0; i < expected.record.size(); ++i) {
        wanted[i] = expected.record[i].value_or(Untouched);
        wantedArray.append(static_cast<char>(expected.record[i].value_or(0)));
    }
    Buffer packed = untouchedBuffer();
    const auto intoBuffer = [&](auto... values) {
        return DataPack(packed.data(), format, values...);
    };
    ASSERT_EQ(packItems(intoBuffer, items, 0), expected.packResult);
    ASSERT_EQ(packed, wanted);

    const auto intoArray = [&](auto... values) { return ByteArrayPack(format, values...); };
    ASSERT_EQ(packItems(intoArray, items, 0), expected.refusedByArray ? QByteArray() : wantedArray);
}

/// Unpacks the expected record: each target must come to hold what the item was made of, and
/// nothing else.
void checkUnpacking(const Items& items, const char* format, const Expected& expected)
{
    Buffer record = untouchedBuffer();
    for (size_t i = 0; i < expected.record.size(); ++i)
        record[i] = expected.record[i].value_or(Untouched);
    alignas(4) std::array<unsigned char, 32> targets[4];
    for (auto& target : targets)
        target.fill(Untouched);
    ASSERT_EQ(DataUnpack(record.data(), format, targets[0].data(), targets[1].data(),
                         targets[2].data(), targets[3].data()),
              expected.unpackResult);
    size_t next = 0;
    for (const Item& item : items) {
        if (isBad(item))
            break;
        if (!item.takesArgument())
            continue;
        auto wanted = item.memory;
        if (!item.count)
            std::memcpy(wanted.data(), &item.value, sizeof item.value);
        const size_t stored = size_t(item.count.value_or(1) * item.width());
        std::fill(wanted.begin() + stored, wanted.end(), Untouched);
        ASSERT_EQ(targets[next++], wanted);
    }
}

} // namespace

TEST(DataPack, RandomFormatsAgreeWithTheOracle)
{
    std::mt19937 random(20);
    for (int round = 0; round < 10000; ++round) {
        Items items(random() % 5);
        std::string format;
        for (Item& item : items) {
            item = randomItem(random);
            format += item.text();
        }
        SCOPED_TRACE(testing::Message() << "round " << round << ", format '" << format << "'");
        const Expected expected = expectedOf(items);
        ASSERT_NO_FATAL_FAILURE(checkPacking(items, format.c_str(), expected));
        ASSERT_NO_FATAL_FAILURE(checkUnpacking(items, format.c_str(), expected));
    }
}
