// Six CRCs, five of them by table. The compiler works the tables out, so no first call has to build
// one, and a program that needs none spends nothing on them.
#include "drivers/crc.h"

#include <QtGlobal>

namespace
{

const int TableEntries = 256;

template <typename Register>
struct Table {
    Register entry[TableEntries];
};

/// The numbers 0 to Count - 1 as template arguments.
template <int... Index>
struct Indices {
};

template <int Count, int... Index>
struct IndicesUpTo : IndicesUpTo<Count - 1, Count - 1, Index...> {
};

template <int... Index>
struct IndicesUpTo<0, Index...> : Indices<Index...> {
};

/// The entries of a table whose register moves towards its least significant bit.
template <typename Width, Width Constant>
struct Reflected {
    typedef Width Register;

    static constexpr Register entry(Register crc, int bitsLeft = 8)
    {
        return bitsLeft == 0 ? crc : entry(step(crc), bitsLeft - 1);
    }

    static constexpr Register step(Register crc)
    {
        return static_cast<Register>(crc >> 1 ^ (crc & 1 ? Constant : 0));
    }
};

/// The entries of a table whose register moves towards its most significant bit.
template <quint16 Constant>
struct Forward {
    typedef quint16 Register;

    static constexpr Register entry(int index)
    {
        return shifted(static_cast<Register>(index << 8), 8);
    }

    static constexpr Register shifted(Register crc, int bitsLeft)
    {
        return bitsLeft == 0 ? crc : shifted(step(crc), bitsLeft - 1);
    }

    static constexpr Register step(Register crc)
    {
        return static_cast<Register>(crc << 1 ^ (crc & 0x8000 ? Constant : 0));
    }
};

template <typename Rule, int... Index>
constexpr Table<typename Rule::Register> tableOf(Indices<Index...>)
{
    return {{Rule::entry(Index)...}};
}

template <typename Rule>
constexpr Table<typename Rule::Register> tableOf()
{
    return tableOf<Rule>(IndicesUpTo<TableEntries>());
}

constexpr Table<quint16> crc_tabccitt = tableOf<Forward<0x1021>>();
constexpr Table<quint16> crc_tab16 = tableOf<Reflected<quint16, 0xA001>>();
constexpr Table<quint16> crc_tabkermit = tableOf<Reflected<quint16, 0x8408>>();
constexpr Table<quint16> crc_tabdnp = tableOf<Reflected<quint16, 0xA6BC>>();
constexpr Table<quint32> crc_tab32 = tableOf<Reflected<quint32, 0xEDB88320>>();

const unsigned int SickPolynomial = 0x8005;

/// The value of a byte, which a signed char would extend.
unsigned int valueOf(char c)
{
    return static_cast<unsigned char>(c);
}

template <typename Register>
Register reflectedUpdate(const Table<Register>& table, Register crc, char c)
{
    return static_cast<Register>(crc >> 8 ^ table.entry[(crc ^ valueOf(c)) & 0xFF]);
}

} // namespace

unsigned short update_crc_ccitt(unsigned short crc, char c)
{
    return static_cast<unsigned short>(crc << 8 ^ crc_tabccitt.entry[crc >> 8 ^ valueOf(c)]);
}

unsigned short update_crc_16(unsigned short crc, char c)
{
    return reflectedUpdate(crc_tab16, crc, c);
}

unsigned short update_crc_kermit(unsigned short crc, char c)
{
    return reflectedUpdate(crc_tabkermit, crc, c);
}

unsigned short update_crc_dnp(unsigned short crc, char c)
{
    return reflectedUpdate(crc_tabdnp, crc, c);
}

unsigned long update_crc_32(unsigned long crc, char c)
{
    return reflectedUpdate(crc_tab32, static_cast<quint32>(crc), c);
}

unsigned short update_crc_sick(unsigned short crc, char c, char prev)
{
    const unsigned int shifted = static_cast<unsigned int>(crc) << 1;
    const unsigned int next = crc & 0x8000 ? shifted ^ SickPolynomial : shifted;
    return static_cast<unsigned short>(next ^ (valueOf(prev) << 8 | valueOf(c)));
}
