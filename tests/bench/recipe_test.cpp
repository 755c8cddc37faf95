// Recipes: pairs of devices and values as a person writes them down.
#include "tests/bench/areas.h"

#include "bench/recipe.h"

using namespace bench;

namespace
{

TEST(Recipe, IsTakenFromText)
{
    const struct {
        const char* text;
        const char* outcome; ///< device, value and line of each pair, or how the refusal begins
    } rows[] = {
        {"DM1 5\n\n# DM2 6\nMR1=1 # on\n", "DM1 5 1; MR1 1 4; "},
        {" DM1\t=\t5\r\n", "DM1 5 1; "},
        {"DM1:string6 a#b # c", "DM1 a#b 1; "},
        {R"(DM1:string8 "a # ""b""" # c)", "DM1 a # \"b\" 1; "},
        {"DM1:string4 \"\"", "DM1  1; "},
        {"DM1:string4 \"abc", "f, line 1: the closing quote is missing"},
        {"DM1:string4 \"a\" b", "f, line 1: something follows the closing quote"},
        {"DM1 5\nDM2 =\n", "f, line 2: there is no value after DM2"},
        {"DM1 5\n= 7\n", "f, line 2: there is no device before the ="},
        {"DM1 5 6\n", "f, line 1: a line has one device and one value. Write a text with blanks"},
        {"DM1;5\n", "f, line 1: separate device and value with a blank"},
        {"DM1 5\nMR1 2\n", "f, line 2: MR1: '2' is not a bool"},
        {"DM1..DM2 5\n", "f, line 1: DM1..DM2 takes 2 values, but 1 was given"},
        {"#\n", "there is nothing to write in f"},
    };
    const Devices devices(tests::areas());
    for (const auto& row : rows) {
        std::string outcome;
        outcome += tests::refusal([&] {
            for (const auto& entry : recipeFromText("f", row.text, {{}, devices}).entries)
                outcome += entry.point.name + " " + textOf(entry.point, entry.value) + " " +
                           std::to_string(entry.line) + "; ";
        });
        EXPECT_EQ(outcome.substr(0, std::string(row.outcome).size()), row.outcome) << row.text;
    }
}

TEST(Recipe, TellsWhatIsWrittenInsteadWithAllDigits)
{
    const Devices devices(tests::areas());
    Point tag = pointOf(devices.parse("DM1:int"));
    tag.name = "a";
    tag.scale.factor = 0.1;
    tag.decimals = 0;
    const std::vector<Point> tags = {tag};
    EXPECT_EQ(alterations(recipeOf("a", {"1.26"}, {tags, devices})),
              std::vector<std::string>{"a: 1.26 is rounded to 1.3"});
    EXPECT_TRUE(alterations(recipeOf("a", {"1.3"}, {tags, devices})).empty());
    EXPECT_EQ(alterations(recipeOf("T5", {"-5"}, {tags, devices})),
              std::vector<std::string>{"T5: -5 is written as 4294967291"});
    EXPECT_TRUE(alterations(recipeOf("DM5:int", {"-5"}, {tags, devices})).empty());
}

} // namespace
