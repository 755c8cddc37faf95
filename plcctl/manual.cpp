// Takes footers apart into notes, examples and exit statuses, and writes roff.
#include "manual.h"

#include "help.h"

#include "bench/failure.h"

#include <QString>
#include <QVector>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace plcctl
{

namespace
{

/// What comes before literal lines of a footer.
constexpr std::size_t Indent = 2;

const char* const ExitStatusHeading = "Exit status:";

/// Characters that roff treats as its own, and what is written for them.
struct Escape {
    char character;
    const char* text;
};

constexpr Escape Escapes[] = {
    {'\\', "\\e"},  {'-', "\\-"},   {'\'', "\\(aq"}, {'`', "\\(ga"},
    {'^', "\\(ha"}, {'~', "\\(ti"}, {'"', "\\(dq"},
};

/// Lines of one kind in a row: prose to fill, or lines to show as they are.
struct Block {
    bool isLiteral;
    std::vector<std::string> lines;
};

/// A footer by the sections of a page.
struct Footer {
    std::vector<Block> notes;
    std::vector<Block> examples;
    std::vector<Block> exitStatus;
};

bool startsWith(const std::string& text, const char* start)
{
    return text.rfind(start, 0) == 0;
}

/// The section that a line of prose opens; `current` where it opens no section.
std::vector<Block>& sectionOf(Footer& footer, const std::string& line, std::vector<Block>& current)
{
    if (startsWith(line, "Example") && line.back() == ':')
        return footer.examples;
    if (startsWith(line, ExitStatusHeading))
        return footer.exitStatus;
    return current;
}

/// Headings that repeat that of the page's own section.
bool repeatsSection(const std::string& line)
{
    return line == "Example:" || line == "Examples:";
}

std::string unindented(const std::string& line)
{
    return line.substr(std::min(Indent, line.find_first_not_of(' ')));
}

std::string withoutHeading(const std::string& line)
{
    return startsWith(line, ExitStatusHeading)
               ? line.substr(line.find_first_not_of(' ', std::strlen(ExitStatusHeading)))
               : line;
}

/// Indented lines are literal. A paragraph of prose ends a section that one before it has opened.
Footer footerFrom(const std::string& text)
{
    Footer footer;
    std::vector<Block>* section = &footer.notes;
    bool isNew = true;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) {
            isNew = true;
            continue;
        }
        const bool isLiteral = line.front() == ' ';
        if (!isLiteral && isNew)
            section = &sectionOf(footer, line, footer.notes);
        if (isNew || section->empty() || section->back().isLiteral != isLiteral)
            section->push_back({isLiteral, {}});
        isNew = false;
        if (!repeatsSection(line))
            section->back().lines.push_back(isLiteral ? unindented(line) : withoutHeading(line));
    }
    return footer;
}

std::string roffCharacter(uint code)
{
    for (const Escape& escape : Escapes)
        if (code == static_cast<unsigned char>(escape.character))
            return escape.text;
    if (code < 0x80)
        return std::string(1, static_cast<char>(code));
    return "\\[u" + QString::number(code, 16).toUpper().rightJustified(4, '0').toStdString() + "]";
}

/// Text in which roff sees nothing of its own, in ASCII.
std::string roff(const std::string& text)
{
    std::string escaped;
    for (const uint code : QString::fromStdString(text).toUcs4())
        escaped += roffCharacter(code);
    return escaped.rfind('.', 0) == 0 ? "\\&" + escaped : escaped;
}

std::string upper(std::string text)
{
    for (char& letter : text)
        letter = char(std::toupper(static_cast<unsigned char>(letter)));
    return text;
}

class Page
{
public:
    void macro(const std::string& name, const std::string& argument = std::string())
    {
        m_text += "." + name + (argument.empty() ? "" : " " + argument) + "\n";
    }

    /// Nothing at all where a section has no text.
    void section(const std::string& title, const std::vector<Block>& blocks)
    {
        if (blocks.empty())
            return;
        macro("SH", title);
        add(blocks);
    }

    void add(const std::vector<Block>& blocks)
    {
        for (const Block& block : blocks) {
            if (block.lines.empty())
                continue;
            macro("PP");
            if (block.isLiteral)
                macro("EX");
            for (const std::string& text : block.lines)
                line(roff(text));
            if (block.isLiteral)
                macro("EE");
        }
    }

    void line(const std::string& roffText) { m_text += roffText + "\n"; }
    const std::string& text() const { return m_text; }

private:
    std::string m_text;
};

std::string bold(const std::string& text)
{
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(const std::string& text)
{
    return text.empty() ? text : "\\fI" + roff(text) + "\\fR";
}

std::string fileNameOf(const CLI::App& program, const CLI::App& command)
{
    return &command == &program ? program.get_name()
                                : program.get_name() + "-" + command.get_name();
}

std::string invocationOf(const CLI::App& program, const CLI::App& command)
{
    return &command == &program ? program.get_name()
                                : program.get_name() + " " + command.get_name();
}

/// "DEVICE..." as the synopsis has it, in brackets where it may be left out.
std::string argumentText(const CLI::Option& option)
{
    const std::string text =
        italic(option.get_name(true)) + (option.get_items_expected_max() > 1 ? "..." : "");
    return option.get_required() ? text : "[" + text + "]";
}

/// The first line says what it is, in the form that lists of pages take.
void addName(Page& page, const CLI::App& program, const CLI::App& command)
{
    std::string what = command.get_description();
    what = what.substr(0, what.find('.'));
    std::replace(what.begin(), what.end(), '\n', ' ');
    if (!what.empty())
        what.front() = char(std::tolower(static_cast<unsigned char>(what.front())));
    page.macro("SH", "NAME");
    page.line(roff(fileNameOf(program, command)) + " \\- " + roff(what));
}

void addSynopsis(Page& page, const CLI::App& program, const CLI::App& command)
{
    std::string text = bold(invocationOf(program, command)) + " [" + italic("OPTIONS") + "]";
    for (const CLI::Option* option : requiredOptionsOf(command))
        text += " " + bold(namesToType(*option).back()) + " " + italic(option->get_type_name());
    if (&command == &program)
        text += " " + italic("SUBCOMMAND");
    for (const CLI::Option* argument : argumentsOf(command))
        text += " " + argumentText(*argument);
    page.macro("SH", "SYNOPSIS");
    page.line(text);
}

void addDescription(Page& page, const CLI::App& command, const Footer& footer)
{
    page.macro("SH", "DESCRIPTION");
    page.add(
        {{false,
          {command.get_description() + (command.get_description().back() == '.' ? "" : ".")}}});
    page.add(footer.notes);
}

void addCommands(Page& page, const CLI::App& program)
{
    page.macro("SH", "SUBCOMMANDS");
    for (const CLI::App* command : subcommandsOf(program)) {
        page.macro("TP");
        page.line(bold(fileNameOf(program, *command)) + "(1)");
        page.line(roff(command->get_description()));
    }
}

std::string namesOf(const CLI::Option& option)
{
    if (option.get_positional())
        return italic(option.get_name(true));
    std::string names;
    for (const std::string& name : namesToType(option))
        names += (names.empty() ? "" : ", ") + bold(name);
    const std::string value = italic(option.get_type_name());
    return names + (value.empty() ? "" : " " + value);
}

void addOption(Page& page, const CLI::Option& option)
{
    page.macro("TP");
    page.line(namesOf(option));
    page.line(roff(descriptionOf(option)));
}

void addOptions(Page& page, const CLI::App& command)
{
    page.macro("SH", "OPTIONS");
    for (const CLI::Option* argument : argumentsOf(command))
        addOption(page, *argument);
    for (const std::string& group : command.get_groups()) {
        const auto options = optionsOf(command, group);
        if (options.empty())
            continue;
        if (group != "Options")
            page.macro("SS", roff(group));
        for (const CLI::Option* option : options)
            addOption(page, *option);
    }
}

void addOthers(Page& page, const CLI::App& program, const CLI::App& command)
{
    std::string others;
    if (&command != &program)
        others = bold(program.get_name()) + "(1)";
    for (const CLI::App* other : subcommandsOf(program))
        if (other != &command)
            others += (others.empty() ? "" : ", ") + bold(fileNameOf(program, *other)) + "(1)";
    page.macro("SH", "SEE ALSO");
    page.line(others);
}

} // namespace

std::string manPage(const CLI::App& program, const CLI::App& command)
{
    const Footer footer = footerFrom(command.get_footer());
    Page page;
    page.macro("TH", roff(upper(fileNameOf(program, command))) + " 1 \"\" \"" +
                         roff(program.version()) + "\" \"User Commands\"");
    // Names of devices and options stay whole. groff hyphenates again after a heading, as HY says.
    page.macro("nr", "HY 0");
    page.macro("nh");
    page.macro("ad", "l");
    addName(page, program, command);
    addSynopsis(page, program, command);
    addDescription(page, command, footer);
    if (&command == &program)
        addCommands(page, program);
    addOptions(page, command);
    page.section("EXIT STATUS", footerFrom(program.get_footer()).exitStatus);
    page.section("EXAMPLES", footer.examples);
    addOthers(page, program, command);
    return page.text();
}

void writeManPages(const CLI::App& program, const std::string& directory)
{
    std::error_code failed; // the file that can't be written tells it
    std::filesystem::create_directories(directory, failed);
    std::vector<const CLI::App*> commands = subcommandsOf(program);
    commands.push_back(&program);
    for (const CLI::App* command : commands) {
        const std::string name = directory + "/" + fileNameOf(program, *command) + ".1";
        std::ofstream file(name);
        file << manPage(program, *command) << std::flush;
        if (!file)
            throw bench::Failure(bench::FailureKind::CannotOpen, "can't write " + name);
    }
}

} // namespace plcctl
