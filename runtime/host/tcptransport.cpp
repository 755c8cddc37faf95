// TCP connections. Qt's socket looks up the host, which takes as long as the resolver does, and
// connects within the time-out. The bytes then go over a duplicate of its descriptor, where no
// event loop can take them away.
#include "host/descriptortransport.h"

#include <QNetworkProxy>
#include <QTcpSocket>

#include <fcntl.h>
#include <sys/socket.h>

namespace host
{

namespace
{

class TcpTransport : public DescriptorTransport
{
public:
    TcpTransport(const QString& host, quint16 port)
        : m_host(host)
        , m_port(port)
    {
    }

    bool keepsLateReplies() const override { return false; }
    qint64 transferMs(int) const override { return 0; }

protected:
    int openDescriptor(int timeoutMs, QString* error) override
    {
        QTcpSocket socket;
        // A controller is on the plant's own network, never on the far side of a web proxy.
        socket.setProxy(QNetworkProxy::NoProxy);
        socket.connectToHost(m_host, m_port);
        if (!socket.waitForConnected(timeoutMs)) {
            *error = QStringLiteral("can't connect to %1: %2").arg(name(), socket.errorString());
            return NoDescriptor;
        }
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        const int descriptor =
            ::fcntl(static_cast<int>(socket.socketDescriptor()), F_DUPFD_CLOEXEC, 0);
        if (descriptor == NoDescriptor)
            *error = QStringLiteral("can't connect to %1: %2").arg(name(), qt_error_string(errno));
        return descriptor;
    }

    ssize_t writeSome(int descriptor, const char* data, size_t length) override
    {
        return ::send(descriptor, data, length, MSG_NOSIGNAL);
    }

    QString name() const override
    {
        const QString host = m_host.contains(QLatin1Char(':'))
                                 ? QLatin1Char('[') + m_host + QLatin1Char(']')
                                 : m_host;
        return host + QLatin1Char(':') + QString::number(m_port);
    }

private:
    QString m_host;
    quint16 m_port;
};

} // namespace

std::unique_ptr<Transport> makeTcpTransport(const QString& host, quint16 port)
{
    return std::make_unique<TcpTransport>(host, port);
}

} // namespace host
