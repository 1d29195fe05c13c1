#pragma once

// Blocks as two 64-bit words; part of Blocks.h, which says what the classes are.

#include <klUtils/types.h>

#include <bit>
#include <cstring>

namespace kelm::text
{

// Byte by byte answers of two words, a lane being a byte's top bit.
class Lanes
{
public:
    Lanes(uint64 low, uint64 high) : m_low(low), m_high(high) {}
    Lanes operator|(Lanes other) const { return {m_low | other.m_low, m_high | other.m_high}; }
    Lanes operator&(Lanes other) const { return {m_low & other.m_low, m_high & other.m_high}; }
    Lanes operator^(Lanes other) const { return {m_low ^ other.m_low, m_high ^ other.m_high}; }
    Lanes operator~() const { return {m_low ^ s_tops, m_high ^ s_tops}; }

    static constexpr uint64 s_tops = 0x8080808080808080;

    uint64 m_low;
    uint64 m_high;
};

class Block
{
public:
    explicit Block(const char* p)
    {
        std::memcpy(&m_low, p, sizeof m_low);
        std::memcpy(&m_high, p + sizeof m_low, sizeof m_high);
    }
    Block(uint64 low, uint64 high) : m_low(low), m_high(high) {}

    static Block Of(char c)
    {
        const uint64 word = s_ones * static_cast<uint8>(c);
        return {word, word};
    }

    template <int Count>
    Block Earlier(const Block& before) const
    {
        static_assert(0 < Count && Count < 8);
        constexpr int up = 8 * Count;
        return {m_low << up | before.m_high >> (64 - up), m_high << up | m_low >> (64 - up)};
    }

    Lanes AreEqual(char c) const
    {
        return {AreZero(m_low ^ s_ones * static_cast<uint8>(c)), AreZero(m_high ^ s_ones * static_cast<uint8>(c))};
    }
    Lanes AreBeyondAscii() const { return {m_low & Lanes::s_tops, m_high & Lanes::s_tops}; }
    Lanes AreAtLeast(const Block& least) const { return {AtLeast(m_low, least.m_low), AtLeast(m_high, least.m_high)}; }
    Lanes AreBelow(char c) const { return ~AreBetween(c, 0x7f); }
    Lanes AreBetween(char first, char last) const
    {
        return {Between(m_low, first, last), Between(m_high, first, last)};
    }
    Lanes AreLettersBetween(char first, char last) const
    {
        constexpr uint64 lowerCase = 0x2020202020202020;
        return {Between(m_low | lowerCase, first, last), Between(m_high | lowerCase, first, last)};
    }

    void Store(char* p) const
    {
        std::memcpy(p, &m_low, sizeof m_low);
        std::memcpy(p + sizeof m_low, &m_high, sizeof m_high);
    }

    uint64 GetDecimal() const { return 100000000 * JoinEightDigits(m_low) + JoinEightDigits(m_high); }

private:
    // Seven bits of each byte are added to or taken from without a carry into the next.
    static uint64 AreZero(uint64 bytes)
    {
        return ~(((bytes & ~Lanes::s_tops) + ~Lanes::s_tops) | bytes) & Lanes::s_tops;
    }
    static uint64 AtLeast(uint64 bytes, uint64 least)
    {
        return ((bytes | Lanes::s_tops) - (least & ~Lanes::s_tops)) & bytes & Lanes::s_tops;
    }
    // The top bit of `atLeast` says that the byte is no less than `first`, that of `above` that it is greater than
    // `last`.
    static uint64 Between(uint64 bytes, char first, char last)
    {
        const uint64 low = bytes & ~Lanes::s_tops;
        const uint64 atLeast = low + s_ones * static_cast<uint64>(0x80 - first);
        const uint64 above = low + s_ones * static_cast<uint64>(0x7f - last);
        return atLeast & ~above & ~bytes & Lanes::s_tops;
    }

    static constexpr uint64 s_ones = 0x0101010101010101;

    uint64 m_low;
    uint64 m_high;
};

inline int FirstOf(Lanes lanes)
{
    return lanes.m_low != 0 ? std::countr_zero(lanes.m_low) / 8 : 8 + std::countr_zero(lanes.m_high) / 8;
}
inline int FirstNotOf(Lanes lanes)
{
    return FirstOf(~lanes);
}
inline int FirstOf(Lanes first, Lanes second)
{
    const int count = FirstOf(first);
    return count != s_blockSize ? count : count + FirstOf(second);
}
inline int FirstOf(Lanes first, Lanes second, Lanes third, Lanes fourth)
{
    const int count = FirstOf(first, second);
    return count != 2 * s_blockSize ? count : count + FirstOf(third, fourth);
}
inline bool HasAny(Lanes lanes)
{
    return (lanes.m_low | lanes.m_high) != 0;
}

class CountOfOne
{
public:
    static constexpr ssize_t s_mostBlocks = 255;

    void Add(const Block& block, char c)
    {
        const Lanes lanes = block.AreEqual(c);
        m_low += lanes.m_low >> 7;
        m_high += lanes.m_high >> 7;
    }
    ssize_t GetSum() const { return SumOf(m_low) + SumOf(m_high); }

private:
    // The bytes' sum: neighbours are joined, then all four.
    static ssize_t SumOf(uint64 bytes)
    {
        constexpr uint64 even = 0x00ff00ff00ff00ff;
        return static_cast<ssize_t>(((bytes & even) + (bytes >> 8 & even)) * 0x0001000100010001 >> 48);
    }

    uint64 m_low = 0;
    uint64 m_high = 0;
};

} // namespace kelm::text
