#include <klObject/types/EnumIndex.h>

#include <klObject/types/Registry.h>

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <utility>
#include <vector>

namespace kelm
{
namespace
{

TEST(FindEnumerator, AnswersTheSameWithAndWithoutAnIndex)
{
    static constexpr ConstStringZ s_names[] = {"Red", "Green", "Red", "", "UltraViolet", "UltraViolent", "Violets1"};
    static const ReflectedEnum s_registered = {.m_name = "enumIndexTest::Light", .m_count = 7, .m_strings = s_names};
    static const ReflectedEnum s_unregistered = {.m_name = "enumIndexTest::Other", .m_count = 7, .m_strings = s_names};
    ASSERT_EQ(RegisterReflectedEnum(&s_registered, nullptr), NSE_OK);
    ASSERT_NE(s_registered.m_index, nullptr);

    const char text[] = "Redder";
    const char withZero[] = "Red";
    const std::pair<SubString, int32> rows[] = {
        {"Red", 0},           {"Green", 1},     {"", 3},         {"UltraViolet", 4},    {"UltraViolent", 5},
        {"Violets1", 6},      {"red", -1},      {"Re", -1},      {"Redd", -1},          {"UltraViole", -1},
        {"UltraViolets", -1}, {"Violets2", -1}, {"Violets", -1}, {{text, text + 3}, 0}, {{withZero, withZero + 4}, -1},
    };
    for (const ReflectedEnum* r : {&s_registered, &s_unregistered})
        for (const auto& [name, index] : rows)
            EXPECT_EQ(FindEnumerator(*r, name), index) << r->m_name << " " << std::string(name.m_p1, name.m_p2);
}

TEST(FindEnumerator, FindsEachOfManyAndNothingAmongNone)
{
    static std::deque<std::string> s_texts;
    static std::vector<ConstStringZ> s_names;
    for (int i = 0; i < 1000; ++i)
        s_names.push_back(
            s_texts.emplace_back("e" + std::string(static_cast<std::size_t>(i % 13), '_') + std::to_string(i)).c_str());
    static const ReflectedEnum s_many = {.m_name = "enumIndexTest::Many", .m_count = 1000, .m_strings = s_names.data()};
    static const ReflectedEnum s_none = {.m_name = "enumIndexTest::None"};
    ASSERT_EQ(RegisterReflectedEnum(&s_many, nullptr), NSE_OK);
    ASSERT_EQ(RegisterReflectedEnum(&s_none, nullptr), NSE_OK);
    for (int32 i = 0; i < 1000; ++i)
        EXPECT_EQ(FindEnumerator(s_many, s_names[static_cast<std::size_t>(i)]), i);
    EXPECT_EQ(s_none.m_index, nullptr);
    EXPECT_EQ(FindEnumerator(s_none, "Red"), -1);
}

TEST(FindEnumeratorByValue, FindsTheFirstOfAValueWithAndWithoutAnIndex)
{
    static constexpr ConstStringZ s_names[] = {"A", "B", "C", "D", "E"};
    static constexpr int32 s_values[] = {7, -3, 7, 2147483647, 0};
    static const ReflectedEnum s_registered = {
        .m_name = "enumIndexTest::Values", .m_count = 5, .m_strings = s_names, .m_values = s_values};
    static const ReflectedEnum s_plain = {.m_name = "enumIndexTest::Plain", .m_count = 5, .m_strings = s_names};
    const ReflectedEnum unregistered = {
        .m_name = "enumIndexTest::Unregistered", .m_count = 5, .m_strings = s_names, .m_values = s_values};
    ASSERT_EQ(RegisterReflectedEnum(&s_registered, nullptr), NSE_OK);
    ASSERT_EQ(RegisterReflectedEnum(&s_plain, nullptr), NSE_OK);

    const std::pair<int32, int32> rows[] = {{7, 0}, {-3, 1}, {2147483647, 3}, {0, 4}, {1, -1}, {-2147483647 - 1, -1}};
    for (const ReflectedEnum* r : {&s_registered, &unregistered})
        for (const auto& [value, index] : rows)
            EXPECT_EQ(FindEnumeratorByValue(*r, value), index) << value;
    for (const int32 value : {-1, 0, 4, 5})
        EXPECT_EQ(FindEnumeratorByValue(s_plain, value), 0 <= value && value < 5 ? value : -1);
}

// The index is that of the descriptor that was registered.
TEST(FindEnumeratorByValue, AsksACopyItself)
{
    static constexpr ConstStringZ s_names[] = {"A", "B"};
    static constexpr int32 s_values[] = {1, 2};
    static constexpr int32 s_others[] = {3, 4};
    static const ReflectedEnum s_registered = {
        .m_name = "enumIndexTest::Original", .m_count = 2, .m_strings = s_names, .m_values = s_values};
    ASSERT_EQ(RegisterReflectedEnum(&s_registered, nullptr), NSE_OK);
    ReflectedEnum copy = s_registered;
    copy.m_values = s_others;
    copy.m_count = 1;
    EXPECT_EQ(FindEnumeratorByValue(copy, 3), 0);
    EXPECT_EQ(FindEnumeratorByValue(copy, 2), -1);
    EXPECT_EQ(FindEnumerator(copy, "B"), -1);
}

} // namespace
} // namespace kelm
