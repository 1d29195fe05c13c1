#pragma once

// Texts of up to eight characters as one word, which most names of fields are: the word tells two of them apart and
// makes a hash without a loop.

#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <bit>
#include <cstring>

#include <emmintrin.h>

namespace kelm
{

// The first character is to be the lowest byte.
static_assert(std::endian::native == std::endian::little);

inline constexpr ssize_t s_maxShortText = 8;

template <class Word>
Word LoadWord(const char* p)
{
    Word word;
    std::memcpy(&word, p, sizeof word);
    return word;
}

// The word of the first `size` characters at `p`, which are no more than eight; zero bytes fill it up. Reads nothing
// beyond them.
inline uint64 WordOfShortText(const char* p, ssize_t size)
{
    const auto byteAt = [p](ssize_t i) { return static_cast<uint64>(static_cast<uint8>(p[i])) << 8 * i; };
    // Two loads that may overlap: what they have in common is the same.
    if (size >= 4)
        return LoadWord<uint32>(p) | static_cast<uint64>(LoadWord<uint32>(p + size - 4)) << 8 * (size - 4);
    return size > 0 ? byteAt(0) | byteAt(size / 2) | byteAt(size - 1) : 0;
}

// A text to compare others with, and its first eight characters as a word, by which it differs from nearly all of them.
struct KnownText
{
    SubString m_text;
    uint64 m_word = 0;
    uint64 m_mask = 0; // of the bytes of a word that count

    KnownText() = default;
    explicit KnownText(SubString text) : m_text(text)
    {
        const ssize_t size = text.size() < s_maxShortText ? text.size() : s_maxShortText;
        m_word = WordOfShortText(text.m_p1, size);
        m_mask = size > 0 ? ~uint64(0) >> (64 - 8 * size) : 0;
    }

    // Whether the characters up to `end` begin with it.
    bool Begins(const char* p, const char* end) const
    {
        const ssize_t size = m_text.size();
        if (end - p < s_maxShortText)
            return end - p >= size && SubString(p, p + size) == m_text;
        if ((LoadWord<uint64>(p) & m_mask) != m_word)
            return false;
        return size <= s_maxShortText ||
               (end - p >= size && std::memcmp(p + s_maxShortText, m_text.m_p1 + s_maxShortText,
                                               static_cast<std::size_t>(size - s_maxShortText)) == 0);
    }
};

// The same byte eight times.
constexpr uint64 EightTimes(char c)
{
    return 0x0101010101010101u * static_cast<uint8>(c);
}

// How many characters of a word stand before the first one that is `a` or `b`; 8 where none is. By the vector
// instructions that every x86-64 has.
inline ssize_t CountBefore(uint64 word, char a, char b)
{
    const __m128i bytes = _mm_cvtsi64_si128(static_cast<int64>(word));
    const __m128i hits = _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8(a)), _mm_cmpeq_epi8(bytes, _mm_set1_epi8(b)));
    constexpr int none = 1 << s_maxShortText;
    return std::countr_zero(static_cast<unsigned>(_mm_movemask_epi8(hits) | none));
}

// The first characters of a word, zero bytes behind them; fewer than eight.
inline uint64 FirstCharacters(uint64 word, ssize_t size)
{
    return word & ~(~uint64(0) << 8 * size);
}

} // namespace kelm
