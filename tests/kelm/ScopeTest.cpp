#include <kelm/Expression.h>
#include <kelm/Scope.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace kelm
{

namespace
{

TEST(Scope, VariablesAreSeenAsTheyAreThenAndAssigned)
{
    double price = 2.5;
    int quantity = 4;
    const double vat = 0.5;
    std::string name = "tea";
    bool isOpen = true;
    unsigned char small = 200;
    float ratio = 0.5F;
    Scope scope;
    scope.Bind("price", price).Bind("quantity", quantity).Bind("vat", vat).Bind("name", name).Bind("open", isOpen);
    scope.Bind("small", small).Bind("ratio", ratio);
    scope.Set("limit", 100).Set("greeting", "hello");

    EXPECT_EQ(Evaluate<double>("price * quantity * (1 + vat)", scope), 15.0);
    price = 3.0;
    EXPECT_EQ(Evaluate<double>("price * quantity", scope), 12.0);
    EXPECT_EQ(Evaluate<std::string>("greeting + ' ' + name", scope), "hello tea");
    EXPECT_TRUE(Evaluate<bool>("open && small == 200 && ratio == 0.5 && limit > quantity", scope));

    Evaluate("quantity = 7", scope);
    EXPECT_EQ(quantity, 7);
    Evaluate("price += quantity", scope);
    EXPECT_EQ(price, 10.0);
    Evaluate("name += '!'", scope);
    EXPECT_EQ(name, "tea!");
    Evaluate("small = small / 2.0", scope);
    EXPECT_EQ(small, 100);
    Evaluate("open = !open", scope);
    EXPECT_FALSE(isOpen);
}

struct FailingRow
{
    const char* m_text;
    ErrorKind m_kind;
    int m_column;
    const char* m_message;
};

TEST(Scope, RefusesWithKindAndPlaceAndChangesNothing)
{
    signed char small = 5;
    const int fixed = 1;
    double price = 1.5;
    float narrow = 1.0F;
    std::uint64_t huge = std::numeric_limits<std::uint64_t>::max();
    Scope scope;
    scope.Bind("small", small).Bind("fixed", fixed).Bind("price", price).Bind("narrow", narrow).Bind("huge", huge);
    scope.Set("limit", 3);
    scope.Define("twice", [](int x) { return 2 * x; });
    scope.Define("join", [](std::string_view a, const std::string& b) { return std::string(a) + b; });
    scope.Define("vast", [huge] { return huge; });
    constexpr FailingRow rows[] = {
        {"small = 128", ErrorKind::Range, 7, "Value 128 is out of range of int8"},
        {"small = 1.5", ErrorKind::Type, 7, "No implicit conversion from value 1.5 to int8"},
        {"small = 'a'", ErrorKind::Type, 7, "No implicit conversion from value a to int8"},
        {"small = true", ErrorKind::Type, 7, "No implicit conversion from value true to int8"},
        {"fixed = 2", ErrorKind::Type, 7, "Can't assign to fixed, which is const"},
        {"limit = 2", ErrorKind::Type, 7, "Can't assign to limit, which is no variable"},
        {"narrow = 1e300", ErrorKind::Range, 8, "Value 1e+300 is out of range of float32"},
        {"huge + 1", ErrorKind::Range, 1, "Value 18446744073709551615 is out of range of int64"},
        {"prise + 1", ErrorKind::Name, 1, "Unknown name prise"},
        {"twice", ErrorKind::Type, 1, "twice is a function"},
        {"1 + price(2)", ErrorKind::Type, 5, "price is not a function"},
        {"twice()", ErrorKind::Call, 1, "twice() takes 1 argument, not 0"},
        {"1 + twice(1, 2)", ErrorKind::Call, 5, "twice() takes 1 argument, not 2"},
        {"twice( 1.5)", ErrorKind::Type, 8, "twice(), argument 1: No implicit conversion from value 1.5 to int32"},
        {"join('a', join('b', 3 + 4))", ErrorKind::Type, 21,
         "join(), argument 2: No implicit conversion from value 7 to string"},
        {"1 + vast()", ErrorKind::Range, 5, "vast(): Value 18446744073709551615 is out of range of int64"},
        {"true ? 1 : twice(1, 2)", ErrorKind::Call, 12, "twice() takes 1 argument, not 2"},
    };
    for (const FailingRow& row : rows)
    {
        const Result<Value> result = TryEvaluate(row.m_text, scope);
        ASSERT_FALSE(result) << row.m_text;
        EXPECT_EQ(result.GetError().GetKind(), row.m_kind) << row.m_text;
        EXPECT_EQ(result.GetError().GetColumn(), row.m_column) << row.m_text;
        EXPECT_EQ(result.GetError().GetMessage(), row.m_message);
    }
    EXPECT_EQ(small, 5);
    EXPECT_EQ(narrow, 1.0F);
    EXPECT_STREQ(TryEvaluate("prise + 1", scope).GetError().what(),
                 "<text>:1:1: error: Unknown name prise; did you mean price?\nprise + 1\n^~~~~");
}

double Half(double x)
{
    return x / 2;
}

TEST(Scope, FunctionsOfEverySignature)
{
    int calls = 0;
    Scope scope;
    scope.Define("half", Half);
    scope.Define("add", [](int a, double b) { return a + b; });
    scope.Define("note", [&calls] { ++calls; });
    scope.Define("negate", [](bool x) { return !x; });
    scope.Define("size", [](std::string_view text) { return text.size() + 0u; });
    scope.Define("same", [](const Value& v) { return v; });
    scope.Define("number", [](std::span<const Value> values) { return static_cast<int>(values.size()); });
    scope.Define("first", [](const std::string& separator, std::span<const Value> values)
                 { return separator + values[0].As<std::string>(); });
    scope.Define("literal", [] { return "text"; });
    scope.Define("counter", [n = 0]() mutable { return ++n; });

    EXPECT_EQ(Evaluate<double>("half(3) + half(1.0)", scope), 2.0);
    EXPECT_EQ(Evaluate<double>("add(1, 2.5)", scope), 3.5);
    EXPECT_EQ(Evaluate("note()", scope).GetKind(), Value::Kind::None);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(Evaluate<int>("negate(false) && false || true ? size('four') : 0", scope), 4);
    EXPECT_EQ(Evaluate<std::string>("same('a' + 'b')", scope), "ab");
    EXPECT_EQ(Evaluate<int>("number() + number(1) + number(1, 'a', true)", scope), 4);
    EXPECT_EQ(Evaluate<std::string>("first('>', literal(), 2)", scope), ">text");

    // Variables are numbers and texts for whoever takes values.
    const std::string name = "roof";
    const int floors = 3;
    scope.Bind("name", name).Bind("floors", floors);
    scope.Define("kind", [](const Value& v) { return static_cast<int>(v.GetKind()); });
    scope.Define("joined",
                 [](std::span<const Value> values)
                 {
                     std::string all;
                     for (const Value& v : values)
                         all += v.ToText();
                     return all;
                 });
    EXPECT_EQ(Evaluate<std::string>("joined(name, ':', floors, 'a' + name)", scope), "roof:3aroof");
    EXPECT_EQ(Evaluate<int>("kind(name) * 10 + kind(floors)", scope),
              static_cast<int>(Value::Kind::Text) * 10 + static_cast<int>(Value::Kind::Integer));
    EXPECT_EQ(Evaluate<int>("counter() * 10 + counter()", scope), 12);
    EXPECT_EQ(Evaluate<bool>("false && negate(true)", scope), false);
}

TEST(Scope, WhatAFunctionThrowsPassesThrough)
{
    struct OfTheProgram
    {
    };
    Scope scope;
    scope.Define("fail", []() -> int { throw OfTheProgram(); });
    scope.Define("fault", [](int) -> int { throw Error({.m_kind = ErrorKind::File, .m_message = "mine"}); });
    EXPECT_THROW(Evaluate("'a' + 'b' == string(fail())", scope), OfTheProgram);
    EXPECT_THROW(static_cast<void>(TryEvaluate("1 + fail()", scope)), OfTheProgram);
    try
    {
        static_cast<void>(Expression("fault(1)", scope).TryEvaluate());
        FAIL();
    }
    catch (const Error& e)
    {
        EXPECT_EQ(e.GetKind(), ErrorKind::File);
        EXPECT_EQ(e.GetLine(), 0);
    }
}

TEST(Scope, NamesAreCheckedHiddenAndReplaced)
{
    Scope outer;
    outer.Set("a", 1).Set("b", 2);
    Scope inner(&outer);
    inner.Set("b", 20).Set("min", 5);
    EXPECT_EQ(Evaluate<int>("a + b + min", inner), 26);
    EXPECT_EQ(Evaluate<int>("min(a, b)", outer), 1);
    inner.Set("b", 30);
    EXPECT_EQ(Evaluate<int>("b", inner), 30);
    EXPECT_STREQ(TryEvaluate("Sin(1)", inner).GetError().what(),
                 "<text>:1:1: error: Unknown name Sin; did you mean sin or min?\nSin(1)\n^~~");
    for (const char* name : {"", "1a", "a b", "a.b", "true", "len", "sin", " a"})
        EXPECT_THROW(inner.Set(name, 1), Error) << name;

    Scope moved(std::move(inner));
    EXPECT_EQ(Evaluate<int>("a + b", moved), 31);
    for (int i = 0; i < 1000; ++i)
        moved.Set("name" + std::to_string(i), i);
    EXPECT_EQ(Evaluate<int>("name0 + name500 + name999", moved), 1499);
}

TEST(Scope, MayHoldNothingUnderAName)
{
    Scope scope;
    scope.Set("none", Value());
    for (const Language language : {Language::Exact, Language::Natural})
        EXPECT_STREQ(TryEvaluate("string(none)", scope, language).GetError().what(),
                     "<text>:1:8: error: No implicit conversion from value void to string8\nstring(none)\n       ^~~~");
}

TEST(Scope, HasNoNamesOnceItIsMovedFrom)
{
    const auto message = [](const Scope& scope) { return TryEvaluate("a", scope).GetError().GetMessage(); };
    double variable = 0.5;
    const std::function<void(Scope&)> changes[] = {
        [](Scope& scope) { scope.Set("a", 2); },
        [&](Scope& scope) { scope.Bind("a", variable); },
        [](Scope& scope) { scope.Define("a", [] { return 2; }); },
        [](Scope& scope) { scope.Define("a", &std::string::size); },
        [](Scope& scope) { scope.Resolve([](std::string_view) { return std::optional<Value>(2); }); },
        [](Scope& scope) { scope = Scope().Set("a", 2); },
    };
    for (const auto& change : changes)
    {
        Scope scope;
        scope.Set("a", 1);
        const Expression expression("a", scope);
        Scope other(std::move(scope));
        EXPECT_EQ(message(scope), "Unknown name a"); // NOLINT
        EXPECT_EQ(TryEvaluate<int>("min(3, 2)", scope).operator*(), 2);
        EXPECT_FALSE(expression.TryEvaluate());
        EXPECT_EQ(expression.Evaluate<int>(other), 1);
        EXPECT_EQ(message(Scope(&scope)), "Unknown name a");

        Scope further(std::move(scope)); // of one that has none
        EXPECT_EQ(message(further), "Unknown name a");
        change(further);
        EXPECT_EQ(message(scope), "Unknown name a");
        scope = std::move(further);
        EXPECT_EQ(message(further), "Unknown name a");
        further = std::move(other);
        EXPECT_EQ(Evaluate<int>("a", further), 1);
        scope = std::move(other); // which has none
        EXPECT_EQ(message(other), "Unknown name a");
    }
    Scope scope;
    scope.Set("a", 1);
    Scope& same = scope;
    scope = std::move(same);
    EXPECT_EQ(Evaluate<int>("a", scope), 1);

    // By a function of its own, which stays for as long as it runs.
    Scope gone;
    static_cast<void>(Scope(std::move(gone)));
    const std::string text(100, 'x');
    scope.Define("empty",
                 [&, text]
                 {
                     scope = std::move(gone);
                     return text;
                 });
    EXPECT_EQ(Evaluate<std::string>("empty()", scope), text);
    EXPECT_EQ(message(scope), "Unknown name a");
}

TEST(Scope, AResolverIsAskedForWhatNothingBinds)
{
    int asked = 0;
    Scope scope;
    scope.Set("known", 1);
    scope.Resolve(
        [&asked](std::string_view name) -> std::optional<Value>
        {
            ++asked;
            if (name == "dynamic")
                return Value(41 + asked);
            return std::nullopt;
        });
    EXPECT_EQ(Evaluate<int>("known", scope), 1);
    EXPECT_EQ(asked, 0);
    const Expression expression("known + dynamic", scope);
    EXPECT_EQ(asked, 0);
    EXPECT_EQ(expression.Evaluate<int>(), 43);
    EXPECT_EQ(expression.Evaluate<int>(), 44);
    EXPECT_EQ(Evaluate<int>("true ? 1 : missing", scope), 1);
    const Result<int> result = TryEvaluate<int>("1 + missing", scope);
    EXPECT_EQ(result.GetError().GetKind(), ErrorKind::Name);
    EXPECT_EQ(result.GetError().GetColumn(), 5);
}

TEST(Expression, TellsItsNamesAndTakesParametersAndOtherScopes)
{
    EXPECT_EQ(Expression("b + a * b - max(sin(c), 1)").GetNames(), (std::vector<std::string>{"b", "a", "c"}));

    double rate = 2.0;
    Scope scope;
    scope.Bind("rate", rate);
    const Expression expression("x * rate + y", scope, {"x", "y"});
    EXPECT_EQ(expression.GetNames(), (std::vector<std::string>{"rate"}));
    EXPECT_EQ(expression.Evaluate<double>(3, 0.5), 6.5);
    rate = 10.0;
    EXPECT_EQ(expression.Evaluate<double>(3, 1), 31.0);
    Scope other;
    other.Set("rate", 100);
    EXPECT_EQ(expression.Evaluate<int>(other, 3, 1), 301);
    EXPECT_EQ(expression.TryEvaluate<int>(1).GetError().GetKind(), ErrorKind::Call);
    EXPECT_EQ(expression.TryEvaluate<int>(Scope(), 1, 2).GetError().GetKind(), ErrorKind::Name);
    EXPECT_EQ(Expression("text + '!'", scope, {"text"}).Evaluate<std::string>("hi"), "hi!");
    EXPECT_THROW(Expression("x", scope, {"x", "x"}), Error);
    EXPECT_THROW(Expression("1", scope, {"len"}), Error);
    EXPECT_THROW(Expression("unknown", scope), Error);
}

TEST(Value, ConvertsByTheTable)
{
    EXPECT_EQ(Value(3).As<int>(), 3);
    EXPECT_EQ(Value(3.0).As<int>(), 3);
    EXPECT_EQ(Value(3).As<double>(), 3.0);
    EXPECT_EQ(Value("a").As<std::string>(), "a");
    EXPECT_EQ(Value(true).As<bool>(), true);
    EXPECT_EQ(Value(18446744073709549568.0).As<std::uint64_t>(), 18446744073709549568u);
    const auto kindOf = [](auto as)
    {
        try
        {
            as();
        }
        catch (const Error& e)
        {
            return e.GetKind();
        }
        return ErrorKind::Internal;
    };
    EXPECT_EQ(kindOf([] { return Value(3.5).As<int>(); }), ErrorKind::Type);
    EXPECT_EQ(kindOf([] { return Value(300).As<std::uint8_t>(); }), ErrorKind::Range);
    EXPECT_EQ(kindOf([] { return Value(-1).As<std::uint64_t>(); }), ErrorKind::Range);
    EXPECT_EQ(kindOf([] { return Value(1e300).As<float>(); }), ErrorKind::Range);
    EXPECT_EQ(kindOf([] { return Value("1").As<int>(); }), ErrorKind::Type);
    EXPECT_EQ(kindOf([] { return Value(true).As<int>(); }), ErrorKind::Type);
    EXPECT_EQ(kindOf([] { return Value(1).As<bool>(); }), ErrorKind::Type);
    EXPECT_EQ(kindOf([] { return Value(1).As<std::string>(); }), ErrorKind::Type);
    EXPECT_EQ(kindOf([] { return Value(std::numeric_limits<std::uint64_t>::max()).As<int>(); }), ErrorKind::Range);
    EXPECT_EQ(kindOf([] { return Value().As<double>(); }), ErrorKind::Type);
}

TEST(Scope, IsMadeInOneExpression)
{
    double rate = 3;
    const Scope outer = Scope().Bind("rate", rate).Set("two", 2);
    const Scope scope = Scope(&outer)
                            .Define("twice", [](double x) { return 2 * x; })
                            .Resolve([](std::string_view) -> std::optional<Value> { return 100; });
    rate = 4;
    EXPECT_EQ(Evaluate<double>("twice(rate) + two + other", scope), 110.0);
    EXPECT_EQ(Evaluate<double>("rate + x", Scope(&outer).Set("x", 1)), 5.0);
}

} // namespace

} // namespace kelm
