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

FieldLead LeadOf(EVariableKind kind)
{
    switch (kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_SCALAR:
    case VK_ENUM:
    case VK_STRING8:
    case VK_STRING16:
    case VK_VARIANT: return FieldLead::Value;
    case VK_CLASS: return FieldLead::Instance;
    case VK_ARRAY: return FieldLead::Array;
    case VK_VECTOR: return FieldLead::Vector;
    case VK_HANDLE: return FieldLead::Handle;
    case VK_PREF: return FieldLead::Pref;
    case VK_NONE:
    case VK_VOID:
    case VK_MAP:
    case VK_SET:
    case VK_FOREIGN: break;
    }
    return FieldLead::Other;
}

FieldLead LeadOf(const ForeignType& type)
{
    switch (type.GetForm()) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case FF_TEXT: return FieldLead::Value;
    case FF_LIST: return type.m_list->Append != nullptr ? FieldLead::List : FieldLead::Other;
    case FF_MAP: return type.m_numParts == 2 ? FieldLead::Map : FieldLead::Other;
    case FF_CHOICE: return type.IsOptional() ? FieldLead::Choice : FieldLead::Other;
    }
    return FieldLead::Other; // GCOVR_EXCL_LINE: every one has returned
}

// Null where there is none.
const ForeignType* GetForeign(const ReflectionByteCode& type)
{
    return type.GetCode() == FT_FOREIGN && type.m_stringTable != nullptr ? &type.GetForeignType() : nullptr;
}

FieldLead LeadOf(const ReflectionByteCode& type)
{
    if (type.m_bc == nullptr)
        return FieldLead::Other;
    if (const ForeignType* const foreign = GetForeign(type))
        return LeadOf(*foreign);
    return type.GetCode() == FT_DYNARRAY ? FieldLead::DynArray : LeadOf(GetTypeCode(type).m_kind);
}

// The type to which one leads that has a lead behind it.
ReflectionByteCode GetTypeBehind(const ReflectionByteCode& type)
{
    const ForeignType* const foreign = GetForeign(type);
    return foreign != nullptr ? foreign->GetPartType(foreign->m_numParts - 1) : type.GetElementType();
}

// How many leads a type has. Elements within elements have none of their own from some depth on.
ssize_t CountLeads(ReflectionByteCode type)
{
    constexpr ssize_t maxLeads = 8;
    ssize_t count = 1;
    for (; count < maxLeads && HasLeadBehind(LeadOf(type)); ++count)
        type = GetTypeBehind(type);
    return count;
}

// Sets the leads of a type; past them.
TypeLead* SetLeads(TypeLead* lead, ReflectionByteCode type)
{
    for (TypeLead* const past = lead + CountLeads(type); true; type = GetTypeBehind(type))
    {
        lead->m_type = type;
        lead->m_kind = lead + 1 == past && HasLeadBehind(LeadOf(type)) ? FieldLead::Other : LeadOf(type);
        if (type.m_bc != nullptr)
            lead->m_foreign = GetForeign(type);
        if (lead->m_kind == FieldLead::Array)
            lead->m_count = type.GetArrayCount();
        if (lead->m_count < 0 || (lead->m_count == 0 && lead->m_kind == FieldLead::Array))
            lead->m_kind = FieldLead::Other;
        if (++lead == past)
            return lead;
    }
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
    : m_fields(static_cast<std::size_t>(GetModelFieldCount(rc) + GetOrdinaryFieldCount(rc))), m_class(&rc)
{
    const auto modelCount = static_cast<std::size_t>(GetModelFieldCount(rc));
    const auto ordinaryCount = static_cast<std::size_t>(GetOrdinaryFieldCount(rc));
    m_presentModelNames.resize(modelCount + 1);
    m_ordinaryNames.resize(ordinaryCount);
    if (modelCount == 0 && rc.m_modelFields != nullptr)
        m_modelOffset = rc.m_modelFields[0].m_offset;

    const auto typeOf = [&rc](const ReflectedModelField& field)
    { return ReflectionByteCode(field.m_bc, rc.m_stringTable, field.m_mapOrSetFns); };
    ssize_t numLeads = 0;
    for (std::size_t i = 0; i < modelCount; ++i)
        numLeads += CountLeads(typeOf(rc.m_modelFields[i]));
    m_leads = std::make_unique<TypeLead[]>(static_cast<std::size_t>(numLeads));
    TypeLead* lead = m_leads.get();

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
                entry.m_offset = field.m_offset;
                entry.m_lead = lead;
                lead = SetLeads(lead, typeOf(field));
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
    m_fields.Spread();
}

namespace
{

// Null where it is not registered, or has no name.
const ReflectedClass* FindClass(const ReflectionByteCode& type)
{
    return type.m_stringTable != nullptr ? type.GetReflectedClass() : nullptr;
}

} // namespace

const FieldIndex* TypeLead::FindIndex(const TypeLead& lead)
{
    const ReflectedClass* const rc = FindClass(lead.m_type);
    const FieldIndex* const index = rc != nullptr ? GetFieldIndex(*rc) : nullptr;
    lead.m_index.store(index, std::memory_order_release);
    return index;
}

ssize_t TypeLead::FindElementSize(const TypeLead& lead)
{
    const ReflectionByteCode elements = lead.m_type.GetElementType();
    ssize_t size = GetTypeCode(elements).m_size;
    if (elements.GetCode() == FT_CLASS)
    {
        const ReflectedClass* const rc = FindClass(elements);
        size = rc != nullptr ? rc->m_size : 0;
    }
    else if (const ForeignType* const foreign = GetForeign(elements))
        size = foreign->m_size;
    if (size <= 0)
        return 0;
    const ExactDivisor divisor = ExactDivisor::Of(size);
    lead.m_inverse.store(divisor.m_inverse, std::memory_order_relaxed);
    lead.m_maxElements.store(divisor.m_maxQuotient, std::memory_order_relaxed);
    lead.m_elementSize.store(size, std::memory_order_release);
    return size;
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
        if (const FieldIndex* const listing = GetFieldIndex(*model))
            index->m_model.store(listing, std::memory_order_release);
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
