// A port with no line, which records how a driver uses it.
#ifndef CONFORMANCE_PORT_H
#define CONFORMANCE_PORT_H

#include "drivers/abstractdeviceinterface.h"

#include <functional>
#include <string>
#include <vector>

class RecordingPort : public AbstractDeviceInterface
{
public:
    /// Fills the buffer, of which all bytes are 0, and says how many bytes it claims to have read.
    using Reply = std::function<int(char* buffer, int maxLength)>;

    explicit RecordingPort(Reply reply, int retries = 0);

    int read(char* buffer, int maxLength) override;
    int write(const char* data, int length) override;
    void setOption(int option, const QVariant& value) override;
    int retry() override { return m_retries; }
    int delay() override;

    /// The calls of each attempt, such as "discard write read"; the pause with which an attempt
    /// begins is not among them. What comes before the first pause is an attempt of its own.
    std::vector<std::string> attempts() const { return m_attempts; }

    /// Whether nothing was sent and nothing read.
    bool isUntouched() const { return m_isUntouched; }

private:
    void note(const char* call);

    const Reply m_reply;
    const int m_retries;
    bool m_isUntouched = true;
    std::vector<std::string> m_attempts;
};

/// A reply of a line with nothing at its other end.
int silence(char* buffer, int maxLength);

#endif
