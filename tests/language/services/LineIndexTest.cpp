#include <kelmLanguage/LineIndex.h>

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace kelm::language
{

namespace
{

TEST(LineIndex, CountsLinesAndUnits)
{
    struct Row
    {
        std::string m_text;
        std::size_t m_offset;
        LinePlace m_utf8;
        LinePlace m_utf16;
    };
    const Row rows[] = {
        {"", 0, {0, 0}, {0, 0}},
        {"ab", 2, {0, 2}, {0, 2}},
        {"a\nb", 2, {1, 0}, {1, 0}},
        {"a\r\nb", 3, {1, 0}, {1, 0}},
        {"a\rb", 2, {1, 0}, {1, 0}},
        {"a\r\r\nb", 4, {2, 0}, {2, 0}},
        {"a\n", 2, {1, 0}, {1, 0}},
        {"\xC3\xB6x", 2, {0, 2}, {0, 1}},           // two octets, one unit
        {"\xE2\x82\xACx", 3, {0, 3}, {0, 1}},       // three
        {"\n\xF0\x9F\x8C\xBBx", 5, {1, 4}, {1, 2}}, // four, two units
    };
    for (const Row& row : rows)
    {
        const LineIndex lines(row.m_text);
        EXPECT_EQ(lines.PlaceOf(row.m_text, row.m_offset, Units::Utf8), row.m_utf8) << row.m_text;
        EXPECT_EQ(lines.PlaceOf(row.m_text, row.m_offset, Units::Utf16), row.m_utf16) << row.m_text;
        EXPECT_EQ(lines.OffsetOf(row.m_text, row.m_utf8, Units::Utf8), row.m_offset) << row.m_text;
        EXPECT_EQ(lines.OffsetOf(row.m_text, row.m_utf16, Units::Utf16), row.m_offset) << row.m_text;
    }
}

TEST(LineIndex, TakesTheNearestPlaceThatThereIs)
{
    const std::string text = "ab\r\n\xF0\x9F\x8C\xBB\nx";
    const LineIndex lines(text);
    const std::tuple<LinePlace, Units, std::size_t> rows[] = {
        {{0, 9}, Units::Utf16, 2}, {{0, 9}, Units::Utf8, 2},   {{1, 1}, Units::Utf16, 4},  {{1, 3}, Units::Utf8, 4},
        {{1, 9}, Units::Utf16, 8}, {{2, 5}, Units::Utf16, 10}, {{3, 0}, Units::Utf16, 10}, {{99, 99}, Units::Utf8, 10},
    };
    for (const auto& [place, units, offset] : rows)
        EXPECT_EQ(lines.OffsetOf(text, place, units), offset) << place.m_line << ":" << place.m_unit;
}

TEST(LineIndex, IsAfterEditsWhatANewOneIs)
{
    std::mt19937 random(5);
    const std::string pieces[] = {"a", "\n", "\r", "\r\n", "bc", "\n\n", ""};
    std::string text;
    LineIndex lines(text);
    for (int i = 0; i < 20000; ++i)
    {
        const std::size_t begin = random() % (text.size() + 1);
        const std::size_t size = random() % (std::min<std::size_t>(text.size() - begin, 3) + 1);
        std::string inserted;
        for (auto n = random() % 3; n > 0; --n)
            inserted += pieces[random() % std::size(pieces)];
        if (text.size() > 40)
            inserted.clear();
        text.replace(begin, size, inserted);
        lines.Edit(text, {begin, begin + size}, inserted.size());
        const LineIndex fresh(text);
        ASSERT_EQ(lines.GetCount(), fresh.GetCount()) << i;
        for (std::size_t line = 0; line < fresh.GetCount(); ++line)
            ASSERT_EQ(lines.GetStart(line), fresh.GetStart(line)) << i;
    }
}

} // namespace

} // namespace kelm::language
