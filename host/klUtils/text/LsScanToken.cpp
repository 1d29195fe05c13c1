#include <klUtils/text/LsScanToken.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/text/DecimalDigits.h>
#include <klUtils/text/private/Scan.h>
#include <klUtils/xostream.h>

#include <algorithm>

namespace kelm
{

namespace scan
{

namespace
{

// The offending characters as a token of no kind, for the error's place and text.
LSToken OffendingToken(const char* start, const char* end)
{
    return {TOKEN_UNDEF, {start, end}};
}

[[noreturn]] void ThrowIllegalCharacter(const char* start)
{
    static constexpr char s_hexDigits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(*start);
    StringStream message(64);
    message << "Illegal character 0x" << s_hexDigits[byte >> 4] << s_hexDigits[byte & 15] << " outside quotes";
    throw LexScannerException(message.GetString(), OffendingToken(start, start + 1));
}

[[noreturn]] void ThrowMalformedNumber(const char* start, const char* end)
{
    const char* const past =
        std::find_if_not(start, end, [](char c) { return HasProperty(c, CHAR_IDENTIFIER) || c == '.'; });
    StringStream message(64);
    message << "Malformed number " << LSToken{TOKEN_INTEGER, {start, past}};
    throw LexScannerException(message.GetString(), OffendingToken(start, past));
}

[[noreturn]] void ThrowUnterminatedLiteral(const char* start)
{
    throw LexScannerException("Unterminated string literal", OffendingToken(start, start + 1));
}

[[noreturn]] void ThrowUnterminatedComment(const char* start)
{
    throw LexScannerException("Unterminated comment", OffendingToken(start, start + 2));
}

const char* SkipLine(const char* p, const char* end)
{
    while (p != end && *p != '\n')
        ++p;
    return p;
}

// The digits of a fraction, which are often many.
const char* SkipFraction(const char* p, const char* end)
{
    while (end - p >= 8 && AreEightDigits(LoadWord<uint64>(p)))
        p += 8;
    return SkipProperty(p, end, CHAR_DIGIT);
}

// An exponent with at least one digit, or nothing.
const char* SkipExponent(const char* p, const char* end)
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
ScannedToken ScanNumber(const char* start, const char* end)
{
    ScannedToken number{TOKEN_INTEGER, start};
    if (*start == '0' && end - start > 1 && (start[1] | 0x20) == 'x')
    {
        number = {TOKEN_HEX_INTEGER, SkipProperty(start + 2, end, CHAR_HEX_DIGIT)};
        if (number.m_past == start + 2)
            ThrowMalformedNumber(start, end);
    }
    else
    {
        const char* const wholePart = SkipProperty(start, end, CHAR_DIGIT);
        const char* const fraction =
            wholePart != end && *wholePart == '.' ? SkipFraction(wholePart + 1, end) : wholePart;
        number.m_past = SkipExponent(fraction, end);
        if (number.m_past != wholePart)
            number.m_kind = TOKEN_FLOAT;
    }
    if (number.m_past != end && HasProperty(*number.m_past, CHAR_IDENTIFIER))
        ThrowMalformedNumber(start, end);
    return number;
}

// A quoted literal ends on its own line. What its escapes mean is looked at when its value is asked for.
const char* SkipQuoted(const char* start, const char* end)
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

const char* SkipBlockComment(const char* start, const char* end)
{
    for (const char* p = start + 2; end - p >= 2; ++p)
        if (p[0] == '*' && p[1] == '/')
            return p + 2;
    ThrowUnterminatedComment(start);
}

// The operator that begins at `start`.
ScannedToken ScanLongestOperator(const char* start, const char* end)
{
    const char* p = start;
    const EToken kind = ScanOperator(p, end);
    return {kind, p};
}

} // namespace

ScannedToken ScanLongToken(const char* start, const char* end, bool atLineStart)
{
    switch (StartOf(*start))
    {
    case Start::Dot:
    case Start::Digit: return ScanNumber(start, end);
    case Start::Quote:
        return {*start == '\'' ? TOKEN_SINGLE_QUOTED_STRING : TOKEN_DOUBLE_QUOTED_STRING, SkipQuoted(start, end)};
    case Start::Hash:
        return atLineStart ? ScannedToken{TOKEN_PREPROC_COMMENT, SkipLine(start, end)}
                           : ScannedToken{TOKEN_HASH, start + 1};
    case Start::Operator:
        if (*start == '/' && start[1] == '/')
            return {TOKEN_COMMENT, SkipLine(start, end)};
        if (*start == '/' && start[1] == '*')
            return {TOKEN_COMMENT, SkipBlockComment(start, end)};
        return ScanLongestOperator(start, end);
    case Start::SingleOperator: // these three are never long
    case Start::Identifier:
    case Start::Space:
    case Start::Illegal: break;
    }
    ThrowIllegalCharacter(start);
}

} // namespace scan

LSToken LsScanToken(SubString& s, bool atLineStart)
{
    const char* p = s.m_p1;
    const char* start = p;
    const EToken kind = scan::ScanToken(p, start, s.m_p2, atLineStart);
    s.m_p1 = p;
    return {kind, {start, p}};
}

int64 GetLineNumber(SubString text, const char* pos)
{
    return 1 + std::count(text.m_p1, std::clamp(pos, text.m_p1, text.m_p2), '\n');
}

} // namespace kelm
