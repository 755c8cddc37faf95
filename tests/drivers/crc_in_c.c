/* A driver written in C calls the CRC functions. */
#include "drivers/crc.h"

unsigned long crc32_in_c(const char* text, int length);

unsigned long crc32_in_c(const char* text, int length)
{
    return update_crc_32_block(update_crc_32(0xFFFFFFFFUL, text[0]), text + 1, length - 1);
}
