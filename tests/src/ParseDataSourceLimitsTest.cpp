// Data sources of any depth and any content, and from many threads at once.

#include "DataSources.h"

#include <support/InCLocale.h>

#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace kelm
{
namespace
{

using hand::As;
using hand::Containers;
using hand::Node;
using hand::Scalars;
using hand::Tree;

using DeepNesting = HandmadeTest;
using ManyThreads = HandmadeTest;

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

// --- Depth -----------------------------------------------------------------------------------------------------------

TEST_F(DeepNesting, OfObjectsIsLimitedByMemoryAlone)
{
    struct Row
    {
        const char* m_open;
        const char* m_innermost;
        const char* m_close;
        ptr<IObject> (*m_inner)(const Node& node);
    };
    const Row rows[] = {
        {"hand.Node { next = ", "null", "}", [](const Node& n) { return n.m_next; }},
        {"hand.Node { value = 1 ref = ", "hand.Node", "}", [](const Node& n) -> ptr<IObject> { return n.m_ref.Get(); }},
        {"hand.Node { kids = [null, ", "null", "]}",
         [](const Node& n) { return n.m_kids.empty() ? nullptr : n.m_kids[1]; }},
        {"hand.Node { named = ['a' -> ", "null", "]}",
         [](const Node& n) { return n.m_named.empty() ? nullptr : n.m_named.begin()->m_value; }},
        {"hand.Node(1, 'n', ", "null", ", hand.Node, hand.Node, [], [], [{}, {}])",
         [](const Node& n) { return n.m_next; }},
    };
    for (const Row& row : rows)
    {
        const int levels = &row == rows ? s_nesting : s_nesting / 20;
        const std::string text = Repeated(row.m_open, levels) + row.m_innermost + Repeated(row.m_close, levels);
        xstring message;
        ptr<IObject> object = ParseDataSourceFromString(ToXString(text), message);
        EXPECT_EQ(message, "") << row.m_open;
        ASSERT_TRUE(object) << row.m_open;
        const GcRoot root(object);
        EXPECT_GE(CollectGarbage().m_live, levels) << row.m_open;
        int depth = 0;
        for (; object; object = row.m_inner(As<Node>(object)))
            ++depth;
        EXPECT_EQ(depth, levels + (std::string(row.m_innermost) == "hand.Node")) << row.m_open;
    }
}

TEST_F(DeepNesting, OfValuesIsLimitedByMemoryAlone)
{
    const int levels = s_nesting / 4;
    const std::string text = Repeated("{ kids = [{}, ", levels) + "{ value = 7 }" + Repeated("]}", levels);
    Tree tree;
    EXPECT_EQ(Fill(tree, text), "");
    const Tree* innermost = &tree;
    int depth = 0;
    for (; !innermost->m_kids.empty(); innermost = &innermost->m_kids.back())
        ++depth;
    EXPECT_EQ(depth, levels);
    EXPECT_EQ(innermost->m_value, 7);
}

TEST_F(DeepNesting, PassesAFailureOutOfAnyDepth)
{
    const int levels = s_nesting / 10;
    const std::string opened = Repeated("hand.Node {\nnext = ", levels);
    LexScannerException error(xstring(), {});
    const xstring text = ToXString(opened + "hand.Node { nosuch = 1 }");
    EXPECT_FALSE(ParseDataSource(text, error));
    EXPECT_EQ(error.m_description, "Unknown member 'nosuch' of class hand::Node");
    EXPECT_EQ(error.m_lineNumber, levels + 1);
    EXPECT_EQ(error.m_pos - text.data(), static_cast<ssize_t>(opened.size()) + 19);
    EXPECT_EQ(CollectGarbage().m_lastFreed, levels + 1);

    Tree tree;
    EXPECT_ANY_THROW(Fill(tree, Repeated("{ kids = [", levels)));
}

// --- Threads ---------------------------------------------------------------------------------------------------------

TEST_F(ManyThreads, ReadDataSourcesAtOnce)
{
    constexpr int numThreads = 4;
    constexpr int rounds = 200;
    int counts[numThreads] = {};
    std::vector<std::thread> threads;
    for (int& count : counts)
        threads.emplace_back(
            [&count]
            {
                for (int i = 0; i < rounds; ++i)
                {
                    xstring message;
                    const ptr<IObject> object =
                        ParseDataSourceFromString("hand.Scalars { color = Green extent = Point(1, 2) }", message);
                    count += object && As<Scalars>(object).m_color == 5;
                    count += !ParseDataSourceFromString("hand.Scalars { color = Blue }", message) && !message.empty();
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    for (const int count : counts)
        EXPECT_EQ(count, 2 * rounds);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 2 * numThreads * rounds);
}

// --- Any content -----------------------------------------------------------------------------------------------------

// Any text ends in an object, in a LexScannerException, or in one of the assertions that data sources can fail.
void ExpectDocumentedEnd(const std::string& text)
{
    // Replaced alternatives and the last keys of maps are not destroyed.
    const ExpectedLeaks leaks;
    const xstring source = ToXString(text);
    LexScannerException error(xstring("none"), LSToken());
    try
    {
        const ptr<IObject> object = ParseDataSource(source, error);
        if (object || error.m_description == "none") // the text "null" is no failure here
            return;
        RC_ASSERT(!error.m_description.empty());
        RC_ASSERT(error.m_lineNumber >= 1);
        const bool isInside = error.m_pos >= source.data() && error.m_pos <= source.data() + source.size();
        RC_ASSERT(isInside);
    }
    catch (const KelmAssertionError& e)
    {
        const std::string condition = ToStdString(e.m_condition);
        RC_ASSERT(condition == "p" || condition == "Utf16FromUtf8(dst,src)" || condition == "rbc.m_mapOrSetFns" ||
                  condition == "obj" || condition == "rc");
    }
}

// One text for each class that can be read, with all its members.
const std::vector<std::string> s_samples = {
    R"(hand.Scalars { bool = true int8 = -8 int16 = 0x10 int32 = 32 int64 = 64 uint8 = 8 uint16 = 16 uint32 = 32
       uint64 = 64 float32 = 1.5 float64 = -1e-5 char8 = 'c' char16 = "d" string8 = "text\n" string16 = 'wide'
       color = Red level = 2 extent = geom.Point(1, 2) })",
    R"(hand.Containers { fixed = [1, 2, 3, 4] matrix = [[1, 2, 3], [4, 5, 6]] none = [] corners = [(1, 2), {}]
       vec = [7] strings = ["a", 'b'] points = [Point(1, 2)] vecs = [[], [1]] dyn = [2] dynPoints = [{ x = 1 }]
       extents = [int64 5, xstring 'x'] map = [1 -> 2, 3 -> 4] nested = [1 -> ['a' -> 2]] byName = ['n' -> [1]]
       byPoint = [{ x = 1 } -> 2] byVector = [[1] -> 2] maps = [[1 -> 2]] })",
    R"(hand.Node { value = 1 name = 'n' next = hand.Plain(2) ref = hand.Node { value = 3 } cref = hand.Node
       kids = [null, hand.Tree { kids = [{ value = 1 }, (2, [])] }] named = ["a" -> hand.Wrapper { id = 1 at = (1, 2) }]
       points = [(1, 2), geom.Point { y = 3 }] })",
    R"(hand.Qualified { const = 1 volatile = 2 number = 3 fixed = 4 flagged = 5 constPoint = (1, 2) spot = Point {}
       chain = (3, 4) items = [1] constItems = [2] map = [1 -> 2] })",
    "hand.Evolved(1, 2, 3, 4, 5)",
    "hand.Ordinary { number = 1 text = 't' point = (1, 2) list = [1] map = [] }",
};

TEST_F(HandmadeTest, SampleDataSourcesAreRead)
{
    for (const std::string& sample : s_samples)
        if (sample.find("Ordinary") == std::string::npos)
        {
            const ExpectedLeaks leaks;
            xstring message;
            EXPECT_TRUE(ParseDataSourceFromString(ToXString(sample), message)) << ToStdString(message);
        }
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, DataSourceOfAnyBytesEndsInADocumentedWay, (const std::string& text))
{
    ExpectDocumentedEnd(text);
    ExpectDocumentedEnd("hand.Scalars { string8 = " + text);
    ExpectDocumentedEnd("hand.Node { " + text);
}

// A text with some of its bytes left out, doubled or replaced.
RC_GTEST_FIXTURE_PROP(HandmadeTest, DataSourceWithFlawsEndsInADocumentedWay, ())
{
    std::string text = *rc::gen::elementOf(s_samples);
    const int flaws = *rc::gen::inRange(1, 6);
    for (int i = 0; i < flaws; ++i)
    {
        const auto at = *rc::gen::inRange(std::size_t(0), text.size());
        switch (*rc::gen::inRange(0, 3))
        {
        case 0: text.erase(at, *rc::gen::inRange(std::size_t(1), std::size_t(8))); break;
        case 1: text.insert(at, text.substr(at, *rc::gen::inRange(std::size_t(1), std::size_t(30)))); break;
        default: text[at] = *rc::gen::arbitrary<char>(); break;
        }
        if (text.empty())
            return;
    }
    ExpectDocumentedEnd(text);
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, DataSourceOfAnyTokensEndsInADocumentedWay, ())
{
    const std::string head = *rc::gen::element<std::string>("", "hand.Node {", "hand.Scalars {", "hand.Containers {",
                                                            "hand.Node { kids = [", "hand.geom.Point(");
    const auto tokens = *rc::gen::container<std::vector<std::string>>(rc::gen::element<std::string>(
        "{", "}", "(", ")", "[", "]", "=", ",", "->", ".", "::", "1", "-1", "0x2", "1.5", "'a'", "\"text\"", "true",
        "null", "x =", "y =", "value =", "next =", "ref = hand.Node {", "kids = [", "named = [", "points = [(1, 2),",
        "color = Red", "extent = int64", "extent = Point", "vec = [", "map = [1 ->", "nested = [1 -> [", "byPoint = [{",
        "strings = [", "hand.Node", "hand.Plain", "hand.Node { next =", "hand.Containers", "Point", "nosuch", "/* c */",
        "'open", "\n"));
    std::string text = head;
    for (const std::string& token : tokens)
        text += " " + token;
    ExpectDocumentedEnd(text);
}

// --- What is written is read back ------------------------------------------------------------------------------------

std::string Escaped(const std::string& bytes)
{
    std::string text = "\"";
    for (const char c : bytes)
    {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        text += escape;
    }
    return text + "\"";
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, StringOfAnyBytesArrives, (const std::string& bytes))
{
    Scalars s;
    Fill(s, "{ string8 = " + Escaped(bytes) + " }");
    RC_ASSERT(ToStdString(s.m_string8) == bytes);
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, NumbersArrive, (int64 wide, uint8 narrow, double number))
{
    char digits[64];
    {
        const InCLocale here;
        std::snprintf(digits, sizeof digits, "%.17g", number);
    }
    Scalars s;
    Fill(s, "(true, 0, 0, 0, " + std::to_string(wide) + ", " + std::to_string(narrow) + ", 0, 0, 0, 0, " + digits +
                ", 'a', 'b', 's', 'w', Red, Low, int64 " + std::to_string(wide) + ")");
    RC_ASSERT(s.m_int64 == wide);
    RC_ASSERT(s.m_uint8 == narrow);
    RC_ASSERT(s.m_float64 == number);
    RC_ASSERT(s.m_extent.Get<0>() == wide);
}

using IntegerMap = std::map<int32, int32>;

RC_GTEST_FIXTURE_PROP(HandmadeTest, ContainersArrive,
                      (const std::vector<std::vector<int32>>& vecs, const IntegerMap& map))
{
    const auto join = [](const auto& elements, const auto& write)
    {
        std::string text = "[";
        for (const auto& element : elements)
            text += (text.size() > 1 ? ", " : "") + write(element);
        return text + "]";
    };
    const auto writeInt = [](int32 x) { return std::to_string(x); };
    const auto writeEntry = [](const auto& entry)
    { return std::to_string(entry.first) + " -> " + std::to_string(entry.second); };
    Containers c;
    Fill(c, "{ vecs = " + join(vecs, [&](const auto& vec) { return join(vec, writeInt); }) +
                " map = " + join(map, writeEntry) + " }");
    RC_ASSERT(c.m_vecs.size() == static_cast<ssize_t>(vecs.size()));
    for (std::size_t i = 0; i < vecs.size(); ++i)
        RC_ASSERT(std::equal(vecs[i].begin(), vecs[i].end(), c.m_vecs[static_cast<ssize_t>(i)].begin(),
                             c.m_vecs[static_cast<ssize_t>(i)].end()));
    RC_ASSERT(c.m_map.size() == static_cast<ssize_t>(map.size()));
    for (const auto& [key, value] : map)
        RC_ASSERT(c.m_map[key] == value);
}

} // namespace
} // namespace kelm
