// A transport that carries bytes, and the clock that they are timed with. When a request is
// complete or a reply late is decided in port.h.
#ifndef HOST_TRANSPORT_H
#define HOST_TRANSPORT_H

#include "host/hostlookup.h"

#include <QString>

#include <memory>

namespace host
{

struct LineSettings;

/// No operation throws or needs a running event loop. After a failure the transport is closed and
/// lastFailure() says why.
class Transport
{
public:
    static constexpr int Failed = -1;

    virtual ~Transport() = default;

    /// Opens the transport within `timeoutMs`; one that is open is closed first. Returns whether it
    /// is open now.
    virtual bool open(int timeoutMs) = 0;
    virtual bool isOpen() const = 0;

    /// Sends all of `data` within `timeoutMs`. Returns whether all of it was sent.
    virtual bool write(const char* data, int length, int timeoutMs) = 0;

    /// Takes up to `maxLength` bytes, waiting at most `waitMs` for the first of them.
    /// Returns their count, 0 when none came in time, Failed when the transport broke.
    virtual int read(char* buffer, int maxLength, int waitMs) = 0;

    /// Whether replies that are still on their way arrive even when the transport is opened
    /// again: on a serial line they do, and with a TCP connection they are lost.
    virtual bool keepsLateReplies() const = 0;

    /// How long `byteCount` bytes are on their way by the transport's speed alone.
    virtual qint64 transferMs(int byteCount) const = 0;

    /// A monotonic time in milliseconds.
    virtual qint64 nowMs() const = 0;

    /// Lets a wait in open(), read() or write() end at once, and every later one. Safe in a signal
    /// handler.
    virtual void interrupt() {}

    /// The last failure as a sentence for a person; empty when there was none.
    virtual QString lastFailure() const = 0;
};

/// A serial device such as "/dev/ttyUSB0" or "/dev/pts/3", closed. A name without a slash is one of
/// the devices in /dev.
std::unique_ptr<Transport> makeSerialTransport(const QString& device, const LineSettings& settings);

/// A TCP connection to `host`, closed.
std::unique_ptr<Transport> makeTcpTransport(const QString& host, quint16 port,
                                            const Resolver& resolver = resolveHost);

} // namespace host

#endif
