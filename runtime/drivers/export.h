// Marks what libkv1000.so shows to programs and drivers built against the kit. Plain C reads it
// too.
#ifndef DRIVERS_EXPORT_H
#define DRIVERS_EXPORT_H

#define DRIVER_KIT_EXPORT __attribute__((visibility("default")))

/// Members of an exported class that are its own business.
#define DRIVER_KIT_HIDDEN __attribute__((visibility("hidden")))

#endif
