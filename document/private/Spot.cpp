#include <kelmDocument/private/Spot.h>

#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klUtils/VectorOfByte.h>

#include <algorithm>

namespace kelm::editing
{

ReflectionByteCode Underlying(ReflectionByteCode type)
{
    type.AdvanceToUnderlyingType2();
    return type;
}

bool Accumulates(const ReflectionByteCode& type)
{
    return GetTypeCode(type).m_kind == VK_CLASS || GetTypeCode(type).m_kind == VK_VECTOR;
}

bool Spot::IsForeign(char form) const
{
    return GetVariableKind() == VK_FOREIGN && m_type.GetForeignType().m_form == form;
}

bool Spot::IsList() const
{
    return GetVariableKind() == VK_ARRAY || GetVariableKind() == VK_VECTOR || IsForeign(FF_LIST);
}

bool Spot::IsFixedList() const
{
    return GetVariableKind() == VK_ARRAY || (IsForeign(FF_LIST) && m_type.GetForeignType().m_list->m_isFixed);
}

bool Spot::IsRenewed() const
{
    const EVariableKind kind = GetVariableKind();
    return m_isNewEachTime || (kind == VK_FOREIGN && !IsFixedList()) ||
           (m_isRuled && (kind == VK_VECTOR || kind == VK_MAP));
}

bool Spot::IsMap() const
{
    return GetVariableKind() == VK_MAP || IsForeign(FF_MAP);
}

bool Spot::IsSet() const
{
    return IsForeign(FF_MAP) && m_type.GetForeignType().m_numParts == 1;
}

ReflectionByteCode Spot::GetElementType() const
{
    return Underlying(GetVariableKind() == VK_FOREIGN ? m_type.GetForeignType().GetElementType(0)
                                                      : m_type.GetElementType());
}

ReflectionByteCode Spot::GetKeyType() const
{
    if (GetVariableKind() == VK_FOREIGN)
        return Underlying(m_type.GetForeignType().GetPartType(0));
    ReflectionByteCode key = m_type.GetElementType();
    key.m_mapOrSetFns = m_type.m_mapOrSetFns;
    return Underlying(key);
}

ReflectionByteCode Spot::GetPayloadType() const
{
    if (GetVariableKind() == VK_FOREIGN)
        return Underlying(m_type.GetForeignType().GetPartType(m_type.GetForeignType().m_numParts - 1));
    ReflectionByteCode payload = m_type.GetElementType();
    payload.ScanType();
    payload.m_mapOrSetFns = m_type.m_mapOrSetFns + 1;
    return Underlying(payload);
}

ssize_t Spot::CountElements() const
{
    if (GetVariableKind() == VK_ARRAY)
        return m_type.GetArrayCount();
    if (GetVariableKind() == VK_FOREIGN)
        return m_type.GetForeignType().m_list->Count(m_data);
    const ssize_t size = GetElementType().GetTypeSize();
    return size > 0 ? static_cast<const VectorOfByte*>(m_data)->size() / size : 0;
}

void* Spot::GetElement(ssize_t index) const
{
    if (GetVariableKind() == VK_FOREIGN)
    {
        const ForeignListFns& fns = *m_type.GetForeignType().m_list;
        return fns.Assign == nullptr ? fns.At(m_data, index) : nullptr;
    }
    char* const first =
        GetVariableKind() == VK_ARRAY ? static_cast<char*>(m_data) : static_cast<VectorOfByte*>(m_data)->data();
    return first + index * GetElementType().GetTypeSize();
}

ssize_t Spot::CountEntries() const
{
    return GetVariableKind() == VK_FOREIGN ? m_type.GetForeignType().m_map->Count(m_data)
                                           : m_type.m_mapOrSetFns->mapFns->Count(m_data);
}

void* Spot::FindPayload(const void* map, const void* key) const
{
    return GetVariableKind() == VK_FOREIGN ? m_type.GetForeignType().m_map->Find(map, key)
                                           : m_type.m_mapOrSetFns->mapFns->Find(map, key);
}

void* Spot::InsertKey(void* map, void* key) const
{
    return GetVariableKind() == VK_FOREIGN ? m_type.GetForeignType().m_map->Insert(map, key)
                                           : m_type.m_mapOrSetFns->mapFns->Insert(map, key);
}

void Spot::EraseKey(void* map, const void* key) const
{
    if (GetVariableKind() == VK_FOREIGN)
        m_type.GetForeignType().m_map->Erase(map, key);
    else
        m_type.m_mapOrSetFns->mapFns->Erase(map, key);
}

std::vector<MemberField> MembersOf(const ReflectedClass& rc)
{
    std::vector<MemberField> members;
    const ClassModel model = FindClassModel(rc);
    for (ssize_t i = 0; model.m_class != nullptr && i < GetModelFieldCount(*model.m_class); ++i)
        if (const ReflectedModelField& field = model.m_class->m_modelFields[i]; IsPresent(field))
            members.push_back({field.m_name,
                               {field.m_bc, model.m_class->m_stringTable, field.m_mapOrSetFns},
                               model.m_offset + field.m_offset});
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(rc); ++i)
        members.push_back(
            {rc.m_fields[i].m_name, {rc.m_fields[i].m_bc, rc.m_stringTable, nullptr}, rc.m_fields[i].m_offset});
    return members;
}

std::vector<std::string_view> NamesOf(const std::vector<MemberField>& members)
{
    std::vector<std::string_view> names(members.size());
    std::transform(members.begin(), members.end(), names.begin(),
                   [](const MemberField& member) { return member.m_name; });
    return names;
}

} // namespace kelm::editing
