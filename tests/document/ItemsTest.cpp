// What stands in brackets, told as name=value, key->value or value, with a comma where one is behind it.

#include <kelmDocument/Items.h>

#include <gtest/gtest.h>

#include <string>

namespace kelm
{

namespace
{

// Of the first brackets in a text.
std::string ItemsOf(const std::string& text)
{
    const Document document = Document::Parse(text);
    PartWalk walk(document);
    Part part{};
    while (walk.Next(part) && part.m_kind != PartKind::Brackets)
    {
    }
    std::string told;
    ItemWalk items(document, part);
    for (Item item; items.Next(item);)
    {
        const auto in = [&](Span span) { return std::string(span.In(text)); };
        told += item.m_name.IsEmpty() ? "" : in(item.m_name) + "=";
        told += item.m_key.IsEmpty() ? "" : in(item.m_key) + "->";
        told += "<" + in(item.m_value) + ">" + (item.m_separator.IsEmpty() ? "" : ",");
        EXPECT_LE(item.m_span.m_begin, item.m_value.m_begin) << text;
        EXPECT_LE(item.m_value.m_end, item.m_span.m_end) << text;
        EXPECT_LE(item.m_span.m_end, item.GetEnd()) << text;
    }
    return told;
}

TEST(ItemWalk, FindsMembersElementsAndEntries)
{
    const std::pair<const char*, const char*> rows[] = {
        {"{}", ""},
        {"{ a = 1 }", "a=<1>"},
        {"{ a = 1 b = Point(1, 2) c = [3] }", "a=<1>b=<Point(1, 2)>c=<[3]>"},
        {"{ /* a */ a /* = */ = // 1\n - /* m */ 1 /* b */ b = x::Y }", "a=<- /* m */ 1>b=<x::Y>"},
        {"{ extent = radius 5 first = yard.Crate { b = 1 } }", "extent=<radius 5>first=<yard.Crate { b = 1 }>"},
        {"[]", ""},
        {"[1, 2 , -3]", "<1>,<2>,<-3>"},
        {"(1, (2, 3), [4, 5])", "<1>,<(2, 3)>,<[4, 5]>"},
        {"[\"a\" -> 1, (1, 2) -> [3 -> 4]]", "\"a\"-><1>,(1, 2)-><[3 -> 4]>"},
        {"[Crate { a = 1, b }, null]", "<Crate { a = 1, b }>,<null>"},
        // Of what is no data source, something.
        {"{ a = }", "a=<>"},
        {"{ a = b = 1 }", "a=<>b=<1>"},
        {"{ 5 a = 1", "<5>a=<1>"},
        {"[1,,2,]", "<1>,<>,<2>,"},
        {"[, 1 ->]", "<>,1-><>"},
    };
    for (const auto& [text, items] : rows)
        EXPECT_EQ(ItemsOf(text), items) << text;
}

} // namespace

} // namespace kelm
