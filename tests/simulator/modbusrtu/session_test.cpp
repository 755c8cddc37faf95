// Frames and the replies that they must get, with checks that another program worked out.
#include "simulator/modbusrtu/controller.h"
#include "simulator/modbusrtu/session.h"

#include <gtest/gtest.h>

namespace
{

using namespace simulator;

std::string bytesOf(const std::string& hex)
{
    std::string bytes;
    for (size_t i = 0; i < hex.size(); i += 2)
        bytes += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    return bytes;
}

std::string hexOf(const std::string& bytes)
{
    std::string hex;
    for (const char byte : bytes) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned char>(byte));
        hex += digits;
    }
    return hex;
}

class ModbusSession : public testing::Test
{
protected:
    /// The replies to all that is complete with these bytes.
    std::string replies(const std::string& hex)
    {
        received += bytesOf(hex);
        std::string all;
        while (const auto request = session.takeRequest(received))
            all += hexOf(session.answer(*request));
        return all;
    }

    modbusrtu::Controller controller;
    modbusrtu::Session session{controller.memory(), 1};
    std::string received;
};

struct Row {
    const char* name;
    const char* request;
    const char* reply;
};

TEST_F(ModbusSession, ReadsAndWrites)
{
    const Row rows[] = {
        {"FC16, HR100 and HR101", "011000640002040102ffff55f8", "0110006400020017"},
        {"FC03", "01030064000285d4", "0103040102ffff5bbf"},
        {"FC06, HR8", "01060008abcdb6ad", "01060008abcdb6ad"},
        {"FC03 of it", "01030008000105c8", "010302abcd06e1"},
        {"FC15, C3 to C12", "010f0003000a02cd02305a", "010f0003000a25cc"},
        {"FC01", "01010003000a4c0d", "010102cd026cad"},
        {"FC01 of C2 to C4", "010100020003ddcb", "01010102d049"},
        {"FC05, C7 on", "01050007ff003dfb", "01050007ff003dfb"},
        {"FC01 of it", "0101000700014c0b", "010101019048"},
        {"FC05, C7 off", "0105000700007c0b", "0105000700007c0b"},
        {"a broadcast of FC06 to HR9", "000600090005981a", ""},
        {"FC03 of it", "0103000900015408", "01030200057847"},
        {"the last register", "0103270f0001bebd", "0103020000b844"},
        {"the last coil", "0105270fff00b68d", "0105270fff00b68d"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(replies(row.request), row.reply) << row.name;
    EXPECT_EQ(controller.look("C3"), 1u);
    EXPECT_EQ(controller.look("C4"), 0u);
    EXPECT_EQ(controller.look("C7"), 0u);
    EXPECT_EQ(controller.look("C12"), 1u);
    EXPECT_EQ(controller.look("C13"), 0u);
    EXPECT_EQ(controller.look("HR101"), 65535u);
}

TEST_F(ModbusSession, RefusesWithAnException)
{
    const Row rows[] = {
        {"function 43", "012b0e01007077", "01ab019ef0"},
        {"function 7, the shortest frame", "010741e2", "0187018230"},
        {"function 43 as a broadcast", "002b41af", ""},
        {"no registers", "01030000000045ca", "0183030131"},
        {"126 registers", "01030000007ec5ea", "0183030131"},
        {"2001 coils", "0101000007d1fe66", "0181030051"},
        {"registers beyond the last", "0103270f0002febc", "018302c0f1"},
        {"fewer bytes than registers", "01100000000202000167d4", "0190030c01"},
        {"fewer bytes than coils", "010f0000000901ffef15", "018f030431"},
        {"no registers to write", "011000000000000950", "0190030c01"},
        {"writing beyond the last", "0110270f000204000000000c1e", "019002cdc1"},
        {"one register beyond", "010627100001437b", "018602c3a1"},
        {"one coil beyond", "01052710ff00874b", "018502c351"},
        {"a coil that is neither on nor off", "010500070001bdcb", "0185030291"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(replies(row.request), row.reply) << row.name;
}

TEST_F(ModbusSession, FindsFramesAmongBytes)
{
    const struct {
        const char* name;
        std::vector<const char*> portions;
        const char* replies; ///< to all of them
    } rows[] = {
        {"in pieces", {"01", "1000", "64000204", "0102ffff55", "f8"}, "0110006400020017"},
        {"two at once", {"01030009000154080103", "0008000105c8"}, "0103020000b8440103020000b844"},
        {"after one for station 2", {"020300640001c5e601030008000105c8"}, "0103020000b844"},
        {"damaged", {"01030008000105c9", "01030008000105c8"}, "0103020000b844"},
    };
    for (const auto& row : rows) {
        received.clear();
        std::string all;
        for (const char* portion : row.portions)
            all += replies(portion);
        EXPECT_EQ(all, row.replies) << row.name;
    }
    EXPECT_EQ(replies(hexOf(std::string(300, '\x55'))), "");
    EXPECT_EQ(replies("01030008000105c8"), "0103020000b844");
}

} // namespace
