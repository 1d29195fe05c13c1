#pragma once

// Blocks by NEON; part of Blocks.h, which says what the classes are.

#include <klUtils/types.h>

#include <bit>

#include <arm_neon.h>

namespace kelm::text
{

// A lane is a byte, all of its bits.
class Lanes
{
public:
    explicit Lanes(uint8x16_t bytes) : m_bytes(bytes) {}
    Lanes operator|(Lanes other) const { return Lanes(vorrq_u8(m_bytes, other.m_bytes)); }
    Lanes operator&(Lanes other) const { return Lanes(vandq_u8(m_bytes, other.m_bytes)); }
    Lanes operator^(Lanes other) const { return Lanes(veorq_u8(m_bytes, other.m_bytes)); }
    Lanes operator~() const { return Lanes(vmvnq_u8(m_bytes)); }

    // Four bits for each character, all of them set where the lane is set: two bytes are shifted and made one.
    uint64 GetMask() const
    {
        return vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(vreinterpretq_u16_u8(m_bytes), 4)), 0);
    }

private:
    uint8x16_t m_bytes;
};

class Block
{
public:
    explicit Block(const char* p) : m_bytes(vld1q_u8(reinterpret_cast<const uint8*>(p))) {}
    Block(uint64 low, uint64 high) : m_bytes(vcombine_u8(vcreate_u8(low), vcreate_u8(high))) {}

    static Block Of(char c) { return Block(All(c)); }

    template <int Count>
    Block Earlier(const Block& before) const
    {
        return Block(vextq_u8(before.m_bytes, m_bytes, s_blockSize - Count));
    }

    Lanes AreEqual(char c) const { return Lanes(vceqq_u8(m_bytes, All(c))); }
    Lanes AreBeyondAscii() const { return Lanes(vcltzq_s8(vreinterpretq_s8_u8(m_bytes))); }
    Lanes AreAtLeast(const Block& least) const { return Lanes(vcgeq_u8(m_bytes, least.m_bytes)); }
    Lanes AreBelow(char c) const { return Lanes(vcltq_s8(vreinterpretq_s8_u8(m_bytes), vreinterpretq_s8_u8(All(c)))); }
    Lanes AreBetween(char first, char last) const { return Between(m_bytes, first, last); }
    Lanes AreLettersBetween(char first, char last) const { return Between(vorrq_u8(m_bytes, All(0x20)), first, last); }

    void Store(char* p) const { vst1q_u8(reinterpret_cast<uint8*>(p), m_bytes); }

    // Neighbours are joined, then pairs, then fours; what is left are eights.
    uint64 GetDecimal() const
    {
        const uint8x16_t tens = vreinterpretq_u8_u16(vdupq_n_u16(10 | 1 << 8));
        const uint16x8_t hundreds = vreinterpretq_u16_u32(vdupq_n_u32(100 | 1 << 16));
        const uint32x4_t tenThousands = vreinterpretq_u32_u64(vdupq_n_u64(10000 | uint64(1) << 32));
        const uint16x8_t pairs = vpaddlq_u8(vmulq_u8(vandq_u8(m_bytes, All(0x0F)), tens));
        const uint32x4_t fours = vpaddlq_u16(vmulq_u16(pairs, hundreds));
        const uint64x2_t eights = vpaddlq_u32(vmulq_u32(fours, tenThousands));
        return 100000000 * vgetq_lane_u64(eights, 0) + vgetq_lane_u64(eights, 1);
    }

private:
    friend class CountOfOne;

    explicit Block(uint8x16_t bytes) : m_bytes(bytes) {}

    static uint8x16_t All(char c) { return vdupq_n_u8(static_cast<uint8>(c)); }
    static Lanes Between(uint8x16_t bytes, char first, char last)
    {
        return Lanes(vcleq_u8(vsubq_u8(bytes, All(first)), All(static_cast<char>(last - first))));
    }

    uint8x16_t m_bytes;
};

inline int FirstOf(Lanes lanes)
{
    return std::countr_zero(lanes.GetMask()) / 4; // of none, 64 / 4
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
    return lanes.GetMask() != 0;
}

class CountOfOne
{
public:
    static constexpr ssize_t s_mostBlocks = 255;

    void Add(const Block& block, char c) { m_counts = vsubq_u8(m_counts, vceqq_u8(block.m_bytes, Block::All(c))); }
    ssize_t GetSum() const { return vaddlvq_u8(m_counts); }

private:
    uint8x16_t m_counts = vdupq_n_u8(0);
};

} // namespace kelm::text
