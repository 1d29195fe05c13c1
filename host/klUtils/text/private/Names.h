#pragma once

// Identifiers in a text: where they end.

#include <klUtils/text/private/Blocks.h>
#include <klUtils/text/private/CharTable.h>
#include <klUtils/text/private/ShortText.h>

namespace kelm::text
{

// The characters of identifiers as a set.
struct NameCharacters
{
    static Lanes In(const Block& block)
    {
        return block.AreLettersBetween('a', 'z') | block.AreBetween('0', '9') | block.AreEqual('_');
    }
    static bool In(char c) { return HasProperty(c, CHAR_IDENTIFIER); }
};

// Past the identifier whose first character, or more of them, stand before `p`.
inline const char* SkipName(const char* p, const char* end)
{
    return SkipRun<NameCharacters>(p, end);
}

// Those of a word's characters that come before the first one which ends an identifier and is likely to: one below the
// digits, or an opening bracket. Others may be passed; what is not ASCII ends one too. In the order of few steps that
// wait for each other: the word is what a name is sought by.
struct FirstName
{
    std::size_t m_size;
    uint64 m_word;
};
[[gnu::always_inline]] inline FirstName FindEndOfName(uint64 word)
{
    constexpr uint64 each = 0x0101010101010101;
    const uint64 brackets = (word ^ '[' * each) - each;
    const uint64 ends = ((word - '0' * each) | brackets) & 0x80 * each; // right up to the first
    if (ends == 0) [[unlikely]]
        return {s_maxShortText, word};
    return {static_cast<uint32>(__builtin_ctzll(ends)) / 8, word & (ends ^ (ends - 1)) >> 8};
}

// A name as tables of names are asked for it.
struct NameKey
{
    SubString m_text;
    uint64 m_word = 0; // its characters, where they are no more than eight

    NameKey() = default;
    NameKey(SubString text, uint64 word) : m_text(text), m_word(word) {}
    explicit NameKey(SubString text) : m_text(text), m_word(IsShort() ? WordOfShortText(text.m_p1, text.size()) : 0) {}

    bool IsShort() const { return m_text.size() <= s_maxShortText; }
};

} // namespace kelm::text
