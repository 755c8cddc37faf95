// The port that drivers talk through: whole replies on a deadline, over a transport that may break,
// and never a late reply in place of another.
#ifndef HOST_PORT_H
#define HOST_PORT_H

#include "drivers/abstractdeviceinterface.h"
#include "host/exchangesettings.h"
#include "host/guard.h"

#include <QString>

#include <atomic>
#include <memory>

namespace host
{

class Transport;

/// Works without a running event loop, in one thread. Opening, writing and reading each take at
/// most the time-out. A read adds the time that the command before it and its own bytes need on a
/// slow line. Before a command, write() or option 12 may wait up to 5 time-outs until the line has
/// been silent for 4, as guard.h says, but only after a reply was missing or bytes came that were
/// not asked for. On a connection there is no such wait: the port reconnects.
class Port : public AbstractDeviceInterface
{
public:
    Port(std::unique_ptr<Transport> transport, const ExchangeSettings& exchange);

    /// Settles a line that has replies under way.
    ~Port() override;

    /// Opens the transport. Returns false when it can't be opened; lastFailure() says why. Not
    /// needed later on: a transport that broke is opened again before the next command.
    bool open();

    /// Waits until no late reply is under way, so that whoever opens the line next does not mistake
    /// it for its own reply. Returns at once when none can be; else it takes 4 time-outs from the
    /// last command or byte, and 16 at most. Does not wait again on a line that was not silent
    /// then.
    void settle();

    /// What last went wrong, as a sentence for a person, with the time-out that would do when
    /// replies are too late; empty after a good reply.
    QString lastFailure() const;

    /// Whether it went wrong because the port dropped a reply or refused a command to be safe: the
    /// controller may have done nothing wrong.
    bool isOwnFailure() const;

    /// Whether it went wrong because the transport could not be opened, or broke.
    bool isBroken() const { return m_failure == Failure::Transport; }

    /// How long after their command replies came that were too late, the longest since the last
    /// good reply; 0 when none was heard. Only a port that waits hears them: see settle().
    qint64 latenessMs() const { return m_guard.latenessMs(); }

    /// Whether late replies still arrive here. A connection is opened again instead.
    bool keepsLateReplies() const;

    /// Lets a call that waits end at once, and every later one fail. Safe in a signal handler.
    void interrupt();

    /// Waits on one deadline, however the bytes trickle in. Returns at once with what it has when
    /// the transport breaks, and 0 when the command before it did not go out or the reply may be
    /// that of an earlier command.
    int read(char* buffer, int maxLength) override;

    /// Returns `length`, or -1 when the command did not go out.
    int write(const char* data, int length) override;

    /// Option 12 with value 0 makes the transport ready for a command. Bytes that were received and
    /// not read are dropped; the command is then refused when they show that the replies before it
    /// may have been late ones. write() does the same when it was not asked for before. Other
    /// options are ignored.
    void setOption(int option, const QVariant& value) override;

    /// One more than asked for after an attempt that failed because of the port itself.
    int retry() override;
    int delay() override;

private:
    /// What a write finds and a read depends on.
    enum class Command { None, Ready, Refused, Sent, NotSent };

    enum class Failure { None, Transport, Incomplete, Dropped, Unread, NotSilent, Interrupted };

    int receive(char* buffer, int maxLength);
    bool send(const char* data, int length);
    bool prepare();
    bool listenUntilReady(qint64 deadlineMs);
    bool reopen();
    bool fail(Failure failure);
    QString failureText() const;
    int remainingMs(qint64 untilMs) const;

    std::unique_ptr<Transport> m_transport;
    ExchangeSettings m_exchange;
    Guard m_guard;
    qint64 m_sentMs = 0; ///< when the last byte of the last command has left
    Command m_command = Command::None;
    Failure m_failure = Failure::None;
    std::atomic<bool> m_interrupted{false};
    bool m_isNeverSilent = false; ///< when the port last waited for the line to settle
    int m_received = 0;           ///< of `m_wanted` bytes, when a reply was incomplete
    int m_wanted = 0;
};

} // namespace host

#endif
