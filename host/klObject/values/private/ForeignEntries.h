#pragma once

// The entries of a foreign map or set as a list.

#include <klObject/containers/private/MapEntry.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>

#include <algorithm>
#include <vector>

namespace kelm
{

// In the map's own order; where it has none, in that of the keys.
inline std::vector<MapEntry> ListForeignEntries(const ForeignType& type, const void* map)
{
    std::vector<MapEntry> entries = ListEntries(*type.m_map, map);
    if (!type.m_map->m_isOrdered)
        std::sort(entries.begin(), entries.end(),
                  [keyType = type.GetPartType(0)](const MapEntry& a, const MapEntry& b)
                  { return CompareReflectedVariables(KEYS_ORDER, keyType, a.m_key, keyType, b.m_key) < 0; });
    return entries;
}

} // namespace kelm
