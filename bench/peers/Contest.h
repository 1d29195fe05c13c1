#pragma once

// Rows of a comparison: one workload, ours and its peers, timed in turns in one process, so that whatever the machine
// does meanwhile happens to all of them.

#include "../support/ThreadTime.h"

#include <functional>
#include <string>
#include <vector>

namespace kelm::bench
{

// One way to do a row's work.
struct Contender
{
    std::string m_name;
    std::function<bool()> m_isRight;    // does the work once and checks what comes out
    std::function<double(long)> m_time; // nanoseconds that doing the work so many times takes
};

struct Row
{
    std::string m_name;
    std::string m_unit = "call"; // what the times are per
    double m_unitsPerCall = 1;
    std::vector<Contender> m_contenders; // ours first
};

struct ContenderResult
{
    std::string m_name;
    double m_nanoseconds; // per unit, the median of the rounds
    double m_ratio;       // its time over ours, the median of the rounds' ratios
};

struct RowResult
{
    std::string m_name;
    std::string m_unit;
    std::vector<ContenderResult> m_contenders;
};

// The compiler must take `x` as read and written.
template <class T>
void Keep(T& x)
{
    asm volatile("" : : "g"(&x) : "memory");
}

// Times a loop of calls.
template <class Work>
std::function<double(long)> Timed(Work work)
{
    return [work](long calls)
    {
        const double start = GetThreadNanoseconds();
        for (long i = 0; i < calls; ++i)
            work();
        return GetThreadNanoseconds() - start;
    };
}

// Times calls that leave something behind, which is dropped outside the measured time.
template <class Work>
std::function<double(long)> TimedWithoutCleanUp(Work work)
{
    return [work](long calls)
    {
        double total = 0;
        for (long i = 0; i < calls; ++i)
        {
            const double start = GetThreadNanoseconds();
            const auto result = work();
            total += GetThreadNanoseconds() - start;
            Keep(result);
        }
        return total;
    };
}

// One row with the texts of several seeds, which the rounds take in turn. Throws std::runtime_error when a contender's
// result is wrong. `seconds` is about how long the measuring takes; there are `leastRounds` whatever it takes.
RowResult Measure(const std::vector<Row>& seeds, double seconds, int leastRounds);

} // namespace kelm::bench
