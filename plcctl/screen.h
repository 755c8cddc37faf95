// The whole terminal as a place to draw on, and its keys.
#ifndef PLCCTL_SCREEN_H
#define PLCCTL_SCREEN_H

#include <string>

struct screen;

namespace plcctl
{

/// How a text looks. Each differs from the others also without colours.
enum class Look { Normal, Faint, Bold, Bar, Changed, Failed };

/// What was typed: a key, or a text of one character.
struct Key {
    enum Kind {
        None,
        Text,
        Up,
        Down,
        PageUp,
        PageDown,
        First,
        Last,
        Enter,
        Escape,
        Erase,
        EraseAll,
        Other
    };

    Kind kind = None;
    std::string text; ///< UTF-8, of Text only

    bool is(const char* wanted) const { return kind == Text && text == wanted; }
};

enum class Align { Left, Right };

/// The text in exactly so many columns of a terminal: filled with blanks, or cut with an ellipsis.
/// Characters that would move the cursor become question marks.
std::string fitted(const std::string& text, int columns, Align align = Align::Left);

/// The columns that a text takes.
int columnsOf(const std::string& text);

/// Throws a Failure (WrongUsage) when standard input and output are no terminal.
void requireTerminal();

/// Takes the terminal when it is made and gives it back, as it was, when it goes; also when a
/// signal ends the program that has no handler of its own for it. At most one at a time.
class Screen
{
public:
    /// Throws a Failure (WrongUsage) when there is no terminal, or none whose type is known.
    Screen();
    ~Screen();

    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    int lines() const;
    int columns() const;

    /// Begins a new picture.
    void clear();

    /// Draws a text. What is outside the screen is left out.
    void put(int line, int column, const std::string& text, Look look = Look::Normal);

    /// Reverses what was drawn in a line.
    void mark(int line);

    /// Shows the picture, with the cursor in this place, or without a cursor.
    void show();
    void showWithCursor(int line, int column);

    /// Waits for a key, at most so long. Returns false when the terminal has gone.
    bool waitForKey(int ms);

    /// The next key typed; None if nothing was typed.
    Key key();

private:
    ::screen* m_terminal;
};

} // namespace plcctl

#endif
