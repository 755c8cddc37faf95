#include "drivers/tools.h"
#include "support/bytes.h"

#include <climits>
#include <gtest/gtest.h>

TEST(AddressParsing, SplitsDeviceTexts)
{
    const struct {
        const char *meaning, *text;
        int base;
        const char* symbol;
        int number;
    } rows[] = {
        {"leading zeros belong to the number", "MR00015", 10, "MR", 15},
        {"underscore is part of the symbol", "AB_c12", 10, "AB_c", 12},
        {"letter after the number", "DM100A", 10, "DM", 0},
        {"a sign between symbol and number is skipped", "DM-5", 10, "DM", 5},
        {"a byte above 7F is not a letter", "D\xC4\x31", 10, "D", 1},
        {"greatest int", "T2147483647", 10, "T", INT_MAX},
        {"beyond int", "T2147483648", 10, "T", 0},
        {"octal", "X17", 8, "X", 15},
        {"hexadecimal", "yf1", 16, "yf", 0xF1},
        {"hexadecimal, D of the symbol taken as digit", "DM1F", 16, "DM", 0},
        {"hexadecimal with a prefix", "H0x1f", 16, "H", 31},
        {"base 2", "X1", 2, "X", -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        EXPECT_EQ(ExtractPrefixSymbol(QByteArray(row.text)), QByteArray(row.symbol));
        EXPECT_EQ(ExtractPrefixSymbol(QString::fromLatin1(row.text)), QByteArray(row.symbol));
        EXPECT_EQ(ExtractPLCDeviceAddress(QByteArray(row.text), row.base), row.number);
        EXPECT_EQ(ExtractPLCDeviceAddress(QString::fromLatin1(row.text), row.base), row.number);
    }
}

TEST(AddressParsing, ANumberEndsWithTheTextNotAtAZeroByte)
{
    EXPECT_EQ(ExtractPLCDeviceAddress(QByteArray("DM1\0", 4), 10), 0);
}
