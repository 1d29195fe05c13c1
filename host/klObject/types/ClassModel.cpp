#include <klObject/types/ClassModel.h>

#include <klObject/types/FieldIndex.h>
#include <klObject/types/Registry.h>
#include <klObject/types/private/TextHash.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/text/QualifiedName.h>

namespace kelm
{

namespace
{

// A name that is not there counts as empty.
SubString GetText(ConstStringZ name)
{
    return name != nullptr ? name : "";
}

FieldLead GetLead(const uint8* bc)
{
    if (bc == nullptr)
        return FieldLead::Other;
    if (bc[0] == FT_CLASS)
        return FieldLead::Instance;
    if (bc[0] == FT_VECTOR && bc[1] == FT_CLASS)
        return FieldLead::Instances;
    const EVariableKind kind = s_typeCodes[bc[0]].m_kind;
    const bool isValue = kind == VK_SCALAR || kind == VK_STRING8 || kind == VK_STRING16 || kind == VK_ENUM;
    return isValue ? FieldLead::Value : FieldLead::Other;
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
    : m_fields(static_cast<std::size_t>(GetModelFieldCount(rc) + GetOrdinaryFieldCount(rc)))
    , m_stringTable(rc.m_stringTable)
{
    const auto modelCount = static_cast<std::size_t>(GetModelFieldCount(rc));
    const auto ordinaryCount = static_cast<std::size_t>(GetOrdinaryFieldCount(rc));
    m_presentModelNames.resize(modelCount + 1);
    m_ordinaryNames.resize(ordinaryCount);

    for (std::size_t i = 0; i < modelCount; ++i)
    {
        const ReflectedModelField& field = rc.m_modelFields[i];
        FieldEntry& entry = m_fields.Insert(GetText(field.m_name));
        const SubString name = entry.GetName();
        if (entry.m_firstModel < 0)
        {
            entry.m_firstModel = static_cast<int32>(i);
            if (IsPresent(field) && IsIdentifier(name))
            {
                entry.m_field = &field;
                entry.m_lead = GetLead(field.m_bc);
            }
        }
        if (IsPresent(field) && entry.m_firstPresentModel < 0)
        {
            entry.m_firstPresentModel = static_cast<int32>(i);
            if (IsIdentifier(name))
                m_presentModelNames[i] = KnownText(name);
        }
    }
    for (std::size_t i = 0; i < ordinaryCount; ++i)
    {
        FieldEntry& entry = m_fields.Insert(GetText(rc.m_fields[i].m_name));
        if (entry.m_firstOrdinary < 0)
        {
            entry.m_firstOrdinary = static_cast<int32>(i);
            m_ordinaryNames[i] = KnownText(entry.GetName());
        }
    }
}

const ReflectedClass* FieldEntry::FindLeadClass(const FieldEntry& entry, const FieldIndex& index)
{
    const uint8* const bc = entry.m_field->m_bc;
    const ReflectionByteCode type(entry.m_lead == FieldLead::Instance ? bc : bc + 1, index.m_stringTable);
    const ReflectedClass* const rc = type.GetReflectedClass();
    entry.m_leadClass.store(rc, std::memory_order_release);
    return rc;
}

std::unique_ptr<const FieldIndex> MakeFieldIndex(const ReflectedClass& rc)
{
    if (rc.m_modelFields == nullptr && GetOrdinaryFieldCount(rc) == 0)
        return nullptr;
    return std::make_unique<const FieldIndex>(rc);
}

ClassModel FindEmbeddedModel(const ReflectedClass& rc)
{
    const ReflectedModelField& embedded = rc.m_modelFields[0];
    const FieldIndex* const index = GetFieldIndex(rc);
    if (index == nullptr)
        return {&FindReflectedClass(embedded.m_name), embedded.m_offset};
    const ReflectedClass* model = index->m_embeddedModel.load(std::memory_order_acquire);
    if (model == nullptr)
    {
        model = &FindReflectedClass(embedded.m_name);
        index->m_embeddedModel.store(model, std::memory_order_release);
    }
    return {model, embedded.m_offset};
}

ssize_t FindModelField(const ReflectedClass& rc, SubString name)
{
    if (const FieldIndex* index = GetFieldIndex(rc))
    {
        const FieldEntry* entry = index->m_fields.Find(name);
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
        const FieldEntry* entry = index->m_fields.Find(name);
        return entry != nullptr ? entry->m_firstPresentModel : -1;
    }
    return FindLinearly(GetModelFieldCount(rc), [&](ssize_t i)
                        { return IsPresent(rc.m_modelFields[i]) && IsSameText(rc.m_modelFields[i].m_name, name); });
}

ssize_t FindOrdinaryField(const ReflectedClass& rc, SubString name, ssize_t hint)
{
    if (const FieldIndex* index = GetFieldIndex(rc))
    {
        if (index->IsOrdinaryField(name, hint))
            return hint;
        const FieldEntry* entry = index->m_fields.Find(name);
        return entry != nullptr ? entry->m_firstOrdinary : -1;
    }
    return FindLinearly(GetOrdinaryFieldCount(rc), [&](ssize_t i) { return IsSameText(rc.m_fields[i].m_name, name); });
}

} // namespace kelm
