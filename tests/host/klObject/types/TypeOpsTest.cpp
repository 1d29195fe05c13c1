#include <klObject/types/TypeOps.h>

#include <klUtils/xstring.h>

#include <support/Expect.h>

#include <gtest/gtest.h>

#include <vector>

namespace kelm
{
namespace
{

// Counts what lives, and fails to construct where told to.
struct Tracked
{
    Tracked() : Tracked(7) {}
    explicit Tracked(int value) : m_value(value)
    {
        if (s_failAt == s_constructed)
            throw std::bad_alloc();
        ++s_constructed;
        ++s_live;
    }
    Tracked(const Tracked& other) : Tracked(other.m_value) {}
    Tracked& operator=(const Tracked& other) = default;
    ~Tracked() { --s_live; }

    int m_value;

    static inline int s_live = 0;
    static inline int s_constructed = 0;
    static inline int s_failAt = -1;
};

class TypeOpsOfArrays : public ::testing::Test
{
protected:
    void SetUp() override
    {
        Tracked::s_live = 0;
        Tracked::s_constructed = 0;
        Tracked::s_failAt = -1;
    }

    // Four elements with twice their size as stride.
    static constexpr ssize_t Stride = 2 * sizeof(Tracked);
    Tracked& At(ssize_t i) { return *reinterpret_cast<Tracked*>(m_bytes + i * Stride); }

    alignas(Tracked) char m_bytes[4 * Stride] = {};
};

TEST_F(TypeOpsOfArrays, ConstructionGoesByTheStride)
{
    ConstructArray<Tracked>(m_bytes, Stride, 4);
    EXPECT_EQ(Tracked::s_live, 4);
    for (ssize_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(At(i).m_value, 7);
        EXPECT_EQ((&At(i))[1].m_value, 0) << "between the elements";
    }
    DestructArray<Tracked>(m_bytes, Stride, 4);
    EXPECT_EQ(Tracked::s_live, 0);
}

TEST_F(TypeOpsOfArrays, CountsBelowOneDoNothing)
{
    for (const ssize_t count : {ssize_t(0), ssize_t(-1), ssize_t(-100)})
    {
        ConstructArray<Tracked>(m_bytes, Stride, count);
        CopyConstructArray<Tracked>(m_bytes, Stride, m_bytes, Stride, count);
        AssignArray<Tracked>(m_bytes, Stride, m_bytes, Stride, count);
        DestructArray<Tracked>(m_bytes, Stride, count);
    }
    EXPECT_EQ(Tracked::s_constructed, 0);
    EXPECT_EQ(Tracked::s_live, 0);
    EXPECT_EQ(At(0).m_value, 0);
}

TEST_F(TypeOpsOfArrays, ConstructionPassesOverANullAddress)
{
    const Tracked source(3);
    ConstructArray<Tracked>(nullptr, 0, 2);
    CopyConstructArray<Tracked>(nullptr, 0, &source, 0, 2);
    EXPECT_EQ(Tracked::s_live, 1);
}

TEST_F(TypeOpsOfArrays, CopiesAndAssignmentsTakeEachElementFromItsSource)
{
    const std::vector<Tracked> sources = {Tracked(1), Tracked(2), Tracked(3), Tracked(4)};
    CopyConstructArray<Tracked>(m_bytes, Stride, sources.data(), sizeof(Tracked), 4);
    EXPECT_EQ(Tracked::s_live, 8);
    for (ssize_t i = 0; i < 4; ++i)
        EXPECT_EQ(At(i).m_value, i + 1);

    const Tracked nine(9);
    AssignArray<Tracked>(m_bytes, Stride, &nine, 0, 3);
    for (ssize_t i = 0; i < 3; ++i)
        EXPECT_EQ(At(i).m_value, 9);
    EXPECT_EQ(At(3).m_value, 4);
    DestructArray<Tracked>(m_bytes, Stride, 4);
    EXPECT_EQ(Tracked::s_live, 5);
}

TEST_F(TypeOpsOfArrays, FailedConstructionLeavesNothingConstructed)
{
    Tracked::s_failAt = 2;
    EXPECT_THROW(ConstructArray<Tracked>(m_bytes, Stride, 4), std::bad_alloc);
    EXPECT_EQ(Tracked::s_live, 0);

    Tracked::s_constructed = 0;
    Tracked::s_failAt = -1;
    const Tracked source(5);
    Tracked::s_failAt = 3;
    EXPECT_THROW(CopyConstructArray<Tracked>(m_bytes, Stride, &source, 0, 4), std::bad_alloc);
    EXPECT_EQ(Tracked::s_live, 1);
}

TEST(TypeOps, VariablesCompareByTheOperatorsOfTheirType)
{
    const xstring a = "a";
    const xstring b = "b";
    EXPECT_TRUE(VariableEqual<xstring>(&a, &a));
    EXPECT_FALSE(VariableEqual<xstring>(&a, &b));
    EXPECT_TRUE(VariableLess<xstring>(&a, &b));
    EXPECT_FALSE(VariableLess<xstring>(&b, &a));
    EXPECT_FALSE(VariableLess<xstring>(&a, &a));
}

TEST(TypeOps, PrintingPrefersTheTypesOwnWrite)
{
    struct Written
    {
        void Write(xostream& os) const { os << "own"; }
    };
    StringStream os(64);
    const Written written;
    const int number = 12;
    PrintVariable<Written>(os, &written);
    PrintVariable<int>(os, &number);
    EXPECT_EQ(ToStdString(os.GetString()), "own12");
}

TEST(BoundSearch, FindsTheBoundsOfEveryKeyInEverySortedArray)
{
    // All sorted arrays of up to 6 values of 0 to 3, compared with a search from the front.
    std::vector<std::vector<int>> arrays = {{}};
    for (std::size_t i = 0; i < arrays.size(); ++i)
        if (arrays[i].size() < 6)
            for (int next = arrays[i].empty() ? 0 : arrays[i].back(); next <= 3; ++next)
            {
                arrays.push_back(arrays[i]);
                arrays.back().push_back(next);
            }
    for (const std::vector<int>& array : arrays)
        for (int key = -1; key <= 4; ++key)
        {
            const auto n = static_cast<ssize_t>(array.size());
            ssize_t lower = 0;
            while (lower < n && array[static_cast<std::size_t>(lower)] < key)
                ++lower;
            ssize_t upper = lower;
            while (upper < n && array[static_cast<std::size_t>(upper)] == key)
                ++upper;
            EXPECT_EQ(BinaryLowerBound<int>(array.data(), sizeof(int), n, &key), lower);
            EXPECT_EQ(BinaryUpperBound<int>(array.data(), sizeof(int), n, &key), upper);
        }
}

TEST(BoundSearch, GoesByTheStride)
{
    const int interleaved[] = {1, 900, 3, -5, 5, 0};
    const int key = 3;
    EXPECT_EQ(BinaryLowerBound<int>(interleaved, 2 * sizeof(int), 3, &key), 1);
    EXPECT_EQ(BinaryUpperBound<int>(interleaved, 2 * sizeof(int), 3, &key), 2);
}

TEST(BoundSearch, OfANegativeCountFailsItsAssertion)
{
    const int key = 0;
    EXPECT_TRUE(FailsAssertion([&] { BinaryLowerBound<int>(&key, sizeof(int), -1, &key); }, "lo == hi",
                               "host/klObject/types/TypeOps"));
    EXPECT_TRUE(FailsAssertion([&] { BinaryUpperBound<int>(&key, sizeof(int), -1, &key); }, "lo == hi",
                               "host/klObject/types/TypeOps"));
}

struct Opaque
{
    Opaque(const Opaque&) = delete;
    Opaque& operator=(const Opaque&) = delete;
    explicit Opaque(int);
};

TEST(MakeTypeOps, FillsTheSlotsThatTheTypeSupports)
{
    constexpr TypeOps ofString = MakeTypeOps<xstring>();
    EXPECT_EQ(ofString.m_size, 24);
    EXPECT_EQ(ofString.m_equalsFn, VariableEqual<xstring>);
    EXPECT_EQ(ofString.m_lessFn, VariableLess<xstring>);
    EXPECT_EQ(ofString.m_PrintVariableFn, PrintVariable<xstring>);
    EXPECT_EQ(ofString.m_ConstructArrayFn, ConstructArray<xstring>);
    EXPECT_EQ(ofString.m_CopyConstructArrayFn, CopyConstructArray<xstring>);
    EXPECT_EQ(ofString.m_AssignArrayFn, AssignArray<xstring>);
    EXPECT_EQ(ofString.m_DestructArrayFn, DestructArray<xstring>);
    EXPECT_EQ(ofString.m_LowerBoundFn, BinaryLowerBound<xstring>);
    EXPECT_EQ(ofString.m_UpperBoundFn, BinaryUpperBound<xstring>);
    EXPECT_EQ(ofString.m_VisitObjectsInArrayFn, nullptr);
    EXPECT_EQ(ofString.m_VisitPrefsInArrayFn, nullptr);

    constexpr TypeOps ofOpaque = MakeTypeOps<Opaque>();
    EXPECT_EQ(ofOpaque.m_size, 1);
    EXPECT_EQ(ofOpaque.m_equalsFn, nullptr);
    EXPECT_EQ(ofOpaque.m_lessFn, nullptr);
    EXPECT_EQ(ofOpaque.m_PrintVariableFn, nullptr);
    EXPECT_EQ(ofOpaque.m_ConstructArrayFn, nullptr);
    EXPECT_EQ(ofOpaque.m_CopyConstructArrayFn, nullptr);
    EXPECT_EQ(ofOpaque.m_AssignArrayFn, nullptr);
    EXPECT_NE(ofOpaque.m_DestructArrayFn, nullptr);
    EXPECT_EQ(ofOpaque.m_LowerBoundFn, nullptr);
    EXPECT_EQ(ofOpaque.m_UpperBoundFn, nullptr);
}

} // namespace
} // namespace kelm
