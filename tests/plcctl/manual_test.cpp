// The man pages and completion scripts that plcctl makes of its options, read by groff, bash and
// zsh.
#include "program.h"
#include "terminal.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <set>
#include <sstream>

namespace
{

/// What a program prints on both outputs.
std::string outputOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program, arguments, QIODevice::ReadOnly);
    process.waitForFinished();
    return process.error() == QProcess::UnknownError ? process.readAll().toStdString()
                                                     : program.toStdString() + " did not run";
}

/// What matches in a text; the first group of the pattern where it has one.
std::set<std::string> found(const char* pattern, const std::string& text)
{
    std::set<std::string> all;
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    for (auto i = expression.globalMatch(QString::fromStdString(text)); i.hasNext();)
        all.insert(i.next().captured(expression.captureCount()).toStdString());
    return all;
}

class ManPages : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(plcctl("--generate man " + folder.path()).status, 0); }

    QString file(const std::string& name) { return QString::fromStdString(folder.path(name)); }

    const Folder folder;
};

TEST_F(ManPages, NameEveryOptionAndSayNothingThatGroffWarnsOf)
{
    const std::string help = plcctl("--help").out;
    std::set<std::string> commands = found("^  ([a-z]+)  ", help.substr(help.find("Subcommands:")));
    ASSERT_GE(commands.size(), 14U);
    commands.insert("");
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        const QString page = file("plcctl" + (command.empty() ? "" : "-" + command) + ".1");
        EXPECT_EQ(outputOf("groff", {"-man", "-ww", "-z", "-Tutf8", page}), "");
        const std::string text = outputOf("groff", {"-man", "-Tascii", "-P-cbou", page});
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const bool isWarning = line.rfind("troff: ", 0) == 0; // of °, which ASCII lacks
            EXPECT_TRUE(isWarning || line.size() <= 80) << line;
        }
        const auto options = found("(?:^  |,)(--?[a-z][a-z-]*)", plcctl(command + " --help").out);
        EXPECT_GE(options.size(), 2U);
        for (const std::string& option : options)
            EXPECT_NE(text.find(option), std::string::npos) << option;
        for (const char* section : {"NAME", "SYNOPSIS", "OPTIONS", "EXIT STATUS", "EXAMPLES"})
            EXPECT_NE(text.find(std::string("\n") + section + "\n"), std::string::npos) << section;
    }
}

TEST_F(ManPages, ShowExamplesAndRoffCharactersAsTheyAreTyped)
{
    const struct {
        const char* page;
        const char* text;
    } rows[] = {
        {"plcctl-read.1", "plcctl read 'boiler.*' --tags plant.csv -p /dev/ttyUSB0\n"},
        {"plcctl-read.1", "DM100 and DM101\n"},
        {"plcctl-simulate.1", "FAULT[=VALUE][@COMMAND][#N][:SHARE]\n"},
        {"plcctl-write.1", "--verify"},
        {"plcctl-read.1", "plcctl-watch(1),\n"},
        {"plcctl-links.1", "plcctl links [OPTIONS] --project DIR\n"},
        {"plcctl.1", "EXIT STATUS\n       0 success, 1 the controller refused"},
        {"plcctl-tags.1", "plcctl-tags - check a tag file"},
    };
    for (const auto& row : rows) {
        const std::string text = outputOf("groff", {"-man", "-Tascii", "-P-cbou", file(row.page)});
        EXPECT_NE(text.find(row.text), std::string::npos) << row.page << ": " << row.text;
    }
    EXPECT_EQ(plcctl("--generate man /dev/null/here").status, 3);
}

const char* const TagFile = "name,device\nboiler.temp,DM0\npump.on,MR0\n";

/// What bash has in COMPREPLY after a line, separated by blanks.
std::string completed(const std::string& script, const std::string& line)
{
    const QString commands = QString::fromStdString(
        "source " + script + "; COMP_WORDBREAKS=$' \\t\\n\"><=;|&(:'; COMP_LINE=\"" + line +
        "\"; COMP_POINT=${#COMP_LINE}; _plcctl; echo \"${COMPREPLY[*]}\"");
    return QString::fromStdString(outputOf("bash", {"--norc", "-c", commands}))
        .trimmed()
        .toStdString();
}

TEST(BashCompletion, KnowsWhatCanStandThere)
{
    const Folder folder;
    const std::string script = folder.write("plcctl.bash", plcctl("--generate bash").out);
    const std::string tagFile = folder.write("tags.csv", TagFile);
    const struct {
        const char* name;
        std::string arguments;
        const char* replies;
    } rows[] = {
        {"Subcommand", "wa", "watch"},
        {"OptionOfTheProgram", "--vers", "--version"},
        {"Option", "read --ti", "--timeout"},
        {"NotAnOptionOfAnother", "info --ti", ""},
        {"Format", "read DM0 -f ", "table csv json"},
        {"FormatAfterEquals", "read --format=c", "csv"},
        {"Type", "read -t d", "dint dword"},
        {"Protocol", "simulate --protocol m", "modbusrtu"},
        {"Action", "explain re", "read"},
        {"AreaAfterAnAction", "explain read D", "DM"},
        {"Port", "read -p si", "sim"},
        {"NothingForANumber", "read -c ", ""},
        {"File", "read --tags " KV1000_DRIVER, KV1000_DRIVER},
        {"Directory", "links --project /pro", "/proc"},
        {"Area", "read D", "DM"},
        {"AreaInAnyPlace", "read DM0 F", "FM"},
        {"AreaOfAnotherDriver", "read --driver " MODBUS_DRIVER " H", "HR"},
        {"TypeOfADevice", "read DM8:di", "dint"},
        {"Tag", "read --tags " + tagFile + " bo", "boiler.temp"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(completed(script, std::string(PLCCTL " ") + row.arguments), row.replies)
            << row.name;
}

TEST(ZshCompletion, KnowsWhatCanStandThere)
{
    const Folder folder;
    folder.write("_plcctl", plcctl("--generate zsh").out);
    folder.write("tags.csv", TagFile);
    folder.write(".zshrc", "PS1='zsh> '; fpath=($PWD $fpath); path=(${${:-" PLCCTL "}:h} $path)\n"
                           "autoload -U compinit; compinit -u -D\n");
    Terminal terminal(200, 50);
    terminal.type("cd " + folder.path() + "; ZDOTDIR=$PWD zsh");
    ASSERT_TRUE(terminal.shows("zsh>")) << terminal.screen();
    const struct {
        const char* name;
        const char* arguments;
        const char* shown;
    } rows[] = {
        {"Subcommand", "wa", "zsh> plcctl watch"},
        {"Option", "read --ti", "zsh> plcctl read --timeout="},
        {"OptionsWithTheirHelp", "read --p", "or tcp:HOST[:PORT], the driver's usual port"},
        {"FormatAfterEquals", "read --format=c", "zsh> plcctl read --format=csv"},
        {"Port", "read -p si", "zsh> plcctl read -p sim"},
        {"Area", "read D", "zsh> plcctl read DM"},
        {"AreaOfAnotherDriver", "read --driver " MODBUS_DRIVER " H", " HR"},
        {"TypeOfADevice", "read DM8:di", "zsh> plcctl read DM8:dint"},
        {"Tag", "read --tags tags.csv bo", "boiler.temp"},
    };
    for (const auto& row : rows) {
        terminal.press({"C-u", "C-l", "plcctl ", row.arguments, "Tab"});
        EXPECT_TRUE(terminal.shows(row.shown)) << row.name << terminal.screen();
    }
}

} // namespace
