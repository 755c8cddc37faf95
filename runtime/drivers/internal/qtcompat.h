// What differs between Qt 4.8 on the panel and Qt 5.15 on a desktop, for the library's own sources.
// Nothing here is part of the kit that other drivers see.
#ifndef DRIVERS_INTERNAL_QTCOMPAT_H
#define DRIVERS_INTERNAL_QTCOMPAT_H

#include <QByteArray>
#include <QString>
#include <QThread>

namespace qtcompat
{

#if QT_VERSION < 0x050000
inline QByteArray toAscii(const QString& text)
{
    return text.toAscii();
}
inline QString fromAscii(const char* text)
{
    return QString::fromAscii(text);
}
#else
// Qt 5 took the ASCII conversions away; without a codec of the runtime's own they were Latin-1.
inline QByteArray toAscii(const QString& text)
{
    return text.toLatin1();
}
inline QString fromAscii(const char* text)
{
    return QString::fromLatin1(text);
}
#endif

/// Sleeps the calling thread. A pause of 0 or less returns at once.
inline void sleepMs(int milliseconds)
{
    // Qt 4 protects QThread::msleep; a class of the family may call it.
    struct Sleeper : QThread {
        using QThread::msleep;
    };
    if (milliseconds > 0)
        Sleeper::msleep(static_cast<unsigned long>(milliseconds));
}

} // namespace qtcompat

#endif
