// What a driver remembers about a failure: a flag, and a text that outlives the flag.
#ifndef DRIVERS_PARTS_ERRORSTATE_H
#define DRIVERS_PARTS_ERRORSTATE_H

#include "drivers/export.h"

#include <QString>

namespace driverkit
{

class DRIVER_KIT_EXPORT ErrorState
{
public:
    ErrorState();

    /// Sets flag and text together.
    void set(const QString& text);

    /// Clears the flag; the text of the last failure stays readable.
    void clear();

    bool isSet() const { return m_set; }

    /// Empty, not null, until the first failure.
    QString text() const { return m_text; }

    /// Sets the error to `text` followed by `detail`. Returns false, for the caller to hand on.
    bool fail(const char* text, const QString& detail = QString());

private:
    bool m_set;
    QString m_text;
};

} // namespace driverkit

#endif
