// What plcctl prints and what it ends with, run as a program.
#include "program.h"

#include "host/portaddress.h"
#include "host/transport.h"
#include "support/farend.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <sstream>
#include <vector>

namespace
{

using Json = nlohmann::json;

int countOf(const std::string& part, const std::string& text)
{
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

/// Lines fit a terminal of 80 columns.
void expectNarrowLines(const std::string& text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;
}

TEST(Outcome, OfReading)
{
    expectOutcomes({
        {"NeighboursInOneRequest", "read DM102 DM100..DM101 --trace --set DM100=5,6,7", 0,
         "DM102  7\nDM100  5\nDM101  6\n", R"("RDS DM00100 3\r\n")"},
        {"EachInItsType",
         "read MR500 DM8:dint T5 DM20:real DM30:string4 DM8 --set MR500=1 "
         "--set DM8=0xFFFE,0xFFFF --set T5=7 --set DM20=0,0x3FC0 "
         "--set DM30=0x6241,0x2C63",
         0,
         "MR500         1\nDM8:dint     -2\nT5            7\nDM20        1.5\n"
         "DM30       Abc,\nDM8:uint  65534\n",
         ""},
        {"Csv", "read DM7 DM30:string4 -f csv --set DM7=12 --set DM30=0x2241,0x2C63", 0,
         "name,device,type,value,unit\nDM7,DM7,uint,12,\nDM30,DM30,string4,\"A\"\"c,\",\n", ""},
        {"GoodOnesBesideABadOne", "read DM7 T5 --retry 0 --set DM7=1 --fault error=1@RDS#2-2", 1,
         "DM7  1\n", "plcctl: T5: Response During an Error:E1\\r\\n\n"},
        {"Json", "read DM7 -c 2 -s -f json --set DM7=65535,2", 0,
         "[\n  {\"name\":\"DM7\",\"device\":\"DM7\",\"type\":\"uint\",\"value\":-1},\n"
         "  {\"name\":\"DM8\",\"device\":\"DM8\",\"type\":\"uint\",\"value\":2}\n]\n",
         ""},
        {"JsonOfNothing", "read MR0 -f json --retry 0 --fault error", 1, "[]\n", "MR0: "},
        {"AfterARetry", "read DM7 --fault silent#1 -o 150 --retry 1 --set DM7=3", 0, "DM7  3\n",
         ""},
    });
}

TEST(Outcome, OfFailures)
{
    expectOutcomes({
        {"LaterWriteRefused", "write DM0 -t int 5 6 --fault error=0@WRS", 1, "",
         "DM0 and 1 more: Response During an Error:E0\\r\\n; some of these 2 values may be "
         "written\n"},
        {"ReadBackRefused", "write DM5 1 2 3 --verify --fault error=0@RDS", 1, "",
         "written, but DM5 can't be read back: Response"},
        {"TimeoutAndAdvice", "read DM7 MR0 --fault silent --timeout 100 --retry 0", 4, "",
         "plcctl: DM7 and 1 more: packet loss (0 of 4 bytes within 100 ms)\n"
         "        No complete reply came in time. Check cable, power and the line's\n"
         "        settings (speed, parity), or allow a longer time-out. See --line,\n"
         "        --timeout and plcctl scan.\n"},
        {"Garbled", "read DM7 --fault garble@RDS --retry 0", 5, "", "invalid response"},
        {"NoSuchDriver", "read DM7 --driver /nowhere/libx.so", 3, "", "/nowhere/libx.so"},
        {"LateRepliesAreMeasured", "read DM7 -o 100 --retry 0 --fault late=300ms@RDS", 4, "",
         "a time-out of "},
        {"WatchThatFailsToTheEnd", "watch DM7 -n 2 -i 0ms -o 20 --retry 0 --fault silent@RDS", 4,
         "", "longer time-out. See --line,\n        --timeout and plcctl scan.\n"},
        {"NoSerialPort", "read DM7 -p /dev/null", 3, "", "it is not a serial port\n        "},
        {"NobodyListens", "read DM7 -p tcp:127.0.0.1:1", 3, "", "listens on TCP port 1. 'ping"},
        {"NoSuchLine", "read DM7 -p /nowhere/tty", 3, "", "can't open /nowhere/tty"},
        {"ScanOfNoLine", "scan DM7 -p /nowhere/tty", 3, "", "can't open /nowhere/tty"},
        {"NamesOfNoDriver", "--generate names /nowhere.so", 3, "", "no driver /nowhere.so"},
        {"AddressOfOthers", "simulate --tcp 192.0.2.1:0", 3, "", "192.0.2.1"},
        {"NoSuchFile", "write --from /nowhere/values", 3, "", "can't read /nowhere/values"},
    });
}

/// All are refused before a port is opened: the line does not exist.
TEST(Outcome, OfMisuse)
{
    expectOutcomes({
        {"Nothing", "", 2, "", "plcctl --help"},
        {"NoSuchCommand", "raed DM7", 2, "", "Did you mean 'plcctl read'?"},
        {"NoSuchProgramOption", "--versoin", 2, "", "Did you mean 'plcctl --version'?"},
        {"NoSuchOption", "read DM7 --tarce", 2, "", "Did you mean --trace?"},
        {"ValueForgotten", "read DM7 --timeout", 2, "", "--timeout needs a value"},
        {"VariableNeverSet", "read DM7 --port=", 2, "", "--port needs a value"},
        {"NoCount", "read DM7 -c 0", 2, "", "'0' is not a number from 1 to"},
        {"NoUsualTcpPort", "read HR7 -p tcp:127.0.0.1 --driver " MODBUS_DRIVER, 2, "",
         "has no port number"},
        {"DeviceOfAnotherDriver", "read DM7 --driver " MODBUS_DRIVER, 2, "", "There are HR, C."},
        {"UnknownLine", "read DM7 -l RS232,9600 -p /nowhere/tty", 2, "", "--line: "},
        {"UnknownTcpPort", "read DM7 -p tcp:localhost:70000", 2, "", "--port: "},
        {"BareAddress", "read DM7 -p 192.0.2.1", 2, "", "type tcp:192.0.2.1 for"},
        {"HostName", "read DM7 -p localhost:8501", 2, "", "type tcp:localhost:8501 for"},
        {"FaultOfARealLine", "read DM7 -p /nowhere/tty --fault silent", 2, "",
         "--port and plcctl simulate.\n"},
        {"TwoSourcesOfValues", "write DM7 1 --from /nowhere/f", 2, "", "not both\n"},
        {"NoShortOption", "read DM7 -q -p /nowhere/tty", 2, "", "Try 'plcctl read --help'."},
        {"TagWithoutAFile", "write boiler.temp 5 -p /nowhere/tty", 2, "",
         "names need a tag file. See --tags.\n"},
        {"NothingToWrite", "write DM7 -p /nowhere/tty", 2, "",
         "needs a device and values, or --from"},
        {"NoTcpPort", "simulate --tcp nine", 2, "", "--tcp: \"nine\""},
        {"Ipv6WithoutBrackets", "simulate --tcp ::1:0", 2, "", "--tcp: \"::1:0\""},
        {"UnknownProtocol", "simulate --protocol can", 2, "", "not one of kv1000, modbusrtu"},
        {"TimeWithoutAUnit", "watch DM7 -i 5", 2, "", "'5' has no unit: write 5ms, 5s or 5m"},
        {"TimeInAnUnknownUnit", "check DM7 --for 5sec", 2, "", "'5sec' is not a time; write 500ms"},
        {"TooShortATime", "watch DM7 -i 0.4ms", 2, "", "'0.4ms' is less than 1ms"},
        {"LiveWithoutATerminal", "watch DM7 --live", 2, "", "--live needs a terminal"},
        {"ScanOfNoArea", "scan XY7 -p /nowhere/tty", 2, "", "there is no area 'XY'"},
        {"CheckOfARange", "check DM7..DM9", 2, "", "names 3 points"},
        {"CheckAsCsv", "check DM7 -f csv", 2, "", "--format"},
        {"ManualWithoutAPlace", "--generate man", 2, "", "needs man DIRECTORY, bash"},
        {"NoSuchCompletion", "--generate fish", 2, "", "needs man DIRECTORY, bash"},
        {"LineOfAConnection", "simulate --tcp 0 --line RS232,9600,EVEN,8,1", 2, "",
         "--line is for a pseudo-terminal"},
        {"UnknownMovement", "simulate --move DM0=saw/1s", 2, "", "--move: DM0: \"saw\""},
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
    EXPECT_NE(none.err.find("real one. See --port."), std::string::npos) << none.err;
}

/// Written to a file before plcctl reads it; FILE in the arguments becomes its path.
struct FileRow {
    const char* name;
    const char* content;
    std::string arguments;
    int status;
    const char* out;
    std::string error;
};

void expectFileOutcomes(const std::vector<FileRow>& rows)
{
    const Folder folder;
    for (const FileRow& row : rows) {
        const std::string path = folder.write("file", row.content);
        expectOutcomes({{row.name, replaced(row.arguments, "FILE", path), row.status, row.out,
                         replaced(row.error, "FILE", path)}});
    }
}

constexpr const char* Tags = "name,device,type,factor,offset,unit,decimals,writable,min,max\n"
                             "boiler.temp,DM100,int,0.1,-10,°C,1,no,,\n"
                             "boiler.setpoint,DM101,int,0.5,,°C,1,yes,5,80\n"
                             "pump,MR500,,,,,,yes,,\n";

TEST(Tags, AreReadAndWrittenByTheirNames)
{
    const char* const shown = "boiler.temp      11.5 °C\nboiler.setpoint  20.5 °C\n";
    expectFileOutcomes({
        {"Pattern", Tags, "read boiler.* --tags FILE --set DM100=215,41", 0, shown, ""},
        {"Csv", Tags, "read boiler.temp pump --tags FILE -f csv --set DM100=215", 0,
         "name,device,type,value,unit\nboiler.temp,DM100,int,11.5,°C\npump,MR500,bool,0,\n", ""},
        {"Json", Tags, "read boiler.temp --tags FILE -f json --set DM100=215", 0,
         "[\n  {\"name\":\"boiler.temp\",\"device\":\"DM100\",\"type\":\"int\",\"value\":11.5,"
         "\"unit\":\"°C\"}\n]\n",
         ""},
        {"Scaled", Tags, "write boiler.setpoint 20.5 --tags FILE --trace", 0, "",
         R"("WRS DM00101 1 00041\r\n")"},
        {"Rounded", Tags, "write boiler.setpoint 20.7 --tags FILE", 0, "",
         "boiler.setpoint: 20.7 is rounded to 20.5\n"},
        {"RawHasNoUnit", Tags, "read boiler.temp -x --tags FILE --set DM100=215", 0,
         "boiler.temp  0x00D7\n", ""},
        {"RefusedByItsName", Tags, "write boiler.setpoint 9 --tags FILE --fault error=0@WRS", 1, "",
         "boiler.setpoint: Response During an Error:E0\\r\\n\n"},
        {"TooSmallForDecimals", "name,device,type,factor\nsmall,DM6,int,1e-12\n",
         "read small --tags FILE --set DM6=5", 0, "small  5e-12\n", ""},
        {"NoGoodRow", "name,device\na,DN7\n", "tags FILE", 2, "", "line 2, column 2"},
        {"WrongFile", "name,device\na,DM7\nb,DN7\n", "read a --tags FILE", 2, "",
         "line 3, column 2"},
    });
}

TEST(WriteFrom, TakesAFileOfPairs)
{
    expectFileOutcomes({
        {"Pairs", "# a recipe\nDM100 1\n\nDM101 = 2 # two\nMR500=1\r\n", "write --from FILE", 0, "",
         "FILE: 3 values written"},
        {"Twice", "DM100:dint 1\n\nDM101 2\n", "write --from FILE -p /nowhere/tty", 2, "",
         "FILE, line 3: DM101 would be written twice, first in line 1"},
        // The driver cuts a request into several commands; it is not known which of them failed.
        {"SecondRequestRefused", "DM0 1\nDM5 1\nDM6 2\n",
         "write --from FILE --retry 0 --fault error=1@WRS#2-2", 1, "",
         "DM5 and 1 more: Response During an Error:E1\\r\\n (at least 1 value written before it); "
         "some of these 2 values may be written\n"},
        {"EveryArea",
         "DM0 1\nEM0 2\nFM0 3\nZF0 4\nZ1 5\nCM0 6\nTM0 7\nVM0 8\nAT0 9\nT0 10\nTS0 11\nC0 12\n"
         "CS0 13\nPCTC0 14\nCTH0 15\nR0 1\nMR0 1\nLR0 1\nCR0 1\nCTC0:bool 1\n",
         "write --from FILE --verify", 0, "", "FILE: 20 values written and read back"},
    });
}

TEST(Info, TellsWhatTheDriverAnswers)
{
    const Json info = Json::parse(plcctl("info -f json").out);
    EXPECT_EQ(info.at("portKinds"), 0x70);
    EXPECT_EQ(info.at("exchange"),
              Json({{"timeoutMs", 500}, {"retries", 3}, {"delayMs", 0}, {"station", 0}}));
    EXPECT_EQ(info.at("areas").size(), 20U);
    EXPECT_EQ(info.at("areas").at(0).at("digits"), 5);

    expectNarrowLines(plcctl("info").out);
    const std::string modbus = plcctl("info --driver " MODBUS_DRIVER).out;
    EXPECT_NE(modbus.find("as in 1:HR0"), std::string::npos) << modbus;
    EXPECT_EQ(plcctl("info -f csv").out.find("area,what,type,read,write\nDM,"), 0U);
}

TEST(Help, IsASuccess)
{
    for (const char* command :
         {"", "info", "read", "write", "watch", "check", "diff", "dump", "restore", "tags", "links",
          "ports", "scan", "explain", "simulate"}) {
        const Result run = plcctl(command + std::string(" --help"));
        EXPECT_EQ(run.status, 0) << command;
        EXPECT_NE(run.out.find("Example"), std::string::npos) << command;
        expectNarrowLines(run.out);
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
        {"DM10:int -0x8000", "DM10:int", "DM10  -32768\n"},
        {"DM10 -100000 -t dint", "DM10:dint", "DM10  -100000\n"},
        {"DM10:string6 abc --verify", "DM10:string6 DM12", "DM10  abc\nDM12    0\n"},
        {"DM20 1 2 3 4 -t byte", "DM20 -c 2 -x", "DM20  0x0201\nDM21  0x0403\n"},
        {"DM20 9 65536", "DM20 -c 2", "DM20   513\nDM21  1027\n"}, // nothing when one is wrong
        {"DM40..DM42 1 2 3", "DM40..DM42 -f csv",
         "name,device,type,value,unit\nDM40,DM40,uint,1,\nDM41,DM41,uint,2,\nDM42,DM42,uint,3,\n"},
        {"MR515 1 0 1", "MR515 -c 3", "MR515  1\nMR600  0\nMR601  1\n"},
        {"TS5 100", "T5 TS5", "T5    42\nTS5  100\n"},
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

TEST(Write, TellsWhenAnotherValueIsReadBack)
{
    TcpFarEnd controller;
    const std::string port = host::textOf(controller.address()).toStdString();
    const Folder folder;
    const std::string tags =
        folder.write("tags.csv", "name,device,type,factor,unit,decimals\nlevel,D5,int,0.5,m,0\n");
    Background write("write level 18 --verify --driver " MINIMAL_DRIVER " -p " + port + " --tags " +
                     tags);
    controller.meet();
    EXPECT_EQ(controller.receive(7), "S 5 36\n");
    controller.send("ok\n");
    EXPECT_EQ(controller.receive(4), "G 5\n");
    controller.send("35\n");
    EXPECT_EQ(write.nextLine(QProcess::StandardError), "plcctl: level: wrote 18, read back 17.5");
    EXPECT_EQ(write.end(), 6);
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
    const Result run = plcctl("watch DM7 -n 3 -i 0.002s -f csv --set DM7=5");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.find("time,name,device,type,value,unit,failure\n"), 0U);
    EXPECT_EQ(countOf(",DM7,DM7,uint,5,,\n", run.out), 1) << run.out;
    EXPECT_EQ(countOf("\n", run.out), 2) << run.out;
    EXPECT_NE(run.err.find("\n3 requests, 0 failed\n"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("(wanted 2.0 ms, longest "), std::string::npos) << run.err;

    const Result outage = plcctl("watch DM7 -n 5 -i 1ms -f csv --set DM7=5 -o 150 --retry 0 "
                                 "--fault silent@RDS#2-3");
    EXPECT_EQ(countOf(",DM7,DM7,uint,,,noReply\n", outage.out), 1) << outage.out;
    EXPECT_EQ(countOf(",DM7,DM7,uint,5,,\n", outage.out), 2) << outage.out;

    const Result nan = plcctl("watch DM40:real -n 3 -i 1ms --set DM40=0,0x7FC0");
    EXPECT_EQ(countOf("DM40  nan", nan.out), 1) << nan.out;
}

TEST(Numbers, HaveADecimalPointInEveryLocale)
{
    const Folder folder;
    const std::string makeLocale = "localedef -i de_DE -f UTF-8 " + folder.path("de_DE.UTF-8");
    ASSERT_EQ(QProcess::execute("/bin/sh", {"-c", QString::fromStdString(makeLocale)}), 0);
    const std::string tags =
        folder.write("tags.csv", "name,device,type,factor\ntemp,DM0,int,0.1\n");
    qputenv("LOCPATH", folder.path().c_str());
    qputenv("LC_ALL", "de_DE.UTF-8");
    const std::string options = " --tags " + tags + " --set DM0=215";
    EXPECT_EQ(plcctl("read temp -f csv" + options).out,
              "name,device,type,value,unit\ntemp,DM0,int,21.5,\n");
    EXPECT_NE(plcctl("read temp -f json" + options).out.find("\"value\":21.5}"), std::string::npos);
    EXPECT_NE(plcctl("explain read DM0 -f csv").out.find(",9.2\n"), std::string::npos);
    qunsetenv("LOCPATH");
    qunsetenv("LC_ALL");
}

TEST(Watch, TellsOfAFlappingLineWithAdviceOnce)
{
    const Result run = plcctl("watch DM7 DM8 -n 40 -i 0s -o 150 --retry 0 -f json "
                              "--fault silent@RDS#1,silent@RDS#20-20");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(
        countOf("\"name\":\"DM8\",\"device\":\"DM8\",\"type\":\"uint\",\"failure\":\"noReply\"}",
                run.out),
        2)
        << run.out;
    EXPECT_EQ(countOf("\"type\":\"uint\",\"value\":", run.out), 4) << run.out;
    EXPECT_EQ(countOf("packet loss", run.err), 2) << run.err;
    EXPECT_EQ(countOf("No complete reply", run.err), 1) << run.err;
    EXPECT_EQ(countOf("DM7 and 1 more: packet loss (0 of 4 bytes within 150 ms), 2 times so far",
                      run.err),
              1);
    EXPECT_EQ(countOf("DM7 and 1 more: answer again", run.err), 2) << run.err;
    EXPECT_EQ(countOf("interval", run.err), 1) << "0 cannot be missed\n" << run.err;

    const Json summary = Json::parse(run.err.substr(run.err.find("\n{")));
    EXPECT_EQ(summary.at("failures").at("noReply"), 2);
    EXPECT_EQ(summary.at("rounds"), 40);
}

TEST(Log, ThatCannotBeWrittenEndsTheCommand)
{
    const struct {
        const char* arguments;
        const char* redirection;
        int messages;
    } rows[] = {
        {"watch DM7 -i 1ms -f csv", ">/dev/full", 1},
        {"watch DM7 -i 1ms", ">/dev/full", 1},
        {"read DM7", ">/dev/full", 1},
        {"simulate", ">/dev/full", 1},
        {"read DM7", ">&-", 1},
        {"read DM7", "<&- >&- 2>&-", 0},
    };
    for (const auto& row : rows) {
        const Result run = plcctl(row.arguments, row.redirection);
        SCOPED_TRACE(std::string(row.arguments) + " " + row.redirection + "\n" + run.err);
        EXPECT_EQ(run.status, 3);
        EXPECT_EQ(countOf("can't write to standard output", run.err), row.messages);
    }
}

TEST(Signal, EndsACommandOnASilentLine)
{
    const struct {
        const char* arguments;
        int signal;
        int status;
        const char* error; ///< the last line of standard error
    } rows[] = {
        {"watch DM7", SIGINT, 0, "0 requests, 0 failed"},
        {"watch DM7", SIGHUP, 0, "0 requests, 0 failed"},
        {"read DM7", SIGINT, 130, "plcctl: DM7: stopped"},
        {"write DM7 1", SIGTERM, 143, "plcctl: DM7: stopped; it may be written"},
        {"check DM7", SIGTERM, 143, ""}, // its verdict goes to standard output
    };
    SimulatedController controller("-v --fault silent");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        // A minute, and a hundred times: only the signal can end it.
        Background command(row.arguments + (" -o 60000 --retry 100 -p " + controller.tcp()));
        for (const char* line : {" > CR", " <   (silent)"})
            EXPECT_NE(controller.process().nextLine(QProcess::StandardError).find(line),
                      std::string::npos);
        EXPECT_EQ(command.endWith(row.signal), row.status);
        EXPECT_EQ(command.nextLine(QProcess::StandardError), row.error);
    }
}

TEST(Signal, EndsThePauseBeforeARequest)
{
    SimulatedController controller;
    Background read("read DM7 --delay 3600000 --trace -p " + controller.tcp());
    EXPECT_NE(read.nextLine(QProcess::StandardError).find("delay -> 3600000"), std::string::npos);
    EXPECT_EQ(read.endWith(SIGINT), 130);
}

/// Whether somebody waits for a connection to this port of 127.0.0.1.
bool isAwaited(quint16 port)
{
    constexpr char SynSent[] = " 02 ";
    QFile connections("/proc/net/tcp");
    EXPECT_TRUE(connections.open(QIODevice::ReadOnly));
    const QByteArray place = "0100007F:" + QByteArray::number(port, 16).rightJustified(4, '0');
    return connections.readAll().toUpper().contains(place.toUpper() + SynSent);
}

TEST(Signal, EndsAnAttemptToConnect)
{
    constexpr int PatienceMs = 20000;
    TcpFarEnd controller(0);
    const host::PortAddress address = controller.address();
    const auto first = host::makeTcpTransport(address.place, address.tcpPort);
    ASSERT_TRUE(first->open(PatienceMs));
    Background read("read DM7 -o 600000 -p " + host::textOf(address).toStdString());
    for (int ms = 0; ms < PatienceMs && !isAwaited(address.tcpPort); ++ms)
        ::usleep(1000);
    EXPECT_EQ(read.endWith(SIGINT), 130);
    EXPECT_EQ(read.nextLine(QProcess::StandardError), "plcctl: interrupted");
    EXPECT_EQ(read.nextLine(QProcess::StandardError), "");
}

TEST(Port, ThatBreaksIsNoMatterOfTheLine)
{
    TcpFarEnd controller;
    const std::string port = host::textOf(controller.address()).toStdString();
    Background read("read D5 --retry 0 -o 60000 --driver " MINIMAL_DRIVER " -p " + port);
    controller.meet();
    EXPECT_EQ(controller.receive(4), "G 5\n");
    controller.hangUp();
    EXPECT_EQ(read.nextLine(QProcess::StandardError),
              "plcctl: D5: packet loss (" + port.substr(4) + ": closed by the far end)");
    const std::string advice = read.nextLine(QProcess::StandardError);
    EXPECT_EQ(advice.find("The controller or a gateway closed the connection"), 0U) << advice;
    EXPECT_EQ(read.end(), 4);
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
