// What plcctl prints and what it ends with, run as a program.
#include "program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <vector>

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

const std::string BuiltIn =
    "using the built-in simulated controller (kv1000); --port leads to a real one\n";

void expectOutcomes(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        Result run = plcctl(row.arguments);
        if (run.err.rfind(BuiltIn, 0) == 0)
            run.err.erase(0, BuiltIn.size());
        SCOPED_TRACE(std::string(row.name) + ": " + row.arguments + "\n" + run.err);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.out, row.out);
        EXPECT_NE(run.err.find(row.error), std::string::npos);
        EXPECT_EQ(run.err.empty(), *row.error == '\0');
    }
}

TEST(Outcome, OfReading)
{
    expectOutcomes({
        {"Words", "read DM100 -c 2 --set DM100=12,2", 0, "DM100  12\nDM101   2\n", ""},
        {"Signed", "read DM7 -s --set DM7=0xFFFB", 0, "DM7  -5\n", ""},
        {"DoubleWordsStepByTwoWords", "read DM8 -c 2 -t dword --set DM8=1,0,2,1", 0,
         "DM8       1\nDM10  65538\n", ""},
        {"WordsOfATimerHaveNoNames", "read T9 -c 2 --set T9=65537", 0, "T9     1\nT9[1]  1\n", ""},
        {"RelaysCrossTheChannel", "read MR514 -c 3 -t bit --set MR515=1,1", 0,
         "MR514  0\nMR515  1\nMR600  1\n", ""},
        {"Bytes", "read DM7 -c 3 -t byte -x --set DM7=0x1234,0x56", 0,
         "DM7     0x34\nDM7[1]  0x12\nDM7[2]  0x56\n", ""},
        {"Csv", "read DM7 -f csv --set DM7=12", 0, "device,type,value\nDM7,word,12\n", ""},
        {"GoodOnesBesideABadOne", "read DM7 MR0 DM8 --set DM7=1,2", 2, "DM7  1\nDM8  2\n",
         "plcctl: MR0: can't read word from MR0\n"},
        {"Json", "read DM7 -c 2 -s -f json --set DM7=65535,2", 0,
         "[\n  {\"device\":\"DM7\",\"type\":\"word\",\"value\":-1},\n"
         "  {\"device\":\"DM8\",\"type\":\"word\",\"value\":2}\n]\n",
         ""},
        {"JsonOfHexadecimal", "read DM7 -x -f json --set DM7=12", 0,
         "[\n  {\"device\":\"DM7\",\"type\":\"word\",\"value\":\"0x000C\"}\n]\n", ""},
        {"JsonOfNothing", "read MR0 -f json", 2, "[]\n", "--type bit"},
        {"Traced", "read DM7 --trace --set DM7=12", 0, "DM7  12\n", R"("RDS DM00007 1\r\n")"},
        {"AfterARetry", "read DM7 --fault silent#1 -o 20 --retry 1 --set DM7=3", 0, "DM7  3\n", ""},
    });
}

TEST(Outcome, OfFailures)
{
    expectOutcomes({
        {"Refused", "read DM7 --fault error=1@RDS --retry 0", 1, "",
         "DM7: Response During an Error:E1\\r\\n\n"},
        {"WriteRefused", "write DM99999 1", 1, "", "DM99999: Response During an Error:E0\\r\\n\n"},
        {"NotADeviceOfAnotherDriver", "read DM7 --driver " MODBUS_DRIVER, 2, "",
         "invalid device address: DM7"},
        {"NoSuchDriver", "read DM7 --driver /nowhere/libx.so", 3, "", "/nowhere/libx.so"},
        {"WatchThatFailsToTheEnd", "watch DM7 -n 2 -i 0 -o 20 --retry 0 --fault silent@RDS", 4, "",
         "packet loss"},
        {"NoSuchLine", "read DM7 -p /nowhere/tty", 3, "", "can't open /nowhere/tty"},
        {"AddressOfOthers", "simulate --tcp 192.0.2.1:0", 3, "", "192.0.2.1"},
    });
}

TEST(Outcome, OfMisuse)
{
    expectOutcomes({
        {"Nothing", "", 2, "", "plcctl --help"},
        {"NoSuchCommand", "raed DM7", 2, "", "no such subcommand or option: raed"},
        {"UnknownType", "read DM7 -t float", 2, "", "{bit,byte,word,dword,block}"},
        {"NoCount", "read DM7 -c 0", 2, "", "not in range 1 to"},
        {"MoreThanTheDriverTakes", "read DM7 -c 1025", 2, "", "at most 1024 words"},
        {"RelayAsWord", "read MR7", 2, "", "--type bit"},
        {"UnknownLine", "read DM7 -l RS232,9600", 2, "", "--line: "},
        {"UnknownTcpPort", "read DM7 -p tcp:localhost:70000", 2, "", "--port: "},
        {"FaultOfARealLine", "read DM7 -p /nowhere/tty --fault silent", 2, "", "--port sim"},
        {"NotAValue", "write DM7 twelve", 2, "", "'twelve' is not a number"},
        {"TooLargeForAWord", "write DM7 1 65536", 2, "", "-32768 to 65535"},
        {"NotABit", "write MR7 1 2 -t bit", 2, "", "'2' does not fit a bit: 0 or 1"},
        {"WordToACounterComparator", "write CTC1 5", 2, "", "can't write word to CTC1\n"},
        {"NoTcpPort", "simulate --tcp nine", 2, "", "--tcp: 'nine'"},
        {"Ipv6WithoutBrackets", "simulate --tcp ::1:0", 2, "", "--tcp: '::1:0'"},
        {"UnknownProtocol", "simulate --protocol can", 2, "", "{kv1000,modbusrtu}"},
        {"UnknownMovement", "simulate --move DM0=saw/1s", 2, "", "--move: \"saw\""},
    });
}

TEST(BuiltInController, IsTheOneThatTheDriverSpeaksToAndSaysSo)
{
    for (const char* command : {"read DM7", "write DM7 1", "watch DM7 -n 1"})
        EXPECT_EQ(plcctl(command).err.find(BuiltIn), 0U) << command;
    const Result modbus = plcctl("read HR7 --set HR7=5 --driver " MODBUS_DRIVER);
    EXPECT_EQ(modbus.out, "HR7  5\n");
    EXPECT_NE(modbus.err.find("controller (modbusrtu)"), std::string::npos);
    const Result none = plcctl("read D5 --driver " MINIMAL_DRIVER);
    EXPECT_EQ(none.status, 2);
    EXPECT_NE(none.err.find("--port is needed"), std::string::npos) << none.err;
}

TEST(Info, TellsWhatTheDriverAnswers)
{
    const Json info = Json::parse(plcctl("info -f json").out);
    EXPECT_EQ(info.at("name"), "KEYENCE KV-1000");
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
    }
    EXPECT_EQ(plcctl("--version").out, "plcctl " PLCCTL_VERSION "\n");
}

TEST(Write, IsReadBackByAnotherRun)
{
    const struct {
        const char* write;
        const char* read;
        const char* out;
    } rows[] = {
        {"DM10 12 0x1F", "DM10 -c 2", "DM10  12\nDM11  31\n"},
        {"DM10 -0x8000", "DM10 -s", "DM10  -32768\n"},
        {"DM10 -100000 -t dword", "DM10 -t dword -s", "DM10  -100000\n"},
        {"DM20 1 2 3 -t byte", "DM20 -c 2 -x", "DM20  0x0201\nDM21  0x0003\n"},
        {"DM20 9 65536", "DM20 -c 2", "DM20  513\nDM21    3\n"}, // nothing when one is wrong
        {"MR515 1 0 1 -t bit", "MR515 -c 3 -t bit", "MR515  1\nMR600  0\nMR601  1\n"},
        {"TS5 100 -t dword", "T5 TS5 -t dword", "T5    42\nTS5  100\n"},
    };
    SimulatedController controller("--set DM20=7,8 --set T5=42");
    const std::string port = " -p " + controller.tcp();
    for (const auto& row : rows) {
        const Result written = plcctl(std::string("write ") + row.write + port);
        const Result run = plcctl(std::string("read ") + row.read + port);
        EXPECT_EQ(written.out, "");
        EXPECT_EQ(run.out, row.out) << written.err << run.err;
    }
}

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

TEST(Simulate, SpeaksModbusAtAnIpv6AddressWithMovingValues)
{
    Background process("simulate --protocol modbusrtu --tcp [::1]:0 --set HR5=1 --move "
                       "HR5=toggle:7..7/1s");
    const std::string ready = process.nextLine();
    const std::string prefix = "listening on ";
    if (ready.empty())
        GTEST_SKIP() << "it cannot listen on [::1]; is there no IPv6?";
    ASSERT_EQ(ready.find(prefix + "tcp:[::1]:"), 0U) << ready;
    const Result run =
        plcctl("read HR5 --driver " MODBUS_DRIVER " -p " + ready.substr(prefix.size()));
    EXPECT_EQ(run.out, "HR5  7\n") << run.err;
}

TEST(Simulate, EndsCleanlyAndTakesItsLinkAway)
{
    SimulatedController controller("-v");
    ASSERT_EQ(plcctl("read DM7 -p " + controller.pty()).status, 0);
    EXPECT_EQ(controller.process().nextLine(QProcess::StandardError), "pty > CR");
    EXPECT_EQ(controller.process().endWith(SIGTERM), 0);
    EXPECT_EQ(plcctl("read DM7 -p " + controller.pty()).status, 3);
}

} // namespace
