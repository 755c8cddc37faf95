#include "conformance/port.h"

#include "drivers/portoptions.h"

#include <QVariant>

#include <algorithm>

RecordingPort::RecordingPort(Reply reply, int retries)
    : m_reply(std::move(reply))
    , m_retries(retries)
{
}

int RecordingPort::read(char* buffer, int maxLength)
{
    note("read");
    m_isUntouched = false;
    std::fill_n(buffer, std::max(0, maxLength), '\0');
    return m_reply(buffer, maxLength);
}

int RecordingPort::write(const char*, int length)
{
    note("write");
    m_isUntouched = false;
    return length;
}

void RecordingPort::setOption(int option, const QVariant& value)
{
    note(option == DiscardUnreadInput && value == QVariant(0) ? "discard" : "option");
}

int RecordingPort::delay()
{
    m_attempts.emplace_back();
    return 0;
}

void RecordingPort::note(const char* call)
{
    if (m_attempts.empty())
        m_attempts.emplace_back("no pause");
    std::string& calls = m_attempts.back();
    calls += (calls.empty() ? "" : " ") + std::string(call);
}

int silence(char*, int)
{
    return 0;
}
