#pragma once

// FastCursor: a cursor in registers, for the loops in which data sources are read.
//
// It knows where tokens begin and looks at their characters: where the next one is of a kind that can be told at once,
// and nearly all are, there is no Lexeme to be kept. Whatever else comes is read by the cursor that it was made from,
// its home, which stands where this one stands as soon as anybody can look at it or something is thrown.

#include <klUtils/text/private/Cursor.h>

namespace kelm::text
{

// The character that makes a longer operator of the one of the character C, where there is one only.
template <char C>
constexpr char s_continuation = []
{
    char found = '\0';
    int count = 0;
    for (const OperatorSpelling& row : s_operatorSpellings)
        if (row.m_text[0] == C && row.m_text[1] != '\0')
        {
            found = row.m_text[1];
            ++count;
        }
    return count == 1 ? found : '\0';
}();

// No function is given its address, so that the compiler can keep it in registers.
class FastCursor
{
public:
    // At an operator of the home cursor's text: the current token of both, or one that the home has not come to yet.
    FastCursor(Cursor& home, SubString op)
        : m_home(home), m_end(home.m_end), m_start(op.m_p1), m_past(op.m_p2), m_previous(op.m_p1)
    {
    }

    // Where the current token begins.
    const char* GetStart() const { return m_start; }
    const char* GetEnd() const { return m_end; }
    Place GetPlace() const { return {m_start, m_previous}; }

    // Whether the current token is the operator of that one character, which begins no longer one.
    template <char C>
    bool IsAt() const
    {
        static_assert(StartOf(C) == Start::SingleOperator);
        return m_start != m_end && *m_start == C;
    }

    // --- At an operator that is known: what follows

    // Where the token behind it begins.
    const char* FindNext() const { return FindToken(m_past, m_end); }

    // The operator, for whoever goes on from there.
    SubString GetOperator() const { return {m_start, m_past}; }

    // Throws where characters follow that form no token.
    void RequireNext() const
    {
        const char* const next = FindNext();
        if (next != m_end && !HasProperty(*next, CHAR_SURE_START)) [[unlikely]]
            GoHomeToNext();
    }

    // The home cursor, gone to that token; throws where there is none.
    Cursor& GoHomeToNext() const
    {
        m_home.NextBehind({m_start, m_past});
        return m_home;
    }

    // The same where that is the operator of the character C; false where it is not, and nothing is done.
    template <char C>
    [[gnu::always_inline]] bool TryGoHomeToNext() const
    {
        const char* const next = FindNext();
        if (next == m_end || *next != C) [[unlikely]]
            return false;
        m_home.MoveToOperator<C>({next, m_start});
        return true;
    }

    // --- To the token behind what has been read up to `past`, whose last token begins at `last`
    //
    // False, with nothing done, where characters follow that might form no token.
    [[gnu::always_inline]] bool TryMove(const char* last, const char* past)
    {
        const char* const next = FindToken(past, m_end);
        if (next != m_end && !HasProperty(*next, CHAR_SURE_START)) [[unlikely]]
            return false;
        m_start = next;
        m_previous = last;
        return true;
    }

    // The same for any characters; throws where they form no token.
    [[gnu::always_inline]] void Move(const char* last, const char* past)
    {
        if (TryMove(last, past)) [[likely]]
            return;
        m_home.NextBehind({last, past});
        Load();
    }

    // Past the operator that it is known to be at.
    [[gnu::always_inline]] void MovePastOperator() { Move(m_start, m_past); }

    // --- The current token is an operator of one character, or is to be one

    // Takes it for the operator of the character C that it is.
    template <char C>
    void TakeOperator()
    {
        static_assert(StartOf(C) == Start::SingleOperator);
        m_past = m_start + 1;
    }

    // The same for one that begins at `op`.
    template <char C>
    void TakeOperatorAt(const char* op)
    {
        m_start = m_previous = op;
        TakeOperator<C>();
    }

    // The same where another token may be; throws there.
    template <char C>
    [[gnu::always_inline]] void TakeOperatorOrThrow()
    {
        static constexpr char s_text[] = {C, '\0'};
        if (!IsAt<C>()) [[unlikely]]
            GoHome().ThrowExpected(s_text);
        TakeOperator<C>();
    }

    // The same for an arrow.
    [[gnu::always_inline]] void TakeArrowOrThrow()
    {
        if (m_end - m_start < 2 || m_start[0] != '-' || m_start[1] != '>') [[unlikely]]
            GoHome().ThrowExpected("->");
        m_past = m_start + 2;
    }

    // To the operator of the character C behind what ends at `past`, where that is what follows.
    template <char C>
    [[gnu::always_inline]] bool TryTakeOperatorBehind(const char* past)
    {
        static_assert(s_continuation<C> != '\0');
        const char* const next = SkipSpace(past, m_end);
        if (m_end - next <= 1 || *next != C || next[1] == s_continuation<C>) [[unlikely]]
            return false;
        m_start = next;
        m_past = next + 1;
        return true;
    }

    // Behind an element of a list: at the comma, which it is known to be at then; or past the closing bracket, and
    // false. Throws where neither comes.
    template <char Bracket>
    [[gnu::always_inline]] bool TakeCommaOrPassEnd()
    {
        if (IsAt<','>()) [[likely]]
        {
            TakeOperator<','>();
            return true;
        }
        if (!IsAt<Bracket>()) [[unlikely]]
            GoHome().ThrowExpected(",");
        TakeOperator<Bracket>();
        MovePastOperator();
        return false;
    }

    // At the opening bracket of a list: past the list, if it is empty.
    template <char Bracket>
    [[gnu::always_inline]] bool TryPassEmpty()
    {
        const char* const next = FindNext();
        if (next == m_end || *next != Bracket) [[likely]]
            return false;
        Move(next, next + 1);
        return true;
    }

    // --- Home and back

    // The home cursor, gone to the current token.
    Cursor& GoHome() const
    {
        m_home.MoveTo(GetPlace());
        return m_home;
    }

    // To where the home cursor or another one has come.
    void Load(Place place)
    {
        m_start = place.m_start;
        m_previous = place.m_previous;
    }
    void Load() { Load(m_home.GetPlace()); }

    // The same for an operator.
    void LoadOperator()
    {
        m_start = m_home.m_token.m_start;
        m_past = m_home.m_p;
    }

private:
    Cursor& m_home;
    const char* m_end;
    const char* m_start;
    const char* m_past; // of an operator that it is known to be at
    const char* m_previous;
};

} // namespace kelm::text
