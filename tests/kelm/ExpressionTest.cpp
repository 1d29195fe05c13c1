#include <kelm/Expression.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace kelm
{

namespace
{

// A value as a row shows it: its kind and its text.
std::string Shown(const Value& value)
{
    constexpr const char* kinds[] = {"none", "bool", "int", "float", "text", "object"};
    return std::string(kinds[static_cast<int>(value.GetKind())]) +
           (value.GetKind() == Value::Kind::None ? "" : " " + value.ToText());
}

const char* Shown(ErrorKind kind)
{
    constexpr const char* kinds[] = {"Syntax",     "Name", "Type", "Range",   "Check",
                                     "Arithmetic", "Call", "File", "Internal"};
    return kinds[static_cast<int>(kind)];
}

std::string Shown(const Error& error)
{
    return std::string(Shown(error.GetKind())) + " " + std::to_string(error.GetLine()) + ":" +
           std::to_string(error.GetColumn()) + ": " + error.GetMessage();
}

// What an expression gives, or its error: from the text, kept, and by the twins, which must agree.
std::string Outcome(const std::string& text, const Scope& scope, Language language = Language::Natural)
{
    std::string outcome;
    const auto agree = [&](const std::string& other)
    {
        if (outcome.empty())
            outcome = other;
        else
            EXPECT_EQ(other, outcome) << text;
    };
    const auto of = [](auto evaluate)
    {
        try
        {
            return Shown(evaluate());
        }
        catch (const Error& e)
        {
            return Shown(e);
        }
    };
    agree(of([&] { return Evaluate(text, scope, language); }));
    agree(of([&] { return Expression(text, scope, {}, language).Evaluate(); }));
    const Result<Value> result = TryEvaluate(text, scope, language);
    agree(result ? Shown(*result) : Shown(result.GetError()));
    agree(of(
        [&]
        {
            const Result<Value> kept = Expression(text, scope, {}, language).TryEvaluate(scope);
            return *kept;
        }));
    return outcome;
}

struct Row
{
    const char* m_text;
    const char* m_outcome;
};

// --- The natural language --------------------------------------------------------------------------------------------

TEST(NaturalLanguage, KeepsFloatsAndEvaluatesWhatItNeeds)
{
    constexpr Row rows[] = {
        {"1 + 2 * 3", "int 7"},
        {"(2.0 + 3.0) / 2", "float 2.5"},
        {"-2.0 / 4", "float -0.5"},
        {"+2.0", "float 2.0"},
        {"7 / 2", "int 3"},
        {"7 / 2.0", "float 3.5"},
        {"7 % 4", "int 3"},
        {"7.5 % 2", "float 1.5"},
        {"-7 % 4", "int -3"},
        {"2 ^^ 10", "int 1024"},
        {"2.0 ^^ 3", "float 8.0"},
        {"1 << 4 | 1", "int 17"},
        {"~0", "int -1"},
        {"!true", "bool false"},
        {"1 < 2", "bool true"},
        {"1 == 1.0", "bool true"},
        {"9007199254740993 == 9007199254740992.0", "bool false"},
        {"1.5 >= 1", "bool true"},
        {"'abc' < 'abd'", "bool true"},
        {"'ab' + 'cd' == 'abcd'", "bool true"},
        {"'a' + 'b' + ('c' + 'd')", "text abcd"},
        {"true == false", "bool false"},
        {"sin(0)", "float 0.0"},
        {"int(2.7)", "int 2"},
        {"string(1.5) + 'x'", "text 1.5x"},
        {"len('abc')", "int 3"},
        {"'abc'[1]", "text b"},
        {"true ? 2.0 : 'x'", "float 2.0"},
        {"false ? 1 / 0 : 3", "int 3"},
        {"false && 1 / 0 > 1", "bool false"},
        {"true || 1", "bool true"},
        {"false || true && false", "bool false"},
        {"1 < 2 && 2 < 3 ? 'yes' : 'no'", "text yes"},
        {"is_int(1) && is_double(1.0) && is_string('') && is_bool(true)", "bool true"},
        {"0x10 + 1", "int 17"},
        {"9223372036854775807 + 1", "int -9223372036854775808"},
        {"- 5", "int -5"},
        {"--5", "Syntax 1:1: Unexpected -- after start of text in expression"},
        {"'a\\n' + \"b\"", "text a\nb"},
        {"min(3, 1, 2)", "int 1"},
        {"min(3, 1.5)", "float 1.5"},
        {"max(1, 2.5)", "float 2.5"},
        {"abs(-3) + abs(-1.5)", "float 4.5"},
        {"floor(2.5) + ceil(2.5) + round(2.5)", "float 8.0"},
        {"floor(2)", "float 2.0"},
        {"sqrt(16)", "float 4.0"},
        {"pow(2, 3)", "float 8.0"},
        {"clamp(5, 0, 3)", "int 3"},
        {"contains('hello', 'ell') && starts_with('abc', 'ab') && !ends_with('abc', 'ab')", "bool true"},
        {"upper('aBc') + lower('AbC') + trim('  x ')", "text ABCabcx"},
        {"max(1, 2,)", "int 2"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Outcome(row.m_text, Scope()), row.m_outcome) << row.m_text;
}

TEST(NaturalLanguage, TellsOfErrorsWhereTheyAre)
{
    constexpr Row rows[] = {
        {"", "Syntax 1:1: Unexpected end of text after start of text in expression"},
        {"1 +", "Syntax 1:4: Unexpected end of text after + in expression"},
        {"1 2", "Syntax 1:3: Unexpected 2 after 1 in expression"},
        {"(1", "Syntax 1:3: Expected ) when read end of text"},
        {"1 / 0", "Arithmetic 1:3: Division by zero error"},
        {"1.0 / 0", "Arithmetic 1:5: Division by zero"},
        {"1 % 0", "Arithmetic 1:3: Modulo zero error"},
        {"1.5 % 0", "Arithmetic 1:5: Modulo zero error"},
        {"(-9223372036854775807 - 1) / -1", "Arithmetic 1:28: Division overflow error"},
        {"(-9223372036854775807 - 1) % -1", "Arithmetic 1:28: Division overflow error"},
        {"0 ^^ -1", "Arithmetic 1:3: Calculation 0.0 ^^ -1.0 ill defined"},
        {"log(0)", "Arithmetic 1:5: Can't take log of value 0.0"},
        {"sqrt(-1)", "Arithmetic 1:6: Can't take sqrt of value -1"},
        {"1 + 'a'", "Type 1:3: Incompatible types (int64 and string) for + operation"},
        {"2.0 & 1", "Type 1:5: Incompatible types (float64 and int64) for & operation"},
        {"~1.0", "Type 1:1: Incompatible type (float64) for unary ~ operation"},
        {"-'a'", "Type 1:1: Incompatible type (string) for unary - operation"},
        {"!1", "Type 1:1: No implicit conversion from value 1 to bool"},
        {"1 && true", "Type 1:3: No implicit conversion from value 1 to bool"},
        {"true && 1", "Type 1:6: No implicit conversion from value 1 to bool"},
        {"1 ? 2 : 3", "Type 1:3: No implicit conversion from value 1 to bool"},
        {"'abc'[3]", "Range 1:8: Index 3 out of range [0,3) on string"},
        {"'abc'[1.0]", "Type 1:10: No implicit conversion from value 1.0 to int64"},
        {"5[0]", "Type 1:4: [] not available on int64"},
        {"len(5)", "Type 1:5: len() not available on int64"},
        {"(1).x", "Type 1:5: . not available on int64"},
        {"x", "Name 1:1: Unknown name x"},
        {"1 + x", "Name 1:5: Unknown name x"},
        {"f(1)", "Name 1:1: Unknown name f"},
        {"false && nothing", "Name 1:10: Unknown name nothing"},
        {"1 / 0 + )", "Syntax 1:9: Unexpected ) after + in expression"},
        {"clamp(1)", "Call 1:1: clamp() takes 3 arguments, not 1"},
        {"min()", "Call 1:1: min() takes at least 1 argument, not 0"},
        {"sin()", "Call 1:1: sin() takes 1 argument, not 0"},
        {"1 + sin(1, 2)", "Call 1:5: sin() takes 1 argument, not 2"},
        {"len('a', 'b', 'c',)", "Call 1:1: len() takes 1 argument, not 3"},
        {"true ? 1 : log()", "Call 1:12: log() takes 1 argument, not 0"},
        {"max(1, cos(sin(), 2))", "Call 1:12: sin() takes 1 argument, not 0"},
        {"sin(1,)", "Syntax 1:6: Expected ) when read ,"},
        {"sin(1, x)", "Name 1:8: Unknown name x"},
        {"sin(1 2)", "Syntax 1:7: Expected ) when read 2"},
        {"sin + 1", "Syntax 1:5: Expected ( when read +"},
        {"1 + has()", "Call 1:5: has() takes 1 argument, not 0"},
        {"has(1, 2)", "Call 1:1: has() takes 1 argument, not 2"},
        {"has(1,)", "Syntax 1:6: Expected ) when read ,"},
        {"sum()", "Call 1:1: sum() takes 3 arguments, not 0"},
        {"all('a')", "Call 1:1: all() takes 3 arguments, not 1"},
        {"count('a', x)", "Call 1:1: count() takes 3 arguments, not 2"},
        {"false && any('a', x, true, 4) ", "Call 1:10: any() takes 3 arguments, not 4"},
        {"sin('x')", "Type 1:5: No implicit conversion from value x to float64"},
        {"max(0, sin( 'x'))", "Type 1:13: No implicit conversion from value x to float64"},
        {"int('5')", "Type 1:5: No implicit conversion from value 5 to int64"},
        {"1 + log( -1 )", "Arithmetic 1:10: Can't take log of value -1.0"},
        {"bool((1 / 0))", "Arithmetic 1:9: Division by zero error"},
        {"min(1, 'a')", "Type 1:8: No implicit conversion from value a to float64"},
        {"1 = 2", "Type 1:3: Can't assign to int64 r-value"},
        {"99999999999999999999", "Range 1:1: Integer literal 99999999999999999999 is out of range of int64"},
        {"'\\q'", "Syntax 1:1: Malformed escape \\q in string literal: unknown escape"},
        {"\n  y", "Name 2:3: Unknown name y"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Outcome(row.m_text, Scope()), row.m_outcome) << row.m_text;
}

// The innermost of a name is meant, however deep they nest.
TEST(NaturalLanguage, FindsTheNamesOfElementsAtAnyDepth)
{
    std::vector<int> list = {2, 3};
    std::vector<int> one = {7};
    Scope scope;
    scope.Bind("list", list).Bind("one", one);
    for (const int depth : {3, 8, 9, 20, 200})
    {
        std::string text = "sum(list, outer, ";
        for (int i = 0; i < depth; ++i)
            text += "sum(one, " + std::string(i % 2 == 0 ? "e" : "f") + ", e + 0 * ";
        text += "outer" + std::string(static_cast<std::size_t>(depth), ')') + " + outer)";
        EXPECT_EQ(Evaluate<int>(text, scope), 2 * 7 + 5) << depth;
        EXPECT_EQ(Expression(text, scope).Evaluate<int>(), 2 * 7 + 5) << depth;
    }
    EXPECT_EQ(TryEvaluate("sum(one, e, e) + e", scope).GetError().GetColumn(), 18);
}

TEST(NaturalLanguage, CutsNamesThatAreTooLongToShow)
{
    const std::string name(1000, 'n');
    const Scope scope;
    for (const std::string& text : {name, name + "()", "1 + " + name})
        EXPECT_LT(TryEvaluate(text, scope).GetError().GetMessage().size(), 120u) << text;
}

TEST(NaturalLanguage, ShowsTheWholeToken)
{
    const Error error = TryEvaluate("\n1 + sin(1, 2)", Scope()).GetError();
    EXPECT_STREQ(error.what(), "<text>:2:5: error: sin() takes 1 argument, not 2\n1 + sin(1, 2)\n    ^~~");
}

TEST(ExactLanguage, IsTheLanguageToTheLetter)
{
    constexpr Row rows[] = {
        {"(2.0 + 3.0) / 2", "int 2"},
        {"-2.0 / 4", "int 0"},
        {"+2.0", "int 2"},
        {"2.0 & 1", "int 0"},
        {"1 2", "int 1"},
        {"sin(1)", "Type 1:5: No implicit conversion from value 1 to float64"},
        {"sin()", "Syntax 1:5: Unexpected ) after ( in expression"},
        {"sin(1.0, 2)", "Syntax 1:8: Expected ) when read ,"},
        {"false && 1 / 0 > 1", "Arithmetic 1:12: Division by zero error"},
        {"true ? 1 : 1 / 0", "Arithmetic 1:14: Division by zero error"},
        {"true ? 1 : 2", "int 1"},
        {"7.5 % 2", "Type 1:5: Incompatible types (float64 and int64) for % operation"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Outcome(row.m_text, Scope(), Language::Exact), row.m_outcome) << row.m_text;
}

TEST(Expression, IsAnErrorOnceItIsMovedFrom)
{
    Scope scope;
    scope.Set("a", 1);
    for (const bool hasParameter : {false, true})
    {
        const auto make = [&] { return hasParameter ? Expression("a + x", scope, {"x"}) : Expression("a + 1", scope); };
        const auto evaluate = [&](const Expression& expression)
        { return hasParameter ? expression.Evaluate<int>(1) : expression.Evaluate<int>(); };
        const auto expectGone = [](const Expression& expression)
        {
            const auto check = [](const Error& error)
            {
                EXPECT_EQ(error.GetKind(), ErrorKind::Call);
                EXPECT_EQ(error.GetMessage(), "The expression has been moved from");
            };
            check(expression.TryEvaluate().GetError());
            check(expression.TryEvaluate(1).GetError());
            const std::function<void()> ways[] = {
                [&] { expression.Evaluate(); },       [&] { expression.Evaluate<double>(); },
                [&] { expression.Evaluate<int>(); },  [&] { expression.Evaluate<bool>(); },
                [&] { expression.Evaluate(1); },      [&] { expression.Evaluate<double>(1); },
                [&] { expression.Evaluate<int>(1); }, [&] { expression.Evaluate<std::string>(Scope()); },
            };
            for (const auto& way : ways)
                try
                {
                    way();
                    ADD_FAILURE();
                }
                catch (const Error& error)
                {
                    check(error);
                }
            EXPECT_TRUE(expression.GetNames().empty());
        };
        Expression expression = make();
        EXPECT_EQ(evaluate(expression), 2);
        Expression other(std::move(expression));
        EXPECT_EQ(evaluate(other), 2);
        expectGone(expression); // NOLINT
        Expression further(std::move(expression));
        expectGone(further);
        further = std::move(other);
        EXPECT_EQ(evaluate(further), 2);
        expectGone(other);
        further = std::move(other);
        expectGone(further);
        other = make();
        EXPECT_EQ(evaluate(other), 2);
        Expression& same = other;
        other = std::move(same);
        EXPECT_EQ(evaluate(other), 2);
    }
}

TEST(Expression, GivesTheNamesOfATemporary)
{
    std::string all;
    for (const std::string& name : Expression("aNameThatIsTooLongToLieInTheString + b * c").GetNames())
        all += name + ' ';
    EXPECT_EQ(all, "aNameThatIsTooLongToLieInTheString b c ");
}

} // namespace

} // namespace kelm
