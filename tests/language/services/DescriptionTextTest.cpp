#include <kelmLanguage/DescriptionText.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace kelm::language
{

namespace
{

constexpr char s_source[] = R"cpp(#include <x> // (
namespace shop
{
struct Line
{
    explicit Line(int count);
    int count = 1'000;
};
}

KELM_CLASS(shop::Line, KELM_MODEL(product), KELM_MODEL(note).Doc("count (and the like)"),
           KELM_MODEL(weight).Check([](double count) { return count > 0; }),
           KELM_MODEL(count), KELM_MODEL(Line))
KELM_ENUM(shop::Kind, KELM_VALUE(PLAIN), KELM_VALUE(GIFT))
KELM_ENUMERATORS(shop::Way, byPost, byRail)
KELM_VARIANT(shop::Size, "small", "large")
)cpp";

struct Row
{
    std::size_t m_line; // from 1
    std::string m_name;
    std::string m_found; // with what stands before it
};

const Row s_rows[] = {
    {11, "product", "KELM_MODEL(product"},
    {11, "count", "KELM_MODEL(count"},
    {12, "count", "KELM_MODEL(count"},
    {13, "count", "KELM_MODEL(count"},
    {13, "Line", "KELM_MODEL(Line"},
    {11, "shop", ""},
    {11, "GIFT", ""},
    {14, "GIFT", "KELM_VALUE(GIFT"},
    {15, "byRail", "(shop::Way, byPost, byRail"},
    {16, "large", "\"small\", \"large"},
    {10, "product", ""},
    {17, "large", ""},
    {400, "large", ""},
};

TEST(DescriptionText, IsWhereAMemberIsNamed)
{
    const std::string_view source = s_source;
    for (const Row& row : s_rows)
    {
        const auto found = FindInDescription(source, row.m_line - 1, row.m_name);
        const std::size_t before = row.m_found.size() - std::min(row.m_found.size(), row.m_name.size());
        EXPECT_EQ(found ? source.substr(found->m_begin - before, found->GetSize() + before) : "", row.m_found)
            << row.m_line << " " << row.m_name;
    }
    // The whole description, which compilers tell the first or the last line of.
    for (const auto& [line, begin] : {std::pair<std::size_t, std::string_view>{11, "KELM_CLASS"},
                                      {12, "KELM_CLASS"},
                                      {13, "KELM_CLASS"},
                                      {15, "KELM_ENUMERATORS"}})
    {
        const auto found = FindInDescription(source, line - 1, {});
        ASSERT_TRUE(found);
        EXPECT_TRUE(source.substr(found->m_begin).starts_with(begin)) << line;
    }
    EXPECT_FALSE(FindInDescription(source, 9, {}));
    for (std::size_t size = 0; size < source.size(); ++size) // ends anywhere
        EXPECT_NO_THROW(FindInDescription(source.substr(0, size), 12, "count"));
}

} // namespace

} // namespace kelm::language
