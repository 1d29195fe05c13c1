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

// The word of four characters, as a load of them gives it.
constexpr uint32 WordOf(const char (&text)[5])
{
    uint32 word = 0;
    for (int i = 0; i < 4; ++i)
        word |= static_cast<uint32>(static_cast<unsigned char>(text[i])) << 8 * i;
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
// Without characters it is no text, and nothing begins with it.
struct KnownText
{
    SubString m_text;
    uint64 m_word = 1;
    uint64 m_mask = 0; // of the bytes of a word that count

    KnownText() = default;
    explicit KnownText(SubString text) : m_text(text)
    {
        const ssize_t size = text.size() < s_maxShortText ? text.size() : s_maxShortText;
        if (size == 0)
            return;
        m_word = WordOfShortText(text.m_p1, size);
        m_mask = ~uint64(0) >> (64 - 8 * size);
    }

    // Where the characters that begin at `p` begin with it: its end there. Null otherwise.
    [[gnu::always_inline]] const char* FindEnd(const char* p, const char* end) const
    {
        const ssize_t size = m_text.size();
        if (end - p < s_maxShortText) [[unlikely]]
            return size != 0 && end - p >= size && SubString(p, p + size) == m_text ? p + size : nullptr;
        if ((LoadWord<uint64>(p) & m_mask) != m_word)
            return nullptr;
        const bool isIt = size <= s_maxShortText || (end - p >= size && IsSameRest(p, m_text.m_p1, size));
        return isIt ? p + size : nullptr;
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
