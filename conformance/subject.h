// The requests that a driver is checked with: which of its devices, in which widths and directions.
#ifndef CONFORMANCE_SUBJECT_H
#define CONFORMANCE_SUBJECT_H

#include "conformance/widths.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <string>
#include <vector>

namespace host
{
struct DriverDescription;
}

enum class Direction { Read, Write };

/// Whether the driver's author says that a request is served.
enum class Declared { No, Yes, Unknown };

struct Request {
    Direction direction;
    const Width* width;
    QString device;
    qint64 room; ///< how many units there are from the device on, at least 1
    Declared declared;

    std::string kind() const; ///< "read word"
    std::string name() const; ///< "read word D0"
};

/// As typed by the user.
struct Choice {
    QString wordDevice;
    QString bitDevice;
    std::optional<QStringList> read; ///< names of widths that are served
    std::optional<QStringList> write;
};

/// All requests for the chosen devices, or for the first device of each area of the description.
/// Empty when there are neither.
std::vector<Request> requestsFor(const Choice& choice, const host::DriverDescription& description);

#endif
