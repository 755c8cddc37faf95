// Bit copies and shifts of a block beside the same done bit by bit.
#include "drivers/tools.h"
#include "randomblock.h"

#include <benchmark/benchmark.h>

namespace
{

const int BlockBits = BlockBytes * 8;

/// Neither is a multiple of 8, so no byte goes over as it is.
const int CopyStart = 3;
const int ShiftBits = 1029;

/// Runs `change` on a copy of the block again and again.
template <typename Function>
void changeBlock(benchmark::State& state, Function change)
{
    QByteArray block = randomBlock();
    for (auto _ : state) {
        change(block);
        benchmark::DoNotOptimize(block.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * BlockBytes);
}

void copyBitsByteWise(benchmark::State& state)
{
    QByteArray src = randomBlock();
    changeBlock(state, [&](QByteArray& dst) { CopyBits(dst, src, CopyStart, BlockBits); });
}

void copyBitsBitWise(benchmark::State& state)
{
    const QByteArray src = randomBlock();
    changeBlock(state, [&](QByteArray& dst) {
        for (int i = 0; i < BlockBits; ++i)
            setBit(dst, CopyStart + i, getBit(src, i));
    });
}

void shiftByteWise(benchmark::State& state)
{
    changeBlock(state, [](QByteArray& bits) { RightShiftNBits(bits, ShiftBits); });
}

void shiftBitWise(benchmark::State& state)
{
    changeBlock(state, [](QByteArray& bits) {
        for (int i = 0; i < BlockBits; ++i)
            setBit(bits, i, i + ShiftBits < BlockBits && getBit(bits, i + ShiftBits));
    });
}

void expandBits(benchmark::State& state)
{
    changeBlock(state, [](QByteArray& bits) {
        benchmark::DoNotOptimize(ExpandBitsToBytes(bits, CopyStart, BlockBits - CopyStart));
    });
}

void expandBitWise(benchmark::State& state)
{
    changeBlock(state, [](QByteArray& bits) {
        QByteArray expanded(BlockBits - CopyStart, '\0');
        for (int i = 0; i < expanded.size(); ++i)
            expanded[i] = getBit(bits, CopyStart + i);
        benchmark::DoNotOptimize(expanded);
    });
}

} // namespace

BENCHMARK(copyBitsByteWise)->Name("copy bits/kit CopyBits");
BENCHMARK(copyBitsBitWise)->Name("copy bits/bit by bit");
BENCHMARK(shiftByteWise)->Name("shift bits/kit RightShiftNBits");
BENCHMARK(shiftBitWise)->Name("shift bits/bit by bit");
BENCHMARK(expandBits)->Name("expand bits/kit ExpandBitsToBytes");
BENCHMARK(expandBitWise)->Name("expand bits/bit by bit");
