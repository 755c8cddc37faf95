// Modbus RTU frames, taken apart and checked by the protocol's rules.
#ifndef FUZZ_MODBUSFRAME_H
#define FUZZ_MODBUSFRAME_H

#include <string>

namespace modbusframe
{

const int ReadCoils = 1, ReadRegisters = 3, WriteCoils = 15, WriteRegisters = 16;

/// -1 beyond the end.
inline int byteAt(const std::string& frame, size_t place)
{
    return place < frame.size() ? static_cast<unsigned char>(frame[place]) : -1;
}

/// Most significant byte first.
inline int wordAt(const std::string& frame, size_t place)
{
    return byteAt(frame, place) * 256 + byteAt(frame, place + 1);
}

inline std::string withCrc(const std::string& frame)
{
    unsigned crc = 0xFFFF;
    for (const char c : frame) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xA001 : 0);
    }
    return frame + char(crc) + char(crc >> 8);
}

inline bool hasGoodCrc(const std::string& frame)
{
    return frame.size() > 2 && withCrc(frame.substr(0, frame.size() - 2)) == frame;
}

inline bool isWrite(int function)
{
    return function == WriteCoils || function == WriteRegisters;
}

/// Bytes of so many coils, or registers, in a frame.
inline int dataBytes(int function, int count)
{
    return function == ReadCoils || function == WriteCoils ? (count + 7) / 8 : 2 * count;
}

} // namespace modbusframe

#endif
