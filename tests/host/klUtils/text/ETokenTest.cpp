#include <klUtils/text/EToken.h>

#include <gtest/gtest.h>

#include <iterator>

namespace kelm
{
namespace
{

struct Row
{
    EToken m_token;
    int m_value;
    const char* m_text;
};

constexpr Row s_operators[] = {
    {TOKEN_LESS, 10009, "<"},
    {TOKEN_GREATER, 10010, ">"},
    {TOKEN_AMPERSAND, 10011, "&"},
    {TOKEN_VLINE, 10012, "|"},
    {TOKEN_CARET, 10013, "^"},
    {TOKEN_LESS_EQUAL, 10014, "<="},
    {TOKEN_GREATER_EQUAL, 10015, ">="},
    {TOKEN_AMPERSAND_EQUAL, 10016, "&="},
    {TOKEN_VLINE_EQUAL, 10017, "|="},
    {TOKEN_CARET_EQUAL, 10018, "^="},
    {TOKEN_DBL_LESS, 10019, "<<"},
    {TOKEN_DBL_GREATER, 10020, ">>"},
    {TOKEN_DBL_AMPERSAND, 10021, "&&"},
    {TOKEN_DBL_VLINE, 10022, "||"},
    {TOKEN_DBL_CARET, 10023, "^^"},
    {TOKEN_DBL_LESS_EQUAL, 10024, "<<="},
    {TOKEN_DBL_GREATER_EQUAL, 10025, ">>="},
    {TOKEN_DBL_AMPERSAND_EQUAL, 10026, "&&="},
    {TOKEN_DBL_VLINE_EQUAL, 10027, "||="},
    {TOKEN_DBL_CARET_EQUAL, 10028, "^^="},
    {TOKEN_PLUS, 10029, "+"},
    {TOKEN_MINUS, 10030, "-"},
    {TOKEN_ASTERISK, 10031, "*"},
    {TOKEN_FORWARD_SLASH, 10032, "/"},
    {TOKEN_PERCENT, 10033, "%"},
    {TOKEN_EXCLAM, 10034, "!"},
    {TOKEN_EQUAL, 10035, "="},
    {TOKEN_QUESTION, 10036, "?"},
    {TOKEN_DBL_PLUS, 10037, "++"},
    {TOKEN_DBL_MINUS, 10038, "--"},
    {TOKEN_PLUS_EQUAL, 10039, "+="},
    {TOKEN_MINUS_EQUAL, 10040, "-="},
    {TOKEN_ASTERISK_EQUAL, 10041, "*="},
    {TOKEN_SLASH_EQUAL, 10042, "/="},
    {TOKEN_PERCENT_EQUAL, 10043, "%="},
    {TOKEN_EXCLAM_EQUAL, 10044, "!="},
    {TOKEN_DBL_EQUAL, 10045, "=="},
    {TOKEN_QUESTION_EQUAL, 10046, "?="},
    {TOKEN_MINUS_GREATER, 10047, "->"},
    {TOKEN_COLON, 10048, ":"},
    {TOKEN_COLON_COLON, 10049, "::"},
    {TOKEN_DOLLAR, 10050, "$"},
    {TOKEN_DOLLAR_DOLLAR, 10051, "$$"},
    {TOKEN_DOT, 10052, "."},
    {TOKEN_COMMA, 10053, ","},
    {TOKEN_SEMICOLON, 10054, ";"},
    {TOKEN_LEFT_PAREN, 10055, "("},
    {TOKEN_RIGHT_PAREN, 10056, ")"},
    {TOKEN_LEFT_CURLY, 10057, "{"},
    {TOKEN_RIGHT_CURLY, 10058, "}"},
    {TOKEN_LEFT_SQUARE, 10059, "["},
    {TOKEN_RIGHT_SQUARE, 10060, "]"},
    {TOKEN_TILDE, 10061, "~"},
    {TOKEN_AT, 10062, "@"},
    {TOKEN_BACK_SLASH, 10063, "\\"},
    {TOKEN_BACK_QUOTE, 10064, "`"},
    {TOKEN_HASH, 10065, "#"},
};

TEST(EToken, KindsWithoutAFixedTextHaveThePublishedValues)
{
    EXPECT_EQ(int(TOKEN_UNDEF), -1);
    EXPECT_EQ(int(TOKEN_END), 10000);
    EXPECT_EQ(int(TOKEN_COMMENT), 10001);
    EXPECT_EQ(int(TOKEN_PREPROC_COMMENT), 10002);
    EXPECT_EQ(int(TOKEN_INTEGER), 10003);
    EXPECT_EQ(int(TOKEN_HEX_INTEGER), 10004);
    EXPECT_EQ(int(TOKEN_FLOAT), 10005);
    EXPECT_EQ(int(TOKEN_SINGLE_QUOTED_STRING), 10006);
    EXPECT_EQ(int(TOKEN_DOUBLE_QUOTED_STRING), 10007);
    EXPECT_EQ(int(TOKEN_IDENTIFIER), 10008);
    EXPECT_EQ(sizeof(EToken), 4U);
}

TEST(EToken, OperatorsHaveThePublishedValuesAndTexts)
{
    ASSERT_EQ(std::size(s_operators), std::size(s_operatorSpellings));
    for (std::size_t i = 0; i < std::size(s_operators); ++i)
    {
        EXPECT_EQ(int(s_operators[i].m_token), s_operators[i].m_value) << s_operators[i].m_text;
        EXPECT_EQ(s_operators[i].m_token, s_operatorSpellings[i].m_token) << s_operators[i].m_text;
        EXPECT_STREQ(s_operators[i].m_text, s_operatorSpellings[i].m_text);
    }
}

} // namespace
} // namespace kelm
