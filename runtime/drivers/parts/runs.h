// Runs of consecutive devices: how their numbers follow each other, and how a run that is too long
// for one command is cut into parts.
#ifndef DRIVERS_PARTS_RUNS_H
#define DRIVERS_PARTS_RUNS_H

#include "drivers/export.h"

#include <QtGlobal>

namespace driverkit
{

/// How the numbers of consecutive devices follow each other.
enum Numbering {
    CountsByOne,
    CountsByChannel ///< channel x 100 + bit, bits 00 to 15: 114, 115, 200
};

/// The number of the device `steps` after `number`; both are 0 or more. A bit above 15 counts as
/// the last of its channel, and is kept by 0 steps.
DRIVER_KIT_EXPORT qint64 numberAfter(qint64 number, qint64 steps, Numbering numbering);

/// Walks along a run, part by part:
///
///     RunParts parts(count);
///     while (parts.more()) {
///         parts.next(capacity);
///         ... parts.offset() ... parts.count() ...
///     }
///
/// Each part is as large as the capacity allows. A run that fits is one part, even when it has
/// 0 devices or fewer.
class DRIVER_KIT_EXPORT RunParts
{
public:
    explicit RunParts(qint64 count);

    bool more() const { return !m_started || end() < m_total; }

    /// Moves to the next part.
    ///
    /// capacity  devices that one command can carry from end() on, 1 or more
    void next(int capacity);

    qint64 offset() const { return m_offset; }        ///< devices of the run before this part
    int count() const { return m_count; }             ///< devices of this part
    qint64 end() const { return m_offset + m_count; } ///< devices of the run up to the part's end

private:
    qint64 m_total;
    qint64 m_offset;
    int m_count;
    bool m_started;
};

} // namespace driverkit

#endif
