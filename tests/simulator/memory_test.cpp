// Presets and looks at the memory, under the names that an operator panel uses.
#include "simulator/memory.h"

#include <gtest/gtest.h>

namespace
{

using simulator::Memory;

TEST(Memory, IsPresetByPanelNames)
{
    const struct {
        const char* assignment;
        const char* device;
        uint32_t value;
        const char* neighbour; ///< must still be 0
    } rows[] = {
        {"DM100=12", "dm00100", 12, "DM101"},
        {"dm100=0xFfFf", "DM100", 65535, "DM99"},
        {"DM0=1,2,3", "DM2", 3, "DM3"},
        {"R100=1", "R00100", 1, "MR100"},
        {"MR15=0,1", "MR100", 1, "MR15"},
        {"T5=10", "T5", 10, "TS5"},
        {"TS5=4294967295", "TS5", 4294967295, "T5"},
        {"CS5=20", "CS5", 20, "TS5"},
        {"PCTC1=30", "PCTC1", 30, "CTC1"},
        {"TM3=7", "TM3", 7, "T3"},
        {"CR7=1", "CR7", 1, "CR8"},
        {"AT0=0", "AT0", 0, "AT1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.assignment);
        Memory memory;
        std::string why;
        EXPECT_TRUE(memory.preset(row.assignment, why)) << why;
        EXPECT_EQ(memory.look(row.device), row.value);
        EXPECT_EQ(memory.look(row.neighbour), 0u);
    }
}

TEST(Memory, RefusesBadPresetsWhole)
{
    const struct {
        const char* assignment;
        const char* why;
    } rows[] = {
        {"DM0", "\"DM0\" is not of the form DEVICE=VALUE"},
        {"", "\"\" is not of the form DEVICE=VALUE"},
        {"QQ0=1", "there is no device \"QQ0\""},
        {"DM70000=1", "there is no device \"DM70000\""},
        {"100=1", "there is no device \"100\""},
        {"MR16=1", "there is no device \"MR16\""},
        {"DM0=5,65536", "\"65536\" is not a value from 0 to 65535"},
        {"DM0=5,", "\"\" is not a value from 0 to 65535"},
        {"DM0=5,-1", "\"-1\" is not a value from 0 to 65535"},
        {"DM0=5,0x", "\"0x\" is not a value from 0 to 65535"},
        {"MR0=2", "\"2\" is not a value from 0 to 1"},
        {"DM65534=5,6", "\"DM65534=5,6\" goes beyond DM65534"},
        {"MR99915=1,1", "\"MR99915=1,1\" goes beyond MR99915"},
        {"B3FFF=1,1", "\"B3FFF=1,1\" goes beyond B3FFF"},
        {"Z12=1,1", "\"Z12=1,1\" goes beyond Z12"},
    };
    Memory memory;
    for (const auto& row : rows) {
        std::string why;
        EXPECT_FALSE(memory.preset(row.assignment, why)) << row.assignment;
        EXPECT_EQ(why, row.why);
    }
    EXPECT_EQ(memory.look("DM0"), 0u);
    EXPECT_EQ(memory.look("DM65534"), 0u);
    EXPECT_EQ(memory.look("QQ0"), std::nullopt);
    EXPECT_EQ(memory.lookState("QQ0"), std::nullopt);
}

TEST(Memory, HasDemoValuesOnlyWhenAsked)
{
    Memory memory;
    EXPECT_EQ(memory.look("DM0"), 0u);
    memory.presetDemo();
    std::string why;
    for (const char* assignment : simulator::demoPresets())
        EXPECT_TRUE(memory.preset(assignment, why)) << why;
    EXPECT_EQ(memory.look("DM0"), 10u);
    EXPECT_EQ(memory.look("TS5"), 100u);
}

} // namespace
