#include <klKelmScript/KSValue.h>

#include "Operands.h"

#include <klUtils/ToString.h>
#include <support/Script.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

namespace kelm
{
namespace
{

constexpr int64 s_maxInt64 = std::numeric_limits<int64>::max();
constexpr int64 s_minInt64 = std::numeric_limits<int64>::min();
constexpr double s_infinity = std::numeric_limits<double>::infinity();
constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();

// --- What a conversion did, as a text --------------------------------------------------------------------------------

std::string TextOf(bool x)
{
    return x ? "true" : "false";
}
std::string TextOf(const xstring& x)
{
    return ToStdString(x);
}
template <class T>
std::string TextOf(const T& x)
{
    if constexpr (std::is_floating_point_v<T>)
        return ToStdString(SubString(NumberText(x)));
    else
        return std::to_string(x);
}

// A value of each type that no conversion of these tests gives.
template <class T>
T Untouched()
{
    if constexpr (std::is_same_v<T, xstring>)
        return "untouched";
    else if constexpr (std::is_same_v<T, bool>)
        return false; // see AssignOf and CoerceOf: bools are tried from both sides
    else
        return static_cast<T>(113);
}

template <class T, class Convert>
std::string Converted(Convert&& convert, T x)
{
    const T before = x;
    try
    {
        const bool result = convert(x);
        const std::string verdict = result ? "yes " : "no ";
        return x == before && !result ? "no" : verdict + TextOf(x);
    }
    catch (const KelmAssertionError& e)
    {
        EXPECT_EQ(TextOf(x), TextOf(before));
        return "assertion " + ToStdString(e.m_condition) + " " + ToStdString(e.m_file);
    }
}

template <class T, class Convert>
std::string Converted(Convert&& convert)
{
    if constexpr (std::is_same_v<T, bool>)
    {
        const std::string fromTrue = Converted<bool>(convert, true);
        EXPECT_EQ(Converted<bool>(convert, false), fromTrue);
        return fromTrue;
    }
    return Converted<T>(convert, Untouched<T>());
}

// "yes 44", "no 44" where x is written all the same, "no" where it is untouched, or the assertion.
template <class T>
std::string AssignOf(const KSValue& v)
{
    return Converted<T>([&](T& x) { return Assign(x, v); });
}
template <class T>
std::string CoerceOf(const KSValue& v, bool allowExplicitConversions)
{
    return Converted<T>([&](T& x) { return Coerce(x, v, allowExplicitConversions); });
}

const std::string s_assertion = "assertion 0 src/KSValue";

// --- The 64-bit integer ----------------------------------------------------------------------------------------------

struct ConversionRow
{
    KSValue m_value;
    std::string m_assigned, m_coerced, m_coercedExplicitly;
};

template <class T, std::size_t N>
void ExpectConversions(const ConversionRow (&rows)[N])
{
    for (const ConversionRow& row : rows)
    {
        EXPECT_EQ(AssignOf<T>(row.m_value), row.m_assigned) << KindAndValue(row.m_value);
        EXPECT_EQ(CoerceOf<T>(row.m_value, false), row.m_coerced) << KindAndValue(row.m_value);
        EXPECT_EQ(CoerceOf<T>(row.m_value, true), row.m_coercedExplicitly) << KindAndValue(row.m_value);
    }
}

TEST(ConversionToInt64, OfEachKind)
{
    const std::string min = "-9223372036854775808";
    ExpectConversions<int64>({
        {V(), "no", "no", "no"},
        {S("12"), "no", "no", "no"},
        {B(false), "no", "no", "yes 0"},
        {B(true), "no", "no", "yes 1"},
        {I(7), "yes 7", "yes 7", "yes 7"},
        {I(s_minInt64), "yes " + min, "yes " + min, "yes " + min},
        {F(2.0), "yes 2", "no", "yes 2"},
        {F(-0.0), "yes 0", "no", "yes 0"},
        {F(2.5), "no 2", "no", "yes 2"},
        {F(-3.7), "no -3", "no", "yes -3"},
        {F(1e18), "yes 1000000000000000000", "no", "yes 1000000000000000000"},
        {F(9223372036854774784.0), "yes 9223372036854774784", "no", "yes 9223372036854774784"},
        {F(9223372036854775808.0), "no " + min, "no", "yes " + min},
        {F(-9223372036854775808.0), "yes " + min, "no", "yes " + min},
        {F(-9223372036854777856.0), "no " + min, "no", "yes " + min},
        {F(1e30), "no " + min, "no", "yes " + min},
        {F(s_nan), "no " + min, "no", "yes " + min},
        {F(s_infinity), "no " + min, "no", "yes " + min},
        {F(-s_infinity), "no " + min, "no", "yes " + min},
    });
}

TEST(ConversionToUInt64, TakesTheBitsOfTheSignedOne)
{
    const std::string half = "9223372036854775808";
    ExpectConversions<uint64>({
        {V(), "no", "no", "no"},
        {S("12"), "no", "no", "no"},
        {B(true), "no", "no", "yes 1"},
        {I(7), "yes 7", "yes 7", "yes 7"},
        {I(-1), "yes 18446744073709551615", "yes 18446744073709551615", "yes 18446744073709551615"},
        {F(-2.0), "yes 18446744073709551614", "no", "yes 18446744073709551614"},
        {F(2.5), "no 2", "no", "yes 2"},
        {F(1e30), "no " + half, "no", "yes " + half},
    });
}

// --- The narrower integers -------------------------------------------------------------------------------------------

template <class T>
class ConversionToNarrowIntegers : public ::testing::Test
{
};
using NarrowIntegers = ::testing::Types<int8, int16, int32, uint8, uint16, uint32>;
TYPED_TEST_SUITE(ConversionToNarrowIntegers, NarrowIntegers);

template <class T>
std::string NarrowedFrom(int64 wide, bool alwaysSucceeds)
{
    const T narrow = static_cast<T>(wide);
    const bool fits = std::numeric_limits<T>::min() <= wide && wide <= std::numeric_limits<T>::max();
    return (fits || alwaysSucceeds ? "yes " : "no ") + std::to_string(narrow);
}

TYPED_TEST(ConversionToNarrowIntegers, KeepsTheLowBits)
{
    using T = TypeParam;
    for (const int64 wide :
         {int64(0),          int64(1),           int64(-1),          int64(127),        int64(128),
          int64(-128),       int64(-129),        int64(255),         int64(256),        int64(300),
          int64(32767),      int64(32768),       int64(65535),       int64(65536),      int64(2147483647),
          int64(2147483648), int64(-2147483648), int64(-2147483649), int64(4294967295), int64(4294967296),
          s_maxInt64,        s_minInt64})
    {
        EXPECT_EQ(AssignOf<T>(I(wide)), NarrowedFrom<T>(wide, false)) << wide;
        EXPECT_EQ(CoerceOf<T>(I(wide), false), NarrowedFrom<T>(wide, false)) << wide;
        EXPECT_EQ(CoerceOf<T>(I(wide), true), NarrowedFrom<T>(wide, true)) << wide;
    }
    for (const double x : {0.0, -0.0, 44.0, -3.0, 300.0, 65536.0, -2147483649.0})
    {
        EXPECT_EQ(AssignOf<T>(F(x)), NarrowedFrom<T>(static_cast<int64>(x), false)) << x;
        EXPECT_EQ(CoerceOf<T>(F(x), false), "no") << x;
        EXPECT_EQ(CoerceOf<T>(F(x), true), NarrowedFrom<T>(static_cast<int64>(x), true)) << x;
    }
}

TYPED_TEST(ConversionToNarrowIntegers, RefusesWhatInt64Refuses)
{
    using T = TypeParam;
    for (const KSValue& v : {V(), S("12")})
    {
        EXPECT_EQ(AssignOf<T>(v), "no");
        EXPECT_EQ(CoerceOf<T>(v, false), "no");
        EXPECT_EQ(CoerceOf<T>(v, true), "no");
    }
    for (const double x : {2.5, -3.7, 1e30, s_nan, s_infinity})
    {
        EXPECT_EQ(AssignOf<T>(F(x)), "no") << x; // untouched, unlike an int64
        EXPECT_EQ(CoerceOf<T>(F(x), false), "no") << x;
    }
    EXPECT_EQ(CoerceOf<T>(F(-3.7), true), NarrowedFrom<T>(-3, true));
    EXPECT_EQ(CoerceOf<T>(F(1e30), true), "yes 0"); // the low bits of the indefinite value
    EXPECT_EQ(CoerceOf<T>(F(s_nan), true), "yes 0");
    EXPECT_EQ(AssignOf<T>(B(true)), "no");
    EXPECT_EQ(CoerceOf<T>(B(true), false), "no");
    EXPECT_EQ(CoerceOf<T>(B(true), true), "yes 1");
}

TYPED_TEST(ConversionToNarrowIntegers, OfReflectedValuesSeesADefaultVariable)
{
    using T = TypeParam;
    EXPECT_EQ(AssignOf<T>(*MakeReflected(s_bcInt32, int32(7))), "yes 0");
    EXPECT_EQ(AssignOf<T>(*MakeReflected(s_bcFloat64, 2.5)), "yes 0");
    EXPECT_EQ(AssignOf<T>(*MakeReflected(s_bcBool, true)), "no");
    EXPECT_EQ(AssignOf<T>(*MakeReflected(s_bcString8, xstring("7"))), "no");
    EXPECT_EQ(CoerceOf<T>(*MakeReflected(s_bcInt32, int32(7)), false), "no");
    EXPECT_EQ(CoerceOf<T>(*MakeReflected(s_bcInt32, int32(7)), true), s_assertion);
}

TEST(ConversionToNarrowInteger, StoresBeforeItTests)
{
    EXPECT_EQ(AssignOf<uint8>(I(300)), "no 44");
    EXPECT_EQ(CoerceOf<uint8>(I(300), false), "no 44");
    EXPECT_EQ(CoerceOf<uint8>(I(300), true), "yes 44");
    EXPECT_EQ(AssignOf<uint32>(I(-1)), "no 4294967295");
    EXPECT_EQ(CoerceOf<uint32>(I(-1), false), "no 4294967295");
    EXPECT_EQ(CoerceOf<uint32>(I(-1), true), "yes 4294967295");
    EXPECT_EQ(AssignOf<int32>(I(2147483648)), "no -2147483648");
    EXPECT_EQ(CoerceOf<int32>(I(2147483648), true), "yes -2147483648");
}

// --- bool, floats, strings -------------------------------------------------------------------------------------------

TEST(ConversionToBool, OfEachKind)
{
    ExpectConversions<bool>({
        {V(), "no", "no", "no"},
        {S("true"), "no", "no", "no"},
        {S(""), "no", "no", "no"},
        {B(true), "yes true", "yes true", "yes true"},
        {B(false), "yes false", "yes false", "yes false"},
        {I(0), "no", "no", "yes false"},
        {I(-5), "no", "no", "yes true"},
        {F(0.0), "no", "no", "yes false"},
        {F(-0.0), "no", "no", "yes false"},
        {F(0.1), "no", "no", "yes true"},
        {F(s_nan), "no", "no", "yes true"},
    });
}

TEST(ConversionToFloat32, SaysWhetherTheValueArrives)
{
    ExpectConversions<float32>({
        {V(), "no", "no", "no"},
        {S("1.5"), "no", "no", "no"},
        {B(true), "no", "no", "yes 1.0"},
        {B(false), "no", "no", "yes 0.0"},
        {I(7), "yes 7.0", "no", "yes 7.0"},
        {I(16777216), "yes 16777216.0", "no", "yes 16777216.0"},
        {I(16777217), "no 16777216.0", "no", "yes 16777216.0"},
        // Compared as doubles: the integer's own rounding passes.
        {I(s_maxInt64), "yes 9.223372e+18", "no", "yes 9.223372e+18"},
        {F(0.5), "yes 0.5", "no", "yes 0.5"},
        {F(0.1), "no 0.1", "no", "yes 0.1"},
        {F(1e300), "no inf", "no", "yes inf"},
        {F(-1e300), "no -inf", "no", "yes -inf"},
        {F(1e-300), "no 0.0", "no", "yes 0.0"},
        {F(s_infinity), "yes inf", "no", "yes inf"},
        {F(s_nan), "no nan", "no", "yes nan"},
    });
}

TEST(ConversionToFloat64, TakesEveryNumber)
{
    ExpectConversions<float64>({
        {V(), "no", "no", "no"},
        {S("1.5"), "no", "no", "no"},
        {B(true), "no", "no", "yes 1.0"},
        {B(false), "no", "no", "yes 0.0"},
        {I(7), "yes 7.0", "no", "yes 7.0"},
        {I(9007199254740993), "yes 9007199254740992.0", "no", "yes 9007199254740992.0"}, // rounded, and still a yes
        {F(2.5), "yes 2.5", "yes 2.5", "yes 2.5"},
        {F(-0.0), "yes -0.0", "yes -0.0", "yes -0.0"},
        {F(s_nan), "yes nan", "yes nan", "yes nan"},
    });
}

TEST(ConversionToString, WritesScalarsOnlyExplicitly)
{
    ExpectConversions<xstring>({
        {V(), "no", "no", "no"},
        {S(""), "yes ", "yes ", "yes "},
        {S("abc"), "yes abc", "yes abc", "yes abc"},
        {S(std::string("a\0b", 3)), std::string("yes a\0b", 7), std::string("yes a\0b", 7), std::string("yes a\0b", 7)},
        {B(true), "no", "no", "yes true"},
        {B(false), "no", "no", "yes false"},
        {I(12), "no", "no", "yes 12"},
        {I(s_minInt64), "no", "no", "yes -9223372036854775808"},
        {F(2.0), "no", "no", "yes 2.0"},
        {F(0.1), "no", "no", "yes 0.1"},
        {F(1e300), "no", "no", "yes 1e+300"},
        {F(s_infinity), "no", "no", "yes inf"},
        {F(s_nan), "no", "no", "yes nan"},
    });
}

TEST(ConversionToString, IntoTheValuesOwnStringChangesNothing)
{
    KSValue v = S("a text that is too long to lie inside its string");
    const char* const characters = v.as<string8>().c_str();
    EXPECT_TRUE(Assign(v.as<string8>(), v));
    EXPECT_TRUE(Coerce(v.as<string8>(), v, false));
    EXPECT_TRUE(Coerce(v.as<string8>(), v, true));
    EXPECT_EQ(v.as<string8>().c_str(), characters);
    EXPECT_EQ(KindAndValue(v), "string a text that is too long to lie inside its string");
}

// --- Reflected values ------------------------------------------------------------------------------------------------

TEST(ConversionOfReflectedValues, ByAssignIsTheReflectionLayers)
{
    const std::shared_ptr<KSValue> yes = MakeReflected(s_bcBool, true);
    const std::shared_ptr<KSValue> seven = MakeReflected(s_bcInt32, int32(7));
    const std::shared_ptr<KSValue> half = MakeReflected(s_bcFloat64, 0.5);
    const std::shared_ptr<KSValue> text = MakeReflected(s_bcString8, xstring("ab"));
    const std::shared_ptr<KSValue> refuses = MakeReflected(s_bcVectorOfInt32, VectorOfByte());

    EXPECT_EQ(AssignOf<bool>(*yes), "yes true");
    EXPECT_EQ(AssignOf<bool>(*seven), "no");
    EXPECT_EQ(AssignOf<int64>(*seven), "yes 7");
    EXPECT_EQ(AssignOf<uint64>(*MakeReflected(s_bcInt8, int8(-1))), "yes 18446744073709551615");
    EXPECT_EQ(AssignOf<float32>(*half), "yes 0.5");
    EXPECT_EQ(AssignOf<float64>(*half), "yes 0.5");
    EXPECT_EQ(AssignOf<float64>(*seven), "yes 7.0");
    EXPECT_EQ(AssignOf<xstring>(*text), "yes ab");
    EXPECT_EQ(AssignOf<xstring>(*seven), "no");

    EXPECT_EQ(AssignOf<bool>(*refuses), "no");
    EXPECT_EQ(AssignOf<int64>(*refuses), "no");
    EXPECT_EQ(AssignOf<float32>(*refuses), "no");
    EXPECT_EQ(AssignOf<float64>(*refuses), "no");
    EXPECT_EQ(AssignOf<xstring>(*refuses), "no");
}

TEST(ConversionOfReflectedValues, ByCoerceIsTheReflectionLayersForBoolAlone)
{
    const std::shared_ptr<KSValue> yes = MakeReflected(s_bcBool, true);
    const std::shared_ptr<KSValue> seven = MakeReflected(s_bcInt32, int32(7));
    EXPECT_EQ(CoerceOf<bool>(*yes, false), "yes true");
    EXPECT_EQ(CoerceOf<bool>(*yes, true), "yes true");
    EXPECT_EQ(CoerceOf<bool>(*seven, false), "no"); // the flag is passed on
    EXPECT_EQ(CoerceOf<bool>(*seven, true), "yes true");

    EXPECT_EQ(CoerceOf<int64>(*seven, false), "no");
    EXPECT_EQ(CoerceOf<uint64>(*seven, false), "no");
    EXPECT_EQ(CoerceOf<float32>(*seven, false), "no");
    EXPECT_EQ(CoerceOf<float64>(*seven, false), "no");
    EXPECT_EQ(CoerceOf<xstring>(*seven, false), "no");
    EXPECT_EQ(CoerceOf<int64>(*seven, true), s_assertion);
    EXPECT_EQ(CoerceOf<uint64>(*seven, true), s_assertion);
    EXPECT_EQ(CoerceOf<float32>(*seven, true), s_assertion);
    EXPECT_EQ(CoerceOf<float64>(*seven, true), s_assertion);
    EXPECT_EQ(CoerceOf<xstring>(*seven, true), s_assertion);
}

// --- Assignment to a value -------------------------------------------------------------------------------------------

TEST(AssignmentToAValue, AlwaysFails)
{
    const std::pair<KSValue, std::string> rows[] = {
        {V(), "Can't assign to void"},
        {B(true), "Can't assign to bool r-value"},
        {I(1), "Can't assign to int64 r-value"},
        {F(1.0), "Can't assign to float64 r-value"},
        {S("a"), "Can't assign to string r-value"},
    };
    for (const auto& [value, message] : rows)
        for (const Operand& right : AllOperands())
        {
            KSValue left(value);
            EXPECT_TRUE(ThrowsDescription<KSValueException>([&] { Assign(left, right.Value()); }, message));
            EXPECT_EQ(KindAndValue(left), KindAndValue(value));
        }
    KSValue reflected{ReflectedValue()};
    EXPECT_TRUE(FailsAssertion([&] { Assign(reflected, I(1)); }, "0", "src/KSValue"));
}

} // namespace
} // namespace kelm
