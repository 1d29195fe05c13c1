#pragma once

// Characters looked at sixteen at a time, by the vector instructions that a processor has: SSE2, which belongs to every
// x86-64, NEON, which belongs to every arm64. Elsewhere, and with KELM_NO_VECTORS, two 64-bit words do the same.
//
// A Block holds the next characters of a text. Its questions answer with Lanes, which join by |; FirstOf tells where
// the first lane is set. Nothing reads beyond the text: what is shorter than a block goes byte by byte, by the same
// sets.
//
//     Block(p), Block(low, high)   of a text, of two words
//     Block::Of(c)                 all of them that character
//     Earlier<Count>(before)       the block that begins so many characters earlier, where `before` ends at this one
//     AreEqual(c)                  which are it
//     AreBeyondAscii()
//     AreAtLeast(least)            each compared with that of `least`, which are beyond ASCII
//     AreBelow(c)                  which are less than c, which is ASCII; of those that are not ASCII, some
//     AreBetween(first, last)      both of them ASCII
//     AreLettersBetween(first, last)  the same with the letters' case ignored; no other character is one of them
//     Store(p)
//     GetDecimal()                 of decimal digits, the number; zero bytes count as zeros
//
// CountOfOne counts how many characters are that one, in up to s_mostBlocks blocks: each lane counts its own.

#include <klUtils/types.h>

#include <algorithm>
#include <bit>

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

} // namespace kelm::text

#if defined(__SSE2__) && !defined(KELM_NO_VECTORS)
#include <klUtils/text/private/Sse2Blocks.h>
#elif defined(__aarch64__) && !defined(KELM_NO_VECTORS)
#include <klUtils/text/private/NeonBlocks.h>
#else
#include <klUtils/text/private/WordBlocks.h>
#endif

namespace kelm::text
{

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

// The same, four blocks at a time: of a line or a comment, the end is one of them.
template <class Set>
[[gnu::always_inline]] inline const char* FindFirstOfFourBlocks(const char* p, const char* end)
{
    const auto lanes = [&p](int block) { return Set::In(Block(p + block * s_blockSize)); };
    for (; end - p >= 4 * s_blockSize; p += 4 * s_blockSize)
    {
        const int count = FirstOf(lanes(0), lanes(1), lanes(2), lanes(3));
        if (count != 4 * s_blockSize)
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
