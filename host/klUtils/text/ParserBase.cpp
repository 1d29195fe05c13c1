#include <klUtils/text/ParserBase.h>

#include <klUtils/text/private/ReadNumber.h>
#include <klUtils/text/private/Scan.h>
#include <klUtils/xostream.h>

#include <bit>

namespace kelm
{

[[gnu::always_inline]] inline void ParserBase::ReadToken(bool atLineStart)
{
    const char* p = m_str.m_p1;
    const char* start = p;
    EToken kind = scan::ScanToken(p, start, m_str.m_p2, atLineStart);
    while (scan::IsComment(kind))
        [[unlikely]] kind = scan::ScanToken(p, start, m_str.m_p2, false);
    m_token = {kind, {start, p}};
    m_str.m_p1 = p;
}

void ParserBase::Init(SubString text)
{
    m_str = text;
    m_token = {TOKEN_UNDEF, {text.m_p1, text.m_p1}};
    m_prevToken = m_token;
    ReadToken(true);
}

void ParserBase::ReadNextToken()
{
    m_prevToken = m_token;
    ReadToken(false);
}

namespace
{

// The plain number that a text begins with, and its end: digits that 64 bits hold in any case, or digits with a point
// among or behind them, so few that QuotientOf is exact.
inline PlainNumber ReadPlainNumber(const char* start, const char* end, const char*& past)
{
    uint64 digits = 0;
    const char* p = AppendFewDigits(start, end, digits);
    PlainNumber number = {TOKEN_INTEGER, digits};
    ssize_t maxLength = 18;
    if (p != start && p != end && *p == '.')
    {
        const char* const fraction = p + 1;
        p = AppendFewDigits(fraction, end, digits);
        maxLength = s_maxExactDigits + 1;
        if (p - start <= maxLength)
            number = {TOKEN_FLOAT, std::bit_cast<uint64>(QuotientOf(digits, p - fraction))};
    }
    past = p;
    const bool isPlain = p != start && p - start <= maxLength && (p == end || !HasProperty(*p, CHAR_IN_NUMBER));
    return isPlain ? number : PlainNumber();
}

} // namespace

// All in registers up to the last stores: with short numbers, an expression's time is spent here.
PlainNumber ParserBase::TryReadNumber()
{
    const char* const end = m_str.m_p2;
    const char* const start = scan::SkipProperty(m_str.m_p1, end, CHAR_SPACE);
    const char* past = start;
    const PlainNumber number = ReadPlainNumber(start, end, past);
    if (number.m_kind == TOKEN_UNDEF)
    {
        ReadNextToken();
        return number;
    }
    const char* const behind = scan::SkipProperty(past, end, CHAR_SPACE);
    EToken next = TOKEN_END;
    if (behind != end && !scan::TryScanOperator(behind, end, next)) [[unlikely]]
    {
        m_token = {number.m_kind, {start, past}};
        m_str.m_p1 = past;
        ReadNextToken();
        return number;
    }
    m_prevToken = {number.m_kind, {start, past}};
    m_token = {next, {behind, behind + (behind != end)}};
    m_str.m_p1 = m_token.m_str.m_p2;
    return number;
}

void ParserBase::ContinueBehind(const char* lastToken)
{
    m_str.m_p1 = lastToken;
    ReadToken(false);
    ReadNextToken();
}

void ParserBase::ThrowAtToken(const xstring& description) const
{
    throw LexScannerException(description, m_token);
}

void ParserBase::ThrowExpectedException(ConstStringZ what) const
{
    StringStream message(4096);
    message << "Expected " << what << " when read " << m_token;
    ThrowAtToken(message.GetString());
}

xstring ParserBase::ParseIdentifier()
{
    if (m_token.m_type != TOKEN_IDENTIFIER)
        ThrowExpectedException("identifier");
    xstring text(m_token.m_str);
    ReadNextToken();
    return text;
}

xstring ParserBase::ParsePath()
{
    xstring path;
    while (true)
    {
        if (m_token.m_type != TOKEN_IDENTIFIER)
            ThrowExpectedException("identifier");
        path.append(m_token.m_str);
        ReadNextToken();
        if (m_token.m_type != TOKEN_COLON_COLON && m_token.m_type != TOKEN_DOT)
            return path;
        path.append("::", 2);
        ReadNextToken();
    }
}

} // namespace kelm
