// What drivers ask of the operating system: a pause, a steady clock, whether a process exists.
#ifndef DRIVERS_TOOLS_PLATFORM_H
#define DRIVERS_TOOLS_PLATFORM_H

#include "drivers/export.h"

#include <QtGlobal>

/// Suspends the calling thread for `ms` milliseconds, however many signals arrive meanwhile.
DRIVER_KIT_EXPORT void HRSleep(unsigned long ms);

/// Milliseconds of the monotonic clock. Only differences between two readings mean anything.
DRIVER_KIT_EXPORT qint64 CurrentMSecsSinceBoot();

/// Whether a process of that id exists, including another user's. False for ids that no process can
/// have. Sends no signal.
DRIVER_KIT_EXPORT bool ProcessIsRunning(long long pid);

#endif
