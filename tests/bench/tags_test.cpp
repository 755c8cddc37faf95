// Tag files as spreadsheets write them, and what is said of wrong ones.
#include "tests/bench/areas.h"

#include "bench/tags.h"

using namespace bench;

namespace
{

/// All that a file said of a tag.
std::string textOf(const Point& tag)
{
    const auto limit = [](const std::optional<double>& limit) {
        return limit ? std::to_string(*limit).substr(0, 4) : std::string("-");
    };
    return tag.name + " " + tag.device.name + ":" + nameOf(tag.device.type) + " *" +
           std::to_string(tag.scale.factor).substr(0, 4) + " +" +
           std::to_string(tag.scale.offset).substr(0, 4) + " " + tag.unit + " ." +
           (tag.decimals ? std::to_string(*tag.decimals) : "-") + (tag.writable ? " w " : " r ") +
           limit(tag.min) + " " + limit(tag.max) + " " + tag.comment;
}

TEST(TagFile, IsReadAsSpreadsheetsWriteIt)
{
    const struct {
        const char* file;
        std::vector<std::string> tags;
    } rows[] = {
        {TABLES "/excel-de.csv",
         {"kessel.temp DM100:int *0.10 +0.00 °C .1 r - - Vorlauf; \"oben\"",
          "kessel.soll DM102:int *0.10 +-2.5 °C .2 w 5.00 80.5 zwei\nZeilen",
          "pumpe MR500:bool *1.00 +0.00  .- w - - ",
          "rezept DM30:string8 *1.00 +0.00  .- r - - Müsli"}},
        {TABLES "/libreoffice.csv",
         {"boiler.temp DM20:real *1.00 +0.00  .- r - 120. supply; \"upper\"",
          "boiler.level T5:udint *0.00 +0.00  .3 w - - two\nlines",
          "boiler.flow T6:udint *0.00 +0.00  .9 w - - ",
          "boiler.text DM30:string8 *1.00 +0.00  .- w - - "}},
    };
    for (const auto& row : rows) {
        std::vector<std::string> tags;
        for (const Point& tag : loadTags(row.file, Devices(tests::areas())))
            tags.push_back(textOf(tag));
        EXPECT_EQ(tags, row.tags);
    }
}

TEST(TagFile, NamesLineAndColumnOfWhatIsWrong)
{
    const struct {
        const char* content;
        const char* problem; ///< how the first one begins; empty when there is none
    } rows[] = {
        {"", "line 1, column 1: there is no row of column names"},
        {"name,type\na,int\n", "line 1, column 1: there is no column 'device'"},
        {"name,device,faktor\n", "line 1, column 3: there is no column 'faktor'. Did you mean "
                                 "factor? The columns are name, "},
        {"name,device,name\n", "line 1, column 3: the column 'name' appears twice"},
        {"name,device,\na,DM1,\n", ""},
        {"name\tdevice\tfactor\r\na\tDM1\t0,5\r\n", ""},
        {"name,device,factor\na,DM1,\"0,5\"\n", ""},
        {"name,device\na,DM1,x\n", "line 2, column 3: the cell 'x' belongs to no column"},
        {"device,name\nDM1\n", "line 2, column 2 (name): the name is missing"},
        {"name,device\n\n\"a\nb\",DM1\n", "line 3, column 1 (name): 'a\nb' has a blank"},
        {"name,device\nDM5,DM1\n", "line 2, column 1 (name): 'DM5' is also a device"},
        {"name,device\na,DM1\na,DM2\n", "line 3, column 1 (name): 'a' appears twice"},
        {"name,device\na,XM1\n",
         "line 2, column 2 (device): there is no area 'XM'. Did you mean DM? "},
        {"name,device\na,DM1..DM5\n", "line 2, column 2 (device): 'DM1..DM5' is a range"},
        {"name,type,device\na,flot,DM1\n", "line 2, column 2 (type): there is no type 'flot'"},
        {"name,type,device\na,int,DM1:real\n",
         "line 2, column 2 (type): the device already has the type real"},
        {"name,device,factor\na,DM1,0\n", "line 2, column 3 (factor): a factor of 0"},
        {"name,device,factor\na,MR1,2\n", "line 2, column 3 (factor): a bool has no scale"},
        {"name,device,factor\na,DM1,x\n", "line 2, column 3 (factor): 'x' is not a number"},
        {"name;device;min;max\na;DM1;0,5;1.000\n",
         "line 2, column 4 (max): '1.000' has the decimal mark '.', but other numbers in the file"},
        {"name;device;min;max\na;DM1;1.000;2,5\n",
         "line 2, column 3 (min): '1.000' has the decimal mark '.', but other numbers in the file"},
        {"name,device,max\na,DM1,\"1,000\"\n",
         "line 2, column 3 (max): '1,000' may mark decimals or thousands; write 1.0 or 1000"},
        {"name;device;max\na;DM1;-12.500\n",
         "line 2, column 3 (max): '-12.500' may mark decimals or thousands; write -12,5 or -12500"},
        {"name\tdevice\tmax\na\tDM1\t1.125\n",
         "line 2, column 3 (max): '1.125' may mark decimals or thousands; write 1.1250 or 1125"},
        {"name,device,max\na,DM1,1.125\n", ""},
        {"name;device;max\na;DM1;1,125\n", ""},
        {"name,device,max\na,DM1,\"-0,005\"\n", ""},
        {"name;device;max\na;DM1;0.005\n", ""},
        {"name;device;max\na;DM1;1.125\nb;DM2;0.5\n", ""},
        {"name;device;max\na;DM1;1.000,5\n", "line 2, column 3 (max): '1.000,5' is not a number"},
        {"name,device,min,max\na,DM1,2,1\n", "line 2, column 3 (min): the minimum is above"},
        {"name,device,min,factor\na,DM1:int,-3276.8,0.1\nb,DM1:uint,0,-1\n", ""},
        {"name,device,max,factor\na,DM1:int,3277,0.1\n",
         "line 2, column 3 (max): '3277' is outside what an int of this scale holds, -3276.8 "
         "to "},
        {"name,device,min\na,DM1:uint,-1\n", "line 2, column 3 (min): '-1' is outside what a "},
        {"name,device,max\na,DM1:string2,1\n", "line 2, column 3 (max): a string has no limits"},
        {"name,device,decimals\na,DM1,0\nb,DM1,9\n", ""},
        {"name,device,decimals\na,DM1,1.5\n", "line 2, column 3 (decimals): '1.5' is not 0 to 9"},
        {"name,device,writable\na,DM1,perhaps\n", "line 2, column 3 (writable): 'perhaps' is"},
        {"name,device,writable\na,CTC1,x\n", "line 2, column 3 (writable): CTC1 can't be written"},
        {"name,device\na,\"DM1\"5\n", "line 2, column 2: there is text after the closing quote"},
        {"name,device\na,\"DM1\n", "line 2, column 2: its quote is never closed"},
    };
    for (const auto& row : rows) {
        const auto problems = parseTags(row.content, Devices(tests::areas())).problems;
        const std::string first = problems.empty() ? "" : bench::textOf(problems.front());
        EXPECT_EQ(first.substr(0, std::string(row.problem).size()), row.problem);
        EXPECT_EQ(problems.empty(), std::string(row.problem).empty()) << first;
    }
}

TEST(TagFile, KeepsGoodRowsAndTellsAllProblems)
{
    const TagFile file = parseTags("name,device\na,XM1\nb,DM1\nc,DM\n", Devices(tests::areas()));
    ASSERT_EQ(file.tags.size(), 1u);
    EXPECT_EQ(file.tags.front().name, "b");
    EXPECT_EQ(file.problems.size(), 2u);
}

} // namespace
