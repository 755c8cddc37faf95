#include "bytes.h"
#include "drivers/txpackage.h"

#include <climits>
#include <gtest/gtest.h>
#include <type_traits>

namespace
{

/// A package of the given bytes and section entries.
struct Frame : TxPackage {
    Frame(const char* hexadecimal, const QList<int>& sizes)
    {
        setSectionSize(sizes);
        setData(bytes(hexadecimal));
    }
};

} // namespace

static_assert(!std::is_copy_constructible<TxPackage>::value, "a builder is not copied");
static_assert(!std::is_copy_assignable<TxPackage>::value, "a builder is not copied");

TEST(TxPackage, EachAppendAddsOneSection)
{
    TxPackage package;
    EXPECT_TRUE(package.appendByte(0x02));
    EXPECT_TRUE(package.appendString("AB"));
    EXPECT_TRUE(package.appendLRCAscii()); // 02 + 41 + 42 = 85
    EXPECT_EQ(package.byteArrayData(), bytes("02 41 42 38 35"));
    EXPECT_TRUE(package.appendWord(0x1234));
    EXPECT_TRUE(package.appendDWord(0xF1223344));
    EXPECT_TRUE(package.appendByte2Ascii(0x0A));
    EXPECT_TRUE(package.appendSection(bytes("00 FF")));
    EXPECT_TRUE(package.appendSection(QByteArray()));
    const char* const sections[] = {"02", "4142", "3835", "3412", "443322F1", "3041", "00FF", ""};
    ASSERT_EQ(package.numberOfSections(), 8);
    int start = 0;
    for (int n = 0; n < 8; ++n) {
        EXPECT_EQ(package.sectionStartIndex(n), start) << n;
        EXPECT_EQ(package.sectionSize(n), bytes(sections[n]).size()) << n;
        EXPECT_EQ(package.dataAt(n), bytes(sections[n])) << n;
        start += package.sectionSize(n);
    }
    EXPECT_EQ(package.totalSize(), start);

    package.clearAll();
    EXPECT_EQ(package.totalSize(), 0);
    EXPECT_EQ(package.numberOfSections(), 0);
}

TEST(TxPackage, ChecksCoverAllBytesSoFar)
{
    TxPackage package;
    package.appendLRCByte();
    package.appendFCSAscii(7);
    EXPECT_EQ(package.byteArrayData(), bytes("00 30 30"));

    package.setData(bytes("F0 11"));
    package.appendLRCByte();   // F0 + 11 = 101
    package.appendLRCAscii();  // F0 + 11 + 01 = 102
    package.appendFCSAscii(1); // F0 ^ 11 ^ 01 ^ '0' ^ '2' = E2
    EXPECT_EQ(package.byteArrayData(), bytes("F0 11 01 30 32 45 32"));

    Frame frame("01 02 04", {3});
    EXPECT_EQ(TxPackage::calculateFCS(&frame, 0), 0x07);
    EXPECT_EQ(TxPackage::calculateFCS(&frame, 1), 0x03);
    for (const int nothingLeft : {3, 4, INT_MAX, -1, INT_MIN})
        EXPECT_EQ(TxPackage::calculateFCS(&frame, nothingLeft), 0) << nothingLeft;
}

TEST(TxPackage, BytesAndSectionsAreSetApart)
{
    TxPackage package;
    package.setSectionSize({2, 3});
    EXPECT_EQ(package.byteArrayData(), bytes("00 00 00 00 00"));
    EXPECT_EQ(package.numberOfSections(), 2);

    char raw[] = {1, 2, 3};
    EXPECT_TRUE(package.setData(raw, 3));
    raw[0] = 9;
    EXPECT_EQ(package.byteArrayData(), bytes("01 02 03"));
    EXPECT_TRUE(package.setData(QByteArray::fromRawData(raw, 3)));
    raw[0] = 1;
    EXPECT_EQ(package.byteArrayData(), bytes("09 02 03"));
    EXPECT_EQ(package.dataAt(1), bytes("03")); // the frame ends first
    EXPECT_FALSE(package.setData(raw, -1));
    EXPECT_EQ(package.totalSize(), 3);

    package.setSectionSize({1, 1});
    EXPECT_EQ(package.byteArrayData(), bytes("09 02"));
    package.setSectionSize({INT_MAX, 1});
    EXPECT_EQ(package.sectionSize(0), 1);
    package.setSectionSize({1, -3});
    EXPECT_EQ(package.totalSize(), 0);
    EXPECT_EQ(package.numberOfSections(), 2);
}

TEST(TxPackage, WritingInPlaceReachesNoCopy)
{
    Frame frame("01 02", {2});
    char* const inPlace = frame.data();
    const QByteArray copy = frame.byteArrayData();
    const QByteArray section = frame.dataAt(0);
    inPlace[0] = '\x7F';
    EXPECT_EQ(frame.byteArrayData(), bytes("7F 02"));
    EXPECT_EQ(copy, bytes("01 02"));
    EXPECT_EQ(section, bytes("01 02"));
}

TEST(TxPackage, FindsSectionsByEntriesAndStoredLengths)
{
    const struct {
        const char *meaning, *frame;
        QList<int> sizes;
        int n, start, size;
        const char* data;
    } rows[] = {
        {"first", "0102030405", {1, 2, 2}, 0, 0, 1, "01"},
        {"second", "0102030405", {1, 2, 2}, 1, 1, 2, "0203"},
        {"behind the last", "0102030405", {1, 2, 2}, 3, -1, 0, ""},
        {"negative", "0102030405", {1, 2, 2}, -1, -1, 0, ""},
        {"length in the frame", "0203000000414243", {1, 4, -1}, 2, 5, 3, "414243"},
        {"length in a longer section", "02030000007F414243", {1, 5, -1}, 2, 6, 3, "414243"},
        {"stored length beyond the frame", "0209000000414243", {1, 4, -1}, 2, 5, 9, "414243"},
        {"negative stored length", "02FEFFFFFF414243", {1, 4, -1}, 2, 5, -2, ""},
        {"length section too short", "02030000414243", {1, 3, -1}, 2, 4, 0, ""},
        {"frame ends in the length", "020300", {1, 4, -1}, 2, 5, 0, ""},
        {"placed by entries as stored", "02030000004142", {1, 4, -1, 2}, 3, 4, 2, "0041"},
        {"placed before the frame", "0102", {0, -3, 1}, 2, -3, 1, ""},
        {"length of a length", "00050000000200000041", {1, 4, -1, -2}, 3, 4, 2, "0002"},
        {"length in itself", "0102030405", {1, -1}, 1, 1, 0, ""},
        {"lengths in a circle", "010203040506070809", {4, -2, -1}, 1, 4, 0, ""},
        {"length in no section", "0102", {1, -9}, 1, 1, 0, ""},
        {"most negative entry", "0102", {1, INT_MIN}, 1, 1, 0, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        const Frame frame(row.frame, row.sizes);
        EXPECT_EQ(frame.validSectionNumber(row.n), row.start != -1);
        EXPECT_EQ(frame.sectionStartIndex(row.n), row.start);
        EXPECT_EQ(frame.sectionSize(row.n), row.size);
        EXPECT_EQ(frame.dataAt(row.n), bytes(row.data));
    }
}

TEST(TxPackage, ShowsItself)
{
    Frame frame("41 0A", {});
    EXPECT_EQ(frame.toString(), QString("(0X41 0Xa ) : A\n"));
    EXPECT_EQ(frame.arrayToInt(bytes("FF 01")), 255);
    EXPECT_EQ(frame.arrayToInt(QByteArray()), 0);
}
