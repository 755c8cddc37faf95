// Presets, movements and looks at the values of controllers, under the names that a panel uses.
#include "simulator/kv1000/controller.h"
#include "simulator/modbusrtu/controller.h"

#include <gtest/gtest.h>

namespace
{

using namespace simulator;

template <typename Controller>
std::unique_ptr<simulator::Controller> make()
{
    return std::make_unique<Controller>();
}

const auto kv = make<kv1000::Controller>;
const auto modbus = make<modbusrtu::Controller>;

TEST(Controller, IsPresetByPanelNamesWhollyOrNotAtAll)
{
    const struct {
        std::unique_ptr<simulator::Controller> (*make)();
        const char* assignment;
        const char* device; ///< where to look afterwards
        std::optional<uint32_t> value;
        const char* why; ///< of a refusal
    } rows[] = {
        {kv, "dm100=0xFfFf", "DM00100", 65535, ""},
        {kv, "MR15=0,1", "MR100", 1, ""},
        {kv, "R100=1", "MR100", 0, ""},
        {kv, "TS5=4294967295", "TS5", 4294967295, ""},
        {kv, "TS5=7", "T5", 0, ""},
        {kv, "PCTC1=30", "CTC1", 0, ""},
        {kv, "DM65533=1,2", "DM65534", 2, ""},
        {kv, "DM65534=1", "EM0", 0, ""},
        {kv, "DM0", "DM0", 0, "\"DM0\" is not of the form DEVICE=VALUE"},
        {kv, "MR16=1", "MR16", {}, "there is no device \"MR16\""},
        {kv, "DM65535=1", "DM65535", {}, "there is no device \"DM65535\""},
        {kv, "DM0=5,65536", "DM0", 0, "DM0: \"65536\" is not a value from 0 to 65535"},
        {kv, "DM0=5,", "DM0", 0, "DM0: \"\" is not a value from 0 to 65535"},
        {kv, "MR0=2", "MR0", 0, "MR0: \"2\" is not a value from 0 to 1"},
        {kv, "Z12=1,1", "Z12", 0, "\"Z12=1,1\" goes beyond Z12"},
        {modbus, "hr9998=7,65535", "HR9999", 65535, ""},
        {modbus, "C5=1", "HR5", 0, ""},
        {modbus, "C5=2", "C5", 0, "C5: \"2\" is not a value from 0 to 1"},
        {modbus, "C9999=1,1", "C9999", 0, "\"C9999=1,1\" goes beyond C9999"},
        {modbus, "HR10000=1", "HR10000", {}, "there is no device \"HR10000\""},
        {modbus, "DM0=1", "DM0", {}, "there is no device \"DM0\""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.assignment);
        const auto controller = row.make();
        std::string why;
        EXPECT_EQ(controller->preset(row.assignment, why), *row.why == '\0');
        EXPECT_EQ(why, row.why);
        EXPECT_EQ(controller->look(row.device), row.value);
    }
}

TEST(Controller, MovesADeviceFromTheFirstRequestUntilItIsWritten)
{
    kv1000::Controller controller;
    std::string why;
    EXPECT_FALSE(controller.move("DM7", why));
    EXPECT_EQ(why, "\"DM7\" is not of the form DEVICE=KIND:FIRST..LAST/PERIOD");
    for (const char* neighbour : {"DM6=counter/1s", "DM9=counter/1s", "EM7=counter/1s"})
        EXPECT_TRUE(controller.move(neighbour, why)) << why;
    EXPECT_TRUE(controller.move("DM7=counter:50..59/1s", why)) << why;
    EXPECT_EQ(controller.look("DM7"), 50u);
    Memory& memory = controller.memory();
    memory.advanceTo(100000);
    EXPECT_EQ(controller.look("DM7"), 50u);
    memory.advanceTo(103000);
    EXPECT_EQ(controller.look("DM7"), 53u);
    EXPECT_TRUE(controller.preset("DM7=5,6", why));
    memory.advanceTo(104000);
    for (const char* neighbour : {"DM6", "DM9", "EM7"})
        EXPECT_EQ(controller.look(neighbour), 4u) << neighbour;
    EXPECT_EQ(controller.look("DM7"), 5u);
    EXPECT_EQ(controller.look("DM8"), 6u);
}

TEST(Controller, HasDemoValuesOfWhichSomeMove)
{
    const struct {
        std::unique_ptr<simulator::Controller> (*make)();
        const char* still;
        std::vector<const char*> moving;
    } rows[] = {
        {kv, "DM9", {"DM100", "DM101", "MR500", "T5", "C0"}},
        {modbus, "HR9", {"HR100", "HR101", "HR102", "C5"}},
    };
    for (const auto& row : rows) {
        const auto controller = row.make();
        controller->presetDemo();
        controller->memory().advanceTo(0);
        std::vector<std::optional<uint32_t>> before;
        for (const char* device : row.moving)
            before.push_back(controller->look(device));
        controller->memory().advanceTo(3000);
        EXPECT_EQ(controller->look(row.still), 100u);
        for (size_t i = 0; i < row.moving.size(); ++i)
            EXPECT_NE(controller->look(row.moving[i]), before[i]) << row.moving[i];
    }
}

} // namespace
