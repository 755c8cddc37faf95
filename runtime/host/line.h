// A line that bytes go over, and the clock that they are timed with.
// It knows neither requests nor drivers; what a port makes of it is in lineport.h.
#ifndef HOST_LINE_H
#define HOST_LINE_H

#include <QString>

#include <memory>

namespace host
{

struct LineSettings;

/// No operation throws, blocks longer than it is told, or needs a running event loop. After a
/// failure the line is closed and trouble() says why.
class Line
{
public:
    /// What becomes of replies that are still on their way when the line is opened again.
    enum class Reopening {
        KeepsLateReplies, ///< a serial line: they arrive all the same
        ShedsLateReplies  ///< a connection: they went to the old one and are lost
    };

    static constexpr int Failed = -1;

    virtual ~Line() = default;

    /// Opens the line; one that is open is closed first. Returns whether it is open now.
    virtual bool open(int timeoutMs) = 0;
    virtual bool isOpen() const = 0;

    /// Sends all of `data` within `timeoutMs`. Returns whether it is gone.
    virtual bool write(const char* data, int length, int timeoutMs) = 0;

    /// Takes up to `maxLength` bytes, waiting at most `waitMs` for the first of them.
    /// Returns their count, 0 when none came in time, Failed when the line broke.
    virtual int read(char* buffer, int maxLength, int waitMs) = 0;

    virtual Reopening reopening() const = 0;

    /// How long `byteCount` bytes are on their way by the line's speed alone.
    virtual qint64 transferMs(int byteCount) const = 0;

    /// A monotonic time in milliseconds.
    virtual qint64 nowMs() const = 0;

    /// The last failure as a sentence for a person; empty when there was none.
    virtual QString trouble() const = 0;
};

/// A serial device such as "/dev/ttyUSB0" or "/dev/pts/3", closed.
std::unique_ptr<Line> makeSerialLine(const QString& device, const LineSettings& settings);

/// A TCP connection to `host`, closed.
std::unique_ptr<Line> makeTcpLine(const QString& host, quint16 port);

} // namespace host

#endif
