// The loop of the live watch; reading and writing go on in a bench::WatchThread.
#include "live.h"

#include "livekeys.h"
#include "livepicture.h"

#include <unistd.h>

namespace plcctl
{

namespace
{

using bench::LiveState;
using bench::WatchThread;

/// How often the picture is redrawn, for ages and changes.
constexpr int FrameMs = 100;

/// What a request under way gets to end by itself when the watch ends.
constexpr std::chrono::milliseconds EndPatience(300);

void takeOutcomes(LiveView& view, WatchThread& watch)
{
    while (const auto outcome = watch.takeOutcome()) {
        const bench::Point& point = view.points[outcome->index];
        view.message = outcome->failure
                           ? point.name + " not written: " + inOneLine(*outcome->failure)
                           : point.name + " = " + bench::textOf(point, outcome->value) + " written";
    }
}

/// Until a key ends it, or a signal, or the terminal goes.
void run(const Bench& bench, WatchThread& watch, const std::vector<bench::Point>& points,
         const LiveOptions& options)
{
    Screen screen;
    LiveTable table(screen, points, options.notation);
    LiveView view(points, options);
    while (!bench.isStopped() && !view.quits) {
        takeOutcomes(view, watch);
        watch.look([&](const LiveState& state) {
            view.sort(state.points);
            view.scroll(tableLines(screen));
            drawPicture(screen, table, view, state);
        });
        showPicture(screen, view);
        if (!screen.waitForKey(FrameMs))
            return;
        for (Key key = screen.key(); key.kind != Key::None; key = screen.key())
            takeKey(key, view, watch);
    }
}

} // namespace

bench::Summary watchLive(Bench& bench, const std::vector<bench::Point>& points,
                         const LiveOptions& options)
{
    if (options.traces && isatty(STDERR_FILENO))
        throw bench::wrongUsage("--trace would write over the live table",
                                "Send it to a file: 2> trace.txt");
    requireTerminal();
    WatchThread watch(bench.session(), points, options.interval);
    run(bench, watch, points, options);
    // The line gets to finish its exchange when that goes fast; a silent one is cut short.
    watch.stop(EndPatience);
    bench.interrupt();
    bench::Summary summary;
    watch.look([&](const LiveState& state) { summary = state.summary; });
    return summary;
}

} // namespace plcctl
