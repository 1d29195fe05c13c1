// Reading one value of each type that holds one value: scalars, strings, enumerations, and types behind qualifiers,
// typedefs and metadata; and the types that cannot be read.

#include "DataSources.h"

#include <klObject/types/Registry.h>

#include <cmath>
#include <cstring>
#include <limits>

namespace kelm
{
namespace
{

using hand::Qualified;
using hand::Scalars;

using ScalarValues = HandmadeTest;
using EnumerationValues = HandmadeTest;
using QualifiedTypes = HandmadeTest;
using ImpossibleTypes = HandmadeTest;

template <class Float>
bool IsMinusZero(Float x)
{
    return x == 0 && std::signbit(x);
}

struct ScalarRow
{
    const char* m_text;
    bool (*m_holds)(const Scalars& s);
};

TEST_F(ScalarValues, AreStoredInTheirOwnType)
{
    const ScalarRow rows[] = {
        {"bool = true", [](const Scalars& s) { return s.m_bool; }},
        {"bool = false", [](const Scalars& s) { return !s.m_bool; }},
        {"int8 = -128", [](const Scalars& s) { return s.m_int8 == -128; }},
        {"int8 = +127", [](const Scalars& s) { return s.m_int8 == 127; }},
        {"int16 = -32768", [](const Scalars& s) { return s.m_int16 == -32768; }},
        {"int16 = 0x7fff", [](const Scalars& s) { return s.m_int16 == 32767; }},
        {"int32 = -2147483648", [](const Scalars& s) { return s.m_int32 == std::numeric_limits<int32>::min(); }},
        {"int32 = - 0X10", [](const Scalars& s) { return s.m_int32 == -16; }},
        {"int64 = -9223372036854775808", [](const Scalars& s) { return s.m_int64 == INT64_MIN; }},
        {"int64 = 9223372036854775807", [](const Scalars& s) { return s.m_int64 == INT64_MAX; }},
        {"uint8 = 255", [](const Scalars& s) { return s.m_uint8 == 255; }},
        {"uint16 = 65535", [](const Scalars& s) { return s.m_uint16 == 65535; }},
        {"uint32 = 4294967295", [](const Scalars& s) { return s.m_uint32 == UINT32_MAX; }},
        {"uint64 = 0xffffffffffffffff", [](const Scalars& s) { return s.m_uint64 == UINT64_MAX; }},
        {"float32 = 0.1", [](const Scalars& s) { return s.m_float32 == 0.1F; }},
        {"float32 = -3", [](const Scalars& s) { return s.m_float32 == -3.0F; }},
        {"float64 = 0.1", [](const Scalars& s) { return s.m_float64 == 0.1; }},
        {"float64 = -.5e-3", [](const Scalars& s) { return s.m_float64 == -.5e-3; }},
        {"float64 = 0x10", [](const Scalars& s) { return s.m_float64 == 16.0; }},
        {"float64 = -0.0", [](const Scalars& s) { return IsMinusZero(s.m_float64); }},
        {"float64 = -inf", [](const Scalars& s) { return s.m_float64 == -std::numeric_limits<double>::infinity(); }},
        {"float64 = nan", [](const Scalars& s) { return std::isnan(s.m_float64); }},
        {"char8 = 'x'", [](const Scalars& s) { return s.m_char8 == 'x'; }},
        {"char8 = \"x\"", [](const Scalars& s) { return s.m_char8 == 'x'; }},
        {"char8 = '\\xff'", [](const Scalars& s) { return s.m_char8 == '\xff'; }},
        {"char8 = '\\0'", [](const Scalars& s) { return s.m_char8 == 0; }},
        // A 16-bit character is read as an 8-bit one and sign-extended.
        {"char16 = 'x'", [](const Scalars& s) { return s.m_char16 == 'x'; }},
        {"char16 = '\\x7f'", [](const Scalars& s) { return s.m_char16 == 127; }},
        {"char16 = '\\x80'", [](const Scalars& s) { return s.m_char16 == -128; }},
        {"string8 = \"\"", [](const Scalars& s) { return s.m_string8 == ""; }},
        {"string8 = 'a\\n\\'b\"'", [](const Scalars& s) { return s.m_string8 == "a\n'b\""; }},
        {"string8 = \"a\\0b\"", [](const Scalars& s) { return s.m_string8 == xstring("a\0b", 3); }},
        {"string8 = \"\xc3\xa4\\u20ac\"", [](const Scalars& s) { return s.m_string8 == "\xc3\xa4\xe2\x82\xac"; }},
        {"string8 = \"too long to be kept inside the string itself\"",
         [](const Scalars& s) { return s.m_string8.size() == 44; }},
        {"string16 = \"\"", [](const Scalars& s) { return s.m_string16.empty(); }},
        // A umlaut, the euro sign, and a character that takes two units.
        {"string16 = \"a\xc3\xa4\xe2\x82\xac\xf0\x9f\x98\x80\"",
         [](const Scalars& s)
         {
             const uint16 expected[] = {'a', 0xe4, 0x20ac, 0xd83d, 0xde00};
             return s.m_string16 == xstring16(expected, 5);
         }},
        {"string16 = 'first' string16 = 'x'", [](const Scalars& s) { return s.m_string16.size() == 1; }},
        {"int32 = 1 int32 = 2", [](const Scalars& s) { return s.m_int32 == 2; }},
    };
    for (const ScalarRow& row : rows)
    {
        Scalars s;
        EXPECT_EQ(Fill(s, std::string("{ ") + row.m_text + " } rest"), "rest") << row.m_text;
        EXPECT_TRUE(row.m_holds(s)) << row.m_text;
    }
}

TEST_F(ScalarValues, AreRefusedAtTheTokenThatIsWrong)
{
    const FailingText rows[] = {
        {"{ bool = 1 }", "Expected bool when read 1", 9},
        {"{ bool = True }", "Expected bool when read True", 9},
        {"{ bool = }", "Expected bool when read }", 9},
        {"{ int8 = 128 }", "Value 128 is out of range of int8", 9},
        {"{ int8 = -129 }", "Value -129 is out of range of int8", 10},
        {"{ int8 = 1.5 }", "Expected int8 when read 1.5", 9},
        {"{ int8 = 'a' }", "Expected int8 when read 'a'", 9},
        {"{ int8 = - }", "Expected int8 when read }", 11},
        {"{ int16 = 0x8000 }", "Value 0x8000 is out of range of int16", 10},
        {"{ int32 = 2147483648 }", "Value 2147483648 is out of range of int32", 10},
        {"{ int64 = 9223372036854775808 }", "Value 9223372036854775808 is out of range of int64", 10},
        {"{ uint8 = 256 }", "Value 256 is out of range of uint8", 10},
        {"{ uint8 = -1 }", "Expected uint8 when read -", 10},
        {"{ uint8 = +1 }", "Expected uint8 when read +", 10},
        {"{ uint16 = 65536 }", "Value 65536 is out of range of uint16", 11},
        {"{ uint32 = 4294967296 }", "Value 4294967296 is out of range of uint32", 11},
        {"{ uint64 = 18446744073709551616 }", "Value 18446744073709551616 is out of range of uint64", 11},
        {"{ float32 = 1e39 }", "Value 1e39 is out of range of float32", 12},
        {"{ float32 = 'x' }", "Expected float32 when read 'x'", 12},
        {"{ float64 = -1e999 }", "Value -1e999 is out of range of float64", 13},
        {"{ float64 = infinity }", "Expected float64 when read infinity", 12},
        {"{ char8 = x }", "Expected character when read x", 10},
        {"{ char8 = '' }", "Character literal '' does not hold exactly one byte", 10},
        {"{ char8 = 'ab' }", "Character literal 'ab' does not hold exactly one byte", 10},
        {"{ char16 = '\xc3\xa4' }", "Character literal '\xc3\xa4' does not hold exactly one byte", 11},
        {"{ string8 = 5 }", "Expected string when read 5", 12},
        {"{ string8 = text }", "Expected string when read text", 12},
        {"{ string8 = 'a\\q' }", "Malformed escape \\q in string literal: unknown escape", 12},
        {"{ string16 = null }", "Expected string when read null", 13},
        {"{ string16 = 'a }", "Unterminated string literal", 13},
    };
    ExpectFillFailures<Scalars>(rows);
}

TEST_F(ScalarValues, KeepTheirValueWhereTheTextFails)
{
    Scalars s;
    s.m_int32 = 7;
    EXPECT_ANY_THROW(Fill(s, "{ int64 = 5 int32 = x int8 = 1 }"));
    EXPECT_EQ(s.m_int64, 5);
    EXPECT_EQ(s.m_int32, 7);
    EXPECT_EQ(s.m_int8, 0);
    EXPECT_ANY_THROW(Fill(s, "{ string8 = 'a\\q' }"));
    EXPECT_EQ(s.m_string8, "before");
}

TEST_F(ScalarValues, NeedNoAlignment)
{
    constexpr uint8 code[] = {FT_FLOAT64};
    alignas(8) char bytes[9] = {};
    EXPECT_EQ(ReadVariable("2.5 next", {code, nullptr}, bytes + 1), "next");
    double value = 0;
    std::memcpy(&value, bytes + 1, sizeof value);
    EXPECT_EQ(value, 2.5);
    EXPECT_EQ(bytes[0], 0);
}

TEST_F(ScalarValues, AStringThatIsNoUtf8CannotBecomeA16BitString)
{
    Scalars s;
    Fill(s, "{ string16 = 'kept' }");
    for (const char* text : {"{ string16 = '\\xff' }", "{ string16 = '\xed\xa0\x80' }", "{ string16 = '\xc3' }"})
        EXPECT_TRUE(FailsAssertion([&] { Fill(s, text); }, "Utf16FromUtf8(dst,src)", "src/ParseDataSource")) << text;
    EXPECT_EQ(s.m_string16.size(), 4);
}

TEST_F(ScalarValues, VoidReadsNothing)
{
    constexpr uint8 code[] = {FT_VOID};
    EXPECT_EQ(ReadVariable("anything", {code, nullptr}, nullptr), "anything");
}

// --- Enumerations ----------------------------------------------------------------------------------------------------

TEST_F(EnumerationValues, TakeAnEnumeratorByNameOrByNumber)
{
    struct Row
    {
        const char* m_text;
        int32 m_color;
        int32 m_level;
    };
    const Row rows[] = {
        {"{ color = Red }", 1, 0},   {"{ color = Green }", 5, 0}, // disabled, and accepted
        {"{ color = None }", -3, 0}, {"{ color = Crimson }", 1, 0}, {"{ color = 5 }", 5, 0},
        {"{ color = 01 }", 1, 0},    {"{ level = Low }", 0, 0},     {"{ level = High }", 0, 2},
        {"{ level = 1 }", 0, 1},     {"{ level = 0 }", 0, 0},       {"{ color = Red level = 2 color = 5 }", 5, 2},
    };
    for (const Row& row : rows)
    {
        Scalars s;
        EXPECT_EQ(Fill(s, row.m_text), "") << row.m_text;
        EXPECT_EQ(s.m_color, row.m_color) << row.m_text;
        EXPECT_EQ(s.m_level, row.m_level) << row.m_text;
    }
}

// An unknown name is reported at the token after it, an unknown number at the number.
TEST_F(EnumerationValues, RefuseOthers)
{
    const FailingText rows[] = {
        {"{ color = Blue }", "Unknown member 'Blue' of enum hand::Color", 15},
        {"{ color = red }", "Unknown member 'red' of enum hand::Color", 14},
        {"{ color = Color.Red }", "Unknown member 'Color' of enum hand::Color", 15},
        {"{ color = Blue", "Unknown member 'Blue' of enum hand::Color", 14},
        {"{ color = 3 }", "Unknown value '3' of enum hand::Color", 10},
        {"{ level = 3 }", "Unknown value '3' of enum hand::Level", 10},
        {"{ color = 2147483648 }", "Integer literal 2147483648 is out of range of int32", 10},
        // Only a decimal integer token is a number here.
        {"{ color = -3 }", "Expected identifier when read -", 10},
        {"{ color = +5 }", "Expected identifier when read +", 10},
        {"{ color = 0x5 }", "Expected identifier when read 0x5", 10},
        {"{ color = 5.0 }", "Expected identifier when read 5.0", 10},
        {"{ color = 'Red' }", "Expected identifier when read 'Red'", 10},
        {"{ color = }", "Expected identifier when read }", 10},
    };
    ExpectFillFailures<Scalars>(rows);
}

TEST_F(EnumerationValues, KeepTheirValueWhereTheTextFails)
{
    Scalars s;
    Fill(s, "{ color = Green }");
    EXPECT_ANY_THROW(Fill(s, "{ color = 3 }"));
    EXPECT_ANY_THROW(Fill(s, "{ color = Blue }"));
    EXPECT_ANY_THROW(Fill(s, "{ color = Red \xFF }"));
    EXPECT_EQ(s.m_color, 5);
    // A number is stored before the token behind it is looked at.
    EXPECT_ANY_THROW(Fill(s, "{ color = 1 \xFF }"));
    EXPECT_EQ(s.m_color, 1);
}

// --- Qualifiers, typedefs, metadata ----------------------------------------------------------------------------------

TEST_F(QualifiedTypes, AreReadAsTheTypeBehind)
{
    Qualified q;
    EXPECT_EQ(Fill(q, R"({
        const = 1 volatile = 2 assignable = 3 movable = 4 number = 5 fixed = 6 flagged = 7
        constPoint = geom.Point(8, 9) spot = (10, 11) chain = Point { y = 12 }
        items = [13, 14] constItems = [15] map = [16 -> 17]
    })"),
              "");
    EXPECT_EQ(q.m_const, 1);
    EXPECT_EQ(q.m_volatile, 2);
    EXPECT_EQ(q.m_assignable, 3);
    EXPECT_EQ(q.m_movable, 4);
    EXPECT_EQ(q.m_number, 5);
    EXPECT_EQ(q.m_fixed, 6);
    EXPECT_EQ(q.m_flagged, 7);
    EXPECT_EQ(q.m_constPoint, (hand::Point{8, 9}));
    EXPECT_EQ(q.m_spot, (hand::Point{10, 11}));
    EXPECT_EQ(q.m_chain, (hand::Point{0, 12}));
    EXPECT_EQ(q.m_items, (xvector<int32>{13, 14}));
    EXPECT_EQ(q.m_constItems, (xvector<int32>{15}));
    EXPECT_EQ(q.m_map, (xmap<int32, int32>{{16, 17}}));
}

TEST_F(QualifiedTypes, KeepTheMapFunctionsOfTheFieldThatNamesIt)
{
    static constexpr uint8 mapCode[] = {FT_MAP, FT_STRING8, FT_INT32};
    static constexpr ReflectedTypedef table = {.m_name = "hand::NamedTable", .m_bc = mapCode};
    static const ENameSpaceError registered = RegisterReflectedTypedef(&table, nullptr);
    ASSERT_EQ(registered, NSE_OK);

    constexpr uint8 code[] = {FT_MOVABLE, FT_TYPEDEF, 0, 0};
    constexpr ConstStringZ names[] = {"hand::NamedTable"};
    constexpr PtrMapOrSetFns fns = {{&MapFunctions<xstring, int32>::table}};
    xmap<xstring, int32> map;
    EXPECT_EQ(ReadVariable("['a' -> 1]", {code, names, &fns}, &map), "");
    EXPECT_EQ(map, (xmap<xstring, int32>{{"a", 1}}));
}

// --- Types that cannot be read ---------------------------------------------------------------------------------------

TEST_F(ImpossibleTypes, FailTheirAssertion)
{
    struct Row
    {
        const char* m_field;
        const char* m_condition;
    };
    const Row rows[] = {
        {"interface", "0"},
        {"functor", "0"},
        {"pointer", "0"},
        {"functionPtr", "0"},
        {"reference", "0"},
        {"set", "0"},
        {"int128", "0"},
        {"uint128", "0"},
        {"notReflected", "0"},
        {"offsettable", "0"},
        {"openVariant", "0"},
        {"deque", "0"},
        {"list", "0"},
        {"bag", "0"},
        {"param0", "0"},
        {"param5", "0"},
        {"unknownCode", "0"},
        {"unknownMetadata", "0"},
        {"unknownClass", "rc"},
        {"unknownVariant", "rv"},
        {"unknownEnum", "r"},
        {"map", "rbc.m_mapOrSetFns"},
        {"mapWithoutFns", "rbc.m_mapOrSetFns->mapFns"},
    };
    for (const Row& row : rows)
    {
        hand::Impossible object;
        EXPECT_TRUE(FailsAssertion([&] { Fill(object, std::string("{ ") + row.m_field + " = [1] }"); }, row.m_condition,
                                   "src/ParseDataSource"))
            << row.m_field;
    }
}

TEST_F(ImpossibleTypes, IncludeATypedefThatNobodyHasDescribed)
{
    hand::Impossible object;
    EXPECT_TRUE(FailsAssertion([&] { Fill(object, "{ unknownTypedef = 1 }"); }, "r", "src/ParseDataSource"));
}

// The parser is left at the element that would have been read.
TEST_F(ImpossibleTypes, IncludeElementsOfATypedefThatNobodyHasDescribed)
{
    static constexpr uint8 s_byteCode[] = {FT_VECTOR, FT_TYPEDEF, 0, 0};
    static constexpr ConstStringZ s_names[] = {"hand::Undescribed"};
    VectorOfByte elements;
    ExpressionParser parser;
    parser.Init("[7]");
    EXPECT_THROW(ParseVariable(parser, {s_byteCode, s_names}, &elements), KelmAssertionError);
    EXPECT_EQ(ToStdString(parser.m_token.m_str), "7");
}

TEST_F(ImpossibleTypes, IncludeNone)
{
    static constexpr ReflectedModelField s_fields[] = {{"none", 0, nullptr, 0, -1, nullptr}};
    static const ReflectedClass s_class = {
        .m_name = "hand::Typeless", .m_size = 4, .m_modelFields = s_fields, .m_numModelFields = 1};
    static const ENameSpaceError s_error = RegisterReflectedClass(&s_class, nullptr);
    ASSERT_EQ(s_error, NSE_OK);
    for (const char* text : {"{ none = 1 }", "(1)"})
    {
        int32 object = 0;
        ExpressionParser parser;
        parser.Init(text);
        EXPECT_TRUE(
            FailsAssertion([&] { ParseClassVariable(parser, s_class, &object); }, "type.m_bc", "src/ParseDataSource"))
            << text;
    }
}

TEST_F(ImpossibleTypes, IncludeElementsWithoutASize)
{
    static const ReflectedClass s_class = {.m_name = "hand::Sizeless", .m_size = 0};
    static const ENameSpaceError s_error = RegisterReflectedClass(&s_class, nullptr);
    ASSERT_EQ(s_error, NSE_OK);
    static constexpr uint8 s_byteCode[] = {FT_VECTOR, FT_CLASS, 0, 0};
    static constexpr ConstStringZ s_names[] = {"hand::Sizeless"};
    for (const char* text : {"[{}]", "[()]"})
    {
        VectorOfByte elements;
        ExpressionParser parser;
        parser.Init(text);
        EXPECT_TRUE(FailsAssertion(
            [&] {
                ParseVariable(parser, {s_byteCode, s_names}, &elements);
            },
            "data", "src/ParseDataSource"))
            << text;
    }
}

TEST_F(ImpossibleTypes, AreLookedAtOnlyWhereTheirMemberIsGiven)
{
    hand::Impossible object;
    EXPECT_EQ(Fill(object, "{ void = }"), "");
}

} // namespace
} // namespace kelm
