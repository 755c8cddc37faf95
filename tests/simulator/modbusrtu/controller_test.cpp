// Frames and the replies that they must get, with checks that another program worked out.
#include "simulator/modbusrtu/controller.h"

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

class ModbusController : public testing::Test
{
protected:
    /// The replies to all that is complete with these bytes.
    std::string replies(const std::string& hex)
    {
        received += bytesOf(hex);
        std::string all;
        while (const auto request = session->takeRequest(received))
            all += hexOf(session->answer(*request));
        return all;
    }

    modbusrtu::Controller controller;
    const std::unique_ptr<Session> session = controller.newSession();
    std::string received;
};

struct Row {
    const char* name;
    const char* request;
    const char* reply;
};

TEST_F(ModbusController, ReadsAndWrites)
{
    const Row rows[] = {
        {"FC16, HR100 and HR101", "011000640002040102ffff55f8", "0110006400020017"},
        {"FC03", "01030064000285d4", "0103040102ffff5bbf"},
        {"FC15, C3 to C12", "010f0003000a02cd02305a", "010f0003000a25cc"},
        {"FC01", "01010003000a4c0d", "010102cd026cad"},
        {"FC01 of C2 to C4", "010100020003ddcb", "01010102d049"},
        {"the last register", "0103270f0001bebd", "0103020000b844"},
        {"the last coil", "0101270f0001c77d", "010101005188"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(replies(row.request), row.reply) << row.name;
    EXPECT_EQ(controller.look("C3"), 1u);
    EXPECT_EQ(controller.look("C4"), 0u);
    EXPECT_EQ(controller.look("C12"), 1u);
    EXPECT_EQ(controller.look("C13"), 0u);
    EXPECT_EQ(controller.look("HR101"), 65535u);
}

TEST_F(ModbusController, RefusesWithAnException)
{
    const Row rows[] = {
        {"function 6", "01060008abcdb6ad", "01860183a0"},
        {"no registers", "01030000000045ca", "0183030131"},
        {"126 registers", "01030000007ec5ea", "0183030131"},
        {"2001 coils", "0101000007d1fe66", "0181030051"},
        {"registers beyond the last", "0103270f0002febc", "018302c0f1"},
        {"fewer bytes than registers", "01100000000202000167d4", "0190030c01"},
        {"fewer bytes than coils", "010f0000000901ffef15", "018f030431"},
        {"no registers to write", "011000000000000950", "0190030c01"},
        {"writing beyond the last", "0110270f000204000000000c1e", "019002cdc1"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(replies(row.request), row.reply) << row.name;
}

TEST_F(ModbusController, FindsFramesAmongBytes)
{
    const struct {
        const char* name;
        std::vector<const char*> portions;
        const char* replies; ///< to all of them
    } rows[] = {
        {"in pieces", {"01", "1000", "64000204", "0102ffff55", "f8"}, "0110006400020017"},
        {"two at once", {"01030009000154080103", "0008000105c8"}, "0103020000b8440103020000b844"},
        {"after a broadcast and one for station 2",
         {"0010006400010200016224", "020300640001c5e601030008000105c8"},
         "0103020000b844"},
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
