#include "bench/internal/extent.h"

namespace bench
{

namespace
{

Extent extentInArea(const TypedDevice& device)
{
    const host::DeviceArea& area = *device.place.area;
    const int station = device.place.station.value_or(-1);
    const bool isBit = device.type.kind == TypeKind::Bool;
    // A contact takes one byte, whatever the rest of its timer takes.
    const int unit = isBit ? 1 : bytesPerDevice(area);
    const std::int64_t begin = device.place.position * unit + device.byteOffset;
    // A number narrower than its device has the whole device.
    const int bytes = isPacked(device.type) ? bytesOf(device.type) : devicesOf(device) * unit;
    const DriverDataType width = isBit ? DataBit : deviceWidth(area.holds);
    return {&area, "", station, isBit, begin, begin + bytes, unit, width};
}

/// Without areas.
Extent extentInRun(const TypedDevice& device)
{
    const DriverDataType width = widthOf(device.type);
    const int bytes = bytesOf(device.type);
    const std::int64_t begin = std::int64_t(device.index) * bytes;
    const int unit = width == DataByte ? 1 : bytes;
    return {nullptr, device.text, -1, width == DataBit, begin, begin + bytes, unit, width};
}

} // namespace

Extent extentOf(const TypedDevice& device)
{
    return device.isDescribed() ? extentInArea(device) : extentInRun(device);
}

bool isPacked(const Type& type)
{
    return type.kind == TypeKind::Byte || type.kind == TypeKind::String;
}

} // namespace bench
