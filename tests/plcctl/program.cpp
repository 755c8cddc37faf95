#include "program.h"

#include <QFile>
#include <gtest/gtest.h>

#include <csignal>

namespace
{

constexpr int PatienceMs = 60 * 1000;

QStringList words(const std::string& text)
{
    return QString::fromStdString(text).split(' ', Qt::SkipEmptyParts);
}

} // namespace

Result plcctl(const std::string& arguments, const std::string& redirection)
{
    QProcess process;
    // The shell hands the arguments on as they are and becomes plcctl.
    const QString command = "exec \"$0\" \"$@\" " + QString::fromStdString(redirection);
    process.start("/bin/sh", QStringList{"-c", command, PLCCTL} + words(arguments),
                  QIODevice::ReadOnly);
    const bool ended = process.waitForFinished(PatienceMs);
    const bool well = ended && process.exitStatus() == QProcess::NormalExit;
    return {well ? process.exitCode() : -1, process.readAllStandardOutput().toStdString(),
            process.readAllStandardError().toStdString()};
}

const std::string BuiltIn =
    "plcctl: without --port: the built-in simulated controller (kv1000) answers\n";

void expectOutcomes(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        Result run = plcctl(row.arguments);
        if (run.err.rfind(BuiltIn, 0) == 0)
            run.err.erase(0, BuiltIn.size());
        SCOPED_TRACE(std::string(row.name) + ": " + row.arguments + "\n" + run.err);
        EXPECT_EQ(run.status, row.status);
        EXPECT_EQ(run.out, row.out);
        EXPECT_NE(run.err.find(row.error), std::string::npos) << row.error;
        EXPECT_EQ(run.err.empty(), row.error.empty());
    }
}

std::string replaced(const std::string& text, const char* mark, const std::string& other)
{
    return QString::fromStdString(text).replace(mark, QString::fromStdString(other)).toStdString();
}

bool Folder::has(const char* name) const
{
    return QFile::exists(m_folder.filePath(name));
}

std::string Folder::text(const char* name) const
{
    QFile file(m_folder.filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "no " + path(name);
}

std::string Folder::write(const char* name, const std::string& text) const
{
    QFile file(m_folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text.data(), qint64(text.size()));
    return path(name);
}

Background::Background(const std::string& arguments)
{
    m_process.start(PLCCTL, words(arguments), QIODevice::ReadOnly);
    m_process.waitForStarted(PatienceMs);
}

Background::~Background()
{
    m_process.kill();
    m_process.waitForFinished(PatienceMs);
}

std::string Background::nextLine(QProcess::ProcessChannel channel)
{
    m_process.setReadChannel(channel);
    while (!m_process.canReadLine() && m_process.waitForReadyRead(PatienceMs))
        ;
    return m_process.readLine().trimmed().toStdString();
}

int Background::endWith(int signal)
{
    ::kill(static_cast<pid_t>(m_process.processId()), signal);
    return end();
}

int Background::end()
{
    m_process.waitForFinished(PatienceMs);
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}

SimulatedController::SimulatedController(const std::string& options)
    : m_pty(m_directory.filePath("plc").toStdString())
    , m_process("simulate --pty " + m_pty + " --tcp 0 " + options)
{
    const std::string ready = m_process.nextLine();
    const std::size_t tcp = ready.find("tcp:");
    m_tcp = tcp == std::string::npos ? "it does not listen: " + ready : ready.substr(tcp);
}
