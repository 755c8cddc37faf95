// The serial ports of this machine, for a person who looks for the right one.
#ifndef BENCH_SERIALPORTS_H
#define BENCH_SERIALPORTS_H

#include <string>
#include <vector>

namespace bench
{

/// Texts are empty where the system does not say.
struct SerialPort {
    std::string device; ///< what a port option takes, such as "/dev/ttyUSB0"
    std::string description;
    std::string manufacturer;
    std::string serialNumber; ///< of the adapter
    std::string usedBy;       ///< program and process number, such as "plcctl (1234)"
};

/// All serial ports, in the order of their devices. None is opened: that would raise its control
/// lines, and reset what hangs on them.
std::vector<SerialPort> serialPorts();

/// A process with its program, such as "plcctl (1234)".
std::string processText(const std::string& number);

/// The program that has a device open, as in SerialPort. Other users' programs can be seen only by
/// root. Empty when none is seen.
std::string programUsing(const std::string& device);

} // namespace bench

#endif
