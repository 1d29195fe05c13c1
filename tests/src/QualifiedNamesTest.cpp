// Qualified names: splitting them, reading them from a token stream, matching them from the end.

#include <klKelmScript/ParseDataSource.h>
#include <support/Expect.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <iterator>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

using Segments = std::vector<std::string>;

xvector<SubString> ViewsOf(const Segments& segments)
{
    xvector<SubString> views;
    for (const std::string& segment : segments)
        views.push_back(ViewOf(segment));
    return views;
}

Segments TextsOf(const xvector<SubString>& views)
{
    Segments texts;
    for (const SubString view : views)
        texts.push_back(ToStdString(view));
    return texts;
}

bool IsPathSuffixOf(const std::string& path, const std::string& suffix)
{
    return IsPathSuffix(ViewOf(path), ViewOf(suffix));
}

struct TokeniseRow
{
    std::string m_text;
    bool m_isPath;
    Segments m_segments;
    std::string m_rest; // where `text` begins afterwards
};

const TokeniseRow s_tokeniseRows[] = {
    {"a.b::c", true, {"a", "b", "c"}, ""},
    {"a", true, {"a"}, ""},
    {"_a1", true, {"_a1"}, ""},
    {"a.b c", true, {"a", "b"}, "c"},
    {"a b", true, {"a"}, "b"},
    {" a . b\n::\tc ", true, {"a", "b", "c"}, ""},
    {"a {", true, {"a"}, "{"},
    {"a::b<c>", true, {"a", "b"}, "<c>"},
    {"a:b", true, {"a"}, ":b"},
    {"a:::b", false, {"a"}, ":b"},
    {"a->b", true, {"a"}, "->b"},
    {"null", true, {"null"}, ""},
    // An identifier must follow every separator; nothing else starts one.
    {"a.", false, {"a"}, ""},
    {"a::", false, {"a"}, ""},
    {"x:: ", false, {"x"}, ""},
    {"a..b", false, {"a"}, ".b"},
    {"a.::b", false, {"a"}, "::b"},
    {"a. 1", false, {"a"}, "1"},
    {"a::'b'", false, {"a"}, "'b'"},
    {"", false, {}, ""},
    {"  \n", false, {}, ""},
    {" .a", false, {}, ".a"},
    {"::a", false, {}, "::a"},
    {" 7", false, {}, "7"},
    {"\"a\"", false, {}, "\"a\""},
    // A dot before a digit belongs to a number.
    {"a.5", true, {"a"}, ".5"},
    // Comments are tokens here, of another kind.
    {"a /* c */.b", true, {"a"}, "/* c */.b"},
    {"a./* c */b", false, {"a"}, "/* c */b"},
    {"// c\na", false, {}, "// c\na"},
    {"#a", false, {}, "#a"},
    // Characters that form no token are a token of another kind too.
    {"a\x01", true, {"a"}, "\x01"},
    {"a. \x01", false, {"a"}, "\x01"},
    {" \xc3\xa4", false, {}, "\xc3\xa4"},
    {"a.12b", true, {"a"}, ".12b"},
    {"a::12b", false, {"a"}, "12b"},
    {"a 'b", true, {"a"}, "'b"},
    {"a./* b", false, {"a"}, "/* b"},
};

TEST(TokenisePath, SplitsAtDotsAndDoubleColonsAndStopsAtTheFirstOtherToken)
{
    for (const TokeniseRow& row : s_tokeniseRows)
    {
        SubString text = ViewOf(row.m_text);
        xvector<SubString> segments = {SubString("left over")};
        EXPECT_EQ(TokenisePath(text, segments), row.m_isPath) << row.m_text;
        EXPECT_EQ(TextsOf(segments), row.m_segments) << row.m_text;
        EXPECT_EQ(ToStdString(text), row.m_rest) << row.m_text;
        EXPECT_EQ(text.m_p2, ViewOf(row.m_text).m_p2) << row.m_text;
    }
}

TEST(TokenisePath, SegmentsAreViewsIntoTheText)
{
    const std::string text = " one::two";
    SubString view = ViewOf(text);
    xvector<SubString> segments;
    ASSERT_TRUE(TokenisePath(view, segments));
    EXPECT_EQ(segments[0].m_p1, text.data() + 1);
    EXPECT_EQ(segments[1].m_p1, text.data() + 6);
}

struct ParsePathRow
{
    std::string m_text;
    std::string m_path;
    std::string m_rest;
};

TEST(ParsePath, ReturnsTheNameWithDoubleColonsWhicheverSeparatorWasWritten)
{
    const ParsePathRow rows[] = {
        {"kelm.Foo {", "kelm::Foo", "{"},
        {"geom.Point", "geom::Point", ""},
        {"a::b.c::d", "a::b::c::d", ""},
        {"  a /* c */ . // d\n b", "a::b", ""},
        {"null", "null", ""},
        {"a.b c", "a::b", "c"},
        {"a.5", "a", ".5"},
        {"a-1", "a", "-1"},
    };
    for (const ParsePathRow& row : rows)
    {
        ExpressionParser parser;
        parser.Init(ViewOf(row.m_text));
        EXPECT_EQ(ParsePath(parser), row.m_path.c_str()) << row.m_text;
        EXPECT_EQ(ToStdString({parser.m_token.m_str.m_p1, ViewOf(row.m_text).m_p2}), row.m_rest) << row.m_text;
    }
}

TEST(ParsePath, ExpectsAnIdentifierFirstAndAfterEverySeparator)
{
    struct Row
    {
        std::string m_text;
        ssize_t m_offset;
        std::string m_message;
    };
    const Row rows[] = {
        {"", 0, "Expected identifier when read end of text"},
        {"  ", 2, "Expected identifier when read end of text"},
        {"kelm::", 6, "Expected identifier when read end of text"},
        {"a. ", 3, "Expected identifier when read end of text"},
        {"a..b", 2, "Expected identifier when read ."},
        {"a.b::{", 5, "Expected identifier when read {"},
        {"::a", 0, "Expected identifier when read ::"},
        {"5", 0, "Expected identifier when read 5"},
        {"a.'b'", 2, "Expected identifier when read 'b'"},
        {"\x01", 0, "Illegal character 0x01 outside quotes"},
        {"a.b\x7f", 3, "Illegal character 0x7F outside quotes"},
        {"a::7up", 3, "Malformed number 7up"},
    };
    for (const Row& row : rows)
        EXPECT_TRUE(ThrowsLexScannerException(
            [&]
            {
                ExpressionParser parser;
                parser.Init(ViewOf(row.m_text));
                ParsePath(parser);
            },
            ViewOf(row.m_text), row.m_offset, row.m_message))
            << row.m_text;
}

TEST(IsSuffix, ComparesSegmentsFromTheEnd)
{
    struct Row
    {
        Segments m_whole;
        Segments m_suffix;
        bool m_isSuffix;
    };
    const Row rows[] = {
        {{}, {}, true},
        {{"a"}, {}, true},
        {{}, {"a"}, false},
        {{"a", "b", "c"}, {"c"}, true},
        {{"a", "b", "c"}, {"b", "c"}, true},
        {{"a", "b", "c"}, {"a", "b", "c"}, true},
        {{"b", "c"}, {"a", "b", "c"}, false},
        {{"a", "b", "c"}, {"b"}, false},
        {{"a", "b", "c"}, {"a", "c"}, false},
        {{"a", "b", "c"}, {"x", "b", "c"}, false},
        {{"abc"}, {"bc"}, false},
        {{"bc"}, {"abc"}, false},
        {{"a"}, {"A"}, false},
        {{"a", ""}, {""}, true},
    };
    for (const Row& row : rows)
        EXPECT_EQ(IsSuffix(ViewsOf(row.m_whole), ViewsOf(row.m_suffix)), row.m_isSuffix)
            << ::testing::PrintToString(row.m_whole) << ::testing::PrintToString(row.m_suffix);
}

TEST(IsPathSuffix, MatchesWholeSegmentsOfNamesFromTheEnd)
{
    struct Row
    {
        std::string m_path;
        std::string m_suffix;
        bool m_isSuffix;
    };
    const Row rows[] = {
        {"kelm::geom::Point", "Point", true},
        {"kelm::geom::Point", "geom.Point", true},
        {"kelm::geom::Point", "geom::Point", true},
        {"kelm::geom::Point", "kelm::geom::Point", true},
        {"kelm.geom.Point", " kelm . geom :: Point", true},
        {"kelm::geom::Point", "Point2", false},
        {"kelm::geom::Point", "oint", false},
        {"kelm::geom::Point", "m::Point", false},
        {"kelm::geom::Point", "point", false},
        {"kelm::geom::Point", "kelm", false},
        {"kelm::geom::Point", "x::kelm::geom::Point", false},
        {"Point", "geom::Point", false},
        // What follows a well-formed name is not looked at, on either side.
        {"a.b", "b trailing", true},
        {"a.b \x01", "b{", true},
        {"std::list<a::b>", "list", true},
        {"std::list<a::b>", "b", false},
        // A malformed text has no suffix and is none.
        {"kelm::geom::Point", "", false},
        {"kelm::geom::Point", " ", false},
        {"kelm::geom::Point", "Point::", false},
        {"kelm::geom::Point", "::Point", false},
        {"", "", false},
        {"", "a", false},
        {"a.", "a", false},
        {"\x01", "a", false},
    };
    for (const Row& row : rows)
        EXPECT_EQ(IsPathSuffixOf(row.m_path, row.m_suffix), row.m_isSuffix) << row.m_path << " / " << row.m_suffix;
}

RC_GTEST_PROP(QualifiedNames, AnyBytesSplitIntoIdentifiersAndARest, (const std::string& text))
{
    SubString rest = ViewOf(text);
    xvector<SubString> segments;
    const bool isPath = TokenisePath(rest, segments);
    RC_ASSERT(!isPath || !segments.empty());
    RC_ASSERT(rest.m_p1 >= text.data() && rest.m_p2 == text.data() + text.size());
    const char* p = text.data();
    for (const SubString segment : segments)
    {
        RC_ASSERT(segment.m_p1 >= p && segment.m_p2 > segment.m_p1);
        p = segment.m_p2;
    }
    RC_ASSERT(p <= rest.m_p1);
    RC_ASSERT(IsPathSuffix(ViewOf(text), ViewOf(text)) == isPath);
}

RC_GTEST_PROP(QualifiedNames, EveryTailOfANameIsASuffixHoweverItIsWritten, ())
{
    const auto segments = *rc::gen::resize(8, rc::gen::nonEmpty(rc::gen::container<Segments>(
                                                  rc::gen::element<std::string>("a", "b", "Point", "_x", "null"))));
    const auto write = [&](std::size_t first)
    {
        std::string name;
        for (std::size_t i = first; i < segments.size(); ++i)
        {
            if (i > first)
                name += *rc::gen::element<std::string>(".", "::", " . ");
            name += segments[i];
        }
        return name;
    };
    const std::string whole = write(0);
    for (std::size_t i = 0; i < segments.size(); ++i)
    {
        const std::string tail = write(i);
        RC_ASSERT(IsPathSuffixOf(whole, tail));
        RC_ASSERT(IsPathSuffixOf(tail, whole) == (i == 0));
    }

    ExpressionParser parser;
    parser.Init(ViewOf(whole));
    std::string normalised = segments[0];
    for (std::size_t i = 1; i < segments.size(); ++i)
        normalised += "::" + segments[i];
    RC_ASSERT(ToStdString(ParsePath(parser)) == normalised);
    RC_ASSERT(parser.m_token.m_type == TOKEN_END);
}

} // namespace
} // namespace kelm
