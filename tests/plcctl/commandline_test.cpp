// What plcctl prints and what it ends with, run as a program.
#include "program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <ostream>

namespace
{

using Json = nlohmann::json;

struct Row {
    const char* name;
    const char* arguments;
    int status;
    const char* out;   ///< all of standard output
    const char* error; ///< a part of standard error; empty: nothing there
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << "plcctl " << row.arguments;
}

std::string nameOf(const testing::TestParamInfo<Row>& info)
{
    return info.param.name;
}

class Outcome : public testing::TestWithParam<Row>
{
};

TEST_P(Outcome, HasStatusOutputAndReason)
{
    const Row& row = GetParam();
    const Result run = plcctl(row.arguments);
    EXPECT_EQ(run.status, row.status) << run.err;
    EXPECT_EQ(run.out, row.out);
    EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err;
    EXPECT_EQ(run.err.empty(), *row.error == '\0') << run.err;
}

const Row readings[] = {
    {"Words", "read DM100 -c 2 --set DM100=12,2", 0, "DM100  12\nDM101   2\n", ""},
    {"WordByDefault", "read DM7 --set DM7=65535", 0, "DM7  65535\n", ""},
    {"Signed", "read DM7 -s --set DM7=0xFFFB", 0, "DM7  -5\n", ""},
    {"SignedButPositive", "read DM7 -s --set DM7=32767", 0, "DM7  32767\n", ""},
    {"Hexadecimal", "read DM7 --hex --set DM7=12", 0, "DM7  0x000C\n", ""},
    {"HexadecimalDoubleWord", "read DM7 -x -t dword --set DM7=0x5678,0x1234", 0,
     "DM7  0x12345678\n", ""},
    {"DoubleWordsStepByTwoWords", "read DM8 -c 2 -t dword --set DM8=1,0,2,1", 0,
     "DM8       1\nDM10  65538\n", ""},
    {"SignedDoubleWord", "read DM8 -t dword -s --set DM8=65535,65535", 0, "DM8  -1\n", ""},
    {"TimersCurrentAndSetValue", "read T5 TS5 -t dword --set T5=42 --set TS5=100", 0,
     "T5    42\nTS5  100\n", ""},
    {"TimersStepByOne", "read T9 -c 2 -t dword --set T9=1,2", 0, "T9   1\nT10  2\n", ""},
    {"WordsOfATimerHaveNoNames", "read T9 -c 2 --set T9=65537", 0, "T9     1\nT9[1]  1\n", ""},
    {"RelaysCrossTheChannel", "read MR514 -c 3 -t bit --set MR515=1,1", 0,
     "MR514  0\nMR515  1\nMR600  1\n", ""},
    {"BareRelay", "read R15 -c 2 -t bit --set R15=1", 0, "R15   1\nR100  0\n", ""},
    {"BitsHaveNoHexadecimalForm", "read MR1 -t bit -x --set MR1=1", 0, "MR1  1\n", ""},
    {"Bytes", "read DM7 -c 3 -t byte -x --set DM7=0x1234,0x56", 0,
     "DM7     0x34\nDM7[1]  0x12\nDM7[2]  0x56\n", ""},
    {"Block", "read DM7 -t block -s --set DM7=0xFF", 0, "DM7  -1\n", ""},
    {"NameAsTyped", "read dm0099 -c 2 --set DM99=1,2", 0, "dm0099  1\ndm0100  2\n", ""},
    {"Csv", "read DM7 -f csv --set DM7=12", 0, "device,type,value\nDM7,word,12\n", ""},
    {"GoodOnesBesideABadOne", "read DM7 MR0 DM8 --set DM7=1,2", 2, "DM7  1\nDM8  2\n",
     "plcctl: MR0: can't read word from MR0\n"},
    {"StatusOfTheFirstFailure", "read DM99999 MR0", 1, "", "MR0"},
    {"CsvOfNothing", "read MR0 -f csv", 2, "device,type,value\n", "--type bit"},
    {"JsonOfNothing", "read MR0 -f json", 2, "[]\n", "--type bit"},
    {"AfterARetry", "read DM7 --fault silent#1 -o 20 --retry 1 --set DM7=3", 0, "DM7  3\n", ""},
};
INSTANTIATE_TEST_SUITE_P(Read, Outcome, testing::ValuesIn(readings), nameOf);

const Row failures[] = {
    {"Refused", "read DM7 --fault error=1@RDS --retry 0", 1, "",
     "DM7: Response During an Error:E1\\r\\n\n"},
    {"NoSuchDevice", "read DM99999", 1, "", "refused"},
    {"WriteRefused", "write DM99999 1", 1, "", "DM99999: Response During an Error:E0\\r\\n\n"},
    {"Silent", "read DM7 --fault silent -o 20 --retry 1", 4, "", "packet loss"},
    {"Cut", "write DM7 1 --fault cut=3@WRS -o 20 --retry 0", 4, "", "packet loss"},
    {"Garbled", "read DM7 --fault garble@RDS --retry 0", 5, "", "DM7: invalid response"},
    {"GarbledBit", "write MR7 1 -t bit --fault garble@ST --retry 0", 5, "", "invalid response"},
    {"AnotherDriver", "read HR7 --driver " MODBUS_DRIVER " -o 20 --retry 0", 4, "",
     "HR7: packet loss"},
    {"NotADeviceOfAnotherDriver", "read DM7 --driver " MODBUS_DRIVER, 2, "",
     "invalid device address: DM7"},
    {"NoSuchDriver", "read DM7 --driver /nowhere/libx.so", 3, "", "/nowhere/libx.so"},
    {"NoDriver", "info --driver " PLCCTL, 3, "", "can't load driver"},
    {"NoSuchLine", "read DM7 -p /nowhere/tty", 3, "", "can't open /nowhere/tty"},
    {"LineThatIsAFile", "read DM7 -p " PLCCTL, 3, "", "can't open"},
    {"LinkInTheWay", "simulate --pty " PLCCTL, 3, "", PLCCTL},
    {"AddressOfOthers", "simulate --tcp 192.0.2.1:0", 3, "", "192.0.2.1"},
};
INSTANTIATE_TEST_SUITE_P(Fail, Outcome, testing::ValuesIn(failures), nameOf);

const Row misuses[] = {
    {"Nothing", "", 2, "", "plcctl --help"},
    {"NoSuchCommand", "raed DM7", 2, "", "no such subcommand or option: raed"},
    {"NoDevice", "read", 2, "", "DEVICE is required"},
    {"NoValue", "write DM7", 2, "", "VALUE is required"},
    {"UnknownOption", "read DM7 --frobnicate", 2, "", "--frobnicate"},
    {"UnknownType", "read DM7 -t float", 2, "", "{bit,byte,word,dword,block}"},
    {"UnknownFormat", "read DM7 -f xml", 2, "", "{table,csv,json}"},
    {"NoCount", "read DM7 -c 0", 2, "", "not in range 1 to"},
    {"MoreThanTheDriverTakes", "read DM7 -c 1025", 2, "", "at most 1024 words"},
    {"MoreBitsThanTheDriverTakes", "read MR0 -c 1025 -t bit", 2, "", "at most 1024 bits"},
    {"SignedAndHexadecimal", "read DM7 -s -x", 2, "", "excludes"},
    {"NotAnAddress", "read 100%", 2, "", "100%"},
    {"RelayAsWord", "read MR7", 2, "", "--type bit"},
    {"TooLongAName", "read DM123456789", 2, "", "invalid device address: DM123456789\n"},
    {"TimeOutOfNothing", "read DM7 -o 0", 2, "", "--timeout"},
    {"UnknownLine", "read DM7 -l RS232,9600", 2, "", "--line: "},
    {"UnknownTcpPort", "read DM7 -p tcp:localhost:70000", 2, "", "--port: "},
    {"FaultOfARealLine", "read DM7 -p /nowhere/tty --fault silent", 2, "", "--port sim"},
    {"UnknownFault", "read DM7 --fault loud", 2, "", "--fault: "},
    {"UnknownPreset", "read DM7 --set XY1=2", 2, "", "--set: "},
    {"NotAValue", "write DM7 twelve", 2, "", "'twelve' is not a number"},
    {"HalfAValue", "write DM7 12x", 2, "", "'12x' is not a number"},
    {"OnlyTheHexPrefix", "write DM7 0x", 2, "", "'0x' is not a number"},
    {"TooLargeForAWord", "write DM7 1 65536", 2, "", "-32768 to 65535"},
    {"TooSmallForAWord", "write DM7 -32769", 2, "", "'-32769' does not fit a word"},
    {"TooLargeForAByte", "write DM7 256 -t byte", 2, "", "-128 to 255"},
    {"TooLargeForADoubleWord", "write DM7 0x100000000 -t dword", 2, "", "-2147483648"},
    {"FarTooLarge", "write DM7 99999999999999999999 -t dword", 2, "", "does not fit"},
    {"NotABit", "write MR7 1 2 -t bit", 2, "", "'2' does not fit a bit: 0 or 1"},
    {"NegativeBit", "write MR7 -1 -t bit", 2, "", "'-1' does not fit a bit"},
    {"WordToACounterComparator", "write CTC1 5", 2, "", "can't write word to CTC1\n"},
    {"BitToAWord", "write DM7 1 -t bit", 2, "", "can't write bit to DM7\n"},
    {"NoInterval", "watch DM7 -i soon", 2, "", "'soon'"},
    {"WatchOfWhatCannotBeRead", "watch MR7", 2, "", "can't read word from MR7"},
    {"NoTcpPort", "simulate --tcp nine", 2, "", "--tcp: 'nine'"},
};
INSTANTIATE_TEST_SUITE_P(Misuse, Outcome, testing::ValuesIn(misuses), nameOf);

TEST(Json, OfReadings)
{
    const Result run =
        plcctl("read DM7 MR8 -t bit -f json --set MR8=1 --fault error@RDS#1 --retry 0");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Json::parse(run.out),
              Json::parse(R"([{"device": "MR8", "type": "bit", "value": 1}])"));
}

TEST(Json, OfSignedAndHexadecimalValues)
{
    const std::string values = " -c 2 -f json --set DM7=65535,1";
    EXPECT_EQ(Json::parse(plcctl("read DM7 -s" + values).out).at(0).at("value"), -1);
    EXPECT_EQ(Json::parse(plcctl("read DM7 -x" + values).out).at(0).at("value"), "0xFFFF");
    EXPECT_EQ(Json::parse(plcctl("read DM7" + values).out).at(1).at("device"), "DM8");
}

TEST(Info, TellsWhatTheDriverAnswers)
{
    const Json info = Json::parse(plcctl("info -f json").out);
    EXPECT_EQ(info.at("name"), "KEYENCE KV-1000");
    EXPECT_EQ(info.at("vendor"), "KEYENCE");
    EXPECT_EQ(info.at("version"), "1.0.0");
    EXPECT_EQ(info.at("port kinds"), "0x70");
    EXPECT_EQ(info.at("block size"), "1024");
    EXPECT_EQ(info.at("default line"), "RS232,9600,EVEN,8,1");
    EXPECT_EQ(info.at("default timing"), "time-out 500 ms, 3 retries, delay 0 ms, station 0");
}

TEST(Help, IsASuccess)
{
    for (const char* command : {"", "info ", "read ", "write ", "watch ", "simulate "}) {
        const Result run = plcctl(command + std::string("--help"));
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_NE(run.out.find("Example"), std::string::npos) << command;
        EXPECT_EQ(run.err, "") << command;
    }
    EXPECT_EQ(plcctl("--version").out, "plcctl " PLCCTL_VERSION "\n");
}

TEST(Trace, GoesToStandardErrorWithEveryByte)
{
    const Result run = plcctl("read DM7 --trace --set DM7=12");
    EXPECT_EQ(run.out, "DM7  12\n");
    EXPECT_NE(run.err.find(R"("RDS DM00007 1\r\n")"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(R"("2\r\n")"), std::string::npos) << run.err;
}

struct Written {
    const char* name;
    const char* write;
    const char* read;
    const char* out;
};

void PrintTo(const Written& row, std::ostream* out)
{
    *out << row.write;
}

class Write : public testing::TestWithParam<Written>
{
};

TEST_P(Write, IsReadBackByAnotherRun)
{
    SimulatedController controller("--set DM20=7,8");
    const std::string port = " -p " + controller.tcp();
    const Result written = plcctl(GetParam().write + port);
    const Result run = plcctl(GetParam().read + port);
    EXPECT_EQ(written.out, "");
    EXPECT_EQ(run.out, GetParam().out) << written.err << run.err;
}

const Written writes[] = {
    {"Words", "write DM10 12 0x1F", "read DM10 -c 2", "DM10  12\nDM11  31\n"},
    {"NegativeWord", "write DM10 -5", "read DM10", "DM10  65531\n"},
    {"NegativeHexadecimal", "write DM10 -0x8000", "read DM10 -s", "DM10  -32768\n"},
    {"DoubleWord", "write DM10 -100000 -t dword", "read DM10 -t dword -s", "DM10  -100000\n"},
    {"OddBytes", "write DM20 1 2 3 -t byte", "read DM20 -c 2 -x", "DM20  0x0201\nDM21  0x0003\n"},
    {"Bits", "write MR515 1 0 1 -t bit", "read MR515 -c 3 -t bit",
     "MR515  1\nMR600  0\nMR601  1\n"},
    {"SetValue", "write TS5 100 -t dword", "read T5 TS5 -t dword", "T5    42\nTS5  100\n"},
    {"NothingWhenOneIsWrong", "write DM20 1 65536", "read DM20 -c 2", "DM20  7\nDM21  8\n"},
    {"NothingWhenTooMany", "write DM20 1 2 -t float", "read DM20", "DM20  7\n"},
};
INSTANTIATE_TEST_SUITE_P(Values, Write, testing::ValuesIn(writes),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Watch, PrintsWhatChanges)
{
    SimulatedController controller("--set DM7=1,2");
    const std::string port = " -p " + controller.pty();
    Background watch("watch DM7 -c 2 -i 1ms -f json" + port);
    EXPECT_EQ(Json::parse(watch.nextLine()).at("value"), 1);
    EXPECT_EQ(Json::parse(watch.nextLine()).at("device"), "DM8");

    // A pseudo-terminal has one user at a time, as a cable has.
    EXPECT_EQ(plcctl("write DM8 3 -p " + controller.tcp()).status, 0);
    const Json change = Json::parse(watch.nextLine());
    EXPECT_EQ(change.at("device"), "DM8");
    EXPECT_EQ(change.at("value"), 3);
    EXPECT_EQ(watch.endWith(SIGINT), 0);
}

TEST(Watch, EndsAfterItsRoundsAndPrintsNothingTwice)
{
    const Result run = plcctl("watch DM7 -n 3 -i 0 -f csv --set DM7=5");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.find("time,device,type,value\n"), 0U);
    EXPECT_EQ(run.out.find(",DM7,word,5\n"), run.out.rfind(",DM7,word,")) << run.out;
}

TEST(Watch, OutlivesFailuresAndTellsWhenTheyAreOver)
{
    const Result run = plcctl("watch DM7 -n 40 -i 0 -o 20 --retry 0 --fault silent@RDS#1");
    EXPECT_EQ(run.status, 0);
    EXPECT_NE(run.out.find("DM7  "), std::string::npos);
    EXPECT_EQ(run.err.find("packet loss"), run.err.rfind("packet loss")) << run.err;
    EXPECT_GT(run.err.find("DM7: answers again"), run.err.find("packet loss")) << run.err;
}

TEST(Watch, EndsWithTheFailureThatLasts)
{
    EXPECT_EQ(plcctl("watch DM7 -n 2 -i 0 -o 20 --retry 0 --fault silent@RDS#2").status, 4);
}

TEST(Simulate, EndsCleanlyAndTakesItsLinkAway)
{
    SimulatedController controller("-v");
    ASSERT_EQ(plcctl("read DM7 -p " + controller.pty()).status, 0);
    EXPECT_EQ(controller.process().nextErrorLine(), "pty > CR");
    EXPECT_EQ(controller.process().endWith(SIGTERM), 0);
    EXPECT_EQ(plcctl("read DM7 -p " + controller.pty()).status, 3);
}

} // namespace
