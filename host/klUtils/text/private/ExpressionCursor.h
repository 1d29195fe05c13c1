#pragma once

// ExpressionCursor: how the evaluator of expressions goes through a parser's text, one token ahead.
//
// It knows where it is in a grammar of operands and operators. Before an operand a number is likely, whose value is
// handed over without a token in between; behind one an operator of one character, or the end of the text. Whatever
// else comes is one call away. The parser's own members are written when the cursor is destroyed, and before foreign
// code is called, which could look at them.

#include <klUtils/MessageOf.h>
#include <klUtils/api.h>
#include <klUtils/text/ParserBase.h>
#include <klUtils/text/private/Scan.h>

#include <limits>

namespace kelm::text
{

class ExpressionCursor
{
public:
    [[gnu::always_inline]] explicit ExpressionCursor(ParserBase& parser)
        : m_kind(KnownKind(parser.m_token.m_type))
        , m_start(parser.m_token.m_str.m_p1)
        , m_p(parser.m_str.m_p1)
        , m_end(parser.m_str.m_p2)
        , m_previous(None())
        , m_passed(None())
        , m_parser(parser)
    {
    }
    ExpressionCursor(const ExpressionCursor&) = delete;
    ExpressionCursor& operator=(const ExpressionCursor&) = delete;
    [[gnu::always_inline]] ~ExpressionCursor() { Show(); }

    // Writes the parser's members, for foreign code that is called now.
    [[gnu::always_inline]] void Show() const
    {
        if (IsAtFirst())
            return;
        m_parser.m_prevToken = GetPassedToken();
        m_parser.m_token = {m_kind, {m_start, m_p}};
        m_parser.m_str.m_p1 = m_p;
    }

    // --- The current token ---

    // Whether it is a number or a quoted literal.
    bool IsLiteral() const { return TOKEN_INTEGER <= m_kind && m_kind <= TOKEN_DOUBLE_QUOTED_STRING; }

    // Of a literal, before its value is asked for: of the parser's token, that is what scanning it has found out,
    // unless somebody has put another one in its place.
    [[gnu::always_inline]] void TakeValue()
    {
        if (!IsAtFirst())
            return;
        if (!IsValued()) [[unlikely]]
            return FindValue();
        m_digits = m_parser.m_digits;
        m_exponent = m_parser.m_exponent;
        m_count = m_parser.m_count;
        m_escape = m_parser.m_escape;
    }

    // Whether it is the parser's token and an integer, decimal or hexadecimal, that needs no look at its range; and
    // which. Nothing has to be taken for that.
    [[gnu::always_inline]] bool IsFirstShortInteger() const
    {
        return IsAtFirst() && (Is(TOKEN_INTEGER) || Is(TOKEN_HEX_INTEGER)) && IsValued() &&
               static_cast<uint32>(m_parser.m_count) <= Number::s_maxHexDigits;
    }
    int64 GetFirstShortInteger() const { return static_cast<int64>(m_parser.m_digits); }

    EToken GetKind() const { return m_kind; }
    bool Is(EToken kind) const { return m_kind == kind; }
    SubString GetText() const { return GetToken().m_str; }
    LSToken GetToken() const { return IsAtFirst() ? m_parser.m_token : LSToken(m_kind, {m_start, m_p}); }
    LSToken GetPreviousToken() const { return IsAtFirst() ? m_parser.m_prevToken : GetPassedToken(); }

    // Its value; false where it is out of range. Of TOKEN_INTEGER and TOKEN_HEX_INTEGER.
    bool GetUnsigned(uint64& value) const
    {
        const auto getText = [this] { return GetText(); };
        return Is(TOKEN_INTEGER) ? ToUnsignedBy(GetNumber(), getText, value)
                                 : HexToUnsignedBy(GetNumber(), getText, value);
    }
    // Whether it is an integer, decimal, that needs no look at its range; and which.
    bool IsShortInteger() const
    {
        return Is(TOKEN_INTEGER) && static_cast<uint32>(m_count) <= std::numeric_limits<int64>::digits10;
    }
    int64 GetShortInteger() const { return static_cast<int64>(m_digits); }

    // Of TOKEN_INTEGER and TOKEN_FLOAT.
    bool GetFloat(double& value) const { return ToFloating(GetNumber(), GetText(), value); }

    // Of a quoted literal: whether its contents are its very characters; and these, in place of `out`. Throws
    // LiteralException, with `out` as it was.
    bool IsVerbatim() const { return m_escape == nullptr; }
    SubString GetContents() const
    {
        const SubString text = GetText();
        return {text.m_p1 + 1, text.m_p2 - 1};
    }
    void GetString(xstring& out) const { GetToken().GetLiteralString(out); }

    // --- The next token ---
    //
    // Each throws LexScannerException where characters form none; the current token stays then, and is the previous
    // one as well.

    KLUTILS_API void Next();

    // Behind an operand, which the current token ends.
    [[gnu::always_inline]] void NextBehindOperand() { GoBehind(m_kind, m_start, m_p); }

    // And where the next token begins there, up to `past`, and ends an operand.
    [[gnu::always_inline]] void GoBehind(EToken kind, const char* start, const char* past);

    // The same where nothing can fail: what follows, behind one blank at most, is the end or an operator. `first` is
    // done before; false where something else follows, and nothing has been done.
    template <class First>
    [[gnu::always_inline]] bool TryGoBehind(EToken kind, const char* start, const char* past, First first)
    {
        return TryAcceptBehind(kind, start, past, past != m_end && *past == ' ' ? past + 1 : past, first);
    }

    // Where an operand is to begin. If that is a number that `take` takes, past it as well, or a name that `takeName`
    // goes behind: whether it was. It does not become the current token on the way unless there is a need.
    template <class Take, class TakeName>
    [[gnu::always_inline]] bool NextPastConstant(Take take, TakeName takeName)
    {
        const char* const start = SkipSpaceHere(m_p);
        if (start != m_end) [[likely]]
        {
            if (StartOf(*start) == Start::Digit)
            {
                // Most numbers are digits alone, and many a single one.
                DigitRun run{start + 1, DigitValue(*start)};
                if (run.m_past != m_end && DigitValue(*run.m_past) <= 9)
                    run = AppendFewMoreDigits(start, m_end, run.m_number);
                const ScannedNumber number(TOKEN_INTEGER, run.m_past, run.m_number, run.m_past - start);
                const bool isWhole = run.m_past == m_end || !HasProperty(*run.m_past, CHAR_IN_NUMBER);
                if (isWhole ? TryPass(start, number, take) : TryPass(start, ScanRest(start, number), take)) [[likely]]
                    return true;
            }
            else if (IsShortOperator(start))
            {
                AcceptShortOperator(start, m_start);
                return false;
            }
            else if (StartOf(*start) == Start::Identifier)
            {
                if (takeName(start))
                    return true;
                AcceptName(start);
                return false;
            }
        }
        GoTo(start);
        return false;
    }
    const char* GetEnd() const { return m_end; }

    // Past a token of that kind. Throws "Expected " + text + " when read " + the current token where it is another.
    [[gnu::always_inline]] void Pass(EToken kind, ConstStringZ text)
    {
        if (!Is(kind)) [[unlikely]]
            ThrowExpected(text);
        Next();
    }
    [[gnu::always_inline]] void PassBehindOperand(EToken kind, ConstStringZ text)
    {
        if (!Is(kind)) [[unlikely]]
            ThrowExpected(text);
        NextBehindOperand();
    }

    // --- Errors, all of them LexScannerExceptions at the current token ---

    [[noreturn]] KLUTILS_API void ThrowExpected(ConstStringZ what) const;
    [[noreturn]] KLUTILS_API void ThrowAtToken(const xstring& description) const;
    template <class... Parts>
    [[noreturn, gnu::cold]] void Throw(const Parts&... parts) const
    {
        ThrowAtToken(MessageOf(parts...));
    }

private:
    // Where no token has been passed yet, the parser's tokens are the tokens. An address that is in no text says so.
    const char* None() const { return reinterpret_cast<const char*>(this); }
    bool IsAtFirst() const { return m_previous == None(); }

    // Anybody can put a token into a parser. One of a kind that there is none of counts as a comment, which no grammar
    // takes.
    static constexpr EToken KnownKind(EToken kind)
    {
        return TOKEN_END <= kind && kind <= TOKEN_HASH ? kind : TOKEN_COMMENT;
    }
    Number GetNumber() const { return {m_digits, m_exponent, m_count}; }

    // Whether the parser's current token is the one whose value it has kept.
    [[gnu::always_inline]] bool IsValued() const
    {
        const LSToken& token = m_parser.m_token;
        const LSToken& valued = m_parser.m_valued;
        return token.m_type == valued.m_type && token.m_str.m_p1 == valued.m_str.m_p1 &&
               token.m_str.m_p2 == valued.m_str.m_p2;
    }
    KLUTILS_API void FindValue();

    // The one before the current token, of which at least one has been passed.
    [[gnu::always_inline]] LSToken GetPassedToken() const
    {
        if (m_previous == m_parser.m_token.m_str.m_p1)
            return m_parser.m_token;
        if (m_previous == m_passed)
            return {m_passedKind, {m_passed, m_passedEnd}};
        return ScanPassedToken();
    }
    KLUTILS_API LSToken ScanPassedToken() const;

    // Past the number at `start`, if `take` takes it.
    template <class Take>
    [[gnu::always_inline]] bool TryPass(const char* start, const ScannedNumber& number, Take take)
    {
        if (number.m_past == nullptr || !take(number, SubString(start, number.m_past))) [[unlikely]]
            return false;
        GoBehind(number.m_kind, start, number.m_past);
        return true;
    }

    // Of the number at `start`, behind its first digits.
    [[gnu::always_inline]] ScannedNumber ScanRest(const char* start, const ScannedNumber& number) const
    {
        if (*number.m_past == '.' || !IsHexadecimal(start, m_end))
            return ScanToItsEnd(start, m_end, number);
        const DigitRun run = ScanHexadecimal(start, m_end);
        return {TOKEN_HEX_INTEGER, run.m_past, run.m_number, run.m_past - (start + 2)};
    }

    // Most often there is none, or one blank: past that. False where there is more.
    [[gnu::always_inline]] bool TrySkipBlank(const char*& p) const
    {
        constexpr unsigned char lastBlank = ' ';
        if (p == m_end || static_cast<unsigned char>(*p) > lastBlank)
            return true;
        return *p == ' ' && (++p == m_end || static_cast<unsigned char>(*p) > lastBlank);
    }
    [[gnu::always_inline]] const char* SkipSpaceHere(const char* p) const
    {
        return TrySkipBlank(p) ? p : SkipMoreSpace(p, m_end);
    }
    // Pure, so that members that are in registers stay there.
    [[gnu::pure]] KLUTILS_API static const char* SkipMoreSpace(const char* p, const char* end);

    // Whether an operator of one character stands at `start`, and none that is longer, and no comment.
    [[gnu::always_inline]] bool IsShortOperator(const char* start) const
    {
        const Start begin = StartOf(*start);
        return begin == Start::SingleOperator ||
               (begin == Start::Operator && (start + 1 == m_end || !s_operatorPairs.Has(start[0], start[1])));
    }
    [[gnu::always_inline]] void AcceptShortOperator(const char* start, const char* previous)
    {
        Accept(s_operatorTrie.TokenOf(*start), start, start + 1, previous);
    }

    // From a token that is at hand to what stands `behind` it, if that is the end or an operator; `first` is done
    // before.
    template <class First>
    [[gnu::always_inline]] bool TryAcceptBehind(EToken kind, const char* start, const char* past, const char* behind,
                                                First first)
    {
        if (behind == m_end)
        {
            first();
            AcceptEnd(kind, start, past);
            return true;
        }
        if (IsShortOperator(behind)) [[likely]]
        {
            first();
            AcceptShortOperator(behind, start);
            return true;
        }
        if (StartOf(*behind) == Start::Operator && *behind != '/')
        {
            first();
            AcceptLongOperator(behind, start);
            return true;
        }
        return false;
    }

    [[gnu::always_inline]] void Accept(EToken kind, const char* start, const char* past, const char* previous)
    {
        m_previous = previous;
        m_kind = kind;
        m_start = start;
        m_p = past;
    }

    // To the end of the text from a token that is at hand: the members are soon given back then, with it as the
    // previous one.
    [[gnu::always_inline]] void AcceptEnd(EToken kind, const char* start, const char* past)
    {
        m_passed = start;
        m_passedEnd = past;
        m_passedKind = kind;
        Accept(TOKEN_END, m_end, m_end, start);
    }

    // To the token at `start`, the first character behind the current one that is no white space.
    KLUTILS_API void GoTo(const char* start);
    KLUTILS_API void GoBehindSpace(EToken kind, const char* start, const char* past);
    KLUTILS_API void AcceptLongOperator(const char* start, const char* previous);
    KLUTILS_API void AcceptName(const char* start);
    void AcceptNumber(const char* start);
    template <char Quote>
    void AcceptQuoted(EToken kind, const char* start);
    void GoToAny();
    bool IsComment(const char* start) const;
    const char* SkipComment(const char* start);

    [[noreturn]] void GetStuck();

    EToken m_kind;       // of the current token
    EToken m_passedKind; // of the last one of the text
    const char* m_start; // of the current token
    const char* m_p;     // the text not yet scanned: past the current token, unless that is the first
    const char* m_end;
    const char* m_previous; // the first character of the one before it, which is scanned again where it is asked for
    const char* m_passed;   // unless it is this: the last one of the text
    const char* m_passedEnd;

    uint64 m_digits; // the value of the current token, where that is a number, as Number has it
    int32 m_exponent;
    int32 m_count;
    const char* m_escape; // where it is a quoted literal: its first backslash, or null

    ParserBase& m_parser;
};

inline void ExpressionCursor::GoBehind(EToken kind, const char* start, const char* past)
{
    const char* behind = past;
    if (!TrySkipBlank(behind)) [[unlikely]]
        return GoBehindSpace(kind, start, past);
    if (TryAcceptBehind(kind, start, past, behind, [] {}))
        return;
    if (start != m_start)
        Accept(kind, start, past, m_start);
    GoTo(behind);
}

} // namespace kelm::text
