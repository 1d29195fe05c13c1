#include <klUtils/StableSort.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kelm
{

namespace
{

TEST(StableSort, LeavesEqualElementsInTheirOrder)
{
    std::mt19937 random(7);
    for (const std::size_t size : {0U, 1U, 2U, 15U, 16U, 17U, 1000U})
        for (const int numKeys : {1, 2, 10, 1000000})
        {
            std::vector<std::pair<int, std::size_t>> elements;
            for (std::size_t i = 0; i < size; ++i)
                elements.emplace_back(std::uniform_int_distribution<int>(1, numKeys)(random), i);
            auto expected = elements;
            std::sort(expected.begin(), expected.end()); // by key, then by where they were
            StableSort(elements, [](const auto& a, const auto& b) { return a.first < b.first; });
            EXPECT_EQ(elements, expected) << size << " " << numKeys;
        }
}

TEST(StableSort, TakesElementsThatAreOnlyMoved)
{
    std::vector<std::unique_ptr<int>> elements;
    for (const int x : {3, 1, 2})
        elements.push_back(std::make_unique<int>(x));
    StableSort(elements, [](const auto& a, const auto& b) { return *a < *b; });
    EXPECT_EQ(*elements[0], 1);
    EXPECT_EQ(*elements[1], 2);
    EXPECT_EQ(*elements[2], 3);
}

TEST(StableSort, LeavesAllAsItWasWhereComparingFails)
{
    std::vector<int> elements = {3, 1, 2, 5, 4};
    const auto fail = [](int a, int b) -> bool
    { return a == 5 || b == 5 ? throw std::runtime_error("no order") : a < b; };
    EXPECT_THROW(StableSort(elements, fail), std::runtime_error);
    EXPECT_EQ(elements, std::vector<int>({3, 1, 2, 5, 4}));
}

} // namespace

} // namespace kelm
