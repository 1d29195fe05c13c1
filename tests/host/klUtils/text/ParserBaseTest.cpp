#include <klUtils/text/ParserBase.h>

#include <support/ExactText.h>
#include <support/Expect.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace kelm
{
namespace
{

using Tokens = std::vector<std::pair<EToken, std::string>>;

Tokens TokensOf(const std::string& text)
{
    Tokens tokens;
    ParserBase parser;
    for (parser.Init(ViewOf(text)); parser.m_token.m_type != TOKEN_END; parser.ReadNextToken())
        tokens.emplace_back(parser.m_token.m_type, ToStdString(parser.m_token.m_str));
    return tokens;
}

TEST(ParserBase, IsUnboundAtFirst)
{
    const ParserBase parser;
    EXPECT_EQ(parser.GetTokenType(), TOKEN_UNDEF);
    EXPECT_EQ(parser.m_prevToken.m_type, TOKEN_UNDEF);
    EXPECT_TRUE(parser.m_str.empty());
    EXPECT_TRUE(parser.m_stringForToken.empty());
}

TEST(ParserBase, ReadsTheFirstTokenWhenItIsBound)
{
    const SubString text("  first second");
    ParserBase parser;
    parser.Init(text);
    EXPECT_EQ(parser.GetTokenType(), TOKEN_IDENTIFIER);
    EXPECT_EQ(parser.GetTokenString(), "first");
    EXPECT_EQ(parser.GetToken().m_str.m_p1, text.m_p1 + 2);
    EXPECT_EQ(parser.m_prevToken.m_type, TOKEN_UNDEF);
    EXPECT_EQ(parser.m_prevToken.m_str.m_p1, text.m_p1);
    EXPECT_EQ(parser.m_str.m_p1, text.m_p1 + 7);
    EXPECT_EQ(parser.m_str.m_p2, text.m_p2);
}

TEST(ParserBase, OfATextWithoutTokensBeginsAtItsEnd)
{
    for (const char* const text : {"", " \n\t", "// a", "/* a */ ", "#a", "#a\n#b\n"})
    {
        const SubString view(text);
        ParserBase parser;
        parser.Init(view);
        EXPECT_EQ(parser.m_token.m_type, TOKEN_END) << text;
        EXPECT_EQ(parser.m_token.m_str.m_p1, view.m_p2) << text;
        EXPECT_EQ(parser.m_token.m_str.m_p2, view.m_p2) << text;
    }
    ParserBase parser;
    parser.Init(SubString());
    EXPECT_EQ(parser.m_token.m_type, TOKEN_END);
}

// Wherever a text is cut, nobody looks at what is behind it.
TEST(ParserBase, ReadsNoFurtherThanItsText)
{
    const std::string text = "a 1 12 123 1234 12345 123456789 1. 1.5 12.345 0x1F .5 1e5 1e+5 'a\\x41' \"b\\\\\" "
                             "/* c */ // d\n #e\n# f\n + - -> :: << = a_b9 \x01";
    for (std::size_t begin = 0; begin < text.size(); ++begin)
        for (std::size_t size = 0; begin + size <= text.size() && size < 24; ++size)
        {
            const std::string part = text.substr(begin, size);
            const ExactText exact(part);
            const auto read = [](SubString in)
            {
                std::string tokens;
                try
                {
                    ParserBase parser;
                    for (parser.Init(in); parser.m_token.m_type != TOKEN_END; parser.ReadNextToken())
                        tokens += std::to_string(parser.m_token.m_type) + ToStdString(parser.m_token.m_str) + ' ';
                }
                catch (const LexScannerException& e)
                {
                    tokens += ToStdString(e.m_description) + std::to_string(e.m_pos - in.m_p1);
                }
                return tokens;
            };
            ASSERT_EQ(read(exact.View()), read(ViewOf(part))) << part;
        }
}

TEST(ParserBase, KeepsThePreviousToken)
{
    ParserBase parser;
    parser.Init("a<<=b");
    const LSToken first = parser.m_token;
    parser.ReadNextToken();
    EXPECT_EQ(parser.m_token.m_type, TOKEN_DBL_LESS_EQUAL);
    EXPECT_TRUE(parser.m_prevToken == first);
    EXPECT_EQ(parser.m_prevToken.m_str.m_p1, first.m_str.m_p1);
    parser.ReadNextToken();
    EXPECT_TRUE(parser.m_token == "b");
    EXPECT_TRUE(parser.m_prevToken == TOKEN_DBL_LESS_EQUAL);
}

TEST(ParserBase, StaysAtTheEndHoweverOftenItIsAsked)
{
    const SubString text("a ");
    ParserBase parser;
    parser.Init(text);
    for (int i = 0; i < 3; ++i)
    {
        parser.ReadNextToken();
        EXPECT_EQ(parser.m_token.m_type, TOKEN_END);
        EXPECT_EQ(parser.m_token.m_str.m_p1, text.m_p2);
    }
    EXPECT_EQ(parser.m_prevToken.m_type, TOKEN_END);
}

TEST(ParserBase, NeverDeliversAComment)
{
    const Tokens ab{{TOKEN_IDENTIFIER, "a"}, {TOKEN_IDENTIFIER, "b"}};
    for (const char* const text :
         {"a b", "a//x\nb", "a/*x*/b", "//x\na\n//x\nb//x", "/*1*/ /*2*/ a /*3*//*4*/ b /*5*/", "a\n#x\nb",
          "#x\na b\n#y", "#x\n//y\n/*z*/a/*\n\n*/b", "a // x /* \n b", "a /* // */ b", "a\n#include \"'\nb"})
        EXPECT_EQ(TokensOf(text), ab) << text;
}

TEST(ParserBase, TakesAHashForACommentOnlyAsTheFirstCharacterOfALine)
{
    const Tokens hash{{TOKEN_IDENTIFIER, "a"}, {TOKEN_HASH, "#"}};
    for (const char* const text : {"a#", "a #", "a\n #", "a/*\n*/#", "a\n/**/#"})
        EXPECT_EQ(TokensOf(text), hash) << text;
    EXPECT_EQ(TokensOf(" #"), (Tokens{{TOKEN_HASH, "#"}}));
    EXPECT_EQ(TokensOf("/**/#"), (Tokens{{TOKEN_HASH, "#"}}));
    EXPECT_EQ(TokensOf("//\n#\na"), (Tokens{{TOKEN_IDENTIFIER, "a"}}));
}

TEST(ParserBase, FailsToBindToATextWhoseFirstTokenCannotBeScanned)
{
    const SubString text(" /*x*/ 'abc");
    ParserBase parser;
    EXPECT_TRUE(ThrowsLexScannerException([&] { parser.Init(text); }, text, 7, "Unterminated string literal"));
}

TEST(ParserBase, KeepsItsCurrentTokenWhenTheNextCannotBeScanned)
{
    const SubString text("a /*x*/ \x01");
    ParserBase parser;
    parser.Init(text);
    EXPECT_TRUE(
        ThrowsLexScannerException([&] { parser.ReadNextToken(); }, text, 8, "Illegal character 0x01 outside quotes"));
    EXPECT_TRUE(parser.m_token == "a");
}

TEST(ParserBase, KeepsItsCurrentTokenWhereANumberIsNone)
{
    const struct
    {
        const char* m_number;
        const char* m_message;
    } rows[] = {
        {"0x1p3", "Malformed number 0x1p3"}, {"0x+1", "Malformed number 0x"},
        {"12abc", "Malformed number 12abc"}, {"12345abc", "Malformed number 12345abc"},
        {"1e5x", "Malformed number 1e5x"},
    };
    for (const auto& row : rows)
    {
        const std::string written = std::string("a ") + row.m_number;
        const SubString text(written.data(), written.data() + written.size());
        ParserBase parser;
        parser.Init(text);
        EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ReadNextToken(); }, text, 2, row.m_message)) << written;
        EXPECT_TRUE(parser.m_token == "a") << written;
    }
}

TEST(ParserBase, MayBeBoundAgain)
{
    ParserBase parser;
    parser.Init("a b");
    parser.ReadNextToken();
    parser.Init("c");
    EXPECT_TRUE(parser.m_token == "c");
    EXPECT_EQ(parser.m_prevToken.m_type, TOKEN_UNDEF);
}

TEST(ParseGivenToken, ConsumesTheTokenOfTheKind)
{
    ParserBase parser;
    parser.Init("(a");
    parser.ParseGivenToken(TOKEN_LEFT_PAREN, "(");
    EXPECT_TRUE(parser.m_token == "a");
    EXPECT_TRUE(parser.m_prevToken == TOKEN_LEFT_PAREN);
}

TEST(ParseGivenToken, RefusesAnyOtherAndConsumesNothing)
{
    const struct
    {
        const char* m_text;
        ssize_t m_offset;
        const char* m_message;
    } rows[] = {{"  ]", 2, "Expected ) when read ]"},
                {"", 0, "Expected ) when read end of text"},
                {"  ", 2, "Expected ) when read end of text"},
                {"'text'", 0, "Expected ) when read 'text'"},
                {"// a\n  ->b", 7, "Expected ) when read ->"}};
    for (const auto& row : rows)
    {
        ParserBase parser;
        parser.Init(row.m_text);
        EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ParseGivenToken(TOKEN_RIGHT_PAREN, ")"); }, row.m_text,
                                              row.m_offset, row.m_message))
            << row.m_text;
        EXPECT_EQ(parser.m_token.m_str.m_p1, row.m_text + row.m_offset);
    }
}

TEST(ThrowExpectedException, NamesWhatIsExpectedAndTheCurrentToken)
{
    const SubString text("a = b");
    ParserBase parser;
    parser.Init(text);
    parser.ReadNextToken();
    EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ThrowExpectedException("class name"); }, text, 2,
                                          "Expected class name when read ="));
}

TEST(ThrowExpectedException, CutsALongTokenButNotItsPosition)
{
    const std::string text = "  " + std::string(10000, 'a');
    ParserBase parser;
    parser.Init(ViewOf(text));
    EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ThrowExpectedException("x"); }, ViewOf(text), 2,
                                          "Expected x when read " + std::string(80, 'a') + "..."));
}

TEST(ThrowAtToken, StandsAtTheCurrentToken)
{
    const SubString text("a b");
    ParserBase parser;
    parser.Init(text);
    parser.ReadNextToken();
    EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ThrowAtToken("message"); }, text, 2, "message"));
}

TEST(ParseIdentifier, TakesTheTextOfAnIdentifier)
{
    ParserBase parser;
    parser.Init("an_identifier_that_is_too_long_to_lie_inside .");
    EXPECT_EQ(parser.ParseIdentifier(), "an_identifier_that_is_too_long_to_lie_inside");
    EXPECT_EQ(parser.m_token.m_type, TOKEN_DOT);
}

TEST(ParseIdentifier, RefusesAnyOtherToken)
{
    for (const char* const token : {"1", "0x1", "1.5", "'a'", "\"a\"", ".", "end of text"})
    {
        const std::string text = std::string(" ") + (token == std::string("end of text") ? "" : token);
        ParserBase parser;
        parser.Init(ViewOf(text));
        EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ParseIdentifier(); }, ViewOf(text), 1,
                                              std::string("Expected identifier when read ") + token));
    }
}

RC_GTEST_PROP(ParserBase, DeliversTheTokensThatAreNoComments, (const std::string& text))
{
    Tokens expected;
    SubString rest = ViewOf(text);
    const char* failure = nullptr;
    try
    {
        for (bool atLineStart = true;; atLineStart = false)
        {
            const LSToken token = LsScanToken(rest, atLineStart);
            if (token == TOKEN_END)
                break;
            if (token != TOKEN_COMMENT && token != TOKEN_PREPROC_COMMENT)
                expected.emplace_back(token.m_type, ToStdString(token.m_str));
        }
    }
    catch (const LexScannerException& e)
    {
        failure = e.m_pos;
    }

    Tokens tokens;
    try
    {
        ParserBase parser;
        for (parser.Init(ViewOf(text)); parser.m_token.m_type != TOKEN_END; parser.ReadNextToken())
            tokens.emplace_back(parser.m_token.m_type, ToStdString(parser.m_token.m_str));
        RC_ASSERT(failure == nullptr);
    }
    catch (const LexScannerException& e)
    {
        RC_ASSERT(failure == e.m_pos);
    }
    RC_ASSERT(tokens == expected);
}

} // namespace
} // namespace kelm
