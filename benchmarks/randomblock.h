// The bytes that every benchmark works on.
#ifndef BENCHMARKS_RANDOMBLOCK_H
#define BENCHMARKS_RANDOMBLOCK_H

#include <QByteArray>
#include <random>

const int BlockBytes = 4096;

/// A block of random bytes, the same in every run.
inline QByteArray randomBlock()
{
    std::mt19937 random(1);
    QByteArray block(BlockBytes, '\0');
    for (char& c : block)
        c = static_cast<char>(random());
    return block;
}

#endif
