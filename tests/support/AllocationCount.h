#pragma once

// Counts what is allocated through operator new, the shared libraries' share included. For programs that are built with
// AllocationCount.cpp, which has the operators.

#include <cstddef>

namespace kelm
{

struct AllocationCounts
{
    std::size_t m_allocations = 0; // of this thread, since it began
    std::size_t m_liveBytes = 0;   // of all threads: usable bytes of the blocks allocated and not yet freed
    std::size_t m_peakBytes = 0;   // the most that were live since ResetPeakBytes
};

AllocationCounts GetAllocationCounts();
void ResetPeakBytes();

// The number of allocations that a call makes.
template <class Function>
std::size_t CountAllocations(Function&& function)
{
    const std::size_t before = GetAllocationCounts().m_allocations;
    function();
    return GetAllocationCounts().m_allocations - before;
}

// The bytes by which a call's live memory grows at most.
template <class Function>
std::size_t MeasurePeakBytes(Function&& function)
{
    ResetPeakBytes();
    const std::size_t before = GetAllocationCounts().m_liveBytes;
    function();
    return GetAllocationCounts().m_peakBytes - before;
}

// While one lives, this thread's allocations are not counted as such; live bytes are.
class UncountedAllocations
{
public:
    UncountedAllocations();
    UncountedAllocations(const UncountedAllocations&) = delete;
    UncountedAllocations& operator=(const UncountedAllocations&) = delete;
    ~UncountedAllocations();

private:
    std::size_t m_before;
};

} // namespace kelm
