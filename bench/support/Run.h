#pragma once

// One benchmark's loop and what is told of it: bytes, tokens and values a second, allocations an operation.

#include <support/AllocationCount.h>

#include <benchmark/benchmark.h>

#include <string>

namespace kelm::bench
{

// What one operation gets through; what is 0 is not told.
struct Work
{
    double m_bytes = 0;
    double m_tokens = 0;
    double m_values = 0;
};

inline void SetRate(benchmark::State& state, const char* name, double perOperation)
{
    if (perOperation > 0)
        state.counters[name] = benchmark::Counter(perOperation, benchmark::Counter::kIsIterationInvariantRate);
}

// A part of an operation that is neither timed nor counted.
template <class Part>
void Untimed(benchmark::State& state, Part part)
{
    state.PauseTiming();
    {
        const UncountedAllocations uncounted;
        part();
    }
    state.ResumeTiming();
}

template <class Operation>
void Run(benchmark::State& state, const Work& work, Operation operation)
{
    const std::size_t before = GetAllocationCounts().m_allocations;
    for (auto _ : state)
        operation();
    const std::size_t allocations = GetAllocationCounts().m_allocations - before;
    SetRate(state, "bytes", work.m_bytes);
    SetRate(state, "tokens", work.m_tokens);
    SetRate(state, "values", work.m_values);
    state.counters["allocs/op"] =
        benchmark::Counter(static_cast<double>(allocations), benchmark::Counter::kAvgIterations);
}

// Registers a benchmark that is a call of `function` with `argument`.
template <class Function, class Argument>
void Add(const std::string& name, Function function, Argument argument)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { function(state, argument); });
}

} // namespace kelm::bench

// Defines main: `addAll` registers the benchmarks.
#define KELM_BENCH_MAIN(addAll)                                                                                        \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        addAll();                                                                                                      \
        benchmark::Initialize(&argc, argv);                                                                            \
        if (benchmark::ReportUnrecognizedArguments(argc, argv))                                                        \
            return 1;                                                                                                  \
        benchmark::RunSpecifiedBenchmarks();                                                                           \
        benchmark::Shutdown();                                                                                         \
        return 0;                                                                                                      \
    }
