#include <klObject/containers/xset.h>

#include <klUtils/xstring.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace kelm
{

TEST(Xset, HoldsEachElementOnceInOrder)
{
    xset<xstring> set = {"pear", "apple", "pear", "fig"};
    EXPECT_EQ(set.size(), 3);
    const char* const expected[] = {"apple", "fig", "pear"};
    int i = 0;
    for (const xstring& element : set)
        EXPECT_EQ(element, expected[i++]);
    EXPECT_FALSE(set.Insert("fig"));
    EXPECT_TRUE(set.Insert("plum"));
    EXPECT_EQ(set.count("plum"), 1);
    EXPECT_EQ(set.count("peach"), 0);
    EXPECT_EQ(set.find("fig")->size(), 3);
}

TEST(Xset, AgreesWithAModelOverRandomOperations)
{
    std::mt19937 random(3);
    std::set<int> model;
    xset<int> set;
    for (int step = 0; step < 50000; ++step)
    {
        const int element = static_cast<int>(random() % 5000);
        const bool isErasing = random() % 3 == 0;
        const bool expected = isErasing ? model.erase(element) == 1 : model.insert(element).second;
        ASSERT_EQ(isErasing ? set.erase(element) : set.Insert(element), expected);
    }
    ASSERT_EQ(set.size(), static_cast<ssize_t>(model.size()));
    auto expected = model.begin();
    for (const int element : set)
        ASSERT_EQ(element, *expected++);
}

TEST(Xset, IsAValue)
{
    const xset<int> ascending[] = {{}, {1}, {2, 1}, {2}};
    for (const xset<int>& a : ascending)
        for (const xset<int>& b : ascending)
        {
            EXPECT_EQ(a < b, &a < &b) << &a - ascending << " " << &b - ascending;
            EXPECT_EQ(a == b, &a == &b);
        }

    xset<int> copy = ascending[2];
    copy.erase(1);
    EXPECT_TRUE(copy == ascending[3]);
    EXPECT_EQ(ascending[2].size(), 2);
    copy.clear();
    EXPECT_TRUE(copy.empty());
}

TEST(XsetFunctions, WorkOnASetThatIsKnownByItsAddressAlone)
{
    const SetFns& fns = SetFunctions<int>::table;
    alignas(void*) char memory[sizeof(void*)];
    fns.Construct(memory);
    for (const int element : {5, 3, 5})
        fns.Insert(memory, &element);
    const int three = 3;
    EXPECT_FALSE(fns.Insert(memory, &three));
    EXPECT_EQ(fns.Count(memory), 2);
    int last = 0;
    fns.ForEach(
        memory,
        [](void* context, const void* element, void* payload)
        {
            EXPECT_EQ(payload, nullptr);
            *static_cast<int*>(context) = *static_cast<const int*>(element);
            return true;
        },
        &last);
    EXPECT_EQ(last, 5);
    fns.ForEach(
        memory,
        [](void* context, const void* element, void*)
        {
            *static_cast<int*>(context) = *static_cast<const int*>(element);
            return false;
        },
        &last);
    EXPECT_EQ(last, 3);
    fns.Destruct(memory);
}

} // namespace kelm
