// The man pages and completion scripts that plcctl makes of its options, read by groff, bash and
// zsh.
#include "program.h"
#include "terminal.h"

#include <gtest/gtest.h>

#include <QFile>

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

/// Words that the help's left column has: subcommands without hyphens, or options with them.
std::set<std::string> namesInHelp(const std::string& help, bool options)
{
    std::set<std::string> names;
    bool inSubcommands = false;
    std::istringstream lines(help);
    for (std::string line; std::getline(lines, line);) {
        inSubcommands = line.rfind("Subcommands:", 0) == 0 || (inSubcommands && line[0] == ' ');
        if (line.rfind("  ", 0) != 0 || line.rfind("   ", 0) == 0 || inSubcommands == options)
            continue;
        std::istringstream column(line);
        for (std::string word; column >> word;) {
            const bool isLast = word.back() != ',';
            word = word.substr(0, word.find_last_not_of(',') + 1);
            std::istringstream parts(word);
            for (std::string part; std::getline(parts, part, ',');)
                if (!options || part[0] == '-')
                    names.insert(part);
            if (isLast)
                break;
        }
    }
    return names;
}

class ManPages : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(plcctl("--generate man " + m_directory.path().toStdString()).status, 0);
    }

    QString file(const std::string& name) const
    {
        return m_directory.filePath(QString::fromStdString(name));
    }

    QTemporaryDir m_directory;
};

TEST_F(ManPages, NameEveryOptionAndSayNothingThatGroffWarnsOf)
{
    std::set<std::string> commands = namesInHelp(plcctl("--help").out, false);
    ASSERT_GE(commands.size(), 7U);
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
        const auto options = namesInHelp(plcctl(command + " --help").out, true);
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

/// The path of a new file with this text.
QString written(const QTemporaryDir& directory, const char* name, const std::string& text)
{
    QFile file(directory.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.c_str());
    return file.fileName();
}

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
    QTemporaryDir directory;
    const std::string script =
        written(directory, "plcctl.bash", plcctl("--generate bash").out).toStdString();
    const std::string tagFile =
        written(directory, "tags.csv", "name,device\nboiler.temp,DM0\npump.on,MR0\n").toStdString();
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
    QTemporaryDir directory;
    written(directory, "_plcctl", plcctl("--generate zsh").out);
    written(directory, "tags.csv", "name,device\nboiler.temp,DM0\npump.on,MR0\n");
    written(directory, ".zshrc",
            "PS1='zsh> '; fpath=($PWD $fpath); path=(${${:-" PLCCTL "}:h} $path)\n"
            "autoload -U compinit; compinit -u -D\n");
    Terminal terminal(200, 50);
    terminal.type("cd " + directory.path().toStdString() + "; ZDOTDIR=$PWD zsh");
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

TEST(Generate, RefusesWhatItCannotMake)
{
    for (const char* what : {"man", "fish", "names /nowhere.so"})
        EXPECT_NE(plcctl(std::string("--generate ") + what).status, 0) << what;
}

} // namespace
