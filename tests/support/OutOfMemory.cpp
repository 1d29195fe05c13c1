#include <support/OutOfMemory.h>

#include <cstdlib>
#include <new>

namespace
{

constinit thread_local long t_allocationsLeft = -1; // without a limit when negative

} // namespace

void* operator new(std::size_t size)
{
    void* const memory = t_allocationsLeft == 0 ? nullptr : std::malloc(size != 0 ? size : 1);
    if (memory == nullptr)
        throw std::bad_alloc();
    if (t_allocationsLeft > 0)
        --t_allocationsLeft;
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

OutOfMemory::OutOfMemory(long allocationsLeft)
{
    t_allocationsLeft = allocationsLeft;
}

OutOfMemory::~OutOfMemory()
{
    t_allocationsLeft = -1;
}

} // namespace kelm
