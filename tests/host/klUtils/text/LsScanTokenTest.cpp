#include <klUtils/text/LsScanToken.h>

#include <support/Expect.h>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <utility>
#include <vector>

namespace kelm
{
namespace
{

using Tokens = std::vector<std::pair<EToken, std::string>>;

// Every token of the text up to its end, comments included. `text` begins a line.
Tokens ScanAll(const std::string& text)
{
    Tokens tokens;
    SubString rest = ViewOf(text);
    for (bool atLineStart = true;; atLineStart = false)
    {
        const LSToken token = LsScanToken(rest, atLineStart);
        if (token == TOKEN_END)
            return tokens;
        tokens.emplace_back(token.m_type, ToStdString(token.m_str));
    }
}

auto ScanningOf(const std::string& text)
{
    return [&text] { ScanAll(text); };
}

// What the operators' spellings alone say about a text of operator characters: the longest one that fits, again and
// again. A comment takes the rest of the text.
Tokens LongestMatches(const std::string& text)
{
    Tokens tokens;
    for (std::size_t at = 0; at < text.size();)
    {
        if (text.compare(at, 2, "//") == 0)
        {
            tokens.emplace_back(TOKEN_COMMENT, text.substr(at));
            break;
        }
        std::pair<EToken, std::string> longest(TOKEN_UNDEF, "");
        for (const OperatorSpelling& row : s_operatorSpellings)
        {
            const std::string spelling = row.m_text;
            if (spelling.size() > longest.second.size() && text.compare(at, spelling.size(), spelling) == 0)
                longest = {row.m_token, spelling};
        }
        at += longest.second.size();
        tokens.push_back(std::move(longest));
    }
    return tokens;
}

// A text of operators alone, behind a blank so that a '#' does not begin its line.
void ExpectLongestMatches(const std::string& operators)
{
    const std::string text = " " + operators;
    const std::size_t comment = text.find("/*");
    if (comment == std::string::npos || text.find("//") < comment)
        EXPECT_EQ(ScanAll(text), LongestMatches(operators)) << text;
    else
        EXPECT_TRUE(ThrowsLexScannerException(ScanningOf(text), ViewOf(text), static_cast<ssize_t>(comment),
                                              "Unterminated comment"))
            << text;
}

TEST(Operators, EverySpellingIsOneTokenOfItsKind)
{
    for (const OperatorSpelling& row : s_operatorSpellings)
    {
        EXPECT_EQ(ScanAll(std::string(" ") + row.m_text), (Tokens{{row.m_token, row.m_text}}));
        EXPECT_EQ(ScanAll(std::string("a") + row.m_text + " b"),
                  (Tokens{{TOKEN_IDENTIFIER, "a"}, {row.m_token, row.m_text}, {TOKEN_IDENTIFIER, "b"}}));
    }
}

TEST(Operators, EveryPairAndTripleGluedTogetherScansByLongestMatch)
{
    for (const OperatorSpelling& a : s_operatorSpellings)
        for (const OperatorSpelling& b : s_operatorSpellings)
        {
            const std::string pair = std::string(a.m_text) + b.m_text;
            ExpectLongestMatches(pair);
            for (const OperatorSpelling& c : s_operatorSpellings)
                ExpectLongestMatches(pair + c.m_text);
        }
}

TEST(Operators, OfThreeCharactersAreNeverCut)
{
    EXPECT_EQ(ScanAll("a<<=b"),
              (Tokens{{TOKEN_IDENTIFIER, "a"}, {TOKEN_DBL_LESS_EQUAL, "<<="}, {TOKEN_IDENTIFIER, "b"}}));
    EXPECT_EQ(ScanAll("^^="), (Tokens{{TOKEN_DBL_CARET_EQUAL, "^^="}}));
    EXPECT_EQ(ScanAll("^ ^="), (Tokens{{TOKEN_CARET, "^"}, {TOKEN_CARET_EQUAL, "^="}}));
    EXPECT_EQ(ScanAll("--->"), (Tokens{{TOKEN_DBL_MINUS, "--"}, {TOKEN_MINUS_GREATER, "->"}}));
}

TEST(Bytes, EachBeginsTheKindOfTokenThatItShould)
{
    for (int byte = 0; byte < 256; ++byte)
    {
        const std::string text(1, static_cast<char>(byte));
        char illegal[64];
        std::snprintf(illegal, sizeof illegal, "Illegal character 0x%02X outside quotes", static_cast<unsigned>(byte));
        if (byte >= 128 || (std::iscntrl(byte) && !std::isspace(byte)))
            EXPECT_TRUE(ThrowsLexScannerException(ScanningOf(text), ViewOf(text), 0, illegal)) << byte;
        else if (std::isspace(byte))
            EXPECT_EQ(ScanAll(text), Tokens()) << byte;
        else if (std::isalpha(byte) || byte == '_')
            EXPECT_EQ(ScanAll(text), (Tokens{{TOKEN_IDENTIFIER, text}}));
        else if (std::isdigit(byte))
            EXPECT_EQ(ScanAll(text), (Tokens{{TOKEN_INTEGER, text}}));
        else if (byte == '\'' || byte == '"')
            EXPECT_TRUE(ThrowsLexScannerException(ScanningOf(text), ViewOf(text), 0, "Unterminated string literal"));
        else if (byte == '#')
            EXPECT_EQ(ScanAll(text), (Tokens{{TOKEN_PREPROC_COMMENT, "#"}}));
        else
            ExpectLongestMatches(text);
    }
}

struct ScanRow
{
    std::string m_text;
    Tokens m_tokens;
};

void ExpectScans(const std::vector<ScanRow>& rows)
{
    for (const ScanRow& row : rows)
        EXPECT_EQ(ScanAll(row.m_text), row.m_tokens) << row.m_text;
}

TEST(Identifiers, AreLettersDigitsAndUnderscores)
{
    ExpectScans({{"a", {{TOKEN_IDENTIFIER, "a"}}},
                 {"_", {{TOKEN_IDENTIFIER, "_"}}},
                 {"__a9_Z", {{TOKEN_IDENTIFIER, "__a9_Z"}}},
                 {"true", {{TOKEN_IDENTIFIER, "true"}}},
                 {"sin", {{TOKEN_IDENTIFIER, "sin"}}},
                 {"x0x1", {{TOKEN_IDENTIFIER, "x0x1"}}},
                 {"e5", {{TOKEN_IDENTIFIER, "e5"}}},
                 {"a.b", {{TOKEN_IDENTIFIER, "a"}, {TOKEN_DOT, "."}, {TOKEN_IDENTIFIER, "b"}}},
                 {"a'b'", {{TOKEN_IDENTIFIER, "a"}, {TOKEN_SINGLE_QUOTED_STRING, "'b'"}}},
                 {std::string(5000, 'q'), {{TOKEN_IDENTIFIER, std::string(5000, 'q')}}}});
}

TEST(Numbers, AreDecimalOrHexadecimalIntegersOrFloats)
{
    ExpectScans({{"0", {{TOKEN_INTEGER, "0"}}},
                 {"007", {{TOKEN_INTEGER, "007"}}},
                 {"99999999999999999999", {{TOKEN_INTEGER, "99999999999999999999"}}},
                 {"0x0", {{TOKEN_HEX_INTEGER, "0x0"}}},
                 {"0XaF09", {{TOKEN_HEX_INTEGER, "0XaF09"}}},
                 {"0x1e5", {{TOKEN_HEX_INTEGER, "0x1e5"}}},
                 {"0x1e+5", {{TOKEN_HEX_INTEGER, "0x1e"}, {TOKEN_PLUS, "+"}, {TOKEN_INTEGER, "5"}}},
                 {"1.5", {{TOKEN_FLOAT, "1.5"}}},
                 {"1.", {{TOKEN_FLOAT, "1."}}},
                 {".5", {{TOKEN_FLOAT, ".5"}}},
                 {"1e9", {{TOKEN_FLOAT, "1e9"}}},
                 {"1E9", {{TOKEN_FLOAT, "1E9"}}},
                 {"1e+9", {{TOKEN_FLOAT, "1e+9"}}},
                 {"1.e-9", {{TOKEN_FLOAT, "1.e-9"}}},
                 {".5E-09", {{TOKEN_FLOAT, ".5E-09"}}},
                 {"00.50", {{TOKEN_FLOAT, "00.50"}}},
                 {"1.5.2", {{TOKEN_FLOAT, "1.5"}, {TOKEN_FLOAT, ".2"}}},
                 {"1..2", {{TOKEN_FLOAT, "1."}, {TOKEN_FLOAT, ".2"}}},
                 {"..5", {{TOKEN_DOT, "."}, {TOKEN_FLOAT, ".5"}}},
                 {"1e9.", {{TOKEN_FLOAT, "1e9"}, {TOKEN_DOT, "."}}}});
}

TEST(Numbers, NeverHoldTheirSign)
{
    ExpectScans({{"-1", {{TOKEN_MINUS, "-"}, {TOKEN_INTEGER, "1"}}},
                 {"+.5", {{TOKEN_PLUS, "+"}, {TOKEN_FLOAT, ".5"}}},
                 {"--0x1", {{TOKEN_DBL_MINUS, "--"}, {TOKEN_HEX_INTEGER, "0x1"}}},
                 {"1-2", {{TOKEN_INTEGER, "1"}, {TOKEN_MINUS, "-"}, {TOKEN_INTEGER, "2"}}}});
}

TEST(QuotedLiterals, OfEitherKindAreOneToken)
{
    ExpectScans({{"''", {{TOKEN_SINGLE_QUOTED_STRING, "''"}}},
                 {"\"\"", {{TOKEN_DOUBLE_QUOTED_STRING, "\"\""}}},
                 {"'a\"b'", {{TOKEN_SINGLE_QUOTED_STRING, "'a\"b'"}}},
                 {"\"a'b\"", {{TOKEN_DOUBLE_QUOTED_STRING, "\"a'b\""}}},
                 {R"('\'')", {{TOKEN_SINGLE_QUOTED_STRING, R"('\'')"}}},
                 {R"("\"")", {{TOKEN_DOUBLE_QUOTED_STRING, R"("\"")"}}},
                 {R"('\\')", {{TOKEN_SINGLE_QUOTED_STRING, R"('\\')"}}},
                 {R"('\q')", {{TOKEN_SINGLE_QUOTED_STRING, R"('\q')"}}}, // wrong only where its value is asked for
                 {"'// /* #'", {{TOKEN_SINGLE_QUOTED_STRING, "'// /* #'"}}},
                 {"'h\xC3\xA9\xFF\t\r'", {{TOKEN_SINGLE_QUOTED_STRING, "'h\xC3\xA9\xFF\t\r'"}}},
                 {std::string("'\0'", 3), {{TOKEN_SINGLE_QUOTED_STRING, std::string("'\0'", 3)}}},
                 {"'a''b'", {{TOKEN_SINGLE_QUOTED_STRING, "'a'"}, {TOKEN_SINGLE_QUOTED_STRING, "'b'"}}}});
}

TEST(WhiteSpace, SeparatesTokensAndIsOtherwiseNothing)
{
    ExpectScans({{"", {}},
                 {" \t\n\v\f\r ", {}},
                 {" a \t\n\v\f\r b ", {{TOKEN_IDENTIFIER, "a"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"< <=", {{TOKEN_LESS, "<"}, {TOKEN_LESS_EQUAL, "<="}}}});
}

TEST(Comments, AreTokensHere)
{
    ExpectScans({{"//", {{TOKEN_COMMENT, "//"}}},
                 {"// a\nb", {{TOKEN_COMMENT, "// a"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"// a \\\nb", {{TOKEN_COMMENT, "// a \\"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"//\r\nb", {{TOKEN_COMMENT, "//\r"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"// /*\nb", {{TOKEN_COMMENT, "// /*"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"/**/", {{TOKEN_COMMENT, "/**/"}}},
                 {"/* \n' */b", {{TOKEN_COMMENT, "/* \n' */"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"/***/", {{TOKEN_COMMENT, "/***/"}}},
                 {"/* // */b", {{TOKEN_COMMENT, "/* // */"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"/* /* */ */", {{TOKEN_COMMENT, "/* /* */"}, {TOKEN_ASTERISK, "*"}, {TOKEN_FORWARD_SLASH, "/"}}},
                 {"a//\xFF\n", {{TOKEN_IDENTIFIER, "a"}, {TOKEN_COMMENT, "//\xFF"}}},
                 {"1/2", {{TOKEN_INTEGER, "1"}, {TOKEN_FORWARD_SLASH, "/"}, {TOKEN_INTEGER, "2"}}}});
}

TEST(Hash, BeginsACommentOnlyAsTheFirstCharacterOfALine)
{
    ExpectScans({{"# a", {{TOKEN_PREPROC_COMMENT, "# a"}}},
                 {"#a\n#b\nc", {{TOKEN_PREPROC_COMMENT, "#a"}, {TOKEN_PREPROC_COMMENT, "#b"}, {TOKEN_IDENTIFIER, "c"}}},
                 {"\n\n#b", {{TOKEN_PREPROC_COMMENT, "#b"}}},
                 {"#'\nc", {{TOKEN_PREPROC_COMMENT, "#'"}, {TOKEN_IDENTIFIER, "c"}}},
                 {" #b", {{TOKEN_HASH, "#"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"a#b", {{TOKEN_IDENTIFIER, "a"}, {TOKEN_HASH, "#"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"a\n #b", {{TOKEN_IDENTIFIER, "a"}, {TOKEN_HASH, "#"}, {TOKEN_IDENTIFIER, "b"}}},
                 {"\r#", {{TOKEN_HASH, "#"}}},
                 {"/*\n*/#", {{TOKEN_COMMENT, "/*\n*/"}, {TOKEN_HASH, "#"}}},
                 {"//\n#", {{TOKEN_COMMENT, "//"}, {TOKEN_PREPROC_COMMENT, "#"}}},
                 {" ##", {{TOKEN_HASH, "#"}, {TOKEN_HASH, "#"}}}});
}

TEST(Hash, IsAnOperatorWhereTheCallerSaysThatNoLineBegins)
{
    SubString text("#a");
    EXPECT_EQ(LsScanToken(text, false).m_type, TOKEN_HASH);
    EXPECT_EQ(text, SubString("a"));
}

struct ErrorRow
{
    std::string m_text;
    ssize_t m_offset;
    std::string m_message;
};

TEST(ScanningErrors, SayWhatIsWrongAtItsFirstCharacter)
{
    const std::string longNumber = std::string(100, '1') + "x";
    const ErrorRow rows[] = {
        {"12abc", 0, "Malformed number 12abc"},
        {"a = 12abc + 1", 4, "Malformed number 12abc"},
        {"0x", 0, "Malformed number 0x"},
        {"0xg", 0, "Malformed number 0xg"},
        {"0x+1", 0, "Malformed number 0x"},
        {"0x1p3", 0, "Malformed number 0x1p3"},
        {"1e", 0, "Malformed number 1e"},
        {"1e+", 0, "Malformed number 1e"},
        {"1e5x", 0, "Malformed number 1e5x"},
        {"1.5f", 0, "Malformed number 1.5f"},
        {"1.x", 0, "Malformed number 1.x"},
        {".5_", 0, "Malformed number .5_"},
        {"1_000.5", 0, "Malformed number 1_000.5"},
        {longNumber, 0, "Malformed number " + std::string(80, '1') + "..."},
        {"'", 0, "Unterminated string literal"},
        {"x 'ab", 2, "Unterminated string literal"},
        {"x 'ab\"", 2, "Unterminated string literal"},
        {"\"ab\n\"", 0, "Unterminated string literal"},
        {"'ab\\", 0, "Unterminated string literal"},
        {"'ab\\'", 0, "Unterminated string literal"},
        {"'ab\\\n'", 0, "Unterminated string literal"},
        {"/*", 0, "Unterminated comment"},
        {"/*/", 0, "Unterminated comment"},
        {"a /* b * /", 2, "Unterminated comment"},
        {"a\x01", 1, "Illegal character 0x01 outside quotes"},
        {std::string("\0", 1), 0, "Illegal character 0x00 outside quotes"},
        {"na\xC3\xAFve", 2, "Illegal character 0xC3 outside quotes"},
        {"12\xC3\xA9", 2, "Illegal character 0xC3 outside quotes"},
        {"\x7F", 0, "Illegal character 0x7F outside quotes"},
    };
    for (const ErrorRow& row : rows)
        EXPECT_TRUE(ThrowsLexScannerException(ScanningOf(row.m_text), ViewOf(row.m_text), row.m_offset, row.m_message))
            << row.m_text;
}

TEST(LsScanToken, AdvancesPastTheTokenAndTheWhiteSpaceBeforeIt)
{
    const SubString whole(" ab  cd ");
    SubString rest = whole;
    const LSToken token = LsScanToken(rest, false);
    EXPECT_EQ(token.m_str.m_p1, whole.m_p1 + 1);
    EXPECT_EQ(token.m_str.m_p2, whole.m_p1 + 3);
    EXPECT_EQ(rest.m_p1, whole.m_p1 + 3);
    EXPECT_EQ(rest.m_p2, whole.m_p2);
}

TEST(LsScanToken, AtTheEndGivesTheEndHoweverOftenItIsAsked)
{
    const SubString whole("a  ");
    SubString rest = whole;
    LsScanToken(rest, false);
    for (int i = 0; i < 3; ++i)
    {
        const LSToken token = LsScanToken(rest, false);
        EXPECT_EQ(token.m_type, TOKEN_END);
        EXPECT_EQ(token.m_str.m_p1, whole.m_p2);
        EXPECT_TRUE(token.m_str.empty());
        EXPECT_EQ(rest.m_p1, whole.m_p2);
    }
    SubString nothing;
    EXPECT_EQ(LsScanToken(nothing, true).m_type, TOKEN_END);
}

TEST(LsScanToken, LeavesTheTextWhereItWasWhenItFails)
{
    const SubString whole("  'ab");
    SubString rest = whole;
    EXPECT_TRUE(ThrowsLexScannerException([&] { LsScanToken(rest, false); }, whole, 2, "Unterminated string literal"));
    EXPECT_EQ(rest.m_p1, whole.m_p1);
}

TEST(LsScanToken, ReadsNothingBehindTheEndOfTheText)
{
    // Each text is cut out of a longer one that would go on with the token.
    const std::pair<std::string, EToken> rows[] = {
        {"ab", TOKEN_IDENTIFIER}, {"12", TOKEN_INTEGER}, {"0x1", TOKEN_HEX_INTEGER}, {"<", TOKEN_LESS},
        {"<<", TOKEN_DBL_LESS},   {".", TOKEN_DOT},      {"/", TOKEN_FORWARD_SLASH}, {"1.", TOKEN_FLOAT}};
    for (const auto& [text, kind] : rows)
        for (const char* more : {"1", "=", "<=", "/", "*", ".5", "e9", "x"})
        {
            const std::string longer = text + more;
            SubString rest(longer.data(), longer.data() + text.size());
            const LSToken token = LsScanToken(rest, false);
            EXPECT_EQ(token.m_type, kind) << longer;
            EXPECT_TRUE(rest.empty()) << longer;
        }
}

TEST(GetLineNumber, CountsLineFeedsFromOne)
{
    const SubString text("ab\n\ncd\r\ne");
    const struct
    {
        ssize_t m_offset;
        int64 m_line;
    } rows[] = {{0, 1}, {1, 1}, {2, 1}, {3, 2}, {4, 3}, {5, 3}, {7, 3}, {8, 4}, {9, 4}};
    for (const auto& row : rows)
        EXPECT_EQ(GetLineNumber(text, text.m_p1 + row.m_offset), row.m_line) << row.m_offset;
}

// Each length and each offset in memory, beyond what is counted in one go; some texts are nothing but line feeds.
TEST(GetLineNumber, CountsInTextsOfAnyLength)
{
    std::string text(8'300, '\n');
    for (const std::size_t step : {1U, 2U, 3U, 7U, 50U})
    {
        for (std::size_t i = 0; i < text.size(); ++i)
            text[i] = i % step == 0 ? '\n' : static_cast<char>(i);
        for (std::size_t size = 0; size < 200; ++size)
            for (const std::size_t length : {size, 4'000 + size, 8'000 + size})
            {
                const SubString part(text.data() + size % 16, text.data() + length + 16);
                const auto expected = 1 + std::count(part.m_p1, part.m_p2, '\n');
                ASSERT_EQ(GetLineNumber(part, part.m_p2), expected) << step << " " << length;
            }
    }
}

TEST(GetLineNumber, TakesAPositionOutsideTheTextForItsNearestEnd)
{
    const SubString whole("\n\na\nb\n\n");
    const SubString middle(whole.m_p1 + 2, whole.m_p1 + 5);
    EXPECT_EQ(GetLineNumber(middle, whole.m_p1), 1);
    EXPECT_EQ(GetLineNumber(middle, whole.m_p2), 2);
    EXPECT_EQ(GetLineNumber(SubString(), nullptr), 1);
}

// Scans to the end or to the first error, which must lie inside the text. Each token lies behind the one before it, and
// its own text scans to the same token again.
void CheckScan(const std::string& text)
{
    SubString rest = ViewOf(text);
    const char* last = rest.m_p1;
    try
    {
        for (bool atLineStart = true;; atLineStart = false)
        {
            const LSToken token = LsScanToken(rest, atLineStart);
            RC_ASSERT(last <= token.m_str.m_p1);
            RC_ASSERT(token.m_str.m_p2 == rest.m_p1);
            last = rest.m_p1;
            if (token == TOKEN_END)
                break;
            RC_ASSERT(!token.m_str.empty());
            SubString again = token.m_str;
            RC_ASSERT(LsScanToken(again, token == TOKEN_PREPROC_COMMENT) == token);
            RC_ASSERT(again.empty());
        }
        RC_ASSERT(rest.empty());
    }
    catch (const LexScannerException& e)
    {
        RC_ASSERT(last <= e.m_pos);
        RC_ASSERT(e.m_pos < rest.m_p2);
        RC_ASSERT(!e.m_description.empty());
    }
}

RC_GTEST_PROP(LsScanToken, EndsOrFailsInsideTheTextOnAnyBytes, (const std::string& text))
{
    CheckScan(text);
}

RC_GTEST_PROP(LsScanToken, EndsOrFailsInsideTheTextOnAnyTokens, ())
{
    const auto pieces = *rc::gen::container<std::vector<std::string>>(
        rc::gen::elementOf(std::vector<std::string>{"a",        "_9",
                                                    "1",        "0",
                                                    "0x",       "0xfe",
                                                    ".",        "e",
                                                    "e+",       "1e9",
                                                    "'",        "\"",
                                                    "\\",       "'a\\n'",
                                                    "\"\"",     "//",
                                                    "/*",       "*/",
                                                    "#",        "\n",
                                                    " ",        "<",
                                                    ">",        "=",
                                                    "&",        "^",
                                                    "-",        "$",
                                                    ":",        "?",
                                                    "(",        "]",
                                                    "\xC3\xA9", std::string("\0", 1)}));
    std::string text;
    for (const std::string& piece : pieces)
        text += piece;
    CheckScan(text);
}

} // namespace
} // namespace kelm
