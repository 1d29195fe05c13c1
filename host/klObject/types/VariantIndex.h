#pragma once

// VariantIndex: a variant's alternatives by the last segments of their names, made when the variant is registered.

#include <klObject/api.h>
#include <klObject/types/NameIndex.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <memory>
#include <vector>

namespace kelm
{

struct VariantIndex : NameIndex<ReflectedVariant>
{
    explicit VariantIndex(const ReflectedVariant& r);

    std::vector<int32> m_next;   // of each alternative: the next one whose name ends the same
    std::vector<int32> m_others; // whose names are not qualified names
};

// The index of a variant that has alternatives, null for others.
std::unique_ptr<const VariantIndex> MakeVariantIndex(const ReflectedVariant& r);

// Whether the last segments of a name that is no qualified name are those of the written one.
using IsSuffixOfOddName = bool (*)(SubString name, SubString written);

// The first alternative that has `written`, a qualified name, as the end of its name, by whole segments; or -1.
KLOBJECT_API int32 FindAlternative(const ReflectedVariant& r, SubString written, IsSuffixOfOddName isSuffixOfOddName);

} // namespace kelm
