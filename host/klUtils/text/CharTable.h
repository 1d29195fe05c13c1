#pragma once

// What each byte may be in a text: one table for all scanning, indexed by the unsigned byte and free of the locale.

#include <klUtils/text/EToken.h>
#include <klUtils/types.h>

#include <array>

namespace kelm
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
};

struct CharTable
{
    std::array<Start, 256> m_start{};
    std::array<uint8, 256> m_properties{};

    constexpr CharTable()
    {
        for (const char c : {' ', '\t', '\n', '\v', '\f', '\r'})
            Set(c, c, Start::Space, CHAR_SPACE);
        for (const OperatorSpelling& row : s_operatorSpellings)
            if (row.m_text[1] == '\0')
                Set(row.m_text[0], row.m_text[0], Start::SingleOperator, 0);
        for (const OperatorSpelling& row : s_operatorSpellings)
            if (row.m_text[1] != '\0')
                Set(row.m_text[0], row.m_text[0], Start::Operator, 0);
        Set('.', '.', Start::Dot, CHAR_IN_NUMBER);
        Set('/', '/', Start::Operator, CHAR_IN_OPERATOR);
        Set('*', '*', Start::Operator, CHAR_IN_OPERATOR);
        Set('#', '#', Start::Hash, 0);
        Set('\'', '\'', Start::Quote, 0);
        Set('"', '"', Start::Quote, 0);
        for (const OperatorSpelling& row : s_operatorSpellings)
            for (const char* c = row.m_text + 1; *c != '\0'; ++c)
                m_properties[static_cast<unsigned char>(*c)] |= CHAR_IN_OPERATOR;
        Set('a', 'z', Start::Identifier, CHAR_WORD);
        Set('A', 'Z', Start::Identifier, CHAR_WORD);
        Set('_', '_', Start::Identifier, CHAR_WORD);
        Set('0', '9', Start::Digit, CHAR_WORD | CHAR_DIGIT | CHAR_HEX_DIGIT);
        Set('a', 'f', Start::Identifier, CHAR_WORD | CHAR_HEX_DIGIT);
        Set('A', 'F', Start::Identifier, CHAR_WORD | CHAR_HEX_DIGIT);
    }

private:
    static constexpr int CHAR_WORD = CHAR_IDENTIFIER | CHAR_IN_NUMBER;

    constexpr void Set(char first, char last, Start start, int properties)
    {
        for (int c = first; c <= last; ++c)
        {
            m_start[static_cast<std::size_t>(c)] = start;
            m_properties[static_cast<std::size_t>(c)] = static_cast<uint8>(properties);
        }
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
inline uint32 HexDigitValue(char c)
{
    return static_cast<uint32>(HasProperty(c, CHAR_DIGIT) ? c - '0' : (c | 0x20) - 'a' + 10);
}

} // namespace kelm
