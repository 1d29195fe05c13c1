#include <klUtils/text/private/Quoted.h>

#include <klUtils/LiteralException.h>
#include <klUtils/MessageOf.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/private/CharTable.h>

#include <array>

namespace kelm::text
{

namespace
{

struct SimpleEscape
{
    char m_letter;
    char m_value;
};

constexpr SimpleEscape s_simpleEscapes[] = {{'n', '\n'},  {'t', '\t'}, {'r', '\r'}, {'a', '\a'},
                                            {'b', '\b'},  {'f', '\f'}, {'v', '\v'}, {'\\', '\\'},
                                            {'\'', '\''}, {'"', '"'},  {'?', '?'},  {'0', '\0'}};

// The same, indexed by the letter; negative where it is none.
constexpr auto s_escapedValues = []
{
    std::array<int16, 256> values{};
    values.fill(-1);
    for (const SimpleEscape& escape : s_simpleEscapes)
        values[static_cast<unsigned char>(escape.m_letter)] = escape.m_value;
    return values;
}();

struct HexEscape
{
    char m_letter;
    int m_numDigits;
    ConstStringZ m_rule;
};

constexpr HexEscape s_hexEscapes[] = {{'x', 2, "\\x takes two hexadecimal digits"},
                                      {'u', 4, "\\u takes four hexadecimal digits"},
                                      {'U', 8, "\\U takes eight hexadecimal digits"}};

[[noreturn, gnu::cold]] void ThrowMalformedEscape(const char* backslash, const char* end, ConstStringZ why)
{
    throw LiteralException(MessageOf("Malformed escape ", SubString(backslash, end), " in string literal: ", why));
}

bool IsCodePoint(uint32 value)
{
    return value < 0xD800 || (0xDFFF < value && value <= 0x10FFFF);
}

// A place in the literal and one in the text that it stands for. No escape is shorter than what it stands for, so that
// the text never needs more room than the literal.
struct Places
{
    const char* m_from;
    char* m_to;
};

Places ResolveHexEscape(Places at, const char* end, const HexEscape& escape)
{
    const char* const backslash = at.m_from;
    const char* p = backslash + 2;
    uint32 value = 0;
    for (int i = 0; i < escape.m_numDigits; ++i, ++p)
    {
        if (p == end || !HasProperty(*p, CHAR_HEX_DIGIT))
            ThrowMalformedEscape(backslash, p, escape.m_rule);
        value = 16 * value + HexDigitValue(*p);
    }
    if (escape.m_letter == 'x')
    {
        *at.m_to = static_cast<char>(value);
        return {p, at.m_to + 1};
    }
    if (!IsCodePoint(value))
        ThrowMalformedEscape(backslash, p, "not a Unicode character");
    return {p, WriteUtf8(at.m_to, value)};
}

Places ResolveUnusualEscape(Places at, const char* end)
{
    if (at.m_from + 1 == end)
        ThrowMalformedEscape(at.m_from, end, "nothing follows the backslash");
    for (const HexEscape& escape : s_hexEscapes)
        if (escape.m_letter == at.m_from[1])
            return ResolveHexEscape(at, end, escape);
    const char* p = at.m_from + 2;
    while (p != end && IsUtf8Continuation(*p)) // the whole character, for the message
        ++p;
    ThrowMalformedEscape(at.m_from, p, "unknown escape");
}

// Past the escape at `at`, whose meaning is written.
inline Places ResolveEscape(Places at, const char* end)
{
    const int value = at.m_from + 1 != end ? s_escapedValues[static_cast<unsigned char>(at.m_from[1])] : -1;
    if (value < 0)
        return ResolveUnusualEscape(at, end);
    *at.m_to = static_cast<char>(value);
    return {at.m_from + 2, at.m_to + 1};
}

// Copies block by block, whole blocks first: what lies behind a backslash in them is written over.
char* WriteUnescaped(SubString contents, char* out)
{
    const char* const end = contents.m_p2;
    Places at{contents.m_p1, out};
    while (end - at.m_from >= s_blockSize)
    {
        const Block block(at.m_from);
        block.Store(at.m_to);
        const int count = FirstOf(block.AreEqual('\\'));
        at = {at.m_from + count, at.m_to + count};
        if (count != s_blockSize)
            at = ResolveEscape(at, end);
    }
    while (at.m_from != end)
    {
        if (*at.m_from == '\\')
            at = ResolveEscape(at, end);
        else
            *at.m_to++ = *at.m_from++;
    }
    return at.m_to;
}

} // namespace

void Unescape(SubString contents, xstring& out)
{
    out.AssignWritten(contents.size(), [=](char* text) { return WriteUnescaped(contents, text); });
}

} // namespace kelm::text
