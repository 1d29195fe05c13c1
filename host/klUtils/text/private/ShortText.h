#pragma once

// Texts of up to eight characters as one word, which most names of fields are: the word tells two of them apart and
// makes a hash without a loop.

#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <bit>
#include <cstring>

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

    // Whether that is the text, which goes on to `end` at least.
    bool Is(SubString text, const char* end) const
    {
        const ssize_t size = m_text.size();
        if (text.size() != size)
            return false;
        if (end - text.m_p1 < s_maxShortText)
            return text == m_text;
        return (LoadWord<uint64>(text.m_p1) & m_mask) == m_word &&
               (size <= s_maxShortText || IsSameRest(text.m_p1, m_text.m_p1, size));
    }

    // Whether the characters up to `end` begin with it.
    bool Begins(const char* p, const char* end) const
    {
        const ssize_t size = m_text.size();
        if (end - p < s_maxShortText)
            return end - p >= size && SubString(p, p + size) == m_text;
        if ((LoadWord<uint64>(p) & m_mask) != m_word)
            return false;
        return size <= s_maxShortText || (end - p >= size && IsSameRest(p, m_text.m_p1, size));
    }

private:
    // Of texts of more than eight characters, of which the first eight are the same.
    static bool IsSameRest(const char* a, const char* b, ssize_t size)
    {
        if (size <= 2 * s_maxShortText)
            return LoadWord<uint64>(a + size - s_maxShortText) == LoadWord<uint64>(b + size - s_maxShortText);
        return std::memcmp(a + s_maxShortText, b + s_maxShortText, static_cast<std::size_t>(size - s_maxShortText)) ==
               0;
    }
};

// What is left of a word when all but its first characters are taken away, by how many those are.
inline constexpr uint64 s_firstCharacters[] = {
    0, 0xFF, 0xFFFF, 0xFFFFFF, 0xFFFFFFFF, 0xFFFFFFFFFF, 0xFFFFFFFFFFFF, 0xFFFFFFFFFFFFFF, ~uint64(0),
};

} // namespace kelm
