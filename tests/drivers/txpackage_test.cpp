#include "drivers/txpackage.h"
#include "support/bytes.h"

#include <climits>
#include <gtest/gtest.h>

TEST(TxPackage, EachAppendAddsOneSection)
{
    TxPackage package;
    package.appendLRCByte();
    package.appendString("AB");
    package.appendByte(0xF0);
    package.appendLRCByte();   // 00 + 41 + 42 + F0 = 173
    package.appendLRCAscii();  // 173 + 73 = 1E6
    package.appendFCSAscii(1); // 00 ^ 41 ^ 42 ^ F0 ^ 73 ^ 'E' ^ '6' = F3
    package.appendWord(0x1234);
    package.appendDWord(0xF1223344);
    package.appendByte2Ascii(0x0A);
    package.appendSection(QByteArray());
    const char* const sections[] = {"00",   "4142", "F0",       "73",   "4536",
                                    "4633", "3412", "443322F1", "3041", ""};
    ASSERT_EQ(package.numberOfSections(), 10);
    for (int n = 0; n < 10; ++n)
        EXPECT_EQ(package.dataAt(n), bytes(sections[n])) << n;
    EXPECT_EQ(package.totalSize(), 17);
}

TEST(TxPackage, LooksAtFrames)
{
    TxPackage frame;
    frame.setData(bytes("01 02 04"));
    EXPECT_EQ(TxPackage::calculateFCS(&frame, 1), 0x03); // all but the last byte
    EXPECT_EQ(TxPackage::calculateFCS(&frame, -1), 0);
    EXPECT_EQ(frame.arrayToInt(bytes("FF 01")), 255);
}

TEST(TxPackage, BytesAndSectionsAreSetApart)
{
    TxPackage package;
    package.setSectionSize({2, 3});
    EXPECT_EQ(package.byteArrayData(), bytes("00 00 00 00 00"));
    char raw[] = {1, 2, 3};
    EXPECT_TRUE(package.setData(QByteArray::fromRawData(raw, 3)));
    raw[0] = 9;
    EXPECT_EQ(package.byteArrayData(), bytes("01 02 03"));
    EXPECT_EQ(package.dataAt(1), bytes("03")); // the frame ends first
    EXPECT_TRUE(package.setData(raw, 3));
    EXPECT_FALSE(package.setData(raw, -1));
    package.setSectionSize({1, 1});
    EXPECT_EQ(package.byteArrayData(), bytes("09 02"));
    package.setSectionSize({INT_MAX, 1});
    EXPECT_EQ(package.sectionSize(0), 1);
    package.setSectionSize({1, -3});
    EXPECT_EQ(package.totalSize(), 0);
}

TEST(TxPackage, WritingInPlaceReachesNoCopy)
{
    TxPackage frame;
    frame.appendSection(bytes("01 02"));
    char* const inPlace = frame.data();
    const QByteArray copy = frame.byteArrayData();
    inPlace[0] = '\x41';
    EXPECT_EQ(frame.toString(), QString("(0X41 0X2 ) : A\x02"));
    EXPECT_EQ(copy, bytes("01 02"));
}

TEST(TxPackage, FindsSectionsByEntriesAndStoredLengths)
{
    const struct {
        const char *meaning, *frame;
        QList<int> sizes;
        int n, start, size;
        const char* data;
    } rows[] = {
        {"length in the frame", "0203000000414243", {1, 4, -1}, 2, 5, 3, "414243"},
        {"stored length beyond the frame", "0209000000414243", {1, 4, -1}, 2, 5, 9, "414243"},
        {"length section too short", "02030000414243", {1, 3, -1}, 2, 4, 0, ""},
        {"length before the frame", "0102030405060708", {1, -9, 4, -2}, 3, -4, 0, ""},
        {"placed by entries as stored", "02030000004142", {1, 4, -1, 2}, 3, 4, 2, "0041"},
        {"length in the section itself", "0207000000AABBCC99", {1, -1}, 1, 1, 7, "07000000AABBCC"},
        {"length in a section with its own", "000400000009", {1, -1, -1}, 2, 0, 4, "00040000"},
        {"least entry", "010203040506", {1, INT_MIN}, 1, 1, 0, ""},
        {"sums beyond int in between", "0102", {INT_MAX, 9, -INT_MAX, 1}, 3, 9, 1, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        TxPackage frame;
        frame.setSectionSize(row.sizes);
        frame.setData(bytes(row.frame));
        ASSERT_EQ(frame.numberOfSections(), row.sizes.size());
        EXPECT_EQ(frame.validSectionNumber(row.n), row.start != -1);
        EXPECT_EQ(frame.sectionStartIndex(row.n), row.start);
        EXPECT_EQ(frame.sectionSize(row.n), row.size);
        EXPECT_EQ(frame.dataAt(row.n), bytes(row.data));
    }
}
