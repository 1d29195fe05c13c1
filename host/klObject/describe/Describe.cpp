#include <klObject/describe/Describe.h>

#include <klUtils/KelmAssertionError.h>

namespace kelm
{

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
