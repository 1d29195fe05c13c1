// A place that waits while a function moves or destroys what it lies in is found again by its path when its turn comes:
// from a text, kept, by the twins, in both languages.

#include <kelm/kelm.h>
#include <klObject/containers/xmap.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace trail
{

struct Part
{
    std::string name = "a name that is too long to lie in the string itself";
    double q = 1.5;
    std::vector<double> tags = {1, 2};
    std::optional<double> some = 0.25;
};

struct Line
{
    std::string item;
    double q = 0;
    Part part;
    std::vector<Part> parts{2};
    std::unique_ptr<Part> own;
    std::optional<Part> maybe;
    std::variant<int, Part> either;

    double Weight() const { return q; }
};

bool IsSmall(const std::vector<double>& all)
{
    return all.size() < 100 && all[0] < 5;
}

struct Order
{
    std::vector<Line> lines;
    std::map<std::string, Line> byName;
    kelm::xmap<kelm::xstring, kelm::int32> counts;
    std::set<int> marks = {3, 5, 9};
    std::vector<double> numbers = {1, 2, 3};
    int which = 1;
};

} // namespace trail

KELM_CLASS(trail::Part, KELM_MODEL(name), KELM_MODEL(q), KELM_MODEL(tags).Check(trail::IsSmall), KELM_MODEL(some))
KELM_DESCRIBE(trail::Line, item, q, part, parts, own, maybe, either)
KELM_DESCRIBE(trail::Order, lines, byName, counts, marks, numbers, which)

namespace kelm
{

namespace
{

using trail::Line;
using trail::Order;
using trail::Part;

Line MakeLine(const std::string& item, double q)
{
    Line line;
    line.item = item;
    line.q = q;
    line.part.q = q * 10;
    line.parts[1].q = q * 100;
    line.own = std::make_unique<Part>();
    line.own->q = q + 0.5;
    line.maybe = Part();
    line.maybe->q = q + 0.25;
    line.either = Part();
    std::get<1>(line.either).q = q + 0.125;
    return line;
}

void Fill(Order& order, double factor)
{
    order.lines.clear();
    order.lines.shrink_to_fit();
    for (int i = 0; i < 3; ++i)
        order.lines.push_back(MakeLine(std::string(40, static_cast<char>('a' + i)), factor * (i + 1)));
    order.byName.clear();
    order.byName["x"] = MakeLine("x", factor);
    order.byName["y"] = MakeLine("y", factor * 2);
    order.counts = {{"a", 1}, {"b", 2}};
    order.numbers = {1 * factor, 2 * factor, 3 * factor};
}

// grow() puts everything elsewhere, with other values: what is found by a path is ten times as large then.
struct World
{
    World()
    {
        Fill(m_order, 1);
        m_scope.Bind("o", m_order).Bind("x", m_x);
        m_scope.Define("grow", [this] { return Fill(m_order, 10), 1.0; });
        m_scope.Define("pass", [this](double x) { return Fill(m_order, 10), x; });
        m_scope.Define("at", [this](int i) { return Fill(m_order, 10), i; });
        m_scope.Define("shrink", [this] { return m_order = Order(), 1; });
        m_scope.Define("g", [](const Line& line, double) { return line.q; });
        m_scope.Define("part", [](const Part& part, double) { return part.q; });
        m_scope.Define("set", [](Part& part, double q) { return part.q = q; });
        m_scope.Define("two", [](const Line& a, double, const Line& b, double) { return a.q * 1000 + b.q; });
        m_scope.Define("every", [](std::span<const Value> all) { return all[0].As<const Line&>().q; });
        m_scope.Define("many", [](const std::vector<double>& numbers, double) { return numbers.at(1); });
        m_scope.Define("entry", [](const std::map<std::string, Line>& lines, double) { return lines.at("y").q; });
        m_scope.Define("make", [](double q) { return MakeLine("made", q); });
        m_scope.Define("Weight", &Line::Weight);
        m_scope.BindMembers(m_order);
    }

    Order m_order;
    double m_x = 2;
    Scope m_scope;
};

std::string Outcome(const Result<Value>& result, const Order& order)
{
    const std::string state = " | " + (order.lines.empty() ? std::string("-") : Value(order.lines[0].q).ToText());
    if (result)
        return (result->GetKind() == Value::Kind::Integer ? Value(result->As<double>()) : *result).ToText() + state;
    const Error& e = result.GetError();
    return std::to_string(static_cast<int>(e.GetKind())) + " " + std::to_string(e.GetColumn()) + " " + e.GetMessage() +
           state;
}

template <class F>
std::string OutcomeOf(const F& evaluate)
{
    World world;
    const auto result = [&]() -> Result<Value>
    {
        try
        {
            return evaluate(world.m_scope);
        }
        catch (const Error& e)
        {
            return e;
        }
    }();
    return Outcome(result, world.m_order);
}

struct Row
{
    const char* m_text;
    const char* m_outcome;
};

using Way = Result<Value> (*)(std::string_view text, const Scope& scope, Language language);
constexpr Way s_ways[] = {
    [](std::string_view text, const Scope& s, Language l) { return Result<Value>(Evaluate(text, s, l)); },
    [](std::string_view text, const Scope& s, Language l) { return TryEvaluate(text, s, l); },
    [](std::string_view text, const Scope& s, Language l)
    { return Result<Value>(Expression(text, s, {}, l).Evaluate()); },
    [](std::string_view text, const Scope& s, Language l) { return Expression(text, s, {}, l).TryEvaluate(); },
    [](std::string_view text, const Scope& s, Language l) { return Expression(text, s, {"p"}, l).TryEvaluate(1.0); },
    [](std::string_view text, const Scope& s, Language l) { return Expression(text, l).TryEvaluate(s); },
};

// Prints no more than the first way that differs.
void CheckRows(std::span<const Row> rows)
{
    for (const Row& row : rows)
        for (const Language language : {Language::Natural, Language::Exact})
            for (const Way& way : s_ways)
            {
                const std::string outcome = OutcomeOf([&](const Scope& s) { return way(row.m_text, s, language); });
                EXPECT_EQ(outcome, row.m_outcome)
                    << row.m_text << ", way " << &way - s_ways << ", language " << static_cast<int>(language);
                if (outcome != row.m_outcome)
                    break;
            }
}

TEST(Trail, LeadsToWhatAPlaceIsThen)
{
    constexpr Row rows[] = {
        // An argument.
        {"g(o.lines[0], grow())", "10.0 | 10.0"},
        {"g(o.lines[o.which], grow())", "20.0 | 10.0"},
        {"g(o.lines[1 + 1], grow())", "30.0 | 10.0"},
        {"g(lines[2], grow())", "30.0 | 10.0"},
        {"g((o.lines[2]), grow())", "30.0 | 10.0"},
        {"g(o.byName['y'], grow())", "20.0 | 10.0"},
        {"g(o.byName['' + 'y'], grow())", "20.0 | 10.0"},
        {"g(o.lines[at(2)], grow())", "30.0 | 10.0"},
        {"g(o.lines[2.0 > 1 ? 1 : 0], grow())", "20.0 | 10.0"},
        {"part(o.lines[1].part, grow())", "200.0 | 10.0"},
        {"part(o.lines[1].parts[1], grow())", "2000.0 | 10.0"},
        {"part(o.lines[1].own, grow())", "20.5 | 10.0"},
        {"part(o.lines[1].maybe, grow())", "20.25 | 10.0"},
        {"part(o.lines[1].either, grow())", "20.125 | 10.0"},
        {"part(o.byName['x'].parts[1], grow())", "1000.0 | 10.0"},
        {"many(o.numbers, grow())", "20.0 | 10.0"},
        {"many(numbers, grow())", "20.0 | 10.0"},
        {"many(o.lines[0].part.tags, grow())", "2.0 | 10.0"},
        {"entry(o.byName, grow())", "20.0 | 10.0"},
        {"two(o.lines[0], grow(), o.lines[1], grow())", "10020.0 | 10.0"},
        {"two(o.lines[0], g(o.lines[1], grow()), o.lines[1], 1)", "10020.0 | 10.0"},
        {"two(o.byName['y'], 1, o.lines[2], grow())", "20030.0 | 10.0"},
        {"every(o.lines[0], grow(), 3)", "10.0 | 10.0"},
        {"g(true ? o.lines[0] : o.lines[1], grow())", "10.0 | 10.0"},
        {"g(false ? o.lines[0] : o.lines[1], grow())", "20.0 | 10.0"},
        {"g(false ? o.byName['x'] : true ? o.lines[2] : o.lines[1], grow())", "30.0 | 10.0"},
        {"g(make(7), grow())", "7.0 | 10.0"},
        {"part(make(7).parts[1], grow())", "700.0 | 10.0"},
        {"part(make(7).own, grow())", "7.5 | 10.0"},
        {"set(o.lines[1].part, grow()) + o.lines[1].part.q", "2.0 | 10.0"},
        // A way that goes on behind a call.
        {"o.lines[at(1)].q", "20.0 | 10.0"},
        {"o.lines[1].parts[at(1)].q", "2000.0 | 10.0"},
        {"o.lines[1].parts[at(1)].tags[at(1)]", "2.0 | 10.0"},
        {"lines[at(1)].q", "20.0 | 10.0"},
        // An object that an operator refuses, and what it says.
        {"o.lines[0] + grow()", "2 12 Incompatible types (trail::Line and float64) for + operation | 10.0"},
        {"o.lines[0].maybe + grow()", "2 18 Incompatible types (trail::Part and float64) for + operation | 10.0"},
        {"min(o.lines[0].maybe, grow())", "2 5 No implicit conversion from value of trail::Part to float64 | 10.0"},
        {"o.lines[0].Weight() + g(o.lines[0], grow()) + o.lines[0].Weight()", "21.0 | 10.0"},
        // Not only functions move things.
        {"part(o.lines[1].part, (o.lines = o.lines) == 1 ? 1 : 2)",
         "2 43 Incompatible types (void and int64) for comparison operation | 1.0"},
    };
    CheckRows(rows);
}

TEST(Trail, LeadsToWhatIsAssigned)
{
    constexpr Row rows[] = {
        {"(o.lines[0].q = grow()) == 1", "2 25 Incompatible types (void and int64) for comparison operation | 1.0"},
        {"o.lines[0] = make(grow() + 6)", "void | 7.0"},
        {"o.lines[0].q = pass(6)", "void | 6.0"},
        {"o.lines[0].q += pass(6)", "void | 16.0"},
        {"lines[0].q = pass(6)", "void | 6.0"},
        {"lines[0].q -= pass(6)", "void | 4.0"},
        {"o.lines[o.which - 1].q = pass(6)", "void | 6.0"},
        {"o.numbers[2] = pass(6)", "void | 10.0"},
        {"o.counts['c'] = grow()", "void | 10.0"},
        {"o.byName['z'] = make(grow())", "void | 10.0"},
        {"o.byName['z'] = o.lines[at(1)]", "void | 10.0"},
        {"o.lines[0].parts[1].name = string(grow())", "void | 10.0"},
        {"o.lines = (true ? o.lines : o.lines)", "void | 1.0"},
        {"o.numbers = many(o.numbers, grow()) > 1 ? o.lines[1].part.tags : o.numbers", "void | 10.0"},
        {"o.lines[0].maybe = o.lines[at(1)].own", "void | 10.0"},
        {"o.lines[0].part.tags[0] = pass(2)", "void | 10.0"},
        {"o.lines[0].part.tags[0] = pass(6)", "4 25 Member 'tags' of class trail::Part refuses 6.0 | 10.0"},
        {"o.lines[0].part.tags[0] += pass(6.5)", "4 25 Member 'tags' of class trail::Part refuses 7.5 | 10.0"},
    };
    CheckRows(rows);
    for (const bool isKept : {false, true})
    {
        World world;
        const auto run = [&](const char* text)
        { isKept ? Expression(text, world.m_scope).Evaluate() : Evaluate(text, world.m_scope); };
        run("o.lines[1].parts[1].q = pass(6)");
        EXPECT_EQ(world.m_order.lines[1].parts[1].q, 6);
        run("o.byName['new'] = o.lines[at(1)]");
        EXPECT_EQ(world.m_order.byName.at("new").q, 20);
        run("o.counts['b' + 'c'] = pass(9)");
        EXPECT_EQ(world.m_order.counts["bc"], 9);
        run("numbers[1] += pass(6)");
        EXPECT_EQ(world.m_order.numbers[1], 26);
    }
}

// What is no longer there is an error at its place.
TEST(Trail, EndsWhereSomethingIsGone)
{
    constexpr Row rows[] = {
        {"g(o.lines[1], shrink())", "3 12 Vector index 1 out of range | -"},
        {"g(lines[1], shrink())", "3 10 Vector index 1 out of range | -"},
        {"part(o.lines[1].parts[0], shrink())", "3 15 Vector index 1 out of range | -"},
        {"g(o.byName['x'], shrink())", "3 15 Key x is not there | -"},
        {"o.lines[2].q = shrink()", "3 10 Vector index 2 out of range | -"},
        {"o.lines[2] = make(shrink())", "3 10 Vector index 2 out of range | -"},
        {"o.lines[2].q += shrink()", "3 10 Vector index 2 out of range | -"},
        {"o.lines[1].parts[shrink()].q", "3 10 Vector index 1 out of range | -"},
        {"has(o.lines[1].parts[shrink()].q)", "false | -"},
        {"has(o.lines[shrink()].q) || true", "true | -"},
        {"sum(o.lines, l, shrink())", "3 1 Vector index 1 out of range | -"},
        {"sum(o.lines, l, shrink() + l.q)", "3 28 Vector index 0 out of range | -"},
        {"sum(o.lines, l, sum(l.parts, p, shrink()))", "3 21 Vector index 0 out of range | -"},
        {"sum(o.byName, l, shrink())", "3 1 Key y is not there | -"},
        {"sum(o.byName, l, shrink() + l.q)", "3 29 Key x is not there | -"},
        {"sum(o.counts, c, shrink())", "3 1 Key b is not there | -"},
        {"sum(o.marks, m, shrink() * m)", "17.0 | -"},
        {"g(true ? o.lines[0] : o.lines[1], shrink())", "3 19 Vector index 0 out of range | -"},
    };
    CheckRows(rows);
}

TEST(Trail, LeadsThroughLists)
{
    constexpr Row rows[] = {
        {"sum(o.lines, l, l.q * pass(1))", "51.0 | 10.0"},
        {"sum(o.lines, l, pass(1) * l.q)", "60.0 | 10.0"},
        {"sum(lines, l, pass(1) * l.q)", "60.0 | 10.0"},
        {"sum(o.lines, l, g(l, grow()))", "60.0 | 10.0"},
        {"sum(o.lines, l, grow() + g(l, 1))", "63.0 | 10.0"},
        {"sum(o.lines, l, part(l.parts[1], grow()))", "6000.0 | 10.0"},
        {"sum(o.lines, l, grow() + l.Weight())", "63.0 | 10.0"},
        {"sum(o.lines[1].parts, p, part(p, grow()))", "2001.5 | 10.0"},
        {"sum(o.lines[1].parts, p, pass(p.q))", "2001.5 | 10.0"},
        {"sum(o.lines, l, sum(l.parts, p, l.q + pass(p.q)))", "6115.5 | 10.0"},
        {"sum(o.lines, l, sum(o.numbers, n, l.q + pass(n)))", "342.0 | 10.0"},
        {"sum(o.lines, l, grow() > 0 && any(l.parts, p, p.q > 1000) ? 1 : 0)", "2.0 | 10.0"},
        {"sum(o.byName, l, l.q + grow())", "23.0 | 10.0"},
        {"sum(o.byName, l, grow() + l.q)", "32.0 | 10.0"},
        {"sum(o.byName, l, part(l.own, grow()))", "31.0 | 10.0"},
        {"sum(o.counts, c, grow() + c)", "5.0 | 10.0"},
        {"sum(o.marks, m, grow() + m)", "20.0 | 10.0"},
        {"sum(o.numbers, n, pass(n))", "51.0 | 10.0"},
        {"sum(o.numbers, n, pass(n) + n)", "111.0 | 10.0"},
        {"sum(make(3).parts, p, part(p, grow()))", "301.5 | 10.0"},
        {"g(o.lines[0], sum(o.numbers, n, pass(n)))", "10.0 | 10.0"},
        {"count(o.lines, l, has(l.own) && grow() > 0 && has(l.own.some))", "3.0 | 10.0"},
        {"any(o.lines, l, g(l, grow()) == 20) ? g(o.lines[1], grow()) : 0", "20.0 | 10.0"},
    };
    CheckRows(rows);
}

// A member of the scope's object is that of the object which is the scope's then.
TEST(Trail, LeadsToAnotherObjectOfTheScope)
{
    for (const char* text : {"g(lines[1], other())", "g(true ? lines[1] : lines[0], other())"})
        for (const bool isKept : {false, true})
        {
            World world;
            auto another = std::make_unique<Order>();
            Fill(*another, 100);
            world.m_scope.Define("other", [&] { return world.m_scope.BindMembers(*another), 1.0; });
            EXPECT_EQ(isKept ? Expression(text, world.m_scope).Evaluate<double>()
                             : Evaluate<double>(text, world.m_scope),
                      200.0)
                << text;
        }
}

// Expressions at random, in which anything may move anything, are the same on every way.
class Generator
{
public:
    explicit Generator(unsigned seed) : m_random(seed) {}

    std::string Statement()
    {
        switch (Below(6))
        {
        case 0: return Line(3) + ".q = " + Number(3);
        case 1: return "o.numbers[" + Index(2) + "] += " + Number(3);
        case 2: return "o.lines[" + Index(2) + "] = " + Line(3);
        case 3: return "o.byName['" + Key() + "'] = " + Line(3);
        default: return Number(5);
        }
    }

private:
    unsigned Below(unsigned n) { return static_cast<unsigned>(m_random() % n); }
    std::string Key() { return std::string(1, "xyz"[Below(3)]); }

    std::string Index(int depth)
    {
        const std::string digit = std::to_string(Below(8) == 0 ? 3 : Below(3));
        switch (depth > 0 ? Below(4) : 3)
        {
        case 0: return "at(" + Index(depth - 1) + ")";
        case 1: return "o.which";
        default: return digit;
        }
    }

    std::string Line(int depth)
    {
        if (!m_lines.empty() && Below(2) == 0)
            return m_lines[Below(static_cast<unsigned>(m_lines.size()))];
        switch (depth > 0 ? Below(7) : Below(3))
        {
        case 0: return "lines[" + Index(depth - 1) + "]";
        case 1: return "o.byName['" + Key() + "']";
        case 3: return "make(" + Number(depth - 1) + ")";
        case 4: return "(" + Condition(depth - 1) + " ? " + Line(depth - 1) + " : " + Line(depth - 1) + ")";
        default: return "o.lines[" + Index(depth - 1) + "]";
        }
    }

    std::string Part(int depth)
    {
        if (!m_parts.empty() && Below(2) == 0)
            return m_parts[Below(static_cast<unsigned>(m_parts.size()))];
        constexpr const char* ends[] = {".part", ".own", ".maybe", ".either"};
        return Below(3) == 0 ? Line(depth - 1) + ".parts[" + Index(depth - 1) + "]" : Line(depth - 1) + ends[Below(4)];
    }

    std::string Condition(int depth)
    {
        switch (Below(4))
        {
        case 0: return "has(" + Line(depth) + ".maybe)";
        case 1: return Number(depth - 1) + " > 5";
        case 2: return "any(o.numbers, z, z > " + std::to_string(Below(40)) + ")";
        default: return Below(2) == 0 ? "true" : "false";
        }
    }

    // Over a list, whose elements are known by a name of their own.
    std::string Sum(int depth)
    {
        const std::string name = "e" + std::to_string(m_count++);
        const auto over = [&](const std::string& list, std::vector<std::string>& names)
        {
            names.push_back(name);
            std::string text = "sum(" + list + ", " + name + ", " + Number(depth - 1) + ")";
            names.pop_back();
            return text;
        };
        switch (Below(6))
        {
        case 0: return over("o.lines", m_lines);
        case 1: return over("lines", m_lines);
        case 2: return over("o.byName", m_lines);
        case 3: return over(Line(depth - 1) + ".parts", m_parts);
        case 4: return over(Part(depth - 1) + ".tags", m_numbers);
        default: return over("o.numbers", m_numbers);
        }
    }

    std::string Number(int depth)
    {
        if (!m_numbers.empty() && Below(3) == 0)
            return m_numbers[Below(static_cast<unsigned>(m_numbers.size()))];
        switch (depth > 0 ? Below(14) : 10 + Below(3))
        {
        case 0: return "pass(" + Number(depth - 1) + ")";
        case 1:
        case 2: return "g(" + Line(depth - 1) + ", " + Number(depth - 1) + ")";
        case 3: return "part(" + Part(depth - 1) + ", " + Number(depth - 1) + ")";
        case 4:
            return "two(" + Line(depth - 1) + ", " + Number(depth - 1) + ", " + Line(depth - 1) + ", " +
                   Number(depth - 1) + ")";
        case 5: return Sum(depth);
        case 6: return "(" + Condition(depth - 1) + " ? " + Number(depth - 1) + " : " + Number(depth - 1) + ")";
        case 7: return "(" + Number(depth - 1) + " + " + Number(depth - 1) + ")";
        case 8: return Number(depth - 1) + " * " + Number(depth - 1);
        case 9: return "set(" + Part(depth - 1) + ", " + Number(depth - 1) + ")";
        case 10: return Line(depth - 1) + ".q";
        case 11: return Part(depth - 1) + ".q";
        case 12: return std::to_string(Below(9)) + ".5";
        default: return Below(5) == 0 ? "shrink()" : Line(depth - 1) + ".Weight()";
        }
    }

    std::mt19937 m_random;
    int m_count = 0;
    std::vector<std::string> m_lines;
    std::vector<std::string> m_parts;
    std::vector<std::string> m_numbers;
};

TEST(Trail, IsTheSameOnEveryWay)
{
    const char* const given = std::getenv("KELM_TRAIL_CASES");
    const unsigned numCases = given != nullptr ? static_cast<unsigned>(std::atoi(given)) : 100;
    unsigned numValues = 0;
    for (unsigned seed = 0; seed < numCases; ++seed)
    {
        const std::string text = Generator(seed).Statement();
        for (const Language language : {Language::Natural, Language::Exact})
        {
            std::string expected;
            for (const Way& way : s_ways)
            {
                const std::string outcome = OutcomeOf([&](const Scope& s) { return way(text, s, language); });
                if (expected.empty())
                    expected = outcome;
                EXPECT_EQ(outcome, expected)
                    << text << ", way " << &way - s_ways << ", language " << static_cast<int>(language);
                if (outcome != expected)
                    break;
            }
            numValues += expected.find(' ') == expected.find(" |");
        }
    }
    EXPECT_GT(numValues, numCases / 3);
}

// Where nothing waits, nothing is looked for.
TEST(Trail, HoldsThroughManyCalls)
{
    World world;
    std::string text = "0.0";
    for (int i = 0; i < 50; ++i)
        text = "two(o.lines[0], " + text + ", o.lines[" + std::to_string(i % 3) + "], grow())";
    EXPECT_EQ(Evaluate<double>(text, world.m_scope), 10020.0);
    EXPECT_EQ(Expression(text, world.m_scope).Evaluate<double>(), 10020.0);
}

} // namespace

} // namespace kelm
