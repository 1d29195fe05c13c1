#pragma once

// Cursor: how the inside of the parsers reads a text, one token ahead.
//
// A parser's public members are its face to the world. Its inside takes them over into a Cursor, which a compiler can
// keep in registers and which knows the value of a literal as soon as it is scanned; where foreign code could look (at
// return, at a throw, before a host is called) they are written back. ParserCursor does that by its lifetime.

#include <klUtils/MessageOf.h>
#include <klUtils/api.h>
#include <klUtils/text/ParserBase.h>
#include <klUtils/text/private/Scan.h>

namespace kelm::text
{

// Where a cursor is: the first characters of the current token and of the one before it.
struct Place
{
    const char* m_start;
    const char* m_previous;
};

class Cursor
{
public:
    KLUTILS_API explicit Cursor(const ParserBase& parser);

    // The current and the previous token and the rest of the text, as the parser's members have them.
    KLUTILS_API void StoreIn(ParserBase& parser) const;

    EToken GetKind() const { return m_token.m_kind; }
    bool Is(EToken kind) const { return m_token.m_kind == kind; }
    SubString GetText() const { return m_token.GetText(); }
    LSToken GetToken() const { return m_token.GetToken(); }

    // Whether the text of the current token is that.
    bool IsText(SubString text) const { return GetText() == text; }

    // To the next token. Throws LexScannerException where characters form none; the current token stays then, and is
    // the previous one as well.
    void Next()
    {
        if (!TryNext()) [[unlikely]]
            ThrowScanFailure();
    }

    // The same, inlined, for the loops in which most of the time is spent.
    [[gnu::always_inline]] void NextHere()
    {
        if (!TryNextHere()) [[unlikely]]
            ThrowScanFailure();
    }

    // To the token behind `token`, which becomes the previous one, whatever was before.
    void NextBehind(SubString token)
    {
        m_token.m_start = token.m_p1;
        m_p = token.m_p2;
        Next();
    }

    // To a token that is known to be one, and the one before it.
    void MoveTo(Place place)
    {
        m_token.m_start = place.m_previous;
        m_p = place.m_start;
        NextHere();
    }
    // The same for an operator of the one character C, which begins no longer one.
    template <char C>
    void MoveToOperator(Place place)
    {
        static_assert(StartOf(C) == Start::SingleOperator);
        m_previous = place.m_previous;
        m_token.m_kind = s_operatorTrie.TokenOf(C);
        m_token.m_start = place.m_start;
        m_token.m_past = m_p = place.m_start + 1;
    }
    Place GetPlace() const { return {m_token.m_start, m_previous}; }

    // From the current token, an operator, to the text that is not scanned yet.
    SubString GetOperator() const { return {m_token.m_start, m_p}; }

    // The same without throwing: false where there is no next token, which GetScanFailure then tells of.
    [[gnu::noinline]] bool TryNext() { return TryNextHere(); }

    // What is not short and common ends in a call, so that nothing need be kept for afterwards.
    [[gnu::always_inline]] bool TryNextHere()
    {
        const char* const end = m_end;
        const char* const start = SkipMostSpace(m_p, end);
        m_previous = m_token.m_start;
        if (start == end)
            return TryAnyNext();
        if (TryScanHere(start, end, m_token))
        {
            m_p = m_token.m_past;
            return true;
        }
        switch (StartOf(*start))
        {
        case Start::Digit: return TryNumber(start);
        case Start::Quote: return TryQuoted(start);
        case Start::Operator: return IsLongOperator(*start) ? TryOperator(start) : TryAnyNext();
        default: return TryAnyNext();
        }
    }

    ScanFailure GetScanFailure() const { return DescribeScanFailure(m_p, m_end, false); }

    // Past a token of that kind. Throws "Expected " + text + " when read " + the current token where it is another.
    void Pass(EToken kind, ConstStringZ text)
    {
        if (!Is(kind)) [[unlikely]]
            ThrowExpected(text);
        Next();
    }

    // --- The value of the current token, which is not consumed ---

    // False where it is out of range. Of TOKEN_INTEGER and TOKEN_HEX_INTEGER.
    bool GetUnsigned(uint64& value) const
    {
        return Is(TOKEN_INTEGER) ? ToUnsigned(m_token.GetNumber(), GetText(), value)
                                 : HexToUnsigned(m_token.GetNumber(), GetText(), value);
    }
    // Of TOKEN_INTEGER and TOKEN_FLOAT.
    bool GetFloat(double& value) const { return ToFloating(m_token.GetNumber(), GetText(), value); }
    bool GetFloat(float& value) const { return ToFloating(m_token.GetNumber(), GetText(), value); }

    bool IsQuoted() const { return Is(TOKEN_DOUBLE_QUOTED_STRING) || Is(TOKEN_SINGLE_QUOTED_STRING); }

    // Whether the contents of a quoted literal are its very characters.
    bool IsVerbatim() const { return m_token.m_escape == nullptr; }

    // --- Errors, all of them LexScannerExceptions at the current token ---

    [[noreturn]] KLUTILS_API void ThrowScanFailure() const;
    [[noreturn]] KLUTILS_API void ThrowExpected(ConstStringZ what) const;
    [[noreturn]] KLUTILS_API void ThrowAtToken(const xstring& description) const;
    template <class... Parts>
    [[noreturn, gnu::cold]] void Throw(const Parts&... parts) const
    {
        ThrowAtToken(MessageOf(parts...));
    }

    // A number at `start`.
    [[gnu::noinline]] bool TryNumber(const char* start)
    {
        if (!m_token.SetNumber(start, ScanNumberHere(start, m_end))) [[unlikely]]
            return Stay();
        m_p = m_token.m_past;
        return true;
    }
    // A quoted literal at `start`.
    [[gnu::noinline]] bool TryQuoted(const char* start)
    {
        const bool isDouble = *start == '"';
        m_token.m_kind = isDouble ? TOKEN_DOUBLE_QUOTED_STRING : TOKEN_SINGLE_QUOTED_STRING;
        m_token.m_start = start;
        m_token.m_past = isDouble ? ScanQuoted<'"'>(start, m_end, m_token.m_escape)
                                  : ScanQuoted<'\''>(start, m_end, m_token.m_escape);
        if (m_token.m_past == nullptr) [[unlikely]]
            return Stay();
        m_p = m_token.m_past;
        return true;
    }
    // Whether an operator that begins so may go on, and is no comment then.
    static bool IsLongOperator(char c) { return c != '/' && StartOf(c) == Start::Operator; }
    // Such an operator at `start`.
    [[gnu::noinline]] bool TryOperator(const char* start)
    {
        const char* past = start;
        m_token.m_kind = ScanOperator(past, m_end);
        m_token.m_start = start;
        m_token.m_past = past;
        m_p = past;
        return true;
    }

    KLUTILS_API bool TryAnyNext();

    // The scanner has found no token: the current one is the previous one from now on.
    bool Stay()
    {
        m_token.m_past = nullptr;
        return false;
    }

    Lexeme m_token;         // the current token
    const char* m_previous; // the first character of the one before it, which is scanned again where it is asked for
    const char* m_p;        // the text not yet scanned
    const char* m_end;
};

// A cursor over a parser's text for as long as it lives.
class ParserCursor : public Cursor
{
public:
    explicit ParserCursor(ParserBase& parser) : Cursor(parser), m_parser(parser) {}
    ParserCursor(const ParserCursor&) = delete;
    ParserCursor& operator=(const ParserCursor&) = delete;
    ~ParserCursor() { Show(); }

    // Writes the parser's members, for foreign code that is called now.
    void Show() const { StoreIn(m_parser); }

    // The same where the previous token is known to be an operator of one character.
    void ShowBehind(SubString op) const
    {
        const LSToken previous(s_operatorTrie.TokenOf(*op.m_p1), {op.m_p1, op.m_p1 + 1});
        m_parser.m_prevToken = op.m_p1 == m_parser.m_token.m_str.m_p1 ? m_parser.m_token : previous;
        m_parser.m_token = GetToken();
        m_parser.m_str.m_p1 = m_p;
    }

    ParserBase& GetParser() const { return m_parser; }

private:
    ParserBase& m_parser;
};

} // namespace kelm::text
