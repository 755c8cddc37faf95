/* Feeds the CRC functions as a driver written in C does. */
#include "crc_in_c.h"

#include "drivers/crc.h"

unsigned long crc32_in_c(const char* text)
{
    unsigned long crc = 0xFFFFFFFFUL;
    for (; *text; ++text)
        crc = update_crc_32(crc, *text);
    return crc ^ 0xFFFFFFFFUL;
}

unsigned short sick_crc_in_c(const char* text)
{
    unsigned short crc = 0;
    char previous = 0;
    for (; *text; previous = *text++)
        crc = update_crc_sick(crc, *text, previous);
    return crc;
}
