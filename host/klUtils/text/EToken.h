#pragma once

#include <klUtils/types.h>

namespace kelm
{

// The kind of a token. The values are part of the interface: each is one more than the one before it.
enum EToken : int32
{
    TOKEN_UNDEF = -1,           // no token
    TOKEN_END = 10000,          // the end of the text
    TOKEN_COMMENT,              // a line comment or a block comment
    TOKEN_PREPROC_COMMENT,      // from a '#' in the first column to the end of the line
    TOKEN_INTEGER,              // 42: decimal digits, without a sign
    TOKEN_HEX_INTEGER,          // 0x2a
    TOKEN_FLOAT,                // 1.5, .5, 1., 1e9: a fraction, an exponent or both
    TOKEN_SINGLE_QUOTED_STRING, // 'text'
    TOKEN_DOUBLE_QUOTED_STRING, // "text"
    TOKEN_IDENTIFIER,           // letters, digits and '_', not beginning with a digit
    TOKEN_LESS,
    TOKEN_GREATER,
    TOKEN_AMPERSAND,
    TOKEN_VLINE,
    TOKEN_CARET,
    TOKEN_LESS_EQUAL,
    TOKEN_GREATER_EQUAL,
    TOKEN_AMPERSAND_EQUAL,
    TOKEN_VLINE_EQUAL,
    TOKEN_CARET_EQUAL,
    TOKEN_DBL_LESS,
    TOKEN_DBL_GREATER,
    TOKEN_DBL_AMPERSAND,
    TOKEN_DBL_VLINE,
    TOKEN_DBL_CARET,
    TOKEN_DBL_LESS_EQUAL,
    TOKEN_DBL_GREATER_EQUAL,
    TOKEN_DBL_AMPERSAND_EQUAL,
    TOKEN_DBL_VLINE_EQUAL,
    TOKEN_DBL_CARET_EQUAL,
    TOKEN_PLUS,
    TOKEN_MINUS,
    TOKEN_ASTERISK,
    TOKEN_FORWARD_SLASH,
    TOKEN_PERCENT,
    TOKEN_EXCLAM,
    TOKEN_EQUAL,
    TOKEN_QUESTION,
    TOKEN_DBL_PLUS,
    TOKEN_DBL_MINUS,
    TOKEN_PLUS_EQUAL,
    TOKEN_MINUS_EQUAL,
    TOKEN_ASTERISK_EQUAL,
    TOKEN_SLASH_EQUAL,
    TOKEN_PERCENT_EQUAL,
    TOKEN_EXCLAM_EQUAL,
    TOKEN_DBL_EQUAL,
    TOKEN_QUESTION_EQUAL,
    TOKEN_MINUS_GREATER,
    TOKEN_COLON,
    TOKEN_COLON_COLON,
    TOKEN_DOLLAR,
    TOKEN_DOLLAR_DOLLAR,
    TOKEN_DOT,
    TOKEN_COMMA,
    TOKEN_SEMICOLON,
    TOKEN_LEFT_PAREN,
    TOKEN_RIGHT_PAREN,
    TOKEN_LEFT_CURLY,
    TOKEN_RIGHT_CURLY,
    TOKEN_LEFT_SQUARE,
    TOKEN_RIGHT_SQUARE,
    TOKEN_TILDE,
    TOKEN_AT,
    TOKEN_BACK_SLASH,
    TOKEN_BACK_QUOTE,
    TOKEN_HASH,
};

struct OperatorSpelling
{
    EToken m_token;
    ConstStringZ m_text;
};

// The tokens that always have the same text, in the order of their values.
inline constexpr OperatorSpelling s_operatorSpellings[] = {
    {TOKEN_LESS, "<"},
    {TOKEN_GREATER, ">"},
    {TOKEN_AMPERSAND, "&"},
    {TOKEN_VLINE, "|"},
    {TOKEN_CARET, "^"},
    {TOKEN_LESS_EQUAL, "<="},
    {TOKEN_GREATER_EQUAL, ">="},
    {TOKEN_AMPERSAND_EQUAL, "&="},
    {TOKEN_VLINE_EQUAL, "|="},
    {TOKEN_CARET_EQUAL, "^="},
    {TOKEN_DBL_LESS, "<<"},
    {TOKEN_DBL_GREATER, ">>"},
    {TOKEN_DBL_AMPERSAND, "&&"},
    {TOKEN_DBL_VLINE, "||"},
    {TOKEN_DBL_CARET, "^^"},
    {TOKEN_DBL_LESS_EQUAL, "<<="},
    {TOKEN_DBL_GREATER_EQUAL, ">>="},
    {TOKEN_DBL_AMPERSAND_EQUAL, "&&="},
    {TOKEN_DBL_VLINE_EQUAL, "||="},
    {TOKEN_DBL_CARET_EQUAL, "^^="},
    {TOKEN_PLUS, "+"},
    {TOKEN_MINUS, "-"},
    {TOKEN_ASTERISK, "*"},
    {TOKEN_FORWARD_SLASH, "/"},
    {TOKEN_PERCENT, "%"},
    {TOKEN_EXCLAM, "!"},
    {TOKEN_EQUAL, "="},
    {TOKEN_QUESTION, "?"},
    {TOKEN_DBL_PLUS, "++"},
    {TOKEN_DBL_MINUS, "--"},
    {TOKEN_PLUS_EQUAL, "+="},
    {TOKEN_MINUS_EQUAL, "-="},
    {TOKEN_ASTERISK_EQUAL, "*="},
    {TOKEN_SLASH_EQUAL, "/="},
    {TOKEN_PERCENT_EQUAL, "%="},
    {TOKEN_EXCLAM_EQUAL, "!="},
    {TOKEN_DBL_EQUAL, "=="},
    {TOKEN_QUESTION_EQUAL, "?="},
    {TOKEN_MINUS_GREATER, "->"},
    {TOKEN_COLON, ":"},
    {TOKEN_COLON_COLON, "::"},
    {TOKEN_DOLLAR, "$"},
    {TOKEN_DOLLAR_DOLLAR, "$$"},
    {TOKEN_DOT, "."},
    {TOKEN_COMMA, ","},
    {TOKEN_SEMICOLON, ";"},
    {TOKEN_LEFT_PAREN, "("},
    {TOKEN_RIGHT_PAREN, ")"},
    {TOKEN_LEFT_CURLY, "{"},
    {TOKEN_RIGHT_CURLY, "}"},
    {TOKEN_LEFT_SQUARE, "["},
    {TOKEN_RIGHT_SQUARE, "]"},
    {TOKEN_TILDE, "~"},
    {TOKEN_AT, "@"},
    {TOKEN_BACK_SLASH, "\\"},
    {TOKEN_BACK_QUOTE, "`"},
    {TOKEN_HASH, "#"},
};

inline constexpr int s_numOperators = TOKEN_HASH - TOKEN_LESS + 1;

static_assert(TOKEN_HASH == 10065);
static_assert(
    []
    {
        int expected = TOKEN_LESS;
        for (const OperatorSpelling& row : s_operatorSpellings)
            if (row.m_token != expected++)
                return false;
        return expected == TOKEN_HASH + 1;
    }(),
    "one spelling for each operator, in order");

} // namespace kelm
