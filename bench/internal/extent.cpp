#include "bench/internal/extent.h"

namespace bench
{

Extent extentOf(const TypedDevice& device)
{
    const bool isBit = device.type.kind == TypeKind::Bool;
    const int station = device.place.station.value_or(-1);
    const std::int64_t bytes = bytesOf(device.type);
    if (!device.isDescribed())
        return {nullptr, device.text,          station,
                isBit,   device.index * bytes, (device.index + 1) * bytes,
                1};
    const int unit = isBit ? 1 : bytesPerDevice(*device.place.area);
    const std::int64_t begin = device.place.position * unit + device.byteOffset;
    const std::int64_t taken = isPacked(device.type) ? bytes : devicesOf(device) * unit;
    return {device.place.area, "", station, isBit, begin, begin + taken, unit};
}

bool isPacked(const Type& type)
{
    return type.kind == TypeKind::Byte || type.kind == TypeKind::String;
}

} // namespace bench
