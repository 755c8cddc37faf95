#include "crc_in_c.h"
#include "drivers/crc.h"
#include "drivers/tools.h"

#include <gtest/gtest.h>
#include <string>

TEST(Crc, CatalogueCheckValues)
{
    const struct {
        const char* name;
        unsigned short (*update)(unsigned short, char);
        unsigned short start, exclusiveOr, check;
    } rows[] = {
        {"XMODEM", update_crc_ccitt, 0, 0, 0x31C3},
        {"IBM-3740", update_crc_ccitt, 0xFFFF, 0, 0x29B1},
        {"ARC", update_crc_16, 0, 0, 0xBB3D},
        {"MODBUS", update_crc_16, 0xFFFF, 0, 0x4B37},
        {"KERMIT", update_crc_kermit, 0, 0, 0x2189},
        {"DNP", update_crc_dnp, 0, 0xFFFF, 0xEA82},
    };
    for (const auto& row : rows) {
        unsigned short crc = row.start;
        for (const char c : std::string("123456789"))
            crc = row.update(crc, c);
        EXPECT_EQ(crc ^ row.exclusiveOr, row.check) << row.name;
    }
    EXPECT_EQ(CRC16Calculate(reinterpret_cast<const unsigned char*>("123456789"), 9), 0xBB3D);
    EXPECT_EQ(CRC16Calculate(nullptr, -1), 0);
}

TEST(Crc, UsableFromC)
{
    EXPECT_EQ(crc32_in_c("123456789"), 0xCBF43926ul);
    EXPECT_EQ(sick_crc_in_c("123456789"), 0xA656);
}

TEST(Crc, SingleSteps)
{
    // From an empty register a byte brings its table entry. A long may have more than 32 bits.
    const struct {
        unsigned long crc, wanted;
    } rows[] = {
        {update_crc_ccitt(0, 1), 0x1021},        {update_crc_16(0, 1), 0xC0C1},
        {update_crc_kermit(0, 1), 0x1189},       {update_crc_dnp(0, 1), 0x365E},
        {update_crc_32(0, 1), 0x77073096},       {update_crc_32(~0xFFFFFFFFul, 1), 0x77073096},
        {update_crc_sick(0, '\xFF', 0), 0x00FF}, {update_crc_sick(0, 0, '\xFF'), 0xFF00},
        {update_crc_sick(0x8001, 0, 0), 0x8007},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.crc, row.wanted);
}
