#pragma once

// What each byte may be in a text: one table for all scanning, indexed by the unsigned byte and free of the locale.

#include <klUtils/text/EToken.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/types.h>

#include <array>

namespace kelm::text
{

// What a token can begin with.
enum class Start : uint8
{
    Illegal, // control and non-ASCII bytes
    Space,
    Identifier,
    Digit,
    SingleOperator, // an operator that begins no longer one
    Operator,       // an operator that may go on, or, of the slash, a comment
    Dot,            // an operator, or a float such as .5
    Quote,
    Hash, // an operator, or a preprocessor comment
};

enum CharProperty : uint8
{
    CHAR_IDENTIFIER = 1, // letters, digits, '_'
    CHAR_DIGIT = 2,
    CHAR_HEX_DIGIT = 4,
    CHAR_SPACE = 8,
    CHAR_IN_NUMBER = 16,   // what can follow a digit in a number: the identifier characters and the point
    CHAR_IN_OPERATOR = 32, // what can follow the first character of an operator, or a slash that begins a comment
    CHAR_SURE_START = 64,  // what begins a token whatever follows: no number, quoted literal or comment
};

struct CharTable
{
    std::array<Start, 256> m_start{};
    std::array<uint8, 256> m_properties{};

    constexpr CharTable()
    {
        for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'})
            Set(c, Start::Space, CHAR_SPACE);
        for (const OperatorSpelling& row : s_operatorSpellings)
            if (row.m_text[1] == '\0')
                Set(row.m_text[0], Start::SingleOperator, 0);
        for (const OperatorSpelling& row : s_operatorSpellings)
            if (row.m_text[1] != '\0')
                Set(row.m_text[0], Start::Operator, 0);
        Set('.', Start::Dot, CHAR_IN_NUMBER);
        Set('/', Start::Operator, CHAR_IN_OPERATOR);
        Set('*', Start::Operator, CHAR_IN_OPERATOR);
        Set('#', Start::Hash, 0);
        Set('\'', Start::Quote, 0);
        Set('"', Start::Quote, 0);
        for (const OperatorSpelling& row : s_operatorSpellings)
            for (const char* c = row.m_text + 1; *c != '\0'; ++c)
                m_properties[static_cast<unsigned char>(*c)] |= CHAR_IN_OPERATOR;
        for (int c = 0; c < 128; ++c)
            if (IsIdentifierCharacter(static_cast<char>(c)))
                SetWordCharacter(static_cast<char>(c));
        for (std::size_t c = 0; c < m_start.size(); ++c)
            if (c != '/' && (m_start[c] == Start::Identifier || m_start[c] == Start::SingleOperator ||
                             m_start[c] == Start::Operator))
                m_properties[c] |= CHAR_SURE_START;
    }

private:
    constexpr void Set(char c, Start start, int properties)
    {
        m_start[static_cast<unsigned char>(c)] = start;
        m_properties[static_cast<unsigned char>(c)] = static_cast<uint8>(properties);
    }

    constexpr void SetWordCharacter(char c)
    {
        const bool isDigit = '0' <= c && c <= '9';
        const bool isHexLetter = 'a' <= (c | 0x20) && (c | 0x20) <= 'f';
        Set(c, isDigit ? Start::Digit : Start::Identifier,
            CHAR_IDENTIFIER | CHAR_IN_NUMBER | (isDigit ? CHAR_DIGIT : 0) |
                (isDigit || isHexLetter ? CHAR_HEX_DIGIT : 0));
    }
};

inline constexpr CharTable s_charTable;

static_assert(
    []
    {
        for (std::size_t c = 0x21; c < 0x7f; ++c)
            if (s_charTable.m_start[c] == Start::Illegal)
                return false;
        return true;
    }(),
    "every printable ASCII character begins a token");

constexpr Start StartOf(char c)
{
    return s_charTable.m_start[static_cast<unsigned char>(c)];
}
constexpr bool HasProperty(char c, CharProperty property)
{
    return (s_charTable.m_properties[static_cast<unsigned char>(c)] & property) != 0;
}

// The value of a hexadecimal digit.
constexpr uint32 HexDigitValue(char c)
{
    return static_cast<uint32>(HasProperty(c, CHAR_DIGIT) ? c - '0' : (c | 0x20) - 'a' + 10);
}

} // namespace kelm::text
