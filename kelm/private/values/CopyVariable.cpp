#include <kelm/private/values/CopyVariable.h>

#include <kelm/private/values/Variable.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/ClassFields.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/private/CheckedType.h>
#include <klUtils/StackSegment.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/xstring.h>

#include <algorithm>
#include <cstring>

namespace kelm::evaluation
{

namespace
{

constexpr ConstStringZ s_sourceFile = "kelm/CopyVariable";

char* At(void* data, ssize_t offset)
{
    return static_cast<char*>(data) + offset;
}
const char* At(const void* data, ssize_t offset)
{
    return static_cast<const char*>(data) + offset;
}

template <class T>
void Assign(void* to, const void* from)
{
    *static_cast<T*>(to) = *static_cast<const T*>(from);
}

// Calls use(type, offset) for each field that an instance has.
template <class F>
void ForEachField(const ReflectedClass& rc, const F& use)
{
    const ClassFields fields(rc);
    for (ssize_t i = 0; i < fields.size(); ++i)
        if (const ClassFields::Field field = fields[i]; field.m_isPresent)
            use(field.m_type, field.m_offset);
}

void ExchangeBytes(void* a, void* b, ssize_t size)
{
    std::swap_ranges(At(a, 0), At(a, size), At(b, 0));
}

// --- Of our own kinds, which are made anew and exchanged

template <class Fill>
void CopyByBytes(const ReflectionByteCode& type, void* to, const Fill& fill)
{
    const Variable copy(type);
    fill(copy.Get());
    ExchangeBytes(to, copy.Get(), type.GetTypeSize());
}

void CopyVector(const ReflectionByteCode& type, void* to, const VectorOfByte& from)
{
    ReflectionByteCode elementType = type.GetTypeBehindByte();
    elementType.AdvanceToUnderlyingType2();
    if (GetTypeCode(elementType).m_isTrivial)
        return Assign<VectorOfByte>(to, &from);
    CopyByBytes(type, to,
                [&](void* copy)
                {
                    const ssize_t size = elementType.GetTypeSize();
                    for (ssize_t at = 0; at < from.size(); at += size)
                        CopyVariable(elementType,
                                     PushBackDefaultConstructedElementOntoReflectedVector(elementType, copy),
                                     At(from.data(), at));
                });
}

struct EntryCopier
{
    const MapFns* m_map;
    const SetFns* m_set;
    void* m_to;
    ReflectionByteCode m_payloadType;

    static bool Copy(void* context, const void* key, void* payload)
    {
        const auto& self = *static_cast<EntryCopier*>(context);
        if (self.m_set != nullptr)
            self.m_set->Insert(self.m_to, key);
        else
            CopyVariable(self.m_payloadType, self.m_map->Insert(self.m_to, key), payload);
        return true;
    }
};

void CopyMap(const ReflectionByteCode& type, void* to, const void* from)
{
    ReflectionByteCode payloadType = type.GetElementType();
    payloadType.ScanType();
    payloadType.m_mapOrSetFns = type.m_mapOrSetFns + 1;
    CopyByBytes(type, to,
                [&](void* copy)
                {
                    EntryCopier copier{type.m_mapOrSetFns->mapFns, nullptr, copy, payloadType};
                    copier.m_map->ForEach(from, EntryCopier::Copy, &copier);
                });
}

void CopySet(const ReflectionByteCode& type, void* to, const void* from)
{
    CopyByBytes(type, to,
                [&](void* copy)
                {
                    EntryCopier copier{nullptr, type.m_mapOrSetFns->setFns, copy, {}};
                    copier.m_set->ForEach(from, EntryCopier::Copy, &copier);
                });
}

void CopyVariant(const ReflectionByteCode& type, void* to, const void* from)
{
    const ReflectedVariant& rv = GetVariant(type, s_sourceFile);
    const ReflectedField& alternative = GetAlternative(rv, At(from, 0), s_sourceFile);
    const auto index = static_cast<int32>(&alternative - rv.m_fields);
    CopyByBytes(type, to,
                [&](void* copy)
                {
                    const ReflectedField& first = GetAlternative(rv, At(copy, 0), s_sourceFile);
                    if (index != 0)
                    {
                        DestructReflectedVariable(GetAlternativeType(rv, first), At(copy, first.m_offset));
                        std::memset(copy, 0, static_cast<std::size_t>(rv.m_size));
                        SwitchAlternative(rv, index, copy);
                    }
                    CopyVariable(GetAlternativeType(rv, alternative), At(copy, alternative.m_offset),
                                 At(from, alternative.m_offset));
                });
}

// --- Of others'

void CopyText(const ForeignType& type, void* to, const void* from)
{
    if (type.m_text->m_isIdentifier) // an enumeration, whose value need not be one of the enumerators
        std::memcpy(to, from, static_cast<std::size_t>(type.m_size));
    else
    {
        char buffer[ForeignTextFns::BufferSize];
        type.m_text->Set(to, type.m_text->Get(from, buffer));
    }
}

void CopyList(const ForeignType& type, void* to, void* from)
{
    const ForeignListFns& fns = *type.m_list;
    const ssize_t count = fns.Count(from);
    if (!fns.m_isFixed)
        fns.Clear(to);
    if (fns.AppendCopies != nullptr)
    {
        const ssize_t size = type.GetElementType(0).GetTypeSize();
        if (!fns.m_isContiguous)
            for (ssize_t i = 0; i < count; ++i)
                fns.AppendCopies(to, fns.At(from, i), size);
        else if (count > 0)
            fns.AppendCopies(to, fns.At(from, 0), count * size);
        return;
    }
    for (ssize_t i = 0; i < count; ++i)
        CopyVariable(type.GetElementType(i), fns.m_isFixed ? fns.At(to, i) : fns.Append(to), fns.At(from, i));
}

struct ForeignEntryCopier
{
    const ForeignType* m_type;
    void* m_to;

    static bool Copy(void* context, const void* key, void* payload)
    {
        const auto& [type, to] = *static_cast<ForeignEntryCopier*>(context);
        const Variable copy(type->GetPartType(0));
        CopyVariable(type->GetPartType(0), copy.Get(), key);
        void* const inserted = type->m_map->Insert(to, copy.Get());
        if (payload != nullptr)
            CopyVariable(type->GetPartType(1), inserted, payload);
        return true;
    }
};

void CopyChoice(const ForeignType& type, void* to, const void* from)
{
    const ForeignChoiceFns& fns = *type.m_choice;
    if (fns.Share != nullptr)
        return fns.Share(to, from);
    const int32 part = fns.GetIndex(from);
    if (part >= 0)
        CopyVariable(type.GetPartType(part), fns.Emplace(to, part), fns.GetValue(from));
    else if (fns.Reset != nullptr)
        fns.Reset(to);
}

void CopyForeign(const ForeignType& type, void* to, const void* from)
{
    switch (type.GetForm())
    {
    case FF_TEXT: return CopyText(type, to, from);
    case FF_LIST: return CopyList(type, to, const_cast<void*>(from));
    case FF_CHOICE: return CopyChoice(type, to, from);
    case FF_MAP: break;
    }
    type.m_map->Clear(to);
    ForeignEntryCopier copier{&type, to};
    type.m_map->ForEach(from, ForeignEntryCopier::Copy, &copier);
}

} // namespace

void CopyVariable(ReflectionByteCode type, void* to, const void* from)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { CopyVariable(type, to, from); });
    type.AdvanceToUnderlyingType2();
    switch (GetTypeCode(type).m_kind)
    {
    case VK_NONE:
    case VK_VOID: return;
    case VK_SCALAR:
    case VK_ENUM:
    case VK_HANDLE: std::memcpy(to, from, static_cast<std::size_t>(type.GetTypeSize())); return;
    case VK_PREF: return Assign<prefbase>(to, from);
    case VK_STRING8: return Assign<xstring>(to, from);
    case VK_STRING16: return Assign<xstring16>(to, from);
    case VK_CLASS:
        return ForEachField(GetClass(type, s_sourceFile), [&](const ReflectionByteCode& fieldType, ssize_t offset)
                            { CopyVariable(fieldType, At(to, offset), At(from, offset)); });
    case VK_VARIANT: return CopyVariant(type, to, from);
    case VK_ARRAY:
    {
        const ReflectionByteCode elementType = type.GetElementType();
        const ssize_t size = elementType.GetTypeSize();
        for (ssize_t i = 0; i < type.GetArrayCount(); ++i)
            CopyVariable(elementType, At(to, i * size), At(from, i * size));
        return;
    }
    case VK_VECTOR: return CopyVector(type, to, *static_cast<const VectorOfByte*>(from));
    case VK_MAP: return CopyMap(type, to, from);
    case VK_SET: return CopySet(type, to, from);
    case VK_FOREIGN: return CopyForeign(type.GetForeignType(), to, from);
    }
}

bool CanBeAssigned(ReflectionByteCode type)
{
    if ((type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0)
        return false;
    bool canBe = true;
    switch (static_cast<int>(type.GetCode()))
    {
    case FT_CLASS:
        ForEachField(GetClass(type, s_sourceFile),
                     [&](const ReflectionByteCode& fieldType, ssize_t) { canBe = canBe && CanBeAssigned(fieldType); });
        break;
    case FT_ARRAY: return CanBeAssigned(type.GetElementType());
    case FT_FOREIGN: return type.GetForeignType().Exchange != nullptr;
    default: break;
    }
    return canBe;
}

void ExchangeVariables(ReflectionByteCode type, void* a, void* b) noexcept
{
    type.AdvanceToUnderlyingType2();
    switch (static_cast<int>(type.GetCode()))
    {
    case FT_CLASS:
        return ForEachField(GetClass(type, s_sourceFile), [&](const ReflectionByteCode& fieldType, ssize_t offset)
                            { ExchangeVariables(fieldType, At(a, offset), At(b, offset)); });
    case FT_ARRAY:
    {
        const ReflectionByteCode elementType = type.GetElementType();
        const ssize_t size = elementType.GetTypeSize();
        for (ssize_t i = 0; i < type.GetArrayCount(); ++i)
            ExchangeVariables(elementType, At(a, i * size), At(b, i * size));
        return;
    }
    case FT_FOREIGN: return type.GetForeignType().Exchange(a, b);
    default: return ExchangeBytes(a, b, type.GetTypeSize());
    }
}

TypeAt::TypeAt(const Slot& place) : m_type(place.GetType())
{
    if (m_type.m_bc == nullptr)
    {
        m_name[0] = place.GetOwner().GetReflectedClass()->m_name;
        m_type = {s_class, m_name};
    }
    m_type.AdvanceToUnderlyingType2();
}

} // namespace kelm::evaluation
