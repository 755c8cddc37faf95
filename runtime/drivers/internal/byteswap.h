// Reverses the bytes of every element of a block, for the library's own sources.
#ifndef DRIVERS_INTERNAL_BYTESWAP_H
#define DRIVERS_INTERNAL_BYTESWAP_H

#include <QtGlobal>
#include <cstring>

namespace byteswap
{

inline quint16 swapped(quint16 element)
{
    return static_cast<quint16>(element << 8 | element >> 8);
}

inline quint32 swapped(quint32 element)
{
    return element << 24 | (element << 8 & 0x00FF0000) | (element >> 8 & 0x0000FF00) |
           element >> 24;
}

/// Swaps in place. Elements may lie at any address, hence the copies, of which compilers make plain
/// loads and stores.
template <typename Element>
void swapElements(void* block, int count)
{
    char* place = static_cast<char*>(block);
    for (int left = count; left > 0; --left) {
        Element element;
        std::memcpy(&element, place, sizeof element);
        element = swapped(element);
        std::memcpy(place, &element, sizeof element);
        place += sizeof element;
    }
}

} // namespace byteswap

#endif
