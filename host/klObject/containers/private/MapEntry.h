#pragma once

// The entries of a map or set as a list: the function tables only let them be walked from within.

#include <klObject/types/ReflectedTypes.h>

#include <cstddef>
#include <vector>

namespace kelm
{

// Points into the map or set.
struct MapEntry
{
    const char* m_key;
    const char* m_payload; // null in a set
};

// All entries, in key order. Fns is MapFns or SetFns.
template <class Fns>
std::vector<MapEntry> ListEntries(const Fns& fns, const void* mapOrSet)
{
    std::vector<MapEntry> entries;
    entries.reserve(static_cast<std::size_t>(fns.Count(mapOrSet)));
    fns.ForEach(
        mapOrSet,
        [](void* context, const void* key, void* payload)
        {
            static_cast<std::vector<MapEntry>*>(context)->push_back(
                {static_cast<const char*>(key), static_cast<const char*>(payload)});
            return true;
        },
        &entries);
    return entries;
}

} // namespace kelm
