#include <klObject/containers/xvariant.h>

#include <klObject/containers/xdynarray.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>
#include <support/Depth.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <utility>

namespace kelm
{

namespace
{

struct Box
{
    double m_width = 0;
    double m_height = 0;

    friend bool operator==(const Box&, const Box&) = default;
    friend bool operator<(const Box& a, const Box& b)
    {
        return std::pair(a.m_width, a.m_height) < std::pair(b.m_width, b.m_height);
    }
};

struct Refusing
{
    Refusing() { throw std::runtime_error("refused"); }
};

using Extent = xvariant<std::monostate, double, Box, xstring>;

// Larger than what is made on the stack.
struct Sheet
{
    int32 m_number = 0;
    char m_cells[1000] = {};
};

} // namespace

TEST(Xvariant, HoldsLargeAlternatives)
{
    xvariant<int32, Sheet> variant(5);
    Sheet sheet{7};
    sheet.m_cells[999] = 'x';
    variant = sheet;
    EXPECT_EQ(variant.Get<1>().m_number, 7);
    EXPECT_EQ(variant.Get<1>().m_cells[999], 'x');
    variant.Emplace<1>(variant.Get<1>()); // of its own
    EXPECT_EQ(variant.Get<1>().m_number, 7);
    variant = 6;
    EXPECT_EQ(variant.Get<0>(), 6);
}

TEST(Xvariant, LiesInMemoryAsReflectionExpects)
{
    EXPECT_EQ(Extent::ValueOffset(), 8);
    EXPECT_EQ(sizeof(Extent), 32u);
    EXPECT_EQ((xvariant<char, float>::ValueOffset()), 4);
    EXPECT_EQ((sizeof(xvariant<char, float>)), 8u);

    const Extent extent = 2.5;
    int32 index;
    double value;
    std::memcpy(&index, static_cast<const void*>(&extent), sizeof index);
    std::memcpy(&value, reinterpret_cast<const char*>(&extent) + Extent::ValueOffset(), sizeof value);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(value, 2.5);
}

TEST(Xvariant, BeginsWithTheFirstAlternativeValueInitialised)
{
    EXPECT_EQ(Extent().index(), 0);
    const xvariant<int, xstring> number;
    EXPECT_EQ(number.Get<int>(), 0);
}

TEST(Xvariant, ChangesItsAlternative)
{
    Extent extent = xstring("a text that is longer than what a string keeps inside");
    EXPECT_EQ(extent.Get<xstring>().size(), 53);
    extent.Emplace<Box>(3.0, 4.0);
    EXPECT_EQ(extent.index(), 2);
    EXPECT_EQ(extent.Get<2>().m_height, 4.0);
    EXPECT_EQ(extent.TryGet<double>(), nullptr);
    EXPECT_NE(extent.TryGet<Box>(), nullptr);
    extent = 1.5;
    EXPECT_EQ(std::as_const(extent).Get<double>(), 1.5);
    extent.Emplace<double>(1);
    EXPECT_EQ(extent.Get<1>(), 1.0);
}

TEST(Xvariant, TakesANewValueThatRefersToTheOldOne)
{
    xvariant<xvector<xstring>, xstring> variant;
    variant.Get<0>().push_back("a text that is longer than what a string keeps inside");
    variant.Emplace<1>(variant.Get<0>()[0]);
    EXPECT_EQ(variant.Get<1>().size(), 53);
}

TEST(Xvariant, TellsAlternativesOfOneTypeByTheirIndex)
{
    xvariant<double, double> variant;
    variant.Emplace<1>(2.0);
    EXPECT_EQ(variant.index(), 1);
    EXPECT_EQ(variant.TryGet<0>(), nullptr);
    EXPECT_EQ(variant.Get<1>(), 2.0);
}

TEST(Xvariant, IsAValue)
{
    Extent text = xstring("a text that is longer than what a string keeps inside");
    Extent copy = text;
    EXPECT_TRUE(copy == text);
    copy.Get<xstring>()[0] = 'A';
    EXPECT_EQ(text.Get<xstring>()[0], 'a');

    const Extent moved = std::move(copy);
    EXPECT_EQ(moved.Get<xstring>()[0], 'A');
    text = Box{1, 2};
    EXPECT_TRUE(text == Extent(Box{1, 2}));
}

TEST(Xvariant, IsOrderedByTheIndexThenTheAlternative)
{
    const Extent ascending[] = {{}, -1.0, 7.0, Box{1, 1}, Box{1, 2}, xstring("a"), xstring("b")};
    for (const Extent& a : ascending)
        for (const Extent& b : ascending)
        {
            EXPECT_EQ(a < b, &a < &b) << &a - ascending << " " << &b - ascending;
            EXPECT_EQ(a == b, &a == &b);
        }
}

TEST(Xvariant, FailsAnAssertionWhereAnotherAlternativeIsCurrent)
{
    Extent extent;
    EXPECT_TRUE(FailsAssertion([&] { extent.Get<double>(); }, "m_index == I", "host/klObject/containers/xvariant"));
    EXPECT_TRUE(
        FailsAssertion([&] { std::as_const(extent).Get<3>(); }, "m_index == I", "host/klObject/containers/xvariant"));
}

TEST(Xvariant, KeepsItsValueWhereTheNewOneCannotBeMade)
{
    xvariant<xstring, Refusing> variant = xstring("kept");
    EXPECT_THROW(variant.Emplace<Refusing>(), std::runtime_error);
    EXPECT_EQ(variant.Get<xstring>(), "kept");
}

TEST(Xvariant, DestroysVariantsNestedToAnyDepth)
{
    struct Nest : xvariant<int, xvector<Nest>>
    {
        using xvariant::xvariant;
    };
    xvector<Nest> nest;
    for (int depth = 0; depth < s_nesting / 5; ++depth)
    {
        Nest outer;
        outer.Emplace<1>().swap(nest);
        nest.emplace_back();
        nest.back().swap(outer);
    }
    nest.clear();
    EXPECT_TRUE(nest.empty());
}

TEST(Xdynarray, GrowsToTheIndexThatIsReached)
{
    xdynarray<xstring> array = {"a"};
    array.Reach(3) = "d";
    EXPECT_EQ(array.size(), 4);
    EXPECT_TRUE(array[1].empty());
    EXPECT_EQ(array.Reach(0), "a");
    EXPECT_EQ(array.size(), 4);
    EXPECT_TRUE(array == xdynarray<xstring>({"a", "", "", "d"}));
    EXPECT_TRUE(array < xdynarray<xstring>({"b"}));
}

} // namespace kelm
