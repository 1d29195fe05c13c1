// The one comparison (klUtils/Compare.h) over values of all our types, nested in one another.

#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klUtils/Compare.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>
#include <support/Depth.h>

#include <gtest/gtest.h>

#include <limits>
#include <ranges>
#include <type_traits>

namespace kelm
{
namespace
{

constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();
constexpr double s_infinity = std::numeric_limits<double>::infinity();

// A class of each kind that holds its own kind.
struct NestedVariant : xvariant<int, xvector<NestedVariant>>
{
    using xvariant::xvariant;
};
struct NestedVector
{
    xvector<NestedVector> m_inner;

    friend std::weak_ordering operator<=>(const NestedVector& a, const NestedVector& b) = default;
    friend bool operator==(const NestedVector& a, const NestedVector& b) = default;
};
struct NestedMap
{
    xmap<int, NestedMap> m_inner;

    friend std::weak_ordering operator<=>(const NestedMap& a, const NestedMap& b) = default;
    friend bool operator==(const NestedMap& a, const NestedMap& b) = default;
};

NestedVariant Deepen(NestedVariant inner)
{
    NestedVariant outer;
    outer.Emplace<1>().emplace_back(std::move(inner));
    return outer;
}

} // namespace

template <>
inline constexpr bool IsRelocatable<NestedVector> = true;
template <>
inline constexpr bool IsRelocatable<NestedMap> = true;

namespace
{

NestedVector Deepen(NestedVector inner)
{
    NestedVector outer;
    outer.m_inner.push_back(std::move(inner));
    return outer;
}
NestedMap Deepen(NestedMap inner)
{
    NestedMap outer;
    outer.m_inner.Insert(1).m_inner.swap(inner.m_inner);
    return outer;
}

template <class T>
T Nest(T inmost, int depth)
{
    for (int i = 0; i < depth; ++i)
        inmost = Deepen(std::move(inmost));
    return inmost;
}

template <class T>
class NestedToAnyDepth : public ::testing::Test
{
};
using NestedTypes = ::testing::Types<NestedVariant, NestedVector, NestedMap>;
TYPED_TEST_SUITE(NestedToAnyDepth, NestedTypes);

// Each of these would take two to the power of the depth where a level asked twice, and recurses at every level.
TYPED_TEST(NestedToAnyDepth, IsCopiedAndComparedInLinearTime)
{
    constexpr int depth = s_nesting / 5;
    const TypeParam a = Nest(TypeParam(), depth);
    const TypeParam b = a;
    const TypeParam deeper = Nest(TypeParam(), depth + 1);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a < b);
    EXPECT_FALSE(a == deeper);
    EXPECT_TRUE(a < deeper);
    EXPECT_FALSE(deeper < a);

    xmap<TypeParam, int> map;
    map[a] = 1;
    map[deeper] = 2;
    map[b] = 3;
    EXPECT_EQ(map.size(), 2);
    EXPECT_EQ(map[a], 3);
    EXPECT_EQ((Compare<KEYS_ORDER>(map, xmap<TypeParam, int>(map))), 0);
}

template <class Key>
void ExpectTotalOrder(const xvector<Key>& ascending)
{
    xset<Key> set(ascending.rbegin(), ascending.rend());
    xmap<Key, ssize_t> map;
    for (ssize_t i = 0; i < ascending.size(); ++i)
        for (int again = 0; again < 2; ++again)
            map[ascending[i]] = i;
    ASSERT_EQ(set.size(), ascending.size());
    ASSERT_EQ(map.size(), ascending.size());
    EXPECT_TRUE(set == xset<Key>(set));
    EXPECT_TRUE((map == xmap<Key, ssize_t>(map)));
    EXPECT_FALSE(set < xset<Key>(set));
    ssize_t i = 0;
    for (const auto& [key, index] : map)
        EXPECT_EQ(index, i++);
    for (ssize_t a = 0; a < ascending.size(); ++a)
        for (ssize_t b = 0; b < ascending.size(); ++b)
        {
            const int order = Compare<KEYS_ORDER>(ascending[a], ascending[b]);
            EXPECT_EQ((order > 0) - (order < 0), (a > b) - (a < b)) << a << " " << b;
            EXPECT_EQ(Compare<KEYS_EQUAL>(ascending[a], ascending[b]) == 0, a == b) << a << " " << b;
        }
    for (ssize_t erased = 0; erased < ascending.size(); ++erased)
    {
        EXPECT_TRUE(map.erase(ascending[erased]));
        EXPECT_TRUE(map.find(ascending[erased]) == map.end());
    }
}

TEST(Keys, HaveATotalOrder)
{
    ExpectTotalOrder<double>({-s_infinity, -1.5, -1e-300, 0.0, 1e-300, 1, s_infinity, s_nan});
    ExpectTotalOrder<float>({-1, -0.0F, 1, std::numeric_limits<float>::quiet_NaN()});
    ExpectTotalOrder<int64>({std::numeric_limits<int64>::min(), -1, 0, 1, std::numeric_limits<int64>::max()});
    ExpectTotalOrder<uint64>({0, 1, std::numeric_limits<uint64>::max()});
    ExpectTotalOrder<int8>({-128, -1, 0, 127});
    ExpectTotalOrder<char>({'\x80', '\xff', '\0', 'a'});
    ExpectTotalOrder<bool>({false, true});
    const xstring zeros("\0\0\0\0\0\0\0\0\0", 9);
    ExpectTotalOrder<xstring>({"", xstring(zeros.data(), 1), xstring(zeros.data(), 8), zeros, "a", xstring("a\0", 2),
                               "aaaaaaa", "aaaaaaaa", "aaaaaaaaa", "aaaaaaaab",
                               "aaaaaaaaz and so on, beyond what is inside", "b", "\x80", "\xff"});
    ExpectTotalOrder<xvector<double>>({{}, {1}, {1, s_nan}, {s_nan}, {s_nan, 1}, {s_nan, s_nan}});
    ExpectTotalOrder<xvariant<double, xstring>>({-1.0, s_nan, xstring(""), xstring("a")});
    ExpectTotalOrder<xset<double>>({{}, {1}, {1, s_nan}, {s_nan}});
}

TEST(Keys, AreEqualWhereOnlyTheirSignOfZeroOrTheirKindOfNanDiffers)
{
    xmap<double, int> map = {{0.0, 1}, {-0.0, 2}, {s_nan, 3}, {-s_nan, 4}};
    EXPECT_EQ(map.size(), 2);
    EXPECT_EQ(map[-0.0], 1);
    EXPECT_EQ(map[-s_nan], 3);
    map[5] = 6;
    EXPECT_EQ(map.size(), 3);
    EXPECT_EQ(map.rbegin()->m_value, 3);
}

TEST(Values, CompareAsFloatsDo)
{
    const xvector<double> nan = {s_nan};
    EXPECT_FALSE(nan == nan);
    EXPECT_FALSE(nan < nan);
    EXPECT_FALSE(nan < xvector<double>({1}) || xvector<double>({1}) < nan);
    const xmap<int, double> payload = {{1, s_nan}};
    EXPECT_FALSE(payload == payload);
}

// What the standard's algorithms and ranges ask for.
static_assert(std::ranges::contiguous_range<xvector<xstring>> && std::ranges::sized_range<xvector<xstring>>);
static_assert(std::regular<xvector<xstring>> && std::totally_ordered<xvector<xstring>>);
static_assert(std::ranges::bidirectional_range<xmap<xstring, int>> && std::ranges::common_range<xmap<xstring, int>>);
static_assert(std::ranges::bidirectional_range<const xmap<xstring, int>> &&
              std::ranges::sized_range<xmap<xstring, int>>);
static_assert(std::regular<xmap<xstring, int>> && std::totally_ordered<xmap<xstring, int>>);
static_assert(std::is_convertible_v<xmap<xstring, int>::iterator, xmap<xstring, int>::const_iterator>);
static_assert(!std::is_convertible_v<xmap<xstring, int>::const_iterator, xmap<xstring, int>::iterator>);
static_assert(std::ranges::bidirectional_range<xset<int>> && std::regular<xset<int>> &&
              std::totally_ordered<xset<int>>);
static_assert(std::regular<xvariant<int, xstring>> && std::totally_ordered<xvariant<int, xstring>>);

} // namespace
} // namespace kelm
