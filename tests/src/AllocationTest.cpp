// What allocates and what does not. A program of its own, whose operators new and delete count.

#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <support/AllocationCount.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace measured
{

enum class Colour : kelm::int32
{
    RED,
    GREEN
};

struct Point
{
    kelm::int32 x = 0;
    kelm::int32 y = 0;
};

using Extent = kelm::xvariant<double, Point>;

struct Scalars
{
    bool flag = false;
    kelm::int8 i8 = 0;
    kelm::uint16 u16 = 0;
    kelm::int32 i32 = 0;
    kelm::int64 i64 = 0;
    float f32 = 0;
    double f64 = 0;
    char character = 0;
    Colour colour = Colour::RED;
    Point point;
    Extent extent;
    std::array<double, 3> numbers{};
    kelm::xstring name;
};

struct Lists
{
    kelm::xvector<kelm::int64> integers;
    kelm::xvector<Scalars> records;
    kelm::xvector<kelm::xstring> texts;
    kelm::xvector<kelm::xvector<kelm::int32>> rows;
    kelm::xmap<kelm::xstring, kelm::int64> counts;
};

} // namespace measured

KELM_ENUM(measured::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN))
KELM_CLASS(measured::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_VARIANT(measured::Extent, "radius", "point")
KELM_CLASS(measured::Scalars, KELM_MODEL(flag), KELM_MODEL(i8), KELM_MODEL(u16), KELM_MODEL(i32), KELM_MODEL(i64),
           KELM_MODEL(f32), KELM_MODEL(f64), KELM_MODEL(character), KELM_MODEL(colour), KELM_MODEL(point),
           KELM_MODEL(extent), KELM_MODEL(numbers), KELM_MODEL(name))
KELM_CLASS(measured::Lists, KELM_MODEL(integers), KELM_MODEL(records), KELM_MODEL(texts), KELM_MODEL(rows),
           KELM_MODEL(counts))

namespace kelm
{
namespace
{

void RegisterMeasuredTypes()
{
    static const bool isDone = []
    {
        using namespace measured;
        Register_Project_klKelmScript();
        RegisterTypes<Colour, Point, Extent, Scalars, Lists>(nullptr);
        return true;
    }();
    static_cast<void>(isDone);
}

// Of the second call: the first one on a thread may find out about its stack.
template <class Function>
std::size_t AllocationsOf(Function&& function)
{
    function();
    return CountAllocations(function);
}

std::size_t AllocationsOfExpression(const std::string& text)
{
    return AllocationsOf(
        [&]
        {
            KSParser parser;
            parser.Init(ViewOf(text));
            KSValue value;
            parser.ParseExpression(value);
        });
}

std::string Quoted(int length)
{
    return '"' + std::string(static_cast<std::size_t>(length), 'q') + '"';
}

// --- Expressions

TEST(Allocation, OfScalarExpressionsIsNone)
{
    const std::string texts[] = {"1",
                                 "0xff",
                                 "1.5",
                                 "true",
                                 "-1",
                                 "~1",
                                 "!true",
                                 "(((1)))",
                                 "1+2-3*4/5%6",
                                 "1.5+2.25-3.5*4.75/5.125",
                                 "2^^10",
                                 "1<<2>>1",
                                 "1|2&3^4",
                                 "1<2",
                                 "1.5>=2.5",
                                 "1==1",
                                 "true||false&&true",
                                 "true?1:2",
                                 "is_int(1)",
                                 "is_double(1.5)",
                                 "bool(1)",
                                 "char(65)",
                                 "int(1.5)",
                                 "double(1)",
                                 "sin(0.5)*cos(0.5)+tan(0.5)-exp(0.5)/log(0.5)",
                                 "123456789012345678",
                                 "1.2345678901234567e+300",
                                 "3.14159265358979323846264338327950288419716939937510582",
                                 std::string(1000, '(') + "1" + std::string(1000, ')')};
    for (const std::string& text : texts)
        EXPECT_EQ(AllocationsOfExpression(text), 0u) << text.substr(0, 80);
}

TEST(Allocation, OfAChainOfOperatorsIsNone)
{
    std::string text = "1";
    for (int i = 0; i < 10'000; ++i)
        text += "+1*2-0.5";
    EXPECT_EQ(AllocationsOfExpression(text), 0u);
}

TEST(Allocation, OfStringsBeginsAboveTheInlineSize)
{
    constexpr int inlineSize = static_cast<int>(xstring::InlineCapacity);
    EXPECT_EQ(AllocationsOfExpression(Quoted(inlineSize)), 0u);
    EXPECT_EQ(AllocationsOfExpression(Quoted(inlineSize + 1)), 1u);
    EXPECT_EQ(AllocationsOfExpression(Quoted(10) + '+' + Quoted(inlineSize - 10)), 0u);
    EXPECT_EQ(AllocationsOfExpression(Quoted(10) + '+' + Quoted(inlineSize - 9)), 1u);
    EXPECT_EQ(AllocationsOfExpression("'abc'+'def'=='abcdef' ? string(12) : string(1.5)"), 0u);
    EXPECT_EQ(AllocationsOfExpression("\"\\n\\x41\\u00e9\""), 0u);
}

// --- Qualified names

const std::string s_names[] = {"",        "a",     "a.b::c", " a . b\n::\tc ",
                               "a::b<c>", "a:::b", "a::",    "::a",
                               "1",       "'a",    "a.'b",   "a_name::that_is_longer.than::a_short::string.is"};

TEST(Allocation, OfMatchingQualifiedNamesIsNone)
{
    for (const std::string& path : s_names)
        for (const std::string& suffix : s_names)
            EXPECT_EQ(AllocationsOf([&] { IsPathSuffix(ViewOf(path), ViewOf(suffix)); }), 0u) << path << ", " << suffix;
}

TEST(Allocation, OfSplittingQualifiedNamesIsTheSegmentsAlone)
{
    for (const std::string& name : s_names)
    {
        xvector<SubString> kept;
        xvector<SubString> segments;
        const auto split = [&](xvector<SubString>& into)
        {
            SubString text = ViewOf(name);
            TokenisePath(text, into);
        };
        const auto splitAnew = [&]
        {
            segments = {};
            split(segments);
        };
        const auto pushAnew = [&]
        {
            segments = {};
            for (const SubString segment : kept)
                segments.push_back(segment);
        };
        EXPECT_EQ(AllocationsOf([&] { split(kept); }), 0u) << name; // they go where the last ones were
        EXPECT_EQ(AllocationsOf(splitAnew), AllocationsOf(pushAnew)) << name;
    }
}

// --- Paths

TEST(Allocation, OfPathsIsNone)
{
    RegisterMeasuredTypes();
    const ptr<IObject> object = CreateGcObject<measured::Lists>();
    RegisterGcObject(object);
    const GcRoot root(object);
    measured::Lists& lists = *static_cast<measured::Lists*>(object.self());
    lists.records.resize(3);
    lists.rows.resize(2);
    lists.rows[1].resize(4);

    for (const char* text : {"", ".integers", ".records[2].point.y", ".records[1].numbers[2]", ".rows[1][3]",
                             " . records [ 0 ] . name", ".records[2].a_name_that_is_longer_than_a_short_string"})
    {
        const bool isError = std::string(text).find("a_name") != std::string::npos;
        const xstring path(text);
        xstring error;
        const std::size_t allocations = AllocationsOf(
            [&]
            {
                ReflectionByteCode type;
                NavigatePathToField(object, path, type, false, error);
            });
        EXPECT_EQ(allocations, 0u) << text; // a message goes where the last one was
        EXPECT_EQ(error.empty(), !isError) << text;
    }
}

// --- Values of data sources

// Reads a member of an existing object.
std::size_t AllocationsOfMember(const std::string& member)
{
    RegisterMeasuredTypes();
    const ReflectedClass& rc = _GetReflected(static_cast<const measured::Scalars*>(nullptr));
    const std::string text = '{' + member + '}';
    return AllocationsOf(
        [&]
        {
            measured::Scalars object;
            ExpressionParser parser;
            parser.Init(ViewOf(text));
            ParseClassVariable(parser, rc, &object);
        });
}

TEST(Allocation, OfScalarsIsNone)
{
    for (const char* member :
         {"", "flag = true", "i8 = -12", "u16 = 65535", "i32 = 0x7fffffff", "i64 = -9223372036854775808", "f32 = 1.5",
          "f64 = 1.2345678901234567e+300", "f64 = inf", "character = 'c'", "colour = GREEN", "colour = 1",
          "point = (1, 2)", "point = { y = 2 x = 1 }", "point = measured::Point(1, 2)", "extent = radius 1.5",
          "extent = point(1, 2)", "numbers = [1, 2.5, -3]", "flag = true i8 = 1 u16 = 2 i32 = 3 f64 = 4.5"})
        EXPECT_EQ(AllocationsOfMember(member), 0u) << member;
}

TEST(Allocation, OfStringMembersBeginsAboveTheInlineSize)
{
    constexpr int inlineSize = static_cast<int>(xstring::InlineCapacity);
    EXPECT_EQ(AllocationsOfMember("name = " + Quoted(inlineSize)), 0u);
    EXPECT_EQ(AllocationsOfMember("name = " + Quoted(inlineSize + 1)), 1u);
}

TEST(Allocation, OfAnObjectIsTheObjectAlone)
{
    RegisterMeasuredTypes();
    const xstring text("measured::Scalars { i32 = 1 f64 = 2.5 point = (3, 4) name = \"short\" colour = GREEN }");
    xstring error;
    EXPECT_EQ(AllocationsOf([&] { ParseDataSourceFromString(text, error); }), 1u);
    EXPECT_EQ(error, "");
    CollectGarbage();
}

// --- The memory of reading

constexpr int s_count = 20'000;

struct MemoryRow
{
    const char* m_name;
    std::string (*m_text)();
    void (*m_fill)(measured::Lists&); // by hand, element by element, as reading does
};

std::string ListText(const char* member, std::string (*element)(int))
{
    std::string text = std::string("measured::Lists { ") + member + " = [";
    for (int i = 0; i < s_count; ++i)
        text += (i == 0 ? "" : ", ") + element(i);
    return text + "] }";
}

const MemoryRow s_memoryRows[] = {
    {"integers", [] { return ListText("integers", [](int i) { return std::to_string(i); }); },
     [](measured::Lists& lists)
     {
         for (int i = 0; i < s_count; ++i)
             lists.integers.push_back(i);
     }},
    {"records",
     [] { return ListText("records", [](int i) { return "{ name = \"abc\" i32 = " + std::to_string(i) + " }"; }); },
     [](measured::Lists& lists)
     {
         for (int i = 0; i < s_count; ++i)
             lists.records.emplace_back();
     }},
    {"strings of 40", [] { return ListText("texts", [](int) { return Quoted(40); }); },
     [](measured::Lists& lists)
     {
         const std::string text(40, 'q');
         for (int i = 0; i < s_count; ++i)
             lists.texts.emplace_back(text.data(), 40);
     }},
    {"vectors of 3", [] { return ListText("rows", [](int i) { return '[' + std::to_string(i) + ", 2, 3]"; }); },
     [](measured::Lists& lists)
     {
         for (int i = 0; i < s_count; ++i)
             for (int j = 0; j < 3; ++j)
             {
                 if (j == 0)
                     lists.rows.emplace_back();
                 lists.rows.back().push_back(j);
             }
     }},
    {"map",
     [] { return ListText("counts", [](int i) { return "\"key " + std::to_string(i * 7919 % s_count) + "\" -> 1"; }); },
     [](measured::Lists& lists)
     {
         for (int i = 0; i < s_count; ++i)
             lists.counts[xstring(("key " + std::to_string(i * 7919 % s_count)).c_str())] = 1;
     }},
};

TEST(Memory, OfReadingIsTheObjectsOwnWithinATenth)
{
    RegisterMeasuredTypes();
    for (const MemoryRow& row : s_memoryRows)
    {
        const xstring text(row.m_text().c_str());
        xstring error;
        const auto read = [&] { ParseDataSourceFromString(text, error); };
        const std::size_t bytesRead = MeasurePeakBytes(read);
        EXPECT_EQ(error, "") << row.m_name;
        CollectGarbage();

        const auto fill = [&]
        {
            const ptr<IObject> object = CreateGcObject<measured::Lists>();
            RegisterGcObject(object);
            row.m_fill(*static_cast<measured::Lists*>(object.self()));
        };
        const std::size_t bytesFilled = MeasurePeakBytes(fill);
        CollectGarbage();

        EXPECT_LE(static_cast<double>(bytesRead), 1.1 * static_cast<double>(bytesFilled)) << row.m_name;
    }
}

TEST(Memory, OfATextIsFreedWhereAnotherValueTakesItsPlace)
{
    const std::string longText(1000, 'x');
    for (const char* text : {"1", "(2.5)", "true", "-(7)", "'b'", "is_int(1)", "1 + 2", "1 < 2"})
    {
        const auto evaluate = [&]
        {
            KSValue value(xstring(longText.c_str()));
            KSParser parser;
            parser.Init(SubString(text));
            parser.ParseExpression(value);
        };
        evaluate();
        const std::size_t before = GetAllocationCounts().m_liveBytes;
        evaluate();
        EXPECT_EQ(GetAllocationCounts().m_liveBytes, before) << text;
    }
}

TEST(Memory, OfReadingIsFreedWithTheObjects)
{
    RegisterMeasuredTypes();
    CollectGarbage();
    const std::size_t before = GetAllocationCounts().m_liveBytes;
    for (const MemoryRow& row : s_memoryRows)
    {
        const std::string text = row.m_text();
        xstring error;
        ParseDataSourceFromString(xstring(text.c_str()), error);
        EXPECT_GT(GetAllocationCounts().m_liveBytes, before + s_count) << row.m_name;
    }
    CollectGarbage();
    EXPECT_EQ(GetAllocationCounts().m_liveBytes, before);
}

} // namespace
} // namespace kelm
