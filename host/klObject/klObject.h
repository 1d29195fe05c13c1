#pragma once

#include <klObject/api.h>
#include <klObject/types/ReflectedTypes.h>

// Registers what the library itself describes: the interfaces "kelm::IObject" and "kelm::IPersistable", the typedefs
// "kelm::xstring" and "kelm::xstring16", the class "kelm::ReflectionByteCode". Later calls do nothing. Belongs to the
// thread that registers.
extern "C" KLOBJECT_API void Register_Project_klObject();
// Forgets nothing: registrations last as long as the process.
extern "C" KLOBJECT_API void Unregister_Project_klObject();

namespace kelm
{

// One registration each; a refusal by the registry is an assertion failure.
KLOBJECT_API void _Register_IObject();
KLOBJECT_API void _Register_IPersistable();
KLOBJECT_API void _Register_xstring();
KLOBJECT_API void _Register_xstring16();
KLOBJECT_API void _Register_ReflectionByteCode();

// The class of byte code cursors, opaque: it has a size and the operations of its type, but no fields. The argument
// selects the overload and is not used.
KLOBJECT_API const ReflectedClass& _GetReflected(const ReflectionByteCode*);

} // namespace kelm
