#include <klKelmScript/private/PathSteps.h>

#include <klObject/objects/prefbase.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/TypeCodes.h>
#include <klPersistStore/ReadBarrier.h>
#include <klUtils/KelmAssertionError.h>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/PathSteps";

// The payload of a key that is there, or null.
void* FindPayload(const ReflectionByteCode& type, const void* map, const void* key)
{
    return type.GetCode() == FT_FOREIGN ? type.GetForeignType().m_map->Find(map, key)
                                        : type.m_mapOrSetFns->mapFns->Find(map, key);
}

bool IsForeignSet(const ReflectionByteCode& type)
{
    return type.GetCode() == FT_FOREIGN && type.GetForeignType().m_numParts == 1;
}

// The payload of a key, which is there afterwards.
void* InsertPayload(const ReflectionByteCode& type, void* map, void* key)
{
    return type.GetCode() == FT_FOREIGN ? type.GetForeignType().m_map->Insert(map, key)
                                        : type.m_mapOrSetFns->mapFns->Insert(map, key);
}

ReflectionByteCode GetPayloadType(const ReflectionByteCode& type)
{
    if (type.GetCode() == FT_FOREIGN)
        return type.GetForeignType().GetPartType(type.GetForeignType().m_numParts - 1);
    ReflectionByteCode payload = type.GetElementType();
    payload.ScanType();
    return {payload.m_bc, payload.m_stringTable, type.m_mapOrSetFns + 1};
}

} // namespace

PathSteps::Way PathSteps::GetWayFrom(const ReflectionByteCode& type)
{
    switch (GetTypeCode(type).m_kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_CLASS:
    case VK_HANDLE:
    case VK_PREF: return Way::Fields;
    case VK_ARRAY:
    case VK_VECTOR: return Way::Elements;
    case VK_MAP: return Way::Keys;
    case VK_NONE:
    case VK_VOID:
    case VK_SCALAR:
    case VK_ENUM:
    case VK_STRING8:
    case VK_STRING16:
    case VK_VARIANT:
    case VK_SET: return Way::Nowhere;
    case VK_FOREIGN: break;
    }
    const ForeignType& foreign = type.GetForeignType();
    switch (foreign.GetForm()) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case FF_LIST: return Way::Elements;
    case FF_MAP: return Way::Keys;
    case FF_TEXT:
    case FF_CHOICE: break;
    }
    return Way::Nowhere;
}

ReflectionByteCode PathSteps::GetUnderlyingType() const
{
    ReflectionByteCode type = m_position.m_rbc;
    if (type.m_bc != nullptr && GetTypeCode(type).m_passedAs != 0) [[unlikely]]
        type.AdvanceToUnderlyingType2();
    return type;
}

bool PathSteps::IsConst() const
{
    ReflectionByteCode type = m_position.m_rbc;
    return m_isPartOfConst || (type.m_bc != nullptr && GetTypeCode(type).m_passedAs != 0 &&
                               (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0);
}

PathSteps::Way PathSteps::GetWay() const
{
    const ReflectionByteCode type = GetUnderlyingType();
    return type.m_bc == nullptr ? Way::Fields : GetWayFrom(type);
}

// Through optionals and their like to what they hold. False where that is nothing.
bool PathSteps::TryEnterChoices()
{
    KELM_ASSERT(m_position.m_data);
    for (ReflectionByteCode type = GetUnderlyingType();
         type.m_bc != nullptr && type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_CHOICE;
         type = GetUnderlyingType())
    {
        m_isPartOfConst = IsConst() && !type.GetForeignType().m_choice->m_isPointer;
        m_lead = nullptr;
        if (!m_position.TryEnterChoice(type.GetForeignType()))
            return Fail(PathFault::NullDereference);
    }
    return true;
}

bool PathSteps::Fail(PathFault fault, ConstStringZ subject, int64 index)
{
    m_problem = {fault, index, subject};
    return false;
}

bool PathSteps::Arrive()
{
    if (m_access == Access::Read && m_position.m_obj)
        DataSourceReadBarrier(m_position.m_data, m_position.m_obj, nullptr);
    return true;
}

const ReflectedClass* PathSteps::TryEnterInstance()
{
    if (!TryEnterChoices())
        return nullptr;
    const ReflectionByteCode type = GetUnderlyingType();
    if (type.m_bc == nullptr)
    {
        const ReflectedClass* const rc = m_position.m_obj.GetReflectedClass();
        KELM_ASSERT(rc);
        return rc;
    }
    m_isPartOfConst = IsConst();
    if (type.GetCode() == FT_CLASS)
    {
        const FieldIndex* const index = m_lead != nullptr ? m_lead->GetIndex() : nullptr;
        return index != nullptr ? index->m_class : &GetPathClass(type);
    }
    if (GetWayFrom(type) != Way::Fields)
    {
        Fail(PathFault::NoFields);
        return nullptr;
    }
    const bool isPersistent = GetTypeCode(type).m_kind == VK_PREF;
    const ReflectedClass* const rc = m_position.FollowHandle(
        type, isPersistent ? ptr<IObject>(reinterpret_cast<const prefbase*>(m_position.m_data)->Get())
                           : *reinterpret_cast<const ptr<IObject>*>(m_position.m_data));
    if (rc == nullptr)
    {
        Fail(PathFault::NullDereference);
        return nullptr;
    }
    m_position.m_rbc = {};
    m_lead = nullptr;
    m_isPartOfConst = false; // whoever holds a handle that is const may write the object
    return rc;
}

bool PathSteps::TryStepToField(SubString name)
{
    const ReflectedClass* const rc = TryEnterInstance();
    return rc != nullptr && TryStepTo(*rc, name);
}

bool PathSteps::TryStepTo(const ReflectedClass& rc, SubString name)
{
    const FieldIndex* const index = GetFieldIndex(rc);
    const FieldEntry* const entry = index != nullptr ? index->GetModel().m_fields.Find(name) : nullptr;
    if (entry != nullptr && entry->m_lead != nullptr) [[likely]]
    {
        m_field = {entry->m_field, {index->GetModel().m_class, index->m_modelOffset}};
        m_lead = entry->m_lead;
    }
    else
    {
        m_field = rc.m_modelFields != nullptr ? FindPathField(rc, name) : PathField();
        m_lead = nullptr;
        if (m_field.m_field == nullptr || !IsPresent(*m_field.m_field))
            return Fail(PathFault::UnknownField, rc.m_name);
    }
    m_position.StepTo(m_field);
    return Arrive();
}

namespace
{

// Of a container of that type there.
PathElements EnterContainer(PathPosition& position, const ReflectionByteCode& type)
{
    switch (type.GetCode())
    {
    case FT_ARRAY: return position.EnterArray(type);
    case FT_VECTOR: return position.EnterVector(type);
    case FT_FOREIGN: return position.EnterForeignList(type.GetForeignType());
    default: return position.EnterDynArray(type);
    }
}

} // namespace

bool PathSteps::TryStepToElement(int64 index)
{
    if (!TryEnterChoices())
        return false;
    const ReflectionByteCode type = GetUnderlyingType();
    if (type.m_bc == nullptr || GetWayFrom(type) != Way::Elements)
        return Fail(PathFault::NoElements);
    m_isPartOfConst = IsConst();
    m_lead = m_lead != nullptr && HasLeadBehind(m_lead->m_kind) ? m_lead + 1 : nullptr;
    PathElements elements = EnterContainer(m_position, type);
    if (m_access != Access::Write || m_isPartOfConst)
        elements.m_growing = nullptr;
    if (!elements.Has(index))
        return Fail(PathFault::IndexOutOfRange, elements.m_kind, index);
    m_position.StepTo(elements, index);
    return Arrive();
}

ssize_t PathSteps::GetElementCount() const
{
    const ReflectionByteCode type = GetUnderlyingType();
    KELM_ASSERT(GetWay() == Way::Elements);
    PathPosition position = m_position;
    return EnterContainer(position, type).m_count;
}

ReflectionByteCode PathSteps::GetKeyType() const
{
    KELM_ASSERT(GetWay() == Way::Keys);
    const ReflectionByteCode type = GetUnderlyingType();
    return type.GetCode() == FT_FOREIGN ? type.GetForeignType().GetPartType(0) : type.GetElementType();
}

bool PathSteps::TryStepToPayload(void* key)
{
    KELM_ASSERT(m_position.m_data);
    KELM_ASSERT(GetWay() == Way::Keys);
    const ReflectionByteCode type = GetUnderlyingType();
    m_isPartOfConst = IsConst() || IsForeignSet(type);
    m_lead = nullptr;
    void* const map = m_position.m_data;
    void* const payload =
        m_access == Access::Write && !m_isPartOfConst ? InsertPayload(type, map, key) : FindPayload(type, map, key);
    if (payload == nullptr)
        return Fail(PathFault::UnknownKey);
    m_position.m_data = static_cast<char*>(payload);
    m_position.m_rbc = GetPayloadType(type);
    return Arrive();
}

} // namespace kelm
