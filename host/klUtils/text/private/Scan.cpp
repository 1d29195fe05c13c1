#include <klUtils/text/private/Scan.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/MessageOf.h>

#include <algorithm>

namespace kelm::text
{

namespace
{

bool Set(Lexeme& lexeme, EToken kind, const char* start, const char* past)
{
    if (past == nullptr)
        return false;
    lexeme.m_kind = kind;
    lexeme.m_start = start;
    lexeme.m_past = past;
    return true;
}

bool ScanSlash(const char* start, const char* end, Lexeme& lexeme)
{
    if (end - start > 1 && start[1] == '/')
        return Set(lexeme, TOKEN_COMMENT, start, SkipLine(start, end));
    if (end - start > 1 && start[1] == '*')
        return Set(lexeme, TOKEN_COMMENT, start, SkipBlockComment(start, end));
    const char* past = start;
    const EToken kind = ScanOperator(past, end);
    return Set(lexeme, kind, start, past);
}

bool ScanLongestOperator(const char* start, const char* end, Lexeme& lexeme)
{
    const char* past = start;
    const EToken kind = ScanOperator(past, end);
    return Set(lexeme, kind, start, past);
}

} // namespace

namespace
{

// A lexeme of any kind at `start`, which is neither the end nor white space.
inline bool ScanAt(const char* start, const char* end, bool atLineStart, Lexeme& lexeme)
{
    if (TryScanHere(start, end, lexeme))
        return true;
    switch (StartOf(*start)) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case Start::Digit: return lexeme.SetNumber(start, ScanNumber(start, end));
    case Start::Dot:
        return IsDotOperator(start, end) ? Set(lexeme, TOKEN_DOT, start, start + 1)
                                         : lexeme.SetNumber(start, ScanNumberWithoutWholePart(start, end));
    case Start::Quote:
        return *start == '"'
                   ? Set(lexeme, TOKEN_DOUBLE_QUOTED_STRING, start, ScanQuoted<'"'>(start, end, lexeme.m_escape))
                   : Set(lexeme, TOKEN_SINGLE_QUOTED_STRING, start, ScanQuoted<'\''>(start, end, lexeme.m_escape));
    case Start::Hash:
        return atLineStart ? Set(lexeme, TOKEN_PREPROC_COMMENT, start, SkipLine(start, end))
                           : Set(lexeme, TOKEN_HASH, start, start + 1);
    case Start::Operator:
        return *start == '/' ? ScanSlash(start, end, lexeme) : ScanLongestOperator(start, end, lexeme);
    case Start::Space:
    case Start::Identifier:
    case Start::SingleOperator: // these are scanned already
    case Start::Illegal: break;
    }
    return false;
}

} // namespace

bool Scan(const char* p, const char* end, bool atLineStart, Lexeme& lexeme)
{
    const char* const start = SkipSpace(p, end);
    if (start == end)
    {
        lexeme.m_kind = TOKEN_END;
        lexeme.m_start = lexeme.m_past = start; // which a text of no characters may have as null
        return true;
    }
    return ScanAt(start, end, start != p ? start[-1] == '\n' : atLineStart, lexeme);
}

const char* SkipComments(const char* p, const char* end)
{
    while (p != end)
    {
        const char* past = nullptr;
        if ((*p == '#' && p[-1] == '\n') || (*p == '/' && end - p > 1 && p[1] == '/'))
            past = SkipLine(p, end);
        else if (*p == '/' && end - p > 1 && p[1] == '*')
            past = SkipBlockComment(p, end);
        if (past == nullptr)
            break;
        p = SkipSpace(past, end);
    }
    return p;
}

bool ScanToken(const char* p, const char* end, bool atLineStart, Lexeme& lexeme)
{
    bool isFound = Scan(p, end, atLineStart, lexeme);
    while (isFound && IsComment(lexeme.m_kind))
        isFound = Scan(lexeme.m_past, end, false, lexeme);
    return isFound;
}

namespace
{

ScanFailure DescribeMalformedNumber(const char* start, const char* end)
{
    const char* const past =
        std::find_if_not(start, end, [](char c) { return HasProperty(c, CHAR_IDENTIFIER) || c == '.'; });
    const LSToken token(TOKEN_UNDEF, {start, past});
    return {MessageOf("Malformed number ", LSToken(TOKEN_INTEGER, token.m_str)), token};
}

ScanFailure DescribeIllegalCharacter(const char* start)
{
    static constexpr char s_hexDigits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(*start);
    return {MessageOf("Illegal character 0x", s_hexDigits[byte >> 4], s_hexDigits[byte & 15], " outside quotes"),
            {TOKEN_UNDEF, {start, start + 1}}};
}

} // namespace

ScanFailure DescribeScanFailure(const char* p, const char* end, bool atLineStart)
{
    Lexeme lexeme;
    while (Scan(p, end, atLineStart, lexeme))
    {
        p = lexeme.m_past;
        atLineStart = false;
    }
    const char* const start = SkipSpace(p, end);
    switch (StartOf(*start)) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case Start::Digit:
    case Start::Dot: return DescribeMalformedNumber(start, end);
    case Start::Quote: return {"Unterminated string literal", {TOKEN_UNDEF, {start, start + 1}}};
    case Start::Operator: return {"Unterminated comment", {TOKEN_UNDEF, {start, start + 2}}};
    case Start::Space: // none is left
    case Start::Identifier:
    case Start::SingleOperator:
    case Start::Hash: // these are lexemes always
    case Start::Illegal: break;
    }
    return DescribeIllegalCharacter(start);
}

const char* SkipWrong(const char* start, const char* end)
{
    switch (StartOf(*start)) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case Start::Digit:
    case Start::Dot: return std::find_if_not(start, end, [](char c) { return HasProperty(c, CHAR_IN_NUMBER); });
    case Start::Quote: return SkipLine(start, end); // no literal goes on in the next line
    case Start::Operator: return end;               // a comment that does not end
    case Start::Space:
    case Start::Identifier:
    case Start::SingleOperator:
    case Start::Hash: // these are lexemes always
    case Start::Illegal: break;
    }
    return std::find_if(start, end, [](char c) { return StartOf(c) != Start::Illegal; });
}

void ThrowScanFailure(const char* p, const char* end, bool atLineStart)
{
    const ScanFailure failure = DescribeScanFailure(p, end, atLineStart);
    throw LexScannerException(failure.m_message, failure.m_token);
}

} // namespace kelm::text
