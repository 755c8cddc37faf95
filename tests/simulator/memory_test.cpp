// Presets and looks at the memory, under the names that an operator panel uses.
#include "simulator/memory.h"

#include <gtest/gtest.h>

namespace
{

using simulator::Memory;

TEST(Memory, IsPresetByPanelNamesWhollyOrNotAtAll)
{
    const struct {
        const char* assignment;
        const char* device; ///< where to look afterwards
        uint32_t value;
        const char* why; ///< of a refusal
    } rows[] = {
        {"dm100=0xFfFf", "DM00100", 65535, ""},
        {"MR15=0,1", "MR100", 1, ""},
        {"R100=1", "MR100", 0, ""},
        {"TS5=4294967295", "TS5", 4294967295, ""},
        {"TS5=7", "T5", 0, ""},
        {"PCTC1=30", "CTC1", 0, ""},
        {"DM0", "DM0", 0, "\"DM0\" is not of the form DEVICE=VALUE"},
        {"MR16=1", "MR100", 0, "there is no device \"MR16\""},
        {"DM0=5,65536", "DM0", 0, "\"65536\" is not a value from 0 to 65535"},
        {"DM0=5,", "DM0", 0, "\"\" is not a value from 0 to 65535"},
        {"MR0=2", "MR0", 0, "\"2\" is not a value from 0 to 1"},
        {"Z12=1,1", "Z12", 0, "\"Z12=1,1\" goes beyond Z12"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.assignment);
        Memory memory;
        std::string why;
        EXPECT_EQ(memory.preset(row.assignment, why), *row.why == '\0');
        EXPECT_EQ(why, row.why);
        EXPECT_EQ(memory.look(row.device), row.value);
    }
}

} // namespace
