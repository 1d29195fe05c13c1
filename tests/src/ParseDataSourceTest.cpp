// Whole data sources: the entry points, class bodies, models, and handles to nested objects.

#include "DataSources.h"

#include <klUtils/TracerX.h>

#include <cstring>

namespace kelm
{
namespace
{

using hand::As;
using hand::Counted;
using hand::Evolved;
using hand::Node;
using hand::Ordinary;
using hand::Outer;
using hand::Plain;
using hand::Point;
using hand::Wrapper;

using DataSource = HandmadeTest;
using ClassBody = HandmadeTest;
using Models = HandmadeTest;
using Handles = HandmadeTest;

// The parser form, which throws.
ptr<IObject> Read(const std::string& text, std::string* rest = nullptr)
{
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    const ptr<IObject> object = ParseDataSource(parser);
    if (rest != nullptr)
        *rest = RestAt(parser, ViewOf(text));
    return object;
}

template <class T>
T& ReadAs(const std::string& text)
{
    const ptr<IObject> object = Read(text);
    EXPECT_EQ(object.GetReflectedClass(), &hand::ClassOf<T>()) << text;
    return As<T>(object);
}

template <std::size_t N>
void ExpectReadFailures(const FailingText (&rows)[N])
{
    for (const FailingText& row : rows)
        EXPECT_TRUE(
            ThrowsLexScannerException([&] { Read(row.m_text); }, ViewOf(row.m_text), row.m_offset, row.m_message))
            << row.m_text;
}

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

// Collects what is traced while it exists.
class TraceCollector
{
public:
    TraceCollector()
    {
        SetTraceSink([](SubString text, void* self)
                     { static_cast<TraceCollector*>(self)->m_texts.push_back(ToStdString(text)); },
                     this);
    }
    ~TraceCollector() { SetTraceSink(nullptr, nullptr); }
    TraceCollector(const TraceCollector&) = delete;
    TraceCollector& operator=(const TraceCollector&) = delete;

    std::vector<std::string> m_texts;
};

// --- Entry points ----------------------------------------------------------------------------------------------------

TEST_F(DataSource, NamesAClassAndItsMembers)
{
    const Point& point = ReadAs<Point>("hand::geom::Point { x = 1 y = 2 }");
    EXPECT_EQ(point, (Point{1, 2}));
}

TEST_F(DataSource, EndsBehindTheBodyOrBehindTheNameWhereNoBodyFollows)
{
    struct Row
    {
        std::string m_text;
        std::string m_rest;
        Point m_point;
    };
    const Row rows[] = {
        {"hand.geom.Point", "", {0, 0}},
        {"hand.geom.Point [1]", "[1]", {0, 0}},
        {"hand.geom.Point hand.geom.Point { }", "hand.geom.Point { }", {0, 0}},
        {"hand.geom.Point }", "}", {0, 0}},
        {"hand.geom.Point {} {}", "{}", {0, 0}},
        {"hand :: geom . Point(3, 4) . x", ". x", {3, 4}},
        {"// first\nhand.geom.Point/* body */{ /* y */ y = 2 // end\n}\n# x\n]", "]", {0, 2}},
    };
    for (const Row& row : rows)
    {
        std::string rest = "?";
        const ptr<IObject> object = Read(row.m_text, &rest);
        EXPECT_EQ(As<Point>(object), row.m_point) << row.m_text;
        EXPECT_EQ(rest, row.m_rest) << row.m_text;
    }
}

TEST_F(DataSource, KeepsTheValuesOfCreationForWhatIsNotMentioned)
{
    EXPECT_EQ(ReadAs<Plain>("hand.Plain").m_value, 5);
    EXPECT_EQ(ReadAs<Plain>("hand.Plain {}").m_value, 5);
    EXPECT_EQ(ReadAs<Wrapper>("hand.Wrapper { a = 1 }").m_id, 9);
}

TEST_F(DataSource, NullIsNoObject)
{
    std::string rest;
    EXPECT_FALSE(Read("null", &rest));
    EXPECT_EQ(rest, "");
    EXPECT_FALSE(Read("null { x = 1 }", &rest));
    EXPECT_EQ(rest, "{ x = 1 }");
    EXPECT_FALSE(Read(" null()", &rest));
    EXPECT_EQ(rest, "()");
}

TEST_F(DataSource, NeedsTheFullNameOfAClassThatIsRegisteredAndCanBeCreated)
{
    const FailingText rows[] = {
        {"", "Expected identifier when read end of text", 0},
        {"{ x = 1 }", "Expected identifier when read {", 0},
        {"'hand::Plain'", "Expected identifier when read 'hand::Plain'", 0},
        {"hand.", "Expected identifier when read end of text", 5},
        {"hand..Plain", "Expected identifier when read .", 5},
        {"Null", "'Null' is not a registered class name", 4},
        {"nullx {", "'nullx' is not a registered class name", 6},
        {"a.null", "'a::null' is not a registered class name", 6},
        {"null.a", "'null::a' is not a registered class name", 6},
        {"Point { x = 1 }", "'Point' is not a registered class name", 6},
        {"geom.Point {}", "'geom::Point' is not a registered class name", 11},
        {"hand.geom  (1)", "'hand::geom' is not a registered class name", 11},
        {"hand.Color", "'hand::Color' is not a registered class name", 10}, // an enumeration
        {"hand::geom::point", "'hand::geom::point' is not a registered class name", 17},
        {"hand.Abstract", "'hand::Abstract' doesn't support dynamic creation", 13},
        {"hand.Model { a = 1 }", "'hand::Model' doesn't support dynamic creation", 11},
        {"hand.Plain { value = \x01 }", "Illegal character 0x01 outside quotes", 21},
        {"\x80", "Illegal character 0x80 outside quotes", 0},
    };
    ExpectReadFailures(rows);
}

TEST_F(DataSource, OfAClassThatMakesNothingFailsAnAssertion)
{
    EXPECT_TRUE(FailsAssertion([] { Read("hand.NullMaker {}"); }, "obj", "src/ParseDataSource"));
}

TEST_F(DataSource, OfAGivenClassReadsTheBodyAlone)
{
    const std::string text = "{ y = 2 } next";
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    EXPECT_EQ(As<Point>(ParseDataSource(parser, "hand::geom::Point")), (Point{0, 2}));
    EXPECT_EQ(RestAt(parser, ViewOf(text)), "next");
    EXPECT_EQ(As<Point>(ParseDataSource(parser, "hand::geom::Point")), (Point{0, 0}));
    EXPECT_EQ(RestAt(parser, ViewOf(text)), "next");

    // The name is taken as it is: here, null is a class like any other.
    for (const char* name : {"null", "hand.geom.Point", ""})
        EXPECT_TRUE(ThrowsLexScannerException([&] { ParseDataSource(parser, name); }, ViewOf(text), 10,
                                              std::string("'") + name + "' is not a registered class name"))
            << name;
}

TEST_F(DataSource, FromTextReportsTheFailureWithItsLine)
{
    struct Row
    {
        std::string m_text;
        std::string m_message;
        ssize_t m_offset;
        int64 m_line;
    };
    const Row rows[] = {
        {"Nowhere", "'Nowhere' is not a registered class name", 7, 1},
        {"\n\nhand.Plain {\n  value = x\n}", "Expected int32 when read x", 25, 4},
        {"hand.Plain {\n", "Expected identifier when read end of text", 13, 2},
        {"hand.Plain { nosuch\n\n = 1 }", "Unknown member 'nosuch' of class hand::Plain", 22, 3},
        {"\x01", "Illegal character 0x01 outside quotes", 0, 1},
        {"hand.Plain {\r\n value = 99999999999 }", "Value 99999999999 is out of range of int32", 23, 2},
    };
    for (const Row& row : rows)
    {
        const xstring text = ToXString(row.m_text);
        LexScannerException error(xstring("old"), LSToken());
        EXPECT_FALSE(ParseDataSource(text, error)) << row.m_text;
        EXPECT_EQ(error.m_description, row.m_message.c_str()) << row.m_text;
        EXPECT_EQ(error.m_pos - text.data(), row.m_offset) << row.m_text;
        EXPECT_EQ(error.m_lineNumber, row.m_line) << row.m_text;
        EXPECT_TRUE(error.m_filename.empty());

        xstring message = "old";
        EXPECT_FALSE(ParseDataSourceFromString(text, message)) << row.m_text;
        const std::string written = "line " + std::to_string(row.m_line) + ": " + row.m_message;
        EXPECT_EQ(message, written.c_str()) << row.m_text;

        const TraceCollector trace;
        EXPECT_FALSE(ParseDataSourceFromString2(text)) << row.m_text;
        EXPECT_EQ(trace.m_texts, std::vector<std::string>{"Error: " + written + "\n"}) << row.m_text;
    }
}

TEST_F(DataSource, FromTextLeavesTheErrorAloneOnSuccessAndLooksAtNothingBehind)
{
    const xstring text = "hand.Plain { value = 1 } ] \x01 garbage";
    LexScannerException error(xstring("old"), LSToken());
    EXPECT_EQ(As<Plain>(ParseDataSource(text, error)).m_value, 1);
    EXPECT_EQ(error.m_description, "old");
    EXPECT_EQ(error.m_lineNumber, -1);

    xstring message = "old";
    EXPECT_EQ(As<Plain>(ParseDataSourceFromString(text, message)).m_value, 1);
    EXPECT_EQ(message, "old");

    const TraceCollector trace;
    EXPECT_EQ(As<Plain>(ParseDataSourceFromString2(text)).m_value, 1);
    EXPECT_TRUE(trace.m_texts.empty());
}

// One token ahead is scanned, so what cannot be scanned must not follow at once.
TEST_F(DataSource, FromTextScansTheTokenBehind)
{
    xstring message;
    EXPECT_FALSE(ParseDataSourceFromString("hand.Plain { value = 1 } \x01", message));
    EXPECT_EQ(message, "line 1: Illegal character 0x01 outside quotes");
    EXPECT_FALSE(ParseDataSourceFromString("null \x01", message));
    EXPECT_EQ(message, "line 1: Illegal character 0x01 outside quotes");
}

TEST_F(DataSource, NullCountsAsAFailureWithoutAMessageInTheStringForms)
{
    LexScannerException error(xstring("old"), LSToken());
    EXPECT_FALSE(ParseDataSource(xstring("null"), error));
    EXPECT_EQ(error.m_description, "old");

    xstring message = "old";
    EXPECT_FALSE(ParseDataSourceFromString("null", message));
    EXPECT_EQ(message, "");

    const TraceCollector trace;
    EXPECT_FALSE(ParseDataSourceFromString2("null"));
    EXPECT_EQ(trace.m_texts, std::vector<std::string>{"Error: \n"});
}

TEST_F(DataSource, FromTextPassesAssertionFailuresOn)
{
    LexScannerException error(xstring("old"), LSToken());
    xstring message = "old";
    const TraceCollector trace;
    EXPECT_TRUE(
        FailsAssertion([&] { ParseDataSource(xstring("hand.NullMaker"), error); }, "obj", "src/ParseDataSource"));
    EXPECT_TRUE(
        FailsAssertion([&] { ParseDataSourceFromString("hand.NullMaker", message); }, "obj", "src/ParseDataSource"));
    EXPECT_TRUE(FailsAssertion([] { ParseDataSourceFromString2("hand.NullMaker"); }, "obj", "src/ParseDataSource"));
    EXPECT_EQ(message, "old");
    EXPECT_TRUE(trace.m_texts.empty());
}

// --- Class bodies ----------------------------------------------------------------------------------------------------

TEST_F(ClassBody, IsNamedOrPositionalAndMayBeginWithASuffixOfTheClassName)
{
    struct Row
    {
        const char* m_text;
        Point m_point;
        const char* m_rest;
    };
    const Row rows[] = {
        {"{ x = 1 y = 2 }", {1, 2}, ""},
        {"{ y = 2 x = 1 } }", {1, 2}, "}"},
        {"{y=2}", {0, 2}, ""},
        {"{}", {0, 0}, ""},
        {"{ x = 1 x = 5 }", {5, 0}, ""},
        {"(1, 2) 3", {1, 2}, "3"},
        {"Point(1, 2)", {1, 2}, ""},
        {"geom.Point { x = 3 }", {3, 0}, ""},
        {"geom::Point(1, 2)", {1, 2}, ""},
        {"hand.geom::Point (1,2)", {1, 2}, ""},
    };
    for (const Row& row : rows)
    {
        Point point;
        EXPECT_EQ(Fill(point, row.m_text), row.m_rest) << row.m_text;
        EXPECT_EQ(point, row.m_point) << row.m_text;
    }
}

// A class that is registered nowhere may have any name, of which what is a qualified name counts.
TEST_F(ClassBody, MayBeginWithASuffixOfAnyName)
{
    const ReflectedClass rc = {.m_name = "hand.odd::Bare<int>", .m_size = sizeof(hand::Bare)};
    hand::Bare bare;
    for (const char* text : {"Bare {}", "odd.Bare {}", "hand::odd::Bare {}"})
    {
        ExpressionParser parser;
        parser.Init(SubString(text));
        EXPECT_NO_THROW(ParseClassVariable(parser, rc, &bare)) << text;
    }
}

TEST_F(ClassBody, IsRefusedWhereItBreaksTheGrammar)
{
    const FailingText rows[] = {
        // No separators between named members, and commas between positional values.
        {"{ x = 1, y = 2 }", "Expected identifier when read ,", 7},
        {"{ x = 1; y = 2 }", "Expected identifier when read ;", 7},
        {"(1 2)", "Expected , when read 2", 3},
        {"(1)", "Expected , when read )", 2},
        {"(1, 2, 3)", "Expected ) when read ,", 5},
        {"(1, 2", "Expected ) when read end of text", 5},
        {"(1, 2}", "Expected ) when read }", 5},
        {"()", "Expected int32 when read )", 1},
        {"(, 2)", "Expected int32 when read ,", 1},
        {"(1,)", "Expected int32 when read )", 3},
        {"{ x 1 }", "Expected = when read 1", 4},
        {"{ x == 1 }", "Expected = when read ==", 4},
        {"{ x }", "Expected = when read }", 4},
        {"{ x = }", "Expected int32 when read }", 6},
        {"{ = 1 }", "Expected identifier when read =", 2},
        {"{ 'x' = 1 }", "Expected identifier when read 'x'", 2},
        {"{ x = 1", "Expected identifier when read end of text", 7},
        {"{", "Expected identifier when read end of text", 1},
        {"{ x = 1 )", "Expected identifier when read )", 8},
        // A name is reported at the token behind it.
        {"{ z = 1 }", "Unknown member 'z' of class hand::geom::Point", 4},
        {"{ X = 1 }", "Unknown member 'X' of class hand::geom::Point", 4},
        {"{ x = 1 nosuch", "Unknown member 'nosuch' of class hand::geom::Point", 14},
        {"{ p.x = 1 }", "Unknown member 'p' of class hand::geom::Point", 3},
        {"Circle { }", "Expected hand::geom::Point when read Circle", 7},
        {"other.Point { }", "Expected hand::geom::Point when read other::Point", 12},
        {"oint(1, 2)", "Expected hand::geom::Point when read oint", 4},
        {"geom(1, 2)", "Expected hand::geom::Point when read geom", 4},
        {"a.hand.geom.Point(1, 2)", "Expected hand::geom::Point when read a::hand::geom::Point", 17},
        {"null", "Expected hand::geom::Point when read null", 4},
        {"geom. {", "Expected identifier when read {", 6},
        {"Point", "Expected { when read end of text", 5},
        {"Point [1, 2]", "Expected { when read [", 6},
        {"[1, 2]", "Expected { when read [", 0},
        {"5", "Expected { when read 5", 0},
        {"", "Expected { when read end of text", 0},
    };
    ExpectFillFailures<Point>(rows);
}

TEST_F(ClassBody, KeepsWhatWasReadBeforeAFailure)
{
    Point point{7, 8};
    EXPECT_ANY_THROW(Fill(point, "{ x = 1 y = z }"));
    EXPECT_EQ(point, (Point{1, 8}));
    EXPECT_ANY_THROW(Fill(point, "(2, x)"));
    EXPECT_EQ(point, (Point{2, 8}));
}

TEST_F(ClassBody, OfAClassWithoutFieldsIsEmpty)
{
    hand::Bare bare;
    for (const char* text : {"()", "{}", "Bare ( )", "hand.Bare { }"})
        EXPECT_EQ(Fill(bare, text), "") << text;
    const FailingText rows[] = {
        {"(1)", "Expected ) when read 1", 1},
        {"{ x = 1 }", "Unknown member 'x' of class hand::Bare", 4},
    };
    ExpectFillFailures<hand::Bare>(rows);
}

TEST_F(ClassBody, NeedsAnInstance)
{
    ExpressionParser parser;
    parser.Init("{}");
    EXPECT_TRUE(FailsAssertion([&] { ParseClassVariable(parser, hand::ClassOf<Point>(), nullptr); }, "data",
                               "src/ParseDataSource"));
}

TEST_F(ClassBody, FillsOrdinaryFields)
{
    Ordinary o;
    EXPECT_EQ(Fill(o, "{ text = 'a' number = 2 point = Point { y = 3 } list = [4] }"), "");
    EXPECT_EQ(o.m_number, 2);
    EXPECT_EQ(o.m_text, "a");
    EXPECT_EQ(o.m_point, (Point{0, 3}));
    EXPECT_EQ(o.m_list, (xvector<int32>{4}));
}

// A map needs the function table that only a model field has.
TEST_F(ClassBody, CannotFillAMapInAnOrdinaryField)
{
    Ordinary o;
    EXPECT_TRUE(FailsAssertion([&] { Fill(o, "{ map = [] }"); }, "rbc.m_mapOrSetFns", "src/ParseDataSource"));
}

// --- Models ----------------------------------------------------------------------------------------------------------

TEST_F(Models, IsFilledInsideTheObjectThatEmbedsIt)
{
    Wrapper w;
    EXPECT_EQ(Fill(w, "{ tag = 't' a = 1 b = [2, 3] at = (4, 5) label = 'l' id = 6 }"), "");
    EXPECT_EQ(w.m_id, 6);
    EXPECT_EQ(w.m_tag, "t");
    EXPECT_EQ(w.m_model.m_a, 1);
    EXPECT_EQ(w.m_model.m_b[1], 3);
    EXPECT_EQ(w.m_model.m_label, "l");
    EXPECT_EQ(w.m_model.m_at, (Point{4, 5}));
}

TEST_F(Models, ComesBeforeTheOrdinaryFieldsInAPositionalBody)
{
    Wrapper w;
    EXPECT_EQ(Fill(w, "Wrapper(1, [2, 3], 'l', Point(4, 5), 6, 't')"), "");
    EXPECT_EQ(w.m_model.m_a, 1);
    EXPECT_EQ(w.m_model.m_b[0], 2);
    EXPECT_EQ(w.m_model.m_label, "l");
    EXPECT_EQ(w.m_model.m_at, (Point{4, 5}));
    EXPECT_EQ(w.m_id, 6);
    EXPECT_EQ(w.m_tag, "t");

    const FailingText rows[] = {
        {"(1, [2, 3], 'l', (4, 5), 6)", "Expected , when read )", 26},
        {"(1, [2, 3], 'l', (4, 5))", "Expected , when read )", 23},
        {"(1, [2, 3], 'l', (4, 5), 6, 't', 7)", "Expected ) when read ,", 31},
        // The messages name the class that is read, not the one whose model it embeds.
        {"{ nosuch = 1 }", "Unknown member 'nosuch' of class hand::Wrapper", 9},
        {"Model { }", "Expected hand::Wrapper when read Model", 6},
    };
    ExpectFillFailures<Wrapper>(rows);
}

TEST_F(Models, OfFieldsOfClassType)
{
    Outer& outer = ReadAs<Outer>("hand.Outer { wrapper = hand.Wrapper { a = 1 tag = 'x' } inner = { at = (2, 3) } }");
    EXPECT_EQ(outer.m_wrapper.m_model.m_a, 1);
    EXPECT_EQ(outer.m_wrapper.m_tag, "x");
    EXPECT_EQ(outer.m_inner.m_model.m_at, (Point{2, 3}));
}

TEST_F(Models, ThatIsRegisteredNowhereFailsAnAssertion)
{
    hand::Orphan orphan;
    EXPECT_TRUE(FailsAssertion([&] { Fill(orphan, "{ }"); }, "rc", "host/klObject/types/Registry"));
}

TEST_F(Models, HaveNoFieldsWhereTheListIsNull)
{
    const ReflectedClass rc = {.m_name = "hand::Listless", .m_size = 1, .m_numFields = 2, .m_numModelFields = 3};
    for (const char* const text : {"()", "{}"})
    {
        char object = 0;
        ExpressionParser parser;
        parser.Init(text);
        ParseClassVariable(parser, rc, &object);
        EXPECT_EQ(parser.m_token.m_type, TOKEN_END) << text;
    }
}

TEST_F(Models, PassesOverDroppedFields)
{
    Evolved e;
    EXPECT_EQ(Fill(e, "{ kept = 1 again = 2 twice = 3 shadow = 4 last = 5 }"), "");
    EXPECT_EQ(e.m_kept, 1);
    EXPECT_EQ(e.m_again, 2);
    EXPECT_EQ(e.m_twice, 3);
    EXPECT_EQ(e.m_shadow, 4);
    EXPECT_EQ(e.m_last, 5);
    for (const int32 dropped : {e.m_old, e.m_againOld, e.m_twiceOld, e.m_shadowOld})
        EXPECT_EQ(dropped, -1);

    Evolved positional;
    EXPECT_EQ(Fill(positional, "(1, 2, 3, 4, 5)"), "");
    EXPECT_EQ(std::memcmp(&positional, &e, sizeof e), 0);

    const FailingText rows[] = {
        {"{ old = 1 }", "Unknown member 'old' of class hand::Evolved", 6},
        {"(1, 2, 3, 4)", "Expected , when read )", 11},
        {"(1, 2, 3, 4, 5, 6)", "Expected ) when read ,", 14},
    };
    ExpectFillFailures<Evolved>(rows);
}

// A text that equals a member's name is no identifier unless the name is one.
TEST_F(Models, HaveMembersOfAnyLengthButNoNamesThatAreNone)
{
    hand::Named named;
    EXPECT_EQ(Fill(named, "{ a = 1 ab = 2 abcdefg = 3 abcdefgh = 4 abcdefghi = 5 abcdefghj = 6 "
                          "abcdefghijklmnop = 7 abcdefghijklmnopq = 8 }"),
              "");
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(named.m_values[i], i + 1);
    const FailingText rows[] = {
        {"{ abcdefghijklmnopq = 1 not a name = 2 }", "Unknown member 'not' of class hand::Named", 28},
        {"{ not a name = 2 }", "Unknown member 'not' of class hand::Named", 6},
        {"{ abcdefghijklmnopqr = 2 }", "Unknown member 'abcdefghijklmnopqr' of class hand::Named", 21},
        {"{ abcdefghk = 2 }", "Unknown member 'abcdefghk' of class hand::Named", 12},
        {"{ abcdefghijklmnopq = 1 1st = 2 }", "Malformed number 1st", 24},
        {"{ abcdefghijklmnopq = 1 \xc3\xa9 = 2 }", "Illegal character 0xC3 outside quotes", 24},
    };
    ExpectFillFailures<hand::Named>(rows);
}

// --- Handles ---------------------------------------------------------------------------------------------------------

TEST_F(Handles, AreNestedDataSources)
{
    Node& node = ReadAs<Node>(R"(hand.Node {
        next = hand.Plain { value = 1 }
        ref = hand.Node { name = "ref" }
        cref = hand::Node(2, "cref", null, hand.Node, hand.Node {}, [], [], [{}, {}])
        kids = [hand.Plain, null, hand.Plain(3)]
        named = ["a" -> hand.geom.Point(4, 5), "b" -> null]
    })");
    EXPECT_EQ(As<Plain>(node.m_next).m_value, 1);
    EXPECT_EQ(As<Node>(node.m_ref.Get()).m_name, "ref");
    EXPECT_EQ(As<Node>(node.m_cref.Get()).m_name, "cref");
    EXPECT_EQ(As<Node>(node.m_cref.Get()).m_value, 2);
    ASSERT_EQ(node.m_kids.size(), 3);
    EXPECT_EQ(As<Plain>(node.m_kids[0]).m_value, 5);
    EXPECT_FALSE(node.m_kids[1]);
    EXPECT_EQ(As<Plain>(node.m_kids[2]).m_value, 3);
    ASSERT_EQ(node.m_named.size(), 2);
    EXPECT_EQ(As<Point>(node.m_named["a"]), (Point{4, 5}));
    EXPECT_FALSE(node.m_named["b"]);
}

TEST_F(Handles, TakeTheFullNameOfAClass)
{
    const FailingText rows[] = {
        {"{ next = Plain { } }", "'Plain' is not a registered class name", 15},
        {"{ kids = [null, hand.Nowhere] }", "'hand::Nowhere' is not a registered class name", 28},
        {"{ next = hand.Abstract }", "'hand::Abstract' doesn't support dynamic creation", 23},
        {"{ next = { } }", "Expected identifier when read {", 9},
        {"{ next = 0 }", "Expected identifier when read 0", 9},
        {"{ ref = Plain }", "'Plain' is not a registered class name", 14},
        {"{ next = hand.Plain { nosuch = 1 } }", "Unknown member 'nosuch' of class hand::Plain", 29},
    };
    ExpectFillFailures<Node>(rows);
}

TEST_F(Handles, PointersMayBeNullAndReferencesMayNot)
{
    Node node;
    Fill(node, "{ next = hand.Plain ref = hand.Node cref = hand.Node }");
    ASSERT_TRUE(node.m_next);
    Fill(node, "{ next = null }");
    EXPECT_FALSE(node.m_next);
    for (const char* text : {"{ ref = null }", "{ cref = null }"})
        EXPECT_TRUE(FailsAssertion([&] { Fill(node, text); }, "p", "src/ParseDataSource")) << text;
    EXPECT_TRUE(node.m_ref.Get());
}

TEST_F(Handles, ReferencesTakePersistableObjectsAlone)
{
    const FailingText rows[] = {
        {"{ ref = hand.Plain { value = 1 } value = 2 }", "'hand::Plain' is not persistable", 33},
        {"{ cref = hand.geom.Point }", "'hand::geom::Point' is not persistable", 25},
    };
    ExpectFillFailures<Node>(rows);
}

TEST_F(Handles, ReferToObjectsCreatedInTheOrderInWhichTheirNamesAreRead)
{
    Node& outer = ReadAs<Node>("hand.Node { next = hand.Node { ref = hand.Node } cref = hand.Node }");
    Node& next = As<Node>(outer.m_next);
    EXPECT_EQ(next.m_serial, outer.m_serial + 1);
    EXPECT_EQ(As<Node>(next.m_ref.Get()).m_serial, outer.m_serial + 2);
    EXPECT_EQ(As<Node>(outer.m_cref.Get()).m_serial, outer.m_serial + 3);
}

TEST_F(Handles, KeepObjectsAliveFromARootAndNoLonger)
{
    const int64 before = GetGcCounts().m_live;
    {
        const GcRoot root(Read("hand.Node { next = hand.Plain ref = hand.Node kids = [hand.Plain, null] "
                               "named = ['a' -> hand.Counted { id = 1 }] }"));
        EXPECT_EQ(GetGcCounts().m_live, before + 5);
        EXPECT_EQ(CollectGarbage().m_live, before + 5);

        // What a member held before is garbage once the member is given again.
        Fill(As<Node>(root.get()), "{ next = hand.Plain ref = hand.Node kids = [hand.Plain] }");
        EXPECT_EQ(GetGcCounts().m_live, before + 8);
        EXPECT_EQ(CollectGarbage().m_live, before + 6);
    }
    EXPECT_EQ(CollectGarbage().m_live, before);
    EXPECT_EQ(Counted::Live(), 0);
}

TEST_F(Handles, LeaveTheObjectsOfAFailedTextToTheCollector)
{
    struct Row
    {
        const char* m_text;
        int m_created;
    };
    const Row rows[] = {
        {"hand.Nowhere", 0},
        {"hand.Counted { nosuch = 1 }", 1},
        {"hand.Counted { id = 1 } \x01", 1},
        {"hand.Node { next = hand.Counted kids = [hand.Counted(1), hand.Counted(x)] }", 4},
        {"hand.Node { ref = hand.Plain }", 2},
    };
    for (const Row& row : rows)
    {
        const int64 before = GetGcCounts().m_live;
        EXPECT_ANY_THROW(Read(row.m_text)) << row.m_text;
        EXPECT_EQ(GetGcCounts().m_live, before + row.m_created) << row.m_text;
        EXPECT_EQ(CollectGarbage().m_lastFreed, row.m_created) << row.m_text;
        EXPECT_EQ(Counted::Live(), 0) << row.m_text;
    }
}

} // namespace
} // namespace kelm
