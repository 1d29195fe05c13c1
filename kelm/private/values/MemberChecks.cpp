#include <kelm/private/values/MemberChecks.h>

#include <kelm/Scalar.h>
#include <kelm/private/types/TypeText.h>
#include <kelm/private/values/Conversions.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/ClassFields.h>
#include <klObject/values/private/CheckedType.h>
#include <klUtils/StackSegment.h>
#include <klUtils/VectorOfByte.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kelm::evaluation
{

namespace
{

constexpr ConstStringZ s_sourceFile = "kelm/MemberChecks";

const FieldRule* RulesOf(const ClassFields& fields)
{
    return fields.GetModelClass() != nullptr ? fields.GetModelClass()->m_rules : nullptr;
}

bool IsShared(const ForeignType& type)
{
    return type.GetForm() == FF_CHOICE && type.m_choice->Share != nullptr;
}

ReflectionByteCode PayloadOf(const ReflectionByteCode& map)
{
    ReflectionByteCode type = map.GetElementType();
    type.ScanType();
    type.m_mapOrSetFns = map.m_mapOrSetFns + 1;
    return type;
}

// Whether a variable of a type can have members that have checks; most types have none.
class Finder
{
public:
    bool Has(ReflectionByteCode type)
    {
        type.AdvanceToUnderlyingType2();
        switch (static_cast<int>(type.GetCode()))
        {
        case FT_CLASS: return HasMembers(GetClass(type, s_sourceFile));
        case FT_ARRAY:
        case FT_VECTOR:
        case FT_DYNARRAY: return Has(type.GetElementType());
        case FT_MAP: return Has(PayloadOf(type));
        case FT_FOREIGN: return HasParts(type.GetForeignType());
        default: return false;
        }
    }

private:
    bool IsNew(const void* record)
    {
        if (std::find(m_seen.begin(), m_seen.end(), record) != m_seen.end())
            return false;
        m_seen.push_back(record);
        return true;
    }
    bool HasMembers(const ReflectedClass& rc)
    {
        if (!IsNew(&rc))
            return false;
        const ClassFields fields(rc);
        const FieldRule* const rules = RulesOf(fields);
        for (ssize_t i = 0; i < fields.size(); ++i)
            if (const ClassFields::Field field = fields[i]; field.m_isPresent)
                if ((rules != nullptr && i < fields.GetModelSize() && rules[i].m_check != nullptr) || Has(field.m_type))
                    return true;
        return false;
    }
    bool HasParts(const ForeignType& type)
    {
        if (type.m_numParts == 0 || IsShared(type) || !IsNew(&type))
            return false;
        for (int32 i = 0; i < type.m_numParts; ++i)
            if (Has(type.GetPartType(i)))
                return true;
        return false;
    }

    std::vector<const void*> m_seen;
};

class Checker
{
public:
    explicit Checker(Failure& failure) : m_failure(failure) {}

    bool Check(ReflectionByteCode type, const void* data)
    {
        if (IsStackLow())
            return CallOnFreshSegment([&] { return Check(type, data); });
        type.AdvanceToUnderlyingType2();
        switch (static_cast<int>(type.GetCode()))
        {
        case FT_CLASS: return CheckClass(GetClass(type, s_sourceFile), data);
        case FT_ARRAY: return CheckElements(type.GetElementType(), data, type.GetArrayCount());
        case FT_VECTOR:
        case FT_DYNARRAY:
        {
            const auto& vector = *static_cast<const VectorOfByte*>(data);
            const ReflectionByteCode elementType = type.GetTypeBehindByte();
            return CheckElements(elementType, vector.data(), vector.size() / elementType.GetTypeSize());
        }
        case FT_MAP: return CheckEntries(*type.m_mapOrSetFns->mapFns, data, PayloadOf(type));
        case FT_FOREIGN: return CheckForeign(type.GetForeignType(), const_cast<void*>(data));
        default: return true;
        }
    }

private:
    bool CheckClass(const ReflectedClass& rc, const void* data)
    {
        const ClassFields fields(rc);
        const FieldRule* const rules = RulesOf(fields);
        for (ssize_t i = 0; i < fields.size(); ++i)
        {
            const ClassFields::Field field = fields[i];
            if (!field.m_isPresent)
                continue;
            const void* const member = static_cast<const char*>(data) + field.m_offset;
            if (rules != nullptr && i < fields.GetModelSize() && rules[i].m_check != nullptr &&
                !rules[i].m_check(member))
                return Refuse(*fields.GetModelClass(), field, member);
            if (!Check(field.m_type, member))
                return false;
        }
        return true;
    }

    bool Refuse(const ReflectedClass& rc, const ClassFields::Field& field, const void* member)
    {
        std::string room;
        const Scalar scalar = LoadScalar(field.m_type, member, room);
        ReflectionByteCode type = field.m_type;
        type.AdvanceToUnderlyingType2();
        return Fail(m_failure, ErrorKind::Check,
                    std::string("Member '") + field.m_name + "' of class " + rc.m_name + " refuses " +
                        (scalar.m_kind != Scalar::Kind::None ? Written(scalar) : "this " + TypeText(type)));
    }

    bool CheckElements(const ReflectionByteCode& type, const void* data, ssize_t count)
    {
        const ssize_t size = type.GetTypeSize();
        for (ssize_t i = 0; i < count; ++i)
            if (!Check(type, static_cast<const char*>(data) + i * size))
                return false;
        return true;
    }

    // Fns is MapFns or ForeignMapFns.
    template <class Fns>
    bool CheckEntries(const Fns& fns, const void* map, const ReflectionByteCode& payloadType)
    {
        struct Context
        {
            Checker* m_checker;
            const ReflectionByteCode* m_type;
            bool m_holds;
        } context{this, &payloadType, true};
        fns.ForEach(
            map,
            [](void* at, const void* key, void* payload)
            {
                auto& [checker, type, holds] = *static_cast<Context*>(at);
                return holds = checker->Check(*type, payload != nullptr ? payload : key);
            },
            &context);
        return context.m_holds;
    }

    bool CheckForeign(const ForeignType& type, void* data)
    {
        switch (type.GetForm())
        {
        case FF_TEXT: break;
        case FF_LIST:
            for (ssize_t i = 0; i < type.m_list->Count(data); ++i)
                if (!Check(type.GetElementType(i), type.m_list->At(data, i)))
                    return false;
            break;
        case FF_MAP: return CheckEntries(*type.m_map, data, type.GetPartType(type.m_numParts - 1));
        case FF_CHOICE:
        {
            const int32 part = IsShared(type) ? -1 : type.m_choice->GetIndex(data);
            return part < 0 || Check(type.GetPartType(part), type.m_choice->GetValue(data));
        }
        }
        return true;
    }

    Failure& m_failure;
};

} // namespace

bool CheckMembers(const ReflectionByteCode& type, const void* data, Failure& failure)
{
    return !Finder().Has(type) || Checker(failure).Check(type, data);
}

} // namespace kelm::evaluation
