// Structs of the standard library's types, with checks and required members, at the front door.

#include <kelm/kelm.h>
#include <klObject/containers/xmap.h>
#include <klObject/objects/GcObject.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>

#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

namespace shop
{

// Cannot be made at times, nor moved without a doubt.
struct Fragile
{
    static inline bool s_breaks = false;

    Fragile()
    {
        if (s_breaks)
            throw std::domain_error("broken");
    }
    Fragile(const Fragile& other) : x(other.x) {}
    Fragile& operator=(const Fragile&) = default;

    int x = 0;
};

struct Breaking
{
    std::variant<Fragile, int> choice;
};

enum class Size : unsigned char
{
    small,
    large = 9
};

struct Line
{
    std::string item;
    int quantity = 1;
    double price = 0;
};

struct Part
{
    std::string name;
    std::vector<std::unique_ptr<Part>> parts;
};

struct Order
{
    std::string customer;
    std::vector<Line> lines = {Line{"sample", 1, 0}};
    std::optional<double> discount;
    std::optional<Line> gift;
    std::map<std::string, double> rates = {{"EUR", 1}};
    std::unordered_map<int, std::string> notes;
    std::set<int> marks;
    std::variant<int, std::string, Line> extra;
    std::pair<int, std::string> pair;
    std::array<float, 2> place = {};
    std::unique_ptr<Part> part;
    std::chrono::milliseconds timeout{250};
    std::filesystem::path file;
    std::vector<bool> flags;
    Size size = Size::small;
    long count = 0;
};

struct Config
{
    std::string host;
    int port = 80;
    std::vector<int> range = {1, 2};
};

inline bool IsPort(const int& port)
{
    return port > 0 && port < 65536;
}

// Which may lead back to itself.
struct Branch // a container of ours that holds its own kind
{
    int number = 0;
    kelm::xvector<Branch> branches;
};
struct Ring
{
    int number = 0;
    std::shared_ptr<Ring> next;
    kelm::ptr<kelm::IObject> kept;
};

struct Cell
{
    int row = 1;
    int column = 1;
    friend bool operator<(const Cell& a, const Cell& b) { return a.row != b.row ? a.row < b.row : a.column < b.column; }
};

struct Sheet
{
    kelm::xmap<Cell, int> cells;
    kelm::xstring16 title;
};

// What is checked here must have a value of each; a number of 13 throws.
struct Strict
{
    std::optional<double> rate = 1;
    std::optional<Line> line = Line{};
    std::unique_ptr<int> number = std::make_unique<int>(1);
    std::map<std::string, int> counts = {{"a", 1}};
    std::vector<bool> flags = {true, true};
    Size size = Size::large;
    std::string name = "a name that is too long to be stored in place";
};

} // namespace shop

KELM_DESCRIBE(shop::Fragile, x)
KELM_DESCRIBE(shop::Breaking, choice)
KELM_DESCRIBE_ENUM(shop::Size, small, large)
KELM_DESCRIBE(shop::Line, item, quantity, price)
KELM_DESCRIBE(shop::Part, name, parts)
KELM_DESCRIBE(shop::Order, customer, lines, discount, gift, rates, notes, marks, extra, pair, place, part, timeout,
              file, flags, size, count)
KELM_CLASS(shop::Config, KELM_MODEL(host).Required(), KELM_MODEL(port).Named("tcpPort").Check(shop::IsPort),
           KELM_MODEL(range).Check([](const std::vector<int>& range)
                                   { return range.size() == 2 && range[0] <= range[1]; }))
KELM_DESCRIBE(shop::Cell, row, column)
KELM_DESCRIBE(shop::Sheet, cells, title)
KELM_DESCRIBE(shop::Branch, number, branches)
KELM_DESCRIBE(shop::Ring, number, next, kept)
KELM_CLASS(shop::Strict, KELM_MODEL(rate).Check([](const std::optional<double>& x) { return x && *x < 2; }),
           KELM_MODEL(line).Check([](const std::optional<shop::Line>& x) { return x && x->quantity < 9; }),
           KELM_MODEL(number).Check(
               [](const std::unique_ptr<int>& x)
               {
                   if (x != nullptr && *x == 13)
                       throw std::out_of_range("13");
                   return x != nullptr;
               }),
           KELM_MODEL(counts).Check([](const std::map<std::string, int>& x) { return x.size() < 2 && x.count("a"); }),
           KELM_MODEL(flags).Check([](const std::vector<bool>& x) { return x[0]; }),
           KELM_MODEL(size).Check([](const shop::Size& x) { return x == shop::Size::large; }),
           KELM_MODEL(name).Check([](const std::string& x) { return x.size() > 9; }))

namespace kelm
{

namespace
{

using shop::Config;
using shop::Line;
using shop::Order;
using shop::Part;
using shop::Size;

constexpr char s_order[] = "shop::Order {\n"
                           "    customer = 'Ada'\n"
                           "    lines = [{ item = 'nut' quantity = 3 price = 0.5 }, ('bolt', 2, 4)]\n"
                           "    discount = 0.25\n"
                           "    rates = ['USD' -> 1.25]\n"
                           "    notes = [7 -> 'seven', 5 -> 'five']\n"
                           "    marks = [3, 1]\n"
                           "    extra = string 'more'\n"
                           "    pair = [4, 'four']\n"
                           "    place = [1, 2.5]\n"
                           "    part = { name = 'a' parts = [{ name = 'b' }] }\n"
                           "    timeout = \"2s\"\n"
                           "    file = '/tmp/x'\n"
                           "    flags = [true, false]\n"
                           "    size = large\n"
                           "    count = -5\n"
                           "}\n";

TEST(Structs, AreReadAndReplaceWhatTheyHeld)
{
    const Order order = Read<Order>(s_order);
    EXPECT_EQ(order.customer, "Ada");
    ASSERT_EQ(order.lines.size(), 2U);
    EXPECT_EQ(order.lines[1].item, "bolt");
    EXPECT_EQ(order.discount, 0.25);
    EXPECT_FALSE(order.gift);
    EXPECT_EQ(order.rates, (std::map<std::string, double>{{"USD", 1.25}}));
    EXPECT_EQ(order.notes.at(5), "five");
    EXPECT_EQ(order.marks, (std::set<int>{1, 3}));
    EXPECT_EQ(std::get<std::string>(order.extra), "more");
    EXPECT_EQ(order.part->parts[0]->name, "b");
    EXPECT_EQ(order.timeout, std::chrono::seconds(2));
    EXPECT_EQ(order.flags, (std::vector<bool>{true, false}));
    EXPECT_EQ(order.size, Size::large);
    EXPECT_EQ(order.count, -5);
    EXPECT_EQ(Read<Order>("{}").lines.size(), 1U);
    EXPECT_EQ(Read<Order>("{ lines = [] rates = [] }").lines.size(), 0U);
}

TEST(Structs, HoldTheirOwnKindInContainersOfOurs)
{
    const std::string text = "branches = [{ number = 1 branches = [{ number = 2 }, { number = 3 }] }]";
    const shop::Branch root = kelm::Read<shop::Branch>("{ " + text + " }");
    ASSERT_EQ(root.branches.size(), 1);
    ASSERT_EQ(root.branches[0].branches.size(), 2);
    EXPECT_EQ(root.branches[0].branches[1].number, 3);
    EXPECT_EQ(kelm::Write(kelm::Read<shop::Branch>(kelm::Write(root))), kelm::Write(root));
}

TEST(Structs, AreWrittenAndReadBack)
{
    const TemporaryFolder folder;
    const std::filesystem::path path = folder.GetPath() / "order.kds";
    const Order order = Read<Order>(s_order);
    WriteFile(path, order);
    EXPECT_EQ(Write(ReadFile<Order>(path)), Write(order));
    EXPECT_EQ(Write(Read<Order>(Write(Order()))), Write(Order()));
}

struct StructErrorRow
{
    std::string m_text;
    ErrorKind m_kind;
    std::string m_what; // behind "<text>:"
    std::string m_fieldPath;
};

template <class T>
void ExpectStructError(const StructErrorRow& row)
{
    const Error error = TryRead<T>(row.m_text).GetError();
    EXPECT_EQ(error.what(), "<text>:" + row.m_what);
    EXPECT_EQ(error.GetKind(), row.m_kind) << row.m_text;
    EXPECT_EQ(error.GetFieldPath(), row.m_fieldPath) << row.m_text;
    EXPECT_THROW(Read<T>(row.m_text), Error);
}

const StructErrorRow s_orderErrors[] = {
    {"Order {\n\n    lines = [{ quantity = \"three\" }]\n}", ErrorKind::Type,
     "3:27: error: Expected int32 when read \"three\"\n"
     "    lines = [{ quantity = \"three\" }]\n"
     "                          ^~~~~~~",
     ".lines[0].quantity"},
    {"{ rates = ['x' -> 'y'] }", ErrorKind::Type,
     "1:19: error: Expected float64 when read 'y'\n{ rates = ['x' -> 'y'] }\n                  ^~~", ".rates['x']"},
    {"{ place = [1, 'a'] }", ErrorKind::Type,
     "1:15: error: Expected float32 when read 'a'\n{ place = [1, 'a'] }\n              ^~~", ".place[1]"},
    {"{ pair = [1, 2] }", ErrorKind::Type,
     "1:14: error: Expected string when read 2\n{ pair = [1, 2] }\n             ^", ".pair[1]"},
    {"{ part = { parts = [null, { name = 1 }] } }", ErrorKind::Type,
     "1:36: error: Expected string when read 1\n{ part = { parts = [null, { name = 1 }] } }\n"
     "                                   ^",
     ".part.parts[1].name"},
    {"{ timeout = '2 parsecs' }", ErrorKind::Type,
     "1:13: error: Expected duration when read '2 parsecs'; a duration is a number and ns, us, ms, s, min or h, and "
     "whole in what the member counts\n{ timeout = '2 parsecs' }\n            ^~~~~~~~~~~",
     ".timeout"},
    {"{ size = medium }", ErrorKind::Name,
     "1:10: error: Unknown member 'medium' of enum shop::Size\n{ size = medium }\n         ^~~~~~", ".size"},
    {"{ lines = [] lines = [] }", ErrorKind::Name,
     "1:14: error: Member 'lines' of class shop::Order is written twice\n{ lines = [] lines = [] }\n"
     "             ^~~~~",
     ""},
    {"{ dicsount = 1 }", ErrorKind::Name,
     "1:3: error: Unknown member 'dicsount' of class shop::Order; did you mean discount?\n{ dicsount = 1 }\n"
     "  ^~~~~~~~",
     ""},
};

const StructErrorRow s_configErrors[] = {
    {"{ tcpPort = 70000 host = '' }", ErrorKind::Check,
     "1:13: error: Member 'tcpPort' of class shop::Config refuses 70000\n{ tcpPort = 70000 host = '' }\n"
     "            ^~~~~",
     ".tcpPort"},
    {"('h', -1, [1, 2])", ErrorKind::Check,
     "1:7: error: Member 'tcpPort' of class shop::Config refuses -1\n('h', -1, [1, 2])\n      ^", ".tcpPort"},
    {"{ range = [3, 2] }", ErrorKind::Check,
     "1:11: error: Member 'range' of class shop::Config refuses [3, 2]\n{ range = [3, 2] }\n          ^", ".range"},
    {"{ tcpPort = 8080\n}", ErrorKind::Check, "2:1: error: Member 'host' of class shop::Config is required\n}\n^", ""},
};

TEST(Structs, HaveErrorsAtTheirPlaces)
{
    for (const StructErrorRow& row : s_orderErrors)
        ExpectStructError<Order>(row);
    for (const StructErrorRow& row : s_configErrors)
        ExpectStructError<Config>(row);
    EXPECT_EQ(Read<Config>("{ host = 'h' tcpPort = 8080 }").port, 8080);
}

TEST(Structs, NestedTooDeepAreErrorsWithTheInnerEndOfTheirPath)
{
    std::string text;
    for (int i = 0; i < 2000; ++i)
        text += "{ parts = [";
    const Error error = TryRead<Part>(text).GetError();
    EXPECT_THAT(error.GetMessage(), ::testing::HasSubstr("nested more than"));
    EXPECT_THAT(error.GetFieldPath(), ::testing::StartsWith("...[0].parts[0].parts"));
    std::string unknown = "{ nosuch = ";
    unknown.append(1000000, '[');
    EXPECT_FALSE(TryRead<Part>(unknown, UnknownMembers::PassOver));
    unknown.append(1000000, ']').append("}");
    EXPECT_TRUE(TryRead<Part>(unknown, UnknownMembers::PassOver));
}

TEST(Structs, PassOverUnknownMembersWhole)
{
    for (const char* value : {"5", "-5", "+0x1f", "'text'", "true", "null", "red", "a.b::c", "int32 5",
                              "shape circle { r = 1 }", "{ x = 1 y = { z = [1, 2] } }", "(1, [2], {})",
                              "[1 -> 'a', (2) -> {}]", "[]", "Point(1, 2)", "-inf", "// a comment\n 7"})
    {
        const std::string text = std::string("{ nosuch = ") + value + " count = 5 other = " + value + " }";
        EXPECT_EQ(Read<Order>(text, UnknownMembers::PassOver).count, 5) << text;
        EXPECT_FALSE(TryRead<Order>(text)) << text;
    }
    for (const char* text : {"{ nosuch = }", "{ nosuch = [1) count = 5 }", "{ nosuch = { count = 5 }", "{ nosuch 5 }",
                             "{ nosuch = - }", "{ nosuch = 5 6 }", "{ nosuch = 'a }"})
        EXPECT_EQ(TryRead<Order>(text, UnknownMembers::PassOver).GetError().GetKind(), ErrorKind::Syntax) << text;
}

// --- fields

// Each key is read into a new one.
TEST(Structs, KeysThatResembleOneAnotherAreWrittenWhole)
{
    shop::Sheet sheet;
    for (const shop::Cell& cell : {shop::Cell{1, 2}, shop::Cell{2, 2}, shop::Cell{2, 3}, shop::Cell{3, 3}})
        sheet.cells[cell] = 10 * cell.row + cell.column;
    const auto again = Read<shop::Sheet>(Write(sheet));
    EXPECT_EQ(Write(again), Write(sheet));
    EXPECT_EQ(again.cells.size(), 4);
}

TEST(Structs, NamesThatOnlyTheTypeKnowsAreSuggested)
{
    const auto suggestions = [](const Error& error)
    {
        EXPECT_EQ(error.GetKind(), ErrorKind::Name) << error.what();
        return error.GetSuggestions();
    };
    Order order;
    EXPECT_THAT(suggestions(TryRead<Order>("{ size = larg }").GetError()), ::testing::ElementsAre("large"));
    EXPECT_THAT(suggestions(TryRead<Order>("{ extra = strin 'x' }").GetError()), ::testing::ElementsAre("string"));
    EXPECT_THAT(suggestions(TrySet(order, ".size", "smal").GetError()), ::testing::ElementsAre("small"));
}

TEST(Structs, TextThatIsNoUtf8IsRefused)
{
    for (const char* text : {"{ title = \"\xff\" }", "{ title = '\xc3' }"})
    {
        const Error error = TryRead<shop::Sheet>(text).GetError();
        EXPECT_EQ(error.GetKind(), ErrorKind::Type) << error.what();
        EXPECT_EQ(error.GetMessage(), "the text of a 16-bit string is not UTF-8");
    }
    shop::Sheet sheet;
    EXPECT_EQ(TrySet(sheet, ".title", "\xff").GetError().GetKind(), ErrorKind::Type);
}

TEST(Structs, FieldsAreReachedByPaths)
{
    Order order = Read<Order>(s_order);
    EXPECT_EQ(Get<double>(order, ".lines[1].price"), 4);
    EXPECT_EQ(Get<std::string>(order, ".lines[0].item"), "nut");
    EXPECT_EQ(Get<double>(order, ".rates['USD']"), 1.25);
    EXPECT_EQ(Get<std::string>(order, ".notes[7]"), "seven");
    EXPECT_EQ(Get<double>(order, ".discount"), 0.25);
    EXPECT_EQ(Get<std::optional<double>>(order, ".discount"), 0.25);
    EXPECT_EQ(Get<std::string>(order, ".part.parts[0].name"), "b");
    EXPECT_EQ(Get<std::string>(order, ".timeout"), "2000ms");
    EXPECT_EQ(Get<std::chrono::milliseconds>(order, ".timeout"), std::chrono::seconds(2));
    EXPECT_EQ(Get<std::string>(order, ".size"), "large");
    EXPECT_EQ(Get<Size>(order, ".size"), Size::large);
    EXPECT_EQ(Get<std::string>(order, ".extra"), "more");
    EXPECT_EQ((std::get<1>(Get<std::variant<int, std::string, Line>>(order, ".extra"))), "more");
    EXPECT_EQ(Get<int>(order, ".pair[0]"), 4);
    EXPECT_TRUE(Get<bool>(order, ".flags[0]"));
    EXPECT_EQ(Get<std::vector<Line>>(order, ".lines").size(), 2U);
    EXPECT_EQ((Get<std::map<std::string, double>>(order, ".rates").size()), 1U);
    EXPECT_EQ(TryGet<double>(order, ".gift.price").GetError().GetMessage(), "null dereference");
    EXPECT_EQ(TryGet<int>(order, ".gift").GetError().GetKind(), ErrorKind::Range);
    EXPECT_EQ(TryGet<std::vector<int>>(order, ".lines").GetError().GetMessage(),
              "No implicit conversion from value of vector<shop::Line> to vector<int32>");
    EXPECT_FALSE(Has(order, ".gift"));
    EXPECT_TRUE(Has(order, ".discount"));
    EXPECT_TRUE(Has(order, ".marks[3]"));
    EXPECT_FALSE(Has(order, ".marks[2]"));
}

TEST(Structs, FieldsAreSet)
{
    Order order = Read<Order>(s_order);
    Set(order, ".lines[0].quantity", 9);
    Set(order, ".customer", "Bob");
    Set(order, ".discount", 0.5);
    Set(order, ".gift", std::optional<Line>(Line{"bow", 1, 2}));
    Set(order, ".rates['EUR']", 7);
    Set(order, ".notes[8]", "eight");
    Set(order, ".timeout", "1min");
    Set(order, ".size", "small");
    Set(order, ".extra", std::variant<int, std::string, Line>(5));
    EXPECT_EQ(order.lines[0].quantity, 9);
    EXPECT_EQ(order.customer, "Bob");
    EXPECT_EQ(order.discount, 0.5);
    EXPECT_EQ(order.gift->item, "bow");
    EXPECT_EQ(order.rates.at("EUR"), 7);
    EXPECT_EQ(order.notes.at(8), "eight");
    EXPECT_EQ(order.timeout, std::chrono::minutes(1));
    EXPECT_EQ(order.size, Size::small);
    EXPECT_EQ(std::get<int>(order.extra), 5);
    Set(order, ".discount", std::nullopt);
    EXPECT_FALSE(order.discount);
    Set(order, ".discount", 0.75);
    EXPECT_EQ(order.discount, 0.75);

    EXPECT_FALSE(TrySet(order, ".rates['GBP']", "many"));
    EXPECT_EQ(order.rates.count("GBP"), 0U);
    EXPECT_FALSE(TrySet(order, ".notes[9]", 1.5));
    EXPECT_EQ(order.notes.count(9), 0U);
    EXPECT_FALSE(TrySet(order, ".gift.price", "much"));
    EXPECT_FALSE(TrySet(order, ".timeout", "soon"));
    EXPECT_FALSE(TrySet(order, ".size", "medium"));
    EXPECT_FALSE(TrySet(order, ".discount", "half"));
    EXPECT_EQ(order.discount, 0.75);

    const std::size_t numFlags = order.flags.size();
    Set(order, ".flags[0]", false);
    EXPECT_FALSE(order.flags[0]);
    Set(order, ".flags[0]", true);
    EXPECT_TRUE(order.flags[0]);
    EXPECT_EQ(TrySet(order, ".flags[0]", 1).GetError().GetMessage(), "No implicit conversion from value 1 to bool");
    EXPECT_EQ(TrySet(order, ".flags[7]", true).GetError().GetMessage(), "Vector index 7 out of range");
    EXPECT_EQ(order.flags.size(), numFlags);
}

TEST(Structs, ARefusedValueChangesNothing)
{
    Config config;
    const Error error = TrySet(config, ".tcpPort", 70000).GetError();
    EXPECT_STREQ(error.what(), "<text>:1:2: error: Member 'tcpPort' of class shop::Config refuses 70000\n"
                               ".tcpPort\n ^~~~~~~");
    EXPECT_EQ(error.GetKind(), ErrorKind::Check);
    EXPECT_EQ(config.port, 80);
    EXPECT_EQ(TrySet(config, ".range[0]", 5).GetError().GetKind(), ErrorKind::Check);
    EXPECT_EQ(config.range, (std::vector<int>{1, 2}));
    EXPECT_EQ(TrySet(config, ".range", std::vector<int>{1}).GetError().GetKind(), ErrorKind::Check);
    EXPECT_EQ(config.range, (std::vector<int>{1, 2}));
    Set(config, ".tcpPort", 8080);
    Set(config, ".range[1]", 7);
    EXPECT_EQ(config.port, 8080);
    EXPECT_EQ(config.range[1], 7);
}

// Whatever the form of the member, and whether the check says no or throws.
TEST(Structs, WhatACheckRefusesIsUndone)
{
    shop::Strict strict;
    const std::string before = Write(strict);
    const std::pair<const char*, Value> rows[] = {
        {".rate", 3},       {".rate", Value()},     {".line", Value()},      {".line.quantity", 9},
        {".number", 13},    {".number", Value()},   {".counts['b']", 1},     {".flags[0]", false},
        {".size", "small"}, {".name", "short one"}, {".line.quantity", 9.0},
    };
    Scope scope;
    scope.Bind("strict", strict);
    for (const auto& [path, value] : rows)
    {
        scope.Set("value", value);
        for (const bool isSet : {true, false})
            try
            {
                const Result<void> set = isSet ? TrySet(strict, path, value) : Result<void>();
                const Error error =
                    isSet ? set.GetError() : TryEvaluate("strict" + std::string(path) + " = value", scope).GetError();
                EXPECT_EQ(error.GetKind(), ErrorKind::Check) << path << ": " << error.what();
            }
            catch (const std::out_of_range&)
            {
                EXPECT_STREQ(path, ".number");
            }
        EXPECT_EQ(Write(strict), before) << path;
    }
    EXPECT_FALSE(TrySet(strict, ".line", Line{"much", 9, 0}));
    EXPECT_EQ(Write(strict), before);
    Set(strict, ".line", Line{"some", 8, 0});
    Set(strict, ".rate", 0.5);
    Set(strict, ".flags[1]", false);
    Set(strict, ".counts['a']", 7);
    EXPECT_EQ(strict.line->item, "some");
    EXPECT_EQ(strict.rate, 0.5);
    EXPECT_FALSE(strict.flags[1]);
    EXPECT_EQ(strict.counts["a"], 7);
}

std::shared_ptr<shop::Ring> MakeRing(int size)
{
    const auto first = std::make_shared<shop::Ring>();
    std::shared_ptr<shop::Ring> last = first;
    for (int i = 1; i < size; ++i)
    {
        last->next = std::make_shared<shop::Ring>();
        last = last->next;
    }
    last->next = first;
    return first;
}

// Compared, visited, collected and written; reading makes none.
TEST(Structs, CirclesOfSharedPointersEnd)
{
    const std::shared_ptr<shop::Ring> rings[] = {MakeRing(1), MakeRing(2), MakeRing(6), MakeRing(6)};
    rings[3]->next->next->number = 7;
    const auto isEqual = [&](int a, int b)
    { return CompareEqReflectedVariable(TypeOf<shop::Ring>(), rings[a].get(), TypeOf<shop::Ring>(), rings[b].get()); };
    EXPECT_TRUE(isEqual(0, 0));
    EXPECT_TRUE(isEqual(0, 1)); // nothing in them tells them apart
    EXPECT_TRUE(isEqual(1, 2));
    EXPECT_FALSE(isEqual(2, 3));
    EXPECT_FALSE(isEqual(3, 1));

    int count = 0;
    Visit(*rings[2], [&](const Field& field) { count += field.GetPath().ends_with("number"); });
    EXPECT_EQ(count, 12); // each once more, from the first that a pointer leads to
    EXPECT_THROW(Write(*rings[2]), Error);

    Root<shop::Ring> root;
    root->next = MakeRing(3);
    root->next->next->kept = CreateGcObject<Line>();
    RegisterGcObject(root->next->next->kept);
    Set(root, ".next.next.kept.item", "here");
    CollectGarbage();
    EXPECT_EQ(Get<std::string>(root, ".next.next.next.next.next.kept.item"), "here");
    for (const std::shared_ptr<shop::Ring>& first : rings)
        first->next = nullptr;
    root->next->next = nullptr;
}

TEST(Structs, FieldsAreVisited)
{
    Order order;
    order.lines = {Line{"nut", 7, 0.5}};
    order.discount = 0.25;
    order.gift = Line{"bow", 1, 2};
    order.part = std::make_unique<Part>();
    order.part->parts.resize(2);
    order.part->parts[1] = std::make_unique<Part>();
    order.part->parts[1]->name = "inner";
    order.notes = {{5, "five"}};
    order.marks = {3};
    order.flags = {true};
    std::vector<std::string> paths;
    std::string inner;
    Visit(std::as_const(order),
          [&](const Field& field)
          {
              paths.push_back(field.GetPath());
              if (paths.back() == ".part.parts[1].name")
                  inner = field.Get<std::string>();
              const bool isNumber = field.GetTypeName() == "int32" || field.GetTypeName() == "float64";
              if (isNumber)
              {
                  EXPECT_EQ(field.Get<double>(), Get<double>(order, field.GetPath())) << field.GetPath();
              }
          });
    EXPECT_EQ(inner, "inner");
    EXPECT_THAT(paths, ::testing::ElementsAre(
                           ".customer", ".lines", ".lines[0]", ".lines[0].item", ".lines[0].quantity",
                           ".lines[0].price", ".discount", ".gift", ".gift.item", ".gift.quantity", ".gift.price",
                           ".rates", ".rates[\"EUR\"]", ".notes", ".notes[5]", ".marks", ".marks[3]", ".extra", ".pair",
                           ".pair[0]", ".pair[1]", ".place", ".place[0]", ".place[1]", ".part", ".part.name",
                           ".part.parts", ".part.parts[0]", ".part.parts[1]", ".part.parts[1].name",
                           ".part.parts[1].parts", ".timeout", ".file", ".flags", ".flags[0]", ".size", ".count"));
}

static_assert(!HoldsHandles<Order> && !HoldsHandles<Part>);
static_assert(HoldsHandles<std::vector<std::optional<ptr<IObject>>>>);

// --- values that their types refuse

struct RefusedRow
{
    const char* m_text;
    ErrorKind m_kind;
    const char* m_what;
};

TEST(Structs, SayWhereAValueIsThatItsTypeRefuses)
{
    const RefusedRow rows[] = {
        {"{ timeout = '9999999999999999999h' }", ErrorKind::Range,
         "<text>:1:13: error: Value '9999999999999999999h' is out of range of duration\n"
         "{ timeout = '9999999999999999999h' }\n            ^~~~~~~~~~~~~~~~~~~~~~"},
        {"{ timeout = '-9999999999999h' }", ErrorKind::Range,
         "<text>:1:13: error: Value '-9999999999999h' is out of range of duration\n"
         "{ timeout = '-9999999999999h' }\n            ^~~~~~~~~~~~~~~~~"},
        {"{ timeout = '0.5us' }", ErrorKind::Type,
         "<text>:1:13: error: Expected duration when read '0.5us'; a duration is a number and ns, us, ms, s, min or h, "
         "and whole in what the member counts\n{ timeout = '0.5us' }\n            ^~~~~~~"},
        {"{ timeout = '5' }", ErrorKind::Type,
         "<text>:1:13: error: Expected duration when read '5'; a duration is a number and ns, us, ms, s, min or h, and "
         "whole in what the member counts\n{ timeout = '5' }\n            ^~~"},
    };
    for (const RefusedRow& row : rows)
    {
        const Error error = TryRead<shop::Order>(row.m_text).GetError();
        EXPECT_STREQ(error.what(), row.m_what);
        EXPECT_EQ(error.GetKind(), row.m_kind) << row.m_text;
    }
    shop::Order order;
    const auto set = [&](const char* text) { return TrySet(order, ".timeout", text).GetError(); };
    EXPECT_STREQ(set("9999999999999999999h").what(), "<text>:1:2: error: Value 9999999999999999999h is out of range of "
                                                     "duration\n.timeout\n ^~~~~~~");
    EXPECT_EQ(set("9999999999999999999h").GetKind(), ErrorKind::Range);
    EXPECT_EQ(set("0.5us").GetKind(), ErrorKind::Type);
    EXPECT_EQ(set("h").GetKind(), ErrorKind::Type);
    const Error error = TryRead<shop::Sheet>("{\n title = '\xFFz' }").GetError();
    EXPECT_STREQ(error.what(), "<text>:2:10: error: the text of a 16-bit string is not UTF-8\n"
                               " title = '\xEF\xBF\xBDz' }\n         ^~~~");
    EXPECT_EQ(error.GetKind(), ErrorKind::Type);
    EXPECT_EQ(error.GetFieldPath(), ".title");
}

TEST(Structs, VariantsHaveAValueWhereTheNewOneCannotBeMade)
{
    shop::Breaking breaking;
    const auto read = [&breaking](std::string_view text)
    { return TextPlace(text).TryRead(s_typeOf<shop::Breaking>, &breaking, UnknownMembers::Refuse); };
    EXPECT_TRUE(read("{ choice = Fragile { x = 5 } }"));
    EXPECT_EQ(std::get<shop::Fragile>(breaking.choice).x, 5);
    shop::Fragile::s_breaks = true;
    EXPECT_THROW(static_cast<void>(read("{ choice = Fragile { x = 6 } }")), std::domain_error);
    shop::Fragile::s_breaks = false;
    ASSERT_FALSE(breaking.choice.valueless_by_exception());
    EXPECT_EQ(Write(breaking), "Breaking {\n    choice = int32 0\n}");
}

// --- More members than a word has bits -----------------------------------------------------------------------------

struct Numbered
{
    int32 numbers[150] = {};
};
const ReflectedClass& _GetReflected(const Numbered*)
{
    static const auto s_names = []
    {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < std::size(Numbered().numbers); ++i)
            names.push_back("number" + std::to_string(i));
        return names;
    }();
    static const auto s_fields = []
    {
        static const uint8 s_type[] = {FT_INT32};
        std::vector<ReflectedModelField> fields;
        for (const std::string& name : s_names)
            fields.push_back({name.c_str(), static_cast<int32>(fields.size() * sizeof(int32)), s_type, 0, -1, nullptr});
        return fields;
    }();
    static const ReflectedClass s_class = {.m_name = "structs::Numbered",
                                           .m_size = sizeof(Numbered),
                                           .m_modelFields = s_fields.data(),
                                           .m_numModelFields = std::ssize(s_fields),
                                           .m_createFn = CreateGcObject<Numbered>};
    return s_class;
}

TEST(Structs, OfManyMembersHaveEachOfThemOnce)
{
    ASSERT_EQ(RegisterReflectedClass(&_GetReflected(static_cast<Numbered*>(nullptr)), nullptr), NSE_OK);
    std::string all;
    for (std::size_t i = std::size(Numbered().numbers); i-- > 0;) // the last one first
        all += "number" + std::to_string(i) + " = " + std::to_string(i + 1) + ' ';
    const Object object = Read<Object>("structs::Numbered { " + all + "}");
    for (const char* const name : {"number0", "number63", "number64", "number65", "number149"})
    {
        EXPECT_EQ(Get<int>(object, std::string(".") + name), std::atoi(name + 6) + 1);
        const Error error = TryRead<Object>("structs::Numbered { " + all + name + " = 7 }").GetError();
        EXPECT_EQ(error.GetMessage(), std::string("Member '") + name + "' of class structs::Numbered is written twice");
        EXPECT_TRUE(TryRead<Object>(std::string("structs::Numbered { ") + name + " = 7 }"));
    }
}

} // namespace

} // namespace kelm
