// A real terminal for tests, with a shell in it: keys go in, what a person would see comes out.
#ifndef TESTS_PLCCTL_TERMINAL_H
#define TESTS_PLCCTL_TERMINAL_H

#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <string>

class Terminal
{
public:
    Terminal(int columns, int lines);
    ~Terminal();

    /// Keys by their names in tmux, such as "Enter" or "Down".
    void press(const QStringList& keys);

    /// A text, and Enter.
    void type(const std::string& text);

    void resize(int columns, int lines);

    /// What is on the screen, without blanks at the ends of lines.
    std::string screen();

    /// The process that the shell has started; 0 for none or several.
    int programOfShell();

    /// Waits until the screen has come to this. Returns whether it has.
    bool comesTo(const std::function<bool(const std::string& screen)>& state);
    bool shows(const std::string& text);
    bool loses(const std::string& text);

private:
    std::string tmux(const QStringList& arguments);

    QTemporaryDir m_directory;
};

#endif
