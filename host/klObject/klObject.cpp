#include <klObject/klObject.h>

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/Registry.h>
#include <klObject/types/TypeOps.h>
#include <klUtils/KelmAssertionError.h>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/klObject";

// What the library describes belongs to no release of any target.
constexpr XTarget* s_noTarget = nullptr;

constexpr uint8 s_string8[] = {FT_STRING8};
constexpr uint8 s_string16[] = {FT_STRING16};

constexpr ReflectedTypedef s_xstring = {.m_name = "kelm::xstring", .m_bc = s_string8};
constexpr ReflectedTypedef s_xstring16 = {.m_name = "kelm::xstring16", .m_bc = s_string16};

constexpr TypeOps s_opsOfReflectionByteCode = MakeTypeOps<ReflectionByteCode>();
const ReflectedClass s_reflectionByteCode = {
    .m_name = "kelm::ReflectionByteCode", .m_size = sizeof(ReflectionByteCode), .m_ops = &s_opsOfReflectionByteCode};

} // namespace

const ReflectedClass& _GetReflected(const ReflectionByteCode*)
{
    return s_reflectionByteCode;
}

void _Register_IObject()
{
    KELM_ASSERT(RegisterReflectedInterface(&_GetReflected(static_cast<const IObject*>(nullptr)), s_noTarget) == NSE_OK);
}

void _Register_IPersistable()
{
    KELM_ASSERT(RegisterReflectedInterface(&_GetReflected(static_cast<const IPersistable*>(nullptr)), s_noTarget) ==
                NSE_OK);
}

void _Register_xstring()
{
    KELM_ASSERT(RegisterReflectedTypedef(&s_xstring, s_noTarget) == NSE_OK);
}

void _Register_xstring16()
{
    KELM_ASSERT(RegisterReflectedTypedef(&s_xstring16, s_noTarget) == NSE_OK);
}

void _Register_ReflectionByteCode()
{
    KELM_ASSERT(RegisterReflectedClass(&_GetReflected(static_cast<const ReflectionByteCode*>(nullptr)), s_noTarget) ==
                NSE_OK);
}

} // namespace kelm

void Register_Project_klObject()
{
    static bool s_isRegistered = false;
    if (s_isRegistered)
        return;
    s_isRegistered = true;
    kelm::_Register_IObject();
    kelm::_Register_IPersistable();
    kelm::_Register_xstring();
    kelm::_Register_xstring16();
    kelm::_Register_ReflectionByteCode();
}

void Unregister_Project_klObject() {}
