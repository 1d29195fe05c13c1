#include <kelmLanguage/Findings.h>

#include "Places.h"

#include <gtest/gtest.h>

namespace kelm::language
{

namespace
{

// "message <what is wrong> nearest", one a line.
std::string FindingsIn(const std::string& text)
{
    const Document document = Document::Parse(text);
    std::string told;
    for (const Finding& finding : FindingsOf(document, ExampleTypes(), 100))
    {
        told += (told.empty() ? "" : "\n") + finding.m_message + " <" + std::string(finding.m_span.In(text)) + ">";
        for (const std::string& name : finding.m_nearest)
            told += " " + name;
    }
    return told;
}

TEST(Findings, TellOfNamesThatDoNotExist)
{
    const std::pair<std::string, std::string> rows[] = {
        {"garden.Point { x = 1 y = 2 }", ""},
        {"garden.Point { xs = 1 }", "Unknown member 'xs' of class garden::Point <xs> x"},
        {"Point { xs = 1 }", "'Point' is not a registered class name <Point> garden::Point"},
        {"garden.Ponit { }",
         "'garden::Ponit' is not a registered class name <garden.Ponit> garden::Point garden::Pond"},
        {"garden.Layer { levels = [BED, SHRUBS] }", "Unknown member 'SHRUBS' of enum garden::Level <SHRUBS> SHRUB"},
        {"garden.Shape { outline = Circel(1) }", "Unknown member 'Circel' of variant garden::Outline <Circel> Circle"},
        {"garden.Shape { position = Pint(1, 2) }", "Expected garden::Point when read Pint <Pint> Point"},
        {"garden.Plan { gardener = garden.Nobody { a = 1 } title = \"\" }",
         "'garden::Nobody' is not a registered class name <garden.Nobody>"},
        {"garden.Plan { gardener = null }", ""},
        {"garden.Pond { name = \"\" depth = 1 level = 50 }", ""},
        // What of a mistake can be told by tokens.
        {"garden.Point { x = 'a\n }", "This is no token: 'a <'a>"},
        {"garden.Layer { levels = [BED }", "This bracket is not closed <{>\nThis bracket closes nothing <}>"},
    };
    for (const auto& [text, told] : rows)
        EXPECT_EQ(FindingsIn(text), told) << text;
}

TEST(Findings, EndAtTheMostThatAreWanted)
{
    const Document document = Document::Parse("garden.Point { a = 1 b = 2 c = 3 d = 4 }");
    EXPECT_EQ(FindingsOf(document, ExampleTypes(), 3).size(), 3u);
}

// Each change as its title, an arrow, and the text that it makes.
std::string ChangesIn(const MarkedText& text)
{
    std::string told;
    for (const Change& change : ChangesAt(text.m_document, ExampleTypes(), {text.m_at, text.m_at}))
    {
        std::string changed(text.m_document.GetText());
        for (auto edit = change.m_replacements.rbegin(); edit != change.m_replacements.rend(); ++edit)
            changed.replace(edit->m_removed.m_begin, edit->m_removed.GetSize(), edit->m_inserted);
        told += (told.empty() ? "" : "\n") + change.m_title + " -> " + changed;
    }
    return told;
}

TEST(Changes, MendNamesAndNameMembers)
{
    const std::pair<std::string, std::string> rows[] = {
        {"garden.Point { |xs = 1 }", "Write 'x' instead -> garden.Point { x = 1 }"},
        {"garden.Point { xs| = 1 }", "Write 'x' instead -> garden.Point { x = 1 }"},
        {"garden.Point { xs |= 1 }", ""},
        {"garden.Point {xs|", "Write 'x' instead -> garden.Point {x"},
        {"garden.Po|nit { }",
         "Write 'garden::Point' instead -> garden::Point { }\nWrite 'garden::Pond' instead -> garden::Pond { }"},
        {"garden.Point { x = 1| }", ""},
        {"garden.Point (|1, 2)", "Write the members' names -> garden.Point { x = 1 y = 2 }"},
        {"garden.Point ( 1 ,|2 )", "Write the members' names -> garden.Point { x = 1  y = 2 }"},
        {"garden.Point (1, // one\n 2|)", "Write the members' names -> garden.Point { x = 1 // one\n y = 2 }"},
        {"garden.Shape { position = (1|, -2) }",
         "Write the members' names -> garden.Shape { position = { x = 1 y = -2 } }"},
        {"garden.Shape { outline = Circle(|1) }",
         "Write the members' names -> garden.Shape { outline = Circle { radius = 1 } }"},
        {"garden.Point (1, 2, 3|)", ""},
        {"garden.Point (1|, 2", ""},
        {"garden.Plan { layers = [(\"a\", [|], 1, true)] }",
         "Write the members' names -> garden.Plan { layers = [{ name = \"a\" levels = [] opacity = 1 isVisible = true "
         "}] }"},
    };
    for (const auto& [text, told] : rows)
        EXPECT_EQ(ChangesIn(MarkedText(text)), told) << text;
}

TEST(Changes, AddWhatIsRequired)
{
    TypeCatalogue catalogue;
    CatalogueClass entry;
    entry.m_name = "shop::Line";
    entry.m_isCreatable = true;
    const TypeNode text{.m_kind = TypeKind::Text, .m_text = "string"};
    const TypeNode number{.m_kind = TypeKind::Integer, .m_text = "int32", .m_name = "int32"};
    entry.m_members = {{.m_name = "product", .m_type = text, .m_default = {}, .m_doc = {}, .m_isRequired = true},
                       {.m_name = "count", .m_type = number, .m_default = "1", .m_doc = {}, .m_isRequired = true},
                       {.m_name = "note", .m_type = text, .m_default = "\"\"", .m_doc = {}}};
    catalogue.m_classes.push_back(entry);
    const Types types(std::move(catalogue));
    const std::pair<std::string, std::string> rows[] = {
        {"shop.Line {|}", "shop.Line { product = \"\" count = 1 }"},
        {"shop.Line {| }", "shop.Line { product = \"\" count = 1 }"},
        {"shop.Line { |note = \"a\" }", "shop.Line { note = \"a\" product = \"\" count = 1 }"},
        {"shop.Line {\n  |note = \"a\"\n}", "shop.Line {\n  note = \"a\"\n  product = \"\"\n  count = 1\n}"},
        {"shop.Line {\n  count = 2|\n}", "shop.Line {\n  count = 2\n  product = \"\"\n}"},
        {"shop.Line { product = \"a\" count = 2| }", ""},
    };
    for (const auto& [marked, result] : rows)
    {
        const MarkedText place(marked);
        const auto changes = ChangesAt(place.m_document, types, {place.m_at, place.m_at});
        ASSERT_EQ(changes.size(), result.empty() ? 0u : 1u) << marked;
        if (result.empty())
            continue;
        std::string changed(place.m_document.GetText());
        const Replacement& edit = changes[0].m_replacements[0];
        changed.replace(edit.m_removed.m_begin, edit.m_removed.GetSize(), edit.m_inserted);
        EXPECT_EQ(changed, result) << marked;
    }
}

} // namespace

} // namespace kelm::language
