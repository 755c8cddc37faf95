// The live watch in a real terminal: what a person sees there, and what the terminal is afterwards.
#include "program.h"
#include "terminal.h"

#include <gtest/gtest.h>

#include <csignal>

namespace
{

/// The screen without its first line, which has the time of day in it.
std::string belowTitle(const std::string& screen)
{
    return screen.substr(screen.find('\n') + 1);
}

class LiveWatch : public testing::Test
{
protected:
    /// A shell with something on its screen, then the live watch.
    void start(const std::string& arguments)
    {
        terminal.type("echo before-$((40 + 2))");
        ASSERT_TRUE(terminal.shows("before-42"));
        terminal.type(PLCCTL " watch --live -i 20ms " + arguments);
        ASSERT_TRUE(terminal.shows("? help")) << terminal.screen();
        ASSERT_TRUE(terminal.loses("before-42"));
    }

    /// The shell has its screen again, shows what is typed, and stands on a line of its own.
    void expectShell()
    {
        EXPECT_TRUE(terminal.shows("before-42")) << terminal.screen();
        terminal.type("echo after-$((40 + 3))");
        EXPECT_TRUE(terminal.shows("after-43")) << terminal.screen();
        EXPECT_NE(terminal.screen().find("echo after"), std::string::npos) << terminal.screen();
        EXPECT_EQ(terminal.screen().find("? help"), std::string::npos) << terminal.screen();
    }

    Terminal terminal{80, 24};
};

TEST_F(LiveWatch, ShowsPointsWithTheirLastValues)
{
    start("DM0..DM3 MR0 --move DM3=ramp:0..1000/2s --move MR0=toggle:0..1/1s");
    for (const char* text : {"▇█", "█▁", "requests/s", "latency p50", " failed", "DM2"})
        EXPECT_TRUE(terminal.shows(text)) << text << terminal.screen();
    for (const char* key : {"?", "h"}) {
        terminal.press({key});
        EXPECT_TRUE(terminal.shows("Any key closes this")) << key << terminal.screen();
        terminal.press({"x"});
        EXPECT_TRUE(terminal.loses("Any key closes this")) << key << terminal.screen();
    }
}

TEST_F(LiveWatch, WritesThroughThePromptToTheMarkedLine)
{
    SimulatedController controller("--set DM7=1,2,3");
    start("DM7..DM9 -p " + controller.pty());
    terminal.press({"j", "Down", "k", "w"});
    ASSERT_TRUE(terminal.shows("write DM8 (uint):")) << terminal.screen();
    terminal.type("70000");
    EXPECT_TRUE(terminal.shows("-32768 to 65535")) << terminal.screen();
    terminal.press({"BSpace"});
    EXPECT_TRUE(terminal.shows("Ctrl-U clears it")) << terminal.screen();
    terminal.press({"C-u", "7", "0", "9", "BSpace", "0", "Enter"});
    EXPECT_TRUE(terminal.shows("DM8 = 700 written")) << terminal.screen();
    EXPECT_TRUE(terminal.shows("DM8       700")) << terminal.screen();
    terminal.press({"Enter", "9", "Escape"});
    EXPECT_TRUE(terminal.loses("write DM8")) << terminal.screen();

    const Result run = plcctl("read DM7 -c 3 -f csv -p " + controller.tcp());
    EXPECT_EQ(run.out, "name,device,type,value,unit\nDM7,DM7,uint,1,\nDM8,DM8,uint,700,\n"
                       "DM9,DM9,uint,3,\n");
}

TEST_F(LiveWatch, KeepsTheMarkInSightWhateverTheSizeOfTheTerminal)
{
    start("DM0..DM99");
    const struct {
        int columns;
        int lines;
        const char* first;
        const char* last;
    } rows[] = {
        {60, 15, "95 to 100 of 100", "DM94"},
        {20, 4, "100 to", "DM99"},
        {3, 2, " U…", ""},
        {140, 40, "70 to 100 of 100", "DM69"},
        {80, 24, "86 to 100 of 100", "DM85"},
    };
    terminal.press({"End"});
    ASSERT_TRUE(terminal.shows("of 100")) << terminal.screen();
    for (const auto& row : rows) {
        terminal.resize(row.columns, row.lines);
        EXPECT_TRUE(terminal.shows(row.first)) << row.columns << "\n" << terminal.screen();
        EXPECT_TRUE(terminal.shows(row.last)) << row.columns << "\n" << terminal.screen();
    }
    EXPECT_TRUE(terminal.shows("latency p50")) << terminal.screen();
}

TEST_F(LiveWatch, SortsPausesAndChangesItsSpeed)
{
    start("DM9 DM1 DM5 --move DM5=ramp:0..1000/10s");
    const auto order = [&](const char* first, const char* second) {
        return terminal.comesTo([=](const std::string& screen) {
            const std::string table = belowTitle(screen);
            return table.find(first) < table.find(second) && table.find(second) != table.npos;
        });
    };
    EXPECT_TRUE(order("DM9", "DM1")) << terminal.screen();
    terminal.press({"s"});
    EXPECT_TRUE(order("DM1", "DM5")) << terminal.screen();
    terminal.press({"s"});
    EXPECT_TRUE(order("DM5", "DM9")) << terminal.screen();
    terminal.press({"Space"});
    EXPECT_TRUE(terminal.shows("PAUSED")) << terminal.screen();
    terminal.press({"Space"});
    EXPECT_TRUE(terminal.loses("PAUSED")) << terminal.screen();
    terminal.press({"-", "-"});
    EXPECT_TRUE(terminal.shows("every 100 ms")) << terminal.screen();
    terminal.press({"+"});
    EXPECT_TRUE(terminal.shows("every 50.0 ms")) << terminal.screen();
}

TEST_F(LiveWatch, ShowsFailuresWhereTheyAre)
{
    start("DM7 CTC1:bool --fault error=1@RDS,error=0@WRS --retry 0");
    EXPECT_TRUE(terminal.shows("refused")) << terminal.screen();
    EXPECT_TRUE(terminal.shows("DM7: Response During an Error:E1")) << terminal.screen();
    terminal.press({"w", "5", "Enter"});
    EXPECT_TRUE(terminal.shows("DM7 not written: Response During an Error:E0"))
        << terminal.screen();
    terminal.resize(20, 12);
    EXPECT_TRUE(terminal.shows("refused")) << "there is no room for errors\n" << terminal.screen();
}

/// Also while a request waits for a line that is silent.
TEST_F(LiveWatch, GivesTheTerminalBack)
{
    const struct {
        const char* name;
        const char* key;
        int signal; ///< 0: the key
        bool hasSummary;
    } rows[] = {
        {"Quit", "q", 0, true},
        {"CtrlC", "C-c", 0, true},
        {"Terminated", "", SIGTERM, true},
        {"Crash", "", SIGSEGV, false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        terminal.type("clear");
        start("DM7 --fault silent@RDS -o 60000");
        if (row.signal != 0)
            kill(terminal.programOfShell(), row.signal);
        else
            terminal.press({row.key});
        expectShell();
        EXPECT_EQ(terminal.screen().find("0 requests, 0 failed") != std::string::npos,
                  row.hasSummary)
            << terminal.screen();
    }
}

} // namespace
