#include <klObject/values/private/QuotedText.h>

#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/private/Blocks.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/text/private/Utf8.h>

#include <algorithm>
#include <array>

namespace kelm
{

using text::Block, text::Lanes, text::s_blockSize;

namespace
{

// What stands behind the backslash for a character; 0 where it is the character's number. A quote is only looked up
// where it would end the text.
constexpr auto s_escapes = []
{
    std::array<char, 256> escapes = {};
    escapes['\n'] = 'n';
    escapes['\t'] = 't';
    escapes['\r'] = 'r';
    for (const char itself : {'\\', '"', '\''})
        escapes[static_cast<unsigned char>(itself)] = itself;
    return escapes;
}();

constexpr char s_digits[] = "0123456789ABCDEF";

inline char* PutEscaped(char* p, char c)
{
    const auto byte = static_cast<unsigned char>(c);
    *p++ = '\\';
    if (s_escapes[byte] != 0)
    {
        *p++ = s_escapes[byte];
        return p;
    }
    *p++ = 'x';
    *p++ = s_digits[byte >> 4];
    *p++ = s_digits[byte & 15];
    return p;
}

bool IsBeyondAscii(char c)
{
    return static_cast<unsigned char>(c) >= 0x80;
}

// The character of several bytes that begins at `next`, or an escape for its first byte where it is none.
[[gnu::noinline]] char* PutBeyondAscii(char* p, const char*& next, const char* end)
{
    const char* behind = next;
    uint32 codePoint = 0;
    if (!ReadUtf8(behind, end, codePoint))
        return PutEscaped(p, *next++);
    p = std::copy(next, behind, p);
    next = behind;
    return p;
}

// The characters up to `end`, which are less than a block, and zero bytes behind them.
inline Block RestOf(const char* p, const char* end)
{
    const ssize_t size = end - p;
    if (size < s_maxShortText)
        return Block(WordOfShortText(p, size), 0);
    // The last eight without those that are among the first.
    const auto last = LoadWord<uint64>(end - s_maxShortText);
    return Block(LoadWord<uint64>(p), last >> 1 >> (8 * (s_blockSize - size) - 1));
}

// What is escaped as ASCII.
inline Lanes AreEscaped(const Block& block, char quote)
{
    return block.AreEqual(quote) | block.AreEqual('\\') | block.AreEqual('\x7F') | block.AreBetween('\0', '\x1F');
}

} // namespace

char* PutQuoted(TextRoom& room, char* p, SubString text, char quote)
{
    const Block none(0, 0);
    const char* next = text.m_p1;
    const char* const end = text.m_p2;
    p = room.MakeRoom(p, end - next);
    *p++ = quote;
    Block before = none; // at its end there may be the beginning of a code point
    while (true)
    {
        const Block block = end - next >= s_blockSize ? Block(next) : RestOf(next, end);
        block.Store(p);
        const Lanes escaped = AreEscaped(block, quote);
        Lanes malformed = none.AreBeyondAscii();
        if (HasAny(block.AreBeyondAscii() | before.AreBeyondAscii()))
            malformed = AreMalformedUtf8(block, before);
        if (!HasAny(escaped | malformed))
        {
            next += s_blockSize;
            p += s_blockSize;
            before = block;
            continue;
        }
        int plain = FirstOf(escaped);
        if (HasAny(malformed)) [[unlikely]]
        {
            const int unfinished = CountUnfinishedUtf8(before);
            plain = unfinished > 0 ? -unfinished : FirstOf(escaped | block.AreBeyondAscii());
        }
        next += plain;
        p += plain;
        if (next == end)
            break;
        p = IsBeyondAscii(*next) ? PutBeyondAscii(p, next, end) : PutEscaped(p, *next++);
        p = room.MakeRoom(p, end - next);
        before = none;
    }
    *p++ = quote;
    return room.MakeRoom(p);
}

} // namespace kelm
