// The port options that drivers set, by the numbers that the runtime gave them.
#ifndef DRIVERS_PORTOPTIONS_H
#define DRIVERS_PORTOPTIONS_H

/// For AbstractDeviceInterface::setOption.
enum PortOption {
    /// With the integer 0: drop the bytes that were received but not read. A driver sets it before
    /// a command, so that a late reply to an earlier one is not mistaken for the reply to this one.
    DiscardUnreadInput = 12
};

#endif
