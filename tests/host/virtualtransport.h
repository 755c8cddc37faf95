// A serial line in virtual time, with a controller at its end that answers as late as it is told.
// Nothing sleeps: waiting moves the line's clock.
#ifndef TESTS_HOST_VIRTUALTRANSPORT_H
#define TESTS_HOST_VIRTUALTRANSPORT_H

#include "host/transport.h"

#include <QByteArray>

#include <cstring>
#include <functional>
#include <map>

/// The far end of the line. Replies are on their way here, whether or not a port is open.
class VirtualLine
{
public:
    enum class Order {
        OneAtATime, ///< a command waits until the one before it is answered
        InOrder,    ///< a command is answered that much after its arrival, but none overtakes
        AnyOrder    ///< each on its own: replies overtake each other
    };

    static constexpr qint64 Never = -1;

    /// The reply to a command.
    std::function<QByteArray(const QByteArray& command)> answer;

    /// Asked for each reply; Never loses it.
    std::function<qint64()> latenessMs;

    Order order = Order::InOrder;
    qint64 byteGapMs = 0; ///< between the bytes of a reply
    qint64 nowMs = 0;

    void receive(const QByteArray& command)
    {
        const qint64 lateMs = latenessMs();
        if (lateMs == Never)
            return;
        qint64 dueMs = nowMs + lateMs;
        if (order == Order::OneAtATime)
            dueMs = qMax(m_lastDueMs, nowMs) + lateMs;
        if (order == Order::InOrder)
            dueMs = qMax(m_lastDueMs, dueMs);
        send(answer(command), dueMs);
    }

    void send(const QByteArray& bytes, qint64 atMs)
    {
        for (char value : bytes) {
            m_underWay.emplace(atMs, value);
            m_lastDueMs = atMs;
            atMs += byteGapMs;
        }
    }

    /// As Transport::read().
    int read(char* buffer, int maxLength, int waitMs)
    {
        if (m_underWay.empty() || m_underWay.begin()->first > nowMs + waitMs) {
            nowMs += waitMs;
            return 0;
        }
        nowMs = qMax(nowMs, m_underWay.begin()->first);
        int count = 0;
        while (count < maxLength && !m_underWay.empty() && m_underWay.begin()->first <= nowMs) {
            buffer[count++] = m_underWay.begin()->second;
            m_underWay.erase(m_underWay.begin());
        }
        return count;
    }

private:
    std::multimap<qint64, char> m_underWay; ///< by arrival; equal ones stay in order
    qint64 m_lastDueMs = 0;
};

class VirtualTransport : public host::Transport
{
public:
    explicit VirtualTransport(VirtualLine& line)
        : m_line(line)
    {
    }

    bool breaks = false;     ///< at the next operation
    bool canBeOpened = true; ///< again, once it is broken
    int msPerByte = 0;

    bool open(int) override
    {
        m_isOpen = canBeOpened;
        breaks = false;
        return m_isOpen;
    }
    bool isOpen() const override { return m_isOpen; }
    bool write(const char* data, int length, int) override
    {
        m_isOpen = m_isOpen && !breaks;
        if (m_isOpen)
            m_line.receive(QByteArray(data, length));
        return m_isOpen;
    }
    int read(char* buffer, int maxLength, int waitMs) override
    {
        m_isOpen = m_isOpen && !breaks;
        return m_isOpen ? m_line.read(buffer, maxLength, waitMs) : Failed;
    }

    bool keepsLateReplies() const override { return true; }
    qint64 transferMs(int byteCount) const override { return byteCount * msPerByte; }
    qint64 nowMs() const override { return m_line.nowMs; }
    QString lastFailure() const override { return QStringLiteral("broken"); }

private:
    VirtualLine& m_line;
    bool m_isOpen = true;
};

#endif
