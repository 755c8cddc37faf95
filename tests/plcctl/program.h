// Runs plcctl the way a person or a script does: by its arguments, outputs and exit status.
// It uses none of the sources of plcctl.
#ifndef TESTS_PLCCTL_PROGRAM_H
#define TESTS_PLCCTL_PROGRAM_H

#include <QProcess>
#include <QTemporaryDir>

#include <string>
#include <vector>

/// What came of a run that has ended.
struct Result {
    int status; ///< -1: did not end by itself
    std::string out;
    std::string err;
};

/// Runs plcctl with arguments as one would type them: separated by blanks.
///
/// redirection  of its streams, in the words of a shell, such as ">/dev/full"; may be empty
Result plcctl(const std::string& arguments, const std::string& redirection = std::string());

/// A row of a table: a run, and what comes of it.
struct Row {
    const char* name;
    std::string arguments;
    int status;
    std::string out;   ///< all of standard output
    std::string error; ///< a part of standard error; empty: nothing there
};

/// The line with which the built-in controller says that it answers.
extern const std::string BuiltIn;

/// Runs plcctl for each row. That line is not taken into account.
void expectOutcomes(const std::vector<Row>& rows);

/// A text with another one in place of each `mark`.
std::string replaced(const std::string& text, const char* mark, const std::string& other);

/// Files that are gone with this object.
class Folder
{
public:
    std::string path(const std::string& name = std::string()) const
    {
        return m_folder.filePath(QString::fromStdString(name)).toStdString();
    }

    bool has(const char* name) const;
    std::string text(const char* name) const;

    /// Returns the path.
    std::string write(const char* name, const std::string& text) const;

private:
    QTemporaryDir m_folder;
};

/// A plcctl that runs beside the test, ended at the latest with this object.
class Background
{
public:
    explicit Background(const std::string& arguments);
    ~Background();

    /// Waits for the next line of standard output or of standard error. Returns it without its line
    /// end; empty when none came.
    std::string nextLine(QProcess::ProcessChannel channel = QProcess::StandardOutput);

    qint64 processId() const { return m_process.processId(); }

    /// Waits for the end and returns the exit status, -1 when it did not end by itself.
    int end();

    /// The same after a signal.
    int endWith(int signal);

private:
    QProcess m_process;
};

/// A simulated controller in a process of its own, on a pseudo-terminal and on TCP.
class SimulatedController
{
public:
    /// options  as one would type them after "plcctl simulate"
    explicit SimulatedController(const std::string& options = "");

    /// What to give to --port.
    std::string pty() const { return m_pty; }
    std::string tcp() const { return m_tcp; }

    Background& process() { return m_process; }

private:
    QTemporaryDir m_directory;
    std::string m_pty;
    Background m_process;
    std::string m_tcp;
};

#endif
