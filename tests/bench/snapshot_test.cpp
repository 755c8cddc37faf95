// Snapshots as text: their lines and order, what comes back from them, and what is refused.
#include "tests/bench/areas.h"
#include "tests/support/resourcelimit.h"

#include "bench/comparison.h"
#include "bench/dump.h"
#include "bench/file.h"

#include <QTemporaryDir>

#include <csignal>
#include <fstream>

using namespace bench;

namespace
{

Snapshot parsed(const std::string& text,
                const host::DriverDescription& description = tests::areas())
{
    return parseSnapshot(text, Devices(description));
}

std::vector<Point> pointsOf(const Snapshot& snapshot)
{
    std::vector<Point> points;
    for (const SnapshotValue& value : snapshot.values)
        points.push_back(value.point);
    return points;
}

std::vector<Reading> readingsOf(const Snapshot& snapshot)
{
    std::vector<Reading> readings;
    for (const SnapshotValue& value : snapshot.values)
        readings.push_back({value.value, std::nullopt});
    return readings;
}

std::string hexOf(const Snapshot& snapshot)
{
    QByteArray data;
    for (const SnapshotValue& value : snapshot.values)
        data += dataOf(value.value, value.point.device.type);
    return data.toHex().toStdString();
}

TEST(Snapshot, HasStableLinesAndKeepsEveryBit)
{
    const struct {
        const char* name;
        const char* typed;
        const char* lines;
        const char* bytes;
    } rows[] = {
        {"WordsBreakAtNumbersOf8", "DM6 1 2 3 4",
         "DM6:uint          1     2\n"
         "DM8:uint          3     4\n",
         "0100020003000400"},
        {"DoubleWordsBreakAtNumbersOf16", "DM14:dint -1 0x102",
         "DM14:dint              -1\nDM16:dint             258\n", "ffffffff02010000"},
        {"BitsBreakAtChannels", "MR14 1 0 1", "MR14:bool     1 0\nMR100:bool    1\n", "010001"},
        {"BytesBreakAtNumbersOf8", "DM7:byte 1 2 255", "DM7:byte        1   2\nDM8:byte      255\n",
         "0102ff"},
        {"AreasAndNumbersInOrder", "T5:bool 1\nT5 7\nMR0 1\n2:DM1 3\nDM00009 2\nDM1:int -1\n",
         "DM1:int           -1\nDM9:uint          2\n2:DM1:uint        3\nMR0:bool      1\n"
         "T5:udint               7\nT5:bool       1\n",
         "ffff02000300010700000001"},
        {"RealsWithAllBits", "DM0:real 0.1 -0 0x7FC00001 0x7f800000",
         "DM0:real                0.1            -0    0x7FC00001    0x7F800000\n",
         "cdcccc3d000000800100c07f0000807f"},
        {"Strings", "DM0:string6 \"A\\\"\\x00\\\\#@\"  # comment\r\nDM3:string2 \"\xC3\xA9\"",
         "DM0:string6   \"A\\\"\\x00\\\\#@\"\nDM3:string2   \"\xC3\xA9\"\n", "4122005c2340c3a9"},
        {"TagsBreakALine", "DM0 1\nDM1 2 @pump\nDM2 3",
         "DM0:uint          1\nDM1:uint          2 @pump\nDM2:uint          3\n", "010002000300"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Snapshot snapshot = parsed(row.typed);
        EXPECT_EQ(snapshotLines(pointsOf(snapshot), readingsOf(snapshot)), row.lines);
        EXPECT_EQ(hexOf(snapshot), row.bytes);
        EXPECT_EQ(hexOf(parsed(row.lines)), row.bytes);
    }
}

TEST(Snapshot, HasAHeader)
{
    const std::string text = "# snapshot 1, plcctl 7\n# driver: made-up\n# devices: DM0 DM1\n";
    const SnapshotHeader header = parsed(text + "DM0 1\n# driver: comment\n").header;
    EXPECT_EQ(header.tool, "plcctl 7");
    EXPECT_EQ(header.driver, "made-up");
    EXPECT_EQ(textOf(header), text);
}

TEST(Snapshot, IsRefusedWithItsLine)
{
    const struct {
        const char* text;
        const char* refusal;
    } rows[] = {
        {"# x\nDM0 1\nDM1 70000", "line 3: '70000' does not fit uint"},
        {"XM0 1", "line 1: there is no area 'XM'"},
        {"DM0", "line 1: there is no value after DM0"},
        {"DM99999 1 2", "line 1: there is no DM100000"},
        {"DM0..DM1 1", "line 1: 'DM0..DM1' is a range"},
        {"DM0 1 2\n\nDM1:int 4", "line 3: DM1:int is already on line 1"},
        {"DM1 4\nDM0:dint 1", "line 2: DM1:uint is already on line 1"},
        {"DM0 1 2 @pump", "line 1: a tag has one value, but this line has 2"},
        {"DM0 \"1\"", "line 1: \"1\" is a string"},
        {"DM0:string2 AB", "line 1: a string must be in quotes"},
        {"DM0:string2 \"AB", "line 1: a quote is not closed"},
        {"DM0:string2 \"ABC\"", "line 1: 'ABC' has 3 bytes"},
        {"DM0:string2 \"\\q\"", "line 1: a backslash is followed by"},
        {"DM0:string2 \"\\x4\"", "line 1: a backslash is followed by"},
        {"# snapshot 2, plcctl 9\nDM0 1", "line 1: this program can't read format 2"},
    };
    for (const auto& row : rows) {
        const std::string refusal = tests::refusal([&] { parsed(row.text); });
        EXPECT_EQ(refusal.substr(0, std::string(row.refusal).size()), row.refusal) << row.text;
    }
}

TEST(SnapshotPoints, HaveEachDeviceOnce)
{
    const struct {
        std::vector<const char*> asked;
        const char* outcome;
    } rows[] = {
        {{"MR0", "DM1", "DM0..DM1", "DM00001"}, "DM0:uint DM1:uint MR0:bool "},
        {{"DM0..DM3", "DM1:dint"}, "DM0:uint DM1:dint DM3:uint "},
        {{"T5", "T5:bool", "2:DM1", "DM1"}, "DM1:uint 2:DM1:uint T5:udint T5:bool "},
        {{"DM0:dint", "DM1:int"}, "DM0:dint and DM1:int overlap. Name each device in one type."},
        {{"DM1:byte", "DM1"}, "DM1:byte and DM1:uint overlap. Name each device in one type."},
    };
    for (const auto& row : rows) {
        std::string outcome;
        outcome += tests::refusal([&] {
            const Devices devices(tests::areas());
            std::vector<Point> points;
            for (const char* text : row.asked)
                for (const Point& point : resolve(text, {{}, devices}))
                    points.push_back(point);
            for (const Point& point : snapshotPoints(points))
                outcome += snapshotName(point.device) + " ";
        });
        EXPECT_EQ(outcome, row.outcome);
    }
}

/// A line begins with a whole device, so all that shares one with a failure is left out.
TEST(Snapshot, HasFailuresAsComments)
{
    const Snapshot snapshot = parsed("DM6 1\nDM7:byte 1 2 3 4\nDM9 5");
    std::vector<Reading> readings = readingsOf(snapshot);
    for (const std::size_t failed : {2, 3})
        readings[failed] = {std::nullopt, Failure(FailureKind::ControllerRefused, "E1\r")};
    const std::string lines = snapshotLines(pointsOf(snapshot), readings);
    EXPECT_EQ(lines, "DM6:uint          1\n# DM7:byte..DM8[1]:byte not read: E1\\r\n"
                     "DM9:uint          5\n");
    EXPECT_EQ(parsed(lines).unread, std::vector<std::string>{"DM7:byte..DM8[1]:byte"});
}

TEST(Snapshots, AreCompared)
{
    const struct {
        const char* name;
        const char* left;
        const char* right;
        const char* differences;
    } rows[] = {
        {"Values", "DM0 1 2\nMR0 1", "MR0 0\nDM0 1 3", "DM1 2 3, MR0 1 0, "},
        {"MissingOnes", "DM0 1", "DM2 3", "DM0 1 -, DM2 - 3, "},
        {"OtherTypes", "DM0:int 1", "DM0 1", "DM0 1 -, DM0 - 1, "},
        {"BitsOfReals", "DM0:real -0 0x7FC00001", "DM0:real 0 0x7FC00001", "DM0 -0 0, "},
        {"EndsOfStrings", "DM0:string4 \"A\"", "DM0:string4 \"A\\x00\"", ""},
    };
    for (const auto& row : rows) {
        std::string text;
        for (const auto& found : differences(parsed(row.left).values, parsed(row.right).values)) {
            const Type& type = found.point.device.type;
            text += found.point.name + " " + (found.left ? snapshotText(*found.left, type) : "-") +
                    " " + (found.right ? snapshotText(*found.right, type) : "-") + ", ";
        }
        EXPECT_EQ(text, row.differences) << row.name;
    }
}

TEST(Snapshot, ThatWasNotKeptIsDifferent)
{
    const auto written = parsed("DM0 1 5 3").values;
    try {
        requireKept(written, readingsOf(parsed("DM0 5 5 5")));
        FAIL() << "two values differ";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.kind(), FailureKind::Different);
        EXPECT_STREQ(failure.what(),
                     "DM0:uint: wrote 1, read back 5; DM2:uint: wrote 3, read back 5");
    }
    EXPECT_NO_THROW(requireKept(written, readingsOf(parsed("DM0 1 5 3"))));
}

TEST(Snapshot, IsWrittenWhereItDiffersInWholeDevices)
{
    const struct {
        const char* name;
        const host::DriverDescription& description;
        const char* file;
        const char* current;
        const char* written;
    } rows[] = {
        {"Words", tests::areas(), "DM0 1 2 3", "DM0 1 0 3", "DM1 "},
        {"BothBytes", tests::areas(), "DM0:byte 1 2 3 4", "DM0:byte 1 2 3 0", "DM1 DM1[1] "},
        {"Nothing", tests::areas(), "DM0 1", "DM0 1", ""},
        {"RunWithoutAreas", tests::noAreas(), "D5:uint 1 2\nD9:uint 1", "D5:uint 1 3\nD9:uint 1",
         "D5 D5[1] "},
    };
    for (const auto& row : rows) {
        std::string names;
        for (const auto& value : valuesToWrite(parsed(row.file, row.description).values,
                                               readingsOf(parsed(row.current, row.description))))
            names += value.point.name + " ";
        EXPECT_EQ(names, row.written) << row.name;
    }
}

TEST(TextFile, IsUtf8)
{
    const struct {
        std::string content;
        const char* outcome; ///< after the file's name, when it is refused
    } rows[] = {
        {"\xEF\xBB\xBF"
         "20 \xC2\xB0\x43\n",
         "20 \xC2\xB0\x43\n"},
        {std::string("\xFF\xFE#\0", 4), " is UTF-16, not UTF-8. Save it as UTF-8; "},
        {std::string("\xFE\xFF\0#", 4), " is UTF-16, not UTF-8. Save it as UTF-8; "},
        {std::string("#\0\n\0", 4), ", line 1: the text is not UTF-8. "},
        {"a\n20 \xB0\x43\n", ", line 2: the text is not UTF-8. "},
    };
    const QTemporaryDir folder;
    const std::string path = folder.filePath("a.txt").toStdString();
    for (const auto& row : rows) {
        std::ofstream(path) << row.content;
        std::string outcome;
        outcome += tests::refusal([&] { outcome = path + readTextFile(path).text; });
        EXPECT_EQ(outcome.substr(0, (path + row.outcome).size()), path + row.outcome);
    }
    EXPECT_EQ(tests::refusal([] { readTextFile(TABLES); }),
              "can't read " TABLES ": it is a folder. ");
}

TEST(PartFile, ReplacesNothingOnAFullDisk)
{
    const QTemporaryDir folder;
    const std::string path = folder.filePath("a.txt").toStdString();
    std::ofstream(path) << "old";
    PartFile file(path);
    file.begin("part");
    std::string refusal;
    {
        const auto before = std::signal(SIGXFSZ, SIG_IGN); // sent to who writes past the limit
        const ResourceLimit noFileGrows(RLIMIT_FSIZE, 0);
        refusal = tests::refusal([&] { file.finish("new"); });
        std::signal(SIGXFSZ, before);
    }
    EXPECT_EQ(refusal.find("can't write " + path + ".part"), 0U) << refusal;
    EXPECT_EQ(contentOf(path), "old");
    EXPECT_EQ(contentOf(path + ".part"), "part");
}

} // namespace
