/* Marks what libkv1000.so shows to programs and drivers built against the kit. Plain C can include
   it too. */
#ifndef DRIVERS_EXPORT_H
#define DRIVERS_EXPORT_H

#define DRIVER_KIT_EXPORT __attribute__((visibility("default")))

/* For members that an exported class keeps to itself. */
#define DRIVER_KIT_HIDDEN __attribute__((visibility("hidden")))

#endif
