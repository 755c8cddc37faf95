// Where values lie among those of their kind: what overlaps, what shares a device, and in which
// order they come.
#ifndef BENCH_INTERNAL_EXTENT_H
#define BENCH_INTERNAL_EXTENT_H

#include "bench/devices.h"

#include "drivers/communicatorcommand.h"

#include <cstdint>
#include <string>
#include <tuple>

namespace bench
{

/// The bytes that a value covers among those of its kind.
struct Extent {
    const host::DeviceArea* area; ///< null where the driver describes none
    std::string text;             ///< of the run, without areas
    int station;                  ///< -1 for the driver's own
    bool isBit;                   ///< the contact of a timer is apart from its value
    std::int64_t begin;
    std::int64_t end;
    int unitBytes;        ///< of a device; without areas of a unit of a request
    DriverDataType width; ///< of a request for it

    int bytes() const { return static_cast<int>(end - begin); }

    auto group() const { return std::tie(area, text, station, isBit); }
    auto place() const { return std::tie(area, text, station, isBit, begin); }
    bool overlaps(const Extent& other) const
    {
        return group() == other.group() && begin < other.end && other.begin < end;
    }
};

Extent extentOf(const TypedDevice& device);

/// Whether values of this type share devices with their neighbours.
bool isPacked(const Type& type);

} // namespace bench

#endif
