// The port that drivers talk through: whole replies on a deadline, over a line that may break.
// It knows no protocol, and nothing of the kind of line below it.
#ifndef HOST_LINEPORT_H
#define HOST_LINEPORT_H

#include "drivers/abstractdeviceinterface.h"
#include "host/linesettings.h"
#include "host/linetrust.h"

#include <QString>

#include <memory>

namespace host
{

class Line;

/// Works without a running event loop, in the thread that made it; that thread needs a
/// QCoreApplication or a QThread behind it. No call takes longer than the time-out; only the time
/// that the bytes themselves take on a slow line comes on top of it.
class LinePort : public AbstractDeviceInterface
{
public:
    LinePort(std::unique_ptr<Line> line, const ExchangeSettings& exchange);
    ~LinePort() override;

    /// Opens the line. Returns false when it can't be opened; trouble() says why. Not needed
    /// later on: a line that broke is opened again before the next command.
    bool open();

    /// What last went wrong with the line, as a sentence for a person; empty after a good reply.
    QString trouble() const { return m_trouble; }

    /// Waits on one deadline, however the bytes trickle in. Returns at once with what it has when
    /// the line breaks, and 0 when the command before it was not sent.
    int read(char* buffer, int maxLength) override;

    /// Returns `length`, or -1 when the command did not go out.
    int write(const char* data, int length) override;

    /// Option 12 with value 0 discards what was received and not read. After trouble it also waits
    /// until the line can be trusted again, as LineTrust says. Other options are ignored.
    void setOption(int option, const QVariant& value) override;

    int retry() override;
    int delay() override;

private:
    int receive(char* buffer, int maxLength);
    bool send(const char* data, int length);
    bool isReady() const;
    bool settle();
    bool waitForQuiet(qint64 deadlineMs);
    bool reopen(qint64 deadlineMs);
    int remainingMs(qint64 untilMs) const;
    bool shedsLateReplies() const;

    std::unique_ptr<Line> m_line;
    ExchangeSettings m_exchange;
    LineTrust m_trust;
    QString m_trouble;
    qint64 m_sentMs = 0;    ///< when the last byte of the last command was on its way
    bool m_settled = false; ///< the line was made ready since the last read
    bool m_sending = true;  ///< false from a command that did not go out to the next that does
};

} // namespace host

#endif
