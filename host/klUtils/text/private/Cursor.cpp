#include <klUtils/text/private/Cursor.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/text/private/Messages.h>

namespace kelm::text
{

namespace
{

// Where no token has been passed yet, the parser's own previous one is the previous one.
constexpr char s_nonePassed = '\0';

// What scanning would have found out about a token's value. Anybody can put a token into a parser, and not all of them
// come from a scanner: of a number that is none nothing is known, and the contents of a quoted literal are left to be
// looked at as a whole.
void FindValue(Lexeme& token)
{
    if (token.m_kind == TOKEN_INTEGER)
    {
        const DigitRun run = AppendFewDigits(token.m_start, token.m_past, 0);
        token.m_digits = run.m_number;
        token.m_exponent = 0;
        token.m_count = run.m_past == token.m_past && token.m_start != token.m_past
                            ? static_cast<int32>(run.m_past - token.m_start)
                            : Number::s_malformed;
        return;
    }
    EToken kind = TOKEN_UNDEF;
    const Number number = ReadWholeNumber(token.GetText(), kind);
    token.m_digits = number.m_digits;
    token.m_exponent = number.m_exponent;
    const bool isAsGood = kind == token.m_kind || (kind == TOKEN_INTEGER && token.m_kind == TOKEN_FLOAT);
    token.m_count = isAsGood ? number.m_count : Number::s_malformed;
}

} // namespace

Cursor::Cursor(const ParserBase& parser)
    : m_token(parser.m_token), m_previous(&s_nonePassed), m_p(parser.m_str.m_p1), m_end(parser.m_str.m_p2)
{
    if (TOKEN_INTEGER <= m_token.m_kind && m_token.m_kind <= TOKEN_FLOAT)
        FindValue(m_token);
    else
        m_token.m_escape = &s_nonePassed; // any address
}

void Cursor::StoreIn(ParserBase& parser) const
{
    if (m_previous == &s_nonePassed)
        return;
    if (m_previous == parser.m_token.m_str.m_p1)
        parser.m_prevToken = parser.m_token;
    else
        FindTokenHere(m_previous, m_end, false, parser.m_prevToken); // which was scanned here
    parser.m_token = m_token.m_past != nullptr ? GetToken() : parser.m_prevToken;
    parser.m_str.m_p1 = m_p;
}

bool Cursor::TryAnyNext()
{
    if (!ScanToken(m_p, m_end, false, m_token))
        return Stay();
    m_p = m_token.m_past;
    return true;
}

void Cursor::ThrowScanFailure() const
{
    text::ThrowScanFailure(m_p, m_end, false);
}

void Cursor::ThrowExpected(ConstStringZ what) const
{
    ThrowAtToken(ExpectedMessage(what, GetToken()));
}

void Cursor::ThrowAtToken(const xstring& description) const
{
    throw LexScannerException(description, GetToken());
}

} // namespace kelm::text
