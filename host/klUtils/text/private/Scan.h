#pragma once

// The scanner: the next lexeme of a text. And how a character becomes a value, in the order in which it happens:
//
//  1. Blocks.h        sixteen characters at once, a lane each; all that is of one processor
//  2. CharTable.h     what a single one can begin, and what it can be part of
//  3. Space.h         past white space; where comments end
//  4. Names.h         a name: where it ends, and, of up to eight characters (ShortText.h), the word that it is
//     Number.h        a number: where it ends, its kind, its digits (DecimalDigits.h) and its power of ten
//     Quoted.h        a quoted literal: where it ends, and its first backslash
//     OperatorTrie.h  an operator: the longest there is
//  5. Scan.h          the lexeme: a token, with what 4 has found out about its value. Short and common ones are inlined
//                     where they are asked for; the rest (comments, quoted literals, long operators) is one call away
//  6. Cursor.h        how a reader goes through lexemes, one ahead, in place of the parser's public members
//     FastCursor.h    where tokens begin, in registers, for bodies and lists
//     ExpressionCursor.h  where operands and operators take turns
//     ExpectingCursor.h  for a reader that knows which token is likely
//  7. Number.h, Quoted.h  the value, when it is asked for: an integer, the nearest float (NearestDouble.h), a text
//                     without its escapes
//  8. TypedReads.h    that value as one of a type: its sign, its range, what is said where it does not fit
//     FastReads.h     the same for the forms that are nearly always written, found without a cursor
//
// A number of up to 19 digits is read once. That there is no lexeme is only noticed; DescribeScanFailure reads again to
// say why, and where.

#include <klUtils/api.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/text/private/CharTable.h>
#include <klUtils/text/private/Names.h>
#include <klUtils/text/private/Number.h>
#include <klUtils/text/private/OperatorTrie.h>
#include <klUtils/text/private/Quoted.h>
#include <klUtils/text/private/Space.h>

namespace kelm::text
{

// A token, and what scanning it has found out about its value: the number of the three kinds of numbers; of a quoted
// literal the first backslash in it.
struct Lexeme : ScannedNumber
{
    Lexeme() = default;
    explicit Lexeme(const LSToken& token) : m_start(token.m_str.m_p1)
    {
        m_kind = token.m_type;
        m_past = token.m_str.m_p2;
    }

    // False where the number is malformed.
    bool SetNumber(const char* start, const ScannedNumber& number)
    {
        static_cast<ScannedNumber&>(*this) = number;
        m_start = start;
        return m_past != nullptr;
    }

    const char* m_start = nullptr;
    const char* m_escape = nullptr;

    SubString GetText() const { return {m_start, m_past}; }
    LSToken GetToken() const { return {m_kind, GetText()}; }
};

// The lexeme at or behind `p`, past white space, comments among them; TOKEN_END at the end of the text, however often
// it is asked. False where the characters there form none; `lexeme` means nothing then. `atLineStart`: whether a line
// of the text begins at `p`.
KLUTILS_API bool Scan(const char* p, const char* end, bool atLineStart, Lexeme& lexeme);

// The next lexeme that is no comment.
KLUTILS_API bool ScanToken(const char* p, const char* end, bool atLineStart, Lexeme& lexeme);

// The lexemes that are found at once, for those who want them inlined: the one at `start`, which is neither the end nor
// white space, where it is an operator of one character or an identifier. False for every other.
[[gnu::always_inline]] inline bool TryScanHere(const char* start, const char* end, Lexeme& lexeme)
{
    const char* past = start + 1;
    EToken kind = TOKEN_IDENTIFIER;
    const Start begin = StartOf(*start);
    if (begin == Start::SingleOperator ||
        (begin == Start::Operator && (past == end || !HasProperty(*past, CHAR_IN_OPERATOR))))
        kind = s_operatorTrie.TokenOf(*start);
    else if (begin == Start::Identifier)
        past = SkipName(past, end);
    else
        return false;
    lexeme.m_kind = kind;
    lexeme.m_start = start;
    lexeme.m_past = past;
    return true;
}

// Whether the dot at `p` is an operator; before a digit it begins a number.
inline bool IsDotOperator(const char* p, const char* end)
{
    return p + 1 == end || !HasProperty(p[1], CHAR_DIGIT);
}

// The same, and the end too.
[[gnu::always_inline]] inline bool TryScanOrEndHere(const char* start, const char* end, Lexeme& lexeme)
{
    if (start != end)
        return TryScanHere(start, end, lexeme);
    lexeme.m_kind = TOKEN_END;
    lexeme.m_start = start;
    lexeme.m_past = start;
    return true;
}

// As ScanToken, with all those and numbers inlined.
[[gnu::always_inline]] inline bool ScanTokenHere(const char* p, const char* end, bool atLineStart, Lexeme& lexeme)
{
    const char* const start = SkipSpace(p, end);
    if (TryScanOrEndHere(start, end, lexeme))
        return true;
    if (StartOf(*start) == Start::Digit)
        return lexeme.SetNumber(start, ScanNumberHere(start, end));
    return ScanToken(p, end, atLineStart, lexeme);
}

// The same for those who want the token alone: what is inlined keeps nothing else.
[[gnu::always_inline]] inline bool FindTokenHere(const char* p, const char* end, bool atLineStart, LSToken& token)
{
    const char* const start = SkipSpace(p, end);
    Lexeme lexeme;
    if (start == end || StartOf(*start) != Start::Digit)
    {
        if (!TryScanOrEndHere(start, end, lexeme))
        {
            Lexeme other; // whose address goes out, so that the first one can be registers
            if (!ScanToken(p, end, atLineStart, other)) [[unlikely]]
                return false;
            token = other.GetToken();
            return true;
        }
    }
    else if (!lexeme.SetNumber(start, ScanNumberHere(start, end))) [[unlikely]]
        return false;
    token = lexeme.GetToken();
    return true;
}

inline bool IsComment(EToken kind)
{
    return kind == TOKEN_COMMENT || kind == TOKEN_PREPROC_COMMENT;
}

// What is wrong where Scan or ScanToken has found no lexeme: a message, and a token of no kind that has the place.
struct ScanFailure
{
    xstring m_message;
    LSToken m_token;
};
KLUTILS_API ScanFailure DescribeScanFailure(const char* p, const char* end, bool atLineStart);

// Where Scan finds no lexeme at `start`: past the characters that are wrong for the same reason. Scanning may go on
// there.
KLUTILS_API const char* SkipWrong(const char* start, const char* end);

// Throws it as a LexScannerException.
[[noreturn]] KLUTILS_API void ThrowScanFailure(const char* p, const char* end, bool atLineStart);

} // namespace kelm::text
