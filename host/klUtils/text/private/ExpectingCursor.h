#pragma once

// ExpectingCursor: a cursor for a reader that knows which token is likely to come. That one is looked for first;
// whatever else comes is scanned as always. It has few members and gives its address to nobody, so that it lives in
// registers where its reader is inlined.

#include <klUtils/text/ParserBase.h>
#include <klUtils/text/private/Names.h>
#include <klUtils/text/private/Scan.h>

namespace kelm::text
{

class ExpectingCursor
{
public:
    // Over a text, before its first token.
    explicit ExpectingCursor(SubString text) : m_p(text.m_p1), m_end(text.m_p2), m_first(text.m_p1) {}

    // From where a parser is.
    explicit ExpectingCursor(const ParserBase& parser)
        : m_p(parser.m_str.m_p1)
        , m_end(parser.m_str.m_p2)
        , m_kind(parser.m_token.m_type)
        , m_first(parser.m_str.m_p1)
        , m_firstKind(parser.m_token.m_type)
    {
    }

    // Gives the parser's members what they would have if it had read all tokens itself. To the parser alone that this
    // comes from, and once.
    void StoreIn(ParserBase& parser) const
    {
        if (IsAtFirst())
        {
            if (m_isStuck)
                parser.m_prevToken = parser.m_token;
            return;
        }
        const bool hasPassedOne = m_previous == m_first - 1;
        parser.m_prevToken = hasPassedOne ? parser.m_token : ScanAny(m_previous, m_end, false).m_lexeme.GetToken();
        parser.m_token = GetToken();
        parser.m_str.m_p1 = m_p;
    }

    // --- The current token ---

    EToken GetKind() const { return m_kind; }
    bool Is(EToken kind) const { return m_kind == kind; }

    // Not of the token that a parser began with.
    LSToken GetToken() const { return {m_kind, {GetStart(), m_p}}; }
    SubString GetText() const { return {GetStart(), m_p}; }

    // Whether that is still the one that the cursor began with.
    bool IsAtFirst() const { return m_p == m_first && m_kind == m_firstKind; }

    // Of a number literal. False where it is out of range.
    [[gnu::always_inline]] bool GetUnsigned(uint64& value) const
    {
        value = m_digits;
        if (static_cast<uint32>(m_count) <= Number::s_maxHexDigits) [[likely]]
            return true;
        const LongInteger found = GetLongInteger({m_digits, 0, m_count}, GetToken());
        value = found.m_value;
        return found.m_isInRange;
    }

    // --- The next token ---
    //
    // Each goes on to it, whichever it is. False where there is none; GetScanFailure tells of it.

    ScanFailure GetScanFailure() const { return DescribeScanFailure(m_p, m_end, m_kind == TOKEN_UNDEF); }

    // Expects one of these operators of one character, or the end of the text.
    template <char... Expected>
    [[gnu::always_inline]] bool TryNextOperator()
    {
        if (TryOperator<Expected...>(m_p)) [[likely]]
            return true;
        const char* const start = SkipSpaceHere(m_p);
        return (start != m_p && TryOperator<Expected...>(start)) || TryNext();
    }

    // Expects an identifier that the reader knows. This is a guess: the characters up to one that could end it. Where
    // they are an identifier that is known, they are the next token, for there is nothing behind them that goes on with
    // it, and the reader calls AcceptName.
    [[gnu::always_inline]] NameKey GuessName() const
    {
        const char* start = m_p;
        uint64 word = PeekWord(start);
        if (static_cast<uint8>(word) <= ' ') [[unlikely]]
        {
            start = SkipSpaceHere(start);
            word = PeekWord(start);
        }
        const Block block(word, 0);
        const int size = FirstOf(block.AreBelow('0') | block.AreEqual('['));
        if (size == s_maxShortText) [[unlikely]]
            return NameKey({start, SkipName(start, m_end)}, word);
        return NameKey({start, start + size}, word & s_firstCharacters[size]);
    }
    [[gnu::always_inline]] void AcceptName(const NameKey& name)
    {
        Accept(TOKEN_IDENTIFIER, name.m_text.m_p1, name.m_text.m_p2);
    }

    // Expects a number.
    [[gnu::always_inline]] bool TryNextNumber()
    {
        const char* const start = SkipSpaceHere(m_p);
        if (start == m_end || !HasProperty(*start, CHAR_DIGIT)) [[unlikely]]
            return TryNext();
        const ScannedNumber number = ScanNumberHere(start, m_end);
        if (number.m_past == nullptr) [[unlikely]]
            return GetStuck();
        m_digits = number.m_digits;
        m_count = number.m_count;
        return Accept(number.m_kind, start, number.m_past);
    }

    // Expects nothing.
    [[gnu::always_inline]] bool TryNext()
    {
        const Scanned scanned = ScanAny(m_p, m_end, m_kind == TOKEN_UNDEF);
        if (!scanned.m_isToken)
            return GetStuck();
        m_digits = scanned.m_lexeme.m_digits;
        m_count = scanned.m_lexeme.m_count;
        return Accept(scanned.m_lexeme.m_kind, scanned.m_lexeme.m_start, scanned.m_lexeme.m_past);
    }

private:
    // The next eight characters; zeros behind the end of the text.
    [[gnu::always_inline]] uint64 PeekWord(const char* p) const
    {
        const ssize_t left = m_end - p;
        return left >= s_maxShortText ? LoadWord<uint64>(p) : WordOfShortText(p, left);
    }

    // Most often there is none, or a blank or two.
    [[gnu::always_inline]] const char* SkipSpaceHere(const char* p) const
    {
        while (p != m_end && *p == ' ')
            ++p;
        return p == m_end || static_cast<uint8>(*p) > ' ' ? p : SkipMoreSpace(p, m_end);
    }
    [[gnu::noinline]] static const char* SkipMoreSpace(const char* p, const char* end) { return SkipSpace(p, end); }

    struct LongInteger
    {
        uint64 m_value;
        bool m_isInRange;
    };

    [[gnu::noinline]] static LongInteger GetLongInteger(Number number, LSToken token)
    {
        LongInteger found{0, false};
        found.m_isInRange = token == TOKEN_INTEGER ? ToUnsigned(number, token.m_str, found.m_value)
                                                   : HexToUnsigned(number, token.m_str, found.m_value);
        return found;
    }

    struct Scanned
    {
        Lexeme m_lexeme;
        bool m_isToken;
    };

    [[gnu::noinline]] static Scanned ScanAny(const char* p, const char* end, bool atLineStart)
    {
        Scanned scanned;
        scanned.m_isToken = ScanToken(p, end, atLineStart, scanned.m_lexeme);
        return scanned;
    }

    template <char... Expected>
    [[gnu::always_inline]] bool TryOperator(const char* start)
    {
        if (start == m_end) [[unlikely]]
            return AcceptPlaced(TOKEN_END, start);
        const char c = *start;
        return (TryOperator<Expected>(start, c) || ...);
    }
    template <char Expected>
    [[gnu::always_inline]] bool TryOperator(const char* start, char c)
    {
        static_assert(Expected == '.' || StartOf(Expected) == Start::SingleOperator);
        if (c != Expected || (Expected == '.' && !IsDotOperator(start, m_end)))
            return false;
        constexpr EToken kind = s_operatorTrie.TokenOf(Expected);
        return AcceptPlaced(kind, start + 1);
    }

    [[gnu::always_inline]] bool Accept(EToken kind, const char* start, const char* past)
    {
        m_previous = GetStart();
        m_start = start;
        m_kind = kind;
        m_p = past;
        return true;
    }
    [[gnu::always_inline]] bool AcceptPlaced(EToken kind, const char* past)
    {
        m_previous = GetStart();
        m_kind = kind;
        m_p = past;
        return true;
    }

    [[gnu::always_inline]] bool GetStuck()
    {
        m_previous = GetStart();
        m_isStuck = true;
        return false;
    }

    // Whether the place of such a token follows from its end, so that it need not be kept.
    static constexpr bool IsPlaced(EToken kind)
    {
        return kind == TOKEN_DOT || kind == TOKEN_LEFT_SQUARE || kind == TOKEN_RIGHT_SQUARE || kind == TOKEN_END;
    }
    [[gnu::always_inline]] const char* GetStart() const
    {
        return !IsPlaced(m_kind) ? m_start : m_kind == TOKEN_END ? m_p : m_p - 1;
    }

    const char* m_p; // past the current token
    const char* m_end;
    EToken m_kind = TOKEN_UNDEF;
    bool m_isStuck = false;        // no token comes
    const char* m_start = nullptr; // of the current token
    const char* m_previous = nullptr;
    uint64 m_digits = 0; // of a number, as Number has them
    int32 m_count = 0;

    const char* m_first; // past the first token
    EToken m_firstKind = TOKEN_UNDEF;
};

} // namespace kelm::text
