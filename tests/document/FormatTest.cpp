// Layouts: each row is a text and what it becomes, which stays as it is.

#include "CommentPlaces.h"
#include "EditedTypes.h"

#include <kelmDocument/Format.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/xostream.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

namespace
{

std::string Formatted(const std::string& text, const FormatOptions& options = {})
{
    const Result<std::string> formatted = Format(text, options);
    if (!formatted)
        return "error " + std::to_string(formatted.GetError().GetLine()) + ":" +
               std::to_string(formatted.GetError().GetColumn()) + ": " + formatted.GetError().GetMessage();
    return *formatted;
}

struct FormatRow
{
    std::string m_text;
    std::string m_after; // "=" where it stays, but for the line break at the end
};

void ExpectRows(std::span<const FormatRow> rows, const FormatOptions& options = {})
{
    for (const FormatRow& row : rows)
    {
        const std::string after = Formatted(row.m_text, options);
        EXPECT_EQ(after, row.m_after == "=" ? row.m_text + "\n" : row.m_after) << row.m_text;
        if (after.starts_with("error"))
            continue;
        EXPECT_EQ(Formatted(after, options), after) << "the second time, of\n" << row.m_text;
    }
}

TEST(Format, PutsBlanksBetweenTokens)
{
    const FormatRow rows[] = {
        {"A", "A\n"},
        {"a . b::C{}", "a.b::C {}\n"},
        {"{}", "{}\n"},
        {"( 1,2 )", "(1, 2)\n"},
        {"A{x=1 y=-2}", "A { x = 1 y = -2 }\n"},
        {"A {x =+ 1.5 y= - inf}", "A { x = +1.5 y = -inf }\n"},
        {"A {  v = radius   5   w = email\"x\" p = Point ( 1 ,2 ) q = polygon[ (0,0) ]}",
         "A { v = radius 5 w = email \"x\" p = Point(1, 2) q = polygon [(0, 0)] }\n"},
        {"A { m = [ \"a\"->1 ,'b' ->{x=1} ] }", "A { m = [\"a\" -> 1, 'b' -> { x = 1 }] }\n"},
        {"A { a = [ ] b = { } c = ( ) d = [\n] e = {\n\n} }",
         "A {\n    a = []\n    b = {}\n    c = ()\n    d = []\n    e = {}\n}\n"},
        {"A { e = ON f = x.y::OFF g = a b C(1) }", "A { e = ON f = x.y::OFF g = a b C(1) }\n"},
        {"A { a /*1*/ = /*2*/5 /*3*/ b = [/*4*/1/*5*/,/*6*/2/*7*/] d = {/*8*/} e = [/*9*/] }/*10*/",
         "A { a /*1*/ = /*2*/ 5 /*3*/ b = [/*4*/ 1 /*5*/, /*6*/ 2 /*7*/] d = { /*8*/ } e = [/*9*/] } /*10*/\n"},
        {"A { a/**/./**/b=-/**/1 }", "error 1:10: Expected = when read ."},
        {"A { c=a/**/./**/b d=-/**/1 }", "A { c = a /**/ . /**/ b d = - /**/ 1 }\n"},
    };
    ExpectRows(rows);
}

TEST(Format, KeepsWhatIsWrittenOnOneLineThereIfThereIsRoom)
{
    const FormatRow rows[] = {
        {"A { a = 1 b = 2 }", "A { a = 1 b = 2 }\n"},
        {"A { a = 1\nb = 2 }", "A {\n    a = 1\n    b = 2\n}\n"},
        {"A {\na = 1 b = 2 c = { d = 4 } }", "A {\n    a = 1\n    b = 2\n    c = { d = 4 }\n}\n"},
        {"A { abc = 12345 defgh = 123456 }", "A {\n    abc = 12345\n    defgh = 123456\n}\n"},
        {"A { abc = 12345 defgh = 12345 }", "A { abc = 12345 defgh = 12345 }\n"}, // of 31 characters
        {"A {\nlist = [ B { a = 1 }, B { a = 2 } ] }",
         "A {\n    list = [\n        B { a = 1 },\n        B { a = 2 }\n    ]\n}\n"},
        {"A {\nlist = [ B(1), B { a = 2 } ] }", "A {\n    list = [B(1), B { a = 2 }]\n}\n"}, // 30
        {"A {\nlist = [ B(1), B { a = 234 } ] }",
         "A {\n    list = [\n        B(1),\n        B { a = 234 }\n    ]\n}\n"},
        {"A {\np = Point(123456, (789, 123456)) }",
         "A {\n    p = Point(\n        123456,\n        (789, 123456)\n    )\n}\n"},
        // Characters count, not octets.
        {"A { abc = 'öööö' de = 'ööööö' }", "="},
        // What a line ends with.
        {"[", "error 1:1: Expected identifier when read ["},
        {"A {\nb = B {\n}\nc = [\n]\nd = (\n)}", "A {\n    b = B {}\n    c = []\n    d = ()\n}\n"},
    };
    ExpectRows(rows, {31, 4});
}

TEST(Format, PutsListsIntoRows)
{
    const FormatRow rows[] = {
        // Numbers, names and short texts fill lines.
        {"A { n = [1, 22, 333, 4444, 55555, 666666, 7777777] }",
         "A {\n    n = [\n        1, 22, 333,\n        4444, 55555,\n        666666, 7777777\n    ]\n}\n"},
        {"A { n = [NORTH, -1.5, SOUTH, x.y, \"a\", EAST, radius 5, \"b\"] }",
         "A {\n    n = [\n        NORTH, -1.5,\n        SOUTH, x.y, \"a\",\n        EAST, radius 5,\n        \"b\"\n"
         "    ]\n}\n"},
        {"A { n = (1, 22, 333, 4444, 55555, 666666) }",
         "A {\n    n = (\n        1, 22, 333,\n        4444, 55555,\n        666666\n    )\n}\n"},
        // Rows that do not fit each other are filled.
        {"A { n = [1,2,\n3,4,5,\n67] }", "A {\n    n = [\n        1, 2, 3, 4, 5,\n        67\n    ]\n}\n"},
        // Longer texts do not.
        {"A { n = [\"abcdefghijk\", 1, 2] }",
         "A {\n    n = [\n        \"abcdefghijk\",\n        1,\n        2\n    ]\n}\n"},
        // Rows of the same number of items stay, with a last one that may be shorter.
        {"A { n = [ 1, 0,\n  0, 1 ] }", "A {\n    n = [\n        1, 0,\n        0, 1\n    ]\n}\n"},
        {"A { n = [ 1, 0, 2,\n  0, 1 ] }", "A {\n    n = [\n        1, 0, 2,\n        0, 1\n    ]\n}\n"},
        {"A { n = [ 1,\n2,\n3\n] }", "A {\n    n = [\n        1,\n        2,\n        3\n    ]\n}\n"},
        {"A { n = [\n1, 2, 3\n] }", "A {\n    n = [\n        1, 2, 3\n    ]\n}\n"},
        {"A { n = [ 11111111, 2222222,\n  333333, 444444] }",
         "A {\n    n = [\n        11111111,\n        2222222, 333333,\n        444444\n    ]\n}\n"},
        // So do those with comments and blank lines between them.
        {"A { n = [ 1, 2, // two\n 3, 4, 5,\n\n\n 6 // six\n] }",
         "A {\n    n = [\n        1, 2, // two\n        3, 4, 5,\n\n        6 // six\n    ]\n}\n"},
        {"A { n = [ 1, /* two */ 2, 33333, 44444 ] }",
         "A {\n    n = [\n        1, /* two */ 2,\n        33333, 44444\n    ]\n}\n"},
        {"A { n = [ 1,\n/* two */ 2, 33333, 44444 ] }",
         "A {\n    n = [\n        1,\n        /* two */ 2,\n        33333, 44444\n    ]\n}\n"},
        // Maps and instances stand one a line.
        {"A { m = [1 -> 2, 2 -> 3, 3 -> 4, 5 -> 6] }",
         "A {\n    m = [\n        1 -> 2,\n        2 -> 3,\n        3 -> 4,\n        5 -> 6\n    ]\n}\n"},
        {"A { m = [(1, 2), (3, 4),\n(5, 6), (7, 8)] }",
         "A {\n    m = [\n        (1, 2),\n        (3, 4),\n        (5, 6),\n        (7, 8)\n    ]\n}\n"},
    };
    ExpectRows(rows, {24, 4});
}

TEST(Format, KeepsCommentsAtWhatTheyBelongTo)
{
    const FormatRow rows[] = {
        {"// a\n\n\n\n/* b */\n# c\nA /* d */ { // e\n\n\n// f\nx = 1 // g\n/* h */\n\n\n# i\n/* j */ y = 2 /* k */ z "
         "= "
         "3 // l\n// m\n\n} // n\n\n\n// o\n\n\n",
         "// a\n\n/* b */\n# c\nA /* d */ { // e\n    // f\n    x = 1 // g\n    /* h */\n\n# i\n    /* j */ y = 2 /* k "
         "*/\n    z = 3 // l\n    // m\n} // n\n\n// o\n"},
        {"A // a\n{\n}", "A // a\n{}\n"},
        {"A // a\n{\nx = 1 }", "A // a\n{\n    x = 1\n}\n"},
        {"A {\nx // a\n= // b\n5 y = // c\n[\n1 ] z =\n// d\n5 }",
         "A {\n    x // a\n        = // b\n        5\n    y = // c\n    [\n        1\n    ]\n    z =\n        // d\n   "
         " "
         "    5\n}\n"},
        {"A { x = [ // a\n1, // b\n// c\n2 // d\n, 3 /* e */,\n4\n/* f */ ] }",
         "A {\n    x = [ // a\n        1, // b\n        // c\n        2 // d\n        , 3 /* e */,\n        4\n        "
         "/* f */\n    ]\n}\n"},
        {"A { x = [1, /* two */ // lines\n2, /* a\n b */ 3] }",
         "A {\n    x = [\n        1, /* two */ // lines\n        2, /* a\n b */ 3\n    ]\n}\n"},
        {"A { x = [ // nothing\n] y = { /* nothing */\n} z = (/* nothing */) }",
         "A {\n    x = [ // nothing\n    ]\n    y = { /* nothing */\n    }\n    z = (/* nothing */)\n}\n"},
        {"A { x = [\n\n// a\n\n1,\n\n// b\n\n\n2\n\n// c\n\n] }",
         "A {\n    x = [\n        // a\n\n        1,\n\n        // b\n\n        2\n\n        // c\n    ]\n}\n"},
        {"A { m = [\n\"a\" // key\n-> // arrow\n1 // value\n, // comma\n\"b\" -> 2 ] }",
         "A {\n    m = [\n        \"a\" // key\n            -> // arrow\n            1 // value\n        , // comma\n  "
         "     "
         " \"b\" -> 2\n    ]\n}\n"},
        {"A { x = - // a\n1 y = a // b\n. b // c\n(1) }",
         "A {\n    x = - // a\n        1\n    y = a // b\n        .b // c\n    (1)\n}\n"},
        // Their texts stay, whatever they hold.
        {"A { // a  \n\tx = 1 /*\t*/\t}", "A { // a  \n    x = 1 /*\t*/\n}\n"},
        {"A {} // end", "A {} // end\n"},
        {" /* a */ /* b */A /* end */", "/* a */ /* b */ A /* end */\n"},
        {" /* a */\n\n\n/* b */\nA\n\n/* end */", "/* a */\n\n/* b */\nA\n\n/* end */\n"},
    };
    ExpectRows(rows);
}

TEST(Format, KeepsColumns)
{
    const FormatRow rows[] = {
        {"A {\n  a   = 1\n  bcd = 2\n}", "A {\n    a   = 1\n    bcd = 2\n}\n"},
        {"A {\n  a       = 1\n  bcd     = 2\n}", "A {\n    a   = 1\n    bcd = 2\n}\n"},
        // One that is not in the column comes into it, if most are.
        {"A {\n  a   = 1\n  bcd = 2\n  efghi = 3\n}", "A {\n    a     = 1\n    bcd   = 2\n    efghi = 3\n}\n"},
        {"A {\n  a = 1\n  bcd   = 2\n}", "A {\n    a = 1\n    bcd = 2\n}\n"},
        {"A {\n    abc = 1\n    bcd = 2\n}", "="},
        {"A { a   = 1 bcd = 2\n}", "A {\n    a = 1\n    bcd = 2\n}\n"},
        // A blank line ends a column, lines between do not.
        {"A {\n  a   = 1\n  bcd = 2\n\n  c = 3\n  defgh = 4\n}",
         "A {\n    a   = 1\n    bcd = 2\n\n    c = 3\n    defgh = 4\n}\n"},
        {"A {\n  a   = [\n1\n]\n// b\n  bcd = { // c\n  x = 1\n  yz = 2 }\n}",
         "A {\n    a   = [\n        1\n    ]\n    // b\n    bcd = { // c\n        x = 1\n        yz = 2\n    }\n}\n"},
        {"A {\n  m = [\n  \"ä\"   -> 1,\n  \"bcd\" -> 2\n] }",
         "A {\n    m = [\n        \"ä\"   -> 1,\n        \"bcd\" -> 2\n    ]\n}\n"},
        {"A {\n  a /* x */ = 1\n  b         = 2\n}", "A {\n    a /* x */ = 1\n    b         = 2\n}\n"},
        // Comments behind lines.
        {"A {\n  a = 1    // one\n  bcd = 23 // two\n  c = 4\n  d = 5 // five\n}",
         "A {\n    a = 1    // one\n    bcd = 23 // two\n    c = 4\n    d = 5 // five\n}\n"},
        {"A {\n  a = 1 // one\n  bcd = 23 // two\n}", "A {\n    a = 1 // one\n    bcd = 23 // two\n}\n"},
        {"A {\n  a = 1      // one\n  bcd = 23   // two\n\n  c = 4      // four\n}",
         "A {\n    a = 1    // one\n    bcd = 23 // two\n\n    c = 4 // four\n}\n"},
        {"A { n = [\n  1,    // one\n  2, 3, // two\n  4     // four\n] }",
         "A {\n    n = [\n        1,    // one\n        2, 3, // two\n        4     // four\n    ]\n}\n"},
    };
    ExpectRows(rows);
}

TEST(Format, KeepsMarksAndLineEnds)
{
    const FormatRow rows[] = {
        {"\xEF\xBB\xBF  A {\r\n  x=1\r\n  y=2 }", "\xEF\xBB\xBF"
                                                  "A {\r\n    x = 1\r\n    y = 2\r\n}\r\n"},
        {"\xEF\xBB\xBF# a\nA", "="},
        {"// a\r\nA { x = 1 // b\n }", "// a\r\nA {\r\n    x = 1 // b\r\n}\r\n"},
        {"// a\nA { x = 1 // b\r\n }", "// a\nA {\n    x = 1 // b\n}\n"},
        // A carriage return of a comment's own.
        {"A { // a\r\r\n }", "A { // a\r\r\n}\n"},
        {"A { // a\r\r\nx=1\r\n }", "A { // a\r\r\n    x = 1\r\n}\r\n"},
        {"// x\nA { // a\r\r\n }", "// x\nA { // a\r\r\n}\n"},
        {"A // a\r", "A // a\r\r\n"},
        {"A { x = 1   \n\n   \n\n\ty = 2\v\f\n }\n\n\n", "A {\n    x = 1\n\n    y = 2\n}\n"},
        {"\n\n  A", "A\n"},
    };
    ExpectRows(rows);
}

TEST(Format, KeepsWhatIsSwitchedOff)
{
    const FormatRow rows[] = {
        {"A {\na=1\n // fmt: off\n b  =   2\n\n\n\tc=3\n  // fmt: on\nd=4 }",
         "A {\n    a = 1\n    // fmt: off\n b  =   2\n\n\n\tc=3\n  // fmt: on\n    d = 4\n}\n"},
        {"A {\nm = [ // fmt: off\n 1,0 ,\n 0,1\n // fmt: on\n] }",
         "A {\n    m = [ // fmt: off\n 1,0 ,\n 0,1\n // fmt: on\n    ]\n}\n"},
        {"A {\na=1\n# fmt: off\nb  =   2 }\n\n\n", "A {\n    a = 1\n# fmt: off\nb  =   2 }\n\n\n"},
        {"A {\na=1 //fmt: off  \nb  = { c=2\n// fmt: on\nd=3}}",
         "A {\n    a = 1 //fmt: off  \nb  = { c=2\n// fmt: on\n        d = 3\n    }\n}\n"},
        // Neither of these switches.
        {"A {\na=1 /* fmt: off */\n// fmt: on\n// fmt: offer\nb=2 }",
         "A {\n    a = 1 /* fmt: off */\n    // fmt: on\n    // fmt: offer\n    b = 2\n}\n"},
    };
    ExpectRows(rows);
}

TEST(Format, IndentsAsMuchAsItIsAskedTo)
{
    const FormatRow rows[] = {
        {"A {\nb = [\n1 ] }", "A {\n  b = [\n    1\n  ]\n}\n"},
    };
    ExpectRows(rows, {100, 2});
    std::string deep;
    std::string after;
    for (int i = 0; i < 20; ++i)
    {
        deep += "{ a =\n";
        after += "{\n" + std::string(4 * static_cast<std::size_t>(std::min(i + 1, 16)), ' ') + "a = ";
    }
    deep += "1";
    after += "1";
    for (int i = 20; i-- > 0;)
    {
        deep += "}";
        after += "\n" + std::string(4 * static_cast<std::size_t>(std::min(i, 16)), ' ') + "}";
    }
    EXPECT_EQ(Formatted(deep), after + "\n");
}

TEST(Format, RefusesWhatIsNoDataSource)
{
    const FormatRow rows[] = {
        {"", "error 1:1: Expected identifier when read end of text"},
        {"// nothing\n", "error 2:1: Expected identifier when read end of text"},
        {"\xEF\xBB\xBF"
         "5",
         "error 1:1: Expected identifier when read 5"},
        {"[1]", "error 1:1: Expected identifier when read ["},
        {"A.", "error 1:3: Expected identifier when read end of text"},
        {"A {} B", "error 1:6: Expected end of text when read B"},
        {"A B {}", "error 1:3: Expected end of text when read B"},
        {"A {", "error 1:4: Expected identifier when read end of text"},
        {"A { a = 1", "error 1:10: Expected identifier when read end of text"},
        {"A { a = 1, b = 2 }", "error 1:10: Expected identifier when read ,"},
        {"A { a 1 }", "error 1:7: Expected = when read 1"},
        {"A { a = }", "error 1:9: Expected value when read }"},
        {"A { a = b = 1 }", "error 1:11: Expected identifier when read ="},
        {"A { a = 1 2 }", "error 1:11: Expected identifier when read 2"},
        {"A { a = - \"x\" }", "error 1:11: Expected number when read \"x\""},
        {"A { a = 1 + 2 }", "error 1:11: Expected identifier when read +"},
        {"A { 5 }", "error 1:5: Expected identifier when read 5"},
        {"A(1,)", "error 1:5: Expected value when read )"},
        {"A(1 2)", "error 1:5: Expected , when read 2"},
        {"A(1 -> 2)", "error 1:5: Expected , when read ->"},
        {"A(1]", "error 1:4: Expected , when read ]"},
        {"A([1, 2 -> 3])", "error 1:9: Expected , when read ->"},
        {"A([1 -> 2, 3])", "error 1:13: Expected -> when read ]"},
        {"A([1 -> 2 -> 3])", "error 1:11: Expected , when read ->"},
        {"A([1, , 2])", "error 1:7: Expected value when read ,"},
        {"A { a = 1 } }", "error 1:13: Expected end of text when read }"},
        {"A { a = 1x }", "error 1:9: Malformed number 1x"},
        {"A { a = \"x\n }", "error 1:9: Unterminated string literal"},
        {"A { /* a", "error 1:5: Unterminated comment"},
        {"A {\n b = \x01\n}", "error 2:6: Illegal character 0x01 outside quotes"},
        {"A { a = 1 # b\n}", "error 1:11: Expected identifier when read #"},
    };
    for (const FormatRow& row : rows)
    {
        EXPECT_EQ(Formatted(row.m_text), row.m_after) << row.m_text;
        EXPECT_TRUE(FindSyntaxError(row.m_text)) << row.m_text;
    }
    EXPECT_FALSE(FindSyntaxError("A {}"));
}

TEST(Format, TellsTheChangesOfLines)
{
    struct LinesRow
    {
        Span m_range;
        std::string m_after;
    };
    const std::string text = "A {\n  a=1\n  b=2 c=3\n\n\n  d=[\n1 ]\n}";
    const LinesRow rows[] = {
        {{0, 0}, text},
        {{5, 6}, "A {\n    a = 1\n  b=2 c=3\n\n\n  d=[\n1 ]\n}"},
        {{10, 10}, "A {\n  a=1\n    b = 2\n    c = 3\n\n\n  d=[\n1 ]\n}"},
        {{5, 24}, "A {\n    a = 1\n    b = 2\n    c = 3\n\n    d = [\n1 ]\n}"},
        {{0, text.size()}, "A {\n    a = 1\n    b = 2\n    c = 3\n\n    d = [\n        1\n    ]\n}\n"},
    };
    for (const LinesRow& row : rows)
    {
        const Document document = Document::Parse(text);
        std::string after = text;
        const std::vector<SpaceChange> changes = *FormatLines(document, row.m_range);
        for (std::size_t i = changes.size(); i-- > 0;)
            after.replace(changes[i].m_removed.m_begin, changes[i].m_removed.GetSize(), changes[i].m_inserted);
        EXPECT_EQ(after, row.m_after) << row.m_range.m_begin;
    }
    EXPECT_FALSE(FormatLines(Document::Parse("A {"), {0, 1}));
}

TEST(Format, KeepsAnyLevels)
{
    constexpr std::size_t levels = 200000;
    std::string text;
    for (std::size_t i = 0; i < levels; ++i)
        text += i % 2 == 0 ? "{a=\n" : "[";
    text += "1";
    for (std::size_t i = levels; i-- > 0;)
        text += i % 2 == 0 ? "}" : "]";
    const std::string after = Formatted(text);
    EXPECT_LT(after.size(), 160 * levels);
    EXPECT_EQ(Formatted(after), after);
    EXPECT_TRUE(Formatted(std::string(levels, '(')).starts_with("error"));
}

// --- Whole documents

std::string WrittenText(std::string text)
{
    if (text.starts_with("\xEF\xBB\xBF"))
        text.erase(0, 3);
    LexScannerException error{xstring(), LSToken()};
    const ptr<IObject> object = ParseDataSource(xstring(text), error);
    EXPECT_TRUE(object) << text << "\n" << error.what();
    StringStream stream(4096);
    WriteObject(stream, object);
    return std::string(stream.GetString().view());
}

TEST(Format, KeepsEveryCommentAtEveryPlace)
{
    yard::Register();
    for (const CommentForm& form : s_commentForms)
        for (const std::size_t width : {20U, 100U, 100000U})
        {
            const std::string text = CommentedText(form);
            const std::string after = Formatted(text, {width, 4});
            std::size_t at = 0;
            for (int i = 1; i <= s_numPlaces; ++i)
            {
                const std::size_t next = after.find("<" + std::to_string(i) + ">", at);
                ASSERT_NE(next, std::string::npos) << i << "\n" << after;
                at = next;
            }
            EXPECT_EQ(Formatted(after, {width, 4}), after) << text;
            EXPECT_EQ(WrittenText(after), WrittenText(text));
        }
    CollectGarbage();
}

TEST(Format, DoesWhatTheDocumentationShows)
{
    std::stringstream stream;
    stream << std::ifstream(KELM_DOCUMENTS_DOC).rdbuf();
    const std::string page = stream.str();
    const auto next = [&](std::string_view fence, std::size_t& at)
    {
        at = page.find(fence, at);
        if (at == std::string::npos)
            return std::string();
        const std::size_t begin = at + fence.size();
        at = page.find("```\n", begin);
        return page.substr(begin, at - begin);
    };
    int numExamples = 0;
    for (std::size_t at = 0; at != std::string::npos;)
    {
        const std::string before = next("```kds before\n", at);
        if (before.empty())
            break;
        const std::string after = next("```kds after\n", at);
        EXPECT_EQ(Formatted(before), after);
        EXPECT_EQ(Formatted(after), after);
        ++numExamples;
    }
    EXPECT_GE(numExamples, 4);
}

} // namespace

} // namespace kelm
