// What serial lines and TCP connections share: bytes moved over a non-blocking descriptor.
#ifndef HOST_DESCRIPTORTRANSPORT_H
#define HOST_DESCRIPTORTRANSPORT_H

#include "host/transport.h"

#include <QElapsedTimer>

#include <sys/types.h>

namespace host
{

class DescriptorTransport : public Transport
{
public:
    DescriptorTransport();
    ~DescriptorTransport() override;

    bool open(int timeoutMs) override;
    bool isOpen() const override { return m_descriptor >= 0; }
    bool write(const char* data, int length, int timeoutMs) override;
    int read(char* buffer, int maxLength, int waitMs) override;
    qint64 nowMs() const override { return m_clock.elapsed(); }
    QString lastFailure() const override { return m_failure; }
    void interrupt() override;

protected:
    static constexpr int NoDescriptor = -1;

    enum class Wait { Ready, TimedOut, Interrupted };

    /// Waits for these events of poll(), through signals that do not interrupt the transport.
    Wait waitUntil(int descriptor, short events, qint64 deadlineMs) const;

    /// Returns a non-blocking descriptor, or NoDescriptor with the reason in `error`.
    virtual int openDescriptor(int timeoutMs, QString* error) = 0;

    /// Sends what the descriptor takes now. Returns the count, or -1 with errno.
    virtual ssize_t writeSome(int descriptor, const char* data, size_t length) = 0;

    /// What is opened, as a person calls it.
    virtual QString name() const = 0;

    /// Why no byte can come any more, when reading finds the end.
    virtual QString endReason() const = 0;

private:
    int takeReceived(char* buffer, int maxLength);
    bool fail(const QString& reason);
    bool isInterrupted() const;
    void dropUnsent();
    void close();

    int m_descriptor = NoDescriptor;
    int m_wakeUp = NoDescriptor; ///< readable once interrupted
    QElapsedTimer m_clock;
    QString m_failure;

    // Replies are read in two steps, and one system call fetches both.
    char m_received[4096];
    int m_begin = 0;
    int m_end = 0;
};

} // namespace host

#endif
