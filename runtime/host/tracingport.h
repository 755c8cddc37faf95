// A port that hands every call on to another port and writes a line about each. Bytes are shown as
// they are: what they mean differs from driver to driver.
#ifndef HOST_TRACINGPORT_H
#define HOST_TRACINGPORT_H

#include "drivers/abstractdeviceinterface.h"

#include <QString>

#include <functional>

namespace host
{

class TracingPort : public AbstractDeviceInterface
{
public:
    /// Receives one line without a line end, such as
    ///     +12.345 ms  write 15 -> 15  "RDS DM00100 2\r\n"
    ///     +20.118 ms  read 4 -> 4  "0001"
    /// and with hexadecimal digits for what isn't text
    ///     +12.345 ms  write 8 -> 8  01 03 00 FA 00 32 E4 2E
    ///     +20.230 ms  setOption 12 0
    /// The stamp is the moment at which the call returned, counted from the trace's beginning.
    using Sink = std::function<void(const QString& line)>;

    /// A monotonic time in microseconds; only differences matter.
    using Clock = std::function<qint64()>;

    /// port  stays the caller's and must outlive this object
    TracingPort(AbstractDeviceInterface& port, Sink sink);
    TracingPort(AbstractDeviceInterface& port, Sink sink, Clock clock);

    int read(char* buffer, int maxLength) override;
    int write(const char* data, int length) override;
    void setOption(int option, const QVariant& value) override;
    int retry() override;
    int delay() override;

private:
    void trace(const QString& what);

    AbstractDeviceInterface& m_port;
    Sink m_sink;
    Clock m_clock;
    qint64 m_startUs;
};

/// Whether bytes are to be shown as text: at least three quarters are printable ASCII or line ends,
/// so that a garbled reply still is, and an empty one too.
bool isText(const char* data, int length);

/// Bytes as text between double quotes: printable ASCII as it is, \r \n \t \" \\ for these
/// five, \xNN for everything else.
QString quoted(const char* data, int length);

/// Bytes as hexadecimal digits: 01 03 00 FA.
QString inHex(const char* data, int length);

} // namespace host

#endif
