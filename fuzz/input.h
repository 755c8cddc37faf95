// What every fuzz target shares: its input taken apart into values, and the check that stops it.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

/// Ends the program with a message when something that must hold does not.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// The bytes of one input, taken from front to back. Past the end every byte is 0, so short inputs
/// mean something too.
class Input
{
public:
    Input(const uint8_t* data, size_t size)
        : m_next(data)
        , m_end(data + size)
    {
    }

    bool atEnd() const { return m_next == m_end; }

    int byte() { return atEnd() ? 0 : *m_next++; }

    /// Least significant byte first.
    uint32_t number(int bytes)
    {
        uint32_t value = 0;
        for (int i = 0; i < bytes; ++i)
            value |= static_cast<uint32_t>(byte()) << (8 * i);
        return value;
    }

    /// Two bytes as a number from -32768 to 32767.
    int shortNumber() { return static_cast<int16_t>(number(2)); }

    /// A length byte and as many bytes; fewer when the input ends first.
    QByteArray text() { return take(byte()); }

    QByteArray rest() { return take(INT32_MAX); }

private:
    QByteArray take(ptrdiff_t length)
    {
        const ptrdiff_t taken = std::min<ptrdiff_t>(length, m_end - m_next);
        QByteArray bytes(reinterpret_cast<const char*>(m_next), static_cast<int>(taken));
        m_next += taken;
        return bytes;
    }

    const uint8_t* m_next;
    const uint8_t* m_end;
};

#endif
