#include <kelm/Expression.h>
#include <kelm/Files.h>
#include <kelm/Scope.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/describe/Describe.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace booth
{

enum class State
{
    open,
    paid,
};

struct Line
{
    std::string item;
    int quantity = 1;
    double price = 0;

    double Total() const { return quantity * price; }
};

struct Tag
{
    std::string colour = "red";

    double Shades() const { return 7; }
};

struct Gift : Tag, Line
{
    std::string ribbon;
};

struct Order
{
    std::string customer;
    std::vector<Line> lines;
    std::optional<double> discount;
    std::map<std::string, double> rates;
    State state = State::open;
    std::unique_ptr<Line> extra;
    int port = 80;
    std::vector<bool> flags;

    double Total() const
    {
        double sum = 0;
        for (const Line& line : lines)
            sum += line.Total();
        return sum;
    }
    double Scaled(double factor) const noexcept { return Total() * factor; }
    const Line& First() const { return lines.front(); }
};

bool IsPort(int port)
{
    return 0 < port && port < 65536;
}

struct Shelf
{
    std::map<std::string, double> prices = {{"a", 1.5}, {"b", 4.5}};
    std::unordered_map<int, Line> byItem = {{1, {"tea", 2, 3}}, {2, {"pot", 2, 8}}};
    std::set<int> marks = {3, 5};
    kelm::xmap<kelm::xstring, kelm::int32> ours = {{"a", 10}, {"b", 20}};
    kelm::xset<kelm::int32> ourMarks = {1, 2};
    std::optional<std::map<int, int>> more;
};

// With checks and parts of its own type.
struct Tree
{
    int number = 1;
    std::vector<Tree> parts;
    std::shared_ptr<int> shared;
    kelm::xmap<kelm::xstring, kelm::xstring> texts = {{"a", "A"}};
    kelm::xvector<kelm::xstring> names;
    std::map<std::string, std::unique_ptr<Line>> lines;
    std::pair<int, std::string> pair;
    int list[2] = {1, 2};
    std::unordered_map<int, Tree> byNumber;
    std::chrono::milliseconds delay{5};
};

struct Sealed
{
    Line line;
    const int number = 1;
    std::vector<int> range = {1, 2};
};

inline bool IsGood(const Line& line)
{
    return line.quantity > 0;
}

} // namespace booth

KELM_DESCRIBE_ENUM(booth::State, open, paid)
KELM_DESCRIBE(booth::Line, item, quantity, price)
KELM_DESCRIBE(booth::Tag, colour)
KELM_DESCRIBE(booth::Gift, Tag, Line, ribbon)
KELM_CLASS(booth::Order, KELM_MODEL(customer), KELM_MODEL(lines), KELM_MODEL(discount), KELM_MODEL(rates),
           KELM_MODEL(state), KELM_MODEL(extra), KELM_MODEL(port).Check(booth::IsPort), KELM_MODEL(flags))
KELM_DESCRIBE(booth::Tree, number, parts, shared, texts, names, lines, pair, list, byNumber, delay)
KELM_CLASS(booth::Sealed, KELM_MODEL(line).Check(booth::IsGood), KELM_MODEL(number),
           KELM_MODEL(range).Check([](const std::vector<int>& range) { return range.size() == 2; }))
KELM_DESCRIBE(booth::Shelf, prices, byItem, marks, ours, ourMarks, more)

namespace kelm
{

namespace
{

booth::Order MakeOrder()
{
    booth::Order order;
    order.customer = "Ada";
    order.lines = {{"tea", 2, 3.5}, {"cup", 1, 8.0}, {"pot", 3, 20.0}};
    order.rates["EUR"] = 1.5;
    order.flags = {true, false};
    return order;
}

std::string Shown(const Result<Value>& result)
{
    if (result)
        return result->ToText();
    const Error& e = result.GetError();
    return std::to_string(static_cast<int>(e.GetKind())) + " " + std::to_string(e.GetColumn()) + " " + e.GetMessage();
}

struct Row
{
    const char* m_text;
    const char* m_outcome;
};

TEST(BoundObjects, AreReadAndCalled)
{
    booth::Order order = MakeOrder();
    Scope scope;
    std::map<booth::State, double> byState = {{booth::State::open, 2.5}};
    scope.Bind("order", order).Bind("byState", byState).Set("i", 1);
    scope.Define("Total", &booth::Order::Total).Define("Total", &booth::Line::Total);
    scope.Define("Scaled", &booth::Order::Scaled).Define("First", &booth::Order::First);
    scope.Define("name", [](const booth::Line& line) { return line.item; });
    scope.Define("rename", [](booth::Line& line, const std::string& item) { line.item = item; });
    scope.Define("make", [](int quantity) { return booth::Line{"made", quantity, 0.5}; });
    constexpr Row rows[] = {
        {"order.customer + '!'", "Ada!"},
        {"order.lines[i].quantity * order.lines[i].price * (1 + 0.5)", "12.0"},
        {"order.lines[i + 1].item", "pot"},
        {"order.lines[len(order.lines) - 1].quantity", "3"},
        {"order.rates['EUR'] * 2", "3.0"},
        {"order.state == 'open' ? 1 : 2", "1"},
        {"order.flags[0] && !order.flags[1]", "true"},
        {"order.customer[1]", "d"},
        {"has(order.discount)", "false"},
        {"has(order.lines[2].item) && !has(order.lines[3].item) && !has(order.rates['USD'])", "true"},
        {"has(order.extra) || has(order.extra.item)", "false"},
        {"order.Total()", "75.0"},
        {"order.lines[0].Total() + order.Scaled(2)", "157.0"},
        {"order.First().item", "tea"},
        {"order.First().Total()", "7.0"},
        {"name(order.lines[2]) + name(make(2))", "potmade"},
        {"make(4).quantity + make(3).Total()", "5.5"},
        {"sum(order.lines, line, line.quantity)", "6"},
        {"sum(order.lines, line, line.quantity * line.price)", "75.0"},
        {"sum(order.flags, x, 1)", "2"},
        {"any(order.lines, line, line.price > 10)", "true"},
        {"all(order.lines, line, line.price > 10)", "false"},
        {"count(order.lines, line, line.quantity > 1 && line.item != 'tea')", "1"},
        {"sum(order.lines, a, count(order.lines, b, b.price < a.price))", "3"},
        {"is_double(order.lines[0].price) && is_int(order.lines[0].quantity) && is_string(order.customer)", "true"},
        {"string(order.lines[0].quantity)", "2"},
        {"max(order.lines[0].price, order.lines[1].price)", "8.0"},
        {"byState['closed'] + 1", "1 9 Unknown member 'closed' of enum booth::State"},
        {"byState['op' + 'en']", "2.5"},
        {"byState[order.customer]", "1 9 Unknown member 'Ada' of enum booth::State"},
        {"byState['closed'] = 1", "1 9 Unknown member 'closed' of enum booth::State"},
        {"byState[1]", "2 10 No implicit conversion from value 1 to booth::State"},
        {"order.nothing", "1 7 Identifier nothing is not a model field of class booth::Order"},
        {"order.lines[3].price", "3 14 Vector index 3 out of range"},
        {"order.lines[-1].price", "3 15 Vector index -1 out of range"},
        {"order.lines[1.0].price", "2 16 No implicit conversion from value 1.0 to int64"},
        {"order.rates['USD']", "3 18 Key USD is not there"},
        {"order.discount + 1", "3 7 null dereference"},
        {"order.extra.item", "3 13 null dereference"},
        {"order + 1", "2 7 Incompatible types (booth::Order and int64) for + operation"},
        {"order.customer.size", "2 16 . not available on string"},
        {"order.lines.Total()", "2 13 . not available on list of booth::Line"},
        {"order.Scaled()", "6 7 Scaled() takes 1 argument, not 0"},
        {"order.Scaled('a')", "2 14 Scaled(), argument 1: No implicit conversion from value a to float64"},
        {"name(order)", "2 6 name(), argument 1: No implicit conversion from value of booth::Order to booth::Line"},
        {"false && order.Scaled() > 1", "6 16 Scaled() takes 1 argument, not 0"},
        {"true ? 1 : order.Scaled(1, 2)", "6 18 Scaled() takes 1 argument, not 2"},
        {"order.Total(1)", "6 7 Total() takes no arguments, not 1"},
        {"order.Missing()", "1 7 Unknown name Missing"},
        {"Total()", "1 1 Total is a function of booth::Order and booth::Line: object.Total()"},
        {"1 + Scaled(order, 2)", "1 5 Scaled is a function of booth::Order: object.Scaled(...)"},
        {"First.item", "1 1 First is a function of booth::Order: object.First()"},
        {"order.First.item", "1 7 First is a function of booth::Order: object.First()"},
        {"order.name(1)", "1 7 name is no function of objects: name(...)"},
        {"order.lines.len()", "1 13 len is no function of objects: len(...)"},
        {"order.lines.max()", "1 13 max is no function of objects: max(...)"},
        {"order.port.x", "2 12 . not available on int64"},
        {"order.port[0]", "2 13 [] not available on int64"},
        {"order.lines[0].price.x", "2 22 . not available on float64"},
        {"order.port.Total()", "2 12 . not available on int64"},
        {"sum(order.port, x, 1)", "2 5 No list but int64"},
        {"len(order.port)", "2 5 len() not available on int64"},
        {"sum(order, x, 1)", "2 5 No list but booth::Order"},
        {"order = 1", "2 7 No implicit conversion from value 1 to booth::Order"},
    };
    for (const Row& row : rows)
    {
        EXPECT_EQ(Shown(TryEvaluate(row.m_text, scope)), row.m_outcome) << row.m_text;
        const Result<Value> kept = [&]() -> Result<Value>
        {
            try
            {
                return Expression(row.m_text, scope).TryEvaluate(scope);
            }
            catch (const Error& e)
            {
                return e;
            }
        }();
        EXPECT_EQ(Shown(kept), row.m_outcome) << row.m_text;
    }
    Evaluate("rename(order.lines[0], 'mug')", scope);
    EXPECT_EQ(order.lines[0].item, "mug");
    EXPECT_EQ(&Evaluate("order.lines[1]", scope).As<booth::Line&>(), &order.lines[1]);
    const Value made = Evaluate("make(9)", scope);
    EXPECT_EQ(made.As<const booth::Line&>().quantity, 9);
    try
    {
        Evaluate("make(9)", scope).As<const booth::Line&>();
        ADD_FAILURE() << "a reference to an object that is gone";
    }
    catch (const Error& e)
    {
        EXPECT_EQ(e.GetKind(), ErrorKind::Type);
        EXPECT_EQ(e.GetMessage(),
                  "The object ends with the temporary Value: a reference to it needs the Value in a variable");
    }
    EXPECT_EQ(Evaluate<booth::Line>("make(9)", scope).quantity, 9);
}

// A part of an argument is kept by the Value that stands for it, where the argument is a temporary.
TEST(BoundObjects, ThatAreTemporaryArgumentsAreKeptByValues)
{
    const Scope scope;
    constexpr const char* expected[][2] = {
        {"order.lines[1]", "8.0"}, {"order.lines", "3"}, {"order", "Ada"}, {"order.customer", "Ada"}};
    constexpr const char* shown[] = {"x.price", "len(x)", "x.customer", "x"};
    for (std::size_t i = 0; i < std::size(expected); ++i)
    {
        const Expression part(expected[i][0], scope, {"order"});
        const Expression use(shown[i], scope, {"x"});
        const Value kept = part.Evaluate(MakeOrder());
        const Result<Value> tried = part.TryEvaluate(MakeOrder());
        EXPECT_EQ(use.Evaluate(kept).ToText(), expected[i][1]);
        EXPECT_EQ(use.Evaluate(*tried).ToText(), expected[i][1]);
    }
    const Expression write("order.port = 8080", scope, {"order"});
    EXPECT_EQ(Shown(write.TryEvaluate(MakeOrder())), "2 12 Can't assign to const integer");
    EXPECT_EQ(write.TryEvaluate<int>(MakeOrder()).GetError().GetMessage(), "Can't assign to const integer");
    booth::Order order = MakeOrder();
    EXPECT_TRUE(write.TryEvaluate(order));
    EXPECT_EQ(order.port, 8080);
}

TEST(BoundObjects, AreObjectsOfTheirBasesToo)
{
    booth::Gift gift{{"blue"}, {"tea", 2, 3.5}, "silk"};
    const std::vector<booth::Gift> gifts = {gift};
    Scope scope;
    scope.Bind("gift", gift).Bind("gifts", gifts);
    scope.Define("Total", &booth::Gift::Total).Define("Shades", &booth::Tag::Shades);
    scope.Define("item", [](const booth::Line& line) { return line.item; });
    scope.Define("rename", [](booth::Line& line, const std::string& item) { line.item = item; });
    scope.Define("make", [](const std::string& item) { return booth::Gift{{}, {item, 1, 1}, {}}; });
    constexpr Row rows[] = {
        {"gift.Total()", "7.0"},
        {"gift.Shades()", "7.0"},
        {"item(gift) + item(gifts[0]) + item(make('x'))", "teateax"},
        {"sum(gifts, each, each.Total())", "7.0"},
        {"rename(gift, 'cup')", "void"},
        {"item(gift)", "cup"},
        {"rename(gifts[0], 'cup')", "2 8 rename(), argument 1: The booth::Line is const"},
        {"item(gift.ribbon)", "2 6 item(), argument 1: No implicit conversion from value of string to booth::Line"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Shown(TryEvaluate(row.m_text, scope)), row.m_outcome) << row.m_text;
    const Value value(gift);
    EXPECT_EQ(value.As<const booth::Line&>().item, "cup");
    EXPECT_EQ(gift.colour, "blue");
}

TEST(BoundObjects, OfTextsAreParametersLikeTheirTexts)
{
    const booth::Order order = MakeOrder();
    Scope scope;
    scope.Bind("order", order);
    scope.Define("isPaid", [](booth::State state) { return state == booth::State::paid; });
    scope.Define("seconds", [](const std::chrono::seconds& x) { return x.count(); });
    scope.Define("name", [](const std::filesystem::path& path) { return path.filename(); });
    scope.Define("size", [](const xstring& text) { return text.size(); });
    scope.Define("pay", [](booth::State& state) { state = booth::State::paid; });
    constexpr Row rows[] = {
        {"isPaid(order.state)", "false"},
        {"isPaid('paid')", "true"},
        {"isPaid('piad')", "1 8 isPaid(), argument 1: Unknown member 'piad' of enum booth::State"},
        {"isPaid(1)", "2 8 isPaid(), argument 1: No implicit conversion from value 1 to booth::State"},
        {"seconds('2min')", "120"},
        {"seconds(2)", "2 9 seconds(), argument 1: No implicit conversion from value 2 to duration"},
        {"name('a/b')", "b"},
        {"size('four')", "4"},
        {"pay('open')", "2 5 pay(), argument 1: No implicit conversion from value open to booth::State"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Shown(TryEvaluate(row.m_text, scope)), row.m_outcome) << row.m_text;
    EXPECT_EQ(TryEvaluate("isPaid('piad')", scope).GetError().GetSuggestions(), std::vector<std::string>{"paid"});
}

TEST(BoundObjects, ThatAreNothingAreValuesOfNothing)
{
    booth::Order order = MakeOrder();
    Scope scope;
    scope.Bind("order", order);
    scope.Define("kind", [](const Value& value) { return static_cast<int>(value.GetKind()); });
    scope.Define("text", [](const Value& value) { return value.ToText(); });
    scope.Define("number", [](const Value& value) { return value.As<std::optional<double>>().value_or(-1); });
    constexpr auto object = static_cast<int>(Value::Kind::Object);
    for (const auto& [text, kind] : {std::pair("kind(order.discount)", 0),
                                     {"kind(order.extra)", 0},
                                     {"kind(order)", object},
                                     {"kind(order.lines)", object}})
        EXPECT_EQ(Evaluate<int>(text, scope), kind) << text;
    EXPECT_EQ(Evaluate<std::string>("text(order.discount) + text(order.extra)", scope), "nullnull");
    EXPECT_EQ(Evaluate<double>("number(order.discount)", scope), -1);
    order.discount = 0.5;
    EXPECT_EQ(Evaluate<int>("kind(order.discount)", scope), static_cast<int>(Value::Kind::Float));
    scope.Set("null", Value());
    Evaluate("order.discount = null", scope);
    EXPECT_FALSE(order.discount);
    EXPECT_EQ(Shown(TryEvaluate("order.port = null", scope)), "2 12 No implicit conversion from value null to int32");
}

// What a function gives by value is nobody's but the expression's; what its pointers lead to is not.
TEST(BoundObjects, ThatAreResultsAreNotAssignedTo)
{
    booth::Order order = MakeOrder();
    const auto shared = std::make_shared<int>(1);
    Value kept(MakeOrder());
    Scope scope;
    scope.Bind("order", order);
    scope.Define("make", [] { return MakeOrder(); });
    scope.Define("line", [&](int i) { return order.lines[static_cast<std::size_t>(i)]; });
    scope.Define("own", [&](int i) -> booth::Line& { return order.lines[static_cast<std::size_t>(i)]; });
    scope.Define("tree",
                 [&]
                 {
                     booth::Tree tree;
                     tree.shared = shared;
                     return tree;
                 });
    scope.Define("kept", [&] { return kept; });
    scope.Define("rename", [](booth::Line& line) { return line.item = "new"; });
    constexpr const char* isCopy = "Can't assign to a function's result, which is a copy";
    const std::pair<const char*, int> refused[] = {
        {"line(0).price = 1", 15},       {"line(0).price += 1", 15},
        {"line(0) = order.lines[1]", 9}, {"make().lines[0].price = 1", 23},
        {"make().rates['EUR'] = 1", 21}, {"make().rates['USD'] = 1", 21},
        {"make().discount = 1", 17},     {"(true ? line(0) : own(0)).price = 1", 33},
    };
    for (const auto& [text, column] : refused)
    {
        const std::string expected = "2 " + std::to_string(column) + " " + isCopy;
        EXPECT_EQ(Shown(TryEvaluate(text, scope)), expected) << text;
        EXPECT_EQ(Shown(Expression(text, scope).TryEvaluate()), expected) << text;
    }
    for (const char* text : {"own(0).price = 9", "tree().shared = 5", "kept().lines[0].price = 8", "rename(line(0))"})
        EXPECT_TRUE(TryEvaluate(text, scope)) << Shown(TryEvaluate(text, scope));
    EXPECT_EQ(order.lines[0].price, 9);
    EXPECT_EQ(order.lines[0].item, "tea");
    EXPECT_EQ(*shared, 5);
    EXPECT_EQ(kept.As<const booth::Order&>().lines[0].price, 8);

    // Once a program has it, it is the program's.
    const Value given = Evaluate("line(0)", scope);
    Expression("line.price = 3", scope, {"line"}).Evaluate(given);
    EXPECT_EQ(given.As<const booth::Line&>().price, 3);
}

TEST(BoundObjects, AreAssignedTo)
{
    booth::Order order = MakeOrder();
    const booth::Order fixed = MakeOrder();
    Scope scope;
    scope.Bind("order", order).Bind("fixed", fixed);
    for (const char* text : {"order.lines[1].quantity = 5", "order.lines[1].price += 0.5", "order.customer = 'Bob'",
                             "order.discount = 0.25", "order.rates['USD'] = 2", "order.rates['EUR'] += 1",
                             "order.state = 'paid'", "order.port = 8080.0", "order.flags[1] = true"})
        EXPECT_TRUE(TryEvaluate(text, scope)) << text << ": " << Shown(TryEvaluate(text, scope));
    EXPECT_EQ(order.lines[1].quantity, 5);
    EXPECT_EQ(order.lines[1].price, 8.5);
    EXPECT_EQ(order.customer, "Bob");
    EXPECT_EQ(order.discount, 0.25);
    EXPECT_EQ(order.rates, (std::map<std::string, double>{{"EUR", 2.5}, {"USD", 2.0}}));
    EXPECT_EQ(order.state, booth::State::paid);
    EXPECT_EQ(order.port, 8080);
    EXPECT_EQ(order.flags, (std::vector<bool>{true, true}));

    order = MakeOrder();
    constexpr Row rows[] = {
        {"order.lines[1].quantity = 'a'", "2 25 No implicit conversion from value a to int32"},
        {"order.lines[1].quantity = 1e10", "3 25 Value 1e+10 is out of range of int32"},
        {"order.port = 70000", "4 12 Member 'port' of class booth::Order refuses 70000"},
        {"order.port += 70000", "4 12 Member 'port' of class booth::Order refuses 70080"},
        {"order.discount = 'a'", "2 16 No implicit conversion from value a to float64"},
        {"order.rates['USD'] = 'a'", "2 20 No implicit conversion from value a to float64"},
        {"order.rates['USD'] += 1", "3 18 Key USD is not there"},
        {"order.lines[9] = 1", "3 14 Vector index 9 out of range"},
        {"order.flags[0] = 1", "2 16 No implicit conversion from value 1 to bool"},
        {"order.flags[2] = true", "3 14 Vector index 2 out of range"},
        {"fixed.flags[0] = true", "2 16 Can't assign to const bool"},
        {"fixed.port = 1", "2 12 Can't assign to const integer"},
        {"fixed.rates['USD'] = 1", "2 20 Can't assign to const map"},
        {"order.lines = 1", "2 13 No implicit conversion from value 1 to vector<booth::Line>"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Shown(TryEvaluate(row.m_text, scope)), row.m_outcome) << row.m_text;
    EXPECT_EQ(order.port, 80);
    EXPECT_EQ(order.discount, std::nullopt);
    EXPECT_EQ(order.rates.size(), 1u);
    EXPECT_EQ(TryEvaluate("order.state = 'closed'", scope).GetError().GetKind(), ErrorKind::Name);
    EXPECT_EQ(TryEvaluate("order.prot", scope).GetError().GetSuggestions(), std::vector<std::string>{"port"});
}

// Statements, one behind the other, and what an expression gives then; or the error of the last one.
struct StepsRow
{
    std::vector<const char*> m_statements;
    const char* m_text;
    const char* m_outcome;
};

TEST(BoundObjects, AreAssignedWhole)
{
    const StepsRow rows[] = {
        {{"order.lines[0] = order.lines[1]"}, "order.lines[0].item + order.lines[1].item", "cupcup"},
        {{"order.lines[0] = other.lines[0]", "other.lines[0].item = 'x'"}, "order.lines[0].item", "mug"},
        {{"order.lines = other.lines"}, "len(order.lines)", "1"},
        {{"order.lines = order.lines"}, "len(order.lines)", "3"},
        {{"order = other"}, "order.customer + order.extra.item", "Bobjar"},
        {{"order = other", "other.extra.item = 'x'"}, "order.extra.item", "jar"},
        {{"order = order"}, "order.lines[2].item", "pot"},
        {{"order.rates = other.rates"}, "has(order.rates['EUR'])", "false"},
        {{"order.flags = other.flags"}, "len(order.flags)", "1"},
        {{"order.discount = other.discount"}, "order.discount", "0.5"},
        {{"other.discount = order.discount"}, "has(other.discount)", "false"},
        {{"order.extra = order.lines[1]", "order.lines[1].item = 'x'"}, "order.extra.item", "cup"},
        {{"order.extra = other.extra"}, "order.extra.item", "jar"},
        {{"order.lines[1] = other.extra"}, "order.lines[1].item", "jar"},
        {{"other.extra = other.lines[0]"}, "other.extra.item", "mug"},
        {{"tree.parts[1] = tree"}, "len(tree.parts[1].parts) + tree.parts[1].parts[1].number", "5"},
        {{"tree = tree.parts[1]"}, "tree.number * 10 + len(tree.parts)", "30"},
        {{"tree.parts = tree.parts[1].parts"}, "len(tree.parts)", "0"},
        {{"tree.byNumber[1] = tree.parts[0]", "tree.byNumber[2] = tree.byNumber[1]", "tree = tree.byNumber[2]"},
         "tree.number",
         "2"},
        {{"tree.texts['b'] = tree.texts['a']", "tree.texts['c'] = tree.texts['b'] + 'C'"}, "tree.texts['c']", "AC"},
        {{"tree.parts[0] = whole"}, "tree.parts[0].lines['l'].item + tree.parts[0].pair[1]", "teap"},
        {{"tree.parts[0] = whole"}, "tree.parts[0].names[1] + tree.parts[0].texts['t']", "nT"},
        {{"tree.parts[0] = whole"}, "tree.parts[0].list[1] + tree.parts[0].byNumber[4].number", "12"},
        {{"tree.parts[0] = whole"}, "tree.parts[0].delay + '!'", "70ms!"},
        {{"tree.parts[0] = whole", "tree.parts[0].shared = 8"}, "whole.shared", "8"},
        {{"tree.list = whole.list", "tree.pair = whole.pair"}, "tree.list[0] + tree.pair[0]", "10"},
        {{"sealed.line = order.lines[0]"}, "sealed.line.item", "tea"},
        {{"sealed.range = pair"}, "sealed.range[0]", "7"},
        {{"order.lines[0] = line(9)"}, "order.lines[0].quantity", "9"},
        {{"order.lines[0] = order"}, "", "2 16 No implicit conversion from value of booth::Order to booth::Line"},
        {{"order.lines[0] = null"}, "", "1 18 Unknown name null"},
        {{"order.lines[0] = order.extra"}, "", "3 24 null dereference"},
        {{"order.lines = order.flags"},
         "",
         "2 13 No implicit conversion from value of vector<bool> to vector<booth::Line>"},
        {{"order.customer = order.lines[0]"}, "", "2 16 No implicit conversion from value of booth::Line to string"},
        {{"order.port = order.lines"}, "", "2 12 No implicit conversion from value of vector<booth::Line> to int32"},
        {{"fixed.lines[0] = order.lines[0]"}, "", "2 16 Can't assign to const booth::Line"},
        {{"fixed = order"}, "", "2 7 Can't assign to fixed, which is const"},
        {{"order.lines[0] += order.lines[1]"},
         "",
         "2 16 Incompatible types (booth::Line and booth::Line) for + operation"},
        {{"sealed = sealed"}, "", "2 8 Can't assign to booth::Sealed, of which a part is const"},
        {{"sealed.line = bad"}, "", "4 13 Member 'line' of class booth::Sealed refuses this booth::Line"},
        {{"sealed.line.quantity = 0"}, "", "4 22 Member 'line' of class booth::Sealed refuses 0"},
        {{"sealed.range = numbers"}, "", "4 14 Member 'range' of class booth::Sealed refuses this vector<int32>"},
        {{"owned.quantity = 3"}, "", "2 16 Can't assign to const integer"},
        {{"owned = order.lines[0]"}, "", "2 7 Can't assign to owned, which is no variable"},
    };
    for (const StepsRow& row : rows)
        for (const bool isKept : {false, true})
        {
            booth::Order order = MakeOrder();
            booth::Order other;
            other.customer = "Bob";
            other.lines = {{"mug", 1, 1.0}};
            other.discount = 0.5;
            other.flags = {true};
            other.extra = std::make_unique<booth::Line>(booth::Line{"jar", 1, 1.0});
            const booth::Order fixed = MakeOrder();
            booth::Tree tree;
            tree.parts.resize(2);
            tree.parts[0].number = 2;
            tree.parts[1].number = 3;
            booth::Tree whole;
            whole.number = 4;
            whole.shared = std::make_shared<int>(7);
            whole.texts = {{"t", "T"}};
            whole.names = {"m", "n"};
            whole.lines["l"] = std::make_unique<booth::Line>(booth::Line{"tea", 1, 2.0});
            whole.pair = {1, "p"};
            whole.list[0] = 9;
            whole.list[1] = 10;
            whole.byNumber[4].number = 2;
            whole.delay = std::chrono::milliseconds(70);
            booth::Sealed sealed;
            std::vector<int> numbers = {1};
            std::vector<int> pair = {7, 8};
            booth::Line bad{"bad", 0, 0.0};
            Scope scope;
            scope.Bind("order", order).Bind("other", other).Bind("fixed", fixed).Bind("tree", tree);
            scope.Bind("whole", whole).Bind("sealed", sealed).Bind("numbers", numbers).Bind("pair", pair);
            scope.Bind("bad", bad).Set("owned", Value(booth::Line()));
            scope.Define("line", [](int quantity) { return booth::Line{"made", quantity, 1.0}; });
            const auto evaluate = [&](const char* text) -> Result<Value>
            {
                try
                {
                    return isKept ? Expression(text, scope).TryEvaluate() : TryEvaluate(text, scope);
                }
                catch (const Error& e)
                {
                    return e;
                }
            };
            const std::string before = Write(order) + Write(tree) + Write(sealed.line) + Write(numbers);
            Result<Value> result = Value();
            for (const char* statement : row.m_statements)
                result = evaluate(statement);
            if (result)
                result = evaluate(row.m_text);
            else
            {
                EXPECT_EQ(Write(order) + Write(tree) + Write(sealed.line) + Write(numbers), before)
                    << row.m_statements[0];
            }
            EXPECT_EQ(Shown(result), row.m_outcome) << row.m_statements[0];
        }
}

TEST(BoundObjects, GoIntoOptionalParametersOrNull)
{
    booth::Order order = MakeOrder();
    Scope scope;
    scope.Bind("order", order);
    scope.Define("orZero", [](std::optional<double> x) { return x.value_or(0); });
    scope.Define("itemOf", [](const std::optional<booth::Line>& line) { return line ? line->item : "none"; });
    scope.Define("textOf", [](std::optional<std::string> text) { return text.value_or("none"); });
    scope.Define("nothing", [] {});
    constexpr Row rows[] = {
        {"orZero(1.5) + orZero(2)", "3.5"},
        {"orZero(order.discount)", "0.0"},
        {"orZero(nothing())", "0.0"},
        {"orZero(order.port)", "80.0"},
        {"itemOf(order.lines[1])", "cup"},
        {"itemOf(order.extra)", "none"},
        {"textOf(order.customer) + textOf('b') + textOf(order.discount)", "Adabnone"},
        {"orZero('a')", "2 8 orZero(), argument 1: No implicit conversion from value a to float64"},
        {"itemOf(order)", "2 8 itemOf(), argument 1: No implicit conversion from value of booth::Order to booth::Line"},
        {"orZero()", "6 1 orZero() takes 1 argument, not 0"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Shown(TryEvaluate(row.m_text, scope)), row.m_outcome) << row.m_text;
    EXPECT_EQ(Expression("orZero(x) + orZero(order.discount)", scope, {"x"}).Evaluate<double>(2), 2.0);
}

// Of maps the payloads, of sets the elements.
TEST(BoundObjects, OfEveryContainerAreGoneThrough)
{
    booth::Shelf shelf;
    Scope scope;
    scope.Bind("shelf", shelf).Bind("fixed", std::as_const(shelf));
    scope.Define("copy", [&] { return shelf; });
    constexpr Row rows[] = {
        {"sum(shelf.prices, p, p)", "6.0"},
        {"sum(shelf.byItem, l, l.quantity * l.price)", "22.0"},
        {"sum(shelf.marks, m, m)", "8"},
        {"any(shelf.marks, m, m == 5) && !any(shelf.marks, m, m == 4)", "true"},
        {"count(fixed.prices, p, p > 1.5)", "1"},
        {"sum(shelf.ours, x, x)", "30"},
        {"all(shelf.ourMarks, x, x > 0)", "true"},
        {"sum(shelf.byItem, l, count(shelf.prices, p, p < l.price))", "3"},
        {"sum(copy().prices, p, p)", "6.0"},
        {"sum(shelf.more, p, p)", "3 11 null dereference"},
        {"sum(shelf.marks, m, m.x)", "2 23 . not available on int64"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Shown(TryEvaluate(row.m_text, scope)), row.m_outcome) << row.m_text;
}

TEST(BoundObjects, AreParameters)
{
    const booth::Order order = MakeOrder();
    Scope scope;
    const Expression total("line.quantity * line.price", scope, {"line"});
    double sum = 0;
    for (const booth::Line& line : order.lines)
        sum += total.Evaluate<double>(line);
    EXPECT_EQ(sum, 75.0);
    booth::Line line{"tea", 1, 1.0};
    Expression("line.price = price", scope, {"line", "price"}).Evaluate(line, 2);
    EXPECT_EQ(line.price, 2.0);
    EXPECT_EQ(Expression("line.price = 3", scope, {"line"}).TryEvaluate(order.lines[0]).GetError().GetKind(),
              ErrorKind::Type);
}

// --- Members as names

TEST(BoundMembers, AreNames)
{
    booth::Order order = MakeOrder();
    double vat = 0.5;
    int port = 1;
    Scope outer;
    outer.Bind("vat", vat).Bind("port", port);
    Scope scope(&outer);
    scope.BindMembers(order);
    constexpr Row rows[] = {
        {"customer", "Ada"},
        {"lines[2].price * (1 + vat)", "30.0"},
        {"len(lines) + port", "83"},
        {"sum(lines, line, line.quantity * line.price)", "75.0"},
        {"has(discount)", "false"},
        {"rates['EUR']", "1.5"},
        {"state == 'open' && port == 80", "true"},
        {"discount", "3 1 null dereference"},
        {"port = 70000", "4 6 Member 'port' of class booth::Order refuses 70000"},
        {"port(1)", "2 1 port is not a function"},
        {"cutomer", "1 1 Unknown name cutomer"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Shown(TryEvaluate(row.m_text, scope)), row.m_outcome) << row.m_text;
    EXPECT_EQ(TryEvaluate("cutomer", scope).GetError().GetSuggestions(), std::vector<std::string>{"customer"});

    for (const char* text : {"port = 8080", "lines[0].quantity += 1", "discount = 0.25", "customer = 'Bob'"})
        EXPECT_TRUE(TryEvaluate(text, scope)) << text;
    EXPECT_EQ(order.port, 8080);
    EXPECT_EQ(order.lines[0].quantity, 3);
    EXPECT_EQ(order.discount, 0.25);
    EXPECT_EQ(order.customer, "Bob");
    EXPECT_EQ(port, 1);

    const booth::Order fixed = MakeOrder();
    scope.BindMembers(fixed);
    EXPECT_EQ(Shown(TryEvaluate("port = 1", scope)), "2 6 Can't assign to const integer");
}

// What an expression that is kept has looked up stays right.
TEST(BoundMembers, FollowTheObject)
{
    const booth::Order order = MakeOrder();
    Scope lists;
    lists.Bind("order", order);
    const Expression element("order.lines[i]", lists, {"i"});
    Scope scope;
    scope.BindMembers(element.Evaluate(0));
    const Expression total("quantity * price", scope);
    std::string totals;
    for (int i = 0; i < 3; ++i)
    {
        scope.BindMembers(element.Evaluate(i));
        totals += Shown(total.TryEvaluate()) + " ";
    }
    EXPECT_EQ(totals, "7.0 8.0 60.0 ");
    scope.BindMembers(order);
    EXPECT_EQ(Shown(total.TryEvaluate()), "1 1 Identifier quantity is not a model field of class booth::Order");
    EXPECT_EQ(Evaluate<std::string>("customer", scope), "Ada");

    scope.BindMembers(order.extra); // of nothing
    EXPECT_EQ(Shown(total.TryEvaluate()), "3 1 null dereference");
    scope.BindMembers(Value(3));
    EXPECT_EQ(Shown(total.TryEvaluate()), "2 1 . not available on int64");

    Scope other;
    other.BindMembers(order.lines[1]);
    EXPECT_EQ(total.Evaluate<double>(other), 8.0);
}

TEST(BoundMembers, AreFoundWhereAResolverIsAsked)
{
    const booth::Order order = MakeOrder();
    Scope scope;
    scope.Resolve([](std::string_view) { return std::optional<Value>(7); });
    const Expression port("port", scope);
    EXPECT_EQ(port.Evaluate<int>(), 7);
    scope.BindMembers(order);
    EXPECT_EQ(port.Evaluate<int>(), 80);
}

TEST(Values, TellTheirMembers)
{
    booth::Order order = MakeOrder();
    Scope scope;
    scope.Bind("order", order);
    const auto names = [&](std::string_view text) { return Evaluate(text, scope).GetMemberNames(); };
    EXPECT_EQ(names("order.lines[0]"), (std::vector<std::string>{"item", "quantity", "price"}));
    order.extra = std::make_unique<booth::Line>();
    EXPECT_EQ(names("order.extra").size(), 3u);
    for (const char* text : {"order.lines", "order.port", "order.customer", "1"})
        EXPECT_TRUE(names(text).empty()) << text;
    EXPECT_TRUE(Value().GetMemberNames().empty());
}

} // namespace

} // namespace kelm
