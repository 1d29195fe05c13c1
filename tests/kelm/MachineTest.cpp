// Operands and arguments are what they were when their turn came, whatever functions that are called later do to the
// variables that they were read from; in a text that is evaluated once and in one that is kept, by the twins, and in
// both languages. And functions may change the scope that they are in.

#include <kelm/kelm.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace machine
{

enum class Colour : std::uint8_t
{
    RED,
    BLUE,
};

struct Item
{
    double q = 6.5;
    int n = 2;
    float f = 0.5F;
    bool b = true;
    char letter = 'a';
    std::uint8_t small = 3;
    std::uint64_t huge = 18446744073709551615U;
    std::string s = "a text that is too long to lie in the string itself";
    kelm::xstring ours = "another text that is too long for that, one would think";
    Colour colour = Colour::BLUE;
    std::chrono::milliseconds wait{250};
    std::optional<double> some = 1.25;
    std::optional<double> none;
    std::optional<std::string> word = "a word that is too long to lie in the string itself";

    double Weight() const { return q * n; }
};

struct Store
{
    std::vector<Item> items{2};
    std::vector<double> numbers{1.5, 2.5};
    std::vector<std::string> texts{"the first text of those that are in a list of texts", "b"};
    kelm::xvector<kelm::int32> ours = {4, 5};
};

} // namespace machine

KELM_DESCRIBE_ENUM(machine::Colour, RED, BLUE)
KELM_DESCRIBE(machine::Item, q, n, f, b, letter, small, huge, s, ours, colour, wait, some, none, word)
KELM_DESCRIBE(machine::Store, items, numbers, texts, ours)

namespace kelm
{

namespace
{

using machine::Item;
using machine::Store;

std::string Outcome(const Result<Value>& result)
{
    if (result)
        return std::to_string(static_cast<int>(result->GetKind())) + " " + result->ToText();
    const Error& e = result.GetError();
    return std::to_string(static_cast<int>(e.GetKind())) + " " + std::to_string(e.GetColumn()) + " " + e.GetMessage();
}

// What a program has, and functions that change it, so that nothing lies where it lay.
struct World
{
    World()
    {
        m_scope.Bind("o", m_store).Bind("x", m_x).Bind("i", m_i).Bind("t", m_text).Bind("some", m_some);
        m_scope.Define("grow", [this](const Value& v) { return Grow(), v; });
        m_scope.Define("growFloat", [this](double v) { return Grow(), v; });
        m_scope.Define("growText", [this] { return Grow(), std::string("a"); });
        m_scope.Define("first", [](const Value& a, const Value&) { return a; });
        m_scope.Define("firstFloat", [](double a, double) { return a; });
        m_scope.Define("firstText", [](const std::string& a, double) { return a; });
        m_scope.Define("firstHuge", [](std::uint64_t a, double) { return a == 18446744073709551615U; });
        m_scope.Define("firstColour", [](const machine::Colour& a, double) { return a == machine::Colour::BLUE; });
        m_scope.Define("firstSome", [](const std::optional<double>& a, double) { return a.value_or(-1.0); });
        m_scope.Define("list", [](std::span<const Value> all) { return all.front().ToText(); });
        m_scope.Define("Weight", &Item::Weight).Define("Plus", &World::ItemPlus);
    }
    static double ItemPlus(double a, double b) { return a + b; }

    void Grow()
    {
        Item other;
        other.q = -100;
        other.n = -100;
        other.f = -100;
        other.b = false;
        other.letter = 'z';
        other.small = 99;
        other.huge = 1;
        other.s = "changed";
        other.ours = "changed";
        other.colour = machine::Colour::RED;
        other.wait = std::chrono::milliseconds(1);
        other.some = std::nullopt;
        other.none = -100.0;
        other.word = "changed";
        m_store.items = std::vector<Item>(m_store.items.size() * 8, other);
        m_store.numbers = std::vector<double>(m_store.numbers.size() * 8, -100.0);
        m_store.texts = std::vector<std::string>(m_store.texts.size() * 8, "changed");
        m_store.ours.clear();
        for (int i = 0; i < 100; ++i)
            m_store.ours.push_back(-100);
        m_x = -100;
        m_i = -100;
        m_text = std::string(100, 'z');
        m_some = std::nullopt;
    }

    Store m_store;
    double m_x = 0.75;
    std::int64_t m_i = 1;
    std::string m_text = "a text that is bound and too long to lie in the string itself";
    std::optional<double> m_some = 7.0;
    Scope m_scope;
};

// Of a text, in a world that nothing has changed: from the text, kept, and by the twins, which must agree.
std::string OutcomeOf(const std::string& text, Language language)
{
    const auto once = [&](World& world) { return Outcome(TryEvaluate(text, world.m_scope, language)); };
    const auto thrown = [&](auto evaluate)
    {
        try
        {
            return Outcome(evaluate());
        }
        catch (const Error& e)
        {
            return Outcome(e);
        }
    };
    World first;
    const std::string outcome = once(first);
    World second;
    EXPECT_EQ(thrown([&] { return Evaluate(text, second.m_scope, language); }), outcome) << text;
    World third;
    EXPECT_EQ(thrown([&] { return Expression(text, third.m_scope, {}, language).Evaluate(); }), outcome) << text;
    World fourth;
    EXPECT_EQ(thrown([&] { return Expression(text, fourth.m_scope, {}, language).TryEvaluate(); }), outcome) << text;
    return outcome;
}

const std::vector<std::string>& Operands()
{
    static const std::vector<std::string> s_operands = {"x",
                                                        "i",
                                                        "t",
                                                        "some",
                                                        "o.items[1].q",
                                                        "o.items[1].n",
                                                        "o.items[1].f",
                                                        "o.items[1].b",
                                                        "o.items[1].letter",
                                                        "o.items[1].small",
                                                        "o.items[1].huge",
                                                        "o.items[1].s",
                                                        "o.items[1].ours",
                                                        "o.items[1].colour",
                                                        "o.items[1].wait",
                                                        "o.items[1].some",
                                                        "o.items[1].none",
                                                        "o.items[1].word",
                                                        "o.numbers[1]",
                                                        "o.texts[0]",
                                                        "o.ours[0]",
                                                        "o.items[i].q",
                                                        "o.items[o.items[0].n - 1].n",
                                                        "o.items[1].Weight()"};
    return s_operands;
}

// The operand is V; what changes it stands behind it.
const std::vector<std::string>& Positions()
{
    static const std::vector<std::string> s_positions = {
        "V + grow(2)",
        "V - grow(2)",
        "V * growFloat(2.0)",
        "V / grow(4)",
        "V % grow(2)",
        "V ^^ grow(2)",
        "V << grow(2)",
        "V >> grow(1)",
        "V & grow(3)",
        "V | grow(3)",
        "V ^ grow(3)",
        "V < grow(2)",
        "V <= grow(2)",
        "V > grow('a')",
        "V >= grow(2.5)",
        "V == growText()",
        "V != grow(true)",
        "V && grow(true)",
        "V || grow(false)",
        "V + growText()",
        "V + growFloat(0.25)",
        "V + (1 + grow(2))",
        "V + -growFloat(2.0)",
        "V + (true ? grow(1) : 2)",
        "1 + V * grow(2)",
        "(V) + grow(1)",
        "V + min(grow(1), 2)",
        "V + V * grow(2)",
        "V + 2 * growFloat(3.0)",
        "first(V, grow(1))",
        "firstFloat(V, growFloat(1.0))",
        "firstText(V, grow(1))",
        "first(first(V, 1), grow(1))",
        "first(V, 1 + first(grow(1), 2))",
        "list(V, 1, grow(1), 2)",
        "min(V, grow(2))",
        "max(V, growFloat(2.0), grow(1))",
        "clamp(V, grow(1), 2)",
        "pow(V, grow(2))",
        "contains(V, growText())",
        "starts_with(V, growText())",
        "V + first(1, grow(2))",
        "1 < 2 ? V + grow(1) : 0",
        "V == V && grow(true)",
        "first(V, (x = 5))",
        "first(V, (o.items[1].q = 8))",
        "first(V, (t = 'new'))",
        "first(V, (o.texts[0] = 'a new text that is too long to lie in itself'))",
        "!(V == grow(1))",
        "V + sum(o.numbers, e, grow(e))",
        "V + len(string(grow(12)))"};
    return s_positions;
}

std::string Put(std::string position, const std::string& operand)
{
    for (std::size_t at = 0; (at = position.find('V', at)) != std::string::npos; at += operand.size())
        position.replace(at, 1, operand);
    return position;
}

TEST(Machine, OperandsAreWhatTheyWereWhenTheirTurnCame)
{
    int numValues = 0;
    for (const Language language : {Language::Natural, Language::Exact})
        for (const std::string& operand : Operands())
            for (const std::string& position : Positions())
            {
                const std::string outcome = OutcomeOf(Put(position, operand), language);
                World world;
                const Result<Value> value = TryEvaluate(operand, world.m_scope, language);
                if (!value || value->GetKind() == Value::Kind::Object)
                    continue;
                world.m_scope.Set("value", *value);
                const Result<Value> expected = TryEvaluate(Put(position, "value"), world.m_scope, language);
                numValues += static_cast<bool>(expected);
                if (expected)
                    EXPECT_EQ(outcome, Outcome(expected)) << operand << " in " << position;
                else
                    EXPECT_EQ(outcome.front(), Outcome(expected).front()) << operand << " in " << position;
            }
    EXPECT_GT(numValues, 800);
}

// As their functions have them, which take more than values.
TEST(Machine, ArgumentsOfOtherTypesAreWhatTheyWere)
{
    EXPECT_EQ(OutcomeOf("firstHuge(o.items[1].huge, growFloat(1.0))", Language::Natural), "1 true");
    EXPECT_EQ(OutcomeOf("firstColour(o.items[1].colour, growFloat(1.0))", Language::Natural), "1 true");
    EXPECT_EQ(OutcomeOf("firstSome(o.items[1].some, growFloat(1.0))", Language::Natural), "3 1.25");
    EXPECT_EQ(OutcomeOf("firstSome(o.items[1].none, growFloat(1.0))", Language::Natural), "3 -1.0");
}

// A step fails before what stands behind it is evaluated; an operator when both of its operands have been.
TEST(Machine, ErrorsComeInTheOrderOfTheText)
{
    for (const Language language : {Language::Natural, Language::Exact})
    {
        EXPECT_EQ(OutcomeOf("o.items[9].q + grow(o.nothing)", language), "3 10 Vector index 9 out of range");
        EXPECT_EQ(OutcomeOf("o.items[1].none + grow(1)", language), "3 12 null dereference");
        EXPECT_EQ(OutcomeOf("o.items[1].none + grow(o.nothing)", language),
                  "1 26 Identifier nothing is not a model field of class machine::Store");
    }
}

TEST(Machine, AFunctionMayReplaceItselfWhileItRuns)
{
    for (const char* change : {"define", "hide", "set", "move"})
        for (const bool isKept : {false, true})
        {
            Scope scope;
            auto shared = std::make_shared<double>(40.0);
            const std::weak_ptr<double> held = shared;
            scope.Define("f",
                         [&scope, change = std::string(change), own = *shared, shared = shared](double x)
                         {
                             if (change == "define")
                                 scope.Define("f", [](double y) { return y + 1000; });
                             else if (change == "hide")
                             {
                                 static double s_variable = 5;
                                 scope.Bind("f", s_variable);
                             }
                             else if (change == "set")
                                 scope.Set("f", 3).Set("f", "text");
                             else
                             {
                                 Scope other;
                                 other.Define("f", [](double y) { return y + 2000; });
                                 scope = std::move(other);
                             }
                             return own + *shared + x;
                         });
            shared.reset();
            const Expression kept("f(1.5) + 1", scope);
            EXPECT_EQ(isKept ? kept.Evaluate<double>() : Evaluate<double>("f(1.5) + 1", scope), 82.5) << change;
            scope.Set("other", 1); // nothing runs now
            EXPECT_TRUE(held.expired()) << change;
        }
}

TEST(Machine, AResolverMayReplaceItselfWhileItRuns)
{
    Scope scope;
    const std::string text = "a text that is too long to lie in the string itself";
    scope.Resolve(
        [&scope, text](std::string_view name) -> std::optional<Value>
        {
            scope.Resolve([](std::string_view) -> std::optional<Value> { return Value(2); });
            return Value(text + std::string(name));
        });
    EXPECT_EQ(Evaluate<std::string>("n", scope), text + "n");
    EXPECT_EQ(Evaluate<int>("n", scope), 2);
}

TEST(Machine, AMemberFunctionMayBeReplacedWhileItRuns)
{
    static Scope* s_scope = nullptr;
    struct Local
    {
        static double Weigh(const Item& item) { return item.q; }
    };
    Item item;
    Scope scope;
    s_scope = &scope;
    scope.Bind("item", item).Define("Weight", &Item::Weight);
    scope.Define("f", [](double x) { return s_scope->Define("Weight", &Item::Weight), x; });
    EXPECT_EQ(Evaluate<double>("item.Weight() + f(1) + item.Weight()", scope), 27.0);
}

// A name that hides another one from now on is one of the next evaluation, of a text and of one that is kept.
TEST(Machine, ANameThatAFunctionDefinesIsSeenByTheNextEvaluation)
{
    for (const char* text : {"f(1.0) + x", "f(1.0) + x * n", "first(x, f(1.0)) + x", "f(n) > 0 && has(x) ? x : 0"})
        for (const bool isKept : {false, true})
        {
            double x = 2;
            double hidden = 1000;
            int n = 1;
            Scope outer;
            Scope scope(&outer);
            outer.Bind("x", x).Bind("n", n).Define("first", [](double a, double) { return a; });
            outer.Define("f", [&](double y) { return scope.Bind("x", hidden), y; });
            const Expression kept(isKept ? text : "1", scope);
            const auto evaluate = [&] { return isKept ? kept.TryEvaluate() : TryEvaluate(text, scope); };
            const std::string first = Outcome(evaluate());
            EXPECT_EQ(first.find("1000"), std::string::npos) << text << ": " << first;
            EXPECT_EQ(first, Outcome(TryEvaluate(text, outer))) << text;
            EXPECT_NE(Outcome(evaluate()), first) << text;
        }
}

TEST(Machine, AMemberThatAFunctionReplacesIsWhatItIsGiven)
{
    for (const char* text : {"f(1.0) + q", "q + f(1.0) + q", "f(q) + q", "f(1.0) + q * q", "f(1.0) > 0 ? q : n"})
    {
        const auto outcome = [&](bool isKept)
        {
            Item item;
            double other = 100;
            Scope scope;
            scope.BindMembers(item).Define("f", [&](double y) { return scope.Bind("q", other), y; });
            return Outcome(isKept ? Expression(text, scope).TryEvaluate() : TryEvaluate(text, scope));
        };
        EXPECT_EQ(outcome(true), outcome(false)) << text;
        EXPECT_EQ(outcome(false).front(), '3') << text << ": " << outcome(false);
    }
}

// What was recorded for one scope is not taken for another that lies in its place.
TEST(Machine, AScopeInThePlaceOfAnotherIsAnotherOne)
{
    double x = 1;
    double y = 2;
    alignas(Scope) unsigned char room[sizeof(Scope)];
    for (const bool hasParentLast : {false, true})
    {
        std::optional<Scope> parent;
        if (!hasParentLast)
            parent.emplace();
        Scope* scope = ::new (static_cast<void*>(room)) Scope(hasParentLast ? nullptr : &*parent);
        scope->Bind("x", x);
        Scope other(hasParentLast ? nullptr : &*parent);
        other.Bind("x", y);
        if (!hasParentLast)
            parent->Set("later", 1); // newer than either
        const Expression kept("x * 10", *scope);
        EXPECT_EQ(kept.Evaluate<double>(), 10);
        scope->~Scope();
        scope = ::new (static_cast<void*>(room)) Scope(std::move(other));
        EXPECT_EQ(kept.Evaluate<double>(), 20);
        scope->~Scope();
    }
}

// Functions that are no more than an address, in a scope that they can change.
Scope* s_scope = nullptr;
double s_other = -7.25;
double One(double x)
{
    return x * 2;
}
double Two(double x, double y)
{
    return x - y;
}
double Rebind(double x)
{
    s_scope->Bind("x", s_other);
    return x;
}
double RebindTwo(double x, double y)
{
    s_scope->Bind("x", s_other).Define("two", [](double a, double b) { return a * b; });
    return x + y;
}
double Throw(double x)
{
    throw std::out_of_range(std::to_string(x));
}

struct Plain
{
    Plain() : m_scope(&m_outer)
    {
        s_scope = &m_outer;
        m_outer.Bind("x", m_x).Bind("y", m_y).Bind("n", m_n).Bind("t", m_text).Bind("b", m_isTrue);
        m_outer.Define("one", One).Define("two", Two).Define("rebind", Rebind).Define("rebindTwo", RebindTwo);
        m_outer.Define("free", [](double x, double y) { return x + y * 2; }).Define("fail", Throw);
    }

    double m_x = 1.5;
    double m_y = 4.0;
    int m_n = 3;
    std::string m_text = "text";
    bool m_isTrue = true;
    Scope m_outer;
    Scope m_scope;
};

template <class F>
std::string FloatOutcome(const F& evaluate)
{
    try
    {
        return std::to_string(evaluate());
    }
    catch (const Error& e)
    {
        return Outcome(e);
    }
    catch (const std::out_of_range& e)
    {
        return std::string("thrown ") + e.what();
    }
}

TEST(Machine, GivesTheSameFloatOnEveryWay)
{
    std::string deep = "x";
    for (int i = 0; i < 20; ++i)
        deep = "two(y, 1 + two(" + deep + ", x / 2))";
    for (const std::string& text : std::vector<std::string>{
             "x",
             "n",
             "b",
             "t",
             "x + y",
             "n * 2",
             "n / 2",
             "x / (y - 4)",
             "n / (n - 3)",
             "x > 1",
             "'text'",
             "2.5",
             "7",
             "one(x)",
             "one(x * 2)",
             "one(2.5)",
             "one(n)",
             "one(b)",
             "two(x, y)",
             "two(x, 2.0)",
             "two(x, n)",
             "two(x + 1, y)",
             "two(x, y + 1)",
             "x + two(x, y)",
             "two(one(x), one(y))",
             "two(two(x, y), two(y, x))",
             "free(x, y)",
             "free(y, x) * free(x, x)",
             "b ? one(x) : one(y)",
             "one(x > 1 ? x : y)",
             "two(b ? x : y, y)",
             "rebind(x) + x",
             "x + rebind(x) + x",
             "two(rebind(x), x)",
             "x * (rebind(y * 2) - x)",
             "two(x, y) + rebindTwo(x, y) + two(x, y)",
             "two(rebindTwo(x, y), x)",
             "rebind(rebind(x) + x) + x",
             "1 + fail(x)",
             "fail(y * 2)",
             "sqrt(x - 9)",
             "sin(x) + sqrt(y)",
             "min(x, y) + max(x, n)",
             deep,
             "sum(t, e, 1)",
             "x + y + x + y + x + y + x + y + x + y + x + y + x + y + x + y + x + y + x + y + x + y + x"})
        for (const bool isOuter : {true, false})
        {
            const auto with = [&](const auto& evaluate)
            {
                const Plain plain;
                return FloatOutcome([&] { return evaluate(isOuter ? plain.m_outer : plain.m_scope); });
            };
            const std::string expected = with([&](const Scope& scope) { return Evaluate<double>(text, scope); });
            EXPECT_EQ(with([&](const Scope& scope) { return Expression(text, scope).Evaluate<double>(); }), expected)
                << text;
            EXPECT_EQ(with([&](const Scope& scope) { return *Expression(text, scope).TryEvaluate<double>(); }),
                      expected)
                << text;
            EXPECT_EQ(with([&](const Scope& scope) { return Expression(text, scope).Evaluate<double>(scope); }),
                      expected)
                << text;
            EXPECT_EQ(with([&](const Scope& scope) { return Expression(text).Evaluate<double>(scope); }), expected)
                << text;
            EXPECT_EQ(with([&](const Scope& scope) { return Expression(text, scope, {"p"}).Evaluate<double>(1); }),
                      expected)
                << text;
        }
}

TEST(Machine, TakesArgumentsOfEveryKindForAFloat)
{
    Plain plain;
    const Expression kept("two(p, y) + p", plain.m_outer, {"p"});
    for (int round = 0; round < 2; ++round)
    {
        EXPECT_EQ(kept.Evaluate<double>(1.5), -1.0);
        EXPECT_EQ(kept.Evaluate<double>(2), 0.0);
        EXPECT_EQ(FloatOutcome([&] { return kept.Evaluate<double>(true); }).front(), '2');
        EXPECT_EQ(FloatOutcome([&] { return kept.Evaluate<double>(); }).front(), '6');
    }
    const Expression element("p[i]", plain.m_outer, {"p", "i"});
    EXPECT_EQ(element.Evaluate<double>(std::vector<double>{1.0, 2.0}, 1), 2.0);
    EXPECT_EQ(element.Evaluate<double>(Value(std::vector<double>{1.0, 2.0}), 1), 2.0);
}

// What holds no value of the language is wrong itself, wherever in an operand it stands: what the error marks.
struct OperandRow
{
    const char* m_text;
    std::string_view m_marked; // of "huge", "none" ... the first that stands there
    std::size_t m_column;
};

const OperandRow s_operands[] = {
    {"1 + huge", "huge", 5},
    {"huge + 1", "huge", 1},
    {"huge += 1", "huge", 1},
    {"item.huge + 1", "huge", 6},
    {"item.n * 2 + item.huge * 3", "huge", 19},
    {"-item.huge", "huge", 7},
    {"-(item.huge)", "huge", 8},
    {"(item.huge) + 1", "huge", 7},
    {"1 + ((item.huge))", "huge", 12},
    {"item.none + 1", "none", 6},
    {"1 < item.none", "none", 10},
    {"item.n == item.none", "none", 16},
    {"item.none += 1", "none", 6},
    {"item.n += item.none", "none", 16},
    {"!item.none", "none", 7},
    {"none + 1", "none", 1},
    {"flag && true", "flag", 1},
    {"true && flag", "flag", 9},
    {"flag ? 1 : 2", "flag", 1},
    {"store.items[0].none + 1", "none", 16},
    {"1 - store.items[store.items[0].n - 1].none", "none", 39},
    {"hugeOf(1)[0] + 1", "]", 12},
    {"noneOf(1) + 1", "noneOf", 1},
    {"1 + noneOf(item.n)", "noneOf", 5},
    {"1 + (item).none", "none", 12},
    {"(item.b ? item.none : 1) + 1", "none", 16},
    {"true && (item.b ? item.none : 1)", "none", 24},
    {"(item.b ? item.none : noneOf(1)) + 1", "?", 9}, // which of them is not known any longer
    {"huge ? 1 : 2", "huge", 1},
    {"!huge", "huge", 2},
    {"huge && 1", "huge", 1},
    {"item.n = item.none", "none", 15},
    {"item.n = noneOf(1)", "noneOf", 10},
    {"item.n = item.b ? item.none : 1", "none", 24},
    {"item.n += item.b ? item.none : 1", "none", 25},
    {"store.items[0].n = item.none", "none", 25},
    {"numbers[1] = item.none", "none", 19},
    {"item.none", "none", 6},
    {"noneOf(1)", "noneOf", 1},
    {"item.b ? item.none : 1", "none", 15},
    {"item.b ? item.none : noneOf(1)", "?", 8},
    {"sum(store.items, x, x.none)", "none", 23},
    {"any(store.items, x, x.none)", "none", 23},
    {"sum(store.items, x, item.b ? x.none : 1)", "none", 32},
    {"sum(none, x, 1)", "none", 5},
    {"1 +/*c*/ item.none", "none", 15},
    {"item.none/*(*/+ 1", "none", 6},
    {"1 + item /*c*/ .none", "none", 17},
    {"has(store.items[abs(item.none)]) ? 1 : item.none + 1", "none", 45},
    {"has(store.items[abs(item.none)]) ? 1 : 1 / 0", "/", 42},
};

TEST(Machine, MarksTheOperandThatHoldsNoValue)
{
    machine::Item item;
    machine::Store store;
    std::uint64_t huge = 18446744073709551615U;
    std::optional<double> none;
    std::optional<bool> flag;
    std::vector<std::uint64_t> listed{huge};
    std::vector<double> numbers{1, 2};
    Scope scope;
    scope.Bind("numbers", numbers);
    scope.Bind("item", item).Bind("store", store).Bind("huge", huge).Bind("none", none).Bind("flag", flag);
    scope.Define("hugeOf", [&listed](int) -> const std::vector<std::uint64_t>& { return listed; });
    scope.Define("noneOf", [&none](int) -> const std::optional<double>& { return none; });
    for (const OperandRow& row : s_operands)
    {
        const std::string_view text = row.m_text;
        const auto check = [&](const Error& error)
        {
            EXPECT_EQ(error.GetColumn(), static_cast<int64>(row.m_column)) << text;
            EXPECT_EQ(error.GetKind(), row.m_marked == "/" ? ErrorKind::Arithmetic : ErrorKind::Range) << text;
            const std::string& excerpt = error.GetExcerpt();
            const std::size_t caret = excerpt.find('^') - excerpt.find('\n') - 1;
            EXPECT_EQ(excerpt.substr(caret, row.m_marked.size()), row.m_marked) << text;
            EXPECT_EQ(excerpt.size(), text.size() + 1 + caret + row.m_marked.size()) << text;
        };
        check(TryEvaluate(text, scope).GetError());
        check(Expression(text, scope).TryEvaluate().GetError());
        check(Expression(text, scope).TryEvaluate<double>().GetError());
        check(Expression(text, scope, {"p"}).TryEvaluate(1).GetError());
    }
}

TEST(Machine, MarksTheOperandThatHoldsNoValueHoweverDeep)
{
    constexpr std::size_t depth = 3000;
    const std::optional<double> none;
    Scope scope;
    scope.Bind("none", none);
    std::string text;
    for (std::size_t i = 0; i < depth; ++i)
        text += "(false ? 1 : ";
    const std::size_t place = text.size();
    text += "none" + std::string(depth, ')');
    EXPECT_EQ(TryEvaluate(text, scope).GetError().GetColumn(), static_cast<int64>(place) + 1);
    EXPECT_EQ(TryEvaluate(text + " + 1", scope).GetError().GetColumn(), static_cast<int64>(place) + 1);
}

} // namespace

} // namespace kelm
