#pragma once

// Characters looked at sixteen at a time, by the vector instructions that a processor has: SSE2, which belongs to every
// x86-64. Elsewhere, and with KELM_NO_VECTORS, two 64-bit words do the same.
//
// A Block holds the next characters of a text. Its questions answer with Lanes, which join by |; FirstOf tells where
// the first lane is set. Nothing reads beyond the text: what is shorter than a block goes byte by byte, by the same
// sets.

#include <klUtils/types.h>

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__SSE2__) && !defined(KELM_NO_VECTORS)
#include <emmintrin.h>
#endif

namespace kelm::text
{

// The first character of a word is to be its lowest byte.
static_assert(std::endian::native == std::endian::little);

inline constexpr ssize_t s_blockSize = 16;

// The number of eight decimal digits whose upper bits do not count: neighbours are joined, then pairs, then fours.
constexpr uint64 JoinEightDigits(uint64 bytes)
{
    bytes = (bytes & 0x0F0F0F0F0F0F0F0F) * (1 + (10 << 8)) >> 8;
    bytes = (bytes & 0x00FF00FF00FF00FF) * (1 + (uint64(100) << 16)) >> 16;
    return (bytes & 0x0000FFFF0000FFFF) * (1 + (uint64(10000) << 32)) >> 32;
}

#if defined(__SSE2__) && !defined(KELM_NO_VECTORS)

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

    // The block that begins `Count` characters earlier, where `before` are those that end at this one.
    template <int Count>
    Block Earlier(const Block& before) const
    {
        return Block(_mm_or_si128(_mm_slli_si128(m_bytes, Count), _mm_srli_si128(before.m_bytes, s_blockSize - Count)));
    }

    Lanes AreEqual(char c) const { return Lanes(_mm_cmpeq_epi8(m_bytes, _mm_set1_epi8(c))); }

    Lanes AreBeyondAscii() const { return Lanes(m_bytes); }

    // Each character compared with that of `least`, which are beyond ASCII.
    Lanes AreAtLeast(const Block& least) const
    {
        return Lanes(_mm_subs_epu8(m_bytes, _mm_xor_si128(least.m_bytes, _mm_set1_epi8(-0x80))));
    }

    // character < c, which is ASCII, or the character is not.
    Lanes AreBelow(char c) const { return Lanes(_mm_or_si128(m_bytes, _mm_sub_epi8(m_bytes, _mm_set1_epi8(c)))); }

    // first <= character <= last, all of them ASCII.
    Lanes AreBetween(char first, char last) const { return Between(m_bytes, first, last); }

    // The same with the letters' case ignored; other characters are none of the letters with it.
    Lanes AreLettersBetween(char first, char last) const
    {
        return Between(_mm_or_si128(m_bytes, _mm_set1_epi8(0x20)), first, last);
    }

    void Store(char* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), m_bytes); }

    // Of a block of decimal digits, the number. Zero bytes count as zeros. Neighbours are joined, then pairs, then
    // fours; what is left are eights.
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
// The same where there is one.
inline uint32 FirstOfSome(Lanes lanes)
{
    return static_cast<uint32>(__builtin_ctz(lanes.GetMask()));
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
inline bool HasAny(Lanes lanes)
{
    return lanes.GetMask() != 0;
}

// How many characters are that one, of up to s_mostBlocks blocks: each lane counts its own.
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

#else

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
inline uint32 FirstOfSome(Lanes lanes)
{
    return static_cast<uint32>(FirstOf(lanes));
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

#endif

// --- Whole runs ------------------------------------------------------------------------------------------------------
//
// A set of characters is a type of two static functions, In(Block) and In(char), that say the same.

// The end of the run of characters of the set that begins at `p`.
template <class Set>
inline const char* SkipRun(const char* p, const char* end)
{
    for (; end - p >= s_blockSize; p += s_blockSize)
    {
        const int count = FirstNotOf(Set::In(Block(p)));
        if (count != s_blockSize)
            return p + count;
    }
    while (p != end && Set::In(*p))
        ++p;
    return p;
}

// The first character of the set at or behind `p`; the end where there is none.
template <class Set>
inline const char* FindFirst(const char* p, const char* end)
{
    for (; end - p >= s_blockSize; p += s_blockSize)
    {
        const Lanes lanes = Set::In(Block(p));
        if (HasAny(lanes))
            return p + FirstOf(lanes);
    }
    while (p != end && !Set::In(*p))
        ++p;
    return p;
}

// The same, two blocks at a time: the first such character is seldom foreseen, but often near.
template <class Set>
[[gnu::always_inline]] inline const char* FindFirstOfTwoBlocks(const char* p, const char* end)
{
    for (; end - p >= 2 * s_blockSize; p += 2 * s_blockSize)
    {
        const int count = FirstOf(Set::In(Block(p)), Set::In(Block(p + s_blockSize)));
        if (count != 2 * s_blockSize)
            return p + count;
    }
    return FindFirst<Set>(p, end);
}

// How many characters are that one.
inline ssize_t Count(char c, const char* p, const char* end)
{
    ssize_t count = 0;
    while (end - p >= 2 * s_blockSize)
    {
        CountOfOne counts;
        const ssize_t pairs = std::min((end - p) / s_blockSize, CountOfOne::s_mostBlocks) / 2;
        for (const char* const stop = p + pairs * 2 * s_blockSize; p != stop; p += 2 * s_blockSize)
        {
            counts.Add(Block(p), c);
            counts.Add(Block(p + s_blockSize), c);
        }
        count += counts.GetSum();
    }
    return count + std::count(p, end, c);
}

// One character as a set.
template <char C>
struct Only
{
    static Lanes In(const Block& block) { return block.AreEqual(C); }
    static bool In(char c) { return c == C; }
};

} // namespace kelm::text
