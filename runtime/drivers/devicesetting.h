// The settings record of a port: its kind, name, line parameters and socket addresses.
#ifndef DRIVERS_DEVICESETTING_H
#define DRIVERS_DEVICESETTING_H

#include "drivers/export.h"

#include <QDataStream>
#include <QList>
#include <QPair>
#include <QString>

/// The kind of a port. The runtime defines the codes and carries more than are named here, so any
/// unsigned 32-bit value may be in a record.
enum device_type : quint32 {
    SerialPortDevice = 0x20 ///< a serial line
};

/// A plain value: copied member by member, written to and read from a QDataStream.
class DRIVER_KIT_EXPORT DeviceSetting
{
public:
    DeviceSetting(device_type type, QString string, int baudrate, int databits, int stopbits,
                  int parity);
    DeviceSetting(device_type type, QString string, int baudrate, int databits, int stopbits,
                  int parity, int auxValue, QString auxString);

    /// Makes entry `index` of the socket list the current one; ignored when there is no such entry.
    void setCurrentIPIndex(int index);

    // In the four operations below an index of -1 means the current entry. Getters give an empty
    // text or port 0 for an index that names no entry, setters change nothing then.
    QString socketIP(int index) const;
    quint16 port(int index) const;
    void setSocketIP(const QString& ip, int index);
    void setPort(quint16 port, int index);

    /// Replaces the socket list by pairs of IP text and port text. A port text that is not a
    /// decimal number from 0 to 65535 becomes port 0. The current index stays as it is.
    void setSocketData(const QList<QPair<QString, QString>>& data);

    /// Writes the record as one line to the debug channel.
    void dump();

    device_type type;
    QString string;    ///< port name, such as "COM2"
    qint32 baudrate;   ///< bits per second
    qint32 databits;   ///< data bits per character
    qint32 stopbits;   ///< the runtime's code: 0 is one stop bit
    qint32 parity;     ///< the runtime's code: 2 is even parity
    qint32 auxValue;   ///< an additional port parameter, carried only
    QString auxString; ///< kept in memory only, never streamed
    qint32 linkID;     ///< link id in the project database, -1 when none is assigned
    qint32 currentIPIndex;
    QList<QPair<QString, quint16>> socketList; ///< IP address text and port number
};

/// The stored form: qint32 for every number, QString for the text, Qt's own form of the socket
/// list; no header and no length.
DRIVER_KIT_EXPORT QDataStream& operator<<(QDataStream& out, const DeviceSetting& s);

/// Reads the stored form. A stored current index that names no entry of the list just read leaves
/// the record's own index as it was; `auxString` is left alone. Errors show in the stream's status:
/// if the stream ends early, the record holds what came before, complete socket entries included.
DRIVER_KIT_EXPORT QDataStream& operator>>(QDataStream& in, DeviceSetting& s);

#endif
