#pragma once

// White space between tokens, and the comments that count as it.

#include <klUtils/api.h>
#include <klUtils/text/private/Blocks.h>
#include <klUtils/text/private/CharTable.h>

namespace kelm::text
{

// White space as a set of characters: the space, and tab, newline, vertical tab, form feed, carriage return.
struct Spaces
{
    static Lanes In(const Block& block) { return block.AreEqual(' ') | block.AreBetween('\t', '\r'); }
    static bool In(char c) { return HasProperty(c, CHAR_SPACE); }
};

// Past the white space at `p`. Most often there is none, or a single blank; an indented new line is the third case.
[[gnu::always_inline]] inline const char* SkipSpace(const char* p, const char* end)
{
    constexpr unsigned char lastBlank = ' ';
    if (p == end || static_cast<unsigned char>(*p) > lastBlank)
        return p;
    if (*p == ' ' && (++p == end || static_cast<unsigned char>(*p) > lastBlank))
        return p;
    return SkipRun<Spaces>(p, end);
}

// The same without the last few characters of the text: past the white space at `p`, or to somewhere in it.
[[gnu::always_inline]] inline const char* SkipMostSpace(const char* p, const char* end)
{
    constexpr unsigned char lastBlank = ' ';
    if (p == end || static_cast<unsigned char>(*p) > lastBlank)
        return p;
    if (*p == ' ' && (++p == end || static_cast<unsigned char>(*p) > lastBlank))
        return p;
    for (; end - p >= s_blockSize; p += s_blockSize)
        if (const int count = FirstNotOf(Spaces::In(Block(p))); count != s_blockSize)
            return p + count;
    return p;
}

// From a line comment's beginning to its end, which is before the newline.
inline const char* SkipLine(const char* p, const char* end)
{
    return FindFirstOfFourBlocks<Only<'\n'>>(p, end);
}

// Past the block comment that begins at `start`; null where it does not end.
inline const char* SkipBlockComment(const char* start, const char* end)
{
    const char* p = start + 2;
    while (true)
    {
        p = FindFirstOfFourBlocks<Only<'*'>>(p, end);
        if (end - p < 2)
            return nullptr;
        if (*++p == '/')
            return p + 1;
    }
}

// Past the comments at `p`, which a token stands before, and the white space behind each; to the first that does not
// end.
KLUTILS_API const char* SkipComments(const char* p, const char* end);

// The next token behind `p`, where one ends; or a comment that does not.
[[gnu::always_inline]] inline const char* FindToken(const char* p, const char* end)
{
    p = SkipSpace(p, end);
    if (p != end && (*p == '/' || *p == '#')) [[unlikely]]
        return SkipComments(p, end);
    return p;
}

} // namespace kelm::text
