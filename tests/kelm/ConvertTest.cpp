// Optionals and what may be nothing: by one table as arguments, results, fields and in assignments. And what holds one
// of several types is assigned whole.

#include <kelm/kelm.h>

#include <support/InCLocale.h>

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace convert
{

struct Line
{
    std::string item;
    int quantity = 1;
};

struct Order
{
    Line line{"tea", 2};
    std::optional<Line> some = Line{"cup", 3};
    std::optional<Line> none;
    std::unique_ptr<Line> own = std::make_unique<Line>(Line{"pot", 4});
    std::unique_ptr<Line> nothing;
    std::optional<double> ratio = 2.0;
    std::optional<double> noRatio;
    std::optional<std::string> word = "word";
    std::optional<std::string> noWord;
    int number = 7;
    std::variant<int, std::string, Line> either = 5;
    std::variant<int, std::string, Line> other = "text";
    std::variant<int, std::string, Line> third = Line{"jar", 9};
};

} // namespace convert

KELM_DESCRIBE(convert::Line, item, quantity)
KELM_DESCRIBE(convert::Order, line, some, none, own, nothing, ratio, noRatio, word, noWord, number, either, other,
              third)

namespace kelm
{

namespace
{

using convert::Line;
using convert::Order;

std::string Shown(const Line& line)
{
    return line.item + std::to_string(line.quantity);
}
std::string Shown(double x)
{
    const InCLocale here;
    return std::to_string(x).substr(0, 3);
}
std::string Shown(const std::string& text)
{
    return text;
}
template <class T>
std::string Shown(const std::optional<T>& x)
{
    return x ? Shown(*x) : "none";
}
template <class T>
std::string Shown(const Result<T>& result)
{
    return result ? Shown(*result) : std::to_string(static_cast<int>(result.GetError().GetKind()));
}

// As a result, of a text and kept; as a field; as an argument.
template <class T>
void Check(const std::string& name, const std::string& expected)
{
    Order order;
    Scope scope;
    scope.Bind("order", order).Define("shown", [](const T& x) { return Shown(x); });
    scope.Define("void", [] {});
    const bool isField = name != "void()";
    const std::string text = isField ? "order." + name : name;
    EXPECT_EQ(Shown(TryEvaluate<T>(text, scope)), expected) << name;
    EXPECT_EQ(Shown(Expression(text, scope).TryEvaluate<T>()), expected) << name;
    const Result<std::string> argument = TryEvaluate<std::string>("shown(" + text + ")", scope);
    EXPECT_EQ(argument ? *argument : std::to_string(static_cast<int>(argument.GetError().GetKind())), expected) << name;
    if (isField)
    {
        EXPECT_EQ(Shown(TryGet<T>(order, "." + name)), expected) << name;
    }
    EXPECT_EQ(Shown(TryEvaluate<T>("shown(1) + 1", scope)).size(), 1u);
}

TEST(Convert, OptionalsAreTakenAlikeEverywhere)
{
    for (const auto& [name, expected] : std::vector<std::pair<std::string, std::string>>{{"line", "tea2"},
                                                                                         {"some", "cup3"},
                                                                                         {"none", "none"},
                                                                                         {"own", "pot4"},
                                                                                         {"nothing", "none"},
                                                                                         {"noRatio", "none"},
                                                                                         {"void()", "none"},
                                                                                         {"third", "jar9"},
                                                                                         {"number", "2"},
                                                                                         {"word", "2"},
                                                                                         {"either", "2"}})
        Check<std::optional<Line>>(name, expected);
    for (const auto& [name, expected] : std::vector<std::pair<std::string, std::string>>{{"ratio", "2.0"},
                                                                                         {"noRatio", "none"},
                                                                                         {"number", "7.0"},
                                                                                         {"none", "none"},
                                                                                         {"nothing", "none"},
                                                                                         {"void()", "none"},
                                                                                         {"either", "5.0"},
                                                                                         {"word", "2"},
                                                                                         {"noWord", "none"},
                                                                                         {"line", "2"},
                                                                                         {"own", "2"}})
        Check<std::optional<double>>(name, expected);
    for (const auto& [name, expected] : std::vector<std::pair<std::string, std::string>>{{"word", "word"},
                                                                                         {"noWord", "none"},
                                                                                         {"void()", "none"},
                                                                                         {"other", "text"},
                                                                                         {"ratio", "2"},
                                                                                         {"line", "2"}})
        Check<std::optional<std::string>>(name, expected);
}

TEST(Convert, AssignmentsTakeNothingAndWhatHoldsOneOfSeveral)
{
    struct Row
    {
        const char* m_text;
        const char* m_shown;
        const char* m_outcome;
    };
    constexpr Row rows[] = {
        {"order.some = order.none", "has(order.some)", "false"},
        {"order.some = order.nothing", "has(order.some)", "false"},
        {"order.some = order.noRatio", "has(order.some)", "false"},
        {"order.some = void()", "has(order.some)", "false"},
        {"order.own = order.none", "has(order.own)", "false"},
        {"order.own = order.some", "order.own.item", "cup"},
        {"order.nothing = order.some", "order.nothing.item", "cup"},
        {"order.none = order.own", "order.none.item", "pot"},
        {"order.none = order.line", "order.none.item", "tea"},
        {"order.none = order.third", "order.none.item", "jar"},
        {"order.ratio = order.noRatio", "has(order.ratio)", "false"},
        {"order.ratio = order.none", "has(order.ratio)", "false"},
        {"order.noRatio = order.number", "order.noRatio", "7.0"},
        {"order.noRatio = order.ratio", "order.noRatio", "2.0"},
        {"order.either = order.other", "order.either + order.other", "texttext"},
        {"order.other = order.either", "order.either + order.other", "10"},
        {"order.either = order.third", "order.either.item", "jar"},
        {"order.third = order.either", "order.third", "5"},
        {"order.number = order.either", "order.number", "5"},
        {"order.word = order.other", "order.word", "text"},
        {"order.either = 6", "order.either", "6"},
        {"order.other = 'new'", "order.other", "new"},
    };
    for (const Row& row : rows)
        for (const bool isKept : {false, true})
        {
            Order order;
            Scope scope;
            scope.Bind("order", order).Define("void", [] {});
            const Result<Value> result =
                isKept ? Expression(row.m_text, scope).TryEvaluate() : TryEvaluate(row.m_text, scope);
            EXPECT_TRUE(result) << row.m_text << ": " << (result ? "" : result.GetError().what());
            EXPECT_EQ(Evaluate(row.m_shown, scope).ToText(), row.m_outcome) << row.m_text;
        }
    Order order;
    Set(order, ".some", std::optional<double>());
    EXPECT_FALSE(order.some);
    Set(order, ".either", Get<std::variant<int, std::string, Line>>(order, ".other"));
    EXPECT_EQ(std::get<1>(order.either), "text");
    Scope scope;
    scope.Bind("order", order);
    EXPECT_EQ(TryEvaluate("order.line = order.none", scope).GetError().GetMessage(), "null dereference");
}

} // namespace

} // namespace kelm
