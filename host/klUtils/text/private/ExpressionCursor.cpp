#include <klUtils/text/private/ExpressionCursor.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/text/private/Messages.h>

namespace kelm::text
{

// Anybody can put a token into a parser, and not all of them come from a scanner: the contents of a quoted literal are
// left to be looked at as a whole.
void ExpressionCursor::FindValue()
{
    m_escape = None();
    if (m_kind > TOKEN_FLOAT)
        return;
    EToken kind = TOKEN_UNDEF;
    const Number number = ReadWholeNumber(m_parser.m_token.m_str, kind);
    m_digits = number.m_digits;
    m_exponent = number.m_exponent;
    const bool isAsGood = kind == m_kind || (kind == TOKEN_INTEGER && m_kind == TOKEN_FLOAT);
    m_count = isAsGood ? number.m_count : Number::s_malformed;
}

LSToken ExpressionCursor::ScanPassedToken() const
{
    LSToken token;
    FindTokenHere(m_previous, m_end, false, token);
    return token;
}

const char* ExpressionCursor::SkipMoreSpace(const char* p, const char* end)
{
    return SkipRun<Spaces>(p, end);
}

// Behind more than one blank.
void ExpressionCursor::GoBehindSpace(EToken kind, const char* start, const char* past)
{
    const char* const behind = SkipRun<Spaces>(past, m_end);
    if (TryAcceptBehind(kind, start, past, behind, [] {}))
        return;
    if (start != m_start)
        Accept(kind, start, past, m_start);
    GoTo(behind);
}

void ExpressionCursor::Next()
{
    GoTo(SkipSpaceHere(m_p));
}

// Whether the operator at `start` is none.
inline bool ExpressionCursor::IsComment(const char* start) const
{
    return *start == '/' && m_end - start > 1 && (start[1] == '/' || start[1] == '*');
}

// To the token behind it.
inline const char* ExpressionCursor::SkipComment(const char* start)
{
    const char* const past = start[1] == '/' ? SkipLine(start, m_end) : SkipBlockComment(start, m_end);
    if (past == nullptr) [[unlikely]]
        GetStuck();
    return SkipSpace(past, m_end);
}

void ExpressionCursor::AcceptNumber(const char* start)
{
    const ScannedNumber number = ScanNumber(start, m_end);
    if (number.m_past == nullptr) [[unlikely]]
        GetStuck();
    m_digits = number.m_digits;
    m_exponent = number.m_exponent;
    m_count = number.m_count;
    Accept(number.m_kind, start, number.m_past, m_start);
}

template <char Quote>
inline void ExpressionCursor::AcceptQuoted(EToken kind, const char* start)
{
    const char* const past = ScanQuoted<Quote>(start, m_end, m_escape);
    if (past == nullptr) [[unlikely]]
        GetStuck();
    Accept(kind, start, past, m_start);
}

void ExpressionCursor::GoTo(const char* start)
{
    const char* const previous = m_start;
    while (start != m_end)
    {
        switch (StartOf(*start)) // GCOVR_EXCL_BR_LINE: one case for each
        {
        case Start::SingleOperator: return AcceptShortOperator(start, previous);
        case Start::Identifier: return AcceptName(start);
        case Start::Operator:
            if (IsShortOperator(start))
                return AcceptShortOperator(start, previous);
            if (!IsComment(start))
                return AcceptLongOperator(start, previous);
            start = SkipComment(start);
            continue;
        case Start::Quote:
            return *start == '"' ? AcceptQuoted<'"'>(TOKEN_DOUBLE_QUOTED_STRING, start)
                                 : AcceptQuoted<'\''>(TOKEN_SINGLE_QUOTED_STRING, start);
        case Start::Digit: return AcceptNumber(start);
        case Start::Dot:
        case Start::Hash:
        case Start::Space:
        case Start::Illegal: return GoToAny();
        }
    }
    AcceptEnd(m_kind, previous, m_p);
}

// Of more than one character.
void ExpressionCursor::AcceptLongOperator(const char* start, const char* previous)
{
    const char* past = start;
    const EToken kind = ScanLongOperator(past, m_end);
    Accept(kind, start, past, previous);
}

void ExpressionCursor::AcceptName(const char* start)
{
    Accept(TOKEN_IDENTIFIER, start, SkipName(start + 1, m_end), m_start);
}

void ExpressionCursor::GoToAny()
{
    Lexeme lexeme;
    if (!ScanToken(m_p, m_end, false, lexeme)) [[unlikely]]
        GetStuck();
    m_digits = lexeme.m_digits;
    m_exponent = lexeme.m_exponent;
    m_count = lexeme.m_count;
    m_escape = lexeme.m_escape;
    Accept(lexeme.m_kind, lexeme.m_start, lexeme.m_past, m_start);
}

void ExpressionCursor::GetStuck()
{
    if (IsAtFirst())
        m_parser.m_prevToken = m_parser.m_token;
    else
        m_previous = m_start;
    ThrowScanFailure(m_p, m_end, false);
}

void ExpressionCursor::ThrowExpected(ConstStringZ what) const
{
    ThrowAtToken(ExpectedMessage(what, GetToken()));
}

void ExpressionCursor::ThrowAtToken(const xstring& description) const
{
    throw LexScannerException(description, GetToken());
}

} // namespace kelm::text
