// Editing in place: each row is a text, an edit, and the whole text behind it or why it is refused.

#include "CommentPlaces.h"
#include "EditedTypes.h"

#include <kelmDocument/Editor.h>

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace kelm
{

namespace
{

enum class Verb
{
    Set,
    Add,
    Remove,
    Insert,
    Rename,
    Move,
};

Result<bool> Do(Document& document, Verb verb, std::string_view path, std::string_view value)
{
    DocumentEditor editor(document);
    switch (verb)
    {
    case Verb::Set: return editor.Set(path, value);
    case Verb::Add: return editor.Add(path, value);
    case Verb::Remove: return editor.Remove(path);
    case Verb::Insert: return editor.Insert(path, value);
    case Verb::Rename: return editor.Rename(path, value);
    case Verb::Move: return editor.Move(path, value);
    }
    return false;
}

// The text behind an edit, or "error: " and the message.
std::string After(const std::string& text, Verb verb, std::string_view path, std::string_view value)
{
    yard::Register();
    Document document = Document::Parse(text);
    const Result<bool> result = Do(document, verb, path, value);
    if (!result)
    {
        EXPECT_EQ(document.GetText(), text);
        return "error: " + result.GetError().GetMessage();
    }
    EXPECT_EQ(*result, document.GetText() != text);
    return std::string(document.GetText());
}

struct EditRow
{
    std::string m_text;
    std::string_view m_path;
    std::string_view m_value;
    std::string m_after; // "=" where it stays
};

void ExpectRows(Verb verb, std::span<const EditRow> rows)
{
    for (const EditRow& row : rows)
        EXPECT_EQ(After(row.m_text, verb, row.m_path, row.m_value), row.m_after == "=" ? row.m_text : row.m_after)
            << row.m_text << "\n"
            << row.m_path << " " << row.m_value;
}

constexpr char s_made[] = "error: it is not written: creation made it, and a text cannot change that";

TEST(Editor, SetsWhatIsWritten)
{
    const EditRow rows[] = {
        {"yard::Ship { title = \"a\" berth = NORTH }", ".title", "\"b\"", "yard::Ship { title = \"b\" berth = NORTH }"},
        {"yard::Ship { title = \"a\" // kept\n}", "title", " \"b\" // not taken",
         "yard::Ship { title = \"b\" // kept\n}"},
        {"\xEF\xBB\xBFyard::Ship {\r\n  isOpen=true\r\n}\r\n", ".isOpen", "false",
         "\xEF\xBB\xBFyard::Ship {\r\n  isOpen=false\r\n}\r\n"},
        // The value that it has already.
        {"yard::Ship { area = 5.0 }", ".area", "5", "="},
        {"yard::Ship { berth = 5 }", ".berth", "SOUTH", "="},
        {"yard::Ship {}", ".title", "'unnamed'", "="},
        {"yard::Ship { tags = [1, /* two */ 2] }", ".tags", "[1,2]", "="},
        // Comments inside of a value that has no brackets.
        {"yard::Ship { area = - /*a*/ 5 title = \"t\" }", ".area", "7", "yard::Ship { area = 7 /*a*/  title = \"t\" }"},
        // Of several mentions the one that decides.
        {"yard::Ship { title = \"a\" title = \"b\" }", ".title", "\"c\"", "yard::Ship { title = \"a\" title = \"c\" }"},
        {"yard::Ship { origin = {x = 1} origin = {y = 2} }", ".origin.x", "3",
         "yard::Ship { origin = {x = 3} origin = {y = 2} }"},
        {"yard::Ship { origin = (1, 2) origin = {y = 3} }", ".origin.x", "4",
         "yard::Ship { origin = (4, 2) origin = {y = 3} }"},
        {"yard::Ship { extent = Point {x = 1} extent = Point {y = 2} }", ".extent.Point.y", "4",
         "yard::Ship { extent = Point {x = 1} extent = Point {y = 4} }"},
        // Through everything there is.
        {"yard::Ship { crates = [Crate { place = Point(1, 2) }, {}] }", ".crates[0].place.y", "5",
         "yard::Ship { crates = [Crate { place = Point(1, 5) }, {}] }"},
        {"yard::Ship { samples = [(1, 2), {x = 3}] }", ".samples[[1].x", "4",
         "yard::Ship { samples = [(1, 2), {x = 4}] }"},
        {"yard::Ship { rows = [[1], [2, 3]] }", ".rows[1][0]", "9", "yard::Ship { rows = [[1], [9, 3]] }"},
        {"yard::Ship { scores = [1, 2, 3] }", ".scores[1]", "-9", "yard::Ship { scores = [1, -9, 3] }"},
        {"yard::Ship { first = yard::Crate { label = \"a\" } }", ".first.label", "\"b\"",
         "yard::Ship { first = yard::Crate { label = \"b\" } }"},
        {"yard::Ship { note = yard.Crate { weight = 2 } }", ".note.weight", "3",
         "yard::Ship { note = yard.Crate { weight = 3 } }"},
        {"yard::Ship { counts = [\"a\" -> 1, \"b\" -> 2] }", ".counts[\"b\"]", "3",
         "yard::Ship { counts = [\"a\" -> 1, \"b\" -> 3] }"},
        {"yard::Ship { counts = [\"a\" -> 1, 'a' -> 2] }", ".counts[\"a\"]", "3",
         "yard::Ship { counts = [\"a\" -> 1, 'a' -> 3] }"},
        {"yard::Ship { marks = [{x=1} -> \"a\", {y=2} -> \"b\"] }", ".marks[(1, 2)]", "\"c\"",
         "yard::Ship { marks = [{x=1} -> \"a\", {y=2} -> \"c\"] }"},
        {"yard::Ship { extent = radius 5 }", ".extent.radius", "6", "yard::Ship { extent = radius 6 }"},
        {"yard::Ship { extent = radius 5 }", ".extent.label", "\"x\"", "yard::Ship { extent = label \"x\" }"},
        {"yard::Ship { extent = radius 5 }", ".extent", "Point(1, 2)", "yard::Ship { extent = Point(1, 2) }"},
        {"yard::Ship { list = [1, 2] }", ".list[1]", "3", "yard::Ship { list = [1, 3] }"},
        {"yard::Ship { map = [\"a\" -> 1] }", ".map[\"a\"]", "2", "yard::Ship { map = [\"a\" -> 2] }"},
        {"yard::Ship { maybe = { x = 1 } }", ".maybe.x", "2", "yard::Ship { maybe = { x = 2 } }"},
        {"yard::Ship { maybe = { x = 1 } }", ".maybe", "null", "yard::Ship { maybe = null }"},
        // Whole classes and lists, which are what they are said to be.
        {"yard::Ship { origin = {x = 1} origin = {y = 4} }", ".origin", "{x = 3}", "yard::Ship { origin = {x = 3} }"},
        {"yard::Ship { tags = [1] title = \"a\" tags = [2] }", ".tags", "[3]",
         "yard::Ship { title = \"a\" tags = [3] }"},
        {"yard::Ship { filled = [9] }", ".filled[2]", "1", "yard::Ship { filled = [1] }"},
        {"yard::Ship { filled = [9] filled = [10] }", ".filled[3]", "1", "yard::Ship { filled = [9] filled = [1] }"},
        // A persistent reference is removed.
        {"yard::Ship { note = yard::Crate title = \"a\" }", ".note", "null", "yard::Ship { title = \"a\" }"},
        // What stands side by side stays apart.
        {"yard::Ship { extent=label\"x\"title=\"a\" }", ".extent", "radius 5",
         "yard::Ship { extent=radius 5 title=\"a\" }"},
        {"yard::Ship { maybe={}title=\"a\" }", ".maybe", "null", "yard::Ship { maybe=null title=\"a\" }"},
        {"yard::Ship { extent=yard::Point{x=1}title=\"a\" }", ".extent.Point.x", "2",
         "yard::Ship { extent=yard::Point{x=2}title=\"a\" }"},
        {"yard::Ship { samples = [(1, 2), {x = 3}] }", ".samples[[1]].x", "4",
         "yard::Ship { samples = [(1, 2), {x = 4}] }"},
        // Under keys.
        {"yard::Ship { groups = [\"a\" -> [1, 2]] }", ".groups[\"a\"][1]", "3",
         "yard::Ship { groups = [\"a\" -> [1, 3]] }"},
        {"yard::Ship { hold = { grow = [1] } }", ".hold.grow[1]", "2", "yard::Ship { hold = { grow = [2] } }"},
        {"yard::Ship {}", ".hold", "{ depth = 1 }", "yard::Ship { hold = { depth = 1 } }"},
    };
    ExpectRows(Verb::Set, rows);
}

TEST(Editor, PutsWhatIsNotWrittenWhereTheDeclarationHasIt)
{
    const EditRow rows[] = {
        {"yard::Ship", ".title", "\"b\"", "yard::Ship { title = \"b\" }"},
        {"yard::Ship {}", ".title", "\"b\"", "yard::Ship { title = \"b\" }"},
        {"yard::Ship { }\n", ".origin.x", "1", "yard::Ship { origin = { x = 1 } }\n"},
        {"yard::Ship {\n}\n", ".title", "\"b\"", "yard::Ship {\n    title = \"b\"\n}\n"},
        {"yard::Ship {\n\t// nothing\n}\n", ".title", "\"b\"", "yard::Ship {\n\t// nothing\n    title = \"b\"\n}\n"},
        {"yard::Ship { /* nothing */ }", ".title", "\"b\"", "yard::Ship { /* nothing */ title = \"b\" }"},
        {"yard::Ship { title=\"a\" isOpen=true }", ".berth", "NORTH",
         "yard::Ship { title=\"a\" berth=NORTH isOpen=true }"},
        {"yard::Ship { isOpen = true }", ".title", "\"b\"", "yard::Ship { title = \"b\" isOpen = true }"},
        {"yard::Ship {\n  title = \"a\" // the title\n\n  // open\n  isOpen = true\n}\n", ".berth", "NORTH",
         "yard::Ship {\n  title = \"a\" // the title\n  berth = NORTH\n\n  // open\n  isOpen = true\n}\n"},
        {"yard::Ship {\r\n  # a title\r\n# kept\r\n  berth = SOUTH\r\n}\r\n", ".title", "\"b\"",
         "error: Expected identifier when read #"},
        {"yard::Ship {\r\n# kept\r\n  berth = SOUTH\r\n}\r\n", ".title", "\"b\"",
         "yard::Ship {\r\n  title = \"b\"\r\n# kept\r\n  berth = SOUTH\r\n}\r\n"},
        {"yard::Ship {\n  title  = \"a\"\n  isOpen = true\n}\n", ".berth", "NORTH",
         "yard::Ship {\n  title  = \"a\"\n  berth  = NORTH\n  isOpen = true\n}\n"},
        {"yard::Ship {\n  title = \"a\" }", ".berth", "NORTH", "yard::Ship {\n  title = \"a\"\n  berth = NORTH }"},
        {"yard::Ship { title = \"a\" // a\n}", ".berth", "NORTH", "yard::Ship { title = \"a\" // a\nberth = NORTH\n}"},
        {"yard::Ship { crates = [{}] }", ".crates[0].weight", "2", "yard::Ship { crates = [{ weight = 2 }] }"},
        {"yard::Ship { first = yard::Crate }", ".first.weight", "2",
         "yard::Ship { first = yard::Crate { weight = 2 } }"},
        // Keys.
        {"yard::Ship {}", ".counts[\"a\"]", "1", "yard::Ship { counts = [\"a\" -> 1] }"},
        {"yard::Ship { counts = [] }", ".counts[\"a\"]", "1", "yard::Ship { counts = [\"a\" -> 1] }"},
        {"yard::Ship { counts = [\"b\" -> 1] }", ".counts[\"a\"]", "0",
         "yard::Ship { counts = [\"b\" -> 1, \"a\" -> 0] }"},
        {"yard::Ship {}", ".stock[\"rope\"]", "1", "yard::Ship { stock = [\"rope\" -> 1] }"},
        // What can only be written whole.
        {"yard::Ship {}", ".scores[1]", "5", "yard::Ship { scores = [0, 5, 0] }"},
        {"yard::Ship {}", ".pair[1]", "5", "yard::Ship { pair = [0, 5] }"},
        {"yard::Ship {}", ".map[\"x\"]", "2", "yard::Ship { map = [\"made\" -> 1, \"x\" -> 2] }"},
        {"yard::Ship {}", ".extent.radius", "2", "yard::Ship { extent = radius 2.0 }"},
        {"yard::Ship {}", ".extent.label", "\"x\"", "yard::Ship { extent = label \"x\" }"},
        // A key that says all, where it would have something from the one before it.
        {"yard::Ship { marks = [{x=1} -> \"a\"] }", ".marks[{y=2}]", "\"b\"",
         "yard::Ship { marks = [{x=1} -> \"a\", Point { x = 0.0 y = 2.0 } -> \"b\"] }"},
        {"yard::Ship { lots = [{x=1} -> {x=1}] }", ".lots[{y=2}]", "{y=3}",
         "yard::Ship { lots = [{x=1} -> {x=1}, Point { x = 0.0 y = 2.0 } -> {y=3}] }"},
        {"yard::Ship { lots = [{x=1} -> {x=1}] }", ".lots[{y=2}].y", "3",
         "yard::Ship { lots = [{x=1} -> {x=1}, Point { x = 0.0 y = 2.0 } -> { y = 3 }] }"},
        {"yard::Ship { lots = [{x=1} -> {x=1}] }", ".lots[{x=2}].y", "3",
         "yard::Ship { lots = [{x=1} -> {x=1}, {x=2} -> { y = 3 }] }"},
    };
    ExpectRows(Verb::Set, rows);
}

TEST(Editor, RefusesWithOneErrorAndNothingChanged)
{
    const EditRow rows[] = {
        {"yard::Ship { title = \"a\" }", ".title", "5", "error: Expected string when read 5"},
        {"yard::Ship { title = \"a\" }", ".title", "\"a\" b", "error: Expected end of text when read b"},
        {"yard::Ship { title = \"a\" }", ".title", "", "error: Expected string when read end of text"},
        {"yard::Ship { title = \"a\" }", ".titel", "\"b\"", "error: Unknown member 'titel' of class yard::Ship"},
        {"yard::Ship { title = \"a\" }", "", "\"b\"", "error: the object itself cannot be set: name a member"},
        {"yard::Ship { title = \"a\" }", ".title.x", "1", "error: there are no members here"},
        {"yard::Ship { tags = [1] }", ".tags[0}", "1", "error: the bracket has no end"},
        {"yard::Ship { title = \"a\" }", ".title[0]", "1", "error: there are no elements here"},
        {"yard::Ship { title = \"a\" }", ".title x", "1", "error: a path goes on with a dot or a bracket"},
        {"yard::Ship { title = \"a\" }", ".", "1", "error: a name is expected behind the dot"},
        {"yard::Ship { title = }", ".title", "\"b\"", "error: Expected string when read }"},
        {"yard::Ship { tags = [1] }", ".tags[1]", "1", "error: the list has 1 elements"},
        {"yard::Ship { tags = [1] }", ".tags[x]", "1", "error: an index is expected"},
        {"yard::Ship { tags = [1] }", ".tags[0", "1", "error: the bracket has no end"},
        {"yard::Ship {}", ".filled[1]", "1", s_made},
        {"yard::Ship { filled = [9] }", ".filled[0]", "1", s_made},
        {"yard::Ship { filled = [9] }", ".filled", "[1]",
         "error: no text can say this here: reading would give another value"},
        {"yard::Ship {}", ".stock", "[\"a\" -> 1]",
         "error: no text can say this here: reading would give another value"},
        {"yard::Ship {}", ".first.label", "\"a\"", "error: null is what is before this step"},
        {"yard::Ship {}", ".maybe.x", "1", "error: null is what is before this step"},
        {"yard::Ship {}", ".extent.Point.x", "1", "error: the variant holds radius here"},
        {"yard::Ship {}", ".extent.Circle", "1", "error: Unknown alternative 'Circle' of a variant"},
        {"null", ".title", "\"b\"", "error: the data source is null, which has no members"},
        {"yard::Ship {}", ".hold", "{ grow = [1] }",
         "error: no text can say this here: reading would give another value"},
    };
    ExpectRows(Verb::Set, rows);
}

TEST(Editor, AddsWhatReadingTheValueIntoItWould)
{
    const EditRow rows[] = {
        {"yard::Ship { title = \"a\" }", ".title", "\"b\"", "yard::Ship { title = \"b\" }"},
        {"yard::Ship { tags = [1] }", ".tags", "[2, 3]", "yard::Ship { tags = [1, 2, 3] }"},
        {"yard::Ship { tags = [1] }", ".tags", "[]", "="},
        {"yard::Ship { tags = [\n  1 // one\n] }", ".tags", "[2]", "yard::Ship { tags = [\n  1, // one\n  2\n] }"},
        {"yard::Ship {}", ".filled", "[9]", "yard::Ship { filled = [9] }"},
        {"yard::Ship { filled = [9] }", ".filled", "[10]", "yard::Ship { filled = [9, 10] }"},
        {"yard::Ship { origin = { x = 1 } }", ".origin", "{ y = 3 }", "yard::Ship { origin = { x = 1 y = 3 } }"},
        {"yard::Ship { origin = (1, 2) }", ".origin", "Point { y = 3 }", "yard::Ship { origin = (1, 3) }"},
        {"yard::Ship { origin = { x = 1 } }", ".origin", "(1, 3)", "yard::Ship { origin = { x = 1 y = 3 } }"},
        {"yard::Ship { counts = [\"a\" -> 1] }", ".counts", "[\"b\" -> 2, \"a\" -> 3]",
         "yard::Ship { counts = [\"a\" -> 3, \"b\" -> 2] }"},
        {"yard::Ship { scores = [1, 2, 3] }", ".scores", "[1, 5, 3]", "yard::Ship { scores = [1, 5, 3] }"},
        {"yard::Ship { list = [1, 2] }", ".list", "[3]", "yard::Ship { list = [3] }"},
        {"yard::Ship { crates = [{ seals = [1] }] }", ".crates[0]", "{ weight = 2 seals = [2] }",
         "yard::Ship { crates = [{ weight = 2 seals = [1, 2] }] }"},
        {"yard::Ship { scores = [1, 2, 3] }", ".scores", "[1]", "error: Expected , when read ]"},
        {"yard::Ship { marks = [] }", ".marks", "[{x=1} -> \"a\", {y=2} -> \"b\"]",
         "yard::Ship { marks = [{x=1} -> \"a\", {y=2} -> \"b\"] }"},
        {"yard::Ship { marks = [{y=5} -> \"o\", {x=1} -> \"c\"] }", ".marks", "[(1, 5) -> \"a\", {y=2} -> \"b\"]",
         "yard::Ship { marks = [{y=5} -> \"o\", {x=1} -> \"a\", {y=2} -> \"b\"] }"},
        {"yard::Ship { marks = [{y=5} -> \"o\"] }", ".marks", "[{x=1} -> \"a\", {y=2} -> \"b\"]",
         "yard::Ship { marks = [{y=5} -> \"o\", Point { x = 1.0 y = 0.0 } -> \"a\", {y=2} -> \"b\"] }"},
        {"yard::Ship { groups = [\"a\" -> [1]] }", ".groups", "[\"b\" -> [2], \"a\" -> [3]]",
         "yard::Ship { groups = [\"a\" -> [1, 3], \"b\" -> [2]] }"},
        {"yard::Ship { groups = [\"a\" -> [1]] }", ".groups[\"a\"]", "[3]",
         "yard::Ship { groups = [\"a\" -> [1, 3]] }"},
        {"yard::Ship { groups = [\"a\" -> [1]] }", ".groups[\"b\"]", "[]",
         "yard::Ship { groups = [\"a\" -> [1], \"b\" -> []] }"},
        {"yard::Ship { teams = [\"a\" -> { weight = 2 }] }", ".teams",
         "[\"b\" -> {}, \"a\" -> { label = 'x' seals = [1] }]",
         "yard::Ship { teams = [\"a\" -> { label = 'x' weight = 2 seals = [1] }, \"b\" -> {}] }"},
        {"yard::Ship {}", ".hold", "{ grow = [1] }", "yard::Ship { hold = { grow = [1] } }"},
        {"yard::Ship {}", ".scores", "[1, 2, 3]", "yard::Ship { scores = [1, 2, 3] }"},
        {"yard::Ship { isOpen = true }", ".", "1", "error: a name is expected behind the dot"},
        {"yard::Ship { crates = [{ weight = 1 }] }", ".crates[0]", "{ weight = 1 label = '' }", "="},
    };
    ExpectRows(Verb::Add, rows);
}

TEST(Editor, RemovesEveryMentionWithItsComments)
{
    const EditRow rows[] = {
        {"yard::Ship { title = \"a\" }", ".title", "", "yard::Ship { }"},
        {"yard::Ship {title = \"a\" isOpen = true}", ".title", "", "yard::Ship {isOpen = true}"},
        {"yard::Ship {title = \"a\" isOpen = true}", ".isOpen", "", "yard::Ship {title = \"a\"}"},
        {"yard::Ship { title = \"a\"isOpen = true area = 1 }", ".isOpen", "", "yard::Ship { title = \"a\" area = 1 }"},
        {"yard::Ship { title = \"a\" isOpen = true title = \"b\" }", ".title", "", "yard::Ship { isOpen = true }"},
        {"yard::Ship { isOpen = true }", ".title", "", "="},
        {"yard::Ship { title = \"a\" title = \"b\" }", ".title", "", "yard::Ship { }"},
        {"yard::Ship { title = \"a\" title = \"b\" title = \"c\"}", ".title", "", "yard::Ship { }"},
        {"yard::Ship { counts = [\"a\" -> 1, \"a\" -> 2] }", ".counts[\"a\"]", "", "yard::Ship { counts = [] }"},
        {"yard::Ship { first = yard::Crate { label = \"a\" label = \"b\" } title = \"t\" }", ".first.label", "",
         "yard::Ship { first = yard::Crate { } title = \"t\" }"},
        {"yard::Ship {\r\n  title = \"a\"\r\n  isOpen = true // open\r\n}\r\n", ".title", "",
         "yard::Ship {\r\n  isOpen = true // open\r\n}\r\n"},
        {"yard::Ship {\r\n  title = \"a\" isOpen = true // open\r\n}\r\n", ".isOpen", "",
         "yard::Ship {\r\n  title = \"a\"\r\n}\r\n"},
        {"yard::Ship {\n  // about a\n  title = \"a\" // a\n  isOpen = true\n}\n", ".title", "",
         "yard::Ship {\n  isOpen = true\n}\n"},
        {"yard::Ship {\n  // not about a\n\n  title = \"a\"\n\n  isOpen = true\n}\n", ".title", "",
         "yard::Ship {\n  // not about a\n\n\n  isOpen = true\n}\n"},
        {"yard::Ship {\n  isOpen = true // open\n# title\n  title = \"a\"\n# end\n}\n", ".title", "",
         "yard::Ship {\n  isOpen = true // open\n# end\n}\n"},
        {"yard::Ship { title = \"a\" /* a */ isOpen = true }", ".title", "", "yard::Ship { isOpen = true }"},
        {"yard::Ship { title = \"a\" /* a */ isOpen = true }", ".isOpen", "", "yard::Ship { title = \"a\" /* a */ }"},
        {"yard::Ship { note = yard::Crate(\"\", 1, (1, 2), [], null) }", ".note", "", "yard::Ship { }"},
        // Elements.
        {"yard::Ship { tags = [1, 2, 3] }", ".tags[0]", "", "yard::Ship { tags = [2, 3] }"},
        {"yard::Ship { tags = [1, 2, 3] }", ".tags[1]", "", "yard::Ship { tags = [1, 3] }"},
        {"yard::Ship { tags = [1, 2, 3] }", ".tags[2]", "", "yard::Ship { tags = [1, 2] }"},
        {"yard::Ship { tags = [1] }", ".tags[0]", "", "yard::Ship { tags = [] }"},
        {"yard::Ship { tags = [\n  1, // one\n  // of two\n  2 // two\n] }", ".tags[1]", "",
         "yard::Ship { tags = [\n  1 // one\n] }"},
        {"yard::Ship { tags = [\n  1, // one\n  // of two\n  2 // two\n] }", ".tags[0]", "",
         "yard::Ship { tags = [\n  // of two\n  2 // two\n] }"},
        {"yard::Ship { tags = [1, /* two */ 2, 3] }", ".tags[1]", "", "yard::Ship { tags = [1, 3] }"},
        {"yard::Ship { tags = [1 /* one */, 2] }", ".tags[0]", "", "yard::Ship { tags = [2] }"},
        {"yard::Ship { filled = [1, 2] }", ".filled[2]", "", "yard::Ship { filled = [2] }"},
        {"yard::Ship { filled = [1, 2] }", ".filled[1]", "", s_made},
        {"yard::Ship { scores = [1, 2, 3] }", ".scores[1]", "", "error: the list has a fixed number of elements"},
        {"yard::Ship { set = [\"a\", \"b\"] }", ".set[\"a\"]", "", "yard::Ship { set = [\"b\"] }"},
        // Keys, and what the next one has of them.
        {"yard::Ship { counts = [\"a\" -> 1, \"b\" -> 2, \"a\" -> 3] }", ".counts[\"a\"]", "",
         "yard::Ship { counts = [\"b\" -> 2] }"},
        {"yard::Ship { counts = [] }", ".counts[\"a\"]", "", "error: there is no such key"},
        {"yard::Ship { stock = [\"a\" -> 1] }", ".stock[\"rope\"]", "", s_made},
        {"yard::Ship { stock = [\"rope\" -> 1] }", ".stock[\"rope\"]", "", "yard::Ship { stock = [] }"},
        {"yard::Ship { marks = [{x=1} -> \"a\", {y=2} -> \"b\", {y=3} -> \"c\"] }", ".marks[{x=1}]", "",
         "yard::Ship { marks = [Point { x = 1.0 y = 2.0 } -> \"b\", {y=3} -> \"c\"] }"},
        {"yard::Ship { marks = [{x=1} -> \"a\", (1, 2) -> \"b\"] }", ".marks[{x=1}]", "",
         "yard::Ship { marks = [(1, 2) -> \"b\"] }"},
        // A member of a positional body turns that body alone into a named one.
        {"yard::Ship { crates = [(\"a\", 2, Point(1, 2), [], null)] }", ".crates[0].place.x", "",
         "yard::Ship { crates = [(\"a\", 2, Point { y = 2 }, [], null)] }"},
        {"yard::Ship { origin = (\n  1, // across\n  2  // up\n) }", ".origin.x", "",
         "yard::Ship { origin = {\n  y = 2  // up\n} }"},
        {"yard::Ship { origin = (1, 2) origin = { x = 4 } }", ".origin.x", "",
         "yard::Ship { origin = { y = 2 } origin = { } }"},
        {"yard::Ship {}", "", "", "error: only members, elements and keys can be removed"},
        {"yard::Ship { extent = radius 5 }", ".extent.radius", "",
         "error: only members, elements and keys can be removed"},
        {"yard::Ship { isOpen=true/*o*/origin=(1,2)title=\"a\" }", ".origin", "",
         "yard::Ship { isOpen=true/*o*/title=\"a\" }"},
        {"yard::Ship { groups = [\"a\" -> [1, 2], \"a\" -> [3]] }", ".groups[\"a\"][1]", "",
         "yard::Ship { groups = [\"a\" -> [1], \"a\" -> [3]] }"},
        {"yard::Ship { groups = [\"a\" -> [1, 2], \"a\" -> [3]] }", ".groups[\"a\"][2]", "",
         "yard::Ship { groups = [\"a\" -> [1, 2], \"a\" -> []] }"},
        {"yard::Ship { maybeTags = [1, 2] }", ".maybeTags[0]", "", "yard::Ship { maybeTags = [2] }"},
        {"yard::Ship { hold = { grow = [1] } }", ".hold.grow[0]", "", s_made},
        {"yard::Ship { hold = { grow = [1] } }", ".hold.grow[1]", "", "yard::Ship { hold = { grow = [] } }"},
    };
    ExpectRows(Verb::Remove, rows);
}

TEST(Editor, InsertsElementsAndKeys)
{
    const EditRow rows[] = {
        {"yard::Ship { tags = [1, 2] }", ".tags", "3", "yard::Ship { tags = [1, 2, 3] }"},
        {"yard::Ship { tags = [1,2] }", ".tags", "3", "yard::Ship { tags = [1,2,3] }"},
        {"yard::Ship { tags = [1, 2] }", ".tags[0]", "3", "yard::Ship { tags = [3, 1, 2] }"},
        {"yard::Ship { tags = [1, 2] }", ".tags[1]", "3", "yard::Ship { tags = [1, 3, 2] }"},
        {"yard::Ship { tags = [1, 2] }", ".tags[2]", "3", "yard::Ship { tags = [1, 2, 3] }"},
        {"yard::Ship { tags = [1, 2] }", ".tags[3]", "3", "error: the list has 2 elements"},
        {"yard::Ship { tags = [1, 2] }", ".tags", "x", "error: Expected int32 when read x"},
        {"yard::Ship { tags = [] }", ".tags", "3", "yard::Ship { tags = [3] }"},
        {"yard::Ship {}", ".tags", "3", "yard::Ship { tags = [3] }"},
        {"yard::Ship {}", ".filled", "3", "yard::Ship { filled = [3] }"},
        {"yard::Ship {}", ".filled[1]", "3", s_made},
        {"yard::Ship { filled = [1] }", ".filled[2]", "3", "yard::Ship { filled = [3, 1] }"},
        {"yard::Ship { tags = [1] tags = [2] }", ".tags[1]", "3", "yard::Ship { tags = [1] tags = [3, 2] }"},
        {"yard::Ship { tags = [\n  1, // one\n  2  // two\n] }", ".tags", "3",
         "yard::Ship { tags = [\n  1, // one\n  2,  // two\n  3\n] }"},
        {"yard::Ship { tags = [\n  1, // one\n  // of two\n  2  // two\n] }", ".tags[1]", "3",
         "yard::Ship { tags = [\n  1, // one\n  3,\n  // of two\n  2  // two\n] }"},
        {"yard::Ship { tags = [\n  1,\n  2\n] }", ".tags[0]", "3", "yard::Ship { tags = [\n  3,\n  1,\n  2\n] }"},
        {"yard::Ship { tags =\n  [ 1 // one\n  , 2 // two\n  ] }", ".tags", "3",
         "yard::Ship { tags =\n  [ 1 // one\n  , 2 // two\n  , 3\n  ] }"},
        {"yard::Ship { scores = [1, 2, 3] }", ".scores[1]", "3", "error: the list has a fixed number of elements"},
        {"yard::Ship { list = [1] }", ".list", "3", "yard::Ship { list = [1, 3] }"},
        {"yard::Ship { set = [\"a\"] }", ".set", "\"b\"", "yard::Ship { set = [\"a\", \"b\"] }"},
        {"yard::Ship { set = [\"a\"] }", ".set", "\"a\"", "error: the set has it already"},
        {"yard::Ship { counts = [\"a\" -> 1] }", ".counts[\"b\"]", "2",
         "yard::Ship { counts = [\"a\" -> 1, \"b\" -> 2] }"},
        {"yard::Ship { counts = [\"a\" -> 1] }", ".counts[\"a\"]", "2", "error: the key is there already"},
        {"yard::Ship { counts = [\"a\" -> 1] }", ".counts", "2", "error: name the key: [key]"},
        {"yard::Ship {}", ".title", "\"a\"", "error: only lists, sets and maps can be added to"},
        // Lists under keys, which may be new with their first element, and behind optionals.
        {"yard::Ship { groups = [\"a\" -> [1]] }", ".groups[\"a\"]", "2", "yard::Ship { groups = [\"a\" -> [1, 2]] }"},
        {"yard::Ship { groups = [\"a\" -> [1]] }", ".groups[\"a\"][0]", "2",
         "yard::Ship { groups = [\"a\" -> [2, 1]] }"},
        {"yard::Ship { groups = [\"a\" -> [1]] }", ".groups[\"a\"]", "[2]", "error: Expected int32 when read ["},
        {"yard::Ship { groups = [\"a\" -> [1]] }", ".groups[\"b\"]", "2",
         "yard::Ship { groups = [\"a\" -> [1], \"b\" -> [2]] }"},
        {"yard::Ship {}", ".groups[\"b\"]", "[2, 3]", "yard::Ship { groups = [\"b\" -> [2, 3]] }"},
        {"yard::Ship {}", ".groups[\"b\"][0]", "2", "yard::Ship { groups = [\"b\" -> [2]] }"},
        {"yard::Ship {}", ".groups[\"b\"]", "x", "error: Expected [ when read x"},
        {"yard::Ship {}", ".teams[\"b\"].seals", "2", "yard::Ship { teams = [\"b\" -> { seals = [2] }] }"},
        {"yard::Ship {}", ".teams[\"b\"].place.x", "2", "error: only lists, sets and maps can be added to"},
        {"yard::Ship {}", ".maybeList", "2", "yard::Ship { maybeList = [2] }"},
        {"yard::Ship { maybeList = null }", ".maybeList", "2", "yard::Ship { maybeList = [2] }"},
        {"yard::Ship { maybeList = [1] }", ".maybeList", "2", "yard::Ship { maybeList = [1, 2] }"},
        {"yard::Ship { maybeList = [1] }", ".maybeList[0]", "2", "yard::Ship { maybeList = [2, 1] }"},
        {"yard::Ship { maybeTags = [1] }", ".maybeTags", "2", "yard::Ship { maybeTags = [1, 2] }"},
        {"yard::Ship { maybe = (1, 2) }", ".maybe", "2", "error: only lists, sets and maps can be added to"},
        {"yard::Ship { hold = { grow = [1] } }", ".hold.grow", "2", "yard::Ship { hold = { grow = [1, 2] } }"},
        {"yard::Ship { hold = { grow = [1] } }", ".hold.grow[0]", "2", s_made},
    };
    ExpectRows(Verb::Insert, rows);
}

TEST(Editor, RenamesKeysAndMembers)
{
    const EditRow rows[] = {
        {"yard::Ship { counts = [\"a\" -> 1, \"b\" -> 2] }", ".counts[\"a\"]", "\"c\"",
         "yard::Ship { counts = [\"c\" -> 1, \"b\" -> 2] }"},
        {"yard::Ship { counts = [\"a\" -> 1, \"b\" -> 2] }", ".counts[\"a\"]", "\"b\"",
         "error: the key \"b\" is there already"},
        {"yard::Ship { map = [\"a\" -> 1] }", ".map[\"a\"]", "\"c\"", "yard::Ship { map = [\"c\" -> 1] }"},
        {"yard::Ship { marks = [{x=1} -> \"a\"] }", ".marks[{x=1}]", "{x=2}",
         "error: other keys may depend on this one"},
        {"yard::Ship { stock = [] }", ".stock[\"rope\"]", "\"c\"", s_made},
        {"yard::Ship { tags /* t */ = [1] }", ".tags", "filled", "yard::Ship { filled /* t */ = [1] }"},
        {"yard::Ship { tags = [1] filled = [] }", ".tags", "filled", "error: the member filled is written already"},
        {"yard::Ship { tags = [1] }", ".tags", "nosuch", "error: Unknown member 'nosuch' of class yard::Ship"},
        {"yard::Ship { tags = [1] }", ".tags", "title", "error: Expected string when read ["},
        {"yard::Ship { origin = (1, 2) }", ".origin.x", "y", "error: the member y is written already"},
        {"yard::Ship { tags = [1] }", ".tags[0]", "x", "error: only members and keys can be renamed"},
    };
    ExpectRows(Verb::Rename, rows);
}

TEST(Editor, MovesElementsWithTheirComments)
{
    const EditRow rows[] = {
        {"yard::Ship { tags = [1, 2, 3] }", ".tags[0]", ".tags[2]", "yard::Ship { tags = [2, 3, 1] }"},
        {"yard::Ship { tags = [1, 2, 3] }", ".tags[2]", ".tags[0]", "yard::Ship { tags = [3, 1, 2] }"},
        {"yard::Ship { scores = [1, 2, 3] }", ".scores[1]", ".scores[2]", "yard::Ship { scores = [1, 3, 2] }"},
        {"yard::Ship { tags = [1, 2, 3] }", ".tags[1]", ".tags[1]", "="},
        {"yard::Ship { tags = [\n  // the first\n  1, // one\n  2, // two\n  3 // three\n] }", ".tags[0]", ".tags[1]",
         "yard::Ship { tags = [\n  2, // two\n  // the first\n  1, // one\n  3 // three\n] }"},
        {"yard::Ship { tags = [\n  // the first\n  1, // one\n  2 // two\n] }", ".tags[0]", ".tags[1]",
         "yard::Ship { tags = [\n  2, // two\n  // the first\n  1 // one\n] }"},
        {"yard::Ship { tags = [\n# the second\n  1,\n# the first\n  2\n] }", ".tags[1]", ".tags[0]",
         "yard::Ship { tags = [\n# the first\n  2,\n# the second\n  1\n] }"},
        {"yard::Ship { counts = [\"a\" -> 1] }", ".counts[\"a\"]", ".counts[\"c\"]",
         "yard::Ship { counts = [\"c\" -> 1] }"},
        {"yard::Ship { tags = [1] }", ".tags", ".filled", "yard::Ship { filled = [1] }"},
        {"yard::Ship { list = [1, 2] }", ".list[0]", ".list[1]", "yard::Ship { list = [2, 1] }"},
        {"yard::Ship { tags = [1] filled = [1] }", ".tags[0]", ".filled[2]", "error: an element moves within its list"},
        {"yard::Ship { filled = [1, 2] }", ".filled[2]", ".filled[0]", s_made},
        {"yard::Ship { tags = [1] tags = [2] }", ".tags[0]", ".tags[1]", "error: the list is written several times"},
    };
    ExpectRows(Verb::Move, rows);
}

// --- Comments

struct CommentRow
{
    Verb m_verb;
    std::string_view m_path;
    std::string_view m_value;
    int m_first = 0; // of those that may go with what is removed
    int m_last = -1;
};

TEST(Editor, KeepsEveryCommentAtEveryPlace)
{
    const CommentRow rows[] = {
        {Verb::Set, ".title", "\"b\""},
        {Verb::Set, ".origin.x", "3"},
        {Verb::Set, ".origin.y", "3"},
        {Verb::Set, ".tags[0]", "3"},
        {Verb::Set, ".tags[1]", "3"},
        {Verb::Set, ".counts[\"a\"]", "3"},
        {Verb::Set, ".counts[\"c\"]", "3"},
        {Verb::Set, ".extent.radius", "3"},
        {Verb::Set, ".first.label", "\"b\""},
        {Verb::Set, ".first.weight", "3"},
        {Verb::Set, ".berth", "NORTH"},
        {Verb::Set, ".area", "3"},
        {Verb::Set, ".rows[0]", "[3]", 38, 38},
        {Verb::Set, ".origin", "(3, 4)", 11, 16},
        {Verb::Add, ".origin", "{ x = 3 }"},
        {Verb::Add, ".tags", "[3, 4]"},
        {Verb::Add, ".rows[0]", "[3]"},
        {Verb::Add, ".counts", "[\"b\" -> 3, \"c\" -> 3]"},
        {Verb::Insert, ".tags[0]", "3"},
        {Verb::Insert, ".tags[1]", "3"},
        {Verb::Insert, ".tags[2]", "3"},
        {Verb::Insert, ".rows[0][0]", "3"},
        {Verb::Insert, ".counts[\"c\"]", "3"},
        {Verb::Rename, ".counts[\"a\"]", "\"c\""},
        {Verb::Rename, ".tags", "filled"},
        {Verb::Move, ".tags[0]", ".tags[1]"},
        {Verb::Move, ".tags[1]", ".tags[0]"},
        {Verb::Remove, ".title", "", 5, 8},
        {Verb::Remove, ".origin", "", 8, 17},
        {Verb::Remove, ".origin.x", "", 12, 14},
        {Verb::Remove, ".origin.y", "", 14, 16},
        {Verb::Remove, ".tags[0]", "", 18, 20},
        {Verb::Remove, ".tags[1]", "", 20, 21},
        {Verb::Remove, ".counts[\"a\"]", "", 23, 27},
        {Verb::Remove, ".counts[\"b\"]", "", 27, 28},
        {Verb::Remove, ".first", "", 31, 37},
        {Verb::Remove, ".rows[0]", "", 38, 39},
    };
    for (const CommentForm& form : s_commentForms)
    {
        const std::string text = CommentedText(form);
        for (const CommentRow& row : rows)
        {
            const std::string after = After(text, row.m_verb, row.m_path, row.m_value);
            ASSERT_NE(after, text) << row.m_path;
            for (int i = 1; i <= s_numPlaces; ++i)
            {
                const std::string comment = "<" + std::to_string(i) + ">";
                const std::size_t at = after.find(comment);
                EXPECT_TRUE(at != std::string::npos || (row.m_first <= i && i <= row.m_last))
                    << comment << " is lost by " << row.m_path << " " << row.m_value << "\n"
                    << after;
                EXPECT_TRUE(at == std::string::npos || after.find(comment, at + 1) == std::string::npos) << after;
            }
        }
    }
}

} // namespace

} // namespace kelm
