#include <klObject/types/VariantIndex.h>

#include <klUtils/text/QualifiedName.h>

#include <algorithm>

namespace kelm
{

namespace
{

SubString LastSegment(SubString name)
{
    const char* p = name.m_p2;
    while (p != name.m_p1 && p[-1] != ':')
        --p;
    return {p, name.m_p2};
}

bool HasEnding(SubString name, SubString written, IsSuffixOfOddName isSuffixOfOddName)
{
    return IsQualifiedName(name) ? IsNameSuffix(name, written) : isSuffixOfOddName(name, written);
}

} // namespace

VariantIndex::VariantIndex(const ReflectedVariant& r)
    : NameIndex(r, r.m_numFields), m_next(static_cast<std::size_t>(r.m_numFields), -1)
{
    // From the last to the first, so that each list is in order.
    for (ssize_t i = r.m_numFields; i-- > 0;)
    {
        const SubString name = r.m_fields[i].m_name;
        if (!IsQualifiedName(name))
        {
            m_others.push_back(static_cast<int32>(i));
            continue;
        }
        Entry& entry = m_names.Insert(LastSegment(name));
        m_next[static_cast<std::size_t>(i)] = entry.m_first;
        entry.m_first = static_cast<int32>(i);
    }
    std::reverse(m_others.begin(), m_others.end());
}

std::unique_ptr<const VariantIndex> MakeVariantIndex(const ReflectedVariant& r)
{
    if (r.m_numFields <= 0 || r.m_fields == nullptr)
        return nullptr;
    return std::make_unique<const VariantIndex>(r);
}

int32 FindAlternative(const ReflectedVariant& r, SubString written, IsSuffixOfOddName isSuffixOfOddName)
{
    const VariantIndex* const index = GetNameIndex(r);
    if (index == nullptr)
    {
        for (ssize_t i = 0; i < r.m_numFields; ++i)
            if (HasEnding(r.m_fields[i].m_name, written, isSuffixOfOddName))
                return static_cast<int32>(i);
        return -1;
    }
    int32 found = index->FindFirst(LastSegment(written));
    while (found >= 0 && !IsNameSuffix(r.m_fields[found].m_name, written))
        found = index->m_next[static_cast<std::size_t>(found)];
    for (const int32 other : index->m_others)
        if (found >= 0 && other > found)
            break;
        else if (isSuffixOfOddName(r.m_fields[other].m_name, written))
            return other;
    return found;
}

} // namespace kelm
