// Objects: making, collecting, comparing, looking up classes, writing back.

#include "support/ObjectTexts.h"
#include "support/ObjectTypes.h"
#include "support/Run.h"

#include <klObject/objects/Collector.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>

#include <string>

namespace
{

using namespace kelm;
using namespace kelm::bench;

// Objects that nothing reaches, or a chain of them. Returns the last one made, which reaches the chain.
ptr<IObject> MakeLinks(long count, bool areChained)
{
    ptr<IObject> last;
    for (long i = 0; i < count; ++i)
    {
        const ptr<IObject> object = CreateGcObject<sample::Link>();
        RegisterGcObject(object);
        if (areChained)
            static_cast<sample::Link*>(object.self())->next = last;
        last = object;
    }
    return last;
}

void Make(benchmark::State& state, long count)
{
    Run(state, {0, 0, static_cast<double>(count)},
        [&]
        {
            MakeLinks(count, false);
            Untimed(state, CollectGarbage);
        });
}

// Everything is garbage.
void Free(benchmark::State& state, long count)
{
    Run(state, {0, 0, static_cast<double>(count)},
        [&]
        {
            Untimed(state, [&] { MakeLinks(count, true); });
            if (CollectGarbage().m_lastFreed != count)
                state.SkipWithError("not all were freed");
        });
}

// Everything is reached, link by link.
void Mark(benchmark::State& state, long count)
{
    const GcRoot root(MakeLinks(count, true));
    Run(state, {0, 0, static_cast<double>(count)},
        [&]
        {
            if (CollectGarbage().m_live != count)
                state.SkipWithError("not all were kept");
        });
}

void FindClass(benchmark::State& state, const char* name)
{
    Run(state, {0, 0, 1}, [&] { benchmark::DoNotOptimize(TryFindReflectedClass(name)); });
}

struct TextCase
{
    std::string m_text;
    double m_values;
};

ptr<IObject> ReadCase(const TextCase& row)
{
    return ReadObject(xstring(row.m_text.data(), static_cast<ssize_t>(row.m_text.size())));
}

void WriteBack(benchmark::State& state, const TextCase& row)
{
    const GcRoot root(ReadCase(row));
    StringStream once(4096);
    WriteObject(once, root.get());
    Run(state, {static_cast<double>(once.GetString().size()), 0, row.m_values},
        [&]
        {
            StringStream stream(4096);
            WriteObject(stream, root.get());
            benchmark::DoNotOptimize(stream);
        });
}

void Compare(benchmark::State& state, const TextCase& row)
{
    const GcRoot a(ReadCase(row));
    const GcRoot b(ReadCase(row));
    const ReflectedModelField& values = a.get().GetReflectedClass()->m_modelFields[0];
    const ReflectionByteCode type(values.m_bc, a.get().GetReflectedClass()->m_stringTable, values.m_mapOrSetFns);
    Run(state, {0, 0, row.m_values},
        [&]
        {
            if (!CompareEqReflectedVariable(type, a.get().self(), type, b.get().self()))
                state.SkipWithError("not equal");
        });
}

void AddAll()
{
    RegisterBenchTypes();
    for (const long count : {1000L, 1'000'000L})
    {
        const std::string number = std::to_string(count);
        Add("make/" + number, Make, count);
        Add("collect, none reached/" + number, Free, count);
        Add("collect, all reached/" + number, Mark, count);
    }
    Add("find a class", FindClass, "sample::Record");
    Add("find no class", FindClass, "sample::Nothing");

    const std::pair<const char*, TextCase> texts[] = {
        {"100 k integers", {TextsOf(MakeIntegers(100'000)).m_ours, 1e5}},
        {"100 k doubles of 17 digits", {TextsOf(MakeDoubles(100'000)).m_ours, 1e5}},
        {"20 k records", {TextsOf(MakeRecords(20'000)).m_ours, 20e3 * s_valuesPerRecord}},
        {"map of 20 k strings to integers", {TextsOf(MakeCounts(20'000)).m_ours, 20e3}},
    };
    for (const auto& [name, row] : texts)
    {
        Add(std::string("write/") + name, WriteBack, row);
        Add(std::string("compare/") + name, Compare, row);
    }
}

} // namespace

KELM_BENCH_MAIN(AddAll)
