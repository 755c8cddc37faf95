#include "drivers/tools.h"
#include "support/bytes.h"

#include <gtest/gtest.h>

TEST(HexText, ReadsNumbers)
{
    const struct {
        const char* text;
        int len;
        unsigned int value;
    } rows[] = {
        {"0XfF", 4, 255}, {"ff", 100, 255}, {"1234", 2, 0x12},
        {"0x", 2, 0},     {"0x1G", 4, 0},   {"123456789", 9, 0x23456789},
    };
    for (const auto& row : rows)
        EXPECT_EQ(HexToUInt(row.text, row.len), row.value) << row.text << ", len " << row.len;
}

TEST(HexText, ShowsBytes)
{
    EXPECT_EQ(dumpByteArray(bytes("41 42 0A")), QString("(0X41 0X42 0Xa ) : AB\n"));
    EXPECT_EQ(dumpByteArray(bytes("41 00 42")), QString("(0X41 0X0 0X42 ) : A"));
    EXPECT_EQ(dumpByteArray(QByteArray::fromRawData("ABC", 2)), QString("(0X41 0X42 ) : AB"));
}
