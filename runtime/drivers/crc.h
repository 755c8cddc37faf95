/* Six CRCs for drivers whose frames carry one. Plain C can include this too. The start value of
 * a register and what is done to it at the end are up to the caller.
 *
 * Each function takes the register and the next byte or bytes and returns the new register. A byte
 * counts as 0 to 255 whatever the sign of char. All may be called from several threads at once.
 *
 *   function           start        at the end      gives                  of "123456789"
 *   update_crc_ccitt   0x0000                       CRC-16/XMODEM          0x31C3
 *   update_crc_ccitt   0xFFFF                       CRC-16/IBM-3740        0x29B1
 *   update_crc_ccitt   0x1D0F                       CRC-16/SPI-FUJITSU     0xE5CC
 *   update_crc_16      0x0000                       CRC-16/ARC             0xBB3D
 *   update_crc_16      0xFFFF                       CRC-16/MODBUS          0x4B37
 *   update_crc_kermit  0x0000                       CRC-16/KERMIT          0x2189
 *   update_crc_dnp     0x0000       ^ 0xFFFF        CRC-16/DNP             0xEA82
 *   update_crc_32      0xFFFFFFFF   ^ 0xFFFFFFFF    CRC-32 (ISO-HDLC)      0xCBF43926
 */
#ifndef DRIVERS_CRC_H
#define DRIVERS_CRC_H

#include "drivers/export.h"

#ifdef __cplusplus
extern "C" {
#endif

DRIVER_KIT_EXPORT unsigned short update_crc_ccitt(unsigned short crc, char c);
DRIVER_KIT_EXPORT unsigned short update_crc_16(unsigned short crc, char c);
DRIVER_KIT_EXPORT unsigned short update_crc_kermit(unsigned short crc, char c);
DRIVER_KIT_EXPORT unsigned short update_crc_dnp(unsigned short crc, char c);

/* The register has 32 bits however wide long is: higher bits are ignored and come back as 0. */
DRIVER_KIT_EXPORT unsigned long update_crc_32(unsigned long crc, char c);

/* prev: the byte before c in the data, 0 for the first. */
DRIVER_KIT_EXPORT unsigned short update_crc_sick(unsigned short crc, char c, char prev);

/* The same over `length` bytes at `data`, several times as fast for 8 bytes or more. A length of 0
 * or less leaves the register as it is. The first call of each of the first five fills a table of 4
 * or 8 KB. */

DRIVER_KIT_EXPORT unsigned short update_crc_ccitt_block(unsigned short crc, const void* data,
                                                        int length);
DRIVER_KIT_EXPORT unsigned short update_crc_16_block(unsigned short crc, const void* data,
                                                     int length);
DRIVER_KIT_EXPORT unsigned short update_crc_kermit_block(unsigned short crc, const void* data,
                                                         int length);
DRIVER_KIT_EXPORT unsigned short update_crc_dnp_block(unsigned short crc, const void* data,
                                                      int length);
DRIVER_KIT_EXPORT unsigned long update_crc_32_block(unsigned long crc, const void* data,
                                                    int length);

/* prev: the byte before the block, 0 at the start of the data. */
DRIVER_KIT_EXPORT unsigned short update_crc_sick_block(unsigned short crc, const void* data,
                                                       int length, char prev);

#ifdef __cplusplus
}
#endif

#endif
