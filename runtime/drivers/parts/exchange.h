// One command and its reply over a port: what goes out, and the three ways in which a reply ends:
// after a known length, after a length that its first bytes give, or at a delimiter.
#ifndef DRIVERS_PARTS_EXCHANGE_H
#define DRIVERS_PARTS_EXCHANGE_H

#include "drivers/export.h"

#include <QByteArray>

class AbstractDeviceInterface;

namespace driverkit
{

class ErrorState;

/// Whatever returns false has set the error state.
class DRIVER_KIT_EXPORT Exchange
{
public:
    enum { NoLimit = 0, DefaultReplyLimitMs = 10000 };

    /// Each read waits as long as the port's own time-out, however long that is. Reads that follow
    /// the first one of a reply could go on forever with a peer that sends a byte now and then: no
    /// further one begins when replyLimitMs have passed since the first ended, and the reply is
    /// "packet loss". NoLimit leaves it to the port.
    ///
    /// port, error  must outlive the exchange
    Exchange(AbstractDeviceInterface* port, ErrorState& error,
             int replyLimitMs = DefaultReplyLimitMs);

    /// Drops what was received and not read, then sends a command. Nothing shows whether it went
    /// out: a lost command shows up as a missing reply.
    void ask(const char* command, int length);
    void ask(const QByteArray& command) { ask(command.constData(), command.size()); }

    /// Sends a command without dropping anything.
    void send(const char* command, int length);

    /// Reads exactly `length` bytes. Any other count that the port returns is "packet loss".
    bool receive(char* buffer, int length);

    /// Reads as many bytes as the shortest reply has, asks how many follow, and reads those. Asking
    /// a port for more bytes than arrive costs a whole time-out.
    ///
    /// buffer    room for the longest reply
    /// shortest  bytes that every reply has
    /// restOf    int(const char* buffer): bytes that follow the first `shortest`, 0 or more;
    ///           negative if the reply is an error, after setting the error state
    template <typename RestOf>
    bool receiveProbed(char* buffer, int shortest, RestOf restOf)
    {
        if (!receive(buffer, shortest))
            return false;
        const int rest = restOf(static_cast<const char*>(buffer));
        return rest == 0 || (rest > 0 && receive(buffer + shortest, rest));
    }

    /// Reads up to a delimiter, byte by byte.
    ///
    /// reply      receives what comes before the delimiter
    /// maxLength  the longest reply without its delimiter; a longer one is "invalid response"
    bool receiveUntil(char delimiter, int maxLength, QByteArray* reply);

private:
    DRIVER_KIT_HIDDEN bool isOverdue() const;
    DRIVER_KIT_HIDDEN void noteBegin();

    AbstractDeviceInterface* m_port;
    ErrorState& m_error;
    int m_replyLimitMs;
    qint64 m_begunMs; ///< when the first read of the reply ended; NotBegun before that
};

} // namespace driverkit

#endif
