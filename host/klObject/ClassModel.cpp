#include <klObject/ClassModel.h>

#include <klObject/Registry.h>
#include <klObject/private/FieldIndex.h>
#include <klObject/private/TextHash.h>

#include <atomic>
#include <bit>

namespace kelm
{

namespace
{

// The class may be registered by another thread just now.
const FieldIndex* GetFieldIndex(const ReflectedClass& rc)
{
    return std::atomic_ref<const FieldIndex*>(rc.m_fieldIndex).load(std::memory_order_acquire);
}

template <class Matches>
ssize_t FindLinearly(ssize_t count, Matches matches)
{
    for (ssize_t i = 0; i < count; ++i)
        if (matches(i))
            return i;
    return -1;
}

} // namespace

FieldIndex::FieldIndex(const ReflectedClass& rc)
{
    const auto modelCount = static_cast<std::size_t>(GetModelFieldCount(rc));
    const auto ordinaryCount = static_cast<std::size_t>(GetOrdinaryFieldCount(rc));
    // At most half full, so that a probe seldom goes beyond its first slot.
    m_slots.resize(std::bit_ceil(2 * (modelCount + ordinaryCount)));
    m_mask = m_slots.size() - 1;
    m_presentModelNames.resize(modelCount);
    m_ordinaryNames.resize(ordinaryCount);

    for (std::size_t i = 0; i < modelCount; ++i)
    {
        Entry& entry = Insert(rc.m_modelFields[i].m_name);
        if (entry.m_firstModel < 0)
            entry.m_firstModel = static_cast<int32>(i);
        if (IsPresent(rc.m_modelFields[i]) && entry.m_firstPresentModel < 0)
        {
            entry.m_firstPresentModel = static_cast<int32>(i);
            m_presentModelNames[i] = entry.m_name;
        }
    }
    for (std::size_t i = 0; i < ordinaryCount; ++i)
    {
        Entry& entry = Insert(rc.m_fields[i].m_name);
        if (entry.m_firstOrdinary < 0)
        {
            entry.m_firstOrdinary = static_cast<int32>(i);
            m_ordinaryNames[i] = entry.m_name;
        }
    }
}

FieldIndex::Entry& FieldIndex::Insert(SubString name)
{
    if (name.m_p1 == nullptr)
        name = "";
    const uint64 hash = HashOfText(name);
    std::size_t i = hash & m_mask;
    while (m_slots[i].m_name.m_p1 != nullptr && !IsSameText(m_slots[i].m_name, name))
        i = (i + 1) & m_mask;
    m_slots[i].m_name = name;
    m_slots[i].m_hash = static_cast<uint32>(hash >> 32);
    return m_slots[i];
}

const FieldIndex::Entry* FieldIndex::Find(SubString name) const
{
    const uint64 hash = HashOfText(name);
    const Entry* const slots = m_slots.data();
    for (std::size_t i = hash & m_mask; slots[i].m_name.m_p1 != nullptr; i = (i + 1) & m_mask)
        if (slots[i].m_hash == static_cast<uint32>(hash >> 32) && IsSameText(slots[i].m_name, name))
            return &slots[i];
    return nullptr;
}

bool FieldIndex::IsHit(const Names& names, SubString name, ssize_t hint)
{
    const auto i = static_cast<std::size_t>(hint); // a negative one is beyond every size
    return i < names.size() && names[i].m_p1 != nullptr && IsSameText(names[i], name);
}

std::unique_ptr<const FieldIndex> MakeFieldIndex(const ReflectedClass& rc)
{
    if (GetModelFieldCount(rc) + GetOrdinaryFieldCount(rc) == 0)
        return nullptr;
    return std::make_unique<const FieldIndex>(rc);
}

ClassModel FindClassModel(const ReflectedClass& rc)
{
    if (rc.m_modelFields == nullptr)
        return {};
    if (rc.m_numModelFields > 0)
        return {&rc, 0};
    const ReflectedModelField& embedded = rc.m_modelFields[0];
    return {&FindReflectedClass(embedded.m_name), embedded.m_offset};
}

ssize_t FindModelField(const ReflectedClass& rc, SubString name)
{
    if (const FieldIndex* index = GetFieldIndex(rc))
    {
        const FieldIndex::Entry* entry = index->Find(name);
        return entry != nullptr ? entry->m_firstModel : -1;
    }
    return FindLinearly(GetModelFieldCount(rc),
                        [&](ssize_t i) { return IsSameText(rc.m_modelFields[i].m_name, name); });
}

ssize_t FindPresentModelField(const ReflectedClass& rc, SubString name, ssize_t hint)
{
    if (const FieldIndex* index = GetFieldIndex(rc))
    {
        if (index->IsPresentModelField(name, hint))
            return hint;
        const FieldIndex::Entry* entry = index->Find(name);
        return entry != nullptr ? entry->m_firstPresentModel : -1;
    }
    return FindLinearly(GetModelFieldCount(rc), [&](ssize_t i)
                        { return IsPresent(rc.m_modelFields[i]) && IsSameText(rc.m_modelFields[i].m_name, name); });
}

SubString GetPresentModelFieldName(const ReflectedClass& rc, ssize_t index)
{
    if (index < 0 || index >= GetModelFieldCount(rc))
        return {};
    if (const FieldIndex* fieldIndex = GetFieldIndex(rc))
        return fieldIndex->GetPresentModelName(index);
    const SubString name = rc.m_modelFields[index].m_name;
    return FindPresentModelField(rc, name, index) == index ? name : SubString();
}

ssize_t FindOrdinaryField(const ReflectedClass& rc, SubString name, ssize_t hint)
{
    if (const FieldIndex* index = GetFieldIndex(rc))
    {
        if (index->IsOrdinaryField(name, hint))
            return hint;
        const FieldIndex::Entry* entry = index->Find(name);
        return entry != nullptr ? entry->m_firstOrdinary : -1;
    }
    return FindLinearly(GetOrdinaryFieldCount(rc), [&](ssize_t i) { return IsSameText(rc.m_fields[i].m_name, name); });
}

} // namespace kelm
