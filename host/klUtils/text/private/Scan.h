#pragma once

// The scanner itself, in a header so that the token stream and LsScanToken each have it inline.

#include <klUtils/text/CharTable.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/text/private/OperatorTrie.h>

namespace kelm::scan
{

inline const char* SkipProperty(const char* p, const char* end, CharProperty property)
{
    while (p != end && HasProperty(*p, property))
        ++p;
    return p;
}

// A token's kind and where it ends, returned in two registers.
struct ScannedToken
{
    EToken m_kind;
    const char* m_past;
};

// The tokens that take more than a few instructions. Throws LexScannerException at `start` where there is none.
ScannedToken ScanLongToken(const char* start, const char* end, bool atLineStart);

// Scans the token that begins at or behind `p`, past white space: sets `start` to its first character, moves `p` past
// it and returns its kind. Inlined into its two callers, which keep all of it in registers; what is not short and
// common is left to ScanLongToken.
[[gnu::always_inline]] inline EToken ScanToken(const char*& p, const char*& start, const char* end, bool atLineStart)
{
    const char* const before = p;
    start = SkipProperty(p, end, CHAR_SPACE);
    p = start;
    if (start == end)
        return TOKEN_END;

    switch (StartOf(*start))
    {
    case Start::Identifier: p = SkipProperty(start + 1, end, CHAR_IDENTIFIER); return TOKEN_IDENTIFIER;
    case Start::Digit:
        // Most numbers are plain digits.
        p = SkipProperty(start + 1, end, CHAR_DIGIT);
        if (p == end || !HasProperty(*p, CHAR_IN_NUMBER))
            return TOKEN_INTEGER;
        break;
    case Start::SingleOperator: ++p; return s_operatorTrie.TokenOf(*start);
    case Start::Operator:
        // Most operators are one character.
        if (++p == end || !HasProperty(*p, CHAR_IN_OPERATOR))
            return s_operatorTrie.TokenOf(*start);
        break;
    case Start::Dot:
        if (++p == end || !HasProperty(*p, CHAR_DIGIT))
            return TOKEN_DOT;
        break;
    case Start::Quote:
    case Start::Hash:
    case Start::Space: // skipped above
    case Start::Illegal: break;
    }
    const ScannedToken token = ScanLongToken(start, end, start != before ? start[-1] == '\n' : atLineStart);
    p = token.m_past;
    return token.m_kind;
}

// The operator of one character at `p`, which no longer one begins with, as nearly all operators are. Cannot fail.
[[gnu::always_inline]] inline bool TryScanOperator(const char* p, const char* end, EToken& kind)
{
    const Start begin = StartOf(*p);
    if (begin != Start::SingleOperator &&
        (begin != Start::Operator || (p + 1 != end && HasProperty(p[1], CHAR_IN_OPERATOR))))
        return false;
    kind = s_operatorTrie.TokenOf(*p);
    return true;
}

inline bool IsComment(EToken kind)
{
    return kind == TOKEN_COMMENT || kind == TOKEN_PREPROC_COMMENT;
}

} // namespace kelm::scan
