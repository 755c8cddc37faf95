// Rotation of bytes.
#include "drivers/tools/rotatearray.h"

#include <cstring>

namespace
{

/// A block of so many bytes or less waits here while the other one moves in one go.
const int SetAsideBytes = 256;

void rotateBytes(char* a, int m, int k)
{
    if (m <= 0 || k <= 0)
        return;
    char aside[SetAsideBytes];
    const size_t first = static_cast<size_t>(m);
    const size_t second = static_cast<size_t>(k);
    if (m <= SetAsideBytes) {
        std::memcpy(aside, a, first);
        std::memmove(a, a + m, second);
        std::memcpy(a + k, aside, first);
    } else if (k <= SetAsideBytes) {
        std::memcpy(aside, a + m, second);
        std::memmove(a + k, a, first);
        std::memcpy(a, aside, second);
    } else {
        std::rotate(a, a + m, a + m + k);
    }
}

} // namespace

template <>
void RotateArray<char>(char* a, int m, int k)
{
    rotateBytes(a, m, k);
}

template <>
void RotateArray<unsigned char>(unsigned char* a, int m, int k)
{
    rotateBytes(reinterpret_cast<char*>(a), m, k);
}
