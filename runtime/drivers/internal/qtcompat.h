// What differs between Qt 4.8 on the panel and Qt 5.15 on a desktop, for the library's own sources.
#ifndef DRIVERS_INTERNAL_QTCOMPAT_H
#define DRIVERS_INTERNAL_QTCOMPAT_H

#include <QByteArray>
#include <QString>
#include <QThread>

namespace qtcompat
{

// A length of -1 means a text that a zero byte ends.
#if QT_VERSION < 0x050000
inline QByteArray toAscii(const QString& text)
{
    return text.toAscii();
}
inline QString fromAscii(const char* text, int length = -1)
{
    return QString::fromAscii(text, length);
}
#else
// Qt 5 removed the ASCII conversions; without a codec of the runtime's own they were Latin-1.
inline QByteArray toAscii(const QString& text)
{
    return text.toLatin1();
}
inline QString fromAscii(const char* text, int length = -1)
{
    return QString::fromLatin1(text, length);
}
#endif

/// Sleeps the calling thread. A pause of 0 or less returns at once.
inline void sleepMs(int milliseconds)
{
    // Qt 4 protects QThread::msleep; a derived class may call it.
    struct Sleeper : QThread {
        using QThread::msleep;
    };
    if (milliseconds > 0)
        Sleeper::msleep(static_cast<unsigned long>(milliseconds));
}

} // namespace qtcompat

#endif
