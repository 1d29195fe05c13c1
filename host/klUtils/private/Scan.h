#pragma once

// The scanner itself, in a header so that the token stream and LsScanToken each have it inline.

#include <klUtils/LSToken.h>
#include <klUtils/private/CharTable.h>
#include <klUtils/private/OperatorTrie.h>

namespace kelm::scan
{

// The failures: each throws LexScannerException positioned at `start`.
[[noreturn]] void ThrowIllegalCharacter(const char* start);
[[noreturn]] void ThrowMalformedNumber(const char* start, const char* end);
[[noreturn]] void ThrowUnterminatedLiteral(const char* start);
[[noreturn]] void ThrowUnterminatedComment(const char* start);

inline const char* SkipProperty(const char* p, const char* end, CharProperty property)
{
    while (p != end && HasProperty(*p, property))
        ++p;
    return p;
}

inline const char* SkipLine(const char* p, const char* end)
{
    while (p != end && *p != '\n')
        ++p;
    return p;
}

// An exponent with at least one digit, or nothing.
inline const char* SkipExponent(const char* p, const char* end)
{
    if (p == end || (*p | 0x20) != 'e')
        return p;
    const char* digits = p + 1;
    if (digits != end && (*digits == '+' || *digits == '-'))
        ++digits;
    const char* const past = SkipProperty(digits, end, CHAR_DIGIT);
    return past == digits ? p : past;
}

// A number that begins at `start` with a digit, or with a dot before a digit.
inline EToken ScanNumber(const char* start, const char* end, const char*& p)
{
    EToken kind = TOKEN_INTEGER;
    if (*start == '0' && end - start > 1 && (start[1] | 0x20) == 'x')
    {
        kind = TOKEN_HEX_INTEGER;
        p = SkipProperty(start + 2, end, CHAR_HEX_DIGIT);
        if (p == start + 2)
            ThrowMalformedNumber(start, end);
    }
    else
    {
        p = SkipProperty(start, end, CHAR_DIGIT);
        const char* const wholePart = p;
        if (p != end && *p == '.')
            p = SkipProperty(p + 1, end, CHAR_DIGIT);
        p = SkipExponent(p, end);
        if (p != wholePart)
            kind = TOKEN_FLOAT;
    }
    if (p != end && HasProperty(*p, CHAR_IDENTIFIER))
        ThrowMalformedNumber(start, end);
    return kind;
}

// A quoted literal ends on its own line. What its escapes mean is looked at when its value is asked for.
inline const char* SkipQuoted(const char* start, const char* end)
{
    const char quote = *start;
    for (const char* p = start + 1; p != end && *p != '\n'; ++p)
    {
        if (*p == quote)
            return p + 1;
        if (*p == '\\' && ++p == end)
            break;
        if (*p == '\n')
            break;
    }
    ThrowUnterminatedLiteral(start);
}

inline const char* SkipBlockComment(const char* start, const char* end)
{
    for (const char* p = start + 2; end - p >= 2; ++p)
        if (p[0] == '*' && p[1] == '/')
            return p + 2;
    ThrowUnterminatedComment(start);
}

// Scans the token that begins at or behind `p`, with white space before it skipped, and moves `p` past it.
inline LSToken ScanToken(const char*& p, const char* end, bool atLineStart)
{
    const char* const before = p;
    const char* start = SkipProperty(p, end, CHAR_SPACE);
    if (start == end)
    {
        p = end;
        return {TOKEN_END, {end, end}};
    }

    const char* past = start;
    EToken kind = TOKEN_UNDEF;
    switch (StartOf(*start))
    {
    case Start::Identifier:
        past = SkipProperty(start + 1, end, CHAR_IDENTIFIER);
        kind = TOKEN_IDENTIFIER;
        break;
    case Start::Digit: kind = ScanNumber(start, end, past); break;
    case Start::Dot:
        if (end - start > 1 && HasProperty(start[1], CHAR_DIGIT))
        {
            kind = ScanNumber(start, end, past);
            break;
        }
        kind = ScanOperator(past, end);
        break;
    case Start::Quote:
        past = SkipQuoted(start, end);
        kind = *start == '\'' ? TOKEN_SINGLE_QUOTED_STRING : TOKEN_DOUBLE_QUOTED_STRING;
        break;
    case Start::Slash:
        if (end - start > 1 && (start[1] == '/' || start[1] == '*'))
        {
            past = start[1] == '/' ? SkipLine(start, end) : SkipBlockComment(start, end);
            kind = TOKEN_COMMENT;
            break;
        }
        kind = ScanOperator(past, end);
        break;
    case Start::Hash:
        if (start != before ? start[-1] == '\n' : atLineStart)
        {
            past = SkipLine(start, end);
            kind = TOKEN_PREPROC_COMMENT;
            break;
        }
        kind = ScanOperator(past, end);
        break;
    case Start::Operator: kind = ScanOperator(past, end); break;
    case Start::Space: // skipped above
    case Start::Illegal: ThrowIllegalCharacter(start);
    }
    p = past;
    return {kind, {start, past}};
}

inline bool IsComment(EToken kind)
{
    return kind == TOKEN_COMMENT || kind == TOKEN_PREPROC_COMMENT;
}

} // namespace kelm::scan
