/* What the C side of the CRC test offers to the C++ side. It knows no test framework. */
#ifndef TESTS_KIT_CRC_IN_C_H
#define TESTS_KIT_CRC_IN_C_H

#ifdef __cplusplus
extern "C" {
#endif

/* The registers after a text ended by a zero byte, fed by a C program. */
unsigned long crc32_in_c(const char* text);
unsigned short sick_crc_in_c(const char* text);

#ifdef __cplusplus
}
#endif

#endif
