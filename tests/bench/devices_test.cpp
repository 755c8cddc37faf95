// What a person types for devices, and what is said of what can't be one.
#include "tests/bench/areas.h"

#include "bench/devices.h"

using namespace bench;

namespace
{

/// Names and types of a run as "DM0:uint DM1:uint".
std::string listOf(const std::vector<TypedDevice>& devices)
{
    std::string list;
    for (const TypedDevice& device : devices)
        list += (list.empty() ? "" : " ") + device.name + ":" + nameOf(device.type);
    return list;
}

TEST(Devices, AreTypedAndCounted)
{
    const struct {
        const char* text;
        int count;
        const char* defaultType;
        const char* devices;
    } rows[] = {
        {"DM100", 2, "", "DM100:uint DM101:uint"},
        {"dm007:DINT", 2, "", "DM007:dint DM009:dint"},
        {"DM8", 1, "real", "DM8:real"},
        {"DM8:int", 1, "real", "DM8:int"},
        {"DM30:string5", 2, "", "DM30:string5 DM33:string5"},
        {"DM1:byte", 3, "", "DM1:byte DM1[1]:byte DM2:byte"},
        {"MR514", 3, "", "MR514:bool MR515:bool MR600:bool"},
        {"T5", 2, "", "T5:udint T6:udint"},
        {"T5:bool", 2, "", "T5:bool T6:bool"},
        {"T5:int", 2, "", "T5:int T6:int"},
        {"CTC1:bool", 1, "", "CTC1:bool"},
        {"1:DM100:int", 2, "", "1:DM100:int 1:DM101:int"},
        {"9:DM100", 1, "", "9:DM100:uint"},
        {"DM8..DM10", 1, "", "DM8:uint DM9:uint DM10:uint"},
        {"DM8..11:dint", 1, "", "DM8:dint DM10:dint"},
        {"MR015..MR100", 1, "", "MR015:bool MR100:bool"},
        {"2:DM1..2:DM2", 1, "", "2:DM1:uint 2:DM2:uint"},
    };
    const Devices devices(tests::areas());
    for (const auto& row : rows) {
        const auto type = typeFromText(row.defaultType);
        EXPECT_EQ(listOf(devices.parseRun(row.text, row.count, type)), row.devices) << row.text;
    }
}

TEST(Devices, AreRefusedWithAdvice)
{
    const struct {
        const char* text;
        int count;
        const char* refusal; ///< how it begins
    } rows[] = {
        {"", 1, "'' is not a device. A device is an area and a number, such as DM0."},
        {"DM", 1, "'DM' has no number. Type DM0, for example."},
        {"T", 1, "'T' has no number. Type T1, for example."},
        {"100", 1, "'100' is not a device"},
        {"DM1x", 1, "'DM1x' is not a device"},
        {"DM-1", 1, "'DM-1' is not a device"},
        {"CT5", 1, "there is no area 'CT'. Did you mean T? There are DM, MR, T, CTC."},
        {"X5", 1, "there is no area 'X'. There are DM, MR, T, CTC."},
        {"DM5:unit", 1, "there is no type 'unit'. Did you mean uint? Types are bool, "},
        {"DM5:", 1, "there is no type ''"},
        {"MR500:uint", 1, "MR500 can't be used as uint; it holds a single bit. Type MR500:bool."},
        {"DM5:bool", 1,
         "DM5 can't be used as bool; it holds 16 bits. Type DM5:uint, or another of int, udint, "
         "dint, real."},
        {"MR516", 1,
         "there is no MR516. The last two digits of a number in MR are a bit, 00 to 15"},
        {"DM100000", 1, "there is no DM100000. Numbers have at most 5 digits."},
        {"DM99999:dint", 1, "there is no DM100000"},
        {"T0", 1, "there is no T0. Numbers go from 1 to 400."},
        {"T399", 3, "there is no T401"},
        {"10:DM1", 1, "there is no station 10. Stations are 1 to 9."},
        {"DM1..", 1, "'DM1..' is half a range; write DM1..LAST"},
        {"DM1..MR5", 1, "'DM1..MR5' leaves its area"},
        {"DM1..2:DM5", 1, "'DM1..2:DM5' leaves its area"},
        {"DM5..DM4", 1, "'DM5..DM4' runs backwards"},
        {"DM1..DM3:dint", 1, "DM1..DM3 are 3 devices, and a dint takes 2"},
        {"DM1..DM3", 2, "'DM1..DM3' is a range and needs no count"},
        {"DM1", 0, "0 values are too many or too few"},
    };
    const Devices devices(tests::areas());
    for (const auto& row : rows) {
        const auto said = tests::refusal([&] { devices.parseRun(row.text, row.count); });
        EXPECT_EQ(said.substr(0, std::string(row.refusal).size()), row.refusal) << row.text;
    }
    EXPECT_NE(tests::refusal([&] { devices.parse("DM1..DM3"); }), "");

    QString error;
    const auto readOnly =
        tests::describe(R"({"protocol": "none", "devices": [{"letters": "W", "name": "state",
        "numbers": "decimal", "holds": "word", "type": "uint", "read": ["word"], "write": []}]})",
                        &error);
    ASSERT_TRUE(readOnly) << qPrintable(error);
    EXPECT_STREQ(notServed(Devices(*readOnly).parse("W5"), Direction::Write).what(),
                 "W5 can't be written");
}

TEST(Devices, NeedTypesWhereThereAreNoAreas)
{
    const Devices devices(tests::noAreas());
    EXPECT_EQ(listOf(devices.parseRun("2:X5:uint", 2)), "2:X5:uint 2:X5[1]:uint");
    EXPECT_EQ(listOf({devices.parse("2:X5", typeNamed("real"))}), "2:X5:real");
    EXPECT_EQ(tests::refusal([&] { devices.parse("2:X5"); }),
              "'2:X5' has no type. This driver does not describe its devices. Type 2:X5:uint, for "
              "example.");
    EXPECT_NE(tests::refusal([&] { devices.parseRun("X1..X5:uint"); }), "");
    EXPECT_STREQ(notServed(devices.parse("X5:bool"), Direction::Write).what(),
                 "X5 can't be written as bool");
}

} // namespace
