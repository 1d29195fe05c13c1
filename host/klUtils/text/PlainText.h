#pragma once

#include <klUtils/BasicSubString.h>
#include <klUtils/api.h>
#include <klUtils/text/CharTable.h>
#include <klUtils/text/DecimalDigits.h>
#include <klUtils/text/ShortText.h>
#include <klUtils/types.h>

#include <cstring>
#include <limits>
#include <type_traits>

namespace kelm
{

// A fast way through plain text: names, punctuation and literals in their commonest forms, with nothing but white space
// between them, read straight from the characters.
//
// Every operation either passes what it reads, or returns false and leaves the position; what it passes are whole
// tokens, exactly as the scanner would deliver them. Whatever is not plain (comments, escapes, signs apart from their
// numbers, errors of any kind) is left to the token stream, which goes on from here: ParserBase::GetPlainText,
// ParserBase::ContinueBehind.
class KLUTILS_API PlainText
{
public:
    PlainText(const char* p, const char* end) : m_p(p), m_end(end) {}

    // The first character of the last token passed; null before any is.
    const char* GetLastToken() const { return m_lastToken; }

    const char* GetPosition() const { return m_p; }
    bool IsAtEnd() const { return m_p == m_end; }

    void SkipSpace()
    {
        while (m_p != m_end && HasProperty(*m_p, CHAR_SPACE))
            ++m_p;
    }

    // One character that is an operator and begins no longer one.
    bool TryPass(char c)
    {
        if (!IsBefore(c))
            return false;
        m_lastToken = m_p++;
        return true;
    }

    // The operator =, not == .
    bool TryPassEqual()
    {
        SkipSpace();
        return m_end - m_p > 1 && m_p[1] != '=' && TryPass('=');
    }

    // Whether a member of a class body, or the body's end, comes next.
    bool IsBeforeMember()
    {
        SkipSpace();
        return m_p != m_end && (*m_p == '}' || StartOf(*m_p) == Start::Identifier);
    }

    // Whether that character comes next.
    bool IsBefore(char c)
    {
        SkipSpace();
        return m_p != m_end && *m_p == c;
    }

    // That very name, which must not be empty.
    bool TryPassName(const KnownText& name)
    {
        SkipSpace();
        if (!name.Begins(m_p, m_end))
            return false;
        const char* const past = m_p + name.m_text.size();
        if (past != m_end && HasProperty(*past, CHAR_IDENTIFIER))
            return false;
        Pass(m_p, past);
        return true;
    }

    bool TryReadName(SubString& name)
    {
        SkipSpace();
        if (m_p == m_end || StartOf(*m_p) != Start::Identifier)
            return false;
        m_lastToken = m_p;
        do
            ++m_p;
        while (m_p != m_end && HasProperty(*m_p, CHAR_IDENTIFIER));
        name = {m_lastToken, m_p};
        return true;
    }

    // A decimal integer of the type's range, a minus directly before it where the type has a sign.
    template <class Int>
    requires std::is_integral_v<Int>
    bool TryRead(Int& value)
    {
        SkipSpace();
        const char* p = m_p;
        const bool isNegative = std::is_signed_v<Int> && p != m_end && *p == '-';
        p += isNegative;
        const char* const digits = p;
        uint64 magnitude = 0;
        p = AppendDigits(p, m_end, magnitude);
        constexpr uint64 max = static_cast<uint64>(std::numeric_limits<Int>::max());
        if (p == digits || p - digits > s_maxDigits || magnitude > max + isNegative || !EndsNumber(p))
            return false;
        value = static_cast<Int>(isNegative ? 0 - magnitude : magnitude);
        Pass(digits, p);
        return true;
    }

    // A number of digits, with a fraction or an exponent or neither, a minus directly before it.
    bool TryRead(double& value);

    // A quoted text without escapes: its characters.
    bool TryReadQuoted(SubString& text)
    {
        SkipSpace();
        if (m_p == m_end || StartOf(*m_p) != Start::Quote)
            return false;
        const char* p = m_p + 1;
        for (; p != m_end && *p != *m_p; ++p)
            if (*p == '\\' || *p == '\n')
                return false;
        if (p == m_end)
            return false;
        text = {m_p + 1, p};
        Pass(m_p, p + 1);
        return true;
    }

private:
    static constexpr ssize_t s_maxDigits = 18; // what 64 bits hold in any case

    // Whether a number may end before `p`: letters, digits and points do not run on from it.
    bool EndsNumber(const char* p) const { return p == m_end || !HasProperty(*p, CHAR_IN_NUMBER); }

    void Pass(const char* token, const char* past)
    {
        m_lastToken = token;
        m_p = past;
    }

    const char* m_p;
    const char* m_end;
    const char* m_lastToken = nullptr;
};

} // namespace kelm
