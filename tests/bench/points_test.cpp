// Scales and limits of points, and the names by which people reach them.
#include "tests/bench/areas.h"

#include "bench/points.h"

#include <nlohmann/json.hpp>

#include <limits>

using namespace bench;

namespace
{

Point point(const char* device, double factor, double offset, std::optional<int> decimals = {})
{
    Point point = pointOf(Devices(tests::areas()).parse(device));
    point.scale = {factor, offset};
    point.decimals = decimals;
    return point;
}

TEST(Points, AreShownScaled)
{
    const struct {
        Point point;
        const char* raw;
        Notation notation;
        const char* text;
        const char* json;
    } rows[] = {
        {point("DM1:int", 0.1, 0, 1), "213", Notation::Natural, "21.3", "21.3"},
        {point("DM1:int", 0.1, -40, 2), "213", Notation::Natural, "-18.70", "-18.7"},
        {point("DM1:int", 0.1, 0, 1), "213", Notation::Hexadecimal, "0x00D5", "\"0x00D5\""},
        {point("DM1:real", 2, 0), "0.1", Notation::Natural, "0.2", "0.2"},
        {point("DM1:real", 1, 0, 1), "0.25", Notation::Natural, "0.2", "0.2"},
        {point("DM1:real", 1, 0), "0.1", Notation::Hexadecimal, "0.1", "0.1"},
        {point("DM1:real", 1, 0), "0.1", Notation::Natural, "0.1", "0.1"},
        {point("DM1:real", 2, 0), "3e38", Notation::Natural, "6e+38", "6e+38"},
        {point("DM1", 1, 0), "65535", Notation::Signed, "-1", "-1"},
        {point("DM1", 1, 0), "65535", Notation::Hexadecimal, "0xFFFF", "\"0xFFFF\""},
        {point("MR1", 1, 0), "1", Notation::Hexadecimal, "1", "1"},
        {point("DM1:string4", 1, 0), "AB", Notation::Natural, "AB", "\"AB\""},
    };
    for (const auto& row : rows) {
        const Value value = parseValue(row.raw, row.point.device.type);
        EXPECT_EQ(textOf(row.point, value, row.notation), row.text);
        EXPECT_EQ(jsonOf(row.point, value, row.notation).dump(), row.json) << row.text;
    }
    const float infinite = std::numeric_limits<float>::infinity();
    EXPECT_EQ(jsonOf(point("DM1:real", 2, 0), infinite, Notation::Natural).dump(), "\"inf\"");
}

TEST(Points, AreWrittenWithinTheirLimits)
{
    const struct {
        const char* device;
        double factor;
        const char* typed;
        const char* outcome; ///< what the controller will hold, or how the refusal begins
    } rows[] = {
        {"DM1:int", 0.1, "21.3", "213"},
        {"DM1:int", 0.1, "21.34", "213"},
        {"DM1:int", 0.1, "-5", "-50"},
        {"DM1:int", 0.1, "80.5", "805"},
        {"DM1:int", 0.1, "80.51", "p: 80.51 is above its maximum, 80.5 bar"},
        {"DM1:int", 0.1, "-5.1", "p: -5.1 is below its minimum, -5 bar"},
        {"DM1:int", 1, "0xFFFB", "-5"},
        {"DM1:int", 1, "81", "p: 81 is above its maximum"},
        {"DM1:int", 2, "80.5", "40"},
        {"DM1:int", 3, "80.2", "p: 80.2 (rounded to 81) is above its maximum"},
        {"DM1:int", 0.2, "80.5", "p: 80.5 (rounded to 80.6) is above its maximum, 80.5 bar"},
        {"DM1:int", 0.0001, "80", "p: 80 does not fit int with a factor of 0.0001"},
        {"DM1:int", 0.1, "21,3", "p: '21,3' is not a number; write 21.5 or -5"},
        {"DM1:uint", 1, "-5", "p: '-5' does not fit uint: 0 to 65535"},
        {"DM1:real", 1, "80.5", "80.5"},
        {"DM1:real", 0.1, "80.5", "805"},
        {"DM1:string4", 1, "AB", "AB"},
        {"CTC1", 1, "5", "CTC1 can't be written as udint"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.device) + " " + row.typed);
        Point written = point(row.device, row.factor, 0, 0);
        written.name = "p";
        written.unit = "bar";
        written.min = -5;
        written.max = 80.5;
        std::string outcome;
        outcome += tests::refusal(
            [&] { outcome += textOf(valueToWrite(written, row.typed), written.device.type); });
        EXPECT_EQ(outcome.substr(0, std::string(row.outcome).size()), row.outcome);
        written.writable = false;
        EXPECT_NE(tests::refusal([&] { valueToWrite(written, row.typed); }), "");
    }
}

TEST(Points, AreReachedByNames)
{
    std::vector<Point> tags;
    for (const char* name : {"boiler.temp", "boiler.set", "pump"}) {
        tags.push_back(point("DM1", 1, 0));
        tags.back().name = name;
    }
    const struct {
        const char* text;
        int count;
        const char* outcome; ///< names, or a part of the refusal
    } rows[] = {
        {"pump", 1, "pump "},
        {"boiler.*", 1, "boiler.temp boiler.set "},
        {"*.?e*", 1, "boiler.temp boiler.set "},
        {"*p", 1, "boiler.temp pump "},
        {"DM1", 2, "DM1 DM2 "},
        {"p*x", 1, "no tag matches 'p*x'. There are pump, "},
        {"boiler.tmep", 1, "there is no tag 'boiler.tmep'. Did you mean boiler.temp?"},
        {"XM5", 1,
         "there is no area 'XM', and there is no tag 'XM5'. Did you mean DM? There are DM, "},
        {"boiler.temp:int", 1,
         "'boiler.temp' is a tag and has a type of its own. Type boiler.temp."},
        {"pump", 2, "'pump' is a tag and takes no count"},
    };
    for (const auto& row : rows) {
        std::string outcome;
        outcome += tests::refusal([&] {
            const Devices devices(tests::areas());
            for (const Point& found : resolve(row.text, {tags, devices}, row.count))
                outcome += found.name + " ";
        });
        EXPECT_EQ(outcome.substr(0, std::string(row.outcome).size()), row.outcome);
    }
}

} // namespace
