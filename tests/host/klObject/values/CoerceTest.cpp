#include <host/klObject/HandWrittenTypes.h>

#include <klObject/values/ReflectedVariable.h>

#include <support/Expect.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

using namespace handwritten;

__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

constexpr int64 s_indefinite = std::numeric_limits<int64>::min();
constexpr float64 s_nan = std::numeric_limits<float64>::quiet_NaN();
constexpr float64 s_inf = std::numeric_limits<float64>::infinity();

// A variable that coerces, with the name that failures tell it by.
struct Source
{
    std::string m_name;
    T m_type;
    std::vector<char> m_bytes;
};

template <class V>
Source Of(const std::string& name, const T& type, V value)
{
    Source source{name, type, std::vector<char>(sizeof value)};
    std::memcpy(source.m_bytes.data(), &value, sizeof value);
    return source;
}

class Coercion : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { RegisterTypes(); }
};

// What one conversion answers and leaves in a target that held `untouched`.
template <class X>
struct Outcome
{
    bool m_result;
    X m_x;
};

template <class X>
bool IsSame(const X& a, const X& b)
{
    return a == b || (a != a && b != b);
}

template <class X>
void ExpectOutcome(const Source& source, bool allowExplicit, X untouched, Outcome<X> expected)
{
    X x = untouched;
    EXPECT_EQ(Coerce(x, source.m_type, source.m_bytes.data(), allowExplicit), expected.m_result)
        << source.m_name << (allowExplicit ? " explicitly" : "");
    EXPECT_TRUE(IsSame(x, expected.m_x)) << source.m_name << (allowExplicit ? " explicitly " : " ") << x << " is not "
                                         << expected.m_x;
}

constexpr bool no = false;
constexpr bool yes = true;

TEST_F(Coercion, ToBoolTakesBoolsAndExplicitlyNumbers)
{
    const struct
    {
        Source m_source;
        Outcome<bool> m_implicitly;
        Outcome<bool> m_explicitly; // into a target that holds the opposite of what the row's source converts to
    } rows[] = {
        {Of("true", T(FT_BOOL), uint8(1)), {yes, true}, {yes, true}},
        {Of("int8 -1", T(FT_INT8), int8(-1)), {no, false}, {yes, true}},
        {Of("int16 256", T(FT_INT16), int16(256)), {no, false}, {yes, true}},
        {Of("int32 65536", T(FT_INT32), int32(65536)), {no, false}, {yes, true}},
        {Of("int64 2^32", T(FT_INT64), int64(1) << 32), {no, false}, {yes, true}},
        {Of("int128 2^64", T(FT_INT128), Int128(1) << 64), {no, false}, {yes, true}},
        {Of("uint8 1", T(FT_UINT8), uint8(1)), {no, false}, {yes, true}},
        {Of("uint16 256", T(FT_UINT16), uint16(256)), {no, false}, {yes, true}},
        {Of("uint32 65536", T(FT_UINT32), uint32(65536)), {no, false}, {yes, true}},
        {Of("uint64 2^63", T(FT_UINT64), uint64(1) << 63), {no, false}, {yes, true}},
        {Of("uint128 2^127", T(FT_UINT128), UInt128(1) << 127), {no, false}, {yes, true}},
        {Of("float32 0.5", T(FT_FLOAT32), 0.5f), {no, false}, {yes, true}},
        {Of("float64 0.5", T(FT_FLOAT64), 0.5), {no, false}, {yes, true}},
        {Of("NaN", T(FT_FLOAT64), s_nan), {no, false}, {yes, true}},
        {Of("enum 5", Named(FT_ENUM, "handwritten::Colour"), int32(5)), {no, false}, {yes, true}},
        {Of("char8 x", T(FT_CHAR8), 'x'), {no, false}, {no, false}},
        {Of("char16 x", T(FT_CHAR16), uint16('x')), {no, false}, {no, false}},
    };
    for (const auto& row : rows)
    {
        ExpectOutcome(row.m_source, no, false, row.m_implicitly);
        ExpectOutcome(row.m_source, yes, false, row.m_explicitly);
    }
    ExpectOutcome(Of("false", T(FT_BOOL), uint8(0)), no, true, {yes, false});
    for (const Source& zero : {Of("int32 0", T(FT_INT32), int32(0)), Of("-0.0", T(FT_FLOAT64), -0.0),
                               Of("uint128 0", T(FT_UINT128), UInt128(0)), Of("float32 0", T(FT_FLOAT32), 0.0f)})
    {
        ExpectOutcome(zero, no, true, {no, true});
        ExpectOutcome(zero, yes, true, {yes, false});
    }
}

TEST_F(Coercion, ToInt64)
{
    constexpr int64 max = std::numeric_limits<int64>::max();
    const struct
    {
        Source m_source;
        Outcome<int64> m_implicitly;
        Outcome<int64> m_explicitly;
    } rows[] = {
        {Of("int8 -128", T(FT_INT8), int8(-128)), {yes, -128}, {yes, -128}},
        {Of("int16 -32768", T(FT_INT16), int16(-32768)), {yes, -32768}, {yes, -32768}},
        {Of("int32 -2^31", T(FT_INT32), std::numeric_limits<int32>::min()), {yes, -2147483648}, {yes, -2147483648}},
        {Of("int64 min", T(FT_INT64), s_indefinite), {yes, s_indefinite}, {yes, s_indefinite}},
        {Of("int128 -1", T(FT_INT128), Int128(-1)), {yes, -1}, {yes, -1}},
        {Of("int128 int64 min", T(FT_INT128), Int128(s_indefinite)), {yes, s_indefinite}, {yes, s_indefinite}},
        {Of("int128 below int64", T(FT_INT128), Int128(s_indefinite) - 1), {no, max}, {yes, max}},
        {Of("int128 2^64 + 5", T(FT_INT128), (Int128(1) << 64) + 5), {no, 5}, {yes, 5}},
        {Of("uint8 255", T(FT_UINT8), uint8(255)), {yes, 255}, {yes, 255}},
        {Of("uint16 65535", T(FT_UINT16), uint16(65535)), {yes, 65535}, {yes, 65535}},
        {Of("uint32 max", T(FT_UINT32), uint32(4294967295)), {yes, 4294967295}, {yes, 4294967295}},
        {Of("uint64 int64 max", T(FT_UINT64), uint64(max)), {yes, max}, {yes, max}},
        {Of("uint64 max", T(FT_UINT64), ~uint64(0)), {no, -1}, {yes, -1}},
        {Of("uint128 int64 max", T(FT_UINT128), UInt128(max)), {yes, max}, {yes, max}},
        {Of("uint128 max", T(FT_UINT128), ~UInt128(0)), {no, -1}, {yes, -1}},
        {Of("uint128 2^64 + 5", T(FT_UINT128), (UInt128(1) << 64) + 5), {no, 5}, {yes, 5}},
        {Of("float32 2.0", T(FT_FLOAT32), 2.0f), {yes, 2}, {yes, 2}},
        {Of("float32 2.5", T(FT_FLOAT32), 2.5f), {no, 2}, {yes, 2}},
        {Of("float64 -3.7", T(FT_FLOAT64), -3.7), {no, -3}, {yes, -3}},
        {Of("float64 -0.0", T(FT_FLOAT64), -0.0), {yes, 0}, {yes, 0}},
        {Of("float64 -2^63", T(FT_FLOAT64), -9223372036854775808.0), {yes, s_indefinite}, {yes, s_indefinite}},
        {Of("float64 2^63", T(FT_FLOAT64), 9223372036854775808.0), {no, s_indefinite}, {yes, s_indefinite}},
        {Of("float64 below 2^63", T(FT_FLOAT64), 9223372036854774784.0),
         {yes, 9223372036854774784},
         {yes, 9223372036854774784}},
        {Of("float64 1e30", T(FT_FLOAT64), 1e30), {no, s_indefinite}, {yes, s_indefinite}},
        {Of("float64 -1e30", T(FT_FLOAT64), -1e30), {no, s_indefinite}, {yes, s_indefinite}},
        {Of("NaN", T(FT_FLOAT64), s_nan), {no, s_indefinite}, {yes, s_indefinite}},
        {Of("inf", T(FT_FLOAT64), s_inf), {no, s_indefinite}, {yes, s_indefinite}},
        {Of("true", T(FT_BOOL), uint8(1)), {no, 77}, {yes, 1}},
        {Of("false", T(FT_BOOL), uint8(0)), {no, 77}, {yes, 0}},
        {Of("char8 A", T(FT_CHAR8), 'A'), {no, 77}, {yes, 65}},
        {Of("char8 0xFF", T(FT_CHAR8), '\xFF'), {no, 77}, {yes, -1}},
        {Of("char16 0xFFFF", T(FT_CHAR16), uint16(0xFFFF)), {no, 77}, {yes, 65535}},
        {Of("enum -3", Named(FT_ENUM, "handwritten::Colour"), int32(-3)), {yes, -3}, {yes, -3}},
        {Of("enum of no name", Named(FT_ENUM, "handwritten::Colour"), int32(99)), {yes, 99}, {yes, 99}},
    };
    for (const auto& row : rows)
    {
        ExpectOutcome(row.m_source, no, int64(77), row.m_implicitly);
        ExpectOutcome(row.m_source, yes, int64(77), row.m_explicitly);
    }
}

TEST_F(Coercion, ToFloat32)
{
    constexpr float32 inf = std::numeric_limits<float32>::infinity();
    const struct
    {
        Source m_source;
        Outcome<float32> m_implicitly;
        Outcome<float32> m_explicitly;
    } rows[] = {
        {Of("int32 5", T(FT_INT32), int32(5)), {yes, 5.0f}, {yes, 5.0f}},
        {Of("int64 2^24 + 1", T(FT_INT64), int64(16777217)), {no, 16777216.0f}, {yes, 16777216.0f}},
        // Rounds to the same float64 as to the same float32: it counts as having arrived.
        {Of("int64 2^63 - 1", T(FT_INT64), int64(0x7FFFFFFFFFFFFFFF)), {yes, 0x1p63f}, {yes, 0x1p63f}},
        {Of("uint64 2^63", T(FT_UINT64), uint64(1) << 63), {yes, 0x1p63f}, {yes, 0x1p63f}},
        {Of("int128 -2^100", T(FT_INT128), -(Int128(1) << 100)), {yes, -0x1p100f}, {yes, -0x1p100f}},
        {Of("uint128 2^127", T(FT_UINT128), UInt128(1) << 127), {yes, 0x1p127f}, {yes, 0x1p127f}},
        {Of("float32 0.1", T(FT_FLOAT32), 0.1f), {yes, 0.1f}, {yes, 0.1f}},
        {Of("float64 0.1", T(FT_FLOAT64), 0.1), {no, 0.1f}, {yes, 0.1f}},
        {Of("float64 0.5", T(FT_FLOAT64), 0.5), {yes, 0.5f}, {yes, 0.5f}},
        {Of("float64 1e300", T(FT_FLOAT64), 1e300), {no, inf}, {yes, inf}},
        {Of("float64 inf", T(FT_FLOAT64), s_inf), {yes, inf}, {yes, inf}},
        {Of("NaN", T(FT_FLOAT64), s_nan),
         {no, std::numeric_limits<float32>::quiet_NaN()},
         {yes, std::numeric_limits<float32>::quiet_NaN()}},
        {Of("true", T(FT_BOOL), uint8(1)), {no, 77.0f}, {yes, 1.0f}},
        {Of("false", T(FT_BOOL), uint8(0)), {no, 77.0f}, {yes, 0.0f}},
        {Of("enum 5", Named(FT_ENUM, "handwritten::Colour"), int32(5)), {yes, 5.0f}, {yes, 5.0f}},
        {Of("char8 A", T(FT_CHAR8), 'A'), {no, 77.0f}, {no, 77.0f}},
        {Of("char16 A", T(FT_CHAR16), uint16('A')), {no, 77.0f}, {no, 77.0f}},
    };
    for (const auto& row : rows)
    {
        ExpectOutcome(row.m_source, no, 77.0f, row.m_implicitly);
        ExpectOutcome(row.m_source, yes, 77.0f, row.m_explicitly);
    }
}

TEST_F(Coercion, ToFloat64)
{
    const struct
    {
        Source m_source;
        Outcome<float64> m_implicitly;
        Outcome<float64> m_explicitly;
    } rows[] = {
        {Of("int8 -1", T(FT_INT8), int8(-1)), {yes, -1.0}, {yes, -1.0}},
        {Of("int64 2^53 + 1", T(FT_INT64), int64(9007199254740993)),
         {yes, 9007199254740992.0},
         {yes, 9007199254740992.0}},
        {Of("uint64 max", T(FT_UINT64), ~uint64(0)), {yes, 0x1p64}, {yes, 0x1p64}},
        {Of("int128 -2^100", T(FT_INT128), -(Int128(1) << 100)), {yes, -0x1p100}, {yes, -0x1p100}},
        {Of("uint128 max", T(FT_UINT128), ~UInt128(0)), {yes, 0x1p128}, {yes, 0x1p128}},
        {Of("float32 0.1", T(FT_FLOAT32), 0.1f), {yes, float64(0.1f)}, {yes, float64(0.1f)}},
        {Of("float64 0.1", T(FT_FLOAT64), 0.1), {yes, 0.1}, {yes, 0.1}},
        {Of("NaN", T(FT_FLOAT64), s_nan), {yes, s_nan}, {yes, s_nan}},
        {Of("true", T(FT_BOOL), uint8(1)), {no, 77.0}, {yes, 1.0}},
        {Of("enum -3", Named(FT_ENUM, "handwritten::Colour"), int32(-3)), {yes, -3.0}, {yes, -3.0}},
        {Of("char8 A", T(FT_CHAR8), 'A'), {no, 77.0}, {no, 77.0}},
    };
    for (const auto& row : rows)
    {
        ExpectOutcome(row.m_source, no, 77.0, row.m_implicitly);
        ExpectOutcome(row.m_source, yes, 77.0, row.m_explicitly);
    }
}

TEST_F(Coercion, ToTextExplicitly)
{
    const struct
    {
        Source m_source;
        const char* m_text;
    } rows[] = {
        {Of("true", T(FT_BOOL), uint8(1)), "true"},
        {Of("false", T(FT_BOOL), uint8(0)), "false"},
        {Of("int8", T(FT_INT8), int8(-128)), "-128"},
        {Of("int64 min", T(FT_INT64), s_indefinite), "-9223372036854775808"},
        {Of("uint8", T(FT_UINT8), uint8(200)), "200"},
        {Of("uint64 max", T(FT_UINT64), ~uint64(0)), "18446744073709551615"},
        {Of("int128 0", T(FT_INT128), Int128(0)), "0"},
        {Of("int128 -1", T(FT_INT128), Int128(-1)), "-1"},
        {Of("int128 min", T(FT_INT128), static_cast<Int128>(UInt128(1) << 127)),
         "-170141183460469231731687303715884105728"},
        {Of("uint128 max", T(FT_UINT128), ~UInt128(0)), "340282366920938463463374607431768211455"},
        {Of("float32", T(FT_FLOAT32), 0.5f), "0.5"},
        {Of("float64", T(FT_FLOAT64), 2.0), "2.0"},
        {Of("enum 5", Named(FT_ENUM, "handwritten::Colour"), int32(5)), "GREEN"},
        {Of("enum of two names", Named(FT_ENUM, "handwritten::Colour"), int32(1)), "RED"},
        {Of("enum of no name", Named(FT_ENUM, "handwritten::Colour"), int32(4)), "4"},
        {Of("enum by position", Named(FT_ENUM, "handwritten::Digit"), int32(3)), "BLUE"},
        {Of("char8", T(FT_CHAR8), 'x'), "x"},
        {Of("char16", T(FT_CHAR16), uint16(0x20AC)), "\xE2\x82\xAC"},
    };
    for (const auto& row : rows)
    {
        xstring x = "untouched";
        EXPECT_FALSE(Coerce(x, row.m_source.m_type, row.m_source.m_bytes.data(), false)) << row.m_source.m_name;
        EXPECT_EQ(x, "untouched") << row.m_source.m_name;
        EXPECT_TRUE(Coerce(x, row.m_source.m_type, row.m_source.m_bytes.data(), true)) << row.m_source.m_name;
        EXPECT_EQ(x, row.m_text) << row.m_source.m_name;
    }
    xstring x = "untouched";
    const Source surrogate = Of("surrogate", T(FT_CHAR16), uint16(0xD800));
    EXPECT_FALSE(Coerce(x, surrogate.m_type, surrogate.m_bytes.data(), true));
    EXPECT_EQ(x, "untouched");
}

TEST_F(Coercion, OfStringsIsToTextAlone)
{
    Variable narrow{T(FT_STRING8)};
    narrow.as<xstring>() = xstring("a\0b", 3);
    Variable wide{T(FT_STRING16)};
    const uint16 units[] = {'e', 0x20AC, 0xD83D, 0xDE00};
    wide.as<xstring16>().assign(units, 4);
    for (const bool allowExplicit : {false, true})
    {
        xstring x;
        EXPECT_TRUE(Coerce(x, narrow.rbc(), narrow.data(), allowExplicit));
        EXPECT_EQ(x, xstring("a\0b", 3));
        EXPECT_TRUE(Coerce(x, wide.rbc(), wide.data(), allowExplicit));
        EXPECT_EQ(x, "e\xE2\x82\xAC\xF0\x9F\x98\x80");
        for (Variable* v : {&narrow, &wide})
        {
            bool b = true;
            int64 i = 77;
            float32 f = 77;
            float64 d = 77;
            EXPECT_FALSE(
                Coerce(b, v->rbc(), v->data(), allowExplicit) || Coerce(i, v->rbc(), v->data(), allowExplicit) ||
                Coerce(f, v->rbc(), v->data(), allowExplicit) || Coerce(d, v->rbc(), v->data(), allowExplicit));
            EXPECT_TRUE(b && i == 77 && f == 77 && d == 77);
        }
        wide.as<xstring16>().data()[3] = 'x'; // a high surrogate alone
        x = "untouched";
        EXPECT_FALSE(Coerce(x, wide.rbc(), wide.data(), allowExplicit));
        EXPECT_EQ(x, "untouched");
        wide.as<xstring16>().data()[3] = 0xDE00;
    }
}

TEST_F(Coercion, OfAStringIntoItselfChangesNothing)
{
    Variable text{T(FT_STRING8)};
    text.as<xstring>() = "a text that is longer than three words";
    EXPECT_TRUE(Coerce(text.as<xstring>(), text.rbc(), text.data(), false));
    EXPECT_EQ(text.as<xstring>(), "a text that is longer than three words");
}

TEST_F(Coercion, SeesThroughTypedefsQualifiersAndMetadata)
{
    const T types[] = {Named(FT_TYPEDEF, "handwritten::Alias"), T{FT_CONST, FT_VOLATILE, FT_INT32},
                       T{FT_ASSIGNABLE, FT_MOVABLE, MDT_BOOL, 1, FT_INT32}};
    for (const T& type : types)
        ExpectOutcome(Of("5", type, int32(5)), no, int64(77), {yes, 5});
}

TEST_F(Coercion, ReadsScalarsAtAnyAddress)
{
    alignas(8) char bytes[16] = {};
    const int64 value = 0x0102030405060708;
    std::memcpy(bytes + 3, &value, sizeof value);
    int64 x = 0;
    EXPECT_TRUE(Coerce(x, T(FT_INT64), bytes + 3, false));
    EXPECT_EQ(x, value);
}

TEST_F(Coercion, OfEverythingElseIsRefused)
{
    char bytes[64] = {};
    const T types[] = {T(FT_VOID),
                       Named(FT_CLASS, "handwritten::Point"),
                       Named(FT_VARIANT, "handwritten::Choice"),
                       Array(1) + T(FT_INT32),
                       T{FT_VECTOR, FT_INT32},
                       T{FT_DYNARRAY, FT_CHAR8},
                       T{FT_MAP, FT_INT32, FT_INT32},
                       T{FT_SET, FT_INT32},
                       T{FT_INTERFACE_POINTER, FT_VOID},
                       T{FT_PREF, FT_VOID},
                       T{FT_POINTER, FT_INT32},
                       T(FT_NOT_REFLECTED)};
    for (const bool allowExplicit : {false, true})
    {
        const auto expectRefusal = [&](ReflectionByteCode rbc)
        {
            bool b = true;
            int64 i = 77;
            float32 f = 77;
            float64 d = 77;
            xstring s = "untouched";
            EXPECT_FALSE(Coerce(b, rbc, bytes, allowExplicit));
            EXPECT_FALSE(Coerce(i, rbc, bytes, allowExplicit));
            EXPECT_FALSE(Coerce(f, rbc, bytes, allowExplicit));
            EXPECT_FALSE(Coerce(d, rbc, bytes, allowExplicit));
            EXPECT_FALSE(Coerce(s, rbc, bytes, allowExplicit));
            EXPECT_TRUE(b && i == 77 && f == 77 && d == 77 && s == "untouched");
        };
        for (const T& type : types)
            expectRefusal(type);
        expectRefusal(ReflectionByteCode()); // that of a default reflected value
    }
}

TEST_F(Coercion, OfCorruptByteCodeFailsAnAssertion)
{
    int64 x = 0;
    const int32 data = 0;
    EXPECT_TRUE(FailsAssertion([&] { Coerce(x, T(150), &data, false); }, "code.m_isKnown",
                               "host/klObject/values/ReflectedCoerce"));
    EXPECT_TRUE(FailsAssertion([&] { Coerce(x, Named(FT_ENUM, "handwritten::Nothing"), &data, false); }, "r",
                               "host/klObject/values/ReflectedCoerce"));
}

} // namespace
} // namespace kelm
