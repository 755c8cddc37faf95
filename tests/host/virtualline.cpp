#include "virtualline.h"

#include <QHash>
#include <QList>

LateController::LateController(Work work)
    : latenessMs([] { return 0; })
    , m_work(work)
{
}

QByteArray LateController::replyTo(const QByteArray& command)
{
    if (command == "CR\r\n")
        return "CC\r\n";
    if (command == "CQ\r\n")
        return "CF\r\n";
    const QList<QByteArray> words = command.trimmed().split(' ');
    const bool isBit = words[1].startsWith("MR");
    QByteArray reply;
    for (int i = 0; i < words[2].toInt(); ++i) {
        const uint held = qHash(words[1], static_cast<uint>(i)) % 65536;
        reply +=
            isBit ? QByteArray::number(held & 1) : QByteArray::number(held).rightJustified(5, '0');
        reply += ' ';
    }
    reply.chop(1);
    return reply + "\r\n";
}

void LateController::receive(const QByteArray& command, qint64 nowMs)
{
    const qint64 lateMs = latenessMs();
    if (lateMs == Never)
        return;
    const qint64 dueMs = m_work == Work::OneAtATime ? qMax(m_lastDueMs, nowMs) + lateMs
                                                    : qMax(m_lastDueMs, nowMs + lateMs);
    send(replyTo(command), dueMs);
}

void LateController::send(const QByteArray& bytes, qint64 atMs)
{
    for (char value : bytes) {
        underWay.push_back({atMs, value});
        m_lastDueMs = atMs;
        atMs += byteGapMs;
    }
}

VirtualLine::VirtualLine(LateController& controller, qint64& clockMs)
    : m_controller(controller)
    , m_clockMs(clockMs)
{
}

bool VirtualLine::open(int)
{
    return true;
}

bool VirtualLine::write(const char* data, int length, int)
{
    m_controller.receive(QByteArray(data, length), m_clockMs);
    return true;
}

int VirtualLine::read(char* buffer, int maxLength, int waitMs)
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
