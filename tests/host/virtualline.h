// A serial line in virtual time, with a controller at its end that answers as late as it is told.
// Nothing sleeps: waiting moves the line's clock.
#ifndef TESTS_HOST_VIRTUALLINE_H
#define TESTS_HOST_VIRTUALLINE_H

#include "host/line.h"

#include <QByteArray>

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

    explicit LateController(Work work);

    /// Asked for each reply; Never loses it.
    std::function<qint64()> latenessMs;

    qint64 byteGapMs = 0; ///< between the bytes of a reply
    qint64 byteMs = 0;    ///< what a byte takes by the line's speed

    /// The reply to `command`, such as "RDS DM00100 2\r\n".
    static QByteArray replyTo(const QByteArray& command);

    void receive(const QByteArray& command, qint64 nowMs);
    void send(const QByteArray& bytes, qint64 atMs);

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
    VirtualLine(LateController& controller, qint64& clockMs);

    bool open(int timeoutMs) override;
    bool isOpen() const override { return true; }
    bool write(const char* data, int length, int timeoutMs) override;
    int read(char* buffer, int maxLength, int waitMs) override;
    Reopening reopening() const override { return Reopening::KeepsLateReplies; }
    qint64 transferMs(int byteCount) const override { return byteCount * m_controller.byteMs; }
    qint64 nowMs() const override { return m_clockMs; }
    QString trouble() const override { return QString(); }

private:
    LateController& m_controller;
    qint64& m_clockMs;
};

#endif
