#pragma once

// Hashing and comparing of names, most of which are shorter than two words: no loop and no call for those.

#include <klObject/values/private/WideInteger.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/types.h>

#include <cstring>

namespace kelm
{

inline uint64 MixWords(uint64 a, uint64 b)
{
    const uint128 product = static_cast<uint128>(a ^ 0x9E3779B97F4A7C15u) * (b ^ 0xD6E8FEB86659FD93u);
    return static_cast<uint64>(product) ^ static_cast<uint64>(product >> 64);
}

inline uint64 HashOfText(SubString text)
{
    const char* p = text.m_p1;
    ssize_t size = text.size();
    uint64 hash = static_cast<uint64>(size);
    for (; size > 16; p += 8, size -= 8)
        hash = MixWords(hash, LoadWord<uint64>(p));
    // What remains, in two words that may overlap.
    if (size >= 8)
        return MixWords(hash ^ LoadWord<uint64>(p), LoadWord<uint64>(p + size - 8));
    if (size >= 4)
        return MixWords(hash ^ LoadWord<uint32>(p), LoadWord<uint32>(p + size - 4));
    if (size > 0)
        return MixWords(hash ^ static_cast<uint8>(p[0]),
                        static_cast<uint64>(static_cast<uint8>(p[size / 2])) << 8 | static_cast<uint8>(p[size - 1]));
    return hash;
}

inline bool IsSameText(SubString a, SubString b)
{
    const ssize_t size = a.size();
    if (size != b.size())
        return false;
    const char* p = a.m_p1;
    const char* q = b.m_p1;
    if (size > 16)
        return std::memcmp(p, q, static_cast<std::size_t>(size)) == 0;
    if (size >= 8)
        return LoadWord<uint64>(p) == LoadWord<uint64>(q) &&
               LoadWord<uint64>(p + size - 8) == LoadWord<uint64>(q + size - 8);
    if (size >= 4)
        return LoadWord<uint32>(p) == LoadWord<uint32>(q) &&
               LoadWord<uint32>(p + size - 4) == LoadWord<uint32>(q + size - 4);
    for (ssize_t i = 0; i < size; ++i)
        if (p[i] != q[i])
            return false;
    return true;
}

} // namespace kelm
