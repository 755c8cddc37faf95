// CRCs over a block, byte by byte and at once through the library, beside zlib and Boost.CRC.
#include "drivers/crc.h"
#include "drivers/tools.h"
#include "randomblock.h"

#include <benchmark/benchmark.h>
#include <boost/crc.hpp>
#include <zlib.h>

namespace
{

/// Runs `crcOf` over the block again and again.
template <typename Function>
void overBlock(benchmark::State& state, Function crcOf)
{
    const QByteArray block = randomBlock();
    for (auto _ : state)
        benchmark::DoNotOptimize(crcOf(block));
    state.SetBytesProcessed(state.iterations() * BlockBytes);
}

template <typename Register, Register update(Register, char)>
void perByte(benchmark::State& state)
{
    overBlock(state, [](const QByteArray& block) {
        Register crc = 0;
        for (const char c : block)
            crc = update(crc, c);
        return crc;
    });
}

template <typename Register, Register update(Register, const void*, int)>
void perBlock(benchmark::State& state)
{
    overBlock(state,
              [](const QByteArray& block) { return update(0, block.constData(), block.size()); });
}

template <typename Crc>
void boostCrc(benchmark::State& state)
{
    overBlock(state, [](const QByteArray& block) {
        Crc crc;
        crc.process_bytes(block.constData(), static_cast<size_t>(block.size()));
        return crc.checksum();
    });
}

void kitCrc16Calculate(benchmark::State& state)
{
    overBlock(state, [](const QByteArray& block) {
        return CRC16Calculate(reinterpret_cast<const unsigned char*>(block.constData()),
                              block.size());
    });
}

void zlibCrc32(benchmark::State& state)
{
    overBlock(state, [](const QByteArray& block) {
        return crc32(0, reinterpret_cast<const Bytef*>(block.constData()),
                     static_cast<uInt>(block.size()));
    });
}

using BoostDnp = boost::crc_optimal<16, 0x3D65, 0, 0xFFFF, true, true>;
using BoostKermit = boost::crc_optimal<16, 0x1021, 0, 0, true, true>;

} // namespace

BENCHMARK(perByte<unsigned long, update_crc_32>)->Name("crc32/kit");
BENCHMARK(perBlock<unsigned long, update_crc_32_block>)->Name("crc32/kit block");
BENCHMARK(zlibCrc32)->Name("crc32/zlib");
BENCHMARK(boostCrc<boost::crc_32_type>)->Name("crc32/boost");
BENCHMARK(perByte<unsigned short, update_crc_16>)->Name("crc16/kit");
BENCHMARK(kitCrc16Calculate)->Name("crc16/kit CRC16Calculate");
BENCHMARK(boostCrc<boost::crc_16_type>)->Name("crc16/boost");
BENCHMARK(perByte<unsigned short, update_crc_ccitt>)->Name("ccitt/kit");
BENCHMARK(perBlock<unsigned short, update_crc_ccitt_block>)->Name("ccitt/kit block");
BENCHMARK(boostCrc<boost::crc_xmodem_type>)->Name("ccitt/boost");
BENCHMARK(perByte<unsigned short, update_crc_kermit>)->Name("kermit/kit");
BENCHMARK(perBlock<unsigned short, update_crc_kermit_block>)->Name("kermit/kit block");
BENCHMARK(boostCrc<BoostKermit>)->Name("kermit/boost");
BENCHMARK(perByte<unsigned short, update_crc_dnp>)->Name("dnp/kit");
BENCHMARK(perBlock<unsigned short, update_crc_dnp_block>)->Name("dnp/kit block");
BENCHMARK(boostCrc<BoostDnp>)->Name("dnp/boost");
