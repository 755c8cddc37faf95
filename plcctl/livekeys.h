// What the keys of the live watch do. Nothing here draws.
#ifndef PLCCTL_LIVEKEYS_H
#define PLCCTL_LIVEKEYS_H

#include "liveview.h"
#include "screen.h"

namespace plcctl
{

/// Does to the view, and to the watch that it shows, what a key asks for.
void takeKey(const Key& key, LiveView& view, bench::WatchThread& watch);

/// The keys of the table, and the most needed ones in one line.
std::vector<std::string> keyHelp();
extern const char* const KeyLine;

} // namespace plcctl

#endif
