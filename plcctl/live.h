// The live watch: a table of points that stays in place, and keys to work with it.
#ifndef PLCCTL_LIVE_H
#define PLCCTL_LIVE_H

#include "bench.h"

#include "bench/statistics.h"

#include <chrono>
#include <string>
#include <vector>

namespace plcctl
{

struct LiveOptions {
    std::string place; ///< where the points are, for the title
    std::chrono::microseconds interval{0};
    bench::Notation notation = bench::Notation::Natural;
    bool traces = false; ///< standard error shows every byte
};

/// Watches the points on the whole terminal until a key or a signal ends it. The terminal has its
/// old picture again when this returns or throws.
///
/// Returns what the watch came to. Throws a Failure (WrongUsage) without a terminal.
bench::Summary watchLive(Bench& bench, const std::vector<bench::Point>& points,
                         const LiveOptions& options);

} // namespace plcctl

#endif
