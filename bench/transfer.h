// The values of a snapshot, from a controller and to it, with reports of the progress.
#ifndef BENCH_TRANSFER_H
#define BENCH_TRANSFER_H

#include "bench/session.h"
#include "bench/snapshot.h"

#include <functional>
#include <string>
#include <vector>

namespace bench
{

/// Receives the outcome of one request: places in the list of devices, and the readings parallel to
/// them.
using BlockHandler =
    std::function<void(const std::vector<std::size_t>& indices, const std::vector<Reading>&)>;

/// Reads devices request by request until all are read or the session is stopped. A request that
/// the stop has cut short is not reported. After a few requests in a row without a reply the line
/// counts as dead: the rest fails (NoReply) without being sent. Returns whether it was not stopped.
bool readBlocks(Session& session, const std::vector<TypedDevice>& devices,
                const BlockHandler& handler);

/// What the controller holds now of the devices in a snapshot, parallel to its values. Throws a
/// Failure (NoReply) when the session is stopped.
///
/// onProgress  receives how many are read
std::vector<Reading> readCurrent(Session& session, const std::vector<SnapshotValue>& values,
                                 const std::function<void(std::size_t read)>& onProgress);

/// Values that a driver can't write, and how many of them there are.
struct SkippedValues {
    std::string what; ///< such as "CTC as udint"
    std::size_t count;
};

/// Takes out what the driver can't write. Returns what that was.
std::vector<SkippedValues> takeUnwritable(std::vector<SnapshotValue>& values);

/// Why tags do not allow values, such as "line 5: boiler.temp is not writable"; empty when they
/// allow all. Each tag says so once. Values count in any type: those that share devices with a tag
/// give its value together, and its limits are checked when they cover all of it.
///
/// written  those that will be written
/// values   these and the others that the controller then holds
std::vector<std::string> refusals(const std::vector<SnapshotValue>& written,
                                  const std::vector<SnapshotValue>& values,
                                  const std::vector<Point>& tags);

/// Writes the values in the order of the format. Throws a WriteFailure for the first request that
/// fails, which names its values.
///
/// onProgress  receives how many are written
void writeSnapshot(Session& session, const std::vector<SnapshotValue>& values,
                   const std::function<void(std::size_t written)>& onProgress);

} // namespace bench

#endif
