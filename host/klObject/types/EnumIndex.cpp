#include <klObject/types/EnumIndex.h>

#include <atomic>

namespace kelm
{

EnumIndex::EnumIndex(const ReflectedEnum& r) : m_enumerators(static_cast<std::size_t>(r.m_count))
{
    for (int32 i = 0; i < r.m_count; ++i)
    {
        EnumeratorEntry& entry = m_enumerators.Insert(r.m_strings[i]);
        if (entry.m_index < 0)
            entry.m_index = i;
    }
}

std::unique_ptr<const EnumIndex> MakeEnumIndex(const ReflectedEnum& r)
{
    if (r.m_count <= 0 || r.m_strings == nullptr)
        return nullptr;
    return std::make_unique<const EnumIndex>(r);
}

int32 FindEnumerator(const ReflectedEnum& r, SubString name)
{
    // The enumeration may be registered by another thread just now.
    if (const EnumIndex* index = std::atomic_ref<const EnumIndex*>(r.m_index).load(std::memory_order_acquire))
    {
        const EnumeratorEntry* const entry = index->m_enumerators.Find(name);
        return entry != nullptr ? entry->m_index : -1;
    }
    for (int32 i = 0; i < r.m_count; ++i)
        if (strcmp(name, r.m_strings[i]) == 0)
            return i;
    return -1;
}

} // namespace kelm
