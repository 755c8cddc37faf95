// The programs for driver authors as they are used: what they say of a driver with one fault, and
// of wrong usage.
#include "conformance/stories.h"

#include <QProcess>

#include <gtest/gtest.h>

#include <sstream>

namespace
{

struct Row {
    const char* fault;     ///< of the driver
    const char* arguments; ///< of the program, run in the folder of the plug-ins
    int status;
    const char* reported; ///< in the output
};

void expectReported(const char* program, const Row& row)
{
    SCOPED_TRACE(std::string(row.fault) + ": " + program + " " + row.arguments);
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("FAULT", row.fault);
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(PLUGINS);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QString(PROGRAMS "/") + program,
                  QString(row.arguments).split(' ', Qt::SkipEmptyParts), QIODevice::ReadOnly);
    ASSERT_TRUE(process.waitForFinished(-1));
    const std::string output = process.readAll().toStdString();
    const bool ended = process.exitStatus() == QProcess::NormalExit;
    EXPECT_EQ(ended ? process.exitCode() : -1, row.status) << output;
    EXPECT_NE(output.find(row.reported), std::string::npos) << output;
    const size_t first = output.find("FAILED");
    EXPECT_EQ(output.find("FAILED", first + 1), std::string::npos) << "reported twice: " << output;
}

TEST(ContractProgram, NamesTheCheckThatFailed)
{
    const Row rows[] = {
        {"", "libfaulty.so --word D0", 0,
         "tested:  D0 read word\n           tested:  D0 write word\n           skipped: "},
        {"", "libfaulty.so --word D0 --write none", 0,
         "tested:  D0 read word\n           skipped: "},
        {"", "libfaulty.so --word D0 --read word,dword", 1, "FAILED   serves what it declares"},
        {"", "libfaulty.so --bit D0", 1, "expected: at least one width that is served"},
        {"", "libfaulty.so --word Q0", 1, "error \"invalid device address: Q0\""},
        {"nameless", "libfaulty.so --word D0", 1, "FAILED   is a plug-in that says who it is"},
        {"two lines", "libfaulty.so --word D0", 1, "FAILED   hands out sane defaults"},
        {"one record", "libfaulty.so --word D0", 1,
         "getDefaultDriverSetting\n           expected: a new object at each call"},
        {"", "libmisspelt.so", 1, "got:      devices[0] frist"},
        {"", "libfactoryless.so --word D0", 1, "FAILED   exports a factory of its own"},
        {"unknown width", "libfaulty.so --word D0", 1, "FAILED   leaves unknown widths alone"},
        {"gives up early", "libfaulty.so --word D0", 1,
         "FAILED   tries as often as the port allows"},
        {"keeps old bytes", "libfaulty.so --word D0", 1,
         "expected: pause, discard (option 12 with 0), write, read"},
        {"any reply", "libfaulty.so --word D0", 1, "FAILED   treats garbage as a failure"},
        {"any text", "libfaulty.so --word D0", 1, "FAILED   refuses bad device texts"},
        {"small block", "libfaulty.so --word D0", 1, "FAILED   asks the line for a full block"},
        {"crash", "libfaulty.so --word D0", -1, "read word D0, a length of 2147483647"},
        {"recursion", "libfaulty.so --word D0", -1, "the driver crashed: Segmentation fault"},
        {"stays", "libfaulty.so --word D0", 1, "FAILED   leaves memory when it is unloaded"},
        {"", "libQt5Core.so", 2, "can't load driver libQt5Core.so: no such file"},
        {"", "libstranger.so --word D0", 1, "expected: a driver plug-in"},
        {"", "libfaulty.so", 2, "name some with --word and --bit"},
        {"", NO_STORIES, 2, "can't load driver"},
        {"", "libfaulty.so --word D0 --read nibble", 2, "there is no width nibble"},
    };
    for (const Row& row : rows)
        expectReported("paneldriver-contract", row);
}

TEST(Programs, FailWhenTheirOutputIsLost)
{
    for (const char* command :
         {PROGRAMS "/paneldriver-contract " PLUGINS "/libfaulty.so --word D0 >/dev/full",
          PROGRAMS "/paneldriver-play " PLUGINS "/libfaulty.so " STORIES " >&-"}) {
        QProcess process;
        process.start("/bin/sh", {"-c", command}, QIODevice::ReadOnly);
        ASSERT_TRUE(process.waitForFinished(-1));
        EXPECT_EQ(process.exitCode(), 1) << command;
        EXPECT_NE(process.readAllStandardError().indexOf("can't write to standard output"), -1);
    }
}

TEST(Programs, HaveHelpThatFitsATerminal)
{
    for (const char* program : {"paneldriver-contract", "paneldriver-play"}) {
        QProcess process;
        process.start(QString(PROGRAMS "/") + program, {"--help"}, QIODevice::ReadOnly);
        ASSERT_TRUE(process.waitForFinished(-1));
        EXPECT_EQ(process.exitCode(), 0);
        const QList<QByteArray> lines = process.readAll().split('\n');
        EXPECT_GT(lines.size(), 20) << program;
        for (const QByteArray& line : lines)
            EXPECT_LE(line.size(), 80) << line.constData();
    }
}

TEST(PlayerProgram, ShowsWhereADriverLeavesAStory)
{
    const Row rows[] = {
        {"", "libfaulty.so " STORIES " --cut --faults", 0,
         "stories played: 1; damaged: 7; failed: 0\n"},
        {"keeps old bytes", "libfaulty.so " STORIES, 1,
         ":3: a word\n    read word D7 1\n    delay\n  - option 12 0\n  + write \"G7\"\n"},
        {"any count", "libfaulty.so " STORIES " --cut", 1, "read 3 \"=ab\": cut to 0\n"},
        {"any count", "libfaulty.so " STORIES " --faults", 1, "read 3 \"=ab\": more than asked"},
        {"any reply", "libfaulty.so " STORIES " --faults", 1,
         "  - ! and a reason\n  + = 23 23\n    and 1 more"},
        {"", "libfaulty.so " STORIES " --story another", 2, "no such story"},
        {"", "libfaulty.so /dev/null", 2, "/dev/null has no stories"},
        {"", "libfaulty.so " NO_STORIES, 2, "misspelt.json:2: neither read WIDTH"},
        {"", "libstranger.so " STORIES, 2, "can't load driver"},
        {"", "libfaulty.so", 2, "STORIES is required"},
    };
    for (const Row& row : rows)
        expectReported("paneldriver-play", row);
}

TEST(Stories, AreRefusedWithLineAndReason)
{
    const std::string noCall = "neither read WIDTH DEVICE COUNT nor write WIDTH DEVICE BYTES: ";
    const struct {
        const char* text;
        std::string reason;
    } rows[] = {
        {"    read word D0 1\n", "1: a story begins with its name, without blanks before"},
        {"a\n read word D0\n", "2: " + noCall + "read word D0"},
        {"a\n write word D0 1\n", "2: " + noCall + "write word D0 1"},
        {"a\n read nibble D0 1\n", "2: " + noCall + "read nibble D0 1"},
        {"a\n read word D0 2x\n", "2: " + noCall + "read word D0 2x"},
        {"a\n read 2x D0 1\n", "2: " + noCall + "read 2x D0 1"},
        {"a\n read word D0 1\n\n delay; open\n", "4: neither a call nor a shorthand: open"},
        {"define a = a\na\n read word D0 1\n a\n", "4: neither a call nor a shorthand: a"},
        {"define open\n", "1: not define PATTERN = ITEMS"},
        {"a\n read word D0 1\n write CR\n", "3: neither a call nor a shorthand: write CR"},
        {"a\n read word D0 1\n write \"abc; delay\n", "3: the closing quote is missing"},
        {"a\r\n read word D0 1\r\n open\r\n", "3: neither a call nor a shorthand: open"},
        {"a\n read word D0 1\n delay 9999999999\n",
         "3: neither a call nor a shorthand: delay 9999999999"},
        {"a\n read word D0 1\n write \"C\\q\"\n", "3: there is no escape \\q"},
        {"a\n read word D0 1\n write \"\\x4\"\n", "3: \\x needs two hexadecimal digits"},
        {"a\n read word D0 1\n = ok\n delay\n", "4: the story has ended with its outcome"},
        {"a\n read word D0 1\nb\n read word D0 1\n = ok\n", "1: the story has no outcome"},
        {"# none\n\na\n", "3: the story has no outcome"},
    };
    for (const auto& row : rows) {
        std::istringstream file(row.text);
        try {
            readStories(file);
            ADD_FAILURE() << row.text;
        } catch (const BadStory& error) {
            EXPECT_EQ(std::to_string(error.line) + ": " + error.what(), row.reason);
        }
    }
}

TEST(Stories, WriteTheirShorthandsOut)
{
    std::istringstream file(R"(
define ask <command> -> <reply> = tell "<command>;"; bytes <reply>
define tell <text> = option 12 0; write <text>
all of it
    write dword D0 0a 0B
    delay 5; ask a b -> "\x00\"\\;"; reply "x" of 4, "y" as -1, "\x7F\t"; retry -1
    = ok
)");
    const std::vector<Story> stories = readStories(file);
    ASSERT_EQ(stories.size(), 1u);
    EXPECT_EQ(stories[0].name, "all of it");
    EXPECT_EQ(stories[0].line, 4);
    EXPECT_EQ(stories[0].calls,
              (std::vector<std::string>{"delay 5", "option 12 0", R"(write "a b;")",
                                        R"(read 1 "\0")", R"(read 1 "\"")", R"(read 1 "\\")",
                                        R"(read 1 ";")", R"(read 4 "x")", R"(read 1 "y" as -1)",
                                        R"(read 2 "\x7F\t")", "retry -1"}));
}

} // namespace
