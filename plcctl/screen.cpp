// The screen by ncurses.
#include "screen.h"

#include "bench/failure.h"

#include <algorithm>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <langinfo.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#define NCURSES_NOMACROS 1
#define NCURSES_WIDECHAR 1
#include <curses.h>

namespace plcctl
{

namespace
{

/// The longest pause within the bytes of one key; alone, an escape byte is the key Esc.
constexpr int EscapeDelayMs = 50;

constexpr wint_t CtrlU = 'U' - '@';

constexpr short ChangedPair = 1;
constexpr short FailedPair = 2;

// What gives the terminal back without curses, which no signal handler may call.
termios modesBefore;
char leaveText[128];
std::size_t leaveLength = 0;

constexpr int FatalSignals[] = {SIGQUIT, SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

void leaveAndDie(int signal)
{
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, leaveText, leaveLength);
    tcsetattr(STDIN_FILENO, TCSANOW, &modesBefore);
    // Its default action again, by SA_RESETHAND.
    raise(signal);
}

void prepareToLeave()
{
    leaveLength = 0;
    // Attributes off, cursor visible, the screen from before, keys from before.
    for (const char* name : {"sgr0", "cnorm", "rmcup", "rmkx"}) {
        const char* const text = tigetstr(name);
        const std::size_t length = text ? std::strlen(text) : 0;
        if (leaveLength + length > sizeof leaveText)
            break;
        std::memcpy(leaveText + leaveLength, text ? text : "", length);
        leaveLength += length;
    }
    struct sigaction action = {};
    action.sa_handler = leaveAndDie;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
    for (const int signal : FatalSignals)
        sigaction(signal, &action, nullptr);
}

/// Terminals understand UTF-8 also where no setting says so, as on a bare machine.
void chooseUtf8()
{
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
        std::setlocale(LC_CTYPE, "C.UTF-8");
}

void chooseColours()
{
    if (!has_colors())
        return;
    start_color();
    use_default_colors();
    init_pair(ChangedPair, COLOR_CYAN, -1);
    init_pair(FailedPair, COLOR_RED, -1);
}

attr_t attributesOf(Look look)
{
    const bool colours = has_colors();
    switch (look) {
    case Look::Normal:
        break;
    case Look::Faint:
        return A_DIM;
    case Look::Bold:
        return A_BOLD;
    case Look::Bar:
        return A_REVERSE;
    case Look::Changed:
        return A_BOLD | (colours ? COLOR_PAIR(ChangedPair) : A_UNDERLINE);
    case Look::Failed:
        return A_BOLD | (colours ? COLOR_PAIR(FailedPair) : A_NORMAL);
    }
    return A_NORMAL;
}

std::wstring wide(const std::string& text)
{
    std::wstring characters;
    std::mbstate_t state = {};
    for (std::size_t i = 0; i < text.size();) {
        wchar_t character = L'?';
        const std::size_t length = std::mbrtowc(&character, &text[i], text.size() - i, &state);
        const bool good = length != 0 && length <= text.size() - i;
        if (!good)
            state = {};
        characters += good && wcwidth(character) >= 0 ? character : L'?';
        i += good ? length : 1;
    }
    return characters;
}

std::string narrow(const std::wstring& characters)
{
    std::string text;
    for (const wchar_t character : characters) {
        char bytes[MB_LEN_MAX];
        std::mbstate_t state = {};
        const std::size_t length = std::wcrtomb(bytes, character, &state);
        text += length <= sizeof bytes ? std::string(bytes, length) : "?";
    }
    return text;
}

int columnsOf(const std::wstring& characters)
{
    int columns = 0;
    for (const wchar_t character : characters)
        columns += wcwidth(character);
    return columns;
}

Key::Kind kindOf(wint_t code)
{
    switch (code) {
    case KEY_UP:
        return Key::Up;
    case KEY_DOWN:
        return Key::Down;
    case KEY_PPAGE:
        return Key::PageUp;
    case KEY_NPAGE:
        return Key::PageDown;
    case KEY_HOME:
        return Key::First;
    case KEY_END:
        return Key::Last;
    case KEY_ENTER:
        return Key::Enter;
    case KEY_BACKSPACE:
        return Key::Erase;
    }
    return Key::Other;
}

Key keyOf(wint_t character)
{
    switch (character) {
    case L'\r':
    case L'\n':
        return {Key::Enter, {}};
    case 0x1B:
        return {Key::Escape, {}};
    case 0x08:
    case 0x7F:
        return {Key::Erase, {}};
    case CtrlU:
        return {Key::EraseAll, {}};
    }
    if (character < 0x20)
        return {Key::Other, {}};
    return {Key::Text, narrow(std::wstring(1, static_cast<wchar_t>(character)))};
}

} // namespace

int columnsOf(const std::string& text)
{
    return columnsOf(wide(text));
}

std::string fitted(const std::string& text, int columns, Align align)
{
    std::wstring characters = wide(text);
    const bool isCut = columnsOf(characters) > columns;
    while (!characters.empty() && columnsOf(characters) + (isCut ? 1 : 0) > columns)
        characters.pop_back();
    if (isCut && columns > 0)
        characters += L'…';
    const int missing = std::max(0, columns - columnsOf(characters));
    const std::string blanks(static_cast<std::size_t>(missing), ' ');
    return align == Align::Left ? narrow(characters) + blanks : blanks + narrow(characters);
}

void requireTerminal()
{
    if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO))
        throw bench::wrongUsage("--live needs a terminal, for its picture and for its keys",
                                "Omit it to write lines to a file or to a program.");
}

Screen::Screen()
{
    requireTerminal();
    tcgetattr(STDIN_FILENO, &modesBefore);
    chooseUtf8();
    // The size of the terminal, not that of the variables LINES and COLUMNS.
    use_env(TRUE);
    use_tioctl(TRUE);
    const char* const type = std::getenv("TERM");
    m_terminal = newterm(nullptr, stdout, stdin);
    if (m_terminal == nullptr || tigetstr("cup") == nullptr) {
        if (m_terminal != nullptr)
            endwin();
        throw bench::wrongUsage("the terminal type '" + std::string(type ? type : "") +
                                    "' can't be drawn on",
                                "Set TERM to the terminal's type, such as TERM=xterm.");
    }
    prepareToLeave();
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(EscapeDelayMs);
    chooseColours();
    curs_set(0);
}

Screen::~Screen()
{
    endwin();
    delscreen(m_terminal);
    for (const int signal : FatalSignals)
        std::signal(signal, SIG_DFL);
}

int Screen::lines() const
{
    return getmaxy(stdscr);
}

int Screen::columns() const
{
    return getmaxx(stdscr);
}

void Screen::clear()
{
    erase();
}

void Screen::put(int line, int column, const std::string& text, Look look)
{
    if (line < 0 || line >= lines() || column < 0 || column >= columns())
        return;
    const int length = std::min(columnsOf(text), columns() - column);
    attrset(attributesOf(look));
    mvaddwstr(line, column, wide(fitted(text, length)).c_str());
    attrset(A_NORMAL);
}

void Screen::mark(int line)
{
    for (int column = 0; column < columns(); ++column) {
        cchar_t cell;
        mvin_wch(line, column, &cell);
        cell.attr |= A_REVERSE;
        mvadd_wch(line, column, &cell);
    }
}

void Screen::show()
{
    curs_set(0);
    refresh();
}

void Screen::showWithCursor(int line, int column)
{
    curs_set(1);
    move(std::min(line, lines() - 1), std::min(column, columns() - 1));
    refresh();
}

bool Screen::waitForKey(int ms)
{
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    // A signal may end the wait too early; then there is something to look after anyway.
    if (poll(&input, 1, ms) <= 0)
        return true;
    return (input.revents & (POLLHUP | POLLERR | POLLNVAL)) == 0;
}

Key Screen::key()
{
    wint_t code = 0;
    switch (get_wch(&code)) {
    case ERR:
        return Key();
    case KEY_CODE_YES:
        return {kindOf(code), {}};
    }
    return keyOf(code);
}

} // namespace plcctl
