#include <klObject/values/private/QuotedText.h>

#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/text/private/WriteDigits.h>

#include <bit>

namespace kelm
{

namespace
{

struct Escape
{
    char m_character;
    char m_letter;
};

constexpr Escape s_escapes[] = {{'\n', 'n'}, {'\t', 't'}, {'\r', 'r'}, {'\\', '\\'}};

char* PutEscaped(char* p, char c, char quote)
{
    *p++ = '\\';
    for (const Escape& escape : s_escapes)
        if (escape.m_character == c)
        {
            *p++ = escape.m_letter;
            return p;
        }
    if (c == quote)
    {
        *p++ = c;
        return p;
    }
    constexpr char digits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    *p++ = 'x';
    *p++ = digits[byte >> 4];
    *p++ = digits[byte & 15];
    return p;
}

// Where bytes are no printable ASCII, or a backslash or the quote, the lowest top bit that is set marks the first of
// them. A byte carries into the next only where it is one of them.
inline uint64 MarkSpecial(uint64 bytes, char quote)
{
    const uint64 deleted = bytes + EightTimes(1);
    const uint64 control = bytes - EightTimes(' ');
    const uint64 isQuote = (bytes ^ EightTimes(quote)) - EightTimes(1);
    const uint64 isBackslash = (bytes ^ EightTimes('\\')) - EightTimes(1);
    return (bytes | deleted | control | isQuote | isBackslash) & EightTimes('\x80');
}

// The one at `next`, which does not stand for itself as ASCII: a code point of UTF-8, or an escape for one byte.
char* PutSpecial(char* p, const char*& next, const char* end, char quote)
{
    const char* const begin = next;
    uint32 codePoint = 0;
    if (static_cast<unsigned char>(*begin) < 0x80 || !ReadUtf8(next, end, codePoint))
    {
        next = begin + 1;
        return PutEscaped(p, *begin, quote);
    }
    for (const char* byte = begin; byte != next; ++byte)
        *p++ = *byte;
    return p;
}

} // namespace

char* PutQuoted(TextRoom& room, char* p, SubString text, char quote)
{
    const char* next = text.m_p1;
    const char* const end = text.m_p2;
    p = room.MakeRoom(p, end - next);
    *p++ = quote;
    while (true)
    {
        uint64 special = 0;
        for (; end - next >= s_maxShortText; next += s_maxShortText, p += s_maxShortText)
        {
            const auto word = LoadWord<uint64>(next);
            PutWord(p, word);
            special = MarkSpecial(word, quote);
            if (special != 0)
                break;
        }
        if (special == 0)
        {
            const ssize_t rest = end - next;
            const uint64 word = WordOfShortText(next, rest);
            PutWord(p, word);
            special = MarkSpecial(word, quote) & s_firstCharacters[rest];
            if (special == 0)
            {
                p[rest] = quote;
                return room.MakeRoom(p + rest + 1);
            }
        }
        const int plain = std::countr_zero(special) / 8;
        next += plain;
        p = PutSpecial(p + plain, next, end, quote);
        p = room.MakeRoom(p, end - next);
    }
}

} // namespace kelm
