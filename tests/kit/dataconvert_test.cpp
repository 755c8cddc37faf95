#include "bytes.h"
#include "drivers/tools.h"

#include <climits>
#include <functional>
#include <gtest/gtest.h>

TEST(DataConvert, ReadsValuesFromTheStartOfAnArray)
{
    const struct {
        const char* array;
        int asInt;
        unsigned short asWord;
        short asShort;
        bool asBit;
    } rows[] = {
        {"", 0, 0, 0, false},
        {"FF", 255, 255, 255, true},
        {"FF FF", 65535, 65535, -1, true},
        {"FF 7F", 32767, 32767, 32767, true},
        {"00 80", 32768, 32768, -32768, false},
        {"01 02", 0x0201, 0x0201, 0x0201, true},
        {"01 02 03", 0x030201, 0x0201, 0x0201, true},
        {"01 02 03 04 05", 0x04030201, 0x0201, 0x0201, true},
        {"FE FF FF FF", -2, 0xFFFE, -2, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.array);
        const QByteArray array = bytes(row.array);
        EXPECT_EQ(QByteArrayToInt(array), row.asInt);
        EXPECT_EQ(QByteArrayToWord(array), row.asWord);
        EXPECT_EQ(QByteArrayToShort(array), row.asShort);
        EXPECT_EQ(getBitData(array), row.asBit);
    }
}

TEST(DataConvert, MakesArraysOfValues)
{
    EXPECT_EQ(wordToByteArray(0xFF12), bytes("12 FF"));
    EXPECT_EQ(shortToByteArray(-2), bytes("FE FF"));
    EXPECT_EQ(intToByteArray(0x12345678), bytes("78 56 34 12"));
    EXPECT_EQ(intToByteArray(-1), bytes("FF FF FF FF"));
}

namespace
{

template <void convert(QByteArray&)>
QByteArray inPlace(const QByteArray& array)
{
    QByteArray copy = array;
    convert(copy);
    return copy;
}

template <QByteArray convert(const unsigned char*, int), int count>
QByteArray elements(const QByteArray& array)
{
    return convert(unsignedBytes(array), count);
}

} // namespace

TEST(DataConvert, SwapsElementsAndPadsToUnits)
{
    const struct {
        const char* meaning;
        std::function<QByteArray(const QByteArray&)> convert;
        const char *before, *after;
    } rows[] = {
        {"two 16-bit elements", elements<fromBigEndianUShortArray, 2>, "12345678", "34127856"},
        {"no 16-bit elements", elements<fromBigEndianUShortArray, 0>, "1234", ""},
        {"fewer than none", elements<fromBigEndianUShortArray, -1>, "1234", ""},
        {"more than memory", elements<fromBigEndianUShortArray, INT_MAX>, "1234", ""},
        {"a 32-bit element", elements<fromBigEndianULongArray, 1>, "0102030405", "04030201"},
        {"fewer than none", elements<fromBigEndianULongArray, -1>, "01020304", ""},
        {"bytes beyond int", elements<fromBigEndianULongArray, 1 << 29>, "01020304", ""},
        {"16 bits in place", inPlace<toLittleEndianUShortArray>, "01020304", "02010403"},
        {"16 bits, partial", inPlace<toLittleEndianUShortArray>, "010203", "020103"},
        {"16 bits, empty", inPlace<toLittleEndianUShortArray>, "", ""},
        {"32 bits in place", inPlace<toLittleEndianULongArray>, "0102030405060708",
         "0403020108070605"},
        {"32 bits, partial", inPlace<toLittleEndianULongArray>, "01020304050607", "04030201050607"},
        {"padded, then swapped", toBigEndianUShortArray, "010203", "02010003"},
        {"padded, then swapped", toBigEndianULongArray, "0102030405", "0403020100000005"},
        {"empty", toBigEndianULongArray, "", ""},
        {"even size", To16bitsData, "0102", "0102"},
        {"odd size", To16bitsData, "010203", "01020300"},
        {"empty", To16bitsData, "", ""},
        {"five to eight", To32bitsData, "0102030405", "0102030405000000"},
        {"seven to eight", To32bitsData, "01020304050607", "0102030405060700"},
        {"whole", To32bitsData, "01020304", "01020304"},
        {"nine to sixteen", To64bitsData, "010203040506070809", "01020304050607080900000000000000"},
        {"whole", To64bitsData, "0102030405060708", "0102030405060708"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.meaning << ": " << row.before);
        const QByteArray before = bytes(row.before);
        EXPECT_EQ(row.convert(before), bytes(row.after));
        EXPECT_EQ(before, bytes(row.before)) << "a shared array changed";
    }
}

TEST(DataConvert, SaysBigEndianOnLittleEndianMachines)
{
    const unsigned short one = 1;
    const bool lowByteFirst = *reinterpret_cast<const unsigned char*>(&one) == 1;
    EXPECT_EQ(isBigEndian(), lowByteFirst);
}

TEST(RequestData, SizesAndClassifiesRequests)
{
    const char* const None = "";
    const struct {
        int dataType, length, dataBytes;
        const char* classified; ///< the only classifier that answers true
    } rows[] = {
        {DataBit, 0, 0, "bit"},
        {DataBit, 1, 1, "bit"},
        {DataBit, 8, 1, "bit"},
        {DataBit, 9, 2, "bit"},
        {DataBit, 17, 3, "bit"},
        {DataBit, -1, 0x20000000, "bit"}, // taken as unsigned
        {DataBit, INT_MAX, 0x10000000, "bit"},
        {DataBitGroup, 9, 2, None},
        {DataByte, 7, 7, "byte"},
        {DataBlock, 7, 7, "block"},
        {DataWord, 3, 6, "word"},
        {DataWord, INT_MAX, 0, "word"}, // beyond int
        {DataDoubleWord, 3, 12, "double word"},
        {DataDoubleWord, 1 << 29, 0, "double word"},
        {DataQuadWord, 3, 24, None},
        {DataQuadWord, INT_MIN, 0, None},
        {7, 3, 0, None},
        {-1, 3, 0, None},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "type " << row.dataType << ", length " << row.length);
        CommunicatorCommand command;
        command.dataType = row.dataType;
        command.length = row.length;
        EXPECT_EQ(GetSafeDataLen(command), row.dataBytes);
        const std::string classified = row.classified;
        EXPECT_EQ(isBitCommand(command), classified == "bit");
        EXPECT_EQ(isByteCommand(command), classified == "byte");
        EXPECT_EQ(isWordCommand(command), classified == "word");
        EXPECT_EQ(isDoubleWordCommand(command), classified == "double word");
        EXPECT_EQ(isBlockCommand(command), classified == "block");
    }
}

TEST(RequestData, FitsDataToTheRequest)
{
    const struct {
        int dataType, length;
        const char *data, *fitted;
    } rows[] = {
        {DataWord, 2, "010203040506", "01020304"},
        {DataWord, 2, "01", "01000000"},
        {DataWord, 2, "01020304", "01020304"},
        {DataWord, 0, "01", ""},
        {DataWord, -1, "01", ""},
        {DataBit, 9, "", "0000"},
        {9, 2, "01020304", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << "type " << row.dataType << ", length " << row.length);
        CommunicatorCommand command;
        command.dataType = row.dataType;
        command.length = row.length;
        EXPECT_EQ(ToSafeData(command, bytes(row.data)), bytes(row.fitted));
    }
}
