// Names the devices behind the first one of a run, as DM101 behind DM100.
// It knows how the areas of one controller count, and nothing of drivers, lines or values.
#ifndef PLCCTL_DEVICENAMES_H
#define PLCCTL_DEVICENAMES_H

#include "units.h"

#include <string>

namespace plcctl
{

/// How device numbers go from one unit of a run to the next.
enum class Step {
    Unknown,
    One,
    Two,     ///< a unit covers two devices
    Channel, ///< relays: channel times 100 and bit, so 115 is followed by 200
};

/// Names the units of one run.
class RunNames
{
public:
    /// driver  the driver's own name: areas are known for "KEYENCE KV-1000" only
    /// first   the device text of the first unit, as the person typed it
    RunNames(const std::string& driver, const std::string& first, const Unit& unit);

    /// The name of a unit, counted from 0: its own device text where the counting is known, else
    /// the first device text and the place in brackets, as T5[1].
    std::string at(int index) const;

private:
    int numberAt(int index) const;

    std::string m_first;
    std::string m_letters;
    int m_digits = 0; ///< how many the number was typed with
    int m_number = 0;
    Step m_step = Step::Unknown;
};

} // namespace plcctl

#endif
