// Types of values: what messages call them, and whether two are the same.

#include <kelm/private/expressions/Operations.h>
#include <kelm/private/expressions/Scalars.h>
#include <kelm/private/expressions/ScopeNames.h>
#include <kelm/private/values/PlaceSteps.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/MessageOf.h>

#include <cstring>
#include <string>

namespace kelm::evaluation
{

namespace
{

std::string NameOf(ReflectionByteCode type)
{
    type.AdvanceToUnderlyingType2();
    switch (static_cast<int>(type.GetCode()))
    {
    case FT_CLASS:
    case FT_INTERFACE:
    case FT_ENUM:
    case FT_VARIANT: return type.GetName();
    case FT_BOOL: return "bool";
    case FT_STRING8:
    case FT_STRING16: return "string";
    case FT_FLOAT32: return "float32";
    case FT_FLOAT64: return "float64";
    case FT_INT8:
    case FT_INT16:
    case FT_INT32:
    case FT_INT64:
    case FT_UINT8:
    case FT_UINT16:
    case FT_UINT32:
    case FT_UINT64: return "integer";
    case FT_MAP: return "map";
    case FT_SET: return "set";
    case FT_ARRAY:
    case FT_VECTOR:
    case FT_DYNARRAY: return "list of " + NameOf(type.GetElementType());
    case FT_PREF:
    case FT_CREF:
    case FT_INTERFACE_POINTER: return "handle";
    case FT_FOREIGN: break;
    default: return "object";
    }
    const ForeignType& foreign = type.GetForeignType();
    switch (foreign.GetForm())
    {
    case FF_TEXT: return "string";
    case FF_LIST: return foreign.m_list->m_isFixed ? "tuple" : "list of " + NameOf(foreign.GetElementType(0));
    case FF_MAP: return foreign.m_numParts == 2 ? "map" : "set";
    case FF_CHOICE: break;
    }
    return foreign.IsOptional() ? "optional " + NameOf(foreign.GetPartType(0)) : "variant";
}

} // namespace

std::string NameOfVariable(const Slot& place)
{
    return place.m_bc != nullptr ? NameOf(place.GetType()) : place.GetOwner().GetReflectedClass()->m_name;
}

namespace
{

// Of what a variable is as a value; None where it is no scalar.
Kind KindAsValue(const Slot& place)
{
    ReflectionByteCode type = place.GetType();
    if (type.m_bc == nullptr)
        return Kind::None;
    type.AdvanceToUnderlyingType2();
    const ETypeByteCode code = type.GetCode();
    return code == FT_CHAR8 || code == FT_CHAR16 ? Kind::Text : KindOfScalar(code);
}

} // namespace

std::string NameOfType(const Slot& slot)
{
    switch (slot.m_kind != Kind::Place ? slot.m_kind : KindAsValue(slot))
    {
    case Kind::None: break;
    case Kind::Bool: return "bool";
    case Kind::Integer: return "int64";
    case Kind::Float: return "float64";
    case Kind::Text: return "string";
    case Kind::Place: break;
    }
    return slot.m_kind == Kind::None ? "void" : NameOfVariable(slot);
}

std::string Written(const Slot& slot)
{
    const auto text = [](const auto&... parts) { return std::string(std::string_view(MessageOf(parts...))); };
    switch (slot.m_kind)
    {
    case Kind::None: return "void";
    case Kind::Bool: return slot.m_bool ? "true" : "false";
    case Kind::Integer: return text(slot.m_integer);
    case Kind::Float: return text(slot.m_float);
    case Kind::Text: return std::string(slot.GetText());
    case Kind::Place: break;
    }
    return "of " + TextOfType(slot);
}

bool IsSameType(ReflectionByteCode a, ReflectionByteCode b)
{
    for (ReflectionByteCode* const type : {&a, &b})
        if (GetTypeCode(*type).m_passedAs != 0) [[unlikely]]
            type->AdvanceToUnderlyingType2();
    if (a.GetCode() != b.GetCode())
        return false;
    switch (static_cast<int>(a.GetCode()))
    {
    case FT_FOREIGN: return a.GetForeignType().m_name == b.GetForeignType().m_name;
    case FT_CLASS:
    case FT_INTERFACE:
    case FT_ENUM:
    case FT_VARIANT: return a.GetName() == b.GetName() || std::strcmp(a.GetName(), b.GetName()) == 0;
    case FT_ARRAY: return a.GetArrayCount() == b.GetArrayCount() && IsSameType(a.GetElementType(), b.GetElementType());
    case FT_VECTOR:
    case FT_DYNARRAY:
    case FT_SET:
    case FT_PREF:
    case FT_CREF:
    case FT_INTERFACE_POINTER: return IsSameType(a.GetElementType(), b.GetElementType());
    case FT_MAP:
    {
        ReflectionByteCode payloadOfA = a.GetElementType();
        ReflectionByteCode payloadOfB = b.GetElementType();
        if (!IsSameType(payloadOfA, payloadOfB))
            return false;
        payloadOfA.ScanType();
        payloadOfB.ScanType();
        return IsSameType(payloadOfA, payloadOfB);
    }
    default: return true;
    }
}

} // namespace kelm::evaluation
