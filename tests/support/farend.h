// The far end of a real line, for tests: a pseudo-terminal or a loopback socket.
#ifndef TESTS_SUPPORT_FAREND_H
#define TESTS_SUPPORT_FAREND_H

#include "host/portaddress.h"
#include "support/descriptor.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <arpa/inet.h>
#include <memory>
#include <sys/socket.h>

class FarEnd
{
public:
    virtual ~FarEnd() = default;

    /// Where a port reaches this end.
    virtual host::PortAddress address() const = 0;

    /// Call once the port has opened the line.
    virtual void meet() = 0;

    /// Ends the line, and answers no more at its address until comeBack().
    virtual void hangUp() = 0;
    virtual void comeBack() = 0;

    void send(const QByteArray& bytes)
    {
        require(::write(m_line.get(), bytes.constData(), bytes.size()) == bytes.size(), "send");
    }

    /// Waits for `count` bytes; fewer only when the line ended.
    QByteArray receive(int count)
    {
        QByteArray bytes(count, '\0');
        int have = 0;
        while (have < count) {
            const ssize_t got = ::read(m_line.get(), bytes.data() + have, count - have);
            if (got <= 0)
                break;
            have += static_cast<int>(got);
        }
        return bytes.left(have);
    }

    int descriptor() const { return m_line.get(); }

protected:
    Descriptor m_line;
};

/// The port opens a link that leads to the pseudo-terminal, like a device name that stays the same
/// when an adapter is plugged in again.
class SerialFarEnd : public FarEnd
{
public:
    SerialFarEnd() { comeBack(); }

    host::PortAddress address() const override
    {
        return {host::PortAddress::Kind::Serial, link(), 0};
    }

    void meet() override {}

    void hangUp() override
    {
        QFile::remove(link());
        m_line.reset();
    }

    void comeBack() override
    {
        require(QFile::link(QString::fromStdString(openPseudoTerminal(m_line)), link()), "link");
    }

private:
    QString link() const { return m_directory.filePath(QStringLiteral("line")); }

    QTemporaryDir m_directory;
};

class TcpFarEnd : public FarEnd
{
public:
    /// backlog  how many connections, less one, wait for meet(); later attempts get no answer
    explicit TcpFarEnd(int backlog = 4)
        : m_backlog(backlog)
    {
        listen(0);
    }

    host::PortAddress address() const override
    {
        return {host::PortAddress::Kind::Tcp, QStringLiteral("127.0.0.1"), m_port};
    }

    void meet() override
    {
        m_line.reset(::accept(m_listener.get(), nullptr, nullptr));
        require(m_line.get() >= 0, "accept");
    }

    void hangUp() override
    {
        m_line.reset();
        m_listener.reset();
    }

    void comeBack() override { listen(m_port); }

private:
    void listen(quint16 port)
    {
        m_listener.reset(::socket(AF_INET, SOCK_STREAM, 0));
        const int again = 1;
        setsockopt(m_listener.get(), SOL_SOCKET, SO_REUSEADDR, &again, sizeof again);
        const timeval patience = {10, 0}; // a port that never comes fails the test
        setsockopt(m_listener.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        sockaddr_in address = {};
        socklen_t size = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        address.sin_port = htons(port);
        sockaddr* const any = reinterpret_cast<sockaddr*>(&address);
        require(::bind(m_listener.get(), any, size) == 0 &&
                    ::listen(m_listener.get(), m_backlog) == 0 &&
                    ::getsockname(m_listener.get(), any, &size) == 0,
                "listen");
        m_port = ntohs(address.sin_port);
    }

    int m_backlog;
    Descriptor m_listener;
    quint16 m_port = 0;
};

#endif
