#include <klUtils/text/private/Quoted.h>

#include <klUtils/LiteralException.h>
#include <klUtils/MessageOf.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/private/CharTable.h>

#include <array>
#include <iterator>

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
    const char* m_from = nullptr;
    char* m_to = nullptr;
};

// The hexadecimal digits behind the letter of an escape, as many as it takes, if there are so many.
struct HexDigits
{
    const char* m_past;
    uint32 m_value = 0;
    bool m_isComplete = true;

    HexDigits(const char* backslash, const char* end, const HexEscape& escape) : m_past(backslash + 2)
    {
        for (int i = 0; i < escape.m_numDigits; ++i, ++m_past)
        {
            m_isComplete = m_past != end && HasProperty(*m_past, CHAR_HEX_DIGIT);
            if (!m_isComplete)
                return;
            m_value = 16 * m_value + HexDigitValue(*m_past);
        }
    }
};

const HexEscape* FindHexEscape(char letter)
{
    for (const HexEscape& escape : s_hexEscapes)
        if (escape.m_letter == letter)
            return &escape;
    return nullptr;
}

bool IsWellFormed(const HexEscape& escape, const HexDigits& digits)
{
    return digits.m_isComplete && (escape.m_letter == 'x' || IsCodePoint(digits.m_value));
}

// The meaning of a well-formed one.
Places Write(const HexEscape& escape, const HexDigits& digits, char* to)
{
    if (escape.m_letter != 'x')
        return {digits.m_past, WriteUtf8(to, digits.m_value)};
    *to = static_cast<char>(digits.m_value);
    return {digits.m_past, to + 1};
}

Places ResolveUnusualEscape(Places at, const char* end)
{
    if (at.m_from + 1 == end)
        ThrowMalformedEscape(at.m_from, end, "nothing follows the backslash");
    if (const HexEscape* const escape = FindHexEscape(at.m_from[1]))
    {
        const HexDigits digits(at.m_from, end, *escape);
        if (!IsWellFormed(*escape, digits))
            ThrowMalformedEscape(at.m_from, digits.m_past,
                                 digits.m_isComplete ? "not a Unicode character" : escape->m_rule);
        return Write(*escape, digits, at.m_to);
    }
    const char* p = at.m_from + 2;
    while (p != end && IsUtf8Continuation(*p)) // the whole character, for the message
        ++p;
    ThrowMalformedEscape(at.m_from, p, "unknown escape");
}

// As ResolveEscape below, but a malformed escape has no end.
inline Places TryResolveEscape(Places at, const char* end)
{
    if (at.m_from + 1 == end)
        return {};
    if (const int value = s_escapedValues[static_cast<unsigned char>(at.m_from[1])]; value >= 0) [[likely]]
    {
        *at.m_to = static_cast<char>(value);
        return {at.m_from + 2, at.m_to + 1};
    }
    if (const HexEscape* const escape = FindHexEscape(at.m_from[1]))
        if (const HexDigits digits(at.m_from, end, *escape); IsWellFormed(*escape, digits))
            return Write(*escape, digits, at.m_to);
    return {};
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

const char* Decode(const char* quote, const char* end, xstring& out)
{
    constexpr ssize_t step = 2 * s_blockSize;
    constexpr ssize_t mostInUtf8 = 4;
    char buffer[512 + step + mostInUtf8];
    char* const limit = buffer + 512;

    Places at{quote + 1, buffer};
    while (at.m_from != end && at.m_to < limit)
    {
        if (end - at.m_from >= step)
        {
            const Block first(at.m_from);
            const Block second(at.m_from + s_blockSize);
            first.Store(at.m_to);
            second.Store(at.m_to + s_blockSize);
            const int count = FirstOf(EndOfRun<'"'>::In(first), EndOfRun<'"'>::In(second));
            at = {at.m_from + count, at.m_to + count};
            if (count == step)
                continue;
        }
        else if (!EndOfRun<'"'>::In(*at.m_from))
        {
            *at.m_to++ = *at.m_from++;
            continue;
        }
        if (*at.m_from != '\\')
        {
            if (*at.m_from != '"')
                return nullptr;
            out.AssignFrom(buffer, at.m_to - buffer, std::end(buffer));
            return at.m_from + 1;
        }
        at = TryResolveEscape(at, end);
        if (at.m_from == nullptr)
            return nullptr;
    }
    return nullptr;
}

void Unescape(SubString contents, xstring& out)
{
    out.AssignWritten(contents.size(), [=](char* text) { return WriteUnescaped(contents, text); });
}

} // namespace kelm::text
