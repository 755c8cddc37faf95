// The packer and the byte swaps beside loops over Qt's byte-order functions.
#include "drivers/tools.h"
#include "randomblock.h"

#include <QtEndian>
#include <benchmark/benchmark.h>

namespace
{

const int WordsInBlock = BlockBytes / 2;
const int DoubleWordsInBlock = BlockBytes / 4;

// A header of mixed fields, ten bytes.

void packHeaderWithKit(benchmark::State& state)
{
    unsigned char frame[10];
    for (auto _ : state) {
        DataPack(frame, "CCnvN", 1, 3, 0x1234, 0x5678, 0x01020304);
        benchmark::DoNotOptimize(frame);
    }
}

void packHeaderWithQt(benchmark::State& state)
{
    unsigned char frame[10];
    for (auto _ : state) {
        frame[0] = 1;
        frame[1] = 3;
        qToBigEndian<quint16>(0x1234, frame + 2);
        qToLittleEndian<quint16>(0x5678, frame + 4);
        qToBigEndian<quint32>(0x01020304, frame + 6);
        benchmark::DoNotOptimize(frame);
    }
}

void unpackHeaderWithKit(benchmark::State& state)
{
    const QByteArray block = randomBlock();
    const auto* const from = reinterpret_cast<const unsigned char*>(block.constData());
    unsigned char unit, function;
    unsigned short address, count;
    unsigned int value;
    for (auto _ : state) {
        DataUnpack(from, "CCnvN", &unit, &function, &address, &count, &value);
        benchmark::DoNotOptimize(value);
    }
}

void unpackHeaderWithQt(benchmark::State& state)
{
    const QByteArray block = randomBlock();
    const char* const from = block.constData();
    for (auto _ : state) {
        benchmark::DoNotOptimize(from[0]);
        benchmark::DoNotOptimize(from[1]);
        benchmark::DoNotOptimize(qFromBigEndian<quint16>(from + 2));
        benchmark::DoNotOptimize(qFromLittleEndian<quint16>(from + 4));
        benchmark::DoNotOptimize(qFromBigEndian<quint32>(from + 6));
    }
}

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

BENCHMARK(packHeaderWithKit)->Name("pack header/kit");
BENCHMARK(packHeaderWithQt)->Name("pack header/qt");
BENCHMARK(unpackHeaderWithKit)->Name("unpack header/kit");
BENCHMARK(unpackHeaderWithQt)->Name("unpack header/qt");
BENCHMARK(packWordsWithKit)->Name("words/kit DataPack 2048n");
BENCHMARK(swapWordsWithKit)->Name("words/kit fromBigEndianUShortArray");
BENCHMARK(blockWithQt<quint16>)->Name("words/qt loop");
BENCHMARK(unpackDoubleWordsWithKit)->Name("double words/kit DataUnpack 1024N");
BENCHMARK(swapDoubleWordsWithKit)->Name("double words/kit fromBigEndianULongArray");
BENCHMARK(blockWithQt<quint32>)->Name("double words/qt loop");
