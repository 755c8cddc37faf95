#include "crc_in_c.h"
#include "drivers/crc.h"
#include "drivers/tools.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

namespace
{

using Update16 = unsigned short (*)(unsigned short, char);

/// The register after a text, whichever width the update function has.
template <typename Register>
Register crcOf(Register (*update)(Register, char), const std::string& text, Register start)
{
    for (const char c : text)
        start = update(start, c);
    return start;
}

quint32 mirrored(quint32 value, int bits)
{
    quint32 result = 0;
    for (int i = 0; i < bits; ++i)
        result |= (value >> i & 1) << (bits - 1 - i);
    return result;
}

enum class BitOrder { HighFirst, LowFirst };

/// Polynomial division a bit at a time, always towards the high end: the oracle of this file.
quint32 dividedBitwise(const std::string& text, quint32 start, quint32 polynomial, int width,
                       BitOrder order)
{
    const bool lowFirst = order == BitOrder::LowFirst;
    quint32 crc = lowFirst ? mirrored(start, width) : start;
    for (const char c : text) {
        const quint32 byte = static_cast<unsigned char>(c);
        for (int i = 7; i >= 0; --i) {
            const quint32 in = (lowFirst ? mirrored(byte, 8) : byte) >> i & 1;
            const bool divide = (crc >> (width - 1) & 1) != in;
            crc = (crc << 1 ^ (divide ? polynomial : 0)) & (0xFFFFFFFFu >> (32 - width));
        }
    }
    return lowFirst ? mirrored(crc, width) : crc;
}

} // namespace

TEST(Crc, CatalogueCheckValues)
{
    const struct {
        const char* name;
        Update16 update;
        unsigned short start, exclusiveOr, check;
    } rows[] = {
        {"XMODEM", update_crc_ccitt, 0, 0, 0x31C3},
        {"IBM-3740", update_crc_ccitt, 0xFFFF, 0, 0x29B1},
        {"SPI-FUJITSU", update_crc_ccitt, 0x1D0F, 0, 0xE5CC},
        {"ARC", update_crc_16, 0, 0, 0xBB3D},
        {"MODBUS", update_crc_16, 0xFFFF, 0, 0x4B37},
        {"KERMIT", update_crc_kermit, 0, 0, 0x2189},
        {"DNP", update_crc_dnp, 0, 0xFFFF, 0xEA82},
    };
    for (const auto& row : rows)
        EXPECT_EQ(crcOf(row.update, "123456789", row.start) ^ row.exclusiveOr, row.check)
            << row.name;
    EXPECT_EQ(crcOf(update_crc_32, "123456789", 0xFFFFFFFFul) ^ 0xFFFFFFFFul, 0xCBF43926ul);
    EXPECT_EQ(CRC16Calculate(reinterpret_cast<const unsigned char*>("123456789"), 9), 0xBB3D);
    EXPECT_EQ(CRC16Calculate(nullptr, 0), 0);
    EXPECT_EQ(CRC16Calculate(nullptr, -1), 0);
}

TEST(Crc, UsableFromC)
{
    EXPECT_EQ(crc32_in_c("123456789"), 0xCBF43926ul);
    EXPECT_EQ(modbus_crc_in_c("123456789"), 0x4B37);
    EXPECT_EQ(sick_crc_in_c("123456789"), 0xA656);
}

TEST(Crc, TableEntries)
{
    // From an empty register a byte brings exactly its table entry.
    const struct {
        unsigned long entry, wanted;
    } rows[] = {
        {update_crc_ccitt(0, 1), 0x1021},  {update_crc_ccitt(0, '\xFF'), 0x1EF0},
        {update_crc_16(0, 1), 0xC0C1},     {update_crc_16(0, '\xFF'), 0x4040},
        {update_crc_kermit(0, 1), 0x1189}, {update_crc_kermit(0, '\x80'), 0x8408},
        {update_crc_dnp(0, 1), 0x365E},    {update_crc_dnp(0, '\xFF'), 0x1235},
        {update_crc_32(0, 1), 0x77073096}, {update_crc_32(0, '\xFF'), 0x2D02EF8D},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.entry, row.wanted);
}

TEST(Crc, RandomBytesAgreeWithBitwiseDivision)
{
    const struct {
        const char* name;
        Update16 update;
        quint32 polynomial;
        BitOrder order;
    } rows[] = {
        {"ccitt", update_crc_ccitt, 0x1021, BitOrder::HighFirst},
        {"16", update_crc_16, 0x8005, BitOrder::LowFirst},
        {"kermit", update_crc_kermit, 0x1021, BitOrder::LowFirst},
        {"dnp", update_crc_dnp, 0x3D65, BitOrder::LowFirst},
    };
    std::mt19937 random(42);
    for (int round = 0; round < 200; ++round) {
        std::string text(random() % 20, '\0');
        for (char& c : text)
            c = static_cast<char>(random());
        const auto start = static_cast<quint32>(random());
        const auto start16 = static_cast<unsigned short>(start);
        for (const auto& row : rows)
            ASSERT_EQ(crcOf(row.update, text, start16),
                      dividedBitwise(text, start16, row.polynomial, 16, row.order))
                << row.name;
        ASSERT_EQ(crcOf(update_crc_32, text, static_cast<unsigned long>(start)),
                  dividedBitwise(text, start, 0x04C11DB7, 32, BitOrder::LowFirst));
    }
}

TEST(Crc, RegistersIgnoreWhatLiesAboveTheirWidth)
{
    // All zero where long has 32 bits, and then there is nothing to ignore.
    const unsigned long above = ~0ul ^ 0xFFFFFFFFul;
    EXPECT_EQ(update_crc_32(above | 0x12345678ul, '\x9A'), update_crc_32(0x12345678ul, '\x9A'));
    EXPECT_EQ(update_crc_32(~0ul, '\xFF') & above, 0u);
}

TEST(Crc, SickTakesBothBytesUnsigned)
{
    EXPECT_EQ(update_crc_sick(0, '\xFF', 0), 0x00FF);
    EXPECT_EQ(update_crc_sick(0, 0, '\xFF'), 0xFF00);
    EXPECT_EQ(update_crc_sick(0x4000, 0, 0), 0x8000);
    EXPECT_EQ(update_crc_sick(0x8001, 0, 0), 0x8007);
}
