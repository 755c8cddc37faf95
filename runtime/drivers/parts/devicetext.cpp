#include "drivers/parts/devicetext.h"

#include "drivers/internal/ascii.h"
#include "drivers/internal/qtcompat.h"

#include <cstring>

namespace driverkit
{

namespace
{

const int MaxDigits = 18; // always fits a qint64

/// The value of a text of up to MaxDigits digits, 0 without any; -1 for any other text.
qint64 plainNumber(const char* text, int length)
{
    if (length > MaxDigits)
        return -1;
    qint64 number = 0;
    for (int i = 0; i < length; ++i) {
        if (!ascii::isDigit(text[i]))
            return -1;
        number = number * 10 + (text[i] - '0');
    }
    return number;
}

} // namespace

qint64 plainNumber(const QByteArray& text)
{
    return text.isEmpty() ? -1 : plainNumber(text.constData(), text.size());
}

DeviceText::DeviceText(const QByteArray& text)
{
    takeApart(text.constData(), text.size());
}

DeviceText::DeviceText(const QString& text)
{
    const QByteArray bytes = qtcompat::toAscii(text);
    takeApart(bytes.constData(), bytes.size());
}

bool DeviceText::hasSymbol(const char* symbol) const
{
    return static_cast<int>(qstrlen(symbol)) == m_symbolLength &&
           qstrnicmp(m_text, symbol, static_cast<uint>(m_symbolLength)) == 0;
}

bool DeviceText::hasDevices(const char* symbol, qint64 count, qint64 size) const
{
    return hasSymbol(symbol) && hasNumber() && m_number < size && count <= size - m_number;
}

QByteArray DeviceText::at(qint64 number) const
{
    return QByteArray(m_text, m_symbolLength) +
           QByteArray::number(number).rightJustified(digitCount(), '0');
}

void DeviceText::takeApart(const char* text, int length)
{
    m_length = length <= MaxLength ? length : 0;
    std::memcpy(m_text, text, static_cast<size_t>(m_length));
    m_text[m_length] = '\0';
    m_symbolLength = 0;
    while (ascii::isLetter(m_text[m_symbolLength]))
        ++m_symbolLength;
    m_number =
        length <= MaxLength ? plainNumber(m_text + m_symbolLength, m_length - m_symbolLength) : -1;
}

} // namespace driverkit
