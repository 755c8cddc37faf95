#include "conformance/widths.h"

#include <algorithm>

const Width Widths[7] = {
    {"bit", DataBit, 1, 1, DataBit},
    {"byte", DataByte, 8, 1, DataByte},
    {"word", DataWord, 16, 2, DataWord},
    {"dword", DataDoubleWord, 32, 4, DataDoubleWord},
    {"quad", DataQuadWord, 64, 8, std::nullopt},
    {"block", DataBlock, 8, 1, DataByte},
    {"group", DataBitGroup, 1, 1, DataBit},
};

const Width* widthNamed(const std::string& name)
{
    const auto isIt = [&](const Width& width) { return name == width.name; };
    const Width* const found = std::find_if(std::begin(Widths), std::end(Widths), isIt);
    return found == std::end(Widths) ? nullptr : found;
}
