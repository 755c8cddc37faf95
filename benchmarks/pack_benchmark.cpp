// The packer of runs and the byte swaps beside loops over Qt's byte-order functions.
#include "drivers/tools.h"
#include "randomblock.h"

#include <QtEndian>
#include <benchmark/benchmark.h>

namespace
{

const int WordsInBlock = BlockBytes / 2;
const int DoubleWordsInBlock = BlockBytes / 4;

// A block of big-endian elements.

template <typename Element>
void swapWithQt(const QByteArray& block, char* to)
{
    const char* from = block.constData();
    const int elementBytes = static_cast<int>(sizeof(Element));
    for (int i = 0; i < block.size() / elementBytes; ++i) {
        const int place = i * elementBytes;
        qToBigEndian<Element>(qFromUnaligned<Element>(from + place), to + place);
    }
}

/// Runs `convert`, which makes a new array of the block, again and again.
template <typename Function>
void convertBlock(benchmark::State& state, Function convert)
{
    const QByteArray block = randomBlock();
    for (auto _ : state) {
        QByteArray result = convert(block);
        benchmark::DoNotOptimize(result.data());
    }
    state.SetBytesProcessed(state.iterations() * BlockBytes);
}

template <typename Element>
void blockWithQt(benchmark::State& state)
{
    convertBlock(state, [](const QByteArray& block) {
        QByteArray result(block.size(), Qt::Uninitialized);
        swapWithQt<Element>(block, result.data());
        return result;
    });
}

void packWordsWithKit(benchmark::State& state)
{
    convertBlock(state, [](const QByteArray& block) {
        QByteArray result(block.size(), Qt::Uninitialized);
        DataPack(reinterpret_cast<unsigned char*>(result.data()), "2048n", block.constData());
        return result;
    });
}

void unpackDoubleWordsWithKit(benchmark::State& state)
{
    convertBlock(state, [](const QByteArray& block) {
        QByteArray result(block.size(), Qt::Uninitialized);
        DataUnpack(reinterpret_cast<const unsigned char*>(block.constData()), "1024N",
                   result.data());
        return result;
    });
}

void swapWordsWithKit(benchmark::State& state)
{
    convertBlock(state, [](const QByteArray& block) {
        return fromBigEndianUShortArray(reinterpret_cast<const unsigned char*>(block.constData()),
                                        WordsInBlock);
    });
}

void swapDoubleWordsWithKit(benchmark::State& state)
{
    convertBlock(state, [](const QByteArray& block) {
        return fromBigEndianULongArray(reinterpret_cast<const unsigned char*>(block.constData()),
                                       DoubleWordsInBlock);
    });
}

} // namespace

BENCHMARK(packWordsWithKit)->Name("words/kit DataPack 2048n");
BENCHMARK(swapWordsWithKit)->Name("words/kit fromBigEndianUShortArray");
BENCHMARK(blockWithQt<quint16>)->Name("words/qt loop");
BENCHMARK(unpackDoubleWordsWithKit)->Name("double words/kit DataUnpack 1024N");
BENCHMARK(swapDoubleWordsWithKit)->Name("double words/kit fromBigEndianULongArray");
BENCHMARK(blockWithQt<quint32>)->Name("double words/qt loop");
