// Whole objects bring members with checks: what is refused changes nothing, in Set and in assignments.

#include <kelm/kelm.h>
#include <klObject/containers/xmap.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace checked
{

struct Line
{
    int quantity = 1;
    std::vector<Line> parts;
};

struct Order
{
    std::vector<Line> lines{2};
    std::map<std::string, Line> byName;
    std::optional<Line> maybe;
    std::variant<int, Line> either;
    std::shared_ptr<Line> shared;
    kelm::xmap<kelm::xstring, kelm::int32> ours;
    int port = 80;
};

inline bool IsPositive(int x)
{
    return x > 0;
}
inline bool IsShort(const std::vector<Line>& lines)
{
    return lines.size() < 5;
}

} // namespace checked

KELM_CLASS(checked::Line, KELM_MODEL(quantity).Check(checked::IsPositive), KELM_MODEL(parts))
KELM_CLASS(checked::Order, KELM_MODEL(lines).Check(checked::IsShort), KELM_MODEL(byName), KELM_MODEL(maybe),
           KELM_MODEL(either), KELM_MODEL(shared), KELM_MODEL(ours), KELM_MODEL(port).Check(checked::IsPositive))

namespace kelm
{

namespace
{

using checked::Line;
using checked::Order;

constexpr const char* s_refusal = "Member 'quantity' of class checked::Line refuses 0";

template <class V>
std::string Setting(const char* path, const V& value)
{
    Order order;
    const std::string before = Write(order);
    const Result<void> result = TrySet(order, path, value);
    EXPECT_EQ(Write(order) == before, !result) << path;
    if (result)
        return "";
    EXPECT_EQ(result.GetError().GetKind(), ErrorKind::Check) << path;
    return result.GetError().GetMessage();
}

TEST(MemberChecks, AreAskedBySet)
{
    const Line good{3, {}};
    const Line bad{0, {}};
    const Line inner{3, {{2, {}}, {1, {bad}}}};
    EXPECT_EQ(Setting(".lines[0]", good), "");
    EXPECT_EQ(Setting(".lines[0]", bad), s_refusal);
    EXPECT_EQ(Setting(".lines[1]", inner), s_refusal);
    EXPECT_EQ(Setting(".lines", std::vector<Line>{good, inner}), s_refusal);
    EXPECT_EQ(Setting(".lines", std::vector<Line>{good, good, good}), "");
    EXPECT_EQ(Setting(".lines", std::vector<Line>(5)),
              "Member 'lines' of class checked::Order refuses this vector<checked::Line>");
    EXPECT_EQ(Setting(".byName", std::map<std::string, Line>{{"a", good}, {"b", bad}}), s_refusal);
    EXPECT_EQ(Setting(".byName[\"new\"]", bad), s_refusal);
    EXPECT_EQ(Setting(".byName[\"new\"]", good), "");
    EXPECT_EQ(Setting(".maybe", bad), s_refusal);
    EXPECT_EQ(Setting(".maybe", std::optional<Line>(inner)), s_refusal);
    EXPECT_EQ(Setting(".maybe", good), "");
    EXPECT_EQ(Setting(".either", std::variant<int, Line>(bad)), s_refusal);
    EXPECT_EQ(Setting(".either", std::variant<int, Line>(7)), "");
    EXPECT_EQ(Setting(".ours", xmap<xstring, int32>{{"a", 0}}), "");
    EXPECT_EQ(Setting(".lines[0]", Value(bad)), s_refusal);
    EXPECT_EQ(Setting(".shared", std::make_shared<Line>(bad)), ""); // which is someone else's as well
    std::vector<Order> orders(1);
    Order wrong;
    wrong.port = -1;
    EXPECT_EQ(TrySet(orders, "[0]", wrong).GetError().GetMessage(), "Member 'port' of class checked::Order refuses -1");
}

TEST(MemberChecks, AreAskedByAssignments)
{
    struct Row
    {
        const char* m_text;
        bool m_holds;
    };
    constexpr Row rows[] = {
        {"order.lines[0] = good", true},
        {"order.lines[0] = bad", false},
        {"order.lines[0].parts = deep.parts", false},
        {"order.lines[0] = deep.parts[0]", true},
        {"order.byName['a'] = bad", false},
        {"order.byName['a'] = good", true},
        {"order.maybe = bad", false},
        {"order.maybe = deep", false},
        {"order.maybe = good", true},
        {"order = wrong", false},
        {"order.lines = wrong.lines", true},
        {"order.lines[0] = make(0)", false},
        {"order.lines[0] = make(2)", true},
    };
    for (const Row& row : rows)
        for (const bool isKept : {false, true})
        {
            Order order;
            Order wrong;
            wrong.port = 0;
            const Line good{3, {}};
            const Line bad{0, {}};
            const Line deep{3, {{2, {}}, bad}};
            Scope scope;
            scope.Bind("order", order).Bind("good", good).Bind("bad", bad).Bind("deep", deep).Bind("wrong", wrong);
            scope.Define("make", [](int quantity) { return Line{quantity, {}}; });
            const std::string before = Write(order);
            const Result<Value> result =
                isKept ? Expression(row.m_text, scope).TryEvaluate() : TryEvaluate(row.m_text, scope);
            EXPECT_EQ(static_cast<bool>(result), row.m_holds) << row.m_text;
            if (!result)
            {
                EXPECT_EQ(result.GetError().GetKind(), ErrorKind::Check) << row.m_text;
                EXPECT_EQ(Write(order), before) << row.m_text;
            }
        }
}

} // namespace

} // namespace kelm
