// How a host has set the line, as far as a pseudo-terminal keeps it: speed and stop bits.
#ifndef SIMULATOR_LINEFORM_H
#define SIMULATOR_LINEFORM_H

#include <cstdint>

namespace simulator
{

struct LineForm {
    uint32_t baud = 9600;
    bool hasTwoStopBits = false;

    bool operator==(const LineForm& other) const
    {
        return baud == other.baud && hasTwoStopBits == other.hasTwoStopBits;
    }
};

/// The form that a terminal is set to; a speed of 0 when that can't be known.
LineForm lineFormOf(int terminal);

} // namespace simulator

#endif
