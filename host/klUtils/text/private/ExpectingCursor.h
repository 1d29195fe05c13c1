#pragma once

// ExpectingCursor: a cursor for a reader that knows which token is likely to come. That one is looked for first;
// whatever else comes is scanned as always. It has few members and gives its address to nobody, so that a copy of it
// lives in registers where its reader is inlined.

#include <klUtils/text/ParserBase.h>
#include <klUtils/text/private/Names.h>
#include <klUtils/text/private/Scan.h>

namespace kelm::text
{

class ExpectingCursor
{
public:
    // Over a text, before its first token.
    explicit ExpectingCursor(SubString text) : m_p(text.m_p1), m_end(text.m_p2) {}

    // From where a parser is.
    explicit ExpectingCursor(const ParserBase& parser)
        : m_p(parser.m_str.m_p1), m_end(parser.m_str.m_p2), m_kind(parser.m_token.m_type)
    {
    }

    // Without what only a parser is told: the token before the current one.
    [[gnu::always_inline]] void ForgetPrevious() { m_previous = nullptr; }

    // What the current token is, for a reader that has kept no account of it: an operator of one character, or the end.
    // The second sets where it starts as well, without which nobody may be told of the token.
    [[gnu::always_inline]] void SetKind(EToken kind) { m_kind = kind; }
    [[gnu::always_inline]] void SetOperator(EToken kind)
    {
        m_kind = kind;
        m_start = kind == TOKEN_END ? m_p : m_p - 1;
    }
    // A token that is known to begin with its start: a name or a closing bracket.
    void SetNameOrSquare() { m_kind = *m_start == ']' ? TOKEN_RIGHT_SQUARE : TOKEN_IDENTIFIER; }

    // Gives the parser's members what they would have if it had read all tokens itself. To the parser alone that this
    // comes from, and once.
    void StoreIn(ParserBase& parser) const
    {
        const bool isAtFirst = m_p == parser.m_str.m_p1 && m_kind == parser.m_token.m_type;
        if (isAtFirst && m_previous == nullptr)
            return;
        const bool isNextToFirst = isAtFirst || m_previous == nullptr;
        parser.m_prevToken = isNextToFirst ? parser.m_token : ScanAny(m_previous, m_end, false).m_lexeme.GetToken();
        if (isAtFirst)
            return;
        parser.m_token = GetToken();
        parser.m_str.m_p1 = m_p;
    }

    // --- The current token ---

    EToken GetKind() const { return m_kind; }
    bool Is(EToken kind) const { return m_kind == kind; }

    // Not of the token that a parser began with.
    LSToken GetToken() const { return {m_kind, GetText()}; }
    SubString GetText() const { return {m_start, m_p}; }

    // Of the current token, which is a number literal that has been read as that one. False where it is out of range.
    [[gnu::always_inline]] bool GetUnsigned(const Number& number, uint64& value) const
    {
        value = number.m_digits;
        if (static_cast<uint32>(number.m_count) <= Number::s_maxHexDigits) [[likely]]
            return true;
        const LongInteger found = GetLongInteger(number, GetToken());
        value = found.m_value;
        return found.m_isInRange;
    }

    const char* GetEnd() const { return m_end; } // of the text

    // --- The next token ---
    //
    // Each goes on to it, whichever it is. False where there is none; GetScanFailure tells of it.

    ScanFailure GetScanFailure() const { return DescribeScanFailure(m_p, m_end, m_kind == TOKEN_UNDEF); }

    // Expects that operator of one character, or the end of the text.
    template <char Expected>
    bool TryNextOperator()
    {
        return TryOperatorOrEnd<Expected>() != TOKEN_UNDEF || TryNext();
    }

    // The same for a reader that goes another way where something else comes: then the cursor is where it was.
    template <char Expected>
    [[gnu::always_inline]] EToken TryOperatorOrEnd()
    {
        const char* p = m_p;
        if (IsOperatorNext<Expected>(p)) [[likely]]
        {
            Accept(s_operatorTrie.TokenOf(Expected), p, p + 1);
            return s_operatorTrie.TokenOf(Expected);
        }
        if (p != m_end)
            return TOKEN_UNDEF;
        Accept(TOKEN_END, m_end, m_end);
        return TOKEN_END;
    }
    template <char Expected>
    [[gnu::always_inline]] bool TryOperator()
    {
        const char* p = m_p;
        return IsOperatorNext<Expected>(p) && Accept(s_operatorTrie.TokenOf(Expected), p, p + 1);
    }

    // Expects an identifier that the reader knows. This is a guess: the characters up to one that could end it. Where
    // they are an identifier that is known, they are the next token, for there is nothing behind them that goes on with
    // it, and the reader calls AcceptName.
    struct GuessedName
    {
        const char* m_start;
        std::size_t m_size; // eight of a longer one too
        uint64 m_word;      // its characters

        bool MayBeLonger() const { return m_size == s_maxShortText; }
    };
    [[gnu::always_inline]] GuessedName GuessName() const
    {
        const char* start = m_p;
        const ssize_t left = m_end - start;
        uint64 word = PeekWord(start, left);
        if (static_cast<uint8>(word) < '0') [[unlikely]]
        {
            if (static_cast<char>(word) == ' ')
            {
                ++start;
                word = left > s_maxShortText ? LoadWord<uint64>(start) : word >> 8;
            }
            if (static_cast<uint8>(word) < '0')
            {
                start = FindTokenBehind(start, m_end);
                word = PeekWord(start, m_end - start);
            }
        }
        const FirstName name = FindEndOfName(word);
        return {start, name.m_size, name.m_word};
    }
    [[gnu::always_inline]] void AcceptName(const char* start, const char* past)
    {
        Accept(TOKEN_IDENTIFIER, start, past);
    }

    // Expects an integer, decimal or hexadecimal, with a sign or without, and behind it that operator of one character.
    // False where something else comes, or more digits than a few beside leading zeros: then the cursor is where it
    // was.
    template <char Behind>
    [[gnu::always_inline]] bool TryIntegerAnd(int64& integer)
    {
        static_assert(StartOf(Behind) == Start::SingleOperator);
        const char* start = m_p;
        if (m_end - start > 1 && start[1] == Behind && DigitValue(*start) <= 9) // most have a single digit
        {
            integer = static_cast<int64>(DigitValue(*start));
            return AcceptBehind<Behind>(start, start + 1);
        }
        bool isNegative = false;
        if (!IsDigitAt(start)) [[unlikely]]
        {
            if (start != m_end && *start == ' ')
                ++start;
            if (!IsDigitAt(start))
            {
                start = FindTokenBehind(start, m_end);
                if (start != m_end && (*start == '-' || *start == '+'))
                {
                    isNegative = *start == '-';
                    start = FindTokenBehind(start + 1, m_end);
                }
                if (!IsDigitAt(start))
                    return false;
            }
        }
        uint64 value = DigitValue(*start);
        const char* p = start + 1;
        if (!TryPassBlankTo<Behind>(p)) [[unlikely]]
        {
            if (value == 0)
            {
                const DigitRun run = ScanUnusualInteger(start, m_end);
                p = run.m_past;
                value = run.m_number;
            }
            else
            {
                const char* const limit = m_end - start > s_maxFewDigits ? start + s_maxFewDigits : m_end;
                for (; p != limit && DigitValue(*p) <= 9; ++p)
                    value = 10 * value + DigitValue(*p);
            }
            if (!TryPassSpaceTo<Behind>(p)) [[unlikely]]
                return false;
        }
        integer = isNegative ? -static_cast<int64>(value) : static_cast<int64>(value);
        return AcceptBehind<Behind>(start, p);
    }

    // Expects a quoted text of ASCII characters without escapes, and behind it that operator. False where something
    // else comes: then the cursor is where it was.
    template <char Behind>
    [[gnu::always_inline]] bool TryTextAnd(SubString& text)
    {
        static_assert(StartOf(Behind) == Start::SingleOperator);
        const bool isAtOnce = m_p != m_end && (*m_p == '"' || *m_p == '\'');
        const char* const start = isAtOnce ? m_p : FindTokenBehind(m_p, m_end);
        if (start == m_end || (*start != '"' && *start != '\''))
            return false;
        const char* p = start + 1;
        while (p != m_end && *p != *start && *p != '\\' && static_cast<uint8>(*p - ' ') < 0x5F)
            ++p;
        if (p == m_end || *p != *start)
            return false;
        text = {start + 1, p};
        ++p;
        return TryPassSpaceTo<Behind>(p) && AcceptBehind<Behind>(start, p);
    }

    // Expects a number, and tells which.
    bool TryNextNumber(Number& number)
    {
        const Scanned scanned = ScanAny(m_p, m_end, m_kind == TOKEN_UNDEF);
        if (!scanned.m_isToken)
            return GetStuck();
        number = scanned.m_lexeme.GetNumber();
        return Accept(scanned.m_lexeme);
    }

    // Expects an identifier.
    bool TryNextName()
    {
        if (m_p != m_end && StartOf(*m_p) == Start::Identifier) [[likely]]
            return Accept(TOKEN_IDENTIFIER, m_p, SkipName(m_p + 1, m_end));
        return TryNext();
    }

    // Expects nothing.
    [[gnu::always_inline]] bool TryNext()
    {
        const Scanned scanned = ScanAny(m_p, m_end, m_kind == TOKEN_UNDEF);
        return scanned.m_isToken ? Accept(scanned.m_lexeme) : GetStuck();
    }

private:
    // The next eight characters; zeros behind the end of the text, which is so many away.
    [[gnu::always_inline]] static uint64 PeekWord(const char* p, ssize_t left)
    {
        return left >= s_maxShortText ? LoadWord<uint64>(p) : WordOfShortText(p, left);
    }

    bool IsDigitAt(const char* p) const { return p != m_end && DigitValue(*p) <= 9; }

    // Past white space and comments, but for a hash that is there at once: whether that begins a line nobody knows
    // here.
    [[gnu::noinline]] static const char* FindTokenBehind(const char* p, const char* end)
    {
        const char* const next = SkipSpace(p, end);
        const bool isComment = next != end && (*next == '/' || (*next == '#' && next != p));
        return isComment ? SkipComments(next, end) : next;
    }

    // To that operator, with nothing before it or one blank; false otherwise.
    template <char Operator>
    [[gnu::always_inline]] bool TryPassBlankTo(const char*& p) const
    {
        if (p == m_end)
            return false;
        if (*p == Operator) [[likely]]
            return true;
        if (*p != ' ' || p + 1 == m_end || p[1] != Operator)
            return false;
        ++p;
        return true;
    }
    // The same with any white space and comments; where something else comes, to that.
    template <char Operator>
    [[gnu::always_inline]] bool TryPassSpaceTo(const char*& p) const
    {
        if (TryPassBlankTo<Operator>(p)) [[likely]]
            return true;
        if (p == m_end)
            return false;
        p = FindTokenBehind(p, m_end);
        return p != m_end && *p == Operator;
    }
    template <char Operator>
    [[gnu::always_inline]] bool IsOperatorNext(const char*& p) const
    {
        static_assert(Operator == '.' || StartOf(Operator) == Start::SingleOperator);
        return TryPassSpaceTo<Operator>(p) && !(Operator == '.' && IsDigitAt(p + 1));
    }

    static constexpr ssize_t s_maxFewDigits = 9;

    // The integer that begins there with a zero, and is perhaps hexadecimal; at the end of the text where it is none,
    // or has more digits than a few besides zeros. Whatever follows it is for the caller to look at.
    [[gnu::noinline]] static DigitRun ScanUnusualInteger(const char* start, const char* end)
    {
        const char* const p = start + 1;
        const bool isHex = end - p > 1 && (*p | 0x20) == 'x' && HasProperty(p[1], CHAR_HEX_DIGIT);
        return isHex ? ScanFewDigits<16>(p + 1, end) : ScanFewDigits<10>(p, end);
    }
    template <uint64 Base>
    [[gnu::always_inline]] static DigitRun ScanFewDigits(const char* p, const char* end)
    {
        constexpr uint64 eightZeros = 0x3030303030303030;
        while (end - p >= s_maxShortText && LoadWord<uint64>(p) == eightZeros)
            p += s_maxShortText;
        while (p != end && *p == '0')
            ++p;
        constexpr uint64 small = Base == 10 ? 100'000'000 : 0x1000000;
        uint64 value = 0;
        for (; p != end; ++p)
        {
            uint64 digit = DigitValue(*p);
            if (digit > 9)
            {
                digit = Base == 10 ? Base : 10 + static_cast<uint64>(static_cast<uint8>((*p | 0x20) - 'a'));
                if (digit >= Base)
                    return {p, value};
            }
            if (value >= small)
                break;
            value = Base * value + digit;
        }
        return {end, 0};
    }

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

    [[gnu::always_inline]] bool Accept(EToken kind, const char* start, const char* past)
    {
        m_previous = m_start;
        m_start = start;
        m_kind = kind;
        m_p = past;
        return true;
    }
    // An operator of one character at `start`, behind the token that begins there.
    template <char Operator>
    [[gnu::always_inline]] bool AcceptBehind(const char* previous, const char* start)
    {
        m_previous = previous;
        m_start = start;
        m_kind = s_operatorTrie.TokenOf(Operator);
        m_p = start + 1;
        return true;
    }
    [[gnu::always_inline]] bool Accept(const Lexeme& lexeme)
    {
        return Accept(lexeme.m_kind, lexeme.m_start, lexeme.m_past);
    }

    [[gnu::always_inline]] bool GetStuck()
    {
        m_previous = m_start != nullptr ? m_start : m_p;
        return false;
    }

    const char* m_p; // past the current token
    const char* m_end;
    EToken m_kind = TOKEN_UNDEF;

    // Where the current token starts, and the one before it; where no token comes, it is both. Null for a first token
    // and for what is before that: where a parser's lies, the parser knows.
    const char* m_start = nullptr;
    const char* m_previous = nullptr;
};

} // namespace kelm::text
