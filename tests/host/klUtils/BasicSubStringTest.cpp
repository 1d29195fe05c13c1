#include <klUtils/BasicSubString.h>

#include <support/Expect.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace kelm
{
namespace
{

static_assert(sizeof(SubString) == 16 && std::is_trivially_copyable_v<SubString>);

int Sign(int order)
{
    return (order > 0) - (order < 0);
}

TEST(SubString, IsEmptyAtFirst)
{
    const SubString nothing;
    EXPECT_EQ(nothing.m_p1, nullptr);
    EXPECT_EQ(nothing.m_p2, nullptr);
    EXPECT_EQ(nothing.size(), 0);
    EXPECT_TRUE(nothing.empty());
}

TEST(SubString, ViewsTheCharactersBetweenItsPointers)
{
    const char text[] = "abcd";
    const SubString middle(text + 1, text + 3);
    EXPECT_EQ(middle.size(), 2);
    EXPECT_EQ(middle[0], 'b');
    EXPECT_EQ(middle.data(), text + 1);
    EXPECT_EQ(std::string(middle.begin(), middle.end()), "bc");
    EXPECT_FALSE(middle.empty());
}

TEST(SubString, OfAZeroTerminatedTextEndsBeforeTheTerminator)
{
    const char text[] = "ab\0cd";
    EXPECT_EQ(SubString(text).size(), 2);
    EXPECT_EQ(SubString("").size(), 0);
    EXPECT_EQ(SubString(static_cast<ConstStringZ>(nullptr)).size(), 0);
}

TEST(SubString, OfSixteenBitCharactersCountsUnits)
{
    const unsigned short text[] = {'a', 0x20AC, 0};
    EXPECT_EQ(BasicSubString<unsigned short>(text).size(), 2);
}

struct Row
{
    std::string m_a;
    std::string m_b;
    int m_order;
};

const Row s_rows[] = {{"", "", 0},         {"a", "", 1},    {"a", "a", 0},     {"a", "b", -1},
                      {"ab", "abc", -1},   {"b", "abc", 1}, {"a", "\x80", -1}, // as unsigned characters
                      {"\xFF", "\x7F", 1}, {"A", "a", -1}};

TEST(Strcmp, OrdersByUnsignedCharactersAndThenByLength)
{
    for (const Row& row : s_rows)
    {
        EXPECT_EQ(Sign(strcmp(ViewOf(row.m_a), ViewOf(row.m_b))), row.m_order) << row.m_a << " " << row.m_b;
        EXPECT_EQ(Sign(strcmp(ViewOf(row.m_b), ViewOf(row.m_a))), -row.m_order) << row.m_a << " " << row.m_b;
        EXPECT_EQ(Sign(strcmp(ViewOf(row.m_a), row.m_b.c_str())), row.m_order) << row.m_a << " " << row.m_b;
        EXPECT_EQ(ViewOf(row.m_a) == ViewOf(row.m_b), row.m_order == 0) << row.m_a << " " << row.m_b;
    }
}

TEST(Strcmp, ComparesZeroBytesLikeAllOthers)
{
    const std::string a("a\0b", 3), b("a\0c", 3), shorter("a\0", 2);
    EXPECT_LT(strcmp(ViewOf(a), ViewOf(b)), 0);
    EXPECT_GT(strcmp(ViewOf(a), ViewOf(shorter)), 0);
    EXPECT_GT(strcmp(ViewOf(a), "a"), 0);
    EXPECT_FALSE(ViewOf(a) == ViewOf(b));
}

TEST(Strcmp, TakesANullTextForAnEmptyOne)
{
    EXPECT_EQ(strcmp(SubString(), ""), 0);
    EXPECT_EQ(strcmp(SubString(""), static_cast<ConstStringZ>(nullptr)), 0);
    EXPECT_LT(strcmp(SubString(), "a"), 0);
    EXPECT_TRUE(SubString() == SubString(""));
}

} // namespace
} // namespace kelm
