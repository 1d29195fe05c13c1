#pragma once

// EnumIndex: an enumeration's enumerators by name, made when the enumeration is registered.

#include <klObject/api.h>
#include <klObject/types/NameTable.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <memory>

namespace kelm
{

struct EnumeratorEntry : NamedEntry
{
    int32 m_index = -1; // of the first enumerator of the name
};

struct EnumIndex
{
    explicit EnumIndex(const ReflectedEnum& r);

    NameTable<EnumeratorEntry> m_enumerators;
};

// The index of an enumeration that has enumerators, null for others.
std::unique_ptr<const EnumIndex> MakeEnumIndex(const ReflectedEnum& r);

// The index of the first enumerator of that name, or -1.
KLOBJECT_API int32 FindEnumerator(const ReflectedEnum& r, SubString name);

} // namespace kelm
