// dump, restore and diff, against controllers in processes of their own.
#include "program.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <gtest/gtest.h>

#include <csignal>
#include <sys/stat.h>

namespace
{

const std::string Header =
    "# snapshot 1, plcctl " PLCCTL_VERSION "\n# driver: KEYENCE KV-1000\n# devices: ";

TEST(Snapshot, OfAControllerIsRestoredToIt)
{
    const Folder folder;
    const SimulatedController controller(
        "--set DM0=7,8 --set DM2=0x6666,0x3FA6 --set MR500=1,0,1 --set T5=42");
    const std::string port = " -p " + controller.pty();
    const std::string file = folder.path("a.txt");
    const std::string devices = "T5 MR500..MR502 DM0..DM3 DM2:real CTC0";
    ASSERT_EQ(plcctl("dump " + devices + " -o " + file + port).status, 0);
    EXPECT_EQ(folder.text("a.txt"), Header + devices +
                                        "\nDM0:uint          7     8\n"
                                        "DM2:real                1.3\n"
                                        "MR500:bool    1 0 1\n"
                                        "T5:udint              42\n"
                                        "CTC0:udint             0\n"
                                        "# end\n");
    EXPECT_FALSE(folder.has("a.txt.part"));
    EXPECT_EQ(plcctl("dump " + devices + port).out, folder.text("a.txt"));
    EXPECT_NE(plcctl("dump DM0 --date" + port).out.find("\n# date: 2"), std::string::npos);

    ASSERT_EQ(plcctl("write DM1 9" + port).status, 0);
    ASSERT_EQ(plcctl("write MR502 0" + port).status, 0);
    const std::string it = " " + file + port;
    expectOutcomes({
        {"Table", "diff" + it, 6,
         "device      left  right\nDM1:uint       8      9\nMR502:bool     1      0\n", ""},
        {"Question", "restore" + it, 2, "", "Give --yes"},
        {"DryRun", "restore --dry-run" + it, 0, "DM1:uint    9 -> 8\nMR502:bool  0 -> 1\n",
         "CTC as udint"},
        {"StillDifferent", "diff -f json" + it, 6,
         "[\n  {\n    \"device\": \"DM1:uint\",\n    \"left\": 8,\n    \"right\": 9\n  },\n"
         "  {\n    \"device\": \"MR502:bool\",\n    \"left\": 1,\n    \"right\": 0\n  }\n]\n",
         ""},
        {"Restored", "restore --yes" + it, 0, "",
         "2 values written and read back\nplcctl: 5 already the same\n"},
        {"Same", "diff" + it, 0, "", "no differences in 8 values"},
        {"NothingLeft", "restore --yes" + it, 0, "", "nothing to write"},
        {"All", "restore --yes --all" + it, 0, "", "7 values written"},
    });
    const Result files = plcctl("diff -f csv " + file + " " + folder.write("b.txt", "DM0 7 9\n"));
    EXPECT_EQ(files.status, 6);
    EXPECT_EQ(files.out.find("device,left,right\nDM1:uint,8,9\nDM2:real,1.3,\n"), 0U) << files.out;
    EXPECT_EQ(plcctl("diff - " + file, "<" + file).status, 0);
    EXPECT_EQ(plcctl("dump DM0 -o -" + port).out.find("# snapshot"), 0U);
    const std::string hidden = folder.write("a.txt", "DM0:string4 \"a\"\n") + " " +
                               folder.write("b.txt", R"(DM0:string4 "a\x00b")");
    EXPECT_NE(plcctl("diff -f json " + hidden).out.find(R"("right": "\"a\\x00b\"")"),
              std::string::npos);
}

TEST(Snapshot, KeepsTagsApartFromTheirScale)
{
    const Folder folder;
    const std::string tags = " --tags " + folder.write("plant.csv", "name,device,type,factor\n"
                                                                    "temp,DM10,int,0.1\n");
    const Result dumped = plcctl("dump temp DM9..DM11 --set DM9=1,0xFFFB,3" + tags);
    EXPECT_EQ(dumped.out, Header + "temp DM9..DM11\nDM9:uint          1\n"
                                   "DM10:int          -5 @temp\nDM11:uint         3\n# end\n");
    const std::string file = folder.write("a.txt", dumped.out);
    EXPECT_EQ(plcctl("restore --dry-run " + file + " --set DM9=1,6,3").out,
              "temp (DM10:int)  6 -> -5\n");
    EXPECT_EQ(plcctl("diff -f csv " + file + " --set DM9=1,6,3").out,
              "device,left,right,tag\nDM10:int,-5,6,temp\n");
}

TEST(Dump, KeepsAnOlderFileUntilTheControllerHasAnsweredForAll)
{
    const Folder folder;
    const std::string file = folder.write("a.txt", "DM0 1\n");
    const std::string command = "dump DM2000..DM3300 -o " + file + " --retry 0";
    const std::string values = " --set DM2000=1 --set DM2255=2 --set DM2256=3 --set DM3300=4";
    const struct {
        const char* name;
        const char* options;
        int status;
        int requests;      ///< that were sent
        const char* error; ///< a part of standard error
        bool hasPart;
    } rows[] = {
        {"AllRefused", " --fault error=1@CR", 1, 0, "no value was read; FILE was not written",
         false},
        {"DeadLine", " --fault silent@RDS --timeout 50", 4, 3,
         "no value was read; FILE was not written", false},
        {"ALostReply", " --fault silent@RDS#2-2 --timeout 400", 4, 6,
         "1045 of 1301 values are in FILE.part; FILE was not written.", true},
        {"DiesAgain", " --resume --fault silent@RDS --timeout 50", 4, 1,
         "1045 of 1301 values are in", true},
        {"Garbled", " --resume --fault garble@RDS", 5, 1, "1045 of 1301 values are in", true},
    };
    for (const auto& row : rows) {
        const Result run = plcctl(command + values + row.options + " --trace");
        SCOPED_TRACE(row.name + (": " + run.err));
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(QString::fromStdString(run.err).count("\"RDS "), row.requests);
        EXPECT_NE(run.err.find(replaced(row.error, "FILE", file)), std::string::npos);
        EXPECT_EQ(folder.text("a.txt"), "DM0 1\n");
        EXPECT_EQ(folder.has("a.txt.part"), row.hasPart);
    }
    EXPECT_EQ(plcctl(command + " --resume" + values).status, 0);
    EXPECT_EQ(folder.text("a.txt"), plcctl("dump DM2000..DM3300" + values).out);
    EXPECT_FALSE(folder.has("a.txt.part"));
}

TEST(Dump, HasCommentsForWhatCouldNotBeRead)
{
    const Folder folder;
    const Result lost = plcctl("dump DM1020..DM1300 --timeout 200 --retry 0 --fault silent@RDS#1-1 "
                               "--set DM1276=5");
    EXPECT_EQ(lost.status, 4);
    EXPECT_NE(lost.err.find("plcctl: DM1020 and 255 more: packet loss"), std::string::npos);
    EXPECT_NE(lost.out.find("\n# DM1020:uint..DM1275:uint not read: packet loss"),
              std::string::npos);
    EXPECT_NE(lost.out.find("\nDM1276:uint       5     0     0     0\nDM1280"), std::string::npos);

    const std::string file = folder.path("a.txt");
    EXPECT_EQ(plcctl("dump DM0 DM99999 -o " + file).status, 1);
    EXPECT_NE(folder.text("a.txt").find("\n# DM99999:uint not read: Response"), std::string::npos);
    EXPECT_NE(plcctl("diff " + file).err.find("no value of DM99999:uint"), std::string::npos);
}

TEST(Dump, GoesOnWhereItWasStopped)
{
    const Folder folder;
    const std::string command = "dump DM1020..DM1300 -o " + folder.path("a.txt");
    {
        SimulatedController hangs("--fault silent@RDS#2-2 --set DM1020=1");
        Background dump(command + " --timeout 60000 --retry 0 -p " + hangs.tcp());
        for (int i = 0; i < 1000 && folder.text("a.txt.part").find("DM1020:") == std::string::npos;
             ++i)
            QThread::msleep(20);
        EXPECT_EQ(dump.endWith(SIGINT), 128 + SIGINT);
        EXPECT_NE(dump.nextLine(QProcess::StandardError).find("256 of 281 values"),
                  std::string::npos);
        EXPECT_NE(dump.nextLine(QProcess::StandardError).find("--resume"), std::string::npos);
    }
    EXPECT_FALSE(folder.has("a.txt"));
    EXPECT_NE(plcctl("diff " + folder.path("a.txt.part")).err.find("is not complete"),
              std::string::npos);
    EXPECT_EQ(plcctl("dump DM0 --resume -o " + folder.path("a.txt")).status, 2);
    EXPECT_EQ(plcctl(command).status, 2);

    // Another controller: what was read before does not come from it, and a torn line does.
    QFile part(QString::fromStdString(folder.path("a.txt.part")));
    ASSERT_TRUE(part.open(QIODevice::Append));
    part.write("DM1276:uint 4");
    part.close();
    const Result resumed = plcctl(command + " --resume --set DM1020=9 --set DM1276=5");
    EXPECT_EQ(resumed.status, 0);
    EXPECT_NE(resumed.err.find("256 of 281 values kept"), std::string::npos) << resumed.err;
    EXPECT_NE(folder.text("a.txt").find("\nDM1020:uint       1     0     0     0\nDM1024"),
              std::string::npos);
    EXPECT_NE(folder.text("a.txt").find("\nDM1272:uint       0     0     0     0     5     0"),
              std::string::npos);
    EXPECT_FALSE(folder.has("a.txt.part"));
}

TEST(Dump, ReplacesNothingButFiles)
{
    const Folder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    ASSERT_TRUE(QDir().mkdir(QString::fromStdString(folder.path("part.part"))));
    for (const char* name : {"pipe", "part", "."}) {
        const Result run = plcctl("dump DM0 --resume -o " + folder.path(name));
        EXPECT_EQ(run.status, 3) << name;
        EXPECT_NE(run.err.find("can't write "), std::string::npos) << run.err;
    }
    EXPECT_FALSE(QFileInfo(QString::fromStdString(folder.path("pipe"))).isFile());
}

TEST(Restore, RefusesBeforeAnythingIsWritten)
{
    const Folder folder;
    const struct {
        const char* text;
        const char* error;
    } rows[] = {
        {"DM0 1\nHR5 1\n", "a.txt, line 2: there is no area 'HR'"},
        {"# snapshot 1, plcctl 7\nDM0 12", "a.txt is not complete: its last line, # end, is"},
        {"\xEF\xBB\xBF# driver: Modbus RTU\nC0:bool 1 0 1 1\n", "a dump of the driver Modbus RTU"},
        {"# DM0:uint..DM9:uint not read: no reply\n", "it has no values"},
        {"CTC0 1\n", "nothing in "},
        {"DM9 1\nDM10:int 5\n", "a.txt, line 2: temp is not writable"},
        {"DM10 5\n", "a.txt, line 1: temp is not writable"},
        {"DM10:int 5\nDM11:int 801 @setpoint\n",
         "a.txt, line 2: setpoint: 80.1 is above its maximum, 80 bar\n"
         "plcctl: the tags refuse 2 changes; nothing was written\n"},
        {"DM11:uint 801\n", "a.txt, line 1: setpoint: 80.1 is above its maximum, 80 bar"},
        {"DM20:uint 0 32704\n", "a.txt, line 1: level: nan is not within its limits"},
        {"DM20:uint 0 32640\n", "a.txt, line 1: level: inf is not within its limits"},
        {"DM11:uint 800\nDM20:uint 0 16969\n",
         "a.txt, line 2: level: 50.25 is above its maximum, 50\n"
         "plcctl: the tags refuse 1 change; nothing was written\n"},
    };
    const std::string tags =
        " --tags " + folder.write("plant.csv", "name,device,type,factor,unit,writable,max\n"
                                               "temp,DM10,int,,,no,\n"
                                               "setpoint,DM0011,int,0.1,bar,yes,80\n"
                                               "level,DM20,real,,,yes,50\n");
    for (const auto& row : rows) {
        const std::string file = folder.write("a.txt", row.text);
        const Result run = plcctl("restore --yes --trace " + file + tags);
        EXPECT_EQ(run.status, 2) << run.err;
        EXPECT_NE(run.err.find(row.error), std::string::npos) << run.err;
        EXPECT_EQ(run.err.find("WRS"), std::string::npos) << run.err;
    }
    const std::string allowed =
        folder.write("a.txt", "# snapshot 1, plcctl 7\r\nDM10:int 5\r\nDM11:int 800\r\n# end\r\n");
    EXPECT_EQ(plcctl("restore --yes --set DM10=5 " + allowed + tags).status, 0);
    EXPECT_EQ(plcctl("restore --yes " + folder.path("none.txt")).status, 3);
}

TEST(Restore, TellsHowFarItCame)
{
    const Folder folder;
    const std::string command = "restore --yes " +
                                folder.write("a.txt", "DM0 1 2\nMR0 1 1 1\nT5 7\n") +
                                " --retry 0 -o 150 ";
    expectOutcomes({
        // The second of three commands of a request fails: what the first wrote counts for nothing.
        {"InTheMiddle", command + "--fault silent@ST#2-2", 4, "",
         "\nplcctl: 2 of 6 values written, perhaps also some of the next 3; not tried: 1.\n"
         "plcctl: The same command writes what is missing.\n"},
        {"AtTheEnd", command + "--all --fault silent@WRS#2-2", 4, "",
         "\nplcctl: 5 of 6 values written, perhaps also the next one.\n"
         "plcctl: The same command without --all writes what is missing.\n"},
        {"ReadingBack", command + "--all --fault silent@RDS#1-1", 4, "",
         "\nplcctl: 6 values written, but not all read back\n"},
    });
}

} // namespace
