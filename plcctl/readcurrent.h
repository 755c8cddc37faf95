// What the controller holds now of the devices in a snapshot.
#ifndef PLCCTL_READCURRENT_H
#define PLCCTL_READCURRENT_H

#include "bench.h"

#include "bench/snapshot.h"

#include <string>
#include <vector>

namespace plcctl
{

struct Current {
    std::vector<bench::Reading> readings; ///< parallel to the values of the snapshot
    int status;                           ///< of the first failure, or Success
};

/// Reads with a progress bar, and reports failures, once for neighbours that fail alike. Throws a
/// Failure when a signal stops it.
Current readCurrent(Bench& bench, const std::vector<bench::SnapshotValue>& values);

/// Names the devices that the dump could not read.
void tellUnread(const bench::Snapshot& snapshot, const std::string& file);

} // namespace plcctl

#endif
