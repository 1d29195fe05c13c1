// Does the work of one row of the comparison so many times and nothing else that matters, for counting instructions:
// the difference between two numbers of calls is what the calls cost.
//
//     bench_calls                        lists the rows: the units of one call, what a unit is, and the name
//     bench_calls contenders             lists who does them
//     bench_calls ROW CONTENDER CALLS

#include "support/ExpressionTexts.h"
#include "support/ObjectTexts.h"
#include "support/ObjectTypes.h"

#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseFieldPath.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace
{

using namespace kelm;
using namespace kelm::bench;

struct Row
{
    std::string m_name;
    const char* m_unit;
    long m_unitsPerCall;
    std::function<std::function<void()>()> m_prepare;
};

xstring ToXString(const std::string& text)
{
    return xstring(text.data(), static_cast<ssize_t>(text.size()));
}

Row ExpressionRow(const ExpressionCase& expression)
{
    const auto prepare = [=, text = expression.m_text(s_ourSpelling)]
    {
        return [=]
        {
            KSParser parser;
            parser.Init(SubString(text.data(), text.data() + text.size()));
            KSValue value;
            parser.ParseExpression(value);
        };
    };
    return {expression.m_name, "call", 1, prepare};
}

Row PathRow(const char* name, const char* pathText)
{
    const auto prepare = [=]
    {
        const auto root = std::make_shared<const GcRoot>(ReadObject(ToXString(DocumentTexts().m_ours)));
        return [=, path = xstring(pathText)]
        {
            ReflectionByteCode type;
            xstring error;
            NavigatePathToField(root->get(), path, type, false, error);
        };
    };
    return {name, "call", 1, prepare};
}

Row ObjectRow(const char* name, const char* unit, long units, std::function<std::string()> makeText)
{
    const auto prepare = [=]
    {
        const auto text = std::make_shared<const xstring>(ToXString(makeText()));
        return [=] { ReadObject(*text); };
    };
    return {name, unit, units, prepare};
}

std::vector<Row> MakeRows()
{
    constexpr long count = 20'000;
    std::vector<Row> rows;
    for (const ExpressionCase& expression : GetExpressionCases())
        rows.push_back(ExpressionRow(expression));
    rows.push_back(PathRow("path of 3 steps", ".items[3].name"));
    rows.push_back(PathRow("path of 7 steps", ".scene.nodes[2].mesh.parts[1].weight"));
    rows.push_back(ObjectRow("members out of order, class of 5", "member", count,
                             [] { return MembersText("sample::Fives", count / 5, 5); }));
    rows.push_back(ObjectRow("members out of order, class of 100", "member", count,
                             [] { return MembersText("sample::Hundreds", count / 100, 100); }));
    return rows;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        RegisterBenchTypes();
        const std::vector<Row> rows = MakeRows();
        if (argc == 1)
            for (const Row& row : rows)
                std::printf("%ld\t%s\t%s\n", row.m_unitsPerCall, row.m_unit, row.m_name.c_str());
        if (argc == 2)
            std::puts("KelmScript");
        for (const Row& row : rows)
            if (argc == 4 && row.m_name == argv[1])
            {
                const std::function<void()> work = row.m_prepare();
                for (long i = std::stol(argv[3]); i > 0; --i)
                    work();
            }
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "bench_calls: %s\n", e.what());
        return 1;
    }
    return 0;
}
