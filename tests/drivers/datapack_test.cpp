#include "drivers/tools.h"
#include "support/bytes.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{

/// What a byte holds before anything is written to it.
const char Untouched = '\xEE';

unsigned char* writable(QByteArray& array)
{
    return reinterpret_cast<unsigned char*>(array.data());
}

} // namespace

TEST(DataPack, SingleLetters)
{
    const char* const format = "cCsSvniIlLVN";
    const QByteArray record = bytes("81 82  03 84  05 86  07 88  89 0A  0B 0C 0D 8E  0F 10 11 92"
                                    "13 14 15 96  17 18 19 9A  1B 1C 1D 9E  9F 20 21 22");
    // Of a value that is too wide the low bytes are taken.
    EXPECT_EQ(ByteArrayPack(format, -0x7F, 0x182, -0x7BFD, 0x18605, 0x8807, 0x890A, 0x8E0D0C0B,
                            0x9211100F, 0x96151413, 0x9A191817, 0x9E1D1C1B, 0x9F202122),
              record);
    std::vector<unsigned char> c(2);
    std::vector<unsigned short> s(4);
    std::vector<unsigned int> i(6);
    EXPECT_EQ(DataUnpack(unsignedBytes(record), format, &c[0], &c[1], &s[0], &s[1], &s[2], &s[3],
                         &i[0], &i[1], &i[2], &i[3], &i[4], &i[5]),
              record.size());
    EXPECT_EQ(c, (std::vector<unsigned char>{0x81, 0x82}));
    EXPECT_EQ(s, (std::vector<unsigned short>{0x8403, 0x8605, 0x8807, 0x890A}));
    EXPECT_EQ(i, (std::vector<unsigned int>{0x8E0D0C0B, 0x9211100F, 0x96151413, 0x9A191817,
                                            0x9E1D1C1B, 0x9F202122}));
}

TEST(DataPack, Runs)
{
    // Copied as they lie in memory, or with the bytes of each element reversed.
    const char* const format = "3c2C2v2n2V2N";
    const QByteArray record = bytes("61 62 63  81 82  01 02 03 04  02 01 04 03"
                                    "01 02 03 04 05 06 07 08  04 03 02 01 08 07 06 05");
    QByteArray memory = bytes("01 02 03 04 05 06 07 08");
    const char* const from = memory.constData();
    EXPECT_EQ(ByteArrayPack(format, "abc", "\x81\x82", from, from, from, from), record);

    QByteArray c(4, Untouched), C(3, Untouched), v(5, Untouched), n(5, Untouched);
    QByteArray V(9, Untouched), N(9, Untouched);
    EXPECT_EQ(DataUnpack(unsignedBytes(record), format, c.data(), C.data(), v.data(), n.data(),
                         V.data(), N.data()),
              record.size());
    EXPECT_EQ(c + C + v + n + V + N,
              bytes("61 62 63 EE  81 82 EE  01 02 03 04 EE  01 02 03 04 EE"
                    "01 02 03 04 05 06 07 08 EE  01 02 03 04 05 06 07 08 EE"));
}

TEST(DataPack, BytesWithoutArguments)
{
    QByteArray buffer(7, Untouched);
    EXPECT_EQ(DataPack(writable(buffer), "CxX2x1XC", 1, 2), 7);
    EXPECT_EQ(buffer, bytes("01 00 EE 00 00 EE 02"));
    EXPECT_EQ(ByteArrayPack("CxXC", 1, 2), bytes("01 00 00 02"));
    unsigned char unpacked = 0;
    EXPECT_EQ(DataUnpack(unsignedBytes(buffer), "xX2x2XC", &unpacked), 7);
    EXPECT_EQ(unpacked, 2);

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
        {"unknown letter", "vy", 0, -1, ArrayRefused},
        {"count of a letter without runs", "v2S", -1, -1, ArrayRefused},
        {"L", "v2L", -1, -1, ArrayRefused},
        {"count 0 of bytes", "v0C", -1, -1, ArrayRefused},
        {"count 0 of gaps", "v0X", 2, 2, ArrayRefused},
        {"count beyond 64 bits", "v18446744073709551617C", -1, -1, ArrayRefused},
        {"one more letter", "vx", 3, 3, 3},
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
