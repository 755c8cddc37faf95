// The other end of a real line, for tests: a pseudo-terminal or a loopback socket.
// It knows no protocol and nothing of the port under test.
#ifndef TESTS_HOST_FAREND_H
#define TESTS_HOST_FAREND_H

#include "host/portaddress.h"

#include <QByteArray>

#include <memory>

class FarEnd
{
public:
    virtual ~FarEnd() = default;

    /// Where a port reaches this end.
    virtual host::PortAddress address() const = 0;

    /// Call once the port has opened the line.
    virtual void meet() = 0;

    virtual void send(const QByteArray& bytes) = 0;

    /// Waits for `count` bytes; fewer only when the line ended.
    virtual QByteArray receive(int count) = 0;

    /// Ends the line, and answers no more at its address until comeBack().
    virtual void hangUp() = 0;
    virtual void comeBack() = 0;
};

std::unique_ptr<FarEnd> serialFarEnd();
std::unique_ptr<FarEnd> tcpFarEnd();

#endif
