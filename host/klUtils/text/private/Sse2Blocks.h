#pragma once

// Blocks by SSE2; part of Blocks.h, which says what the classes are.

#include <klUtils/types.h>

#include <bit>

#include <emmintrin.h>

namespace kelm::text
{

// A lane is a byte's top bit.
class Lanes
{
public:
    explicit Lanes(__m128i bytes) : m_bytes(bytes) {}
    Lanes operator|(Lanes other) const { return Lanes(_mm_or_si128(m_bytes, other.m_bytes)); }
    Lanes operator&(Lanes other) const { return Lanes(_mm_and_si128(m_bytes, other.m_bytes)); }
    Lanes operator^(Lanes other) const { return Lanes(_mm_xor_si128(m_bytes, other.m_bytes)); }

    // A bit for each character; a set one where the lane is set.
    uint32 GetMask() const { return static_cast<uint32>(_mm_movemask_epi8(m_bytes)); }

private:
    __m128i m_bytes;
};

class Block
{
public:
    explicit Block(const char* p) : m_bytes(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))) {}
    Block(uint64 low, uint64 high) : m_bytes(_mm_set_epi64x(static_cast<int64>(high), static_cast<int64>(low))) {}

    static Block Of(char c) { return Block(_mm_set1_epi8(c)); }

    template <int Count>
    Block Earlier(const Block& before) const
    {
        return Block(_mm_or_si128(_mm_slli_si128(m_bytes, Count), _mm_srli_si128(before.m_bytes, s_blockSize - Count)));
    }

    Lanes AreEqual(char c) const { return Lanes(_mm_cmpeq_epi8(m_bytes, _mm_set1_epi8(c))); }

    Lanes AreBeyondAscii() const { return Lanes(m_bytes); }

    Lanes AreAtLeast(const Block& least) const
    {
        return Lanes(_mm_subs_epu8(m_bytes, _mm_xor_si128(least.m_bytes, _mm_set1_epi8(-0x80))));
    }

    Lanes AreBelow(char c) const { return Lanes(_mm_sub_epi8(m_bytes, _mm_set1_epi8(c))); }

    Lanes AreBetween(char first, char last) const { return Between(m_bytes, first, last); }

    Lanes AreLettersBetween(char first, char last) const
    {
        return Between(_mm_or_si128(m_bytes, _mm_set1_epi8(0x20)), first, last);
    }

    void Store(char* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), m_bytes); }

    // Neighbours are joined, then pairs, then fours; what is left are eights.
    uint64 GetDecimal() const
    {
        const __m128i digits = _mm_and_si128(m_bytes, _mm_set1_epi8(0x0f));
        const __m128i tens = _mm_mullo_epi16(digits, _mm_set1_epi16(10));
        const __m128i pairs = _mm_add_epi16(_mm_and_si128(tens, _mm_set1_epi16(0xff)), _mm_srli_epi16(digits, 8));
        const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(100 | 1 << 16));
        const __m128i eights = _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(10000 | 1 << 16));
        const auto both = static_cast<uint64>(_mm_cvtsi128_si64(eights));
        return 100000000 * (both & 0xffffffff) + (both >> 32);
    }

private:
    friend class CountOfOne;

    explicit Block(__m128i bytes) : m_bytes(bytes) {}

    static Lanes Between(__m128i bytes, char first, char last)
    {
        // Moved to where they are the greatest of the signed bytes.
        const __m128i moved = _mm_add_epi8(bytes, _mm_set1_epi8(static_cast<char>(0x7f - last)));
        return Lanes(_mm_cmpgt_epi8(moved, _mm_set1_epi8(static_cast<char>(0x7e - (last - first)))));
    }

    __m128i m_bytes;
};

inline int FirstOf(Lanes lanes)
{
    return std::countr_zero(lanes.GetMask() | 1U << s_blockSize);
}
inline int FirstNotOf(Lanes lanes)
{
    return std::countr_one(lanes.GetMask());
}
// Of the lanes of two blocks, one behind the other.
inline int FirstOf(Lanes first, Lanes second)
{
    const uint64 both = first.GetMask() | uint64(second.GetMask()) << s_blockSize;
    return std::countr_zero(both | uint64(1) << 2 * s_blockSize);
}
inline int FirstOf(Lanes first, Lanes second, Lanes third, Lanes fourth)
{
    const uint64 near = first.GetMask() | second.GetMask() << s_blockSize;
    const uint64 far = third.GetMask() | fourth.GetMask() << s_blockSize;
    return std::countr_zero(near | far << 2 * s_blockSize);
}
inline bool HasAny(Lanes lanes)
{
    return lanes.GetMask() != 0;
}

class CountOfOne
{
public:
    static constexpr ssize_t s_mostBlocks = 255;

    void Add(const Block& block, char c)
    {
        m_counts = _mm_sub_epi8(m_counts, _mm_cmpeq_epi8(block.m_bytes, _mm_set1_epi8(c)));
    }
    ssize_t GetSum() const
    {
        const __m128i sums = _mm_sad_epu8(m_counts, _mm_setzero_si128());
        return _mm_cvtsi128_si64(_mm_add_epi64(sums, _mm_unpackhi_epi64(sums, sums)));
    }

private:
    __m128i m_counts = _mm_setzero_si128();
};

} // namespace kelm::text
