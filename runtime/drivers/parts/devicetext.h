// A device text such as "DM100", taken apart once: a symbol of letters and a decimal number.
#ifndef DRIVERS_PARTS_DEVICETEXT_H
#define DRIVERS_PARTS_DEVICETEXT_H

#include "drivers/export.h"

#include <QByteArray>
#include <QString>

namespace driverkit
{

/// The value of a text of 1 to 18 decimal digits; -1 for any other text.
DRIVER_KIT_EXPORT qint64 plainNumber(const QByteArray& text);

/// A small value: it allocates nothing until it is asked for a text.
class DRIVER_KIT_EXPORT DeviceText
{
public:
    enum { MaxLength = 31 };

    /// Takes apart a text of up to MaxLength characters; a longer one counts as empty, and is not
    /// plain.
    explicit DeviceText(const QByteArray& text);
    explicit DeviceText(const QString& text);

    /// The whole text as given, ended by a NUL.
    const char* text() const { return m_text; }
    int length() const { return m_length; }

    /// The letters A to Z and a to z that the text begins with.
    int symbolLength() const { return m_symbolLength; }
    bool hasSymbol(const char* symbol) const; ///< these letters and no others, ignoring case

    /// Whether nothing but up to 18 digits follows the symbol, possibly none at all.
    bool isPlain() const { return m_number >= 0; }

    /// Whether at least one digit follows it, and nothing else.
    bool hasNumber() const { return isPlain() && digitCount() > 0; }

    /// Whether the text has this symbol and names the first of `count` devices that all exist. The
    /// symbol has `size` devices, numbered from 0.
    bool hasDevices(const char* symbol, qint64 count, qint64 size) const;

    int digitCount() const { return m_length - m_symbolLength; } ///< of a plain text
    qint64 number() const { return m_number; } ///< 0 without digits, -1 when not plain

    /// The text of another device of the same symbol, its number 0 or more, with no fewer digits
    /// than this one has.
    QByteArray at(qint64 number) const;

private:
    DRIVER_KIT_HIDDEN void takeApart(const char* text, int length);

    char m_text[MaxLength + 1];
    int m_length;
    int m_symbolLength;
    qint64 m_number;
};

} // namespace driverkit

#endif
