#include <kelmLanguage/Completion.h>

#include "Places.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace kelm::language
{

namespace
{

std::string LabelsOf(const Completions& completions)
{
    std::string labels;
    for (const Completion& completion : completions.m_choices)
        labels += (labels.empty() ? "" : " | ") + completion.m_label;
    return labels;
}

std::string CompleteAt(const MarkedText& text)
{
    return LabelsOf(Complete(text.m_document, ExampleTypes(), text.m_at));
}

TEST(Completion, OffersWhatCanStandAtAPlace)
{
    const std::string classes = "garden.Circle | garden.Colour | garden.Layer | garden.Material | garden.Plan | "
                                "garden.Plant | garden.Point | garden.Pond | garden.Rectangle | garden.Shape | "
                                "people.Address | people.Club | people.Person";
    const std::string pond = "garden.Pond { outline = ";
    const std::pair<std::string, std::string> rows[] = {
        {"|", classes},
        {"gar|", classes},
        {"// Plan\n|", classes},
        {"garden.Point |", "{} | (x, y)"},
        {"garden.Point {|", "x | y"},
        {"garden.Point { |", "x | y"},
        {"garden.Point { | }", "x | y"},
        {"garden.Point { x = 1 |", "y | x"},
        {"garden.Point { x = 1 | y = 2 }", "x | y"},
        {"garden.Point { | y = 2 }", "x | y"},
        {"garden.Point { y| }", "x | y"},
        {"garden.Point { x| = 1 }", "x | y"},
        {"garden.Point { x |= 1 }", ""},
        {"garden.Point { x = | }", "0.0"},
        {"garden.Point { x = 1| }", ""},
        {"garden.Point { x = |1 }", "0.0"},
        {"garden.Point ( |", "0.0"},
        {"garden.Point { } |", ""},
        {"garden.Layer { levels = [|] }", "GROUND | BED | SHRUB | CANOPY"},
        {"garden.Layer { levels = [BED, |", "GROUND | BED | SHRUB | CANOPY"},
        {"garden.Layer { levels = [BED, SH|] isVisible = true }", "GROUND | BED | SHRUB | CANOPY"},
        {"garden.Layer { levels = [BED |", ""},
        {"garden.Layer { levels = | }", "[]"},
        {"garden.Layer { isVisible = | }", "true | false"},
        {"garden.Layer { isVisible = t| }", "true | false"},
        {"garden.Layer { name = | }", "\"\""},
        {"garden.Layer { opacity = | }", "1.0"},
        // Where brackets are missing.
        {"garden.Layer { levels = [BED\n  op| = 1 }", "name | opacity | isVisible | levels"},
        {"garden.Layer { levels = [BED,\n  name = \"\" op| }", "opacity | isVisible | name | levels"},
        {"garden.Plan { layers = [ { levels = [BED } ] | }",
         "title | format | revision | parcel | owner | gardener | margins | materials | plants | shapes | rainfall | "
         "diary | zoom | layers"},
        // Where a value is missing.
        {"garden.Layer { name =\n  levels = [] |", "opacity | isVisible | name | levels"},
        {"garden.Layer { isVisible = |\n  levels = [] }", "true | false"},
        {"garden.Layer { name levels = [] | }", "name | opacity | isVisible | levels"},
        // Objects.
        {"garden.Shape { position = | }", "{} | (x, y) | Point"},
        {"garden.Shape { position = P| }", "Point"},
        {"garden.Shape { position = garden.| }", "garden.Point"},
        {"garden.Shape { position = garden::| }", "garden::Point"},
        {"garden.Shape { position = Point | }", "{} | (x, y)"},
        {"garden.Plan { owner = | }", "people.Person"},
        {"garden.Plan { gardener = | }", classes + " | null"},
        {"garden.Plan { gardener = people.Person | }",
         "{} | (name, nativeName, middleInitial, born, role, isActive, home, contacts, partner, mentor) | title | "
         "format | revision | parcel | owner | margins | layers | materials | plants | shapes | rainfall | diary | "
         "zoom | gardener"},
        {"garden.Plan { shapes = [ | ] }", classes + " | null"},
        {"garden.Plan { shapes = [ garden::Sh| ] }", "garden::Circle | garden::Colour | garden::Layer | "
                                                     "garden::Material | garden::Plan | garden::Plant | garden::Point "
                                                     "| garden::Pond | garden::Rectangle | garden::Shape | "
                                                     "people::Address | people::Club | people::Person | null"},
        // Variants, maps, typedefs, what is inside of others.
        {pond + "| }", "Circle | Rectangle | polygon"},
        {pond + "Circle| }", "Circle | Rectangle | polygon"},
        {pond + "Circle | }", "{} | (radius) | Circle"},
        {pond + "Circle { | } }", "radius"},
        {pond + "Circle { radius = | } }", "1.0"},
        {pond + "polygon [(1, 2), |] }", "{} | (x, y) | Point"},
        {"garden.Plan { materials = [|] }", "\"\""},
        {"garden.Plan { materials = [\"a\" |] }", ""},
        {"garden.Plan { materials = [\"a\" -> |] }", "{} | (colour, symbol, isPermeable, price) | Material"},
        {"garden.Plan { materials = [\"a\" -> { | }] }", "colour | symbol | isPermeable | price"},
        {"garden.Plan { diary = [1 -> [|", "SPRING | SUMMER | AUTUMN | WINTER"},
        {"garden.Plan { diary = [1 -> [SPRING -> |", "[]"},
        {"garden.Plan { plants = [\"a\" -> (\"b\", 1, 2, [|", "SPRING | SUMMER | AUTUMN | WINTER"},
        // Where nothing can.
        {"garden.Point { // |", ""},
        {"garden.Point { /* | */ }", ""},
        {"garden.Point { /* */| }", "x | y"},
        {"garden.Layer { name = \"| }", ""},
        {"garden.Layer { name = \"a|b\" }", ""},
        {"garden.Layer { name = \"ab\"| }", ""},
        {"garden.Nothing { | }", ""},
        {"garden.Nothing { a = { | } }", ""},
        {"garden.Point { z = | }", ""},
    };
    for (const auto& [text, labels] : rows)
        EXPECT_EQ(CompleteAt(MarkedText(text)), labels) << text;
}

// What is replaced, and what is written in its place.
TEST(Completion, ReplacesTheWordThatIsThere)
{
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"garden.Point { x| }", "x", "garden.Point { x = $0 }"},
        {"garden.Point { y|y = 1 }", "x", "garden.Point { x = 1 }"},
        {"garden.Point { | }", "y", "garden.Point { y = $0 }"},
        {"garden.Sh| {}", "garden.Shape", "garden.Shape {}"},
        {"garden::S|h {}", "garden::Shape", "garden::Shape {}"},
        {"garden.Layer { na| }", "name", "garden.Layer { name = \"$0\" }"},
        {"garden.Layer { le| }", "levels", "garden.Layer { levels = [$0] }"},
        {"garden.Shape { po| }", "position", "garden.Shape { position = { $0 } }"},
        {"garden.Layer { levels = [BE|D] }", "SHRUB", "garden.Layer { levels = [SHRUB] }"},
        {"garden.Layer { levels = [B|] name = \"\" }", "BED", "garden.Layer { levels = [BED] name = \"\" }"},
    };
    for (const auto& [text, label, result] : rows)
    {
        const MarkedText marked(text);
        const Completions completions = Complete(marked.m_document, ExampleTypes(), marked.m_at);
        const auto& choices = completions.m_choices;
        const auto choice = std::find_if(choices.begin(), choices.end(),
                                         [label = label](const Completion& c) { return c.m_label == label; });
        ASSERT_NE(choice, choices.end()) << text;
        std::string changed(marked.m_document.GetText());
        changed.replace(completions.m_replaced.m_begin, completions.m_replaced.GetSize(), choice->m_text);
        EXPECT_EQ(changed, result) << text;
    }
}

TEST(Completion, TellsOfTypesAndDefaults)
{
    const MarkedText marked("garden.Layer { | }");
    const Completions completions = Complete(marked.m_document, ExampleTypes(), marked.m_at);
    EXPECT_EQ(completions.m_choices[2].m_detail, "float64");
    EXPECT_EQ(completions.m_choices[2].m_described, "```cpp\nfloat64 opacity = 1.0\n```");
}

} // namespace

} // namespace kelm::language
