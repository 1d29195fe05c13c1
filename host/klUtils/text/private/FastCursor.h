#pragma once

// FastCursor: a cursor in registers, for loops over lists of numbers.

#include <klUtils/text/private/Cursor.h>

namespace kelm::text
{

// A copy of a cursor whose address nobody is given, so that the compiler can keep it in registers. What is not short
// and common is done by the cursor that it was made from, which has the current state whenever something is thrown.
class FastCursor
{
public:
    [[gnu::always_inline]] explicit FastCursor(Cursor& home) : m_home(home) { Load(); }

    EToken GetKind() const { return m_kind; }
    bool Is(EToken kind) const { return m_kind == kind; }
    Number GetNumber() const { return {m_digits, m_exponent, m_count}; }
    SubString GetText() const { return {m_start, m_p}; }

    [[gnu::always_inline]] void Next()
    {
        const char* const start = SkipSpace(m_p, m_end);
        if (start != m_end) [[likely]]
        {
            const Start begin = StartOf(*start);
            if (begin == Start::SingleOperator)
                return Set(s_operatorTrie.TokenOf(*start), start, start + 1);
            if (begin == Start::Digit && TryPassNumber(start))
                return;
        }
        AtHome([](Cursor& home) { home.Next(); });
    }

    // As Cursor has it.
    [[gnu::always_inline]] bool NextPastMinus()
    {
        const char* const start = SkipSpace(m_p, m_end);
        if (m_end - start > 1) [[likely]]
        {
            const char* const before = m_start;
            const bool isNegative = *start == '-';
            const char* const digits = start + isNegative;
            if (HasProperty(*digits, CHAR_DIGIT) && TryPassNumber(digits)) [[likely]]
            {
                m_previous = isNegative ? start : before;
                return isNegative;
            }
        }
        bool isNegative = false;
        AtHome([&](Cursor& home) { isNegative = home.NextHerePastMinus(); });
        return isNegative;
    }

    // Does something with the cursor itself, which may throw.
    template <class F>
    [[gnu::always_inline]] void AtHome(F&& f)
    {
        Store();
        f(m_home);
        Load();
    }

    // Gives the state back, for good.
    [[gnu::always_inline]] void Store() const
    {
        m_home.m_token.m_kind = m_kind;
        m_home.m_token.m_start = m_start;
        m_home.m_token.m_past = m_p;
        m_home.m_token.m_digits = m_digits;
        m_home.m_token.m_exponent = m_exponent;
        m_home.m_token.m_count = m_count;
        m_home.m_previous = m_previous;
        m_home.m_p = m_p;
    }

private:
    [[gnu::always_inline]] void Load()
    {
        m_kind = m_home.m_token.m_kind;
        m_start = m_home.m_token.m_start;
        m_digits = m_home.m_token.m_digits;
        m_exponent = m_home.m_token.m_exponent;
        m_count = m_home.m_token.m_count;
        m_previous = m_home.m_previous;
        m_p = m_home.m_p;
        m_end = m_home.m_end;
    }
    [[gnu::always_inline]] void Set(EToken kind, const char* start, const char* past)
    {
        m_previous = m_start;
        m_kind = kind;
        m_start = start;
        m_p = past;
    }
    [[gnu::always_inline]] bool TryPassNumber(const char* start)
    {
        const ScannedNumber scanned = ScanNumberHere(start, m_end);
        if (scanned.m_past == nullptr) [[unlikely]]
            return false;
        m_digits = scanned.m_digits;
        m_exponent = scanned.m_exponent;
        m_count = scanned.m_count;
        Set(scanned.m_kind, start, scanned.m_past);
        return true;
    }

    Cursor& m_home;
    EToken m_kind;
    const char* m_start;
    const char* m_previous;
    const char* m_p;
    const char* m_end;
    uint64 m_digits;
    int32 m_exponent;
    int32 m_count;
};

} // namespace kelm::text
