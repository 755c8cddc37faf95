// Assembles a frame section by section, checks it, and cuts it back into its sections.
#ifndef DRIVERS_TXPACKAGE_H
#define DRIVERS_TXPACKAGE_H

#include "drivers/export.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <vector>

/// The bytes of a frame and a list of section sizes, one entry per section; sections are numbered
/// from 0. An entry of 0 or more is a size in bytes; an entry -k says that the size is stored in
/// the frame, as the signed number in the first four bytes of section k, least significant byte
/// first; k is 1 or more, and may be the number of the section itself.
///
/// A section begins at the sum of the entries before it, as stored. So sections with sizes lie back
/// to back from byte 0, and what follows an entry -k begins k bytes before that section: such an
/// entry is mostly the last.
///
/// Appending keeps bytes and entries in step; setData and setSectionSize set one or the other
/// alone. A section number that is not valid gives size 0 and no bytes.
class DRIVER_KIT_EXPORT TxPackage
{
public:
    TxPackage();
    ~TxPackage();
    TxPackage(const TxPackage&) = delete;
    TxPackage& operator=(const TxPackage&) = delete;

    int numberOfSections() const;
    int totalSize() const; ///< bytes of the frame

    /// Replaces the frame's bytes by a copy; the sections stay. Returns true; for a negative `len`
    /// false, with nothing changed.
    bool setData(const QByteArray& bytes);
    bool setData(char* bytes, int len);

    char* data(); ///< for writing in place; valid until the frame is next changed
    QByteArray byteArrayData() const;

    /// Empties bytes and sections.
    void clearAll();

    /// Replaces the sections and fits the frame to the sum of their entries as stored, cutting it
    /// or adding zero bytes; a negative sum empties it. A sum beyond int changes nothing.
    void setSectionSize(const QList<int>& sizes);

    /// The frame in the form of dumpByteArray.
    QString toString();

    // Each of these appends one section and returns true.

    bool appendSection(const QByteArray& bytes);
    bool appendByte(unsigned char b);
    bool appendWord(unsigned short w);      ///< least significant byte first
    bool appendDWord(unsigned int d);       ///< least significant byte first
    bool appendString(const QString& text); ///< as 8-bit ASCII
    bool appendByte2Ascii(unsigned char b); ///< as two upper-case hexadecimal characters

    // Checks over all bytes so far, earlier checks included: the LRC is their sum modulo 256, the
    // FCS their exclusive or. The Ascii forms are those of appendByte2Ascii.

    bool appendLRCByte();
    bool appendLRCAscii();
    bool appendFCSAscii(int n); ///< whatever n is

    bool validSectionNumber(int n) const;

    /// The sum of the entries before section n as stored; -1 when n is not valid.
    int sectionStartIndex(int n) const;

    /// The size of section n in bytes, stored in its entry or in the frame. 0 when the section that
    /// should store it does not exist or has less than four bytes, and when several sections name
    /// each other in a circle. A size stored in the frame comes as it is: it may be negative, or
    /// more than the frame holds. dataAt() is safe in either case.
    int sectionSize(int n) const;

    /// The bytes of section n, fewer where the frame ends first.
    QByteArray dataAt(int n) const;

    /// The first byte as a number from 0 to 255; 0 for an empty array.
    int arrayToInt(const QByteArray& bytes) const;

    /// The exclusive or of the package's bytes without the last n; 0 when none are left, and for a
    /// negative n.
    static int calculateFCS(TxPackage* package, int n);

private:
    QByteArray packageData;
    QList<int> packageSizeList;
    std::vector<qint64> packageStartList; ///< of each section, then of the next to come
};

#endif
