// Script values as elements and keys: by their own order, and for keys a total one.

#include <klKelmScript/KSValue.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xset.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/xvector.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();

// By their tags, then by their payloads: 1.5 is behind 2.
const std::vector<KSValue> s_inOrder = {
    KSValue(),          KSValue(false),        KSValue(true),
    KSValue(int64(-1)), KSValue(int64(2)),     KSValue(-0.5),
    KSValue(1.5),       KSValue(xstring("a")), KSValue(xstring("a text that is too long to lie inside its string")),
};

xvector<KSValue> ListOf(const KSValue& x)
{
    xvector<KSValue> list;
    list.push_back(x);
    return list;
}

// As keys a NaN is one; as values it is none.
TEST(ScriptValuesInContainers, AreEqualAsKeysWhereTheyAreTheSame)
{
    for (std::size_t i = 0; i < s_inOrder.size(); ++i)
        for (std::size_t j = 0; j < s_inOrder.size(); ++j)
            EXPECT_EQ(s_inOrder[i].CompareWith(s_inOrder[j], KEYS_EQUAL) == 0, i == j) << i << ' ' << j;
    const KSValue nan(s_nan);
    EXPECT_EQ(nan.CompareWith(nan, KEYS_EQUAL), 0);
    EXPECT_NE(nan.CompareWith(nan, VALUES_EQUAL), 0);
}

TEST(ScriptValuesInContainers, AreInOrder)
{
    for (std::size_t i = 0; i < s_inOrder.size(); ++i)
        for (std::size_t j = 0; j < s_inOrder.size(); ++j)
        {
            EXPECT_EQ(ListOf(s_inOrder[i]) == ListOf(s_inOrder[j]), i == j) << i << ' ' << j;
            EXPECT_EQ(ListOf(s_inOrder[i]) < ListOf(s_inOrder[j]), i < j) << i << ' ' << j;
        }
    EXPECT_FALSE(ListOf(KSValue(s_nan)) == ListOf(KSValue(s_nan)));
}

TEST(ScriptValuesInContainers, AreKeysInTheSameOrderWithNanBehindAllFloats)
{
    xset<KSValue> set;
    for (const double number : {s_nan, 1.5, s_nan, 0.0, -0.0})
        set.insert(KSValue(number));
    for (auto it = s_inOrder.rbegin(); it != s_inOrder.rend(); ++it)
        set.insert(*it);
    EXPECT_EQ(set.size(), static_cast<ssize_t>(s_inOrder.size()) + 2); // and 0, and nan
    EXPECT_TRUE(set.contains(KSValue(s_nan)));
}

// As the reflection compares the variant that it knows them as.
TEST(ScriptValuesInContainers, AreComparedByReflectionAsTheyCompare)
{
    Register_Project_klKelmScript();
    static const uint8 s_code[] = {FT_VARIANT, 0, 0};
    static const ConstStringZ s_names[] = {"kelm::KSValue", nullptr};
    const ReflectionByteCode type{s_code, s_names};
    std::vector<KSValue> values = s_inOrder;
    values.insert(values.begin() + 7, KSValue(s_nan));
    for (std::size_t i = 0; i < values.size(); ++i)
        for (std::size_t j = 0; j < values.size(); ++j)
        {
            const KSValue& a = values[i];
            const KSValue& b = values[j];
            EXPECT_EQ(CompareEqReflectedVariable(type, &a, type, &b), a == b) << i << ' ' << j;
            EXPECT_EQ(CompareLtReflectedVariable(type, &a, type, &b), a < b) << i << ' ' << j;
            EXPECT_EQ(CompareReflectedVariables(KEYS_EQUAL, type, &a, type, &b) == 0, i == j) << i << ' ' << j;
            EXPECT_EQ(CompareReflectedVariables(KEYS_ORDER, type, &a, type, &b) < 0, i < j) << i << ' ' << j;
        }
}

} // namespace
} // namespace kelm
