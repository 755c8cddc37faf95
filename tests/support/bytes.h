// Byte arrays as tests write and read them: in hexadecimal.
#ifndef TESTS_SUPPORT_BYTES_H
#define TESTS_SUPPORT_BYTES_H

#include <QByteArray>
#include <ostream>

/// "12 0A" as two bytes.
inline QByteArray bytes(const char* hexadecimal)
{
    return QByteArray::fromHex(hexadecimal);
}

inline const unsigned char* unsignedBytes(const QByteArray& array)
{
    return reinterpret_cast<const unsigned char*>(array.constData());
}

/// How a failed comparison prints them.
inline void PrintTo(const QByteArray& array, std::ostream* out)
{
    *out << '<' << array.toHex(' ').constData() << "> \"" << array.constData() << '"';
}

#endif
