// Compares snapshots with each other and with what a controller holds.
#ifndef BENCH_COMPARISON_H
#define BENCH_COMPARISON_H

#include "bench/plan.h"
#include "bench/snapshot.h"

#include <optional>
#include <vector>

namespace bench
{

/// A device and what the two sides have of it; one of them may lack it.
struct Difference {
    Point point;
    std::optional<Value> left;
    std::optional<Value> right;
};

/// What differs between two snapshots: all of the left in its order, then what only the right has.
std::vector<Difference> differences(const std::vector<SnapshotValue>& left,
                                    const std::vector<SnapshotValue>& right);

/// What differs between a snapshot (left) and the readings of its devices (right), which are
/// parallel to it. What could not be read is left out.
std::vector<Difference> differences(const std::vector<SnapshotValue>& left,
                                    const std::vector<Reading>& right);

/// The values that must be written so that the controller holds the snapshot: those that differ,
/// and beside them bytes and strings that share a device with one of these. A run of a driver
/// without areas is written whole.
///
/// current  parallel to values; those without a value count as different
std::vector<SnapshotValue> valuesToWrite(const std::vector<SnapshotValue>& values,
                                         const std::vector<Reading>& current);

/// Throws a Failure, Different, with the first values that are not as they were written. What could
/// not be read is left out.
///
/// readBack  parallel to written
void requireKept(const std::vector<SnapshotValue>& written, const std::vector<Reading>& readBack);

/// "DM100:uint", or "boiler.temp (DM100:int)" for a tag.
std::string nameInSnapshot(const Point& point);

} // namespace bench

#endif
