// Edits that are made at once leave what they leave one by one.

#include "EditedTypes.h"
#include "OrderTypes.h"
#include "Ships.h"

#include <kelmDocument/Editor.h>
#include <support/Cases.h>
#include <support/ExpectedLeaks.h>
#include <support/ReferenceTexts.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace kelm
{

namespace
{

using reference::Random;

uint64 Seed(uint64 otherwise)
{
    return NumberIn("KELM_DOCUMENT_SEED", otherwise);
}

// No fewer than so many, of which enough are of each kind.
uint64 NumCases(uint64 least)
{
    return std::max(NumberIn("KELM_DOCUMENT_CASES", least), least);
}

struct Pair
{
    std::string m_path;
    std::string m_value;
};

void PrintTo(const Pair& pair, std::ostream* stream)
{
    *stream << pair.m_path << " <- " << pair.m_value;
}

// --- Edits of each kind: as many as can be made at once, and one

std::vector<Assignment> AssignmentsOf(const std::vector<Pair>& pairs)
{
    std::vector<Assignment> assignments;
    for (const Pair& pair : pairs)
        assignments.push_back({pair.m_path, pair.m_value});
    return assignments;
}

std::size_t SetSome(DocumentEditor& editor, const std::vector<Pair>& pairs)
{
    const std::vector<Assignment> assignments = AssignmentsOf(pairs);
    return editor.SetSome(assignments);
}

bool SetOne(DocumentEditor& editor, const Pair& pair)
{
    return static_cast<bool>(editor.Set(pair.m_path, pair.m_value));
}

bool AddOne(DocumentEditor& editor, const Pair& pair)
{
    return static_cast<bool>(editor.Add(pair.m_path, pair.m_value));
}

std::size_t RemoveSome(DocumentEditor& editor, const std::vector<std::string>& paths)
{
    return editor.RemoveSome(std::vector<std::string_view>(paths.begin(), paths.end()));
}

bool RemoveOne(DocumentEditor& editor, const std::string& path)
{
    return static_cast<bool>(editor.Remove(path));
}

std::size_t InsertSome(DocumentEditor& editor, const std::vector<Pair>& pairs)
{
    const std::vector<Assignment> additions = AssignmentsOf(pairs);
    return editor.InsertSome(additions);
}

bool InsertOne(DocumentEditor& editor, const Pair& pair)
{
    return static_cast<bool>(editor.Insert(pair.m_path, pair.m_value));
}

// --- Whether they agree

// What is made of a text by edits at once, as far as that goes, and by the same one by one.
template <class Edit>
struct BothWays
{
    BothWays(const std::string& text, const std::vector<Edit>& edits,
             std::size_t (*makeSome)(DocumentEditor&, const std::vector<Edit>&),
             bool (*makeOne)(DocumentEditor&, const Edit&), const DocumentPolicy& policy = {})
        : m_each(Document::Parse(text)), m_editor(m_each, policy)
    {
        Document atOnce = Document::Parse(text);
        DocumentEditor editor(atOnce, policy);
        m_made = makeSome(editor, edits);
        for (std::size_t n = 0; n < m_made; ++n)
            EXPECT_TRUE(makeOne(m_editor, edits[n])) << text << testing::PrintToString(edits) << n;
        EXPECT_EQ(atOnce.GetText(), m_each.GetText()) << text << testing::PrintToString(edits) << m_made;
    }

    Document m_each;
    DocumentEditor m_editor; // of those one by one
    std::size_t m_made = 0;
};

// How often more than one was made at once, and how often not all were.
struct Tally
{
    void Add(std::size_t made, std::size_t asked)
    {
        m_numAtOnce += made > 1 ? 1 : 0;
        m_numAlone += made < asked ? 1 : 0;
    }

    int m_numAtOnce = 0;
    int m_numAlone = 0;
};

// A text of an order, edits, and what is there when those are made that can be made at once.
template <class Edit>
struct Row
{
    std::string m_text;
    std::vector<Edit> m_edits;
    std::string m_after;
    std::size_t m_made = m_edits.size();
};

template <class Edit, std::size_t Count>
void ExpectRows(const Row<Edit> (&rows)[Count], std::size_t (*makeSome)(DocumentEditor&, const std::vector<Edit>&))
{
    for (const Row<Edit>& row : rows)
    {
        Document document = Document::Parse(row.m_text);
        DocumentEditor editor(document, DocumentPolicy::Of<orders::Order>());
        EXPECT_EQ(makeSome(editor, row.m_edits), row.m_made) << row.m_text;
        EXPECT_EQ(document.GetText(), row.m_after);
    }
}

// --- Assignments

TEST(Assignments, LeaveWhatEditsOneByOneLeave)
{
    yard::Register();
    const char* const paths[] = {
        ".title",     "title",          ".origin.x",          ".origin.y",      ".berth",
        ".isOpen",    ".scores[0]",     ".scores[2]",         ".tags[0]",       ".tags[3]",
        ".tags[9]",   ".filled[0]",     ".filled[2]",         ".list[1]",       ".area",
        ".extent",    ".rows",          ".crates[0].label",   ".oops",          ".crates[1].weight",
        ".crates[1]", ".counts['a']",   ".crates[1].place.y", ".counts[\"b\"]", ".counts['z']",
        ".origin",    ".crates[0].on",  ".map['made']",       ". title",        ".maybe.x",
        ".pair[0]",   ".stock['rope']", ".extent.radius",     ".tags[ 1 ]"};
    const char* const values[] = {"1",   "2.5",        "'text'", "SOUTH", "true", "-7",
                                  " 3 ", "7 // seven", "- 4",    "oops",  "",     "[1]"};
    Random random(Seed(7));
    Tally tally;
    for (uint64 i = 0; i < NumCases(3000); ++i)
    {
        int numComments = 0;
        const std::string text = random.OneIn(4) ? AnyShip(random, numComments) : TidyShip(random, numComments);
        std::vector<Pair> pairs;
        const bool isLikely = random.OneIn(2); // so that enough of them can be made
        for (std::size_t n = 1 + random.Below(4); n-- > 0;)
        {
            const std::string path = paths[random.Below(std::size(paths))];
            std::string value = values[random.Below(std::size(values))];
            if (isLikely)
                value = path == ".title" || path == "title" || path.ends_with("label") ? "'text'"
                        : path == ".berth"                                             ? "SOUTH"
                        : path == ".isOpen"                                            ? "true"
                                            : std::to_string(random.Below(9));
            pairs.push_back({path, value});
        }
        tally.Add(BothWays(text, pairs, SetSome, SetOne).m_made, pairs.size());
        BothWays(text, pairs, SetSome, AddOne);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(tally.m_numAtOnce, 300);
    EXPECT_GT(tally.m_numAlone, 300);
}

TEST(Assignments, AreOfPlainValuesThatAreWrittenOnce)
{
    const std::string head = "{ customer = 'a' ";
    const Row<Pair> rows[] = {
        {head + "codes = [1, /* two */ 2] }",
         {{".codes[1]", "5"}, {".codes[0]", "0x10"}, {".customer", "'b'"}},
         "{ customer = 'b' codes = [0x10, /* two */ 5] }"},
        {head + "number=1 isOpen=true }", {{".number", "2"}, {".isOpen", "false"}}, head + "number=2 isOpen=false }"},
        {head + "lines = [{ item = 'x' }, ('y', 2, 3)] }",
         {{".lines[1].quantity", "7"}, {".lines[0].item", "'z'"}},
         head + "lines = [{ item = 'z' }, ('y', 7, 3)] }"},
        {head + "rates = ['x' -> 1, 'y' -> 2] }",
         {{".rates['y']", "3"}, {".rates[\"x\"]", "4"}},
         head + "rates = ['x' -> 4, 'y' -> 3] }"},
        {head + "gift = { item = 'x' } }", {{".gift.item", "'z'"}}, head + "gift = { item = 'z' } }"},
        {head + "number = 1 }", {{".number", "1"}}, head + "number = 1 }"},
        {head + "number = 1 }", {}, head + "number = 1 }"},
        // Others.
        {head + "number = 1 }", {{".number", "2"}, {".number", "3"}}, head + "number = 2 }", 1},
        {head + "number = 1 }", {{".number", "2"}, {".number", "x"}}, head + "number = 2 }", 1},
        {head + "number = 1 }",
         {{".number", "2"}, {".isOpen", "true"}, {".customer", "'b'"}},
         head + "number = 2 }",
         1},
        {head + "number = 1 }", {{".number", "-2"}}, head + "number = 1 }", 0}, // refused by its check
        {head + "number = - /* one */ 1 }", {{".number", "2"}}, head + "number = - /* one */ 1 }", 0},
        {head + "}", {{".number", "2"}}, head + "}", 0},
        {head + "rates = [] }", {{".rates['x']", "2"}}, head + "rates = [] }", 0},
        {head + "place = { x = 1 } }", {{".place", "(1, 2)"}}, head + "place = { x = 1 } }", 0},
        {head + "extra = int 1 }", {{".extra", "int 2"}}, head + "extra = int 1 }", 0},
        {head + "oops = 1 }", {{".customer", "'b'"}}, head + "oops = 1 }", 0},
    };
    ExpectRows(rows, SetSome);
}

// --- Removals

TEST(Removals, LeaveWhatEditsOneByOneLeave)
{
    yard::Register();
    const char* const paths[] = {".title",
                                 ".origin.x",
                                 ".origin",
                                 ".berth",
                                 ".isOpen",
                                 ".scores",
                                 ".tags",
                                 ".filled",
                                 ".list",
                                 ".area",
                                 ".crates[0].label",
                                 ".crates[0].weight",
                                 ".crates[1].weight",
                                 ".crates[1].place",
                                 ".crates[0].place.y",
                                 ".maybe",
                                 ".pair",
                                 ".counts",
                                 ".stock",
                                 ".extent",
                                 ".rows",
                                 ".first",
                                 ".groups",
                                 ".teams",
                                 ".hold.depth",
                                 ".hold",
                                 ".oops",
                                 ".tags[0]",
                                 ".tags[1]",
                                 ".scores[0]",
                                 ".list[1]",
                                 ".rows[0]",
                                 ".rows[0][1]",
                                 ".crates[0]",
                                 ".crates[1]",
                                 ".counts['a']",
                                 ".counts['b']",
                                 ".stock['b']",
                                 ".samples"};
    Random random(Seed(9));
    Tally tally;
    for (uint64 i = 0; i < NumCases(4000); ++i)
    {
        int numComments = 0;
        const std::string text = random.OneIn(3) ? AnyShip(random, numComments) : TidyShip(random, numComments);
        std::vector<std::string> removed;
        for (std::size_t n = 2 + random.Below(4); n-- > 0;)
            removed.emplace_back(paths[random.Below(std::size(paths))]);
        tally.Add(BothWays(text, removed, RemoveSome, RemoveOne).m_made, removed.size());
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(tally.m_numAtOnce, 300);
    EXPECT_GT(tally.m_numAlone, 300);
}

// The n-th item of a list, set or map of an order.
std::string ItemOf(const std::string& member, std::size_t n)
{
    const std::string name = "'" + std::to_string(n) + "'";
    return (member == "rates" ? name + " -> " : "") + (member == "tags" ? name : std::to_string(n + 10));
}

// So many of them in any layout, with comments.
std::string AnyItems(Random& random, const std::string& member, std::size_t count)
{
    const std::size_t style = random.Below(4);
    std::string text = "{ customer = 'a' " + member + " = [";
    for (std::size_t n = 0; n < count; ++n)
    {
        const bool hasLine = style == 0 || (style == 1 && random.OneIn(2));
        text += hasLine ? "\n    " : style == 2 ? "" : " ";
        if (random.OneIn(8))
            text += hasLine && random.OneIn(2) ? "// above\n    " : "/* before */ ";
        text += ItemOf(member, n);
        text += random.OneIn(8) ? " /* within */" : "";
        text += n + 1 < count ? "," : "";
        if (random.OneIn(8))
            text += hasLine && random.OneIn(2) ? " // behind\n" : " /* behind */";
    }
    return text + (style == 0 ? "\n] }" : "] }");
}

// In any order.
TEST(Removals, OfElementsLeaveWhatEditsOneByOneLeave)
{
    Random random(Seed(10));
    Tally tally;
    for (uint64 i = 0; i < NumCases(4000); ++i)
    {
        const bool isMap = random.OneIn(3);
        const std::size_t count = 1 + random.Below(12);
        const std::string text = AnyItems(random, isMap ? "rates" : "codes", count);
        std::vector<std::string> removed;
        for (std::size_t n = 1 + random.Below(count); n-- > 0;)
            removed.push_back(isMap ? ".rates['" + std::to_string(random.Below(count)) + "']"
                                    : ".codes[" + std::to_string(random.Below(n + 1)) + "]");
        const std::size_t made =
            BothWays(text, removed, RemoveSome, RemoveOne, DocumentPolicy::Of<orders::Order>()).m_made;
        ASSERT_TRUE(isMap || made == removed.size()) << text << testing::PrintToString(removed);
        tally.Add(made, removed.size());
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(tally.m_numAtOnce, 1000);
}

// Keys of one map may have what they do not mention from those before: what is behind them is written out, alone.
TEST(Removals, OfKeysLeaveWhatEditsOneByOneLeave)
{
    yard::Register();
    Random random(Seed(11));
    Tally tally;
    for (uint64 i = 0; i < NumCases(2000); ++i)
    {
        const std::size_t count = 2 + random.Below(6);
        std::string text = "yard::Ship { lots = [";
        for (std::size_t n = 0; n < count; ++n)
        {
            const std::string x = "x = " + std::to_string(n);
            const std::string y = "y = " + std::to_string(random.Below(2));
            text += n > 0 ? ", " : "";
            text += random.OneIn(4) ? "{ " + x + " }" : "{ " + x + " " + y + " }";
            text += " -> { x = " + std::to_string(n) + " }";
        }
        text += "] }";
        std::vector<std::string> removed;
        for (std::size_t n = 1 + random.Below(count); n-- > 0;)
            removed.push_back(".lots[(" + std::to_string(random.Below(count)) + ", " + std::to_string(random.Below(2)) +
                              ")]");
        BothWays both(text, removed, RemoveSome, RemoveOne);
        tally.Add(both.m_made, 0);
        ASSERT_FALSE(HasFailure());
        if (both.m_made < removed.size() && both.m_editor.Remove(removed[both.m_made])) // otherwise it is not there
        {
            ++tally.m_numAlone;
            ASSERT_NE(both.m_each.GetText().find("Point {"), std::string_view::npos) << text << removed[both.m_made];
        }
    }
    EXPECT_GT(tally.m_numAtOnce, 100);
    EXPECT_GT(tally.m_numAlone, 50);
}

TEST(Removals, AreOfWhatIsWrittenOnce)
{
    const Row<std::string> rows[] = {
        {"{\n  customer = 'a'\n  number = 1 // one\n  // open\n  isOpen = true\n  codes = [1]\n}\n",
         {".isOpen", ".number"},
         "{\n  customer = 'a'\n  codes = [1]\n}\n"},
        {"{ customer = 'a' number = 1 codes = [1] isOpen = true }",
         {".isOpen", ".number"},
         "{ customer = 'a' codes = [1] }"},
        {"{ customer = 'a' lines = [{ item = 'x' quantity = 2 }, { item = 'y' quantity = 3 }] number = 1 }",
         {".lines[1].quantity", ".lines[0].quantity", ".number"},
         "{ customer = 'a' lines = [{ item = 'x' }, { item = 'y' }] }"},
        // Others, from there on.
        {"{ customer = 'a' lines = [{ item = 'x' quantity = 2 }, { item = 'y' }] }",
         {".lines[0].quantity", ".lines[0]"},
         "{ customer = 'a' lines = [{ item = 'x' }, { item = 'y' }] }",
         1},
        {"{ customer = 'a' place = { x = 1 y = 2 } }",
         {".place.x", ".place"},
         "{ customer = 'a' place = { y = 2 } }",
         1},
        {"{ customer = 'a' place = { x = 1 y = 2 } }", {".place", ".place.x"}, "{ customer = 'a' }", 1},
        {"{ customer = 'a' place = (1, 2) }", {".place.x"}, "{ customer = 'a' place = (1, 2) }", 0},
        // Indices count what is left.
        {"{ customer = 'a' codes = [1, 2, 3, 4, 5] }",
         {".codes[0]", ".codes[1]", ".codes[2]"},
         "{ customer = 'a' codes = [2, 4] }"},
        {"{ customer = 'a' codes = [\n 1, // one\n 2,\n 3, // three\n 4\n] }",
         {".codes[3]", ".codes[2]", ".codes[0]"},
         "{ customer = 'a' codes = [\n 2\n] }"},
        {"{ customer = 'a' lines = [{ item = 'x' }, { item = 'y' }, { item = 'z' quantity = 2 }] }",
         {".lines[0]", ".lines[1].quantity"},
         "{ customer = 'a' lines = [{ item = 'y' }, { item = 'z' }] }"},
        {"{ customer = 'a' rates = ['x' -> 1, 'y' -> 2, 'z' -> 3] }",
         {".rates['x']", ".rates['z']"},
         "{ customer = 'a' rates = ['y' -> 2] }"},
        {"{ customer = 'a' rates = ['x' -> 1, 'y' -> 2, 'z' -> 3] }",
         {".rates['y']", ".rates['y']"},
         "{ customer = 'a' rates = ['x' -> 1, 'z' -> 3] }",
         1},
        {"{ customer = 'a' rates = ['x' -> 1, 'y' -> 2, 'z' -> 3] }",
         {".rates['z']", ".rates['y']"},
         "{ customer = 'a' rates = ['x' -> 1] }"},
        // Neighbours.
        {"{ customer = 'a' codes = [1, 2] }", {".codes[0]", ".codes[0]"}, "{ customer = 'a' codes = [] }"},
        {"{ customer = 'a' codes = [1, /* two */ 2, 3 /* three */, 4] }",
         {".codes[1]", ".codes[2]", ".codes[1]"},
         "{ customer = 'a' codes = [1] }"},
        {"{ number = 1 /* one */ isOpen = true customer = 'a' }", {".isOpen", ".number"}, "{ customer = 'a' }"},
        {"{ customer = 'a' codes = [\n 1, // one\n 2 // two\n // alone\n\n ] }",
         {".codes[1]", ".codes[0]"},
         "{ customer = 'a' codes = [\n // alone\n\n ] }"},
        {"{ customer = 'a' codes = [1, 2] }", {".codes[2]"}, "{ customer = 'a' codes = [1, 2] }", 0},
        {"{ customer = 'a' tags = ['x', 'y', 'z'] }", {".tags['x']", ".tags['y']"}, "{ customer = 'a' tags = ['z'] }"},
        {"{ customer = 'a' corners = [{}, {}] }", {".corners[0]"}, "{ customer = 'a' corners = [{}, {}] }", 0},
        {"{ customer = 'a' number = 1 }", {".isOpen"}, "{ customer = 'a' number = 1 }", 0},
        {"{ number = 1 customer = 'a' }", {".number", ".customer"}, "{ number = 1 customer = 'a' }", 0},
        {"{ customer = 'a' codes = [1] number = 1 }",
         {".number", ".customer"}, // which is required
         "{ customer = 'a' codes = [1] number = 1 }",
         0},
    };
    ExpectRows(rows, RemoveSome);
}

// --- Additions

TEST(Additions, LeaveWhatEditsOneByOneLeave)
{
    yard::Register();
    const Pair pairs[] = {{".tags", "5"},
                          {".tags", "6 /* six */"},
                          {".tags", " 0x7 // seven"},
                          {".tags[4]", "8"},
                          {".tags[5]", "9"},
                          {".tags[0]", "9"},
                          {".tags", "'text'"},
                          {".tags", ""},
                          {".filled", "4"},
                          {".filled[3]", "4"},
                          {".filled[0]", "4"},
                          {".crates", "{ label = 'd' }"},
                          {".crates", "Crate { seals = [1] }"},
                          {".crates", "('e', 1, (2, 3))"},
                          {".crates[2]", "{}"},
                          {".crates[0].seals", "4"},
                          {".crates[0].weight", "4"},
                          {".list", "3"},
                          {".list[2]", "3"},
                          {".rows", "[1]"},
                          {".rows[0]", "[2]"},
                          {".set", "'x'"},
                          {".counts['c']", "3"},
                          {".counts['d']", "4"},
                          {".counts[ 'e' ]", "5"},
                          {".counts['a']", "6"},
                          {".counts", "7"},
                          {".counts['f']", "oops"},
                          {".stock['x']", "1"},
                          {".map['x']", "1"},
                          {".scores", "1"},
                          {".oops", "1"},
                          {".samples", "(1, 2)"},
                          {".title", "'x'"},
                          {".maybeList", "1"},
                          {".first", "yard.Crate {}"},
                          {"tags", "1"}};
    Random random(Seed(12));
    Tally tally;
    for (uint64 i = 0; i < NumCases(4000); ++i)
    {
        int numComments = 0;
        const std::string text = random.OneIn(3) ? AnyShip(random, numComments) : TidyShip(random, numComments);
        std::vector<Pair> added;
        for (std::size_t n = 2 + random.Below(8); n-- > 0;)
            added.push_back(random.OneIn(3) ? pairs[random.Below(std::size(pairs))] : pairs[random.Below(3)]);
        tally.Add(BothWays(text, added, InsertSome, InsertOne).m_made, added.size());
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(tally.m_numAtOnce, 300);
    EXPECT_GT(tally.m_numAlone, 300);
}

// To two of them at a time.
TEST(Additions, OfElementsLeaveWhatEditsOneByOneLeave)
{
    const std::string members[] = {"codes", "tags", "rates"};
    Random random(Seed(13));
    for (uint64 i = 0; i < NumCases(4000); ++i)
    {
        const std::string member = members[random.Below(3)];
        const std::size_t count = random.Below(6);
        std::string text = AnyItems(random, member, count);
        text.insert(text.size() - 1, random.OneIn(2) ? "\n  rows = [\n[1],\n[2]] // rows\n" : "rows = [[], [1, 2]]");
        std::vector<Pair> added;
        for (std::size_t n = count, end = n + 1 + random.Below(9); n < end; ++n)
            if (random.OneIn(4))
                added.push_back({".rows", random.OneIn(2) ? "[3]" : "[\n 4 // four\n]"});
            else if (const std::string item = ItemOf(member, n); member == "rates")
                added.push_back({".rates['" + std::to_string(n) + "']", item.substr(item.rfind(' ') + 1)});
            else
                added.push_back({"." + member, item});
        const BothWays both(text, added, InsertSome, InsertOne, DocumentPolicy::Of<orders::Order>());
        ASSERT_EQ(both.m_made, added.size()) << text << testing::PrintToString(added);
        ASSERT_FALSE(HasFailure());
    }
}

// In any order: what holds others, these, and what is alone.
TEST(Additions, OfPartsOfPartsLeaveWhatEditsOneByOneLeave)
{
    yard::Register();
    const struct
    {
        const char* m_text;
        std::vector<Pair> m_pairs;
    } rows[] = {
        {"groups = ['a' -> [1]] }",
         {{".groups['a']", "2"}, {".groups['a'][1]", "3"}, {".groups['a'][2]", "4"}, {".groups['b']", "5"}}},
        {"crates = [{ seals = [1] },\n { seals = [] } // two\n] }",
         {{".crates[0].seals", "2"},
          {".crates", "{ seals = [7] }"},
          {".crates[1].seals", "3"},
          {".crates[2]", "{\n label = 'x' // label\n}"},
          {".crates[2].seals", "4"},
          {".crates[0].seals[1]", "5"}}},
        {"first = yard.Ship { tags = [1] set = ['x'] } }",
         {{".first.tags", "2"}, {".first.tags", "3"}, {".first.set", "'y'"}, {".tags", "4"}}},
        {"teams = ['a' -> { label = 'x' seals = [1] }] }",
         {{".teams['a'].seals", "2"},
          {".teams['b']", "{}"},
          {".teams['c']", "('y', 1, (2, 3))"},
          {".teams['b'].seals", "4"}}},
        {"hold = { grow = [1] } map = ['x' -> 1] filled = [4] }",
         {{".hold.grow", "2"}, {".hold.grow[2]", "3"}, {".map['y']", "2"}, {".map['made']", "3"}, {".filled", "5"}}},
        {"maybeList = [1] maybeTags = [] rows = [[], [1]] }",
         {{".maybeList", "2"}, {".maybeTags", "3"}, {".rows[0][0]", "4"}, {".rows", "[5]"}, {".rows[1][1]", "6"}}},
        {"lots = [(1, 2) -> (3, 4)] marks = [{ x = 1 } -> 'a'] }",
         {{".lots[(2, 3)]", "(1, 1)"}, {".marks[{ y = 2 }]", "'b'"}, {".lots[{ x = 5 }]", "{}"}}},
    };
    Random random(Seed(14));
    Tally tally;
    for (uint64 i = 0; i < NumCases(3000); ++i)
    {
        const auto& row = rows[random.Below(std::size(rows))];
        std::vector<Pair> added;
        for (std::size_t n = 2 + random.Below(5); n-- > 0;)
            added.push_back(row.m_pairs[random.Below(row.m_pairs.size())]);
        const std::string text = std::string("yard::Ship { ") + row.m_text;
        tally.Add(BothWays(text, added, InsertSome, InsertOne).m_made, added.size());
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_GT(tally.m_numAtOnce, 300);
}

TEST(Additions, AreBehindOthersOfWhatIsWrittenOnce)
{
    const std::string head = "{ customer = 'a' ";
    const Row<Pair> rows[] = {
        {head + "codes = [1] }", {{".codes", "2"}, {".codes", " 3 "}}, head + "codes = [1, 2, 3] }"},
        {head + "codes = [] }", {{".codes", "2"}, {".codes[1]", "3"}}, head + "codes = [2, 3] }"},
        {head + "codes = [\n  1 // one\n] }",
         {{".codes", "2"}, {".codes", "3"}},
         head + "codes = [\n  1, // one\n  2,\n  3\n] }"},
        {head + "rates = ['x' -> 1] }",
         {{".rates['y']", "2"}, {".rates[\"z\"]", "3"}},
         head + "rates = ['x' -> 1, 'y' -> 2, \"z\" -> 3] }"},
        {head + "tags = ['x'] codes = [1] }",
         {{".tags", "'y'"}, {".codes", "2"}, {".tags", "'z'"}},
         head + "tags = ['x', 'y', 'z'] codes = [1, 2] }"},
        {head + "items = ['x' -> {}] }",
         {{".items['y']", "{ item = 'z' }"}, {".items['z']", "('z', 1, 2)"}},
         head + "items = ['x' -> {}, 'y' -> { item = 'z' }, 'z' -> ('z', 1, 2)] }"},
        {head + "lines = [] }",
         {{".lines", "{ item = 'x' }"}, {".lines", "('y', 1, 2)"}},
         head + "lines = [{ item = 'x' }, ('y', 1, 2)] }"},
        // Others.
        {head + "codes = [1] }", {{".codes", "2"}, {".codes[0]", "3"}}, head + "codes = [1, 2] }", 1},
        {head + "codes = [1] }", {{".codes", "2"}, {".codes[1]", "3"}}, head + "codes = [1, 2] }", 1},
        {head + "codes = [1] }", {{".codes", "2"}, {".codes[4]", "3"}}, head + "codes = [1, 2] }", 1},
        {head + "codes = [1] }", {{".codes", "2"}, {".codes", "'x'"}}, head + "codes = [1, 2] }", 1},
        {head + "codes = [1] }", {{".codes", "2"}, {".codes", ""}}, head + "codes = [1, 2] }", 1},
        {head + "tags = ['x'] }", {{".tags", "'y'"}, {".tags", "\"y\""}}, head + "tags = ['x', 'y'] }", 1},
        {head + "rates = [] }", {{".rates['x']", "1"}, {".rates['x']", "2"}}, head + "rates = ['x' -> 1] }", 1},
        {head + "lines = [] }",
         {{".lines", "('x', 1, 2)"}, {".lines[0].item", "'y'"}},
         head + "lines = [('x', 1, 2)] }",
         1},
        {head + "}", {{".codes", "2"}}, head + "}", 0}, // creation gives it others
        {head + "flags = [true] }", {{".flags", "false"}}, head + "flags = [true] }", 0},
        {head + "corners = [{}, {}] }", {{".corners", "{}"}}, head + "corners = [{}, {}] }", 0},
        {head + "gift = { item = 'x' } }", {{".gift", "{}"}}, head + "gift = { item = 'x' } }", 0},
        {head + "number = 1 }", {{".number", "2"}}, head + "number = 1 }", 0},
        {head + "oops = 1 codes = [] }", {{".codes", "2"}}, head + "oops = 1 codes = [] }", 0},
    };
    ExpectRows(rows, InsertSome);
}

} // namespace

} // namespace kelm
