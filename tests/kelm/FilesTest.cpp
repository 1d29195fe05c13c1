#include <kelm/Files.h>

#include "DoorTypes.h"

#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

namespace kelm
{

namespace
{

using door::Circle;
using door::Colour;
using door::Line;
using door::Order;
using door::Shape;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Files : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { Register<Colour, Line, Order, Shape, Circle>(); }

    std::filesystem::path Path(const char* name = "a.kds") const { return m_folder.GetPath() / name; }

    TemporaryFolder m_folder;
};

// --- what reads

// The text of an order without layout.
std::string Compact(const std::string& text)
{
    std::string compact;
    bool isQuoted = false;
    for (const char c : text)
    {
        isQuoted ^= c == '"';
        const bool isSpace = c == ' ' || c == '\n';
        if (!isSpace || isQuoted)
            compact += c;
        else if (!compact.empty() && compact.back() != ' ')
            compact += ' ';
    }
    return compact;
}

std::string CompactOf(const Order& order)
{
    return Compact(Write(order));
}

TEST_F(Files, ABodyAloneOrBehindTheClassName)
{
    for (const char* text : {"Order { tiny = 5 }", "door::Order { tiny = 5 }", "door.Order{tiny=5}", "{ tiny = 5 }",
                             "\xEF\xBB\xBF// an order\n{ tiny = 5 }\r\n"})
    {
        const Order order = Read<Order>(text);
        EXPECT_EQ(order.tiny, 5) << text;
        EXPECT_EQ(order.ratio, 0.5F);
        const Result<Order> twin = TryRead<Order>(text);
        ASSERT_TRUE(twin);
        EXPECT_EQ(twin->tiny, 5);
    }
    EXPECT_EQ(Read<Line>("('nut', 7, 0.25)").quantity, 7);
}

TEST_F(Files, WhatIsNotWrittenKeepsTheValueOfANewOne)
{
    EXPECT_EQ(CompactOf(Read<Order>("{}")), CompactOf(Order()));
}

TEST_F(Files, AnyDescribedTypeIsRead)
{
    EXPECT_EQ(Read<int>(" 7 "), 7);
    EXPECT_EQ(Read<xstring>("'seven'"), "seven");
    EXPECT_THAT(Read<xvector<Line>>("[{ item = 'a' }, ('b', 2, 3)]"), ::testing::SizeIs(2));
    EXPECT_EQ(Read<Colour>("DEEP_BLUE"), Colour::DEEP_BLUE);
}

// --- what does not

struct ErrorRow
{
    std::string m_text;
    ErrorKind m_kind;
    std::string m_message;
    int64 m_line;
    int64 m_column;
    std::string m_excerpt;
    std::string m_fieldPath = {};
    std::vector<std::string> m_suggestions = {};
};

const ErrorRow s_errors[] = {
    // Syntax
    {"", ErrorKind::Syntax, "Expected { when read end of text", 1, 1, "\n^"},
    {"{ tiny 5 }", ErrorKind::Syntax, "Expected = when read 5", 1, 8, "{ tiny 5 }\n       ^"},
    {"{ tiny = 5, big = 1 }", ErrorKind::Syntax, "Expected identifier when read ,", 1, 11,
     "{ tiny = 5, big = 1 }\n          ^"},
    {"{ tiny = 5 } more", ErrorKind::Syntax, "Expected end of text when read more", 1, 14,
     "{ tiny = 5 } more\n             ^~~~"},
    {"{ customer = \"x\n}", ErrorKind::Syntax, "Unterminated string literal", 1, 14, "{ customer = \"x\n             ^",
     ".customer"},
    {"{ lines = 5 }", ErrorKind::Syntax, "Expected [ when read 5", 1, 11, "{ lines = 5 }\n          ^", ".lines"},
    {"{ rates = ['a' = 5] }", ErrorKind::Syntax, "Expected -> when read =", 1, 16,
     "{ rates = ['a' = 5] }\n               ^", ".rates"},
    // Types
    {"{\n    lines = [{ quantity = \"three\" }] }", ErrorKind::Type, "Expected int32 when read \"three\"", 2, 27,
     "    lines = [{ quantity = \"three\" }] }\n                          ^~~~~~~", ".lines[0].quantity"},
    {"{ lines = [{}, {}, ('a', true)] }", ErrorKind::Type, "Expected int32 when read true", 1, 26,
     "{ lines = [{}, {}, ('a', true)] }\n                         ^~~~", ".lines[2].quantity"},
    {"{ codes = [1, 2, x] }", ErrorKind::Type, "Expected int32 when read x", 1, 18,
     "{ codes = [1, 2, x] }\n                 ^", ".codes[2]"},
    {"{ rates = [\"EUR\" -> 1, \"USD\" -> false] }", ErrorKind::Type, "Expected float64 when read false", 1, 33,
     "{ rates = [\"EUR\" -> 1, \"USD\" -> false] }\n                                ^~~~~", ".rates[\"USD\"]"},
    {"{ matrix = [1, '2'] }", ErrorKind::Type, "Expected int32 when read '2'", 1, 16,
     "{ matrix = [1, '2'] }\n               ^~~", ".matrix[1]"},
    {"{ codes = ['] }", ErrorKind::Syntax, "Unterminated string literal", 1, 12, "{ codes = ['] }\n           ^",
     ".codes[0]"},
    {"{ codes = []' }", ErrorKind::Syntax, "Unterminated string literal", 1, 13, "{ codes = []' }\n            ^",
     ".codes"},
    {"{ matrix = [] }", ErrorKind::Type, "Expected int32 when read ]", 1, 13, "{ matrix = [] }\n            ^",
     ".matrix[0]"},
    {"Line { }", ErrorKind::Type, "Expected door::Order when read Line", 1, 1, "Line { }\n^~~~"},
    // Ranges
    {"{ tiny = 300 }", ErrorKind::Range, "Value 300 is out of range of int8", 1, 10, "{ tiny = 300 }\n         ^~~",
     ".tiny"},
    {"{ big = 18446744073709551616 }", ErrorKind::Range, "Value 18446744073709551616 is out of range of uint64", 1, 9,
     "{ big = 18446744073709551616 }\n        ^~~~~~~~~~~~~~~~~~~~", ".big"},
    // Names
    {"{ custmer = 'x' }",
     ErrorKind::Name,
     "Unknown member 'custmer' of class door::Order",
     1,
     3,
     "{ custmer = 'x' }\n  ^~~~~~~",
     "",
     {"customer"}},
    {"{ lines = [{ qantity = 7 }] }",
     ErrorKind::Name,
     "Unknown member 'qantity' of class door::Line",
     1,
     14,
     "{ lines = [{ qantity = 7 }] }\n             ^~~~~~~",
     ".lines[0]",
     {"quantity"}},
    {"{ colour = DEEPBLUE }",
     ErrorKind::Name,
     "Unknown member 'DEEPBLUE' of enum door::Colour",
     1,
     12,
     "{ colour = DEEPBLUE }\n           ^~~~~~~~",
     ".colour",
     {"DEEP_BLUE"}},
    {"{ colour = 5 }", ErrorKind::Name, "Unknown value '5' of enum door::Colour", 1, 12, "{ colour = 5 }\n           ^",
     ".colour"},
    {"{ tiny = 5 tiny = 6 }", ErrorKind::Name, "Member 'tiny' of class door::Order is written twice", 1, 12,
     "{ tiny = 5 tiny = 6 }\n           ^~~~"},
};

void ExpectError(const Error& error, const ErrorRow& row, const std::string& source)
{
    EXPECT_EQ(error.GetKind(), row.m_kind) << row.m_text;
    EXPECT_EQ(error.GetMessage(), row.m_message) << row.m_text;
    EXPECT_EQ(error.GetSource(), source);
    EXPECT_EQ(error.GetLine(), row.m_line) << row.m_text;
    EXPECT_EQ(error.GetColumn(), row.m_column) << row.m_text;
    EXPECT_EQ(error.GetExcerpt(), row.m_excerpt) << row.m_text;
    EXPECT_EQ(error.GetFieldPath(), row.m_fieldPath) << row.m_text;
    EXPECT_EQ(error.GetSuggestions(), row.m_suggestions) << row.m_text;
}

template <class F>
void ExpectThrow(const ErrorRow& row, const std::string& source, const F& read)
{
    try
    {
        read();
        ADD_FAILURE() << row.m_text;
    }
    catch (const Error& e)
    {
        ExpectError(e, row, source);
    }
}

TEST_F(Files, ErrorsHaveTheirPlaces)
{
    for (const ErrorRow& row : s_errors)
    {
        ExpectThrow(row, "<text>", [&] { Read<Order>(row.m_text); });
        ExpectError(TryRead<Order>(row.m_text).GetError(), row, "<text>");
        const std::string path = m_folder.MakeFile("a.kds", row.m_text);
        ExpectThrow(row, path, [&] { ReadFile<Order>(path); });
        ExpectError(TryReadFile<Order>(path).GetError(), row, path);
        ExpectError(TryRead<Root<Order>>(row.m_text).GetError(), row, "<text>");
    }
}

// --- files

TEST_F(Files, AreWrittenAndReadBack)
{
    Order order;
    order.customer = "Ada";
    order.codes.clear();
    order.rates["EUR"] = 1.5;
    order.lines.push_back({"nut", 7, 0.25});
    WriteFile(Path(), order);
    EXPECT_EQ(TextOfFile(Path()), Write(order) + "\n");
    EXPECT_EQ(Write(ReadFile<Order>(Path())), Write(order));
    EXPECT_THAT(Write(order), ::testing::StartsWith("Order {\n    customer = \"Ada\"\n    lines = [\n"));
    EXPECT_TRUE(TryWriteFile(Path(), Order()));
    EXPECT_EQ(CompactOf(ReadFile<Order>(Path())), CompactOf(Order()));
}

TEST_F(Files, ThatCannotBeReadOrWrittenSayWhy)
{
    const std::string missing = Path("missing.kds");
    const Error unread = TryReadFile<Order>(missing).GetError();
    EXPECT_EQ(unread.GetKind(), ErrorKind::File);
    EXPECT_EQ(unread.what(), "error: cannot read " + missing + ": No such file or directory");
    EXPECT_EQ(unread.GetSource(), missing);
    EXPECT_EQ(unread.GetLine(), 0);
    EXPECT_THROW(ReadFile<Order>(missing), Error);
    EXPECT_EQ(TryReadFile<Order>(m_folder.GetPath()).GetError().GetKind(), ErrorKind::File);

    const std::string nowhere = Path("no/such/folder.kds");
    const Error unwritten = TryWriteFile(nowhere, Order()).GetError();
    EXPECT_EQ(unwritten.GetKind(), ErrorKind::File);
    EXPECT_EQ(unwritten.what(), "error: cannot write " + nowhere + ": No such file or directory");
    EXPECT_THROW(WriteFile(nowhere, Order()), Error);
}

TEST_F(Files, ThatCannotBeWrittenStayAsTheyAre)
{
    const std::string path = m_folder.MakeFile("a.kds", "old");
    Order order;
    order.lines.push_back({});
    order.colour = static_cast<Colour>(3);
    const Error error = TryWriteFile(path, order).GetError();
    EXPECT_EQ(error.GetKind(), ErrorKind::Type);
    EXPECT_EQ(error.GetMessage(), "cannot write the object: .colour: 3 is no value of enum door::Colour");
    EXPECT_EQ(error.GetFieldPath(), ".colour");
    EXPECT_EQ(TextOfFile(path), "old");
}

} // namespace

} // namespace kelm
