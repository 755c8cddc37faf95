// Exchanges two neighbouring blocks of an array in place, allocating nothing.
#ifndef DRIVERS_TOOLS_ROTATEARRAY_H
#define DRIVERS_TOOLS_ROTATEARRAY_H

#include "drivers/export.h"

#include <algorithm>

/// Brings the k elements after the first m to the front, each block in its own order:
/// 1 2 3 4 5 with m = 2 and k = 3 becomes 3 4 5 1 2.
///
/// a      at least m + k elements
/// m, k   elements in the first and in the second block; when either is 0 or less nothing moves
template <typename T>
DRIVER_KIT_EXPORT void RotateArray(T* a, int m, int k)
{
    if (m > 0 && k > 0)
        std::rotate(a, a + m, a + m + k);
}

// Bytes are moved in blocks. These two live in the library; other element types are instantiated
// where they are used.
template <>
DRIVER_KIT_EXPORT void RotateArray<char>(char* a, int m, int k);
template <>
DRIVER_KIT_EXPORT void RotateArray<unsigned char>(unsigned char* a, int m, int k);

#endif
