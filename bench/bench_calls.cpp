// Does the work of one row so many times and nothing else that matters, for counting instructions: the difference
// between two numbers of calls is what the calls cost. Before that, the result is compared with what it must be.
//
//     bench_calls                                lists the rows: the units of one call, what a unit is, and the name
//     bench_calls contenders                     lists who does them, or some of them
//     bench_calls ROW CONTENDER CALLS [SEED]

#include "support/CallsMain.h"
#include "support/ExpressionTexts.h"
#include "support/ObjectTexts.h"
#include "support/ObjectTypes.h"
#include "support/PlainLoop.h"

#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseFieldPath.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace kelm;
using namespace kelm::bench;

struct Work
{
    std::function<bool()> m_isRight;
    std::function<void()> m_do;
};

struct Row
{
    std::string m_name;
    const char* m_unit;
    long m_unitsPerCall;
    std::function<Work()> m_ours;
    std::function<Work()> m_plainLoop = nullptr;
};

constexpr const char* s_contenders[] = {"KelmScript", "plain loop"};

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

// --- Expressions

KSValue Evaluate(const std::string& text)
{
    KSParser parser;
    parser.Init(SubString(text.data(), text.data() + text.size()));
    KSValue value;
    parser.ParseExpression(value);
    if (parser.m_token.m_type != TOKEN_END)
        throw std::runtime_error("an expression that ends before its text: " + text);
    return value;
}

bool IsSame(const KSValue& ours, const PlainValue& plain)
{
    switch (plain.m_kind)
    {
    case PlainKind::Int: return ours.is<int64>() && ours.as<int64>() == plain.m_int;
    case PlainKind::Float: return ours.is<float64>() && ours.as<float64>() == plain.m_float;
    case PlainKind::Bool: return ours.is<bool>() && ours.as<bool>() == (plain.m_int != 0);
    }
    return false;
}

Row StringRow(const std::string& name, const std::string& text, const std::string& expected)
{
    return {name, "call", 1, [=] {
                return Work{[=] { return Evaluate(text).as<string8>().view() == expected; }, [=] { Evaluate(text); }};
            }};
}

Row NumberRow(const std::string& name, const std::string& text)
{
    const auto isRight = [=] { return IsSame(Evaluate(text), EvaluatePlainly(text.c_str())); };
    return {name, "call", 1,
            [=] {
                return Work{isRight, [=] { Evaluate(text); }};
            },
            [=] {
                return Work{isRight, [=] { EvaluatePlainly(text.c_str()); }};
            }};
}

// --- Paths

struct Path
{
    const char* m_name;
    const char* m_path;
    ptr<IObject> (*m_makeRoot)();
    bool m_isGood = true;
};

ptr<IObject> MakeDocument()
{
    return ReadObject(ToXString(DocumentTexts().m_ours));
}

// Lists in which an index may have five digits.
ptr<IObject> MakeLongDocument()
{
    const ptr<IObject> object = MakeDocument();
    auto& document = *static_cast<sample::Document*>(object.self());
    while (document.items.size() < 50'000)
        document.items.push_back(document.items[0]);
    while (document.scene.nodes.size() < 20'000)
        document.scene.nodes.push_back(document.scene.nodes[0]);
    auto& parts = document.scene.nodes[12'345].mesh.parts;
    while (parts.size() < 10'000)
        parts.push_back(parts[0]);
    return object;
}

ptr<IObject> MakeDocumentOfModels()
{
    return ReadObject("sample::OfDocument{scene={nodes=[{},{},{mesh={parts=[{},{weight=21.25}]}}]}}");
}

ptr<IObject> MakeChain()
{
    std::string text = "null";
    for (int i = 0; i < 10; ++i)
        text = "sample::Link{number=1 next=" + text + "}";
    return ReadObject(ToXString(text));
}

constexpr Path s_paths[] = {
    {"path of 1 step", ".scene", MakeDocument},
    {"path of 3 steps", ".items[3].name", MakeDocument},
    {"path of 7 steps", ".scene.nodes[2].mesh.parts[1].weight", MakeDocument},
    {"path of 3 steps, spaced", " . items [ 3 ] . name", MakeDocument},
    {"path of 7 steps, spaced", ".scene .nodes [ 2 ] . mesh .parts[ 1 ].weight", MakeDocument},
    {"path of 3 steps, long index", ".items[40321].name", MakeLongDocument},
    {"path of 7 steps, long indices", ".scene.nodes[12345].mesh.parts[9876].weight", MakeLongDocument},
    {"path of 7 steps, embedded models", ".scene.nodes[2].mesh.parts[1].weight", MakeDocumentOfModels},
    {"path of 3 steps, handles", ".next.next.number", MakeChain},
    {"path of 7 steps, handles", ".next.next.next.next.next.next.number", MakeChain},
    {"failing path of 1 step, unknown member", ".scne", MakeDocument, false},
    {"failing path of 1 step, malformed", ".", MakeDocument, false},
    {"failing path of 3 steps, unknown member", ".items[3].nme", MakeDocument, false},
    {"failing path of 3 steps, index", ".items[9].name", MakeDocument, false},
    {"failing path of 7 steps, unknown member", ".scene.nodes[2].mesh.parts[1].wight", MakeDocument, false},
    {"failing path of 7 steps, index", ".scene.nodes[2].mesh.parts[77].weight", MakeDocument, false},
    {"failing path of 7 steps, malformed", ".scene.nodes[2].mesh.parts[1].", MakeDocument, false},
};

Row PathRow(const Path& path)
{
    const auto prepare = [=]
    {
        const auto root = std::make_shared<const GcRoot>(path.m_makeRoot());
        const auto navigate = [=, text = xstring(path.m_path)]
        {
            ReflectionByteCode type;
            xstring error;
            return NavigatePathToField(root->get(), text, type, false, error) != nullptr;
        };
        return Work{[=] { return navigate() == path.m_isGood; }, [=] { navigate(); }};
    };
    return {path.m_name, "call", 1, prepare};
}

// --- Objects

template <class Objects>
Row MembersRow(const char* name, const char* className, int members)
{
    constexpr long count = 20'000;
    const auto prepare = [=]
    {
        const auto text = std::make_shared<const xstring>(ToXString(MembersText(className, count / members, members)));
        const auto isRight = [=]
        {
            const Collected read(ReadObject(*text));
            return read.As<Objects>().values.size() == count / members && read.As<Objects>().values.back().m04 == 4;
        };
        return Work{isRight, [=] { Collected(ReadObject(*text)); }};
    };
    return {name, "member", count, prepare};
}

std::vector<Row> MakeRows(std::uint64_t seed)
{
    std::vector<Row> rows;
    for (const ExpressionCase& expression : GetExpressionCases())
    {
        const std::string text = expression.m_text(s_ourSpelling);
        rows.push_back(expression.m_value.m_kind == ValueKind::String
                           ? StringRow(expression.m_name, text, expression.m_value.m_text)
                           : NumberRow(expression.m_name, text));
    }
    for (const ExpressionText& expression : GetMoreExpressions(seed))
        rows.push_back(NumberRow(expression.m_name, expression.m_text));
    for (const Path& path : s_paths)
        rows.push_back(PathRow(path));
    rows.push_back(MembersRow<sample::Fives>("members out of order, class of 5", "sample::Fives", 5));
    rows.push_back(MembersRow<sample::Hundreds>("members out of order, class of 100", "sample::Hundreds", 100));
    return rows;
}

const Row& FindRow(const std::vector<Row>& rows, const std::string& name)
{
    for (const Row& row : rows)
        if (row.m_name == name)
            return row;
    throw std::runtime_error("no such row: " + name);
}

void Run(const std::vector<std::string>& arguments)
{
    RegisterBenchTypes();
    const std::vector<Row> rows = MakeRows(arguments.size() == 4 ? std::stoull(arguments[3]) : 1);
    if (arguments.empty())
        for (const Row& row : rows)
            std::printf("%ld\t%s\t%s\n", row.m_unitsPerCall, row.m_unit, row.m_name.c_str());
    else if (arguments[0] == "contenders")
        for (const char* contender : s_contenders)
            std::puts(contender);
    else if (arguments.size() == 3 || arguments.size() == 4)
    {
        const Row& row = FindRow(rows, arguments[0]);
        const auto& prepare = arguments[1] == s_contenders[0] ? row.m_ours : row.m_plainLoop;
        if (prepare == nullptr)
            throw std::runtime_error("cannot do this row");
        const Work work = prepare();
        if (!work.m_isRight())
            throw std::runtime_error("the result is wrong");
        for (long i = std::stol(arguments[2]); i > 0; --i)
            work.m_do();
    }
    else
        throw std::runtime_error("wrong arguments: see the head of bench_calls.cpp");
}

} // namespace

int main(int argc, char** argv)
{
    return kelm::bench::RunCalls("bench_calls", argc, argv, Run);
}
