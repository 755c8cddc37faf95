// How the live watch looks: a title, the table, statistics, a message, the keys, and help over it.
#ifndef PLCCTL_LIVEPICTURE_H
#define PLCCTL_LIVEPICTURE_H

#include "livetable.h"

namespace plcctl
{

/// The rows that the picture has room for, 1 or more.
int tableLines(const Screen& screen);

/// The terminal shows what was drawn when showPicture() follows.
void drawPicture(Screen& screen, LiveTable& table, const LiveView& view,
                 const bench::LiveState& state);
void showPicture(Screen& screen, const LiveView& view);

} // namespace plcctl

#endif
