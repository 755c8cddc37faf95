#include "terminal.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QThread>

namespace
{

constexpr int PatienceMs = 15 * 1000;
constexpr int LookAgainMs = 20;

} // namespace

Terminal::Terminal(int columns, int lines)
{
    tmux({"new-session", "-d", "-x", QString::number(columns), "-y", QString::number(lines),
          "env PS1=ready: ENV= sh"});
}

Terminal::~Terminal()
{
    tmux({"kill-server"});
}

std::string Terminal::tmux(const QStringList& arguments)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", "C.UTF-8");
    environment.remove("TMUX");
    process.setProcessEnvironment(environment);
    process.start("tmux",
                  QStringList{"-u", "-f", "/dev/null", "-S", m_directory.filePath("socket")} +
                      arguments);
    process.waitForFinished(PatienceMs);
    return process.readAllStandardOutput().toStdString();
}

void Terminal::press(const QStringList& keys)
{
    tmux(QStringList{"send-keys"} + keys);
}

void Terminal::type(const std::string& text)
{
    tmux({"send-keys", "-l", QString::fromStdString(text)});
    press({"Enter"});
}

void Terminal::resize(int columns, int lines)
{
    tmux({"resize-window", "-x", QString::number(columns), "-y", QString::number(lines)});
}

std::string Terminal::screen()
{
    return tmux({"capture-pane", "-p"});
}

int Terminal::programOfShell()
{
    const QString shell = QString::fromStdString(tmux({"display-message", "-p", "#{pane_pid}"}));
    QFile children(QString("/proc/%1/task/%1/children").arg(shell.trimmed()));
    children.open(QFile::ReadOnly);
    return children.readAll().trimmed().toInt();
}

bool Terminal::comesTo(const std::function<bool(const std::string&)>& state)
{
    QElapsedTimer time;
    time.start();
    while (!state(screen())) {
        if (time.elapsed() > PatienceMs)
            return false;
        QThread::msleep(LookAgainMs);
    }
    return true;
}

bool Terminal::shows(const std::string& text)
{
    return comesTo([&](const std::string& screen) { return screen.find(text) != screen.npos; });
}

bool Terminal::loses(const std::string& text)
{
    return comesTo([&](const std::string& screen) { return screen.find(text) == screen.npos; });
}
