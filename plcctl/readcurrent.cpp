#include "readcurrent.h"

#include "progress.h"
#include "report.h"

namespace plcctl
{

namespace
{

int reportFailures(const std::vector<bench::SnapshotValue>& values,
                   const std::vector<bench::Reading>& readings)
{
    int status = Success;
    std::string last;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto& failure = readings[i].failure;
        if (!failure || failure->what() == last)
            continue;
        last = failure->what();
        status = status == Success ? bench::exitStatus(failure->kind()) : status;
        report(*failure, bench::snapshotName(values[i].point.device));
    }
    return status;
}

} // namespace

Current readCurrent(Bench& bench, const std::vector<bench::SnapshotValue>& values)
{
    std::vector<bench::Reading> current(values.size());
    Progress progress(values.size());
    std::size_t done = 0;
    const auto take = [&](const auto& indices, const auto& readings) {
        for (std::size_t i = 0; i < indices.size(); ++i)
            current[indices[i]] = readings[i];
        done += indices.size();
        progress.show(done);
    };
    if (!bench::readBlocks(bench.session(), devicesOf(values), take))
        throw bench::Failure(bench::FailureKind::NoReply, "stopped");
    progress.clear();
    return {current, reportFailures(values, current)};
}

} // namespace plcctl
