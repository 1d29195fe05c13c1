// Objects written back into the texts that they came from: what differs changes, and nothing else.

#include "OrderTypes.h"

#include <kelmDocument/Document.h>
#include <kelmDocument/Items.h>
#include <kelmDocument/Update.h>
#include <support/Cases.h>
#include <support/DeepStack.h>
#include <support/ReferenceTexts.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelm
{

namespace
{

using orders::Line;
using orders::Order;
using reference::Random;

template <class T>
std::string Updated(const std::string& text, const T& value)
{
    const Result<std::string> after = TryUpdate(text, value);
    return after ? *after : "error: " + after.GetError().GetMessage();
}

// --- Rows

struct ChangeRow
{
    std::string m_text;
    std::function<void(Order&)> m_change;
    std::string m_after;
};

TEST(Update, ChangesWhatDiffers)
{
    const ChangeRow rows[] = {
        {"{ customer = \"a\" } // kept\n", [](Order&) {}, "{ customer = \"a\" } // kept\n"},
        {"{ customer = \"a\" number = 0x10 }", [](Order& o) { o.customer = "b"; },
         "{ customer = \"b\" number = 0x10 }"},
        {"{ customer = \"a\" }", [](Order& o) { o.isOpen = true; }, "{ customer = \"a\" isOpen = true }"},
        // Elements of as many as before are those that they are likest to.
        {"{ customer = \"a\" lines = [{ item = \"x\" quantity = 2 } /* x */, { item = \"y\" } /* y */] }",
         [](Order& o) {
             o.lines = {{"y", 3, 0}, {"z", 4, 0}};
         },
         "{ customer = \"a\" lines = [{ item = \"y\" quantity = 3 } /* y */, { item = \"z\" quantity = 4 }] }"},
        {"{ customer = \"a\" lines = [{ quantity = 2 price = 5 } /* x */, { quantity = 3 price = 6 } /* y */] }",
         [](Order& o) {
             o.lines = {{"", 3, 7}, {"", 4, 8}};
         },
         "{ customer = \"a\" lines = [{ quantity = 3 price = 7.0 } /* x */, { quantity = 4 price = 8.0 } /* y */] }"},
        {"{ customer = \"a\" isOpen = true }", [](Order& o) { o.isOpen = false; },
         "{ customer = \"a\" isOpen = false }"},
        // Of a class that is not written, what differs from what creation gives.
        {"{ customer = \"a\" }", [](Order& o) { o.place.x = 3; }, "{ customer = \"a\" place = { x = 3.0 } }"},
        {"{ customer = \"a\" place = (1, 2) }", [](Order& o) { o.place.y = 3; },
         "{ customer = \"a\" place = (1, 3.0) }"},
        {"{ customer = \"a\" corners = [{}, { x = 1 }] }", [](Order& o) { o.corners[1].y = 3; },
         "{ customer = \"a\" corners = [{}, { x = 1 y = 3.0 }] }"},
        // Lists: elements are matched.
        {"{ customer = \"a\" codes = [1, 2, 3] }", [](Order& o) { o.codes[1] = 5; },
         "{ customer = \"a\" codes = [1, 5, 3] }"},
        {"{ customer = \"a\" codes = [1, /* two */ 2, 3] }",
         [](Order& o) {
             o.codes = {2, 3};
         },
         "{ customer = \"a\" codes = [/* two */ 2, 3] }"},
        {"{ customer = \"a\" codes = [1, 2, 3] }",
         [](Order& o) {
             o.codes = {1, 9, 2, 3, 4};
         },
         "{ customer = \"a\" codes = [1, 9, 2, 3, 4] }"},
        {"{ customer = \"a\" codes = [1, 2, 3] }", [](Order& o) { o.codes = {}; }, "{ customer = \"a\" codes = [] }"},
        {"{ customer = \"a\" codes = [] }",
         [](Order& o) {
             o.codes = {4, 5};
         },
         "{ customer = \"a\" codes = [4, 5] }"},
        {"{ customer = \"a\" }", [](Order& o) { o.codes.push_back(3); }, "{ customer = \"a\" codes = [1, 2, 3] }"},
        {"{ customer = \"a\" flags = [true, false] }",
         [](Order& o) {
             o.flags = {true, true, false};
         },
         "{ customer = \"a\" flags = [true, true, false] }"},
        {"{ customer = \"a\" rows = [[1], [2, 3]] }", [](Order& o) { o.rows[1].push_back(4); },
         "{ customer = \"a\" rows = [[1], [2, 3, 4]] }"},
        {"{ customer = \"a\" lines = [\n    { item = \"x\" }, // first\n    { item = \"y\" } // second\n] }",
         [](Order& o) { o.lines.erase(o.lines.begin()); },
         "{ customer = \"a\" lines = [\n    { item = \"y\" } // second\n] }"},
        {"{ customer = \"a\" lines = [\n    { item = \"x\" }, // first\n    { item = \"y\" } // second\n] }",
         [](Order& o) {
             o.lines.insert(o.lines.begin() + 1, Line{"z", 5, 0});
         },
         "{ customer = \"a\" lines = [\n    { item = \"x\" }, // first\n    { item = \"z\" quantity = 5 },\n    { item "
         "= \"y\" } // second\n] }"},
        // Of those that change, the likest take each other's places.
        {"{ customer = \"a\" lines = [{ item = \"x\" price = 1 }, { item = \"y\" price = 2 }] }",
         [](Order& o)
         {
             o.lines.erase(o.lines.begin());
             o.lines[0].price = 3;
         },
         "{ customer = \"a\" lines = [{ item = \"y\" price = 3.0 }] }"},
        // What moves keeps its comments, and the form in which it is written.
        {"{ customer = \"a\" codes = [1, /* two */ 2, 0x3, 4] }",
         [](Order& o) {
             o.codes = {3, 1, 4, 2};
         },
         "{ customer = \"a\" codes = [0x3, 1, 4, /* two */ 2] }"},
        {"{ customer = \"a\" lines = [\n    { item = \"x\" }, // first\n    // the other\n    { price = 0x10   item = "
         "\"y\" }\n] }",
         [](Order& o) { std::swap(o.lines[0], o.lines[1]); },
         "{ customer = \"a\" lines = [\n    // the other\n    { price = 0x10   item = \"y\" },\n    { item = \"x\" } "
         "// first\n] }"},
        {"{ customer = \"a\" lines = [{ item = \"x\" /* 1 */ }, { item = \"y\" }, { item = \"z\" /* 3 */ }] }",
         [](Order& o)
         {
             std::swap(o.lines[0], o.lines[2]);
             o.lines[1].price = 2;
             o.lines.push_back({"w", 1, 0});
         },
         "{ customer = \"a\" lines = [{ item = \"z\" /* 3 */ }, { item = \"y\" price = 2.0 }, { item = \"x\" /* 1 */ "
         "}, { item = \"w\" }] }"},
        // Maps and sets: by key.
        {"{ customer = \"a\" rates = [\"x\" -> 1, \"y\" -> 2] }",
         [](Order& o)
         {
             o.rates["y"] = 3;
             o.rates["z"] = 4;
             o.rates.erase("x");
         },
         "{ customer = \"a\" rates = [\"y\" -> 3, \"z\" -> 4] }"},
        {"{ customer = \"a\" prices = [\"x\" -> 1, 'x' -> 2] }", [](Order& o) { o.prices["x"] = 3; },
         "{ customer = \"a\" prices = [\"x\" -> 1, 'x' -> 3.0] }"},
        {"{ customer = \"a\" tags = [\"b\", \"a\"] }",
         [](Order& o) {
             o.tags = {"a", "c"};
         },
         "{ customer = \"a\" tags = [\"a\", \"c\"] }"},
        {"{ customer = \"a\" }", [](Order& o) { o.rates["x"] = 1; }, "{ customer = \"a\" rates = [\"x\" -> 1] }"},
        {"{ customer = \"a\" rates = [] }",
         [](Order& o) {
             o.rates = {{"v", 1}, {"w", 2}, {"x", 3}, {"y", 4}};
         },
         "{ customer = \"a\" rates = [\"v\" -> 1, \"w\" -> 2, \"x\" -> 3, \"y\" -> 4] }"},
        // Of what is new the members that differ from what it starts with.
        {"{ customer = \"a\" }", [](Order& o) { o.items["x"].quantity = 2; },
         "{ customer = \"a\" items = [\"x\" -> { quantity = 2 }] }"},
        {"{ customer = \"a\" items = [\"x\" -> { item = \"w\" }] }", [](Order& o) { o.items["y"]; },
         "{ customer = \"a\" items = [\"x\" -> { item = \"w\" }, \"y\" -> {}] }"},
        {"{ customer = \"a\" }", [](Order& o) { o.corners[1].x = 2; },
         "{ customer = \"a\" corners = [{}, { x = 2.0 }] }"},
        // Optionals and variants.
        {"{ customer = \"a\" gift = { item = \"x\" } }", [](Order& o) { o.gift->quantity = 2; },
         "{ customer = \"a\" gift = { item = \"x\" quantity = 2 } }"},
        {"{ customer = \"a\" gift = { item = \"x\" } }", [](Order& o) { o.gift.reset(); },
         "{ customer = \"a\" gift = null }"},
        {"{ customer = \"a\" }",
         [](Order& o) {
             o.gift = Line{"x", 1, 0};
         },
         "{ customer = \"a\" gift = { item = \"x\" } }"},
        {"{ customer = \"a\" extra = Line { item = \"x\" } }", [](Order& o) { std::get<Line>(o.extra).price = 2; },
         "{ customer = \"a\" extra = Line { item = \"x\" price = 2.0 } }"},
        {"{ customer = \"a\" extra = Line { item = \"x\" } }", [](Order& o) { o.extra = 5; },
         "{ customer = \"a\" extra = int32 5 }"},
        {"{ customer = \"a\" }",
         [](Order& o) {
             o.extra = Line{"x", 1, 0};
         },
         "{ customer = \"a\" extra = Line { item = \"x\" } }"},
        // Comments and layout.
        {"// An order.\n{\n    customer = \"a\" // who\n\n    // open or not\n    isOpen   = true\n}\n",
         [](Order& o)
         {
             o.isOpen = false;
             o.number = 3;
         },
         "// An order.\n{\n    customer = \"a\" // who\n    number   = 3\n\n    // open or not\n    isOpen   = "
         "false\n}\n"},
        // What is too long for one line.
        {"{\n    customer = \"a\"\n}\n",
         [](Order& o)
         {
             for (const char* const item : {"one", "two", "three"})
                 o.lines.push_back({std::string("a thing of number ") + item, 5, 2.5});
         },
         "{\n    customer = \"a\"\n    lines = [\n"
         "        { item = \"a thing of number one\" quantity = 5 price = 2.5 },\n"
         "        { item = \"a thing of number two\" quantity = 5 price = 2.5 },\n"
         "        { item = \"a thing of number three\" quantity = 5 price = 2.5 }\n    ]\n}\n"},
        {"\xEF\xBB\xBF{\r\n  customer = \"a\"\r\n}\r\n", [](Order& o) { o.number = 1; },
         "\xEF\xBB\xBF{\r\n  customer = \"a\"\r\n  number = 1\r\n}\r\n"},
        // What reading refuses.
        {"{ customer = \"a\" }", [](Order& o) { o.number = -1; },
         "error: Member 'number' of class orders::Order refuses -1"},
    };
    for (const ChangeRow& row : rows)
    {
        Order order = Read<Order>(std::string_view(row.m_text).substr(row.m_text[0] == '\xEF' ? 3 : 0));
        row.m_change(order);
        const std::string after = Updated(row.m_text, order);
        EXPECT_EQ(after, row.m_after) << row.m_text;
        if (after.starts_with("error"))
            continue;
        EXPECT_EQ(Write(Read<Order>(std::string_view(after).substr(after[0] == '\xEF' ? 3 : 0))), Write(order));
    }
}

TEST(Update, RefusesWhatIsNoText)
{
    EXPECT_EQ(Updated("{ number = 1 }", Order()), "error: Member 'customer' of class orders::Order is required");
    EXPECT_EQ(Updated("{ customer = }", Order()), "error: Expected string when read }");
    EXPECT_EQ(Updated("[1, 2, x]", std::vector<int>{1}), "error: Expected int32 when read x");
    EXPECT_EQ(Updated("[1, 2, 3]", std::vector<int>{1, 3}), "[1, 3]");
}

TEST(Update, ReachesObjectsThroughHandles)
{
    using orders::Book;
    using orders::Shelf;
    Register<Book, Shelf>();
    const std::string text = "orders::Shelf {\n    name = \"s\" // first\n    books = [orders::Book { pages = 5 }, "
                             "orders::Shelf { name = \"t\" }]\n}\n";
    const Root<Shelf> shelf = Read<Root<Shelf>>(text);
    static_cast<Book*>(shelf->books[0].self())->title = "b";
    Root<Book> book;
    book->pages = 9;
    shelf->next = book.GetHandle();
    const std::string after = "orders::Shelf {\n    name = \"s\" // first\n    next = orders::Book { pages = 9 }\n    "
                              "books = [orders::Book { "
                              "title = \"b\" pages = 5 }, orders::Shelf { name = \"t\" }]\n}\n";
    EXPECT_EQ(Updated(text, shelf), after);
    EXPECT_EQ(Updated(text, Object(shelf.GetHandle())), after);
    shelf->next = nullptr;
    shelf->books[0] = book.GetHandle();
    shelf->books.pop_back();
    EXPECT_EQ(Updated(after, Object(shelf.GetHandle())),
              "orders::Shelf {\n    name = \"s\" // first\n    next = null\n    books = [orders::Book { title = \"\" "
              "pages = 9 }]\n}\n");
    EXPECT_EQ(Updated(text, Object(book.GetHandle())), "orders::Book { pages = 9 }\n");
    EXPECT_EQ(Updated(text, Object()), "null\n");
}

// As deep as memory lets it be, on a stack of any size: what is new, and what differs at the bottom.
TEST(Update, ReachesAnyDepth)
{
    constexpr int levels = 400;
    Register<orders::Shelf>();
    const auto text = [](const std::string& innermost)
    {
        std::string nested = innermost;
        for (int i = 0; i < levels; ++i)
            nested = "orders::Shelf { next = " + nested + " }";
        return nested;
    };
    const std::string before = text("null");
    const std::string after = text("orders::Shelf { name = \"s\" }");
    RunOnThread(std::size_t{64} << 10,
                [&]
                {
                    const Object deep = Read<Object>(after);
                    EXPECT_EQ(Updated(before, deep), after);
                    const std::string made = Updated("orders::Shelf {}", deep);
                    EXPECT_EQ(Write(Read<Object>(made)), Write(deep));
                    // Lines are not indented for ever.
                    constexpr std::size_t most = 68;
                    EXPECT_NE(made.find("\n" + std::string(most, ' ') + "next"), std::string::npos);
                    EXPECT_EQ(made.find(std::string(most + 1, ' ')), std::string::npos);
                });
}

// Of a long entry the value is laid out over lines, whatever brackets the key has.
TEST(Update, LaysOutValuesOfEntries)
{
    struct Row
    {
        std::string m_item;
        std::string m_after;
    };
    const std::string text(60, 't');
    const Row rows[] = {
        {"x", "{ lines = [Place { x = 1.0 y = 2.0 } -> { item = \"x\" }] }"},
        {text, "{ lines = [Place { x = 1.0 y = 2.0 } -> {\n        item = \"" + text + "\"\n    }] }"},
    };
    for (const Row& row : rows)
    {
        orders::Map map;
        map.lines[{1, 2}] = {row.m_item, 1, 0};
        EXPECT_EQ(Updated("{ lines = [] }", map), row.m_after);
    }
}

// --- Files

TEST(UpdateFile, WritesWhatDiffers)
{
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("order.kds", "{ customer = \"a\" // who\n}\n");
    Order order = ReadFile<Order>(path);
    EXPECT_FALSE(UpdateFile(path, order));
    order.number = 5;
    EXPECT_TRUE(UpdateFile(path, order));
    EXPECT_EQ(TextOfFile(path), "{ customer = \"a\" // who\nnumber = 5\n}\n");
    order.number = -5;
    const Result<bool> refused = TryUpdateFile(path, order);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.GetError().GetSource(), path);
    EXPECT_EQ(TextOfFile(path), "{ customer = \"a\" // who\nnumber = 5\n}\n");
    EXPECT_EQ(TryUpdateFile(path + "x", order).GetError().GetKind(), ErrorKind::File);
    folder.MakeFile("order.kds", "{ customer = }");
    EXPECT_EQ(TryUpdateFile(path, order).GetError().GetLine(), 1);
}

TEST(OpenFile, RefusesWhatOthersHaveChangedSince)
{
    const TemporaryFolder folder;
    const std::string path = folder.MakeFile("order.kds", "{ customer = \"a\" }\n");
    OpenFile<Order> file(path);
    file->number = 5;
    EXPECT_TRUE(file.Update());
    EXPECT_FALSE(file.Update());
    file->number = 6;
    EXPECT_TRUE(file.Update());
    EXPECT_EQ(TextOfFile(path), "{ customer = \"a\" number = 6 }\n");
    folder.MakeFile("order.kds", "{ customer = \"b\" number = 6 }\n");
    (*file).number = 7;
    const Result<bool> refused = file.TryUpdate();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.GetError().GetKind(), ErrorKind::File);
    EXPECT_EQ(refused.GetError().GetMessage(), "cannot write " + path + ": it has been changed since it was read");
    EXPECT_EQ(TextOfFile(path), "{ customer = \"b\" number = 6 }\n");
    EXPECT_THROW(OpenFile<Order>(path + "x"), Error);
    OpenFile<Root<orders::Shelf>> shelf(folder.MakeFile("shelf.kds", "orders::Shelf { name = \"s\" }\n"));
    shelf->name = "t";
    EXPECT_TRUE(shelf.Update());
    EXPECT_EQ(TextOfFile(folder.GetPath() / "shelf.kds"), "orders::Shelf { name = \"t\" }\n");
}

// --- Objects at random

template <class List, class Draw>
void ChangeList(Random& random, List& list, const Draw& draw)
{
    const std::size_t size = static_cast<std::size_t>(list.size());
    const std::size_t at = random.Below(size + 1);
    const auto begin = list.begin();
    const auto place = begin + static_cast<std::ptrdiff_t>(at);
    switch (random.Below(4))
    {
    case 0: list.push_back(draw()); break;
    case 1:
        if (at < size)
            *place = draw();
        break;
    case 2:
        if (at < size)
        {
            std::rotate(place, place + 1, list.end());
            list.pop_back();
        }
        break;
    default:
        if (size > 1)
            std::rotate(begin, place, list.end());
    }
}

std::string SomeName(Random& random)
{
    return std::string(1, static_cast<char>('a' + random.Below(6)));
}

Line AnyLine(Random& random)
{
    return {SomeName(random), static_cast<int>(random.Below(5)), static_cast<double>(random.Below(4)) / 2};
}

void ChangeAny(Random& random, Order& order)
{
    const int number = static_cast<int>(random.Below(9));
    switch (random.Below(15))
    {
    case 0: order.customer = SomeName(random); break;
    case 1: order.number = number; break;
    case 2:
    case 3: ChangeList(random, order.lines, [&] { return AnyLine(random); }); break;
    case 4:
        if (!order.lines.empty())
            order.lines[random.Below(order.lines.size())].quantity = number;
        break;
    case 5:
    case 6: ChangeList(random, order.codes, [&] { return number; }); break;
    case 7: order.rates[SomeName(random)] = number; break;
    case 8: order.rates.erase(SomeName(random)); break;
    case 9: order.prices[SomeName(random).c_str()] = number; break;
    case 10: order.tags.insert(SomeName(random)); break;
    case 11: order.tags.erase(SomeName(random)); break;
    case 12:
        if (random.OneIn(2))
            order.gift = AnyLine(random);
        else
            order.gift.reset();
        break;
    case 13:
        if (random.OneIn(3))
            order.extra = number;
        else if (random.OneIn(2))
            order.extra = SomeName(random);
        else
            order.extra = AnyLine(random);
        break;
    default:
        order.place.x = number;
        order.corners[random.Below(2)].y = number;
        order.flags.push_back(random.OneIn(2));
        order.rows.push_back({number});
        if (random.OneIn(2))
            order.rows[random.Below(order.rows.size())].push_back(number);
    }
}

// As people lay it out: members, and elements of lists, on lines of their own, with numbered comments.
std::string AnyLayout(Random& random, const std::string& written, int& numComments)
{
    std::string text;
    bool begins = true;
    for (const char c : written)
    {
        if (c == '\n' && random.OneIn(4))
            text += " // <" + std::to_string(numComments++) + ">";
        if (begins && c != '\n' && random.OneIn(6))
            text += "  // <" + std::to_string(numComments++) + ">\n";
        begins = c == '\n';
        text += c;
    }
    return text;
}

std::size_t CountComments(std::string_view text, int numComments)
{
    std::size_t count = 0;
    for (int i = 0; i < numComments; ++i)
        count += text.find("<" + std::to_string(i) + ">") != std::string_view::npos ? 1U : 0U;
    return count;
}

std::size_t NumCases()
{
    return NumberIn("KELM_DOCUMENT_CASES", 8000) / 8;
}

uint64 Seed()
{
    return NumberIn("KELM_DOCUMENT_SEED", 1);
}

TEST(Update, ReadsAsTheObject)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases(); ++i)
    {
        Order order;
        order.customer = "a";
        for (std::size_t n = random.Below(30); n-- > 0;)
            ChangeAny(random, order);
        int numComments = 0;
        std::string text = AnyLayout(random, Write(order), numComments);
        for (int round = 0; round < 3; ++round)
        {
            const Order former = Read<Order>(text);
            const bool isOne = random.OneIn(2);
            for (std::size_t n = isOne ? 1 : random.Below(8); n-- > 0;)
                ChangeAny(random, order);
            const Result<std::string> after = TryUpdate(text, order);
            ASSERT_TRUE(after) << text << "\n--- " << after.GetError().what() << "\n" << Write(order);
            ASSERT_EQ(Write(Read<Order>(*after)), Write(order)) << text << "\n---\n" << *after;
            ASSERT_EQ(Updated(*after, order), *after);
            // A member's value that only changes keeps its comment.
            if (isOne && former.customer != order.customer)
            {
                ASSERT_EQ(CountComments(*after, numComments), CountComments(text, numComments)) << text << *after;
            }
            text = *after;
        }
    }
}

TEST(Update, TouchesNoOtherLine)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases(); ++i)
    {
        Order order;
        order.customer = "a";
        for (std::size_t n = 2 + random.Below(40); n-- > 0;)
            order.codes.push_back(static_cast<int>(random.Below(5)));
        int numComments = 0;
        const std::string text = AnyLayout(random, Write(order), numComments);
        const std::size_t at = random.Below(static_cast<std::size_t>(order.codes.size()));
        order.codes.insert(order.codes.begin() + static_cast<std::ptrdiff_t>(at), 100);
        const std::string longer = Update(text, order);
        // Exactly that element is there in addition; without it the text is what it was.
        order.codes.erase(order.codes.begin() + static_cast<std::ptrdiff_t>(at));
        ASSERT_EQ(Update(longer, order), text) << longer;
    }
}

// Each element with its comments, behind it, above it or within.
TEST(Update, MovesElementsWithTheirComments)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases(); ++i)
    {
        std::vector<int> numbers(2 + random.Below(i % 20 == 0 ? 3000 : 12));
        std::iota(numbers.begin(), numbers.end(), 1);
        const uint64 style = random.Below(3);
        const auto textOf = [&]
        {
            std::string text = "{ customer = \"a\" lines = [\n";
            for (const int number : numbers)
            {
                const std::string name = std::to_string(number);
                const std::string comma = number == numbers.back() ? "" : ",";
                const std::string line = "{ quantity = " + name + (style == 2 ? " /* " + name + " */" : "") + " }";
                text += style == 0   ? "    " + line + comma + " // of " + name + "\n"
                        : style == 1 ? "    // of " + name + "\n    " + line + comma + "\n"
                                     : "    " + line + comma + "\n";
            }
            return text + "] }\n";
        };
        const std::string before = textOf();
        Order order = Read<Order>(before);
        for (std::size_t n = 1 + random.Below(random.OneIn(3) ? 2 * numbers.size() : 3); n-- > 0;)
            std::swap(numbers[random.Below(numbers.size())], numbers[random.Below(numbers.size())]);
        for (std::size_t n = random.Below(3); n-- > 0 && numbers.size() > 1;)
            numbers.erase(numbers.begin() + static_cast<std::ptrdiff_t>(random.Below(numbers.size())));
        order.lines.clear();
        for (const int number : numbers)
            order.lines.push_back({"", number, 0});
        ASSERT_EQ(Update(before, order), textOf()) << before;
    }
}

// Which is known by its name: it keeps its comments, wherever it goes.
TEST(Update, MovesElementsThatChange)
{
    Random random(Seed() + 1);
    for (std::size_t i = 0; i < NumCases(); ++i)
    {
        std::vector<orders::Line> lines;
        for (std::size_t n = 2 + random.Below(i % 20 == 0 ? 600 : 12); n-- > 0;)
            lines.push_back({std::to_string(n), static_cast<int>(2 + random.Below(5)), 0});
        const uint64 style = random.Below(3);
        const auto textOf = [&]
        {
            std::string text = "{ customer = \"a\" lines = [\n";
            for (const orders::Line& line : lines)
            {
                const std::string comment = "of " + line.item;
                const std::string written =
                    "{ item = \"" + line.item + "\" quantity = " + std::to_string(line.quantity) +
                    (style == 2 ? " /* " + comment + " */" : "") + " }" + (&line == &lines.back() ? "" : ",");
                text += (style == 1 ? "    // " + comment + "\n" : "") + "    " + written +
                        (style == 0 ? " // " + comment : "") + "\n";
            }
            return text + "] }\n";
        };
        const std::string before = textOf();
        Order order = Read<Order>(before);
        for (std::size_t n = 1 + random.Below(random.OneIn(3) ? 2 * lines.size() : 3); n-- > 0;)
            std::swap(lines[random.Below(lines.size())], lines[random.Below(lines.size())]);
        for (orders::Line& line : lines)
            if (random.OneIn(2))
                line.quantity = static_cast<int>(2 + random.Below(5));
        for (std::size_t n = random.Below(3); n-- > 0 && lines.size() > 1;)
            lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(random.Below(lines.size())));
        order.lines = lines;
        ASSERT_EQ(Update(before, order), textOf()) << before;
    }
}

TEST(Update, OfLongListsEndsSoon)
{
    Order order;
    order.customer = "a";
    for (int i = 0; i < 20'000; ++i)
        order.codes.push_back(i);
    const std::string text = Write(order);
    for (int i = 0; i < 20'000; ++i)
        order.codes[i] = i * 7919 % 20'011;
    EXPECT_EQ(Write(Read<Order>(Update(text, order))), Write(order));
    order.codes.erase(order.codes.begin() + 5'000, order.codes.begin() + 15'000);
    EXPECT_EQ(Write(Read<Order>(Update(text, order))), Write(order));

    Order named;
    named.customer = "a";
    for (int i = 0; i < 5'000; ++i)
        named.lines.push_back({std::to_string(i), i, 0});
    const std::string lines = Write(named);
    std::reverse(named.lines.begin(), named.lines.end());
    for (orders::Line& line : named.lines)
        line.quantity += 7;
    EXPECT_EQ(Write(Read<Order>(Update(lines, named))), Write(named));
}

} // namespace

} // namespace kelm
