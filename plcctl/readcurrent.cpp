#include "readcurrent.h"

#include "progress.h"
#include "report.h"

#include "bench/transfer.h"

namespace plcctl
{

namespace
{

int reportFailures(const std::vector<bench::SnapshotValue>& values,
                   const std::vector<bench::Reading>& readings)
{
    std::vector<FailedPoints> failed;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (readings[i].failure)
            addFailed(failed, *readings[i].failure, bench::snapshotName(values[i].point.device));
    return report(failed);
}

} // namespace

Current readCurrent(Bench& bench, const std::vector<bench::SnapshotValue>& values)
{
    Progress progress(values.size());
    const auto readings =
        bench::readCurrent(bench.session(), values, [&](std::size_t read) { progress.show(read); });
    progress.clear();
    return {readings, reportFailures(values, readings)};
}

void tellUnread(const bench::Snapshot& snapshot, const std::string& file)
{
    for (const std::string& devices : snapshot.unread)
        note(file + " has no value of " + devices + ": it was not read for the dump");
}

} // namespace plcctl
