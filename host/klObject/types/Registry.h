#pragma once

// The registries of the process: descriptors by fully qualified name.
//
// Registration happens on one thread at a time, look-ups on any thread once registration is over (look-ups while
// another thread registers are safe too). A descriptor stays registered until the process ends; the registry keeps the
// pointer and owns nothing.

#include <klObject/api.h>
#include <klObject/types/FoundDescriptors.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>
#include <klUtils/xvector.h>

namespace kelm
{

struct XTarget; // a registered target, of which only its identity matters here

enum ENameSpaceError : int32
{
    NSE_OK = 0,
    NSE_COLON_EXPECTED = 1,      // one colon alone, or another character than "::" behind an identifier
    NSE_IDENTIFIER_EXPECTED = 2, // an empty name, or no identifier where one must stand
    NSE_NAME_ALREADY_IN_USE = 3, // the name is taken, by a descriptor of any kind or as a namespace
    NSE_NAME_NOT_FOUND = 4,      // there is nothing to register: the descriptor, or its name, is null
    NSE_NOT_A_NAMESPACE = 5,     // a part of the name before a "::" is registered as a type or function
};

KLOBJECT_API ENameSpaceError RegisterReflectedClass(const ReflectedClass* descriptor, XTarget* target);
KLOBJECT_API ENameSpaceError RegisterReflectedVariant(const ReflectedVariant* descriptor, XTarget* target);
KLOBJECT_API ENameSpaceError RegisterReflectedEnum(const ReflectedEnum* descriptor, XTarget* target);
KLOBJECT_API ENameSpaceError RegisterReflectedTypedef(const ReflectedTypedef* descriptor, XTarget* target);
KLOBJECT_API ENameSpaceError RegisterReflectedInterface(const ReflectedInterface* descriptor, XTarget* target);
KLOBJECT_API ENameSpaceError RegisterReflectedGlobalFunction(const ReflectedGlobalFunction* descriptor,
                                                             XTarget* target);

// The registered class of that name; its absence fails the assertion "rc".
KLOBJECT_API const ReflectedClass& FindReflectedClass(ConstStringZ name);

// The descriptor of that kind and name, or null.
inline const ReflectedClass* TryFindReflectedClass(ConstStringZ name)
{
    return s_foundClasses.Find(name);
}
inline const ReflectedVariant* TryFindReflectedVariant(ConstStringZ name)
{
    return s_foundVariants.Find(name);
}
inline const ReflectedEnum* TryFindReflectedEnum(ConstStringZ name)
{
    return s_foundEnums.Find(name);
}
inline const ReflectedTypedef* TryFindReflectedTypedef(ConstStringZ name)
{
    return s_foundTypedefs.Find(name);
}
KLOBJECT_API const ReflectedInterface* TryFindReflectedInterface(ConstStringZ name);
KLOBJECT_API const ReflectedGlobalFunction* TryFindReflectedGlobalFunction(ConstStringZ name);

// The target under which a name was registered; null when the name is unknown or was registered under none.
KLOBJECT_API XTarget* GetTargetOfName(ConstStringZ name);

// All descriptors of one kind, ordered by name.
KLOBJECT_API xvector<const ReflectedClass*> GetReflectedClasses();
KLOBJECT_API xvector<const ReflectedVariant*> GetReflectedVariants();
KLOBJECT_API xvector<const ReflectedEnum*> GetReflectedEnums();
KLOBJECT_API xvector<const ReflectedTypedef*> GetReflectedTypedefs();
KLOBJECT_API xvector<const ReflectedInterface*> GetReflectedInterfaces();
KLOBJECT_API xvector<const ReflectedGlobalFunction*> GetReflectedGlobalFunctions();

} // namespace kelm
