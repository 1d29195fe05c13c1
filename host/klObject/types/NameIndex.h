#pragma once

// NameIndex: what the indices of enumerations and variants are made of. One is made when its descriptor is registered,
// and published in the descriptor's m_index.

#include <klObject/types/NameTable.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <atomic>
#include <cstddef>

namespace kelm
{

template <class Descriptor>
struct NameIndex
{
    struct Entry : NamedEntry
    {
        int32 m_first = -1; // of what has the name
    };

    NameIndex(const Descriptor& descriptor, ssize_t maxNames)
        : m_descriptor(&descriptor), m_names(static_cast<std::size_t>(maxNames))
    {
    }

    // The first of that name, or -1.
    int32 FindFirst(SubString name) const
    {
        const Entry* const entry = m_names.Find(name);
        return entry != nullptr ? entry->m_first : -1;
    }

    const Descriptor* m_descriptor; // a copy of the descriptor is not the one that is indexed
    NameTable<Entry> m_names;
};

// The index that there is of this very descriptor, or null. It may be registered by another thread just now.
template <class Descriptor>
auto GetNameIndex(const Descriptor& descriptor)
{
    const auto index = std::atomic_ref(descriptor.m_index).load(std::memory_order_acquire);
    return index != nullptr && index->m_descriptor == &descriptor ? index : nullptr;
}

} // namespace kelm
