// Kept expressions know what their names stand for, and go another way than texts that are evaluated once: whatever the
// expression, both give the same value or the same error at the same place; also where what names stand for changes.

#include <kelm/kelm.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace scalars
{

struct Part
{
    double weight = 1.5;
    int number = 3;
    bool isGood = true;
    std::string name = "part";
};

struct Box
{
    double width = 2.25;
    std::int64_t count = 7;
    float depth = 0.5F;
    std::uint8_t small = 200;
    std::uint64_t huge = 18446744073709551615U;
    bool isOpen = false;
    std::string name = "box";
    Part part;
    std::vector<Part> parts{3};
    std::vector<double> numbers{1.0, 2.5, -3.0};
    std::array<int, 2> pair{4, 5};
    kelm::xvector<kelm::int32> ours;
    double Volume() const { return width * depth; }
};

} // namespace scalars

KELM_DESCRIBE(scalars::Part, weight, number, isGood, name)
KELM_DESCRIBE(scalars::Box, width, count, depth, small, huge, isOpen, name, part, parts, numbers, pair, ours)

namespace kelm
{

namespace
{

using scalars::Box;
using scalars::Part;

std::string Outcome(const Result<Value>& result)
{
    if (result)
        return std::to_string(static_cast<int>(result->GetKind())) + " " + result->ToText();
    const Error& e = result.GetError();
    return std::to_string(static_cast<int>(e.GetKind())) + " " + std::to_string(e.GetColumn()) + " " + e.GetMessage();
}

// All that a program can have, in one scope; made anew where expressions assign.
struct World
{
    World()
    {
        m_box.ours.push_back(11);
        m_box.ours.push_back(12);
        m_scope.Bind("f", m_float).Bind("g", m_otherFloat).Bind("i", m_integer).Bind("j", m_int32).Bind("k", m_small);
        m_scope.Bind("n", m_narrow).Bind("u", m_unsigned).Bind("h", m_huge).Bind("b", m_bool).Bind("t", m_text);
        m_scope.Bind("box", m_box).Bind("numbers", m_box.numbers);
        m_scope.Set("sf", 0.25).Set("si", 5).Set("sb", true).Set("st", "set");
        m_scope.Define("half", [](double x) { return x / 2; });
        m_scope.Define("mix", [](double x, double y) { return x + 2 * y; });
        m_scope.Define("whole", [](int x) { return x + 1; });
        m_scope.Define("vast", [](int x) { return static_cast<std::uint64_t>(x) * 2; });
        m_scope.Define("is", [](bool x) { return !x; });
        m_scope.Define("same", [](const Value& v) { return v; });
        m_scope.Define("word", [](std::string_view text) { return std::string(text) + "!"; });
        m_scope.Define("weigh", [](const Part& part) { return part.weight; });
        m_scope.Define("narrow", [](float x) { return x; });
        m_scope.Define("Volume", &Box::Volume);
    }

    double m_float = 1.5;
    double m_otherFloat = -2.0;
    std::int64_t m_integer = 2;
    int m_int32 = -3;
    signed char m_small = 4;
    float m_narrow = 0.75F;
    unsigned m_unsigned = 4000000000U;
    std::uint64_t m_huge = 18446744073709551615U;
    bool m_bool = true;
    std::string m_text = "text";
    Box m_box;
    Scope m_scope;
};

// Random expressions, most of which have a value.
class Writer
{
public:
    explicit Writer(unsigned seed) : m_random(seed) {}

    std::string Expression(int depth)
    {
        if (depth == 0)
            return Leaf();
        switch (Pick(13))
        {
        case 0: return Unary() + Expression(depth - 1);
        case 1: return "(" + Expression(depth - 1) + ")";
        case 2: return Condition(depth - 1) + " ? " + Expression(depth - 1) + " : " + Expression(depth - 1);
        case 3: return Function(depth - 1);
        case 4: return Element(depth - 1);
        case 5: return List(depth - 1);
        default: return Expression(depth - 1) + " " + Operator() + " " + Expression(depth - 1);
        }
    }

private:
    std::size_t Pick(std::size_t n) { return m_random() % n; }
    template <std::size_t N>
    std::string OneOf(const char* const (&all)[N])
    {
        return all[Pick(N)];
    }

    std::string Leaf()
    {
        static constexpr const char* leaves[] = {"f",
                                                 "g",
                                                 "i",
                                                 "j",
                                                 "k",
                                                 "n",
                                                 "u",
                                                 "b",
                                                 "t",
                                                 "sf",
                                                 "si",
                                                 "sb",
                                                 "0",
                                                 "1",
                                                 "2.5",
                                                 "3.0",
                                                 "true",
                                                 "'text'",
                                                 "p",
                                                 "q",
                                                 "r",
                                                 "f",
                                                 "i",
                                                 "7",
                                                 "box.width",
                                                 "box.count",
                                                 "box.depth",
                                                 "box.small",
                                                 "box.part.weight",
                                                 "box.isOpen",
                                                 "box.part.number",
                                                 "o.weight",
                                                 "o.number",
                                                 "9007199254740993"};
        static constexpr const char* rare[] = {"h",
                                               "st",
                                               "box.huge",
                                               "box.name",
                                               "box.nothing",
                                               "box",
                                               "numbers",
                                               "box.parts",
                                               "o.name",
                                               "o",
                                               "box.pair[1]",
                                               "box.Volume()",
                                               "-9223372036854775807 - 1"};
        return Pick(20) == 0 ? OneOf(rare) : OneOf(leaves);
    }
    std::string Unary()
    {
        static constexpr const char* signs[] = {"- ", "+ ", "!", "~", "- "};
        return OneOf(signs);
    }
    std::string Operator()
    {
        static constexpr const char* operators[] = {"+", "-",  "*", "/",  "%",  "^^", "<<", ">>", "&", "|", "^",
                                                    "<", "<=", ">", ">=", "==", "!=", "&&", "||", "+", "-", "*"};
        return OneOf(operators);
    }
    std::string Condition(int depth)
    {
        static constexpr const char* relations[] = {"<", "<=", ">", ">=", "==", "!="};
        return Pick(3) == 0 ? "(" + Expression(depth) + ")" : "f " + OneOf(relations) + " " + Leaf();
    }
    std::string Function(int depth)
    {
        static constexpr const char* ofOne[] = {"half", "whole",  "vast",   "is",  "same", "word",  "narrow",
                                                "sqrt", "floor",  "round",  "abs", "sin",  "log",   "exp",
                                                "int",  "double", "string", "len", "bool", "is_int"};
        static constexpr const char* ofTwo[] = {"mix", "min", "max", "pow", "min", "max"};
        switch (Pick(8))
        {
        case 0: return OneOf(ofTwo) + "(" + Expression(depth) + ", " + Expression(depth) + ")";
        case 1: return "clamp(" + Leaf() + ", 0, " + Expression(depth) + ")";
        case 2: return "weigh(box.parts[" + Expression(0) + "])";
        case 3: return "has(box.parts[" + Expression(depth) + "].weight)";
        default: return OneOf(ofOne) + "(" + Expression(depth) + ")";
        }
    }
    std::string Element(int depth)
    {
        static constexpr const char* lists[] = {"box.numbers", "numbers", "box.ours", "box.pair", "t"};
        static constexpr const char* members[] = {".weight", ".number", ".isGood", ".name", ".name[1]"};
        const std::string index = "[" + (Pick(2) == 0 ? std::to_string(Pick(4)) : Expression(depth)) + "]";
        return Pick(2) == 0 ? OneOf(lists) + index : "box.parts" + index + OneOf(members);
    }
    std::string List(int depth)
    {
        static constexpr const char* functions[] = {"sum", "sum", "any", "all", "count"};
        const std::string function = OneOf(functions);
        const bool isSum = function == "sum";
        if (Pick(2) == 0)
            return function + "(numbers, x, " + (isSum ? "x * " : "x < ") + Expression(depth) + ")";
        return function + "(box.parts, x, " + (isSum ? "x.weight * x.number + " : "x.isGood && x.weight > ") +
               Expression(depth) + ")";
    }

    std::mt19937 m_random;
};

Result<Value> Once(const std::string& text, World& world, const std::vector<Value>& arguments)
{
    Scope scope(&world.m_scope);
    constexpr const char* names[] = {"p", "q", "r", "o"};
    for (std::size_t i = 0; i < arguments.size(); ++i)
        scope.Set(names[i], arguments[i]);
    return TryEvaluate(text, scope);
}

TEST(Scalars, GiveWhatTheGeneralFormGives)
{
    const Part part{4.5, 6, false, "own"};
    const std::vector<std::vector<Value>> arguments = {{1.25, 3, true, Value(part)},
                                                       {2, -0.5, "text", Value(part)},
                                                       {"a", false, 0, Value(part)},
                                                       {Value(), 1e300, 2, 5}};
    World world;
    Writer writer(20081124);
    int numValues = 0;
    for (int n = 0; n < 4000; ++n)
    {
        const std::string text = writer.Expression(n % 5);
        const Expression kept(text, world.m_scope, {"p", "q", "r", "o"});
        for (int round = 0; round < 2; ++round)
            for (const std::vector<Value>& a : arguments)
            {
                const Result<Value> once = Once(text, world, a);
                ASSERT_EQ(Outcome(kept.TryEvaluate(a[0], a[1], a[2], a[3])), Outcome(once)) << text;
                numValues += static_cast<bool>(once);
            }
    }
    EXPECT_GT(numValues, 5000);
}

TEST(Scalars, AssignToVariablesAsTheGeneralFormDoes)
{
    Writer writer(7);
    for (std::size_t n = 0; n < 2000; ++n)
    {
        static constexpr const char* targets[] = {"f",     "i",          "j",        "k",
                                                  "n",     "u",          "b",        "box.width",
                                                  "t",     "sf",         "half",     "box.parts[1].weight",
                                                  "f + 1", "numbers[0]", "box.small"};
        static constexpr const char* operators[] = {" = ", " += ", " -= ", " *= ", " = "};
        const std::string text = targets[n % std::size(targets)] + std::string(operators[n % std::size(operators)]) +
                                 writer.Expression(static_cast<int>(n % 3));
        World first;
        World second;
        const auto outcome = [](const Result<Value>& result, World& world)
        {
            return Outcome(result) + " " +
                   Outcome(TryEvaluate("string(f) + string(i) + string(j) + string(k) + string(n) + string(u) + t + "
                                       "string(box.width) + string(box.parts[1].weight) + string(numbers[0])",
                                       world.m_scope));
        };
        const std::vector<Value> arguments = {1.25, 3, true, 2};
        const Expression kept(text, first.m_scope, {"p", "q", "r", "o"});
        for (int round = 0; round < 2; ++round)
            ASSERT_EQ(outcome(kept.TryEvaluate(arguments[0], arguments[1], arguments[2], arguments[3]), first),
                      outcome(Once(text, second, arguments), second))
                << text;
    }
}

TEST(Scalars, VariablesAreSeenAsTheyAre)
{
    double x = 1;
    std::int64_t n = 2;
    std::vector<double> list = {1, 2, 3};
    Scope scope;
    scope.Bind("x", x).Bind("n", n).Bind("list", list).Set("s", 1.5);
    const Expression kept("x * 2 + n + list[n] + s", scope);
    EXPECT_EQ(kept.Evaluate<double>(), 8.5);
    x = 10;
    n = 0;
    list = {100};
    scope.Set("s", 2.5); // a number in place of another
    EXPECT_EQ(kept.Evaluate<double>(), 122.5);
    n = 1;
    EXPECT_EQ(kept.TryEvaluate<double>().GetError().GetKind(), ErrorKind::Range);
    EXPECT_EQ(kept.TryEvaluate<double>().GetError().GetColumn(), 19);
}

TEST(Scalars, NamesMayStandForSomethingElseLater)
{
    double x = 1;
    int i = 20;
    std::string text = "abc";
    Scope scope;
    scope.Bind("x", x);
    scope.Define("f", [](double a) { return a + 1; });
    const Expression kept("f(x) + x", scope);
    for (int round = 0; round < 20; ++round) // more often than there are typed forms
    {
        scope.Bind("x", x);
        scope.Define("f", [](double a) { return a + 1; });
        EXPECT_EQ(kept.Evaluate<double>(), 3.0);
        scope.Bind("x", i);
        EXPECT_EQ(kept.Evaluate<double>(), 41.0);
        scope.Define("f", [](int a) { return std::to_string(a); });
        EXPECT_EQ(kept.TryEvaluate().GetError().GetMessage(), "Incompatible types (string and int64) for + operation");
        scope.Bind("x", text).Define("f", [](std::string_view a) { return a; });
        EXPECT_EQ(kept.Evaluate<std::string>(), "abcabc");
        scope.Set("f", 1);
        EXPECT_EQ(kept.TryEvaluate().GetError().GetMessage(), "f is not a function");
    }
    Scope other;
    other.Set("x", 5).Define("f", [](const Value& v) { return v; });
    EXPECT_EQ(kept.Evaluate<int>(other), 10);
    scope = std::move(other);
    EXPECT_EQ(kept.Evaluate<int>(), 10);
}

// A function that changes what names stand for, at every place in an expression.
TEST(Scalars, NamesMayChangeDuringAnEvaluation)
{
    struct Changing
    {
        Changing()
        {
            m_scope.Bind("x", m_x).Bind("list", m_list).Define("id", [](double a) { return a; });
            m_scope.Define("change", [this](double a) { return Change(), a; });
            m_scope.Define("text", [this] { return Change(), std::string("t"); });
        }
        void Change()
        {
            if (++m_calls % 2 == 0)
                m_scope.Bind("x", m_text);
            else
                m_scope.Bind("x", m_i).Define("id", [](int a) { return a + 1000; });
        }

        double m_x = 1.5;
        int m_i = 70;
        std::string m_text = "changed";
        std::vector<double> m_list = {1, 2, 3};
        int m_calls = 0;
        Scope m_scope;
    };
    for (const char* text : {"x + change(1.0) + x",
                             "change(x) * (x + 2)",
                             "x * (change(2.0) - x)",
                             "id(x) + change(1.0) + id(x)",
                             "x < 2 && change(1.0) == 1 && x > 2",
                             "x > 2 || change(1.0) > 0 ? x : 5",
                             "text() == 't' ? x : 0",
                             "sum(list, e, e * change(1.0) + id(0))",
                             "list[change(1.0)] + x",
                             "id(change(1.0)) + x",
                             "id(id(change(x)) + x) * id(1)",
                             "min(x, change(4.0)) + x",
                             "change(change(1.0)) == 1 ? x : x",
                             "has(list[change(0.0)]) ? x : 1",
                             "has(list[change(0.0) + 7])",
                             "x + x * 2 > 0 && has(list[change(0.0) + 7])",
                             "(x + x + x + x) * 2 == 0 || has(list[change(0.0) + 7]) ? 11 : 22",
                             "-(x + change(2.0)) * -x",
                             "x = change(3.0)",
                             "change(1.0) + (x = 4)"})
    {
        Changing once;
        Changing kept;
        const std::string expected = Outcome(TryEvaluate(text, once.m_scope));
        EXPECT_EQ(Outcome(Expression(text, kept.m_scope).TryEvaluate()), expected) << text;
        EXPECT_EQ(kept.m_calls, once.m_calls) << text;
        EXPECT_EQ(kept.m_i, once.m_i) << text;
    }
}

TEST(Scalars, FunctionsGiveWhatIsNoRegister)
{
    Box box;
    Scope scope;
    scope.Bind("box", box);
    scope.Define("size", [](const Box& x) { return x.parts.size(); });
    scope.Define("letter", [] { return 'a'; });
    scope.Define("vast", [] { return 18446744073709551615U; });
    for (const char* text : {"box.count + size(box) * 2", "size(box)", "letter()", "letter() + 'x'", "1 + vast()"})
        EXPECT_EQ(Outcome(Expression(text, scope).TryEvaluate()), Outcome(TryEvaluate(text, scope))) << text;
}

// What a name stands for in another scope, or since: a function of the library, a member of the scope's object, a name
// of an outer scope, or of this one.
TEST(Scalars, KeptOnesFollowWhatNamesStandFor)
{
    Part part;
    double weight = 100;
    double x = 1;
    double y = 2;
    for (const char* text : {"min(1, 2) + weight", "weight = 8", "weight + x", "x + min(x, 2)", "weight"})
    {
        using Change = void (*)(Scope&, Part&, double&, double&);
        for (const Change change :
             std::initializer_list<Change>{[](Scope&s, Part&, double&, double&)
                                           { s.Define("min", [](int, int) { return 50; }); },
                                           [](Scope&s, Part&p, double&, double&) { s.BindMembers(p); },
                                           [](Scope&s, Part&, double&w, double&) { s.Bind("weight", w); },
                                           [](Scope&s, Part&, double&, double&b) { s.Bind("x", b); }})
        {
            Scope outer;
            outer.Bind("weight", weight).Bind("x", x);
            Scope scope(&outer);
            const Expression kept(text, scope);
            EXPECT_TRUE(kept.TryEvaluate()) << text;
            for (int round = 0; round < 12; ++round)
            {
                Scope other(&outer);
                change(other, part, weight, y);
                EXPECT_EQ(Outcome(kept.TryEvaluate(other)), Outcome(TryEvaluate(text, other))) << text;
            }
            change(scope, part, weight, y);
            EXPECT_EQ(Outcome(kept.TryEvaluate()), Outcome(TryEvaluate(text, scope))) << text;
        }
    }
}

TEST(Scalars, TextsThatWaitForACallStayWhatTheyWere)
{
    const std::string before(100, 'a');
    std::string x = before;
    Scope scope;
    scope.Bind("x", x).Define("change", [&x] { return x = std::string(1000, 'b'); });
    scope.Define("turn", [&x](double y) { return x.assign(1000, 'b'), y; });
    for (const char* text : {"x + change()", "string(turn(1.0)) + x", "x + string(turn(2.0))"})
    {
        x = before;
        const std::string once = Evaluate<std::string>(text, scope);
        x = before;
        EXPECT_EQ(Expression(text, scope).Evaluate<std::string>(), once) << text;
    }
    x = before;
    EXPECT_EQ(Evaluate<std::string>("x + change()", scope), before + std::string(1000, 'b'));
}

TEST(Scalars, PlacesHoldWhatTheyLieIn)
{
    Scope scope;
    for (const char* text : {"p", "p.part", "p.parts[0]", "p.parts"})
    {
        const Expression kept(text, scope, {"p"});
        Value result;
        for (int round = 0; round < 2; ++round)
        {
            const Value value{Box()};
            result = kept.Evaluate(value);
        }
        EXPECT_NE(result.ToText(), "") << text;
    }
    scope.BindMembers(Value(Box()));
    const Expression kept("parts[0]", scope);
    const Value result = kept.Evaluate();
    scope.BindMembers(Value(Box()));
    EXPECT_NE(result.ToText(), "");
}

TEST(Scalars, ExpressionsEvaluateThemselves)
{
    int depth = 0;
    Scope scope;
    const Expression* self = nullptr;
    scope.Define("again", [&](double x) { return ++depth < 50 ? self->Evaluate<double>(x + 1) : x; });
    const Expression kept("again(x) + x * 2", scope, {"x"});
    self = &kept;
    double expected = 49;
    for (int x = 49; x >= 0; --x)
        expected += 2 * x;
    EXPECT_EQ(kept.Evaluate<double>(0.0), expected);
}

// Whoever asks for an integer or a bool gets what a text gives that is evaluated once.
template <class T>
std::string ResultOf(const std::function<T()>& evaluate)
{
    try
    {
        if constexpr (std::is_arithmetic_v<T>)
            return std::to_string(evaluate());
        else
            return evaluate();
    }
    catch (const Error& e)
    {
        return std::to_string(static_cast<int>(e.GetKind())) + " " + std::to_string(e.GetColumn()) + " " +
               e.GetMessage();
    }
}

template <class T>
void CheckResults(const std::string& text)
{
    double x = 2.5;
    int n = 300;
    std::int64_t least = std::numeric_limits<std::int64_t>::min();
    std::uint64_t huge = std::numeric_limits<std::uint64_t>::max();
    bool isTrue = true;
    std::string word = "word";
    const auto bind = [&](Scope& scope)
    {
        scope.Bind("x", x).Bind("n", n).Bind("least", least).Bind("huge", huge).Bind("b", isTrue).Bind("t", word);
        scope.Define("change", [&scope, &x](int y) { return scope.Bind("n", x), y; });
        scope.Define("fail", [](int y) { return y > 0 ? throw Error({.m_message = "thrown"}) : y; });
    };
    const auto outcome = [&](const auto& evaluate)
    {
        Scope scope;
        Scope other;
        Scope inner(&scope);
        bind(scope);
        bind(other);
        return ResultOf<T>([&]() -> T { return evaluate(scope, other, inner); });
    };
    using S = const Scope&;
    const std::string expected = outcome([&](S scope, S, S) { return Evaluate<T>(text, scope); });
    EXPECT_EQ(outcome([&](S scope, S, S) { return Expression(text, scope).Evaluate<T>(); }), expected) << text;
    EXPECT_EQ(outcome([&](S scope, S other, S) { return Expression(text, scope).Evaluate<T>(other); }), expected)
        << text;
    EXPECT_EQ(outcome([&](S, S, S inner) { return Expression(text, inner).Evaluate<T>(); }), expected) << text;
    EXPECT_EQ(outcome([&](S scope, S, S) { return Expression(text, scope, {"p"}).Evaluate<T>(1); }), expected) << text;
    EXPECT_EQ(outcome([&](S scope, S, S) { return *Expression(text, scope).TryEvaluate<T>(); }), expected) << text;
    EXPECT_EQ(outcome(
                  [&](S scope, S other, S)
                  {
                      const Expression kept(text, scope);
                      static_cast<void>(kept.TryEvaluate(other));
                      static_cast<void>(kept.TryEvaluate<T>(scope));
                      return kept.Evaluate<T>(other);
                  }),
              text.find("change") == std::string::npos ? expected
                                                       : outcome(
                                                             [&](S, S other, S)
                                                             {
                                                                 static_cast<void>(TryEvaluate(text, other));
                                                                 return Evaluate<T>(text, other);
                                                             }))
        << text;
}

TEST(Scalars, GiveEveryTypeThatIsAskedFor)
{
    for (const char* text : {"n",
                             "n * 2",
                             "n - 300",
                             "n > 2",
                             "b",
                             "b && n > 2",
                             "x",
                             "x * 2",
                             "x + 0.25",
                             "least",
                             "least - 1",
                             "huge",
                             "t",
                             "t + t",
                             "n / (n - 300)",
                             "change(3) + n",
                             "change(3) * 2",
                             "change(3) > n",
                             "fail(n)",
                             "fail(0) + n",
                             "b ? n : x",
                             "b ? n : n + 1",
                             "3",
                             "true",
                             "1e300",
                             "len(t)",
                             "-n",
                             "~n",
                             "!b",
                             "round(x)",
                             "n < x"})
    {
        CheckResults<std::int8_t>(text);
        CheckResults<std::uint8_t>(text);
        CheckResults<int>(text);
        CheckResults<std::int64_t>(text);
        CheckResults<std::uint64_t>(text);
        CheckResults<bool>(text);
        CheckResults<float>(text);
        CheckResults<double>(text);
        CheckResults<std::string>(text);
    }
}

TEST(Scalars, WhatFunctionsThrowPassesThrough)
{
    double x = 1;
    Scope scope;
    scope.Bind("x", x).Set("s", "a text that is too long to lie in a value itself");
    scope.Define("f", [](double a) -> double { throw std::out_of_range(std::to_string(a)); });
    scope.Define("g", [](const Value&, const Value&) -> double { throw std::out_of_range("g"); });
    for (const char* text : {"f(x)", "x + f(x * 2)", "s + s == s ? f(x) : f(x)", "g(s + s, x + f(x))", "g(s + s, x)",
                             "1 + (2 + (3 + f(4)))", "f(f(x))"})
    {
        const Expression kept(text, scope);
        for (int round = 0; round < 2; ++round)
            EXPECT_THROW(kept.Evaluate(), std::out_of_range) << text;
    }
}

} // namespace

} // namespace kelm
