#include <klUtils/Utf16FromUtf8.h>

#include <support/Expect.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <string>
#include <vector>

namespace kelm
{
namespace
{

using Units = std::vector<uint16>;

Units UnitsOf(const xstring16& text)
{
    return Units(text.begin(), text.end());
}

struct Row
{
    std::string m_utf8;
    Units m_utf16;
};

TEST(Utf16, IsWhatUtf8Says)
{
    const Row rows[] = {
        {"", {}},
        {"a", {'a'}},
        {std::string("a\0b", 3), {'a', 0, 'b'}},
        {"\x7F", {0x7F}},
        {"\xC2\x80", {0x80}},
        {"\xDF\xBF", {0x7FF}},
        {"\xE0\xA0\x80", {0x800}},
        {"\xE2\x82\xAC", {0x20AC}},
        {"\xED\x9F\xBF", {0xD7FF}},
        {"\xEE\x80\x80", {0xE000}},
        {"\xEF\xBF\xBF", {0xFFFF}},
        {"\xF0\x90\x80\x80", {0xD800, 0xDC00}},
        {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00}},
        {"\xF4\x8F\xBF\xBF", {0xDBFF, 0xDFFF}},
        {"a\xC3\xA9\xF0\x9F\x98\x80z", {'a', 0xE9, 0xD83D, 0xDE00, 'z'}},
    };
    for (const Row& row : rows)
    {
        xstring16 units;
        EXPECT_TRUE(Utf16FromUtf8(units, row.m_utf8.data(), static_cast<long>(row.m_utf8.size()))) << row.m_utf8;
        EXPECT_EQ(UnitsOf(units), row.m_utf16) << row.m_utf8;

        xstring bytes;
        EXPECT_TRUE(Utf8FromUtf16(bytes, row.m_utf16.data(), static_cast<long>(row.m_utf16.size()))) << row.m_utf8;
        EXPECT_EQ(ToStdString(bytes), row.m_utf8);
    }
}

TEST(Utf16, ReplacesWhatTheOutputHeld)
{
    const uint16 before[] = {'x', 'y', 0};
    xstring16 units(before);
    EXPECT_TRUE(Utf16FromUtf8(units, "a", 1));
    EXPECT_EQ(UnitsOf(units), Units{'a'});
}

TEST(Utf16, RefusesBytesThatAreNotUtf8AndLeavesTheOutputAlone)
{
    const std::string rows[] = {
        "\x80",             // a continuation byte alone
        "\xBF",             //
        "\xC3",             // cut short
        "\xE2\x82",         //
        "\xF0\x9F\x98",     //
        "a\xC3(",           // not a continuation byte
        "\xE2(\xAC",        //
        "\xC0\x80",         // longer than needed
        "\xC1\xBF",         //
        "\xE0\x9F\xBF",     //
        "\xF0\x8F\xBF\xBF", //
        "\xED\xA0\x80",     // surrogates
        "\xED\xBF\xBF",     //
        "\xF4\x90\x80\x80", // beyond the last code point
        "\xF7\xBF\xBF\xBF", //
        "\xF8\x88\x80\x80\x80",
        "\xFE",
        "\xFF",
    };
    for (const std::string& row : rows)
    {
        const uint16 before[] = {'x', 0};
        xstring16 units(before);
        EXPECT_FALSE(Utf16FromUtf8(units, row.data(), static_cast<long>(row.size()))) << ::testing::PrintToString(row);
        EXPECT_EQ(UnitsOf(units), Units{'x'});
    }
}

TEST(Utf8, RefusesASurrogateAloneAndLeavesTheOutputAlone)
{
    const Units rows[] = {{0xD800}, {0xDC00}, {0xDBFF, 'a'}, {'a', 0xDFFF}, {0xD800, 0xD800, 0xDC00}, {0xDC00, 0xD800}};
    for (const Units& row : rows)
    {
        xstring bytes("before");
        EXPECT_FALSE(Utf8FromUtf16(bytes, row.data(), static_cast<long>(row.size())));
        EXPECT_EQ(bytes, "before");
    }
}

TEST(Utf8, AppendsEveryCodePointSoThatItReadsBack)
{
    for (uint32 codePoint = 0; codePoint <= 0x10FFFF; codePoint += codePoint < 0x3000 ? 1 : 13)
    {
        if (0xD800 <= codePoint && codePoint <= 0xDFFF)
            continue;
        xstring bytes;
        AppendUtf8(bytes, codePoint);
        xstring16 units;
        ASSERT_TRUE(Utf16FromUtf8(units, bytes.data(), bytes.size())) << codePoint;
        const uint32 readBack =
            units.size() == 1 ? units[0] : 0x10000 + ((uint32(units[0]) - 0xD800) << 10) + (uint32(units[1]) - 0xDC00);
        ASSERT_EQ(readBack, codePoint);
    }
}

RC_GTEST_PROP(Utf16, OfAnyBytesIsRefusedOrGoesBackToTheSameBytes, (const std::string& bytes))
{
    xstring16 units;
    if (!Utf16FromUtf8(units, bytes.data(), static_cast<long>(bytes.size())))
        return;
    xstring back;
    RC_ASSERT(Utf8FromUtf16(back, units.data(), units.size()));
    RC_ASSERT(ToStdString(back) == bytes);
}

RC_GTEST_PROP(Utf8, OfAnyUnitsIsRefusedOrGoesBackToTheSameUnits, (const std::vector<uint16>& units))
{
    xstring bytes;
    if (!Utf8FromUtf16(bytes, units.data(), static_cast<long>(units.size())))
        return;
    xstring16 back;
    RC_ASSERT(Utf16FromUtf8(back, bytes.data(), bytes.size()));
    RC_ASSERT(UnitsOf(back) == units);
}

} // namespace
} // namespace kelm
