#pragma once

// Eight decimal digits at once, in one word.

#include <klUtils/types.h>

#include <cstring>

namespace kelm
{

// The first character is the lowest byte.
inline uint64 LoadEightBytes(const char* p)
{
    uint64 bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    return bytes;
}

// A digit is a byte from 0x30 that stays below 0x40 when six is added.
inline bool AreEightDigits(uint64 bytes)
{
    return ((bytes & 0xF0F0F0F0F0F0F0F0) | ((bytes + 0x0606060606060606) & 0xF0F0F0F0F0F0F0F0) >> 4) ==
           0x3333333333333333;
}

// Joins neighbours, then pairs, then fours.
inline uint64 ValueOfEightDigits(uint64 bytes)
{
    bytes = (bytes & 0x0F0F0F0F0F0F0F0F) * (1 + (10 << 8)) >> 8;
    bytes = (bytes & 0x00FF00FF00FF00FF) * (1 + (uint64(100) << 16)) >> 16;
    return (bytes & 0x0000FFFF0000FFFF) * (1 + (uint64(10000) << 32)) >> 32;
}

} // namespace kelm
