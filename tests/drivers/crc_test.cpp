#include "drivers/crc.h"
#include "drivers/tools.h"
#include "support/bytes.h"

#include <functional>
#include <gtest/gtest.h>

extern "C" unsigned long crc32_in_c(const char* text, int length);

namespace
{

const QByteArray CheckText = "123456789";

enum Direction { TowardsLowBit, TowardsHighBit };

struct Crc {
    const char* name;
    std::function<unsigned long(unsigned long, char)> update;
    std::function<unsigned long(unsigned long, const void*, int)> updateBlock;
    unsigned long start, exclusiveOr, check;
    Direction direction;
    unsigned long constant; ///< what a bit that leaves the register does to it
};

unsigned long byteByByte(const Crc& crc, const QByteArray& bytes)
{
    unsigned long state = crc.start;
    for (const char c : bytes)
        state = crc.update(state, c);
    return state;
}

/// The same by the rule that the tables stand for.
unsigned long bitByBit(const Crc& crc, const QByteArray& bytes)
{
    unsigned long state = crc.start;
    for (const char c : bytes) {
        const unsigned long byte = static_cast<unsigned char>(c);
        state ^= crc.direction == TowardsLowBit ? byte : byte << 8;
        for (int bit = 0; bit < 8; ++bit) {
            if (crc.direction == TowardsLowBit)
                state = state >> 1 ^ (state & 1 ? crc.constant : 0);
            else
                state = (state << 1 ^ (state & 0x8000 ? crc.constant : 0)) & 0xFFFF;
        }
    }
    return state;
}

void checkByteAndBlock(const Crc& crc, const QByteArray& bytes)
{
    const unsigned long wanted = bitByBit(crc, bytes);
    ASSERT_EQ(byteByByte(crc, bytes), wanted) << bytes.toHex().constData();
    ASSERT_EQ(crc.updateBlock(crc.start, bytes.constData(), bytes.size()), wanted)
        << bytes.toHex().constData();
}

} // namespace

TEST(Crc, BytesAndBlocksFollowTheRule)
{
    const Crc rows[] = {
        {"XMODEM", update_crc_ccitt, update_crc_ccitt_block, 0, 0, 0x31C3, TowardsHighBit, 0x1021},
        {"SPI-FUJITSU", update_crc_ccitt, update_crc_ccitt_block, 0x1D0F, 0, 0xE5CC, TowardsHighBit,
         0x1021},
        {"ARC", update_crc_16, update_crc_16_block, 0, 0, 0xBB3D, TowardsLowBit, 0xA001},
        {"MODBUS", update_crc_16, update_crc_16_block, 0xFFFF, 0, 0x4B37, TowardsLowBit, 0xA001},
        {"KERMIT", update_crc_kermit, update_crc_kermit_block, 0, 0, 0x2189, TowardsLowBit, 0x8408},
        {"DNP", update_crc_dnp, update_crc_dnp_block, 0, 0xFFFF, 0xEA82, TowardsLowBit, 0xA6BC},
        {"ISO-HDLC", update_crc_32, update_crc_32_block, 0xFFFFFFFF, 0xFFFFFFFF, 0xCBF43926,
         TowardsLowBit, 0xEDB88320},
    };
    QByteArray everyByte;
    for (int i = 0; i < 256; ++i)
        everyByte += static_cast<char>(i * 167); // 167 is odd, so that each comes once
    for (const Crc& crc : rows) {
        SCOPED_TRACE(crc.name);
        EXPECT_EQ(byteByByte(crc, CheckText) ^ crc.exclusiveOr, crc.check);
        EXPECT_EQ(crc.updateBlock(crc.start, CheckText, -1), crc.start);
        for (const char c : everyByte)
            checkByteAndBlock(crc, QByteArray(1, c));
        for (int length = 0; length < 24; ++length)
            checkByteAndBlock(crc, everyByte.mid(length, length));
        checkByteAndBlock(crc, everyByte);
    }
    EXPECT_EQ(CRC16Calculate(unsignedBytes(CheckText), 9), 0xBB3D);
    EXPECT_EQ(CRC16Calculate(nullptr, -1), 0);
    EXPECT_EQ(crc32_in_c(CheckText, 9) ^ 0xFFFFFFFF, 0xCBF43926);
}

TEST(Crc, Sick)
{
    EXPECT_EQ(update_crc_sick(0, '\xFF', 0), 0x00FF);
    EXPECT_EQ(update_crc_sick(0, 0, '\xFF'), 0xFF00);
    EXPECT_EQ(update_crc_sick(0x8001, 0, 0), 0x8007);
    const unsigned short half = update_crc_sick_block(0, "1234", 4, 0);
    EXPECT_EQ(update_crc_sick_block(half, "56789", 5, '4'), 0xA656);
    EXPECT_EQ(update_crc_sick_block(0, "\xFF\xFF", 2, '\xFF'), 0x8004);
}

TEST(Crc, LongMayHaveMoreThan32Bits)
{
    EXPECT_EQ(update_crc_32(~0xFFFFFFFFul, 1), 0x77073096ul);
    EXPECT_EQ(update_crc_32_block(~0xFFFFFFFFul, "\1", 1), 0x77073096ul);
}
