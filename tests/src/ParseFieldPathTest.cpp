// Where paths lead, where they end, and how they fail.

#include "FieldPaths.h"

#include <support/HandmadeClasses.h>

#include <cstring>
#include <string>

namespace kelm
{
namespace
{

using hand::As;
using hand::Containers;
using hand::Named;
using hand::New;
using hand::Node;
using hand::Outer;
using hand::Plain;
using hand::Point;
using hand::Qualified;
using hand::Scalars;
using hand::Wrapper;

using FieldPath = HandmadeTest;

// A path that ends at a field or element: its address, the first code of its declared type, and the rest of the path.
template <class T>
struct ReachingRow
{
    const char* m_path;
    const void* (*m_address)(const T& object);
    int m_code;
    const char* m_rest = "";
};

template <class T, std::size_t N>
void ExpectReached(ptr<IObject> object, const ReachingRow<T> (&rows)[N])
{
    for (const ReachingRow<T>& row : rows)
        for (const bool writeAccess : {false, true})
        {
            const Reached reached = Walk(object, row.m_path, writeAccess);
            EXPECT_EQ(reached.m_address, row.m_address(As<T>(object))) << row.m_path;
            ASSERT_TRUE(reached.m_type.m_bc) << row.m_path;
            EXPECT_EQ(*reached.m_type.m_bc, row.m_code) << row.m_path;
            EXPECT_EQ(reached.m_rest, row.m_rest) << row.m_path;
        }
}

struct FailingPath
{
    std::string m_path;
    std::string m_message;
    ssize_t m_offset;
};

template <std::size_t N>
void ExpectFailures(ptr<IObject> object, const FailingPath (&rows)[N])
{
    for (const FailingPath& row : rows)
        for (const bool writeAccess : {false, true})
            EXPECT_TRUE(ThrowsLexScannerException([&] { Walk(object, row.m_path, writeAccess); }, ViewOf(row.m_path),
                                                  row.m_offset, row.m_message))
                << row.m_path;
}

struct AssertingPath
{
    const char* m_path;
    const char* m_condition;
};

template <std::size_t N>
void ExpectAssertions(ptr<IObject> object, const AssertingPath (&rows)[N])
{
    for (const AssertingPath& row : rows)
        for (const bool writeAccess : {false, true})
            EXPECT_TRUE(
                FailsAssertion([&] { Walk(object, row.m_path, writeAccess); }, row.m_condition, "src/ParseFieldPath"))
                << row.m_path;
}

// --- Fields ----------------------------------------------------------------------------------------------------------

TEST_F(FieldPath, OfNoStepsIsTheObjectWithoutAType)
{
    const ptr<IObject> object = New<Point>();
    for (const char* path : {"", "  ", "x", "[0]", "5 .x", "-> .x", "// .x"})
    {
        const Reached reached = Walk(object, path);
        EXPECT_EQ(reached.m_address, object.self()) << path;
        EXPECT_EQ(reached.m_type.m_bc, nullptr) << path;
        EXPECT_EQ(reached.m_type.m_stringTable, nullptr) << path;
        EXPECT_EQ(reached.m_type.m_mapOrSetFns, nullptr) << path;
    }
}

TEST_F(FieldPath, ReachesModelFieldsOfEveryKindOfValue)
{
    const ReachingRow<Scalars> rows[] = {
        {".bool", [](const Scalars& s) -> const void* { return &s.m_bool; }, FT_BOOL},
        {".int8", [](const Scalars& s) -> const void* { return &s.m_int8; }, FT_INT8},
        {".int16", [](const Scalars& s) -> const void* { return &s.m_int16; }, FT_INT16},
        {".int32", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32},
        {".int64", [](const Scalars& s) -> const void* { return &s.m_int64; }, FT_INT64},
        {".uint8", [](const Scalars& s) -> const void* { return &s.m_uint8; }, FT_UINT8},
        {".uint16", [](const Scalars& s) -> const void* { return &s.m_uint16; }, FT_UINT16},
        {".uint32", [](const Scalars& s) -> const void* { return &s.m_uint32; }, FT_UINT32},
        {".uint64", [](const Scalars& s) -> const void* { return &s.m_uint64; }, FT_UINT64},
        {".float32", [](const Scalars& s) -> const void* { return &s.m_float32; }, FT_FLOAT32},
        {".float64", [](const Scalars& s) -> const void* { return &s.m_float64; }, FT_FLOAT64},
        {".char8", [](const Scalars& s) -> const void* { return &s.m_char8; }, FT_CHAR8},
        {".char16", [](const Scalars& s) -> const void* { return &s.m_char16; }, FT_CHAR16},
        {".string8", [](const Scalars& s) -> const void* { return &s.m_string8; }, FT_STRING8},
        {".string16", [](const Scalars& s) -> const void* { return &s.m_string16; }, FT_STRING16},
        {".color", [](const Scalars& s) -> const void* { return &s.m_color; }, FT_ENUM},
        {".extent", [](const Scalars& s) -> const void* { return &s.m_extent; }, FT_VARIANT},
        {"\n . /* c */ int32 // d", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32},
        // The walk ends silently at the first token that its position does not take.
        {".int32 junk", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32, "junk"},
        {".int32.x", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32, ".x"},
        {".int32=5", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32, "=5"},
        {".int32]", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32, "]"},
        {".bool::x", [](const Scalars& s) -> const void* { return &s.m_bool; }, FT_BOOL, "::x"},
        {".  int32\t\n", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32},
        {".int32[0]", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32, "[0]"},
        {".string8[0]", [](const Scalars& s) -> const void* { return &s.m_string8; }, FT_STRING8, "[0]"},
        {".extent.x", [](const Scalars& s) -> const void* { return &s.m_extent; }, FT_VARIANT, ".x"},
        {".int32 = 5 \x01", [](const Scalars& s) -> const void* { return &s.m_int32; }, FT_INT32, "= 5 \x01"},
    };
    ExpectReached(New<Scalars>(), rows);
}

TEST_F(FieldPath, ExpectsAModelFieldBehindADot)
{
    const std::string longName(1000, 'n');
    const std::string longPath = "." + longName;
    const std::string longMessage = "Identifier " + longName + " is not a model field of class hand::Scalars";
    const FailingPath rows[] = {
        {".", "Expected identifier when read end of text", 1},
        {". ", "Expected identifier when read end of text", 2},
        {"..x", "Expected identifier when read .", 1},
        {".[0]", "Expected identifier when read [", 1},
        {".'x'", "Expected identifier when read 'x'", 1},
        {". 5", "Expected identifier when read 5", 2},
        // An unknown name is reported at the name, with the class by its full name.
        {".nosuch", "Identifier nosuch is not a model field of class hand::Scalars", 1},
        {" . Int32 ", "Identifier Int32 is not a model field of class hand::Scalars", 3},
        {".int", "Identifier int is not a model field of class hand::Scalars", 1},
        {".int321", "Identifier int321 is not a model field of class hand::Scalars", 1},
        {".nosuch\x01", "Identifier nosuch is not a model field of class hand::Scalars", 1},
        // However long it is.
        {longPath.c_str(), longMessage.c_str(), 1},
        // What follows a field is scanned one token ahead.
        {".int32 \x01", "Illegal character 0x01 outside quotes", 7},
        {".int32 'x", "Unterminated string literal", 7},
        {".\x80", "Illegal character 0x80 outside quotes", 1},
    };
    ExpectFailures(New<Scalars>(), rows);
}

TEST_F(FieldPath, TellsNamesOfAnyLengthApart)
{
    const ptr<IObject> object = New<Named>();
    constexpr int numIdentifiers = 8;
    for (int i = 0; i < numIdentifiers; ++i)
        for (const char* rest : {"", " ", ".x", "[0]", "[", ".", ". 5"})
            EXPECT_EQ(Walk(object, "." + std::string(Named::Names[i]) + rest).m_address, &As<Named>(object).m_values[i])
                << Named::Names[i] << rest;
    const FailingPath rows[] = {
        {".b", "Identifier b is not a model field of class hand::Named", 1},
        {".abcdef", "Identifier abcdef is not a model field of class hand::Named", 1},
        {".abcdefgi", "Identifier abcdefgi is not a model field of class hand::Named", 1},
        {".abcdefghk", "Identifier abcdefghk is not a model field of class hand::Named", 1},
        {".abcdefghijklmno", "Identifier abcdefghijklmno is not a model field of class hand::Named", 1},
        {".abcdefghijklmnopr", "Identifier abcdefghijklmnopr is not a model field of class hand::Named", 1},
        {".abcdefghijklmnopqr", "Identifier abcdefghijklmnopqr is not a model field of class hand::Named", 1},
        // A text that equals a name is no identifier unless the name is one.
        {".not a name", "Identifier not is not a model field of class hand::Named", 1},
        {".\xc3\xa9", "Illegal character 0xC3 outside quotes", 1},
        {".a\xae", "Illegal character 0xAE outside quotes", 2},
    };
    ExpectFailures(object, rows);
    EXPECT_EQ(Walk(object, ".a.b").m_address, &As<Named>(object).m_values[0]);
    const std::string withZero(".a\0", 3);
    EXPECT_TRUE(ThrowsLexScannerException([&] { Walk(object, withZero); }, ViewOf(withZero), 2,
                                          "Illegal character 0x00 outside quotes"));
}

// A dot before a digit is a number to the scanner, and no step.
// Messages of any length, with names around what is kept at hand for them.
TEST_F(FieldPath, TellsUnknownNamesOfAnyLength)
{
    const ptr<IObject> object = New<Scalars>();
    for (const int length : {1, 200, 220, 240, 255, 256, 257, 300, 5000})
    {
        const std::string name(static_cast<std::size_t>(length), 'n');
        const FailingPath rows[] = {
            {"." + name, "Identifier " + name + " is not a model field of class hand::Scalars", 1}};
        ExpectFailures(object, rows);
        xstring error;
        ReflectionByteCode type;
        EXPECT_EQ(NavigatePathToField(object, xstring(rows[0].m_path.c_str()), type, false, error), nullptr) << length;
        EXPECT_NE(ToStdString(error).find(rows[0].m_message), std::string::npos) << length;
    }
}

TEST_F(FieldPath, DoesNotBeginWithANumber)
{
    const ptr<IObject> object = New<Scalars>();
    const Reached reached = Walk(object, ".5");
    EXPECT_EQ(reached.m_address, object.self());
    EXPECT_EQ(reached.m_rest, ".5");
}

TEST_F(FieldPath, FailsAnAssertionInAClassWithoutAModel)
{
    const AssertingPath rows[] = {{".x", "rc.m_modelFields"}};
    ExpectAssertions(New<hand::Bare>(), rows);
    ExpectAssertions(New<hand::Ordinary>(), rows); // ordinary fields are never reached
    const FailingPath failures[] = {{".", "Expected identifier when read end of text", 1}};
    ExpectFailures(New<hand::Bare>(), failures);
}

TEST_F(FieldPath, ReachesTheFieldsOfAnEmbeddedModelWhereItLies)
{
    const ptr<IObject> wrapper = New<Wrapper>();
    const ReachingRow<Wrapper> rows[] = {
        {".a", [](const Wrapper& w) -> const void* { return &w.m_model.m_a; }, FT_INT32},
        {".b[1]", [](const Wrapper& w) -> const void* { return &w.m_model.m_b[1]; }, FT_INT32},
        {".label", [](const Wrapper& w) -> const void* { return &w.m_model.m_label; }, FT_STRING8},
        {".at.y", [](const Wrapper& w) -> const void* { return &w.m_model.m_at.m_y; }, FT_INT32},
    };
    ExpectReached(wrapper, rows);
    const FailingPath failures[] = {
        {".id", "Identifier id is not a model field of class hand::Wrapper", 1}, // an ordinary field
        {".nosuch", "Identifier nosuch is not a model field of class hand::Wrapper", 1},
        {".at.nosuch", "Identifier nosuch is not a model field of class hand::geom::Point", 4},
    };
    ExpectFailures(wrapper, failures);

    const ReachingRow<Outer> outerRows[] = {
        {".wrapper", [](const Outer& o) -> const void* { return &o.m_wrapper; }, FT_CLASS},
        {".wrapper.b[0]", [](const Outer& o) -> const void* { return &o.m_wrapper.m_model.m_b[0]; }, FT_INT32},
        {".wrapper.at.x", [](const Outer& o) -> const void* { return &o.m_wrapper.m_model.m_at.m_x; }, FT_INT32},
    };
    ExpectReached(New<Outer>(), outerRows);
    const FailingPath outerFailures[] = {
        {".inner", "Identifier inner is not a model field of class hand::Outer", 1},
        {".wrapper.tag", "Identifier tag is not a model field of class hand::Wrapper", 9},
    };
    ExpectFailures(New<Outer>(), outerFailures);
}

TEST_F(FieldPath, FailsAnAssertionWhereTheEmbeddedModelIsRegisteredNowhere)
{
    const ptr<IObject> object = New<hand::Orphan>();
    EXPECT_TRUE(FailsAssertion([&] { Walk(object, ".x"); }, "rc", "host/klObject/types/Registry"));
}

// The search does not pass over dropped fields, so one that comes first hides a later one.
TEST_F(FieldPath, FailsAnAssertionAtADroppedField)
{
    const ptr<IObject> object = New<hand::Evolved>();
    const AssertingPath rows[] = {
        {".old", "rf.m_rsn2 == -1"},
        {".again", "rf.m_rsn2 == -1"},
        {".shadow", "rf.m_rsn2 == -1"},
    };
    ExpectAssertions(object, rows);
    const ReachingRow<hand::Evolved> reached[] = {
        {".kept", [](const hand::Evolved& e) -> const void* { return &e.m_kept; }, FT_INT32},
        {".twice", [](const hand::Evolved& e) -> const void* { return &e.m_twice; }, FT_INT32},
    };
    ExpectReached(object, reached);
    // The token behind the name is read first.
    const FailingPath failures[] = {{".old\x01", "Illegal character 0x01 outside quotes", 4}};
    ExpectFailures(object, failures);
}

// --- Qualified and impossible types ----------------------------------------------------------------------------------

TEST_F(FieldPath, GivesTheTypeAsItIsDeclared)
{
    const ptr<IObject> object = New<Qualified>();
    const ReachingRow<Qualified> rows[] = {
        {".volatile", [](const Qualified& q) -> const void* { return &q.m_volatile; }, FT_VOLATILE},
        {".assignable", [](const Qualified& q) -> const void* { return &q.m_assignable; }, FT_ASSIGNABLE},
        {".movable", [](const Qualified& q) -> const void* { return &q.m_movable; }, FT_MOVABLE},
        {".number", [](const Qualified& q) -> const void* { return &q.m_number; }, FT_TYPEDEF},
        {".flagged", [](const Qualified& q) -> const void* { return &q.m_flagged; }, MDT_FLAGS},
        {".items", [](const Qualified& q) -> const void* { return &q.m_items; }, FT_TYPEDEF},
        {".constItems", [](const Qualified& q) -> const void* { return &q.m_constItems; }, FT_VECTOR},
        {".spot.y", [](const Qualified& q) -> const void* { return &q.m_spot.m_y; }, FT_INT32},
        // Of a class instance, the underlying type, with the string table of the typedef that it is behind.
        {".spot", [](const Qualified& q) -> const void* { return &q.m_spot; }, FT_CLASS},
    };
    ExpectReached(object, rows);
    EXPECT_STREQ(Walk(object, ".spot").m_type.GetReflectedClass()->m_name, "hand::geom::Point");
    EXPECT_STREQ(Walk(object, ".number").m_type.GetReflectedTypedef()->m_name, "hand::Number");
}

TEST_F(FieldPath, KeepsTheMapFunctionsOfTheField)
{
    const Reached maps = Walk(New<Containers>(), ".maps");
    ASSERT_TRUE(maps.m_type.m_mapOrSetFns);
    EXPECT_EQ(maps.m_type.m_mapOrSetFns->mapFns, (&MapFunctions<int32, int32>::table));
    EXPECT_EQ(Walk(New<Containers>(), ".vec").m_type.m_mapOrSetFns, nullptr);
}

TEST_F(FieldPath, FailsAnAssertionAtAConstType)
{
    const ptr<IObject> object = New<Qualified>();
    As<Qualified>(object).m_constItems = {1};
    const AssertingPath rows[] = {
        {".const", "!isConst"},        {".fixed", "!isConst"}, {".constPoint", "!isConst"},
        {".constPoint.x", "!isConst"}, {".chain", "!isConst"}, {".constItems[0]", "!isConst"},
    };
    ExpectAssertions(object, rows);
}

TEST_F(FieldPath, FailsAnAssertionAtATypeThatNoPositionHas)
{
    const ptr<IObject> object = New<hand::Impossible>();
    const AssertingPath rows[] = {
        {".void", "type != FT_VOID"},
        {".interface", "type != FT_INTERFACE"},
        {".functor", "type != FT_FUNCTOR"},
        {".pointer", "type != FT_POINTER"},
        {".functionPtr", "type != FT_FUNCTION_PTR"},
        {".reference", "type != FT_REFERENCE"},
        {".set", "0"},
        {".map", "0"},
        {".map[1]", "0"},
        {".unknownClass", "rc"},
    };
    ExpectAssertions(object, rows);
    const AssertingPath map[] = {{".map", "0"}, {".nested", "0"}};
    ExpectAssertions(New<Containers>(), map);
    EXPECT_TRUE(
        FailsAssertion([&] { Walk(object, ".unknownTypedef"); }, "r", "host/klObject/types/ReflectionByteCode"));
}

TEST_F(FieldPath, EndsAtEveryOtherType)
{
    const ptr<IObject> object = New<hand::Impossible>();
    for (const char* field : {"int128", "uint128", "notReflected", "offsettable", "openVariant", "deque", "list", "bag",
                              "param0", "param5", "unknownCode", "unknownVariant", "unknownEnum"})
    {
        const Reached reached = Walk(object, std::string(".") + field + "[0]");
        EXPECT_EQ(reached.m_address, object.self()) << field;
        EXPECT_EQ(reached.m_rest, "[0]") << field;
    }
}

// --- Arrays and vectors ----------------------------------------------------------------------------------------------

TEST_F(FieldPath, StepsIntoFixedArraysAndVectors)
{
    const ptr<IObject> object = New<Containers>();
    Containers& c = As<Containers>(object);
    c.m_points = {{1, 2}, {3, 4}};
    c.m_vecs = {{}, {5, 6, 7}};
    c.m_strings = {"a"};
    c.m_maps = {{}};
    const ReachingRow<Containers> rows[] = {
        {".fixed", [](const Containers& o) -> const void* { return &o.m_fixed; }, FT_ARRAY},
        {".fixed[0]", [](const Containers& o) -> const void* { return &o.m_fixed[0]; }, FT_INT32},
        {".fixed[3]", [](const Containers& o) -> const void* { return &o.m_fixed[3]; }, FT_INT32},
        {".fixed[ +0x2 ]", [](const Containers& o) -> const void* { return &o.m_fixed[2]; }, FT_INT32},
        {".fixed[-0]", [](const Containers& o) -> const void* { return &o.m_fixed[0]; }, FT_INT32},
        {".matrix[1]", [](const Containers& o) -> const void* { return &o.m_matrix[1]; }, FT_ARRAY},
        {".matrix[1][2]", [](const Containers& o) -> const void* { return &o.m_matrix[1][2]; }, FT_INT32},
        {".none", [](const Containers& o) -> const void* { return &o.m_none; }, FT_ARRAY},
        {".corners[1]", [](const Containers& o) -> const void* { return &o.m_corners[1]; }, FT_CLASS},
        {".corners[1].y", [](const Containers& o) -> const void* { return &o.m_corners[1].m_y; }, FT_INT32},
        {".vec", [](const Containers& o) -> const void* { return &o.m_vec; }, FT_VECTOR},
        {".vec[1]", [](const Containers& o) -> const void* { return &o.m_vec[1]; }, FT_INT32},
        {".points[0].y", [](const Containers& o) -> const void* { return &o.m_points[0].m_y; }, FT_INT32},
        {".vecs[1][2]", [](const Containers& o) -> const void* { return &o.m_vecs[1][2]; }, FT_INT32},
        {".strings[0]", [](const Containers& o) -> const void* { return &o.m_strings[0]; }, FT_STRING8},
        // Silent ends.
        {".fixed.x", [](const Containers& o) -> const void* { return &o.m_fixed; }, FT_ARRAY, ".x"},
        {".vec.size", [](const Containers& o) -> const void* { return &o.m_vec; }, FT_VECTOR, ".size"},
        {".fixed[1][0]]", [](const Containers& o) -> const void* { return &o.m_fixed[1]; }, FT_INT32, "[0]]"},
        {".vec[1][0]", [](const Containers& o) -> const void* { return &o.m_vec[1]; }, FT_INT32, "[0]"},
        {".vec[1]]", [](const Containers& o) -> const void* { return &o.m_vec[1]; }, FT_INT32, "]"},
        {".vec(1)", [](const Containers& o) -> const void* { return &o.m_vec; }, FT_VECTOR, "(1)"},
        {".corners[0][0]", [](const Containers& o) -> const void* { return &o.m_corners[0]; }, FT_CLASS, "[0]"},
    };
    ExpectReached(object, rows);
}

TEST_F(FieldPath, RefusesIndicesOutOfRangeAtTheClosingBracket)
{
    const ptr<IObject> object = New<Containers>();
    const FailingPath rows[] = {
        {".fixed[4]", "Array index 4 out of range", 8},
        {".fixed[-1]", "Array index -1 out of range", 9},
        {".fixed[2147483647 ]", "Array index 2147483647 out of range", 18},
        {".fixed[-2147483648]", "Array index -2147483648 out of range", 18},
        {".fixed[4", "Array index 4 out of range", 8},
        {".matrix[2][0]", "Array index 2 out of range", 9},
        {".matrix[0][3]", "Array index 3 out of range", 12},
        {".vec[2]", "Vector index 2 out of range", 6},
        {".vec[-1]", "Vector index -1 out of range", 7},
        {".points[0]", "Vector index 0 out of range", 9},
        {".fixed[]", "Expected int32 when read ]", 7},
        {".fixed[", "Expected int32 when read end of text", 7},
        {".fixed[x]", "Expected int32 when read x", 7},
        {".fixed['0']", "Expected int32 when read '0'", 7},
        {".fixed[1.0]", "Expected int32 when read 1.0", 7},
        {".fixed[2147483648]", "Value 2147483648 is out of range of int32", 7},
        {".fixed[18446744073709551617]", "Value 18446744073709551617 is out of range of int32", 7},
        {".fixed[0x10000000000000001]", "Value 0x10000000000000001 is out of range of int32", 7},
        {".fixed[[1]", "Expected int32 when read [", 7},
        {".fixed[-2147483649]", "Value -2147483649 is out of range of int32", 8},
        {".fixed[-99999999999999999999]", "Value -99999999999999999999 is out of range of int32", 8},
        {".fixed[-x]", "Expected int32 when read x", 8},
        {".fixed[+x]", "Expected int32 when read x", 8},
        {".fixed[\"", "Unterminated string literal", 7},
        {".fixed[-\"", "Unterminated string literal", 8},
        {".fixed[+\"", "Unterminated string literal", 8},
        {".fixed[1 \"", "Unterminated string literal", 9},
        {".fixed\"", "Unterminated string literal", 6},
        {".vec[\"", "Unterminated string literal", 5},
        {".vec[0 \"", "Unterminated string literal", 7},
        {".\"", "Unterminated string literal", 1},
        {".fixed[1", "Expected ] when read end of text", 8},
        {".fixed[1 + 1]", "Expected ] when read +", 9},
        {".fixed[1)", "Expected ] when read )", 8},
        {".vec[0", "Expected ] when read end of text", 6},
        {".vec[0,1]", "Expected ] when read ,", 6},
        {".vec[[0]", "Expected int32 when read [", 5},
        {".corners[0].nosuch", "Identifier nosuch is not a model field of class hand::geom::Point", 12},
    };
    ExpectFailures(object, rows);
}

TEST_F(FieldPath, FailsAnAssertionAtAnArrayWithoutElements)
{
    const AssertingPath rows[] = {{".none[0]", "arraySize > 0"}, {".none[", "arraySize > 0"}};
    ExpectAssertions(New<Containers>(), rows);
}

TEST_F(FieldPath, FailsAnAssertionAtAVectorThatIsNoWholeNumberOfElements)
{
    const ptr<IObject> object = New<Containers>();
    auto& bytes = reinterpret_cast<VectorOfByte&>(As<Containers>(object).m_vec);
    const AssertingPath rows[] = {{".vec[0]", "V.size() % elementSize == 0"}};
    for (const ssize_t size : {1, 2, 3, 5})
    {
        bytes.resize(size);
        ExpectAssertions(object, rows);
    }
    bytes.clear();

    char* const words = reinterpret_cast<char*>(&bytes);
    ssize_t size = -8;
    std::memcpy(words + sizeof(char*), &size, sizeof size);
    const AssertingPath negative[] = {{".vec[0]", "size >= 0"}};
    ExpectAssertions(object, negative);
    size = 0;
    std::memcpy(words + sizeof(char*), &size, sizeof size);
}

// --- Dynamic arrays --------------------------------------------------------------------------------------------------

TEST_F(FieldPath, GrowsADynamicArrayToTakeAnyIndexInEveryMode)
{
    for (const bool writeAccess : {false, true})
    {
        const ptr<IObject> object = New<Containers>();
        Containers& c = As<Containers>(object);
        const auto walk = [&](const char* path) { return Walk(object, path, writeAccess).m_address; };

        const void* reached = walk(".dyn[[0]");
        EXPECT_EQ(reached, &c.m_dyn[0]);
        EXPECT_EQ(c.m_dyn, (xvector<int32>{1}));
        reached = walk(".dyn[[1]"); // the first index behind the end
        EXPECT_EQ(reached, &c.m_dyn[1]);
        EXPECT_EQ(c.m_dyn, (xvector<int32>{1, 0}));
        reached = walk(".dyn[[5]");
        EXPECT_EQ(reached, &c.m_dyn[5]);
        EXPECT_EQ(c.m_dyn, (xvector<int32>{1, 0, 0, 0, 0, 0}));

        reached = walk(".dynPoints[[1].y");
        EXPECT_EQ(reached, &c.m_dynPoints[1].m_y);
        EXPECT_EQ(c.m_dynPoints, (xvector<Point>{{}, {}}));
        reached = walk(".dynPoints[[1000000].x");
        EXPECT_EQ(reached, &c.m_dynPoints[1000000].m_x);
        EXPECT_EQ(c.m_dynPoints.size(), 1000001);
    }
}

// Two opening brackets, and one that closes.
TEST_F(FieldPath, StepsIntoADynamicArrayByAsymmetricBrackets)
{
    const ReachingRow<Containers> rows[] = {
        {".dyn", [](const Containers& c) -> const void* { return &c.m_dyn; }, FT_DYNARRAY},
        {".dyn.x", [](const Containers& c) -> const void* { return &c.m_dyn; }, FT_DYNARRAY, ".x"},
        {".dyn[[0]", [](const Containers& c) -> const void* { return &c.m_dyn[0]; }, FT_INT32},
        {".dyn [ [ 0 ]", [](const Containers& c) -> const void* { return &c.m_dyn[0]; }, FT_INT32},
        {".dyn[[0]]", [](const Containers& c) -> const void* { return &c.m_dyn[0]; }, FT_INT32, "]"},
    };
    const ptr<IObject> object = New<Containers>();
    ExpectReached(object, rows);
    const FailingPath failures[] = {
        {".dyn[5]", "Expected [ when read 5", 5},
        {".dyn[", "Expected [ when read end of text", 5},
        {".dyn[]", "Expected [ when read ]", 5},
        {".dyn[[-1]", "Array index -1 out of range", 8},
        {".dyn[[]", "Expected int32 when read ]", 6},
        {".dyn[[9", "Expected ] when read end of text", 7},
        {".dyn[[9)", "Expected ] when read )", 7},
        {".dyn[[2147483648]", "Value 2147483648 is out of range of int32", 6},
        {".dyn[[9]\x01", "Illegal character 0x01 outside quotes", 8},
    };
    ExpectFailures(object, failures);
    EXPECT_EQ(As<Containers>(object).m_dyn.size(), 1);
}

TEST_F(FieldPath, KeepsTheGrowthWhereTheRestFails)
{
    const ptr<IObject> object = New<Containers>();
    const FailingPath rows[] = {
        {".dynPoints[[3].nosuch", "Identifier nosuch is not a model field of class hand::geom::Point", 15},
    };
    ExpectFailures(object, rows);
    EXPECT_EQ(As<Containers>(object).m_dynPoints.size(), 4);
}

TEST_F(FieldPath, GrowsADynamicArrayNoFurtherThanALimitAllows)
{
    const ptr<IObject> object = New<Containers>();
    const ssize_t before = SetPathGrowthLimit(4 * 3);
    const FailingPath rows[] = {
        {".dyn[[3]", "Array index 3 out of range", 7},
        {".dyn[[2147483647]", "Array index 2147483647 out of range", 16},
        {".dynPoints[[1].x", "Array index 1 out of range", 13},
    };
    ExpectFailures(object, rows);
    EXPECT_EQ(As<Containers>(object).m_dyn.size(), 1);
    const void* reached = Walk(object, ".dyn[[2]", false).m_address;
    EXPECT_EQ(reached, &As<Containers>(object).m_dyn[2]);
    EXPECT_EQ(SetPathGrowthLimit(0), 4 * 3);
    reached = Walk(object, ".dyn[[2]", true).m_address; // which is there
    EXPECT_EQ(reached, &As<Containers>(object).m_dyn[2]);
    EXPECT_EQ(SetPathGrowthLimit(before), 0);
}

// --- Handles ---------------------------------------------------------------------------------------------------------

TEST_F(FieldPath, GoesThroughHandlesToTheObjectsBehind)
{
    const ptr<IObject> object = New<Node>();
    Node& node = As<Node>(object);
    const ptr<IObject> plain = New<Plain>();
    const ptr<IObject> other = New<Node>();
    node.m_next = plain;
    node.m_ref.Set(QueryPersistable(other));
    node.m_cref.Set(QueryPersistable(other));
    node.m_kids = {nullptr, plain, object};
    As<Node>(other).m_next = object;

    EXPECT_EQ(Walk(object, ".next.value").m_address, &As<Plain>(plain).m_value);
    EXPECT_EQ(Walk(object, ".ref.name").m_address, &As<Node>(other).m_name);
    EXPECT_EQ(Walk(object, ".cref.points[1].y").m_address, &As<Node>(other).m_points[1].m_y);
    EXPECT_EQ(Walk(object, ".kids[1].value").m_address, &As<Plain>(plain).m_value);
    EXPECT_EQ(Walk(object, ".kids[2].ref.next.cref.value").m_address, &As<Node>(other).m_value);

    const ReachingRow<Node> rows[] = {
        {".next", [](const Node& n) -> const void* { return &n.m_next; }, FT_INTERFACE_POINTER},
        {".ref", [](const Node& n) -> const void* { return &n.m_ref; }, FT_PREF},
        {".cref", [](const Node& n) -> const void* { return &n.m_cref; }, FT_CREF},
        {".next[0]", [](const Node& n) -> const void* { return &n.m_next; }, FT_INTERFACE_POINTER, "[0]"},
        {".ref->value", [](const Node& n) -> const void* { return &n.m_ref; }, FT_PREF, "->value"},
        {".kids[0]", [](const Node& n) -> const void* { return &n.m_kids[0]; }, FT_INTERFACE_POINTER},
    };
    ExpectReached(object, rows);

    const FailingPath failures[] = {
        {".next.name", "Identifier name is not a model field of class hand::Plain", 6},
        {".next.", "Expected identifier when read end of text", 6},
        {".ref.nosuch", "Identifier nosuch is not a model field of class hand::Node", 5},
    };
    ExpectFailures(object, failures);
}

TEST_F(FieldPath, CannotGoThroughANullHandle)
{
    const ptr<IObject> object = New<Node>();
    As<Node>(object).m_kids = {nullptr};
    const FailingPath rows[] = {
        {".next.value", "null dereference", 5},  {".ref.value", "null dereference", 4},
        {".cref .value", "null dereference", 6}, {".kids[0].value", "null dereference", 8},
        {".next. \x01", "null dereference", 5}, // the dot is still unread
    };
    ExpectFailures(object, rows);
    const ReachingRow<Node> ends[] = {
        {".ref", [](const Node& n) -> const void* { return &n.m_ref; }, FT_PREF},
        {".next", [](const Node& n) -> const void* { return &n.m_next; }, FT_INTERFACE_POINTER},
    };
    ExpectReached(object, ends);
}

TEST_F(FieldPath, LoadsTheObjectOfAPersistentReference)
{
    static ptr<IObject> s_stored;
    static int s_loads;
    s_stored = New<Node>();
    s_loads = 0;
    SetObjectLoader(
        [](ObjectId id, void*)
        {
            ++s_loads;
            return id == 42 ? QueryPersistable(s_stored) : ptr<IPersistable>();
        },
        nullptr);
    const ptr<IObject> object = New<Node>();
    As<Node>(object).m_ref.SetObjectId(42);
    As<Node>(object).m_cref.SetObjectId(43);
    EXPECT_EQ(Walk(object, ".ref").m_address, &As<Node>(object).m_ref);
    EXPECT_EQ(s_loads, 0);
    EXPECT_EQ(Walk(object, ".ref.value").m_address, &As<Node>(s_stored).m_value);
    EXPECT_EQ(s_loads, 1);
    const FailingPath rows[] = {{".cref.value", "null dereference", 5}};
    ExpectFailures(object, rows);
    SetObjectLoader(nullptr, nullptr);
}

} // namespace
} // namespace kelm
