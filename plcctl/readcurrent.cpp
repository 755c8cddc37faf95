#include "readcurrent.h"

#include "progress.h"
#include "report.h"

#include "bench/transfer.h"

namespace plcctl
{

Current readCurrent(Bench& bench, const std::vector<bench::SnapshotValue>& values)
{
    Progress progress(values.size());
    const auto readings =
        bench::readCurrent(bench.session(), values, [&](std::size_t read) { progress.show(read); });
    progress.clear();
    const auto nameOf = [&](std::size_t i) { return bench::snapshotName(values[i].point.device); };
    return {readings, report(readings, nameOf)};
}

void tellUnread(const bench::Snapshot& snapshot, const std::string& file)
{
    for (const std::string& devices : snapshot.unread)
        note(file + " has no value of " + devices + ": it was not read for the dump");
}

} // namespace plcctl
