// The widths of requests, by the names that stories and options give them.
#ifndef CONFORMANCE_WIDTHS_H
#define CONFORMANCE_WIDTHS_H

#include "drivers/communicatorcommand.h"

#include <optional>
#include <string>

struct Width {
    const char* name;
    DriverDataType dataType;
    int bits;
    int dataBytes;                          ///< of one unit, in the driver's data
    std::optional<DriverDataType> declared; ///< the width that stands for it in descriptions

    bool isBits() const { return bits == 1; }
};

extern const Width Widths[7];

/// Null for an unknown name.
const Width* widthNamed(const std::string& name);

#endif
