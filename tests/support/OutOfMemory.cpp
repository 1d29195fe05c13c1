#include <support/OutOfMemory.h>

#include <cstdlib>
#include <new>

namespace
{

constinit thread_local long t_allocationsLeft = -1; // without a limit when negative
constinit thread_local bool t_failsOnce = false;
constinit thread_local bool t_hasFailed = false;

} // namespace

// Every form of new and delete that is used is here: a pair of which the sanitizer has one half is an error to it.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (t_allocationsLeft == 0)
    {
        t_hasFailed = true;
        if (t_failsOnce)
            t_allocationsLeft = -1;
        return nullptr;
    }
    void* const memory = std::malloc(size != 0 ? size : 1);
    if (memory != nullptr && t_allocationsLeft > 0)
        --t_allocationsLeft;
    return memory;
}

void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace kelm
{

OutOfMemory::OutOfMemory(long allocationsLeft, bool failsOnce)
{
    t_allocationsLeft = allocationsLeft;
    t_failsOnce = failsOnce;
    t_hasFailed = false;
}

OutOfMemory::~OutOfMemory()
{
    t_allocationsLeft = -1;
}

bool OutOfMemory::HasFailed()
{
    return t_hasFailed;
}

} // namespace kelm
