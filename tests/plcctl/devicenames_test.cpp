// Names behind the first device: known ones for the driver whose areas are known, honest ones else.
#include "plcctl/devicenames.h"

#include <gtest/gtest.h>

namespace
{

using plcctl::RunNames;

const plcctl::Unit word = {"word", DataWord, 16, 2};
const plcctl::Unit bit = {"bit", DataBit, 1, 1};

TEST(RunNames, CountOnlyWhereTheCountingIsKnown)
{
    const std::string known = "KEYENCE KV-1000";
    EXPECT_EQ(RunNames(known, "DM9", word).at(1), "DM10");
    EXPECT_EQ(RunNames(known, "CR215", bit).at(17), "CR400");
    EXPECT_EQ(RunNames("Some other driver", "DM9", word).at(1), "DM9[1]");
    EXPECT_EQ(RunNames("Some other driver", "DM9", word).at(0), "DM9");
    for (const char* odd : {"", "DM", "9", "XY9", "DM9x", "DM123456789012"})
        EXPECT_EQ(RunNames(known, odd, word).at(1), std::string(odd) + "[1]");
}

} // namespace
