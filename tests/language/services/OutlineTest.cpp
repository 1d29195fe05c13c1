#include <kelmLanguage/Completion.h>
#include <kelmLanguage/Outline.h>
#include <kelmLanguage/Sites.h>

#include "Places.h"

#include <gtest/gtest.h>

namespace kelm::language
{

namespace
{

std::string OutlineIn(const std::string& text)
{
    const Document document = Document::Parse(text);
    std::string told;
    for (const Symbol& symbol : OutlineOf(document, ExampleTypes()))
    {
        EXPECT_LE(symbol.m_span.m_begin, symbol.m_named.m_begin) << text;
        EXPECT_LE(symbol.m_named.m_end, symbol.m_span.m_end) << text;
        told += (told.empty() ? "" : ", ") + std::string(symbol.m_depth, '>') + symbol.m_name +
                (symbol.m_detail.empty() ? "" : ":" + symbol.m_detail);
    }
    return told;
}

TEST(Outline, HasObjectsListsAndMembers)
{
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"garden.Point", ""},
        {"garden.Point {}", "garden.Point"},
        {"garden.Point (1, 2)", "garden.Point, >x:1, >y:2"},
        {"garden.Plan { margins = [1, 2, 3, 4] title = \"a\" }", "garden.Plan, >margins, >title:\"a\""},
        {"garden.Plan { layers = [{ name = \"a\" opacity = 2 }] }",
         "garden.Plan, >layers, >>[0]:garden::Layer \"a\", >>>name:\"a\", >>>opacity:2"},
        {"garden.Plan { plants = [\"thyme\" -> { spacing = 2 }] }",
         "garden.Plan, >plants, >>\"thyme\":garden::Plant, >>>spacing:2"},
        {"garden.Shape { outline = Circle { radius = 1 } }", "garden.Shape, >outline:Circle, >>radius:1"},
        // Of what is wrong, what is understood.
        {"{ a = 1 }", "data source, >a:1"},
        {"garden.Nobody { a = 1 b = (1, 2) }", "garden.Nobody, >a:1, >b"},
        {"garden.Plan { layers = [{ name = \"a\"", "garden.Plan, >layers, >>[0]:garden::Layer \"a\", >>>name:\"a\""},
        {"garden.Plan { layers = [1, title = \"b\" }", "garden.Plan, >layers, >title:\"b\""},
        {"garden.Plan { title = }", "garden.Plan, >title"},
    };
    for (const auto& [text, told] : rows)
        EXPECT_EQ(OutlineIn(text), told) << text;
}

TEST(Folds, AreBracketsAndComments)
{
    const std::pair<std::string, std::string> rows[] = {
        {"a { b = [1, 2] }", ""},
        {"a {\n b = [\n1\n]\n}", "<{\n b = [\n1\n]\n}><[\n1\n]>"},
        {"// a\n// b\n\n// c\na {}", "<// a\n// b>"},
        {"/* a\n */ a {} # b", "</* a\n */>"},
        {"# a\n# b\n", "<# a\n# b>"},
        {"a { // b\n // c\n}", "<{ // b\n // c\n}><// b\n // c>"},
        {"a {\n b = [\n}", "<[\n}>"},
    };
    for (const auto& [text, told] : rows)
    {
        const Document document = Document::Parse(text);
        std::string folds;
        for (const Fold& fold : FoldsOf(document))
            folds += "<" + std::string(fold.m_span.In(text)) + ">";
        EXPECT_EQ(folds, told) << text;
    }
}

// Whatever brackets there are, an answer takes no more than its text allows.
TEST(Outline, TakesTextsOfAnyDepth)
{
    for (const std::string piece : {"[", "(", "{", "a={", "[(", "]", "a=[", "garden.Plan{gardener="})
    {
        std::string text = "garden.Plan { layers = ";
        for (int i = 0; i < 20000; ++i)
            text += piece;
        const Document document = Document::Parse(text);
        EXPECT_LE(OutlineOf(document, ExampleTypes()).size(), 20000u) << piece;
        EXPECT_LE(FoldsOf(document).size(), 0u) << piece;
        TokensOf(document, ExampleTypes());
        HintsOf(document, ExampleTypes(), {0, text.size()});
        Complete(document, ExampleTypes(), text.size());
        Complete(document, ExampleTypes(), text.size() / 2);
    }
}

} // namespace

} // namespace kelm::language
