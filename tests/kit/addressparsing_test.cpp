#include "bytes.h"
#include "drivers/tools.h"

#include <gtest/gtest.h>
#include <string>

TEST(AddressParsing, SplitsDeviceTexts)
{
    const struct {
        const char *meaning, *text;
        int base;
        const char* symbol;
        int number;
    } rows[] = {
        {"symbol and number", "MR500", 10, "MR", 500},
        {"leading zeros belong to the number", "MR00015", 10, "MR", 15},
        {"lower case keeps its case", "ctc3", 10, "ctc", 3},
        {"number only", "00100", 10, "", 100},
        {"symbol only", "DM", 10, "DM", 0},
        {"empty", "", 10, "", 0},
        {"empty, base 16", "", 16, "", 0},
        {"empty, base 8", "", 8, "", 0},
        {"underscore is part of the symbol", "AB_C12", 10, "AB_C", 12},
        {"symbol must come first", "12AB", 10, "", 0},
        {"letter behind the number", "DM100A", 10, "DM", 0},
        {"a sign between symbol and number is skipped", "DM-5", 10, "DM", 5},
        {"largest int", "T2147483647", 10, "T", 2147483647},
        {"beyond int", "T2147483648", 10, "T", 0},
        {"octal", "X17", 8, "X", 15},
        {"octal with a digit of 8", "X18", 8, "X", 0},
        {"no octal digit at all", "X8", 8, "X", 0},
        {"hexadecimal, symbol without hex letters", "H1F", 16, "H", 31},
        {"hexadecimal, lower case", "yf1", 16, "yf", 0xF1},
        {"hexadecimal, D of the symbol taken as digit", "DM1F", 16, "DM", 0},
        {"hexadecimal, symbol of hex letters only", "B10", 16, "B", 0xB10},
        {"base 2", "X1", 2, "X", -1},
        {"base 0", "X1", 0, "X", -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.meaning);
        const QByteArray text(row.text);
        EXPECT_EQ(ExtractPrefixSymbol(text), QByteArray(row.symbol));
        EXPECT_EQ(ExtractPrefixSymbol(QString::fromLatin1(text)), QByteArray(row.symbol));
        EXPECT_EQ(ExtractPLCDeviceAddress(text, row.base), row.number);
        EXPECT_EQ(ExtractPLCDeviceAddress(QString::fromLatin1(text), row.base), row.number);
    }
}

TEST(AddressParsing, BytesAbove7FAreNoLetters)
{
    EXPECT_EQ(ExtractPrefixSymbol(bytes("44 C4 31")), QByteArray("D"));
    EXPECT_EQ(ExtractPLCDeviceAddress(bytes("44 C4 31"), 10), 1);
}

TEST(RotateArray, ExchangesTwoBlocks)
{
    const struct {
        const char* before;
        int start, m, k;
        const char* after;
    } rows[] = {
        {"12345", 0, 2, 3, "34512"},  {"TS0012", 1, 1, 4, "T0012S"}, {"12345", 0, 4, 1, "51234"},
        {"12345", 0, 0, 5, "12345"},  {"12345", 0, 5, 0, "12345"},   {"12345", 0, -1, 3, "12345"},
        {"12345", 0, 3, -1, "12345"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.before << " m " << row.m << " k " << row.k);
        std::string characters = row.before;
        RotateArray(&characters[row.start], row.m, row.k);
        EXPECT_EQ(characters, row.after);
        QByteArray array(row.before);
        RotateArray(reinterpret_cast<unsigned char*>(array.data()) + row.start, row.m, row.k);
        EXPECT_EQ(array, QByteArray(row.after));
    }
}
