// The port that most tests of a driver need: it answers each command at once, as it is told.
#ifndef TESTS_SUPPORT_ANSWERINGPORT_H
#define TESTS_SUPPORT_ANSWERINGPORT_H

#include "drivers/abstractdeviceinterface.h"

#include <QVariant>

#include <functional>
#include <string>
#include <vector>

class AnsweringPort : public AbstractDeviceInterface
{
public:
    using Answer = std::function<std::string(const std::string& command)>;

    explicit AnsweringPort(Answer answer)
        : m_answer(std::move(answer))
    {
    }

    int read(char* buffer, int maxLength) override
    {
        const size_t count = m_unread.copy(buffer, size_t(maxLength));
        m_unread.erase(0, count);
        return int(count);
    }

    int write(const char* data, int length) override
    {
        commands.emplace_back(data, size_t(length));
        m_unread += m_answer(commands.back());
        return length;
    }

    void setOption(int, const QVariant&) override { m_unread.clear(); }
    int retry() override { return 0; }
    int delay() override { return 0; }

    std::vector<std::string> commands;

private:
    Answer m_answer;
    std::string m_unread;
};

#endif
