// The request record that the runtime hands to a driver's read and write.
#ifndef DRIVERS_COMMUNICATORCOMMAND_H
#define DRIVERS_COMMUNICATORCOMMAND_H

#include <QString>
#include <QtGlobal>

/// The width of one unit of a request.
enum DriverDataType {
    DataBit = 0,
    DataByte = 1,
    DataWord = 2,       ///< 16 bits
    DataDoubleWord = 3, ///< 32 bits
    DataQuadWord = 4,   ///< 64 bits
    DataBlock = 5,      ///< bytes, like DataByte
    DataBitGroup = 6    ///< bits, like DataBit
};

/// Which device to start at, how many units, and of which width.
struct CommunicatorCommand {
    /// Two words of the runtime's own; no driver reads them.
    qint32 firstRuntimeWord;
    qint32 secondRuntimeWord;

    /// A DriverDataType; kept as a number because the runtime may send codes without a name.
    qint32 dataType;

    /// Units to read. Writes take their count from the size of the data instead.
    qint32 length;

    /// The device text of the first unit, such as DM100, MR500 or T12.
    QString address;

    CommunicatorCommand()
        : firstRuntimeWord(0)
        , secondRuntimeWord(0)
        , dataType(DataBit)
        , length(0)
        , address()
    {
    }
};

#endif
