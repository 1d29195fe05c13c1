#pragma once

// What a type needs to be walked, checked: the class or variant that it names, the elements of arrays. Assertions that
// fail name the source that asks and the line where it does.

#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/values/private/ScalarTypes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/types.h>

namespace kelm
{

// KELM_ASSERT on behalf of another source.
inline void Require(bool holds, ConstStringZ condition, ConstStringZ sourceFile, int line)
{
    if (!holds)
        ThrowKelmAssertionError(condition, sourceFile, line);
}

inline const ReflectedClass& GetClass(ReflectionByteCode type, ConstStringZ sourceFile, int line = __builtin_LINE())
{
    const ReflectedClass* const rc = type.GetReflectedClass();
    Require(rc != nullptr, "rc", sourceFile, line);
    return *rc;
}

inline const ReflectedVariant& GetVariant(ReflectionByteCode type, ConstStringZ sourceFile, int line = __builtin_LINE())
{
    const ReflectedVariant* const rv = type.GetReflectedVariant();
    Require(rv != nullptr, "rv", sourceFile, line);
    return *rv;
}

// The alternative that a variable of the variant holds now.
inline const ReflectedField& GetAlternative(const ReflectedVariant& rv, const char* variable, ConstStringZ sourceFile,
                                            int line = __builtin_LINE())
{
    const auto index = LoadScalar<int32>(variable);
    Require(0 <= index && index < rv.m_numFields, "0 <= index && index < rv.m_numFields", sourceFile, line);
    return rv.m_fields[index];
}

// The underlying type of the elements of arrays, which lie side by side: `count` variables of the type are as many of
// that one as `count` says afterwards.
inline ReflectionByteCode EnterArrays(ReflectionByteCode type, ssize_t& count, ConstStringZ sourceFile,
                                      int line = __builtin_LINE())
{
    type.AdvanceToUnderlyingType2();
    while (type.GetCode() == FT_ARRAY)
    {
        const ssize_t arraySize = type.GetArrayCount();
        Require(arraySize >= 0, "arraySize >= 0", sourceFile, line);
        const bool arrayIsTooLarge = __builtin_mul_overflow(count, arraySize, &count);
        Require(!arrayIsTooLarge, "!arrayIsTooLarge", sourceFile, line);
        type = type.GetElementType();
        type.AdvanceToUnderlyingType2();
    }
    return type;
}

} // namespace kelm
