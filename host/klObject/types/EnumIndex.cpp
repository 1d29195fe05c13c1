#include <klObject/types/EnumIndex.h>

#include <klUtils/StableSort.h>

#include <algorithm>

namespace kelm
{

EnumIndex::EnumIndex(const ReflectedEnum& r) : NameIndex(r, r.m_count)
{
    for (int32 i = 0; i < r.m_count; ++i)
    {
        Entry& entry = m_names.Insert(r.m_strings[i]);
        if (entry.m_first < 0)
            entry.m_first = i;
    }
    if (r.m_values == nullptr)
        return;
    m_values.reserve(static_cast<std::size_t>(r.m_count));
    for (int32 i = 0; i < r.m_count; ++i)
        m_values.push_back({r.m_values[i], i});
    const auto isLess = [](const Value& a, const Value& b) { return a.m_value < b.m_value; };
    StableSort(m_values, isLess);
    const auto isSame = [](const Value& a, const Value& b) { return a.m_value == b.m_value; };
    m_values.erase(std::unique(m_values.begin(), m_values.end(), isSame), m_values.end());
}

std::unique_ptr<const EnumIndex> MakeEnumIndex(const ReflectedEnum& r)
{
    if (r.m_count <= 0 || r.m_strings == nullptr)
        return nullptr;
    return std::make_unique<const EnumIndex>(r);
}

int32 FindEnumerator(const ReflectedEnum& r, SubString name)
{
    if (const EnumIndex* const index = GetNameIndex(r))
        return index->FindFirst(name);
    for (int32 i = 0; i < r.m_count; ++i)
        if (strcmp(name, r.m_strings[i]) == 0)
            return i;
    return -1;
}

int32 FindEnumeratorByValue(const ReflectedEnum& r, int32 value)
{
    if (r.m_values == nullptr)
        return 0 <= value && value < r.m_count ? value : -1;
    if (const EnumIndex* const index = GetNameIndex(r))
    {
        const auto isLess = [](const EnumIndex::Value& a, int32 b) { return a.m_value < b; };
        const auto found = std::lower_bound(index->m_values.begin(), index->m_values.end(), value, isLess);
        return found != index->m_values.end() && found->m_value == value ? found->m_index : -1;
    }
    for (int32 i = 0; i < r.m_count; ++i)
        if (r.m_values[i] == value)
            return i;
    return -1;
}

} // namespace kelm
