// Six CRCs, five of them by table. The tables are constants, so the functions that take one byte
// need no first call. The block functions take eight bytes a step through eight tables, seven of
// which the first block makes.
#include "drivers/crc.h"

#include "drivers/internal/byteswap.h"
#include "drivers/internal/crctables.h"

#include <QtEndian>
#include <QtGlobal>

using namespace crctables;

namespace
{

const int TableEntries = 256;
const int BytesPerStep = 8;
const unsigned int SickPolynomial = 0x8005;

/// The value of a byte, which a signed char would extend.
unsigned int valueOf(char c)
{
    return static_cast<unsigned char>(c);
}

/// One byte into a register that moves towards its least significant bit.
template <typename Register>
Register reflectedUpdate(const Register* table, Register crc, unsigned char byte)
{
    return static_cast<Register>(crc >> 8 ^ table[(crc ^ byte) & 0xFF]);
}

unsigned short sickUpdate(unsigned short crc, unsigned int byte, unsigned int previous)
{
    const unsigned int shifted = static_cast<unsigned int>(crc) << 1;
    const unsigned int next = crc & 0x8000 ? shifted ^ SickPolynomial : shifted;
    return static_cast<unsigned short>(next ^ (previous << 8 | byte));
}

/// The tables of a register that moves towards its least significant bit: after[k] says what a
/// byte has done to an empty register once k zero bytes have followed it.
template <typename Register>
struct StepTables {
    Register after[BytesPerStep][TableEntries];

    explicit StepTables(const Register* table)
    {
        for (int i = 0; i < TableEntries; ++i) {
            after[0][i] = table[i];
            for (int k = 1; k < BytesPerStep; ++k)
                after[k][i] = reflectedUpdate(table, after[k - 1][i], 0);
        }
    }

    /// The register after eight bytes, each of which acts by its distance from the last.
    Register step(Register crc, const unsigned char* bytes) const
    {
        const quint32 first = qFromLittleEndian<quint32>(bytes) ^ crc;
        const quint32 last = qFromLittleEndian<quint32>(bytes + 4);
        return static_cast<Register>(after[7][first & 0xFF] ^ after[6][first >> 8 & 0xFF] ^
                                     after[5][first >> 16 & 0xFF] ^ after[4][first >> 24] ^
                                     after[3][last & 0xFF] ^ after[2][last >> 8 & 0xFF] ^
                                     after[1][last >> 16 & 0xFF] ^ after[0][last >> 24]);
    }

    Register block(Register crc, const void* data, int length) const
    {
        const unsigned char* next = static_cast<const unsigned char*>(data);
        for (; length >= BytesPerStep; length -= BytesPerStep, next += BytesPerStep)
            crc = step(crc, next);
        for (; length > 0; --length, ++next)
            crc = reflectedUpdate(after[0], crc, *next);
        return crc;
    }
};

/// A register that moves towards its most significant bit is, with its bytes exchanged, one that
/// moves the other way: these are the tables of that one.
StepTables<quint16> exchangedTables(const quint16* table)
{
    quint16 exchanged[TableEntries];
    for (int i = 0; i < TableEntries; ++i)
        exchanged[i] = byteswap::swapped(table[i]);
    return StepTables<quint16>(exchanged);
}

} // namespace

unsigned short update_crc_ccitt(unsigned short crc, char c)
{
    return static_cast<unsigned short>(crc << 8 ^ crc_tabccitt[crc >> 8 ^ valueOf(c)]);
}

unsigned short update_crc_16(unsigned short crc, char c)
{
    return reflectedUpdate(crc_tab16, crc, static_cast<unsigned char>(c));
}

unsigned short update_crc_kermit(unsigned short crc, char c)
{
    return reflectedUpdate(crc_tabkermit, crc, static_cast<unsigned char>(c));
}

unsigned short update_crc_dnp(unsigned short crc, char c)
{
    return reflectedUpdate(crc_tabdnp, crc, static_cast<unsigned char>(c));
}

unsigned long update_crc_32(unsigned long crc, char c)
{
    return reflectedUpdate(crc_tab32, static_cast<quint32>(crc), static_cast<unsigned char>(c));
}

unsigned short update_crc_sick(unsigned short crc, char c, char prev)
{
    return sickUpdate(crc, valueOf(c), valueOf(prev));
}

unsigned short update_crc_ccitt_block(unsigned short crc, const void* data, int length)
{
    static const StepTables<quint16> tables = exchangedTables(crc_tabccitt);
    return byteswap::swapped(tables.block(byteswap::swapped(crc), data, length));
}

unsigned short update_crc_16_block(unsigned short crc, const void* data, int length)
{
    static const StepTables<quint16> tables(crc_tab16);
    return tables.block(crc, data, length);
}

unsigned short update_crc_kermit_block(unsigned short crc, const void* data, int length)
{
    static const StepTables<quint16> tables(crc_tabkermit);
    return tables.block(crc, data, length);
}

unsigned short update_crc_dnp_block(unsigned short crc, const void* data, int length)
{
    static const StepTables<quint16> tables(crc_tabdnp);
    return tables.block(crc, data, length);
}

unsigned long update_crc_32_block(unsigned long crc, const void* data, int length)
{
    static const StepTables<quint32> tables(crc_tab32);
    return tables.block(static_cast<quint32>(crc), data, length);
}

unsigned short update_crc_sick_block(unsigned short crc, const void* data, int length, char prev)
{
    const unsigned char* const bytes = static_cast<const unsigned char*>(data);
    unsigned int previous = valueOf(prev);
    for (int i = 0; i < length; ++i) {
        crc = sickUpdate(crc, bytes[i], previous);
        previous = bytes[i];
    }
    return crc;
}
