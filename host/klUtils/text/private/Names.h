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

// How many of a word's characters come before the first one that ends an identifier and is likely to: one below the
// digits, or an opening bracket. Others may be passed.
[[gnu::always_inline]] inline std::size_t FindEndOfName(uint64 word)
{
    const Block block(word, 0); // so that there is an end
    return static_cast<std::size_t>(FirstOf(block.AreBelow('0') | block.AreEqual('[')));
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
