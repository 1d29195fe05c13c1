// Fixed arrays, vectors, dynamic arrays, maps and variants, with what is kept on purpose: nothing is cleared, a map's
// key is used again as it is, and nothing that was replaced is destroyed.

#include "DataSources.h"

#include <cmath>
#include <cstdint>

namespace kelm
{
namespace
{

using hand::Containers;
using hand::Counted;
using hand::Extent;
using hand::Point;
using hand::Scalars;

using FixedArrays = HandmadeTest;
using Vectors = HandmadeTest;
using Maps = HandmadeTest;
using Variants = HandmadeTest;

using IntMap = xmap<int32, int32>;

constexpr uint8 s_int32[] = {FT_INT32};

// --- Fixed arrays ----------------------------------------------------------------------------------------------------

TEST_F(FixedArrays, TakeExactlyAsManyValuesAsTheyHaveElements)
{
    Containers c;
    EXPECT_EQ(Fill(c, "{ fixed = [1, 2, 3, 4] matrix = [[1, 2, 3], [4, 5, 6]] none = [] "
                      "corners = [Point(1, 2), { y = 3 }] }"),
              "");
    EXPECT_EQ(c.m_fixed[0], 1);
    EXPECT_EQ(c.m_fixed[3], 4);
    EXPECT_EQ(c.m_matrix[0][2], 3);
    EXPECT_EQ(c.m_matrix[1][0], 4);
    EXPECT_EQ(c.m_none, 77);
    EXPECT_EQ(c.m_corners[0], (Point{1, 2}));
    EXPECT_EQ(c.m_corners[1], (Point{0, 3}));
}

TEST_F(FixedArrays, AreRefusedWithMoreOrLess)
{
    const FailingText rows[] = {
        {"{ fixed = [1, 2] }", "Expected , when read ]", 15},
        {"{ fixed = [1, 2, 3, 4, 5] }", "Expected ] when read ,", 21},
        {"{ fixed = [] }", "Expected int32 when read ]", 11},
        {"{ fixed = [1, 2, 3,] }", "Expected int32 when read ]", 19},
        {"{ fixed = [1 2] }", "Expected , when read 2", 13},
        {"{ fixed = 1 }", "Expected [ when read 1", 10},
        {"{ fixed = [1, 2, 3, 4 }", "Expected ] when read }", 22},
        {"{ none = [1] }", "Expected ] when read 1", 10},
        {"{ matrix = [1, 2] }", "Expected [ when read 1", 12},
        {"{ corners = [(1, 2)] }", "Expected , when read ]", 19},
    };
    ExpectFillFailures<Containers>(rows);
}

TEST_F(FixedArrays, KeepTheElementsReadBeforeAFailure)
{
    Containers c;
    EXPECT_ANY_THROW(Fill(c, "{ fixed = [1, 2, x] }"));
    EXPECT_EQ(c.m_fixed[0], 1);
    EXPECT_EQ(c.m_fixed[1], 2);
    EXPECT_EQ(c.m_fixed[2], 12);
}

TEST_F(FixedArrays, NeedACountAndAnAddress)
{
    ExpressionParser parser;
    parser.Init("[]");
    const auto read = [&](ssize_t count, void* data) {
        return [&parser, count, data] { ParseArrayVariable(parser, {s_int32, nullptr}, count, data); };
    };
    int32 element = 0;
    EXPECT_TRUE(FailsAssertion(read(-1, &element), "size >= 0", "src/ParseDataSource"));
    EXPECT_TRUE(FailsAssertion(read(1, nullptr), "data", "src/ParseDataSource"));
    read(0, nullptr)();
    EXPECT_EQ(parser.m_token.m_type, TOKEN_END);
}

TEST_F(Maps, AreReadByThemselves)
{
    static constexpr uint8 s_code[] = {FT_MAP, FT_INT32, FT_INT32};
    static constexpr PtrMapOrSetFns s_fns = {.mapFns = &MapFunctions<int32, int32>::table};
    xmap<int32, int32> map;
    ExpressionParser parser;
    parser.Init("[1 -> 2, 3 -> 4] rest");
    ParseMapVariable(parser, {s_code, nullptr, &s_fns}, &map);
    EXPECT_EQ(map, (xmap<int32, int32>{{1, 2}, {3, 4}}));
    EXPECT_EQ(ToStdString(parser.m_token.m_str), "rest");
}

// --- Vectors and dynamic arrays --------------------------------------------------------------------------------------

TEST_F(Vectors, ReceiveWhatIsReadInAdditionToWhatTheyHold)
{
    struct Row
    {
        const char* m_text;
        xvector<int32> m_vec;
        xvector<int32> m_dyn;
    };
    const Row rows[] = {
        {"{ }", {1, 2}, {1}},
        {"{ vec = [] dyn = [] }", {1, 2}, {1}},
        {"{ vec = [7] }", {1, 2, 7}, {1}},
        {"{ vec = [7, -8] dyn = [9] }", {1, 2, 7, -8}, {1, 9}},
        {"{ vec = [3] vec = [4] dyn = [5] dyn = [6, 7] vec = [] }", {1, 2, 3, 4}, {1, 5, 6, 7}},
    };
    for (const Row& row : rows)
    {
        Containers c;
        EXPECT_EQ(Fill(c, row.m_text), "") << row.m_text;
        EXPECT_EQ(c.m_vec, row.m_vec) << row.m_text;
        EXPECT_EQ(c.m_dyn, row.m_dyn) << row.m_text;
    }
}

TEST_F(Vectors, HoldElementsOfAnyType)
{
    Containers c;
    EXPECT_EQ(Fill(c, R"({ strings = ["a", 'too long to be kept inside the string itself', ""]
                           points = [(1, 2), Point { y = 3 }, {}]
                           vecs = [[], [1], [2, 3]]
                           dynPoints = [geom.Point(4, 5)]
                           counted = [{ id = 1 }, (2), {}]
                           extents = [int64 5, geom.Point(6, 7), Nothing]
                           maps = [[1 -> 2], [], [3 -> 4, 5 -> 6]] })"),
              "");
    ASSERT_EQ(c.m_strings.size(), 3);
    EXPECT_EQ(c.m_strings[0], "a");
    EXPECT_EQ(c.m_strings[1], "too long to be kept inside the string itself");
    EXPECT_EQ(c.m_strings[2], "");
    EXPECT_EQ(c.m_points, (xvector<Point>{{1, 2}, {0, 3}, {0, 0}}));
    EXPECT_EQ(c.m_vecs, (xvector<xvector<int32>>{{}, {1}, {2, 3}}));
    EXPECT_EQ(c.m_dynPoints, (xvector<Point>{{4, 5}}));
    ASSERT_EQ(c.m_counted.size(), 3);
    EXPECT_EQ(c.m_counted[1].m_id, 2);
    EXPECT_EQ(Counted::Live(), 3);
    ASSERT_EQ(c.m_extents.size(), 3);
    EXPECT_EQ(c.m_extents[0].Get<0>(), 5);
    EXPECT_EQ(c.m_extents[1].Get<1>(), (Point{6, 7}));
    EXPECT_EQ(c.m_extents[2].index(), 7);
    EXPECT_EQ(c.m_maps, (xvector<IntMap>{{{1, 2}}, {}, {{3, 4}, {5, 6}}}));
}

template <ETypeByteCode Code, class T>
void ExpectVector(const char* text, const xvector<T>& expected)
{
    constexpr uint8 code[] = {FT_VECTOR, FT_VOLATILE, Code};
    xvector<T> vector;
    EXPECT_EQ(ReadVariable(text, {code, nullptr}, &vector), "") << text;
    EXPECT_EQ(vector, expected) << text;
}

TEST_F(Vectors, HoldElementsOfEveryScalarType)
{
    ExpectVector<FT_BOOL, bool>("[true, false, true]", {true, false, true});
    ExpectVector<FT_INT8, int8>("[-128, 127]", {-128, 127});
    ExpectVector<FT_INT16, int16>("[-32768, 0x7fff]", {-32768, 32767});
    ExpectVector<FT_INT32, int32>("[-2147483648, +1]", {INT32_MIN, 1});
    ExpectVector<FT_INT64, int64>("[-9223372036854775808, 1]", {INT64_MIN, 1});
    ExpectVector<FT_UINT8, uint8>("[255, 0]", {255, 0});
    ExpectVector<FT_UINT16, uint16>("[65535]", {65535});
    ExpectVector<FT_UINT32, uint32>("[4294967295, 1]", {UINT32_MAX, 1});
    ExpectVector<FT_UINT64, uint64>("[18446744073709551615]", {UINT64_MAX});
    ExpectVector<FT_FLOAT32, float32>("[0.1, -2, inf]", {0.1F, -2.0F, HUGE_VALF});
    ExpectVector<FT_FLOAT64, float64>("[0.1, -2e300, 3]", {0.1, -2e300, 3.0});
    ExpectVector<FT_CHAR8, xchar>("['a', \"\\xff\"]", {'a', '\xff'});
    ExpectVector<FT_CHAR16, int16>("['a', '\\xff']", {'a', -1});
    ExpectVector<FT_STRING8, xstring>("['a', \"b\"]", {"a", "b"});
}

TEST_F(Vectors, RefuseElementsOfAScalarTypeAtTheTokenThatIsWrong)
{
    constexpr uint8 code[] = {FT_VECTOR, FT_UINT8};
    const FailingText rows[] = {
        {"[1, 256]", "Value 256 is out of range of uint8", 4},
        {"[1, -1]", "Expected uint8 when read -", 4},
        {"[1, 2.5]", "Expected uint8 when read 2.5", 4},
        {"[1, 2 \x01]", "Illegal character 0x01 outside quotes", 6},
    };
    for (const FailingText& row : rows)
    {
        xvector<uint8> vector = {9};
        EXPECT_TRUE(ThrowsLexScannerException(
            [&] {
                ReadVariable(row.m_text, {code, nullptr}, &vector);
            },
            ViewOf(row.m_text), row.m_offset, row.m_message))
            << row.m_text;
        EXPECT_EQ(vector, (xvector<uint8>{9, 1, 0})) << row.m_text;
    }
}

TEST_F(Vectors, TakeCommasBetweenElementsAndNoneBehindTheLast)
{
    const FailingText rows[] = {
        {"{ vec = [1,] }", "Expected int32 when read ]", 11},
        {"{ vec = [,] }", "Expected int32 when read ,", 9},
        {"{ vec = [1 2] }", "Expected , when read 2", 11},
        {"{ vec = [1; 2] }", "Expected , when read ;", 10},
        {"{ vec = [1, 2 }", "Expected , when read }", 14},
        {"{ vec = [", "Expected int32 when read end of text", 9},
        {"{ vec = (1) }", "Expected [ when read (", 8},
        {"{ vec = 1 }", "Expected [ when read 1", 8},
        {"{ vec = ] }", "Expected [ when read ]", 8},
        {"{ dyn = [[1] }", "Expected int32 when read [", 9},
        {"{ strings = ['a',] }", "Expected string when read ]", 17},
        {"{ points = [(1, 2),] }", "Expected { when read ]", 19},
        {"{ points = [(1, 2) (3, 4)] }", "Expected , when read (", 19},
    };
    ExpectFillFailures<Containers>(rows);
}

// The element that fails was appended before it was read.
TEST_F(Vectors, KeepWhatWasAppendedBeforeAFailure)
{
    Containers c;
    EXPECT_ANY_THROW(Fill(c, "{ vec = [7, x] }"));
    EXPECT_EQ(c.m_vec, (xvector<int32>{1, 2, 7, 0}));
    EXPECT_ANY_THROW(Fill(c, "{ points = [(1, 2), (3, x)] }"));
    EXPECT_EQ(c.m_points, (xvector<Point>{{1, 2}, {3, 0}}));
    EXPECT_ANY_THROW(Fill(c, "{ strings = ['a', 5] }"));
    EXPECT_EQ(c.m_strings.size(), 2);
}

// --- Maps ------------------------------------------------------------------------------------------------------------

TEST_F(Maps, HoldOneEntryForEachKey)
{
    struct Row
    {
        const char* m_text;
        IntMap m_map;
    };
    const Row rows[] = {
        {"{ map = [] }", {}},
        {"{ map = [1 -> 10, 2 -> 20] }", {{1, 10}, {2, 20}}},
        {"{ map = [1 -> 10, 1 -> 11] }", {{1, 11}}},
        {"{ map = [1->-10] map = [2 -> 20, 1 -> 30] map = [] }", {{1, 30}, {2, 20}}},
    };
    for (const Row& row : rows)
    {
        Containers c;
        EXPECT_EQ(Fill(c, row.m_text), "") << row.m_text;
        EXPECT_EQ(c.m_map, row.m_map) << row.m_text;
    }
}

TEST_F(Maps, TakeArrowsAndCommas)
{
    const FailingText rows[] = {
        {"{ map = [1 -> 10,] }", "Expected int32 when read ]", 17},
        {"{ map = [1 -> 10 2 -> 20] }", "Expected , when read 2", 17},
        {"{ map = [1 10] }", "Expected -> when read 10", 11},
        {"{ map = [1] }", "Expected -> when read ]", 10},
        {"{ map = [1 - > 10] }", "Expected -> when read -", 11},
        {"{ map = [1 = 10] }", "Expected -> when read =", 11},
        {"{ map = [1 ->] }", "Expected int32 when read ]", 13},
        {"{ map = [-> 10] }", "Expected int32 when read ->", 9},
        {"{ map = { 1 -> 10 } }", "Expected [ when read {", 8},
        {"{ map = [1 -> 10", "Expected , when read end of text", 16},
        {"{ byName = ['a' -> 1] }", "Expected [ when read 1", 19},
    };
    ExpectFillFailures<Containers>(rows);
}

TEST_F(Maps, NestAndEachFindsItsOwnFunctions)
{
    Containers c;
    EXPECT_EQ(Fill(c, "{ nested = [1 -> ['a' -> 10, 'b' -> 20], 2 -> [], 1 -> ['b' -> 21, 'c' -> 30]] }"), "");
    ASSERT_EQ(c.m_nested.size(), 2);
    EXPECT_EQ(c.m_nested[1], (xmap<xstring, int32>{{"a", 10}, {"b", 21}, {"c", 30}}));
    EXPECT_EQ(c.m_nested[2].size(), 0);
}

// A key written again reaches the payload that is there, which is read again in place: vectors grow.
TEST_F(Maps, ReadThePayloadOfAKeyWrittenAgainInPlace)
{
    Containers c;
    EXPECT_EQ(Fill(c, "{ byName = ['a' -> [1], 'b' -> [2], 'a' -> [3, 4]] byName = ['b' -> [5]] }"), "");
    ASSERT_EQ(c.m_byName.size(), 2);
    EXPECT_EQ(c.m_byName["a"], (xvector<int32>{1, 3, 4}));
    EXPECT_EQ(c.m_byName["b"], (xvector<int32>{2, 5}));
}

// One key variable serves the whole map and is never reset.
TEST_F(Maps, KeepTheMembersOfTheKeyBeforeThatANamedKeyDoesNotMention)
{
    Containers c;
    EXPECT_EQ(Fill(c, "{ byPoint = [{ x = 1 y = 2 } -> 1, { x = 3 } -> 2, { y = 4 } -> 3, {} -> 4, (5, 6) -> 5] }"),
              "");
    EXPECT_EQ(c.m_byPoint, (xmap<Point, int32>{{{1, 2}, 1}, {{3, 2}, 2}, {{3, 4}, 4}, {{5, 6}, 5}}));

    // Each map value begins with a new key.
    Containers again;
    EXPECT_EQ(Fill(again, "{ byPoint = [{ x = 1 y = 2 } -> 1] byPoint = [{ x = 3 } -> 2] }"), "");
    EXPECT_EQ(again.m_byPoint, (xmap<Point, int32>{{{1, 2}, 1}, {{3, 0}, 2}}));
}

TEST_F(Maps, AccumulateTheElementsOfVectorKeys)
{
    const ExpectedLeaks leaks;
    Containers c;
    EXPECT_EQ(Fill(c, "{ byVector = [[1] -> 10, [2, 3] -> 20, [] -> 30] }"), "");
    EXPECT_EQ(c.m_byVector.size(), 2);
    EXPECT_EQ(c.m_byVector[(xvector<int32>{1})], 10);
    EXPECT_EQ(c.m_byVector[(xvector<int32>{1, 2, 3})], 30);
}

TEST_F(Maps, DoNotDestroyTheirKeyVariable)
{
    const int before = Counted::Live();
    {
        Containers c;
        EXPECT_EQ(Fill(c, "{ byCounted = [{ id = 1 } -> 10, { id = 2 } -> 20, {} -> 30] }"), "");
        EXPECT_EQ(c.m_byCounted.size(), 2);
        EXPECT_EQ(Counted::Live(), before + 2 + 1);
        EXPECT_EQ(Fill(c, "{ byCounted = [] }"), ""); // also where there is none to read
        EXPECT_EQ(Counted::Live(), before + 2 + 2);
        EXPECT_ANY_THROW(Fill(c, "{ byCounted = [{ id = x }] }"));
        EXPECT_EQ(Counted::Live(), before + 2 + 3);
    }
    EXPECT_EQ(Counted::Live(), before + 3);
    Counted::s_destroyed += 3; // the three keys, for the tests that come
}

TEST_F(Maps, KeepWhatWasInsertedBeforeAFailure)
{
    Containers c;
    EXPECT_ANY_THROW(Fill(c, "{ map = [1 -> 10, 2 -> x] }")); // the entry is made before its payload is read
    EXPECT_EQ(c.m_map, (IntMap{{1, 10}, {2, 0}}));
    EXPECT_ANY_THROW(Fill(c, "{ map = [3 10] }"));
    EXPECT_EQ(c.m_map.size(), 2);
}

struct LargeKey
{
    int64 m_values[40];

    friend bool operator<(const LargeKey& a, const LargeKey& b) { return a.m_values[39] < b.m_values[39]; }
};

TEST_F(Maps, TakeKeysOfAnySize)
{
    constexpr uint8 code[] = {FT_MAP, FT_ARRAY, 40, 0, 0, 0, FT_INT64, FT_BOOL};
    constexpr PtrMapOrSetFns fns = {{&MapFunctions<LargeKey, bool>::table}};
    xmap<LargeKey, bool> map;
    const std::string zeros = Repeated("0, ", 39);
    EXPECT_EQ(ReadVariable("[[" + zeros + "7] -> true, [" + zeros + "8] -> false]", {code, nullptr, &fns}, &map), "");
    ASSERT_EQ(map.size(), 2);
    EXPECT_EQ(map.begin()->m_key.m_values[39], 7);
    EXPECT_TRUE(map.begin()->m_value);
}

TEST_F(Maps, NeedKeysWithBytes)
{
    constexpr PtrMapOrSetFns fns = {{&MapFunctions<int32, int32>::table}};
    constexpr uint8 voidKey[] = {FT_MAP, FT_VOID, FT_INT32};
    IntMap map;
    EXPECT_TRUE(FailsAssertion(
        [&] {
            ReadVariable("[]", {voidKey, nullptr, &fns}, &map);
        },
        "keySize > 0", "src/ParseDataSource"));
}

// --- Variants --------------------------------------------------------------------------------------------------------

TEST_F(Variants, TakeTheFirstAlternativeThatTheNameIsASuffixOf)
{
    struct Row
    {
        const char* m_text;
        int32 m_index;
        bool (*m_holds)(const Extent& e);
    };
    const Row rows[] = {
        {"int64 -5", 0, [](const Extent& e) { return e.Get<0>() == -5; }},
        {"kelm.int64 6", 0, [](const Extent& e) { return e.Get<0>() == 6; }},
        {"Point(1, 2)", 1,
         [](const Extent& e) {
             return e.Get<1>() == Point{1, 2};
         }}, // the first of two
        {"geom::Point Point { y = 3 }", 1,
         [](const Extent& e) {
             return e.Get<1>() == Point{0, 3};
         }},
        {"xstring 'text'", 2, [](const Extent& e) { return e.Get<2>() == "text"; }},
        {"other.Point(4)", 3, [](const Extent& e) { return e.Get<3>().m_z == 4; }},
        {"hand.other.Point other.Point { z = 5 }", 3, [](const Extent& e) { return e.Get<3>().m_z == 5; }},
        // Of a name that is more than a qualified name, only that counts.
        {"list [1, 2]", 5,
         [](const Extent& e) {
             return e.Get<5>() == xvector<int32>{1, 2};
         }},
        {"hand.list []", 5, [](const Extent& e) { return e.Get<5>().empty(); }},
        {"Nothing", 7, [](const Extent&) { return true; }},
    };
    for (const Row& row : rows)
    {
        Scalars s;
        EXPECT_EQ(Fill(s, std::string("{ extent = ") + row.m_text + " int32 = 9 }"), "") << row.m_text;
        ASSERT_EQ(s.m_extent.index(), row.m_index) << row.m_text;
        EXPECT_TRUE(row.m_holds(s.m_extent)) << row.m_text;
        EXPECT_EQ(s.m_int32, 9) << row.m_text;
    }
}

TEST_F(Variants, RefuseOthersAtTheTokenBehindTheName)
{
    const FailingText rows[] = {
        {"{ extent = float64 1 }", "Unknown member 'float64' of variant hand::Extent", 19},
        {"{ extent = nt64 1 }", "Unknown member 'nt64' of variant hand::Extent", 16},
        {"{ extent = std.int64 1 }", "Unknown member 'std::int64' of variant hand::Extent", 21},
        {"{ extent = null }", "Unknown member 'null' of variant hand::Extent", 16},
        {"{ extent = 5 }", "Expected identifier when read 5", 11},
        {"{ extent = kelm. 5 }", "Expected identifier when read 5", 17},
        {"{ extent = int64 }", "Expected int64 when read }", 17},
        {"{ extent = int64 = 5 }", "Expected int64 when read =", 17},
        {"{ extent = int64(5) }", "Expected int64 when read (", 16},
        {"{ extent = xstring 5 }", "Expected string when read 5", 19},
        {"{ extent = Nothing 5 }", "Expected identifier when read 5", 19},
    };
    ExpectFillFailures<Scalars>(rows);
}

TEST_F(Variants, HoldADefaultOfTheNewAlternativeWhereItsValueFails)
{
    Scalars s;
    Fill(s, "{ extent = int64 5 }");
    EXPECT_ANY_THROW(Fill(s, "{ extent = nosuch 1 }"));
    EXPECT_EQ(s.m_extent.Get<0>(), 5);
    EXPECT_ANY_THROW(Fill(s, "{ extent = Point { y = 6 x = z } }"));
    EXPECT_EQ(s.m_extent.Get<1>(), (Point{0, 6}));
    EXPECT_ANY_THROW(Fill(s, "{ extent = list [1, 2, x] }"));
    EXPECT_EQ(s.m_extent.Get<5>(), (xvector<int32>{1, 2, 0}));
}

TEST_F(Variants, BeginEachValueAnew)
{
    Scalars s;
    EXPECT_EQ(Fill(s, "{ extent = Point(1, 2) extent = Point { y = 3 } }"), "");
    EXPECT_EQ(s.m_extent.Get<1>(), (Point{0, 3}));
}

TEST_F(Variants, DoNotDestroyTheAlternativeThatTheyHeldBefore)
{
    const int before = Counted::Live();
    {
        Scalars s;
        Fill(s, "{ extent = Counted { id = 1 } }");
        EXPECT_EQ(Counted::Live(), before + 1);
        Fill(s, "{ extent = Counted { id = 2 } }");
        EXPECT_EQ(Counted::Live(), before + 2);
        Fill(s, "{ extent = int64 3 }");
        EXPECT_EQ(Counted::Live(), before + 2);
    }
    EXPECT_EQ(Counted::Live(), before + 2);
    Counted::s_destroyed += 2; // both, for the tests that come
}

// An alternative has no function table.
TEST_F(Variants, CannotHoldAMap)
{
    ReflectionByteCode type(hand::GetExtentVariant().m_fields[6].m_bc, nullptr);
    IntMap map;
    EXPECT_TRUE(FailsAssertion([&] { ReadVariable("[]", type, &map); }, "rbc.m_mapOrSetFns", "src/ParseDataSource"));
    const std::string text = "hand.Table []";
    alignas(Extent) char bytes[sizeof(Extent)] = {};
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    EXPECT_TRUE(FailsAssertion([&] { ParseVariantVariable(parser, hand::GetExtentVariant(), bytes); },
                               "rbc.m_mapOrSetFns", "host/klObject/values/ReflectedVariable"));
}

} // namespace
} // namespace kelm
