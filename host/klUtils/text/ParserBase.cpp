#include <klUtils/text/ParserBase.h>

#include <klUtils/text/private/Cursor.h>
#include <klUtils/text/private/Hexadecimal.h>
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
        const text::DigitRun run = text::AppendOneByOne(start + 1, end, text::DigitValue(*start));
        if (run.m_past != end && text::HasProperty(*run.m_past, text::CHAR_IN_NUMBER))
            return text::IsHexadecimal(start, end) ? ReadHexadecimal(start, atLineStart)
                                                   : ReadRestOfNumber(start, run.m_past, run.m_number, atLineStart);
        return SetNumber(TOKEN_INTEGER, start, run.m_past, run.m_number, 0, run.m_past - start);
    }
    if (!text::TryScanOrEndHere(start, end, lexeme))
        return ReadAnyToken(atLineStart);
    m_token = lexeme.GetToken();
    m_str.m_p1 = lexeme.m_past;
}

[[gnu::noinline]] void ParserBase::ReadHexadecimal(const char* start, bool atLineStart)
{
    const text::DigitRun run = text::ScanHexadecimalHere(start, m_str.m_p2);
    if (run.m_past == nullptr) [[unlikely]]
        ThrowNoToken(atLineStart);
    SetNumber(TOKEN_HEX_INTEGER, start, run.m_past, run.m_number, 0, run.m_past - (start + 2));
}

// Of the number at `start`, behind its first digits.
[[gnu::noinline]] void ParserBase::ReadRestOfNumber(const char* start, const char* past, uint64 digits,
                                                    bool atLineStart)
{
    const text::ScannedNumber number =
        text::ScanToItsEnd(start, m_str.m_p2, {TOKEN_INTEGER, past, digits, past - start});
    if (number.m_past == nullptr) [[unlikely]]
        ThrowNoToken(atLineStart);
    SetNumber(number.m_kind, start, number.m_past, number.m_digits, number.m_exponent, number.m_count);
}

[[gnu::noinline]] void ParserBase::ReadAnyToken(bool atLineStart)
{
    text::Lexeme lexeme;
    if (!text::ScanToken(m_str.m_p1, m_str.m_p2, atLineStart, lexeme)) [[unlikely]]
        ThrowNoToken(atLineStart);
    m_digits = lexeme.m_digits;
    m_exponent = lexeme.m_exponent;
    m_count = lexeme.m_count;
    m_escape = lexeme.m_escape;
    m_token = lexeme.GetToken();
    m_valued = m_token;
    m_str.m_p1 = lexeme.m_past;
}

// At the first token there is none yet.
[[gnu::noinline, gnu::cold]] void ParserBase::ThrowNoToken(bool atLineStart)
{
    if (atLineStart)
        m_token = m_prevToken;
    text::ThrowScanFailure(m_str.m_p1, m_str.m_p2, atLineStart);
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
