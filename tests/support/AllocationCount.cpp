#include <support/AllocationCount.h>

#include <atomic>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace
{

constinit thread_local std::size_t t_allocations = 0;
constinit std::atomic<std::size_t> s_liveBytes = 0;
constinit std::atomic<std::size_t> s_peakBytes = 0;

void* Count(void* block)
{
    if (block == nullptr)
        throw std::bad_alloc();
    ++t_allocations;
    const std::size_t size = malloc_usable_size(block);
    const std::size_t live = s_liveBytes.fetch_add(size, std::memory_order_relaxed) + size;
    std::size_t peak = s_peakBytes.load(std::memory_order_relaxed);
    while (peak < live && !s_peakBytes.compare_exchange_weak(peak, live, std::memory_order_relaxed))
    {
    }
    return block;
}

void Release(void* block) noexcept
{
    if (block == nullptr)
        return;
    s_liveBytes.fetch_sub(malloc_usable_size(block), std::memory_order_relaxed);
    std::free(block);
}

} // namespace

// The array and nothrow forms of the standard library call these.
void* operator new(std::size_t size)
{
    return Count(std::malloc(size != 0 ? size : 1));
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    const std::size_t step = static_cast<std::size_t>(alignment);
    return Count(std::aligned_alloc(step, (size + step - 1) / step * step));
}
void operator delete(void* block) noexcept
{
    Release(block);
}
void operator delete(void* block, std::size_t) noexcept
{
    Release(block);
}
void operator delete(void* block, std::align_val_t) noexcept
{
    Release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    Release(block);
}

namespace kelm
{

AllocationCounts GetAllocationCounts()
{
    return {t_allocations, s_liveBytes.load(std::memory_order_relaxed), s_peakBytes.load(std::memory_order_relaxed)};
}

void ResetPeakBytes()
{
    s_peakBytes.store(s_liveBytes.load(std::memory_order_relaxed), std::memory_order_relaxed);
}

UncountedAllocations::UncountedAllocations() : m_before(t_allocations) {}

UncountedAllocations::~UncountedAllocations()
{
    t_allocations = m_before;
}

} // namespace kelm
