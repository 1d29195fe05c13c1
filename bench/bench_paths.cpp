// Paths: steps of each kind, classes of each size, failures.

#include "support/ObjectTexts.h"
#include "support/ObjectTypes.h"
#include "support/Run.h"

#include <klKelmScript/ParseFieldPath.h>

#include <cstring>
#include <string>

namespace
{

using namespace kelm;
using namespace kelm::bench;

struct PathCase
{
    const char* m_name;
    const char* m_path;
    double m_steps;
};

constexpr PathCase s_cases[] = {
    {"the object itself", "", 0},
    {"member", ".scene", 1},
    {"member of a member", ".scene.title", 2},
    {"element", ".items[3]", 2},
    {"3 steps", ".items[3].name", 3},
    {"7 steps", ".scene.nodes[2].mesh.parts[1].weight", 7},
    {"7 steps with spaces", " . scene . nodes [ 2 ] . mesh . parts [ 1 ] . weight", 7},
};

ptr<IObject> MakeDocument()
{
    return ReadObject(xstring(DocumentTexts().m_ours.c_str()));
}

void NavigateTo(benchmark::State& state, ptr<IObject> object, const std::string& pathText, double steps)
{
    const GcRoot root(object);
    const xstring path(pathText.c_str());
    Run(state, {static_cast<double>(path.size()), 0, steps},
        [&]
        {
            ReflectionByteCode type;
            xstring error;
            void* address = NavigatePathToField(object, path, type, false, error);
            benchmark::DoNotOptimize(address);
        });
}

void Navigate(benchmark::State& state, const PathCase& row)
{
    NavigateTo(state, MakeDocument(), row.m_path, row.m_steps);
}

void Fail(benchmark::State& state, const PathCase& row)
{
    NavigateTo(state, MakeDocument(), row.m_path, row.m_steps);
}

// A parser that the caller keeps, in place of a text.
void NavigateWithParser(benchmark::State& state, const PathCase& row)
{
    const GcRoot root(MakeDocument());
    const std::string path = row.m_path;
    Run(state, {static_cast<double>(path.size()), 0, row.m_steps},
        [&]
        {
            ExpressionParser parser;
            parser.Init(SubString(path.data(), path.data() + path.size()));
            ReflectionByteCode type;
            void* address = NavigatePathToField(root.get(), parser, type, true);
            benchmark::DoNotOptimize(address);
        });
}

template <class Class>
void NavigateToName(benchmark::State& state, const std::string& name)
{
    const ptr<IObject> object = CreateGcObject<Class>();
    RegisterGcObject(object);
    NavigateTo(state, object, "." + name, 1);
}

void AddAll()
{
    RegisterBenchTypes();
    for (const PathCase& row : s_cases)
        Add(std::string("path/") + row.m_name, Navigate, row);
    for (const PathCase& row : s_cases)
        Add(std::string("path by parser/") + row.m_name, NavigateWithParser, row);
    Add("failure/unknown member", Fail, PathCase{"", ".items[3].nobody", 3});
    Add("failure/index out of range", Fail, PathCase{"", ".items[9].name", 3});
    for (const int member : {0, 4})
        Add("class of 5/member " + std::to_string(member), NavigateToName<sample::Five>, MemberName(member));
    for (const int member : {0, 4, 50, 99})
        Add("class of 100/member " + std::to_string(member), NavigateToName<sample::Hundred>, MemberName(member));
    for (const char* name : {"interval", "intervals", "maximum_interval_in_days"})
        Add("name of " + std::to_string(std::strlen(name)), NavigateToName<sample::Settings>, std::string(name));
}

} // namespace

KELM_BENCH_MAIN(AddAll)
