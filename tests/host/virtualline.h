// A serial line in virtual time, with a controller at its end that answers as late as it is told.
// Nothing sleeps: waiting moves the line's clock.
#ifndef TESTS_HOST_VIRTUALLINE_H
#define TESTS_HOST_VIRTUALLINE_H

#include "host/line.h"

#include <QByteArray>
#include <QHash>
#include <QList>

#include <deque>
#include <functional>

/// Answers the open, close and read commands of the host link, whatever their order. What a device
/// holds follows from its name alone, so a reply tells which request it belongs to.
class LateController
{
public:
    enum class Work {
        OneAtATime, ///< a command waits until the one before it is answered
        Pipelined   ///< a command is answered that much after its arrival, in order
    };

    static constexpr qint64 Never = -1;

    explicit LateController(Work work)
        : m_work(work)
    {
    }

    /// Asked for each reply; Never loses it.
    std::function<qint64()> latenessMs;

    qint64 byteGapMs = 0; ///< between the bytes of a reply

    /// The reply to `command`, such as "RDS DM00100 2\r\n".
    static QByteArray replyTo(const QByteArray& command)
    {
        if (command == "CR\r\n")
            return "CC\r\n";
        if (command == "CQ\r\n")
            return "CF\r\n";
        const QList<QByteArray> words = command.trimmed().split(' ');
        QByteArray reply;
        for (int i = 0; i < words[2].toInt(); ++i) {
            const uint held = qHash(words[1], static_cast<uint>(i)) % 65536;
            reply += QByteArray::number(held).rightJustified(5, '0');
            reply += ' ';
        }
        reply.chop(1);
        return reply + "\r\n";
    }

    void receive(const QByteArray& command, qint64 nowMs)
    {
        const qint64 lateMs = latenessMs();
        if (lateMs == Never)
            return;
        const qint64 dueMs = m_work == Work::OneAtATime ? qMax(m_lastDueMs, nowMs) + lateMs
                                                        : qMax(m_lastDueMs, nowMs + lateMs);
        send(replyTo(command), dueMs);
    }

    void send(const QByteArray& bytes, qint64 atMs)
    {
        for (char value : bytes) {
            underWay.push_back({atMs, value});
            m_lastDueMs = atMs;
            atMs += byteGapMs;
        }
    }

    struct Byte {
        qint64 dueMs;
        char value;
    };
    std::deque<Byte> underWay;

private:
    Work m_work;
    qint64 m_lastDueMs = 0;
};

class VirtualLine : public host::Line
{
public:
    VirtualLine(LateController& controller, qint64& clockMs)
        : m_controller(controller)
        , m_clockMs(clockMs)
    {
    }

    bool open(int) override { return true; }
    bool isOpen() const override { return true; }
    bool write(const char* data, int length, int) override
    {
        m_controller.receive(QByteArray(data, length), m_clockMs);
        return true;
    }

    int read(char* buffer, int maxLength, int waitMs) override
    {
        std::deque<LateController::Byte>& bytes = m_controller.underWay;
        if (bytes.empty() || bytes.front().dueMs > m_clockMs + waitMs) {
            m_clockMs += waitMs;
            return 0;
        }
        m_clockMs = qMax(m_clockMs, bytes.front().dueMs);
        int count = 0;
        for (; count < maxLength && !bytes.empty() && bytes.front().dueMs <= m_clockMs; ++count) {
            buffer[count] = bytes.front().value;
            bytes.pop_front();
        }
        return count;
    }

    Reopening reopening() const override { return Reopening::KeepsLateReplies; }
    qint64 transferMs(int) const override { return 0; }
    qint64 nowMs() const override { return m_clockMs; }
    QString trouble() const override { return QString(); }

private:
    LateController& m_controller;
    qint64& m_clockMs;
};

#endif
