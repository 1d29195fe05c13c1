#include <klObject/describe/Describe.h>

#include <klUtils/KelmAssertionError.h>

namespace kelm
{

void ConstructArrayBy(void (*construct)(void*), void (*destroy)(void*), void* dst, ssize_t dstStride, ssize_t count)
{
    ssize_t i = 0;
    try
    {
        for (; i < count; ++i)
            construct(static_cast<char*>(dst) + i * dstStride);
    }
    catch (...)
    {
        DestructArrayBy(destroy, dst, dstStride, i);
        throw;
    }
}

void DestructArrayBy(void (*destroy)(void*), void* dst, ssize_t dstStride, ssize_t count)
{
    for (ssize_t i = 0; i < count; ++i)
        destroy(static_cast<char*>(dst) + i * dstStride);
}

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/describe/Describe";

} // namespace

void RegisterDescriptor(const ReflectedClass& descriptor, XTarget* target)
{
    KELM_ASSERT(RegisterReflectedClass(&descriptor, target) == NSE_OK);
}

void RegisterDescriptor(const ReflectedVariant& descriptor, XTarget* target)
{
    KELM_ASSERT(RegisterReflectedVariant(&descriptor, target) == NSE_OK);
}

void RegisterDescriptor(const ReflectedEnum& descriptor, XTarget* target)
{
    KELM_ASSERT(RegisterReflectedEnum(&descriptor, target) == NSE_OK);
}

void RegisterDescriptor(const ReflectedTypedef& descriptor, XTarget* target)
{
    KELM_ASSERT(RegisterReflectedTypedef(&descriptor, target) == NSE_OK);
}

void RegisterDescriptor(const ReflectedInterface& descriptor, XTarget* target)
{
    KELM_ASSERT(RegisterReflectedInterface(&descriptor, target) == NSE_OK);
}

} // namespace kelm
