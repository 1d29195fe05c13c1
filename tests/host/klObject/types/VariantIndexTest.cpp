#include <klObject/types/VariantIndex.h>

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

constexpr uint8 s_bc[] = {FT_VOID};

// For names that are no qualified names: up to the first character that no identifier has.
bool IsSuffixOfOddName(SubString name, SubString written)
{
    const std::string text(name.m_p1, name.m_p2);
    return text.substr(0, text.find('<')) == std::string(written.m_p1, written.m_p2);
}

TEST(FindAlternative, TakesTheFirstThatEndsAsWritten)
{
    static const ReflectedField s_fields[] = {
        {"kelm::int64", 8, s_bc},   {"list<int>", 8, s_bc}, {"a::Point", 8, s_bc},
        {"b::Point", 8, s_bc},      {"Point", 8, s_bc},     {"list", 8, s_bc},
        {"b::c::d::Deep", 8, s_bc}, {"x::list", 8, s_bc},   {"other<int>", 8, s_bc}};
    static const ReflectedVariant s_registered = {
        .m_name = "variantIndexTest::Registered", .m_size = 16, .m_fields = s_fields, .m_numFields = 9};
    const ReflectedVariant unregistered = {
        .m_name = "variantIndexTest::Unregistered", .m_size = 16, .m_fields = s_fields, .m_numFields = 9};
    ASSERT_EQ(RegisterReflectedVariant(&s_registered, nullptr), NSE_OK);
    ASSERT_NE(s_registered.m_index, nullptr);
    const ReflectedVariant copy = s_registered;

    const std::pair<SubString, int32> rows[] = {
        {"int64", 0},         {"kelm::int64", 0}, {"Point", 2},     {"a::Point", 2}, {"b::Point", 3}, {"c::Point", -1},
        {"list", 1},          {"x::list", 7},     {"Deep", 6},      {"d::Deep", 6},  {"c::Deep", -1}, {"other", 8},
        {"b::c::d::Deep", 6}, {"oint", -1},       {"x::Point", -1}, {"::Point", -1},
    };
    for (const ReflectedVariant* r : {&s_registered, &unregistered, &copy})
        for (const auto& [written, index] : rows)
            EXPECT_EQ(FindAlternative(*r, written, IsSuffixOfOddName), index)
                << std::string(written.m_p1, written.m_p2) << (r == &s_registered ? " by the index" : "");
}

TEST(FindAlternative, FindsEachOfManyAndNothingAmongNone)
{
    static std::deque<std::string> s_texts;
    static std::vector<ReflectedField> s_fields;
    for (int i = 0; i < 1000; ++i)
        s_fields.push_back({s_texts.emplace_back("a::T" + std::to_string(i)).c_str(), 8, s_bc});
    static const ReflectedVariant s_many = {
        .m_name = "variantIndexTest::Many", .m_size = 16, .m_fields = s_fields.data(), .m_numFields = 1000};
    static const ReflectedVariant s_none = {.m_name = "variantIndexTest::None", .m_size = 16};
    ASSERT_EQ(RegisterReflectedVariant(&s_many, nullptr), NSE_OK);
    ASSERT_EQ(RegisterReflectedVariant(&s_none, nullptr), NSE_OK);
    for (int32 i = 0; i < 1000; ++i)
        EXPECT_EQ(FindAlternative(s_many, s_texts[static_cast<std::size_t>(i)].c_str() + 3, IsSuffixOfOddName), i);
    EXPECT_EQ(FindAlternative(s_none, "T1", IsSuffixOfOddName), -1);
}

} // namespace
} // namespace kelm
