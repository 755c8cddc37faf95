// Port calls as lines of text, and a port that follows a script of them.
#ifndef CONFORMANCE_SCRIPTEDPORT_H
#define CONFORMANCE_SCRIPTEDPORT_H

#include "drivers/abstractdeviceinterface.h"

#include <QByteArray>
#include <QVariant>

#include <string>
#include <vector>

/// "CC\r\n" in quotes, with unprintable bytes, quotes and backslashes escaped; and back. unquoted
/// throws std::invalid_argument for an escape that quoted() does not write.
std::string quoted(const QByteArray& bytes);
QByteArray unquoted(const std::string& text);

/// A port that notes every call and answers it from the script's next line. A call that the script
/// does not have next is answered by nothing (0 bytes, no retry).
class ScriptedPort : public AbstractDeviceInterface
{
public:
    explicit ScriptedPort(std::vector<std::string> script)
        : m_script(std::move(script))
    {
    }

    int read(char* buffer, int maxLength) override;
    int write(const char* data, int length) override;
    void setOption(int option, const QVariant& value) override;
    int retry() override;
    int delay() override;

    const std::vector<std::string>& calls() const { return m_calls; }

private:
    /// What follows `call` in the script's next line, when that line begins with it.
    std::string answerTo(const std::string& call);

    std::vector<std::string> m_script;
    std::vector<std::string> m_calls;
};

#endif
