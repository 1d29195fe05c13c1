// What the cursor that expects tokens accepts, where it stands afterwards, and that it reads nothing beyond its text.

#include <klUtils/text/private/ExpectingCursor.h>
#include <support/ExactText.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace kelm::text
{
namespace
{

// The kind and text of the current token, and the rest of the text behind it.
std::string Told(const ExpectingCursor& cursor)
{
    const SubString text = cursor.GetText();
    return std::to_string(cursor.GetKind()) + " " + ToStdString(text) + "|" + ToStdString({text.m_p2, cursor.GetEnd()});
}

std::string Told(EToken kind, const std::string& text, const std::string& rest)
{
    return std::to_string(kind) + " " + text + "|" + rest;
}

TEST(ExpectingCursor, GoesToAnOperatorOrWhateverElseComes)
{
    const struct
    {
        const char* m_text;
        EToken m_kind; // TOKEN_UNDEF for none
        const char* m_token;
        const char* m_rest;
        bool m_isExpected; // or the end, and found at once
    } rows[] = {
        {".", TOKEN_DOT, ".", "", true},
        {".x", TOKEN_DOT, ".", "x", true},
        {" . x", TOKEN_DOT, ".", " x", true},
        {"  \t\n\v\f\r.x", TOKEN_DOT, ".", "x", true},
        {"..", TOKEN_DOT, ".", ".", true},
        {"", TOKEN_END, "", "", true},
        {" ", TOKEN_END, "", "", true},
        {" \n\t ", TOKEN_END, "", "", true},
        {".5", TOKEN_FLOAT, ".5", "", false},
        {"  .5x", TOKEN_UNDEF, "", "", false},
        {"[", TOKEN_LEFT_SQUARE, "[", "", false},
        {"x.", TOKEN_IDENTIFIER, "x", ".", false},
        {"/* . */ .x", TOKEN_DOT, ".", "x", true},
        {" /* . */.x", TOKEN_DOT, ".", "x", true},
        {"// .\n .x", TOKEN_DOT, ".", "x", true},
        {"// .\n /* ] */ # .\n # .\n.x", TOKEN_HASH, "#", " .\n # .\n.x", false},
        {"\n# .\n.x", TOKEN_DOT, ".", "x", true},
        {" \n# .", TOKEN_END, "", "", true},
        {"# .\n.x", TOKEN_DOT, ".", "x", false}, // which only a first token may be
        {" # .\n.x", TOKEN_HASH, "#", " .\n.x", false},
        {"/* . */.5", TOKEN_FLOAT, ".5", "", false},
        {"// .", TOKEN_END, "", "", true},
        {" /* . */ ", TOKEN_END, "", "", true},
        {"/* .", TOKEN_UNDEF, "", "", false},
        {" . /", TOKEN_DOT, ".", " /", true},
        {"/", TOKEN_FORWARD_SLASH, "/", "", false},
        {" /.", TOKEN_FORWARD_SLASH, "/", ".", false},
        {"\x01", TOKEN_UNDEF, "", "", false},
        {" \x80", TOKEN_UNDEF, "", "", false},
    };
    for (const auto& row : rows)
    {
        const ExactText text(row.m_text);
        ExpectingCursor expecting(text.View());
        const EToken found = expecting.TryOperatorOrEnd<'.'>();
        EXPECT_EQ(found, row.m_isExpected ? row.m_kind : TOKEN_UNDEF) << row.m_text;

        ExpectingCursor cursor(text.View());
        EXPECT_EQ(cursor.TryNextOperator<'.'>(), row.m_kind != TOKEN_UNDEF) << row.m_text;
        if (row.m_kind == TOKEN_UNDEF)
            continue;
        EXPECT_EQ(Told(cursor), Told(row.m_kind, row.m_token, row.m_rest)) << row.m_text;
        if (row.m_isExpected)
        {
            EXPECT_EQ(Told(expecting), Told(cursor)) << row.m_text;
        }

        ExpectingCursor operatorAlone(text.View());
        EXPECT_EQ(operatorAlone.TryOperator<'.'>(), row.m_isExpected && row.m_kind == TOKEN_DOT) << row.m_text;
    }
}

TEST(ExpectingCursor, GuessesNames)
{
    const struct
    {
        const char* m_text;
        const char* m_name; // the first eight characters of it
        const char* m_rest; // behind them
    } rows[] = {
        {"a", "a", ""},
        {"a.b", "a", ".b"},
        {"name[3]", "name", "[3]"},
        {"name ", "name", " "},
        {" name", "name", ""},
        {"   \n\t name.x", "name", ".x"},
        {"         name", "name", ""},
        {"/* a */name", "name", ""},
        {" // a\n name.x", "name", ".x"},
        {"\n# a\nname", "name", ""},
        {"/* a", "", "/* a"},
        {" seven77", "seven77", ""},
        {" eight888", "eight888", ""},
        {" nine99999", "nine9999", "9"},
        {"seven77", "seven77", ""},
        {"eight888", "eight888", ""},
        {"nine99999", "nine9999", "9"},
        {"_9Zz]", "_9Zz]", ""}, // a guess: no such name is known
        {"", "", ""},
        {"   ", "", ""},
        {".x", "", ".x"},
        {"[", "", "["},
        {"\x01", "", "\x01"},
    };
    for (const auto& row : rows)
    {
        const ExactText text(row.m_text);
        const ExpectingCursor cursor(text.View());
        const ExpectingCursor::GuessedName name = cursor.GuessName();
        const char* const past = name.m_start + name.m_size;
        EXPECT_EQ(ToStdString({name.m_start, past}), row.m_name) << row.m_text;
        EXPECT_EQ(ToStdString({past, text.View().m_p2}), row.m_rest) << row.m_text;
        EXPECT_EQ(name.m_word, WordOfShortText(name.m_start, static_cast<ssize_t>(name.m_size))) << row.m_text;
        EXPECT_EQ(name.MayBeLonger(), std::strlen(row.m_name) == 8) << row.m_text;
    }
}

TEST(ExpectingCursor, ReadsIndicesAtOnce)
{
    const struct
    {
        const char* m_text;
        bool m_isFound;
        int64 m_index = 0;
        const char* m_rest = "";
    } rows[] = {
        {"3]", true, 3},
        {"0]", true, 0},
        {"42].x", true, 42, ".x"},
        {" 3 ] ", true, 3, " "},
        {"\n\t 3\r\n]", true, 3},
        {"123456789]", true, 123456789},
        {"999999999]", true, 999999999},
        {"0000000003]", true, 3},
        {"00000000000000000000000000000000000000000000000042]", true, 42},
        {"00]", true, 0},
        {"-1]", true, -1},
        {"+1]", true, 1},
        {"-0]", true, 0},
        {" - 7 ]", true, -7},
        {"0x1F]", true, 31},
        {"0Xff ]", true, 255},
        {"-0x10]", true, -16},
        {"0x0000000000000000001]", true, 1},
        {"0xFFFFFFF]", true, 0xFFFFFFF},
        {"/* 4 */3]", true, 3},
        {" // 4\n3 // ]\n] ", true, 3, " "},
        {"-/**/12/**/]", true, -12},
        {"\n#\n3\n#]\n]", true, 3},
        // Left to others, be they numbers or none.
        {"2147483647]", false},
        {"10000000000]", false},
        {"0x80000000]", false},
        {"3", false},
        {"3 ", false},
        {"", false},
        {" ", false},
        {"-", false},
        {"- ", false},
        {"]", false},
        {"x]", false},
        {"3x]", false},
        {"3.0]", false},
        {"0.5]", false},
        {"03x]", false},
        {"00x1]", false},
        {"0x]", false},
        {"0x", false},
        {"0", false},
        {"0xg]", false},
        {"0x1g]", false},
        {"1e3]", false},
        {"3)", false},
        {"3 4]", false},
        {"--3]", false},
        {"->3]", false},
        {"3/]", false},
        {"/*3]", false},
        {"3/*]", false},
        {"#\n3]", false},
        {"\x01]", false},
    };
    for (const auto& row : rows)
    {
        const ExactText text(row.m_text);
        ExpectingCursor cursor(text.View());
        int64 index = 77;
        EXPECT_EQ(cursor.TryIntegerAnd<']'>(index), row.m_isFound) << row.m_text;
        EXPECT_EQ(index, row.m_isFound ? row.m_index : 77) << row.m_text;
        const std::string notMoved = std::to_string(TOKEN_UNDEF);
        EXPECT_EQ(row.m_isFound ? Told(cursor) : std::to_string(cursor.GetKind()),
                  row.m_isFound ? Told(TOKEN_RIGHT_SQUARE, "]", row.m_rest) : notMoved)
            << row.m_text;
    }
}

// A parser is left as if it had read the tokens itself.
TEST(ExpectingCursor, GivesAParserWhatItWouldHave)
{
    const ExactText text(".a [ 3 ] \x01");
    ParserBase expected;
    expected.Init(text.View());
    for (int tokens = 0; tokens <= 4; ++tokens)
    {
        ParserBase parser;
        parser.Init(text.View());
        ExpectingCursor cursor(parser);
        for (int i = 0; i < tokens; ++i)
            EXPECT_TRUE(cursor.TryNext());
        cursor.StoreIn(parser);
        EXPECT_EQ(parser.m_token, expected.m_token) << tokens;
        EXPECT_EQ(parser.m_token.m_str.m_p1, expected.m_token.m_str.m_p1) << tokens;
        EXPECT_EQ(parser.m_prevToken.m_str.m_p1, expected.m_prevToken.m_str.m_p1) << tokens;
        EXPECT_EQ(parser.m_prevToken.m_type, expected.m_prevToken.m_type) << tokens;
        EXPECT_EQ(parser.m_str.m_p1, expected.m_str.m_p1) << tokens;
        if (tokens < 4)
            expected.ReadNextToken();
    }
    // Stuck: the current token is the previous one too.
    ParserBase parser;
    parser.Init(text.View());
    ExpectingCursor cursor(parser);
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(cursor.TryNext());
    EXPECT_FALSE(cursor.TryNext());
    EXPECT_EQ(cursor.GetScanFailure().m_message, "Illegal character 0x01 outside quotes");
    cursor.StoreIn(parser);
    EXPECT_EQ(parser.m_token.m_type, TOKEN_RIGHT_SQUARE);
    EXPECT_EQ(parser.m_prevToken.m_str.m_p1, parser.m_token.m_str.m_p1);
}

} // namespace
} // namespace kelm::text
