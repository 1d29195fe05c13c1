// Sequences of edits: the document reads as the object after the same sequence, keeps its comments and the lines that
// no edit is about.

#include "EditedTypes.h"
#include "Ships.h"

#include <kelmDocument/Editor.h>
#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/xostream.h>
#include <support/Cases.h>
#include <support/ExpectedLeaks.h>
#include <support/ReferenceTexts.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelm
{

namespace
{

using reference::Random;
using yard::Ship;

std::string WrittenText(const ptr<IObject>& object)
{
    StringStream stream(4096);
    WriteObject(stream, object);
    return std::string(stream.GetString().view());
}

std::string_view WithoutMark(std::string_view text)
{
    return text.starts_with("\xEF\xBB\xBF") ? text.substr(3) : text;
}

ptr<IObject> ReadShip(std::string_view text)
{
    LexScannerException error{xstring(), LSToken()};
    const ptr<IObject> ship = ParseDataSource(xstring(text), error);
    EXPECT_TRUE(ship) << text << "\n" << error.what();
    return ship;
}

std::size_t CountComments(std::string_view text, int numComments)
{
    std::size_t count = 0;
    for (int i = 0; i < numComments; ++i)
    {
        const std::string name = "<" + std::to_string(i) + ">";
        const std::size_t at = text.find(name);
        count += at != std::string_view::npos ? 1U : 0U;
        EXPECT_TRUE(at == std::string_view::npos || text.find(name, at + 1) == std::string_view::npos)
            << name << " twice in\n"
            << text;
    }
    return count;
}

std::vector<std::string_view> LinesOf(std::string_view text)
{
    std::vector<std::string_view> lines;
    while (!text.empty())
    {
        const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
        lines.push_back(text.substr(0, end));
        text.remove_prefix(end);
    }
    return lines;
}

// How many lines stand between those with which both texts begin and end.
std::size_t NumChangedLines(std::string_view before, std::string_view after)
{
    const std::vector<std::string_view> a = LinesOf(before);
    const std::vector<std::string_view> b = LinesOf(after);
    const std::size_t shorter = std::min(a.size(), b.size());
    std::size_t first = 0;
    while (first < shorter && a[first] == b[first])
        ++first;
    std::size_t last = 0;
    while (last < shorter - first && a[a.size() - 1 - last] == b[b.size() - 1 - last])
        ++last;
    return std::max(a.size(), b.size()) - first - last;
}

// --- Edits

// One of the editor's, and the same of the object; where that cannot be, the editor refuses.
struct AnyEdit
{
    std::string m_verb;
    std::string m_path;
    std::string m_value;
    bool m_isPossible = true;
};

template <class List, class Value>
void InsertAt(List& list, std::size_t at, const Value& value)
{
    list.push_back(value);
    std::rotate(list.begin() + static_cast<std::ptrdiff_t>(at), list.end() - 1, list.end());
}

template <class List>
void EraseAt(List& list, std::size_t at)
{
    std::rotate(list.begin() + static_cast<std::ptrdiff_t>(at), list.begin() + static_cast<std::ptrdiff_t>(at) + 1,
                list.end());
    list.pop_back();
}

template <class List>
void MoveAt(List& list, std::size_t from, std::size_t to)
{
    const auto begin = list.begin();
    const auto at = [&](std::size_t i) { return begin + static_cast<std::ptrdiff_t>(i); };
    if (from < to)
        std::rotate(at(from), at(from + 1), at(to + 1));
    else
        std::rotate(at(to), at(from), at(from + 1));
}

// Of a list of integers, of which the first ones are not written.
template <class List>
AnyEdit EditList(Random& random, const std::string& path, List& list, std::size_t numMade)
{
    const auto size = static_cast<std::size_t>(list.size());
    const int number = static_cast<int>(random.Below(1000));
    const std::size_t at = random.Below(size + 1);
    const std::string element = path + "[" + std::to_string(at) + "]";
    const std::string value = std::to_string(number);
    if (random.OneIn(3))
    {
        if (at >= numMade)
            InsertAt(list, at, number);
        return {"insert", element, value, at >= numMade};
    }
    if (random.OneIn(4))
    {
        list.push_back(number);
        return {"insert", path, value};
    }
    const bool isThere = numMade <= at && at < size;
    if (random.OneIn(2))
    {
        const auto i = static_cast<decltype(list.size())>(at);
        const bool isSo = at < size && list[i] == number; // where nothing need be written
        if (isThere)
            list[i] = number;
        return {"set", element, value, isThere || isSo};
    }
    const std::size_t to = random.Below(size + 1);
    if (random.OneIn(2))
    {
        const bool isPossible = isThere && numMade <= to && to < size;
        if (isPossible)
            MoveAt(list, at, to);
        return {"move", element, path + "[" + std::to_string(to) + "]", isPossible};
    }
    if (isThere)
        EraseAt(list, at);
    return {"remove", element, "", isThere};
}

AnyEdit EditCounts(Random& random, xmap<xstring, int32>& counts)
{
    const char* const names[] = {"a", "b", "c", "d"};
    const char* const name = random.Of(names);
    const char* const other = random.Of(names);
    const std::string path = ".counts[\"" + std::string(name) + "\"]";
    const bool isThere = counts.find(name) != counts.end();
    const bool isOther = counts.find(other) != counts.end();
    const int number = static_cast<int>(random.Below(1000));
    switch (random.Below(4))
    {
    case 0: counts[name] = number; return {"set", path, std::to_string(number)};
    case 1:
        if (!isThere)
            counts[name] = number;
        return {"insert", path, std::to_string(number), !isThere};
    case 2:
        if (isThere && !isOther)
        {
            counts[other] = counts[name];
            counts.erase(name);
        }
        return {"rename", path, "\"" + std::string(other) + "\"", isThere && !isOther};
    default: counts.erase(name); return {"remove", path, "", isThere};
    }
}

// A number that is a member, and what creation gives it.
template <class T>
AnyEdit EditNumber(Random& random, const std::string& path, T& number, T made)
{
    if (random.OneIn(4))
    {
        number = made;
        return {"remove", path, ""};
    }
    const int value = static_cast<int>(random.Below(2000)) - 1000;
    number = static_cast<T>(value);
    return {"set", path, std::to_string(value)};
}

AnyEdit EditAny(Random& random, Ship& ship)
{
    switch (random.Below(12))
    {
    case 0: ship.title = "new"; return {"set", ".title", "\"new\""};
    case 1: ship.title = Ship().title; return {"remove", ".title", ""};
    case 2: return EditNumber(random, ".origin.x", ship.origin.x, 0.0);
    case 3: return EditNumber(random, ".origin.y", ship.origin.y, 2.0);
    case 4: return EditNumber(random, ".area", ship.area, 0.0);
    case 5: return EditNumber(random, ".crates[1].weight", ship.crates[1].weight, 1);
    case 6: return EditNumber(random, ".crates[0].place.x", ship.crates[0].place.x, 0.0);
    case 7: return EditList(random, ".tags", ship.tags, 0);
    case 8: return EditList(random, ".filled", ship.filled, 2);
    case 9: return EditList(random, ".crates[0].seals", ship.crates[0].seals, 0);
    case 10: return EditList(random, ".list", ship.list, 0);
    default: return EditCounts(random, ship.counts);
    }
}

Result<bool> Do(Document& document, const AnyEdit& edit)
{
    DocumentEditor editor(document);
    return edit.m_verb == "set"      ? editor.Set(edit.m_path, edit.m_value)
           : edit.m_verb == "remove" ? editor.Remove(edit.m_path)
           : edit.m_verb == "insert" ? editor.Insert(edit.m_path, edit.m_value)
           : edit.m_verb == "rename" ? editor.Rename(edit.m_path, edit.m_value)
           : edit.m_verb == "add"    ? editor.Add(edit.m_path, edit.m_value)
                                     : editor.Move(edit.m_path, edit.m_value);
}

std::size_t NumCases()
{
    return NumberIn("KELM_DOCUMENT_CASES", 8000) / 40;
}

uint64 Seed()
{
    return NumberIn("KELM_DOCUMENT_SEED", 1);
}

TEST(EditorSequence, ReadsAsTheObjectAfterTheSameEdits)
{
    yard::Register();
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases(); ++i)
    {
        int numComments = 0;
        const bool isTidy = random.OneIn(2);
        const std::string text = isTidy ? TidyShip(random, numComments) : AnyShip(random, numComments);
        Document document = Document::Parse(text);
        const GcRoot model(ReadShip(text));
        ASSERT_TRUE(model.get());
        auto& ship = *static_cast<Ship*>(model.get().self());
        for (int n = 0; n < 12; ++n)
        {
            const std::string before(document.GetText());
            const std::size_t numBefore = CountComments(before, numComments);
            const AnyEdit edit = EditAny(random, ship);
            const Result<bool> result = Do(document, edit);
            const std::string after(document.GetText());
            const std::string told = before + "\n--- " + edit.m_verb + " " + edit.m_path + " " + edit.m_value +
                                     (result ? "" : ": " + result.GetError().GetMessage()) + "\n" + after;
            ASSERT_EQ(static_cast<bool>(result), edit.m_isPossible) << told;
            ASSERT_EQ(WrittenText(ReadShip(after)), WrittenText(model.get())) << told;
            if (edit.m_verb == "remove")
                continue;
            ASSERT_EQ(CountComments(after, numComments), numBefore) << told;
            const std::size_t most = edit.m_verb == "set" ? 3 : edit.m_verb == "rename" ? 1 : 4;
            ASSERT_TRUE(!isTidy || NumChangedLines(before, after) <= most) << told;
        }
        CollectGarbage();
    }
}

// --- Whatever is asked

constexpr std::string_view s_steps[] = {".title",
                                        ".origin",
                                        ".origin.x",
                                        ".berth",
                                        ".scores",
                                        "[0]",
                                        "[1]",
                                        "[2]",
                                        ".corners[1].y",
                                        ".tags",
                                        ".filled",
                                        ".crates",
                                        ".label",
                                        ".weight",
                                        ".place",
                                        ".seals",
                                        ".on",
                                        ".rows[0]",
                                        ".samples",
                                        "[[0]",
                                        ".counts",
                                        "[\"a\"]",
                                        "[\"rope\"]",
                                        ".stock",
                                        ".marks",
                                        "[{x=1}]",
                                        "[(0, 0)]",
                                        ".extent",
                                        ".radius",
                                        ".Point",
                                        ".first",
                                        ".note",
                                        ".list",
                                        ".map",
                                        "[\"made\"]",
                                        ".set",
                                        ".maybe",
                                        ".pair",
                                        ".area",
                                        "[",
                                        "]",
                                        ".",
                                        " ",
                                        "nosuch",
                                        "[-1]",
                                        "[99999999999999999999]"};
constexpr std::string_view s_values[] = {"1",
                                         "-5",
                                         "\"a\"",
                                         "'b'",
                                         "[]",
                                         "[1]",
                                         "[1, 2, 3]",
                                         "{}",
                                         "{ x = 1 }",
                                         "(1, 2)",
                                         "Point { y = 2 }",
                                         "null",
                                         "yard::Crate",
                                         "yard::Crate { seals = [1] }",
                                         "radius 5",
                                         "label \"x\"",
                                         "Point(1, 2)",
                                         "[\"a\" -> 1]",
                                         "[{x=1} -> \"a\", {y=2} -> \"b\"]",
                                         "NORTH",
                                         "true",
                                         "[{}, { weight = 2 }]",
                                         "[[1], []]",
                                         "",
                                         "}",
                                         "1 // c",
                                         "/* c */ 1",
                                         "{ title = \"a\" }",
                                         "[1,"};
constexpr std::string_view s_verbs[] = {"set", "add", "insert", "remove", "rename", "move"};

// Those that fit, for some verb.
constexpr std::pair<std::string_view, std::string_view> s_likely[] = {{".title", "\"b\""},
                                                                      {".origin", "{ x = 5 }"},
                                                                      {".origin", "(5, 6)"},
                                                                      {".scores", "[4, 5, 6]"},
                                                                      {".corners[1].y", "3"},
                                                                      {".corners", "[(1, 2), { y = 3 }]"},
                                                                      {".tags[2]", "5"},
                                                                      {".tags", "[5]"},
                                                                      {".crates", "{ weight = 4 }"},
                                                                      {".crates[0]", "{ label = 'x' seals = [1] }"},
                                                                      {".crates", "[{}]"},
                                                                      {".crates[1].on", "yard::Crate"},
                                                                      {".crates[1].on.on", "yard::Ship { tags = [1] }"},
                                                                      {".crates[1].on.tags", "4"},
                                                                      {".rows", "[1, 2]"},
                                                                      {".rows[0]", "3"},
                                                                      {".rows[0]", "[3]"},
                                                                      {".samples", "(1, 2)"},
                                                                      {".counts[\"z\"]", "5"},
                                                                      {".counts", "[\"z\" -> 6, \"a\" -> 7]"},
                                                                      {".stock[\"rope\"]", "5"},
                                                                      {".stock[\"rope\"]", "\"line\""},
                                                                      {".marks[{x=1}]", "\"m\""},
                                                                      {".marks[(1, 2)]", "\"n\""},
                                                                      {".marks[{y=5}]", "\"o\""},
                                                                      {".extent", "radius 5"},
                                                                      {".extent.Point", "(1, 2)"},
                                                                      {".extent.Point.x", "6"},
                                                                      {".extent.label", "\"l\""},
                                                                      {".first", "yard::Crate { weight = 3 }"},
                                                                      {".first.seals", "[1, 2]"},
                                                                      {".first.weight", "6"},
                                                                      {".note", "yard::Crate"},
                                                                      {".note", "null"},
                                                                      {".note.label", "\"n\""},
                                                                      {".list", "8"},
                                                                      {".list", "[8]"},
                                                                      {".map[\"x\"]", "5"},
                                                                      {".map[\"made\"]", "\"x\""},
                                                                      {".set", "\"s\""},
                                                                      {".set", "[\"s\", \"t\"]"},
                                                                      {".set[\"s\"]", "\"u\""},
                                                                      {".maybe", "(1, 2)"},
                                                                      {".maybe", "null"},
                                                                      {".maybe.y", "7"},
                                                                      {".pair[0]", "5"},
                                                                      {".area", "-.5"},
                                                                      {".filled[2]", "1"}};

std::string AnyPath(Random& random)
{
    std::string path;
    for (std::size_t n = random.Below(4) + 1; n-- > 0;)
        path += random.Of(s_steps);
    return path;
}

TEST(EditorSequence, WhateverIsAskedIsDoneOrRefused)
{
    ExpectedLeaks leaks; // alternatives that are replaced, where damage has made a member of two
    yard::Register();
    Random random(Seed());
    std::size_t numDone = 0;
    for (std::size_t i = 0; i < NumCases() * 4; ++i)
    {
        int numComments = 0;
        std::string text = random.OneIn(8)   ? "yard::Ship"
                           : random.OneIn(2) ? TidyShip(random, numComments)
                                             : AnyShip(random, numComments);
        if (random.OneIn(4))
            reference::Damage(random, text);
        Document document = Document::Parse(text);
        for (int n = 0; n < 8; ++n)
        {
            const std::string before(document.GetText());
            AnyEdit edit{std::string(random.Of(s_verbs)), AnyPath(random), std::string(random.Of(s_values))};
            if (const auto& [path, value] = random.Of(s_likely); !random.OneIn(4))
            {
                edit.m_path = path;
                edit.m_value = value;
            }
            if (edit.m_verb == "move")
                edit.m_value = random.OneIn(2) ? AnyPath(random) : std::string(random.Of(s_likely).first);
            if (random.OneIn(10))
                reference::Damage(random, random.OneIn(2) ? edit.m_path : edit.m_value);
            const Result<bool> result = Do(document, edit);
            const std::string told = before + "\n--- " + edit.m_verb + " " + edit.m_path + " " + edit.m_value + "\n" +
                                     std::string(document.GetText());
            ASSERT_EQ(result && *result, document.GetText() != before) << told;
            if (!result)
                continue;
            ++numDone;
            LexScannerException error{xstring(), LSToken()};
            ASSERT_TRUE(ParseDataSource(xstring(WithoutMark(document.GetText())), error)) << told << error.what();
        }
        CollectGarbage();
    }
    EXPECT_GT(numDone, NumCases());
}

} // namespace

} // namespace kelm
