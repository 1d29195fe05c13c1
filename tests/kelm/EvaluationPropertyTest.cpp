// What must hold for all expressions: a text, the same kept, and the same with its operands in names, parameters and
// results of functions give the same; and whatever the text, there is a value or an error with its place.

#include <kelm/Expression.h>

#include <support/Depth.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace kelm
{

namespace
{

std::string Outcome(const Result<Value>& result)
{
    if (!result)
        return std::to_string(static_cast<int>(result.GetError().GetKind())) + " " + result.GetError().GetMessage();
    return std::to_string(static_cast<int>(result->GetKind())) + " " + result->ToText();
}

const std::vector<std::string>& Operators()
{
    static const std::vector<std::string> s_operators = {"+", "-", "*",  "/", "%",  "^^", "<<", ">>", "&",  "|",
                                                         "^", "<", "<=", ">", ">=", "==", "!=", "&&", "||", "? 1 :"};
    return s_operators;
}

const std::vector<std::string>& Literals()
{
    static const std::vector<std::string> s_literals = {
        "0", "1", "7", "9223372036854775807", "0.0", "2.0", "-1.5", "1e300", "-3", "'text'", "''", "true", "false"};
    return s_literals;
}

TEST(EvaluationProperty, OperandsOfEveryFormGiveTheSame)
{
    for (const Language language : {Language::Natural, Language::Exact})
        for (const std::string& left : Literals())
            for (const std::string& right : Literals())
                for (const std::string& sign : Operators())
                {
                    const std::string space = " ";
                    const std::string text = left + space + sign + space + right;
                    const std::string expected = Outcome(TryEvaluate(text, language));
                    Scope scope;
                    scope.Set("a", Evaluate(left)).Set("b", Evaluate(right));
                    scope.Define("fa", [v = Evaluate(left)] { return v; });
                    scope.Define("fb", [v = Evaluate(right)] { return v; });
                    const std::vector<Value> values = {Evaluate(left), Evaluate(right)};
                    if (language == Language::Natural || left.front() != '-' || left.find('.') == std::string::npos)
                        for (const std::string& form :
                             {"a " + sign + " b", "fa() " + sign + " fb()", "(a) " + sign + " fb()",
                              "fa() " + sign + " " + right, left + space + sign + " b"})
                        {
                            if (language == Language::Exact && form.find("-1.5") != std::string::npos)
                                continue;
                            EXPECT_EQ(Outcome(TryEvaluate(form, scope, language)), expected) << text << " as " << form;
                            EXPECT_EQ(Outcome(Expression(form, scope, {}, language).TryEvaluate()), expected) << form;
                        }
                    EXPECT_EQ(Outcome(Expression("p " + sign + " q", scope, {"p", "q"}, language)
                                          .TryEvaluate(values[0], values[1])),
                              expected)
                        << text;
                }
}

TEST(EvaluationProperty, SkippedOperandsCallNothing)
{
    int calls = 0;
    Scope scope;
    scope.Define("f", [&calls](const Value&) { return ++calls > 0; });
    for (const char* text : {"false && f(1)", "true || f(1)", "true ? true : f(1)", "false ? f(1) : true",
                             "false && (f(1) || f(f(2)))", "true || (f(1) ? f(2) : f(3))", "false && f(1) && f(2)"})
    {
        EXPECT_TRUE(TryEvaluate(text, scope)) << text;
        EXPECT_TRUE(Expression(text, scope).TryEvaluate()) << text;
    }
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(Evaluate<bool>("false && f(1) || f(2)", scope));
    EXPECT_EQ(calls, 1);
    for (const char* text : {"f(1) + )", "f(1) && nothing", "f(1) 2", "f(1) || f()"})
        EXPECT_FALSE(TryEvaluate(text, scope)) << text;
    EXPECT_EQ(calls, 1);
}

TEST(EvaluationProperty, EveryTextHasAValueOrAnErrorWithItsPlace)
{
    static const std::vector<std::string> tokens = {
        "1",  "2.5", "x",   "y",  "'s'",  "(",     ")",  "[", "]",  "+", "-",   "*",   "/",    "&&",
        "||", "?",   ":",   "==", "<",    "=",     ",",  ".", "!",  "f", "min", "len", "true", "a",
        "+=", "sum", "has", "~",  "0x1F", "\"t\"", "^^", "%", "\\", "@", "#",   "$",   "\n",   "/*"};
    std::mt19937 random(20081124);
    double x = 1.5;
    std::string y = "why";
    Scope scope;
    scope.Bind("x", x).Bind("y", y).Set("a", 3);
    scope.Define("f", [](const Value& v, std::span<const Value>) { return v; });
    for (int i = 0; i < 30000; ++i)
    {
        std::string text;
        for (std::size_t k = random() % 12 + 1; k > 0; --k)
            text += tokens[random() % tokens.size()] + (random() % 2 == 0 ? " " : "");
        const Language language = i % 2 == 0 ? Language::Natural : Language::Exact;
        x = 1.5;
        y = "why";
        const Result<Value> once = TryEvaluate(text, scope, language);
        x = 1.5;
        y = "why";
        const Result<Value> kept = [&]() -> Result<Value>
        {
            try
            {
                return Expression(text, scope, {}, language).TryEvaluate();
            }
            catch (const Error& e)
            {
                return e;
            }
        }();
        ASSERT_EQ(Outcome(once), Outcome(kept)) << text;
        if (!once)
        {
            EXPECT_GT(once.GetError().GetLine(), 0) << text;
            EXPECT_GT(once.GetError().GetColumn(), 0) << text;
            EXPECT_EQ(once.GetError().GetColumn(), kept.GetError().GetColumn()) << text;
        }
    }
}

TEST(EvaluationProperty, NestingIsLimitedByMemoryAlone)
{
    constexpr int depth = std::min(200'000, s_nesting);
    const auto times = [](const std::string& part) { return Repeated(part, depth); };
    Scope scope;
    scope.Define("id", [](const Value& v) { return v; });
    EXPECT_EQ(Evaluate<int>(times("(") + "1" + times(")"), scope), 1);
    EXPECT_EQ(Evaluate<int>(times("1+(") + "1" + times(")"), scope), depth + 1);
    EXPECT_EQ(Evaluate<int>(times("id(") + "1" + times(")"), scope), 1);
    EXPECT_EQ(Evaluate<int>(times("true ? 1 : ") + "2", scope), 1);
    EXPECT_EQ(Evaluate<bool>(times("!") + "true", scope), true);
    EXPECT_EQ(Evaluate<std::string>(times("'a'+(") + "''" + times(")"), scope).size(), static_cast<std::size_t>(depth));
    EXPECT_EQ(Evaluate<std::string>(times("'a'+") + "''", scope).size(), static_cast<std::size_t>(depth));
    EXPECT_EQ(TryEvaluate(times("("), scope).GetError().GetKind(), ErrorKind::Syntax);
    EXPECT_EQ(TryEvaluate(times("-"), scope).GetError().GetKind(), ErrorKind::Syntax);
}

TEST(EvaluationProperty, EightThreadsShareAnExpressionAndItsScope)
{
    const double rate = 0.5;
    Scope scope;
    scope.Bind("rate", rate).Set("name", "text");
    scope.Define("twice", [](double x) { return 2 * x; });
    const Expression expression("twice(x) * rate + len(name + string(i))", scope, {"x", "i"});
    std::vector<std::thread> threads;
    std::vector<int> wrong(8);
    for (std::size_t t = 0; t < wrong.size(); ++t)
        threads.emplace_back(
            [&, t]
            {
                Scope own(&scope);
                own.Set("twice", 1).Define("twice", [t](double x) { return x * static_cast<double>(t); });
                for (int i = 0; i < 2000; ++i)
                {
                    const double length = 4 + static_cast<double>(std::to_string(i).size());
                    wrong[t] += expression.Evaluate<double>(i, i) != i + length;
                    wrong[t] += expression.Evaluate<double>(own, i, i) != i * static_cast<double>(t) * 0.5 + length;
                    wrong[t] += Evaluate<double>("rate + twice(1)", scope) != 2.5;
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(8));
}

} // namespace

} // namespace kelm
