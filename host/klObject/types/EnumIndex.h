#pragma once

// EnumIndex: an enumeration's enumerators by name and by value, made when the enumeration is registered.

#include <klObject/api.h>
#include <klObject/types/NameIndex.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <memory>
#include <vector>

namespace kelm
{

struct EnumIndex : NameIndex<ReflectedEnum>
{
    explicit EnumIndex(const ReflectedEnum& r);

    // Sorted by value: the first enumerator of each. Empty where the values are the indices.
    struct Value
    {
        int32 m_value;
        int32 m_index;
    };
    std::vector<Value> m_values;
};

// The index of an enumeration that has enumerators, null for others.
std::unique_ptr<const EnumIndex> MakeEnumIndex(const ReflectedEnum& r);

// The index of the first enumerator of that name, or -1.
KLOBJECT_API int32 FindEnumerator(const ReflectedEnum& r, SubString name);

// The index of the first enumerator of that value, or -1.
KLOBJECT_API int32 FindEnumeratorByValue(const ReflectedEnum& r, int32 value);

} // namespace kelm
