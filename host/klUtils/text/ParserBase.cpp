#include <klUtils/text/ParserBase.h>

#include <klUtils/text/private/Cursor.h>
#include <klUtils/text/private/TypedReads.h>

namespace kelm
{

[[gnu::always_inline]] inline void ParserBase::SetNumber(EToken kind, const char* start, const char* past,
                                                         uint64 digits, int32 exponent, ssize_t count)
{
    m_token = m_valued = {kind, {start, past}};
    m_digits = digits;
    m_exponent = exponent;
    m_count = static_cast<int32>(count);
    m_str.m_p1 = past;
}

// What is short and common is found here, which needs no frame; the rest is one call away.
[[gnu::always_inline]] inline void ParserBase::ReadToken(bool atLineStart)
{
    const char* const end = m_str.m_p2;
    const char* start = m_str.m_p1;
    if (start != end && *start == ' ')
        ++start;
    text::Lexeme lexeme;
    if (start != end && text::StartOf(*start) == text::Start::Digit)
    {
        constexpr ssize_t few = 4;
        text::DigitRun run{start + 1, text::DigitValue(*start)};
        if (run.m_past != end && text::DigitValue(*run.m_past) <= 9)
            run = text::AppendOneByOne(run.m_past, end - start > few ? start + few : end, run.m_number);
        if (run.m_past != end && text::HasProperty(*run.m_past, text::CHAR_IN_NUMBER))
        {
            if (atLineStart) // at the first token: there is none yet where this throws
                m_token = m_prevToken;
            return ReadNumber(start);
        }
        return SetNumber(TOKEN_INTEGER, start, run.m_past, run.m_number, 0, run.m_past - start);
    }
    if (!text::TryScanOrEndHere(start, end, lexeme))
    {
        if (atLineStart)
            m_token = m_prevToken;
        return ReadAnyToken(atLineStart);
    }
    m_token = lexeme.GetToken();
    m_str.m_p1 = lexeme.m_past;
}

[[gnu::noinline]] void ParserBase::ReadNumber(const char* start)
{
    const char* const end = m_str.m_p2;
    if (text::IsHexadecimal(start, end))
    {
        const text::DigitRun run = text::ScanHexadecimal(start, end);
        if (run.m_past != nullptr) [[likely]]
            return SetNumber(TOKEN_HEX_INTEGER, start, run.m_past, run.m_number, 0, run.m_past - (start + 2));
    }
    const text::ScannedNumber number = text::ScanNumberHere(start, end);
    if (number.m_past == nullptr) [[unlikely]]
        text::ThrowScanFailure(m_str.m_p1, end, false);
    SetNumber(number.m_kind, start, number.m_past, number.m_digits, number.m_exponent, number.m_count);
}

[[gnu::noinline]] void ParserBase::ReadAnyToken(bool atLineStart)
{
    text::Lexeme lexeme;
    if (!text::ScanToken(m_str.m_p1, m_str.m_p2, atLineStart, lexeme)) [[unlikely]]
        text::ThrowScanFailure(m_str.m_p1, m_str.m_p2, atLineStart);
    m_digits = lexeme.m_digits;
    m_exponent = lexeme.m_exponent;
    m_count = lexeme.m_count;
    m_escape = lexeme.m_escape;
    m_token = lexeme.GetToken();
    m_valued = m_token;
    m_str.m_p1 = lexeme.m_past;
}

void ParserBase::Init(SubString text)
{
    m_str = text;
    m_prevToken = {TOKEN_UNDEF, {text.m_p1, text.m_p1}};
    ReadToken(true);
}

void ParserBase::ReadNextToken()
{
    m_prevToken = m_token;
    ReadToken(false);
}

void ParserBase::ThrowAtToken(const xstring& description) const
{
    throw LexScannerException(description, m_token);
}

void ParserBase::ThrowExpectedException(ConstStringZ what) const
{
    text::Cursor(*this).ThrowExpected(what);
}

xstring ParserBase::ParseIdentifier()
{
    text::ParserCursor cursor(*this);
    return xstring(text::ReadIdentifier(cursor));
}

xstring ParserBase::ParsePath()
{
    text::ParserCursor cursor(*this);
    return text::ReadPath(cursor);
}

} // namespace kelm
