#include "drivers/tools.h"
#include "support/bytes.h"

#include <climits>
#include <gtest/gtest.h>
#include <string>

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

namespace
{

/// Which of the classifiers say yes.
std::string kindOf(const CommunicatorCommand& command)
{
    return std::string(isBitCommand(command) ? "bit " : "") +
           (isByteCommand(command) ? "byte " : "") + (isWordCommand(command) ? "word " : "") +
           (isDoubleWordCommand(command) ? "double " : "") +
           (isBlockCommand(command) ? "block " : "");
}

} // namespace

TEST(RequestData, ClassifiesSizesAndFits)
{
    const struct {
        int dataType, length, dataBytes;
        const char* fitted; ///< what becomes of 01020304
        const char* kind;
    } rows[] = {
        {DataBit, 9, 2, "0102", "bit "},
        {DataBitGroup, 8, 1, "01", ""},
        {DataByte, 7, 7, "01020304000000", "byte "},
        {DataBlock, 1, 1, "01", "block "},
        {DataWord, INT_MAX, 0, "", "word "}, // beyond int
        {DataDoubleWord, 1, 4, "01020304", "double "},
        {7, 3, 0, "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "type " << row.dataType << ", length " << row.length);
        CommunicatorCommand command;
        command.dataType = row.dataType;
        command.length = row.length;
        EXPECT_EQ(kindOf(command), row.kind);
        EXPECT_EQ(GetSafeDataLen(command), row.dataBytes);
        EXPECT_EQ(ToSafeData(command, bytes("01020304")), bytes(row.fitted));
    }
}
