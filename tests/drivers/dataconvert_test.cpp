#include "drivers/tools.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

TEST(DataConvert, ReadsValuesFromTheStartOfAnArray)
{
    EXPECT_EQ(QByteArrayToInt(bytes("FE FF FF FF 01")), -2);
    EXPECT_EQ(QByteArrayToWord(bytes("FE FF 01")), 0xFFFE);
    EXPECT_EQ(QByteArrayToShort(bytes("FE FF 01")), -2);
    EXPECT_EQ(QByteArrayToShort(bytes("FF")), 255);
    EXPECT_TRUE(getBitData(bytes("03 00")));
    EXPECT_FALSE(getBitData(QByteArray()));
}

TEST(DataConvert, MakesArraysOfValues)
{
    EXPECT_EQ(wordToByteArray(0xFF12), bytes("12 FF"));
    EXPECT_EQ(shortToByteArray(-2), bytes("FE FF"));
    EXPECT_EQ(intToByteArray(-0x12345678), bytes("88 A9 CB ED"));
    EXPECT_TRUE(isBigEndian()); // what it answers on a little-endian machine
}

TEST(DataConvert, SwapsElementsAndPadsToUnits)
{
    const struct {
        const char* meaning;
        QByteArray (*convert)(const QByteArray&);
        const char *before, *after;
    } rows[] = {
        {"padded, then swapped", toBigEndianUShortArray, "010203", "02010003"},
        {"odd size", To16bitsData, "010203", "01020300"},
        {"nine to sixteen", To64bitsData, "010203040506070809", "01020304050607080900000000000000"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.convert(bytes(row.before)), bytes(row.after)) << row.meaning;

    QByteArray partial = bytes("01 02 03 04 05 06 07");
    toLittleEndianULongArray(partial);
    EXPECT_EQ(partial, bytes("04 03 02 01 05 06 07"));
    toLittleEndianUShortArray(partial);
    EXPECT_EQ(partial, bytes("03 04 01 02 06 05 07"));
    const unsigned char source[] = {1, 2, 3, 4, 5};
    EXPECT_EQ(fromBigEndianUShortArray(source, 2), bytes("02 01 04 03"));
    EXPECT_EQ(fromBigEndianULongArray(source, 1), bytes("04 03 02 01"));
    EXPECT_EQ(fromBigEndianULongArray(source, 1 << 29), QByteArray());
}
