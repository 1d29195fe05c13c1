#include <kelm/private/expressions/KnownTypes.h>

#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>

namespace kelm::evaluation
{

ETypeByteCode UnderlyingCode(const ReflectionByteCode& type)
{
    ReflectionByteCode underlying = type;
    underlying.AdvanceToUnderlyingType2();
    return underlying.GetCode();
}

bool StepToKnownMember(KnownVariable& variable, std::string_view name)
{
    ReflectionByteCode type = variable.GetType();
    const bool isConst = (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0;
    const ReflectedClass* const rc = type.GetCode() == FT_CLASS ? type.GetReflectedClass() : nullptr;
    if (rc == nullptr)
        return false;
    const ClassModel model = FindClassModel(*rc);
    const ssize_t i = model.m_class != nullptr ? FindPresentModelField(*model.m_class, name, 0) : -1;
    if (i < 0 || (model.m_class->m_rules != nullptr && model.m_class->m_rules[i].m_check != nullptr))
        return false;
    const ReflectedModelField& field = model.m_class->m_modelFields[i];
    variable = KnownVariable::Of({field.m_bc, model.m_class->m_stringTable, field.m_mapOrSetFns},
                                 variable.m_isConst || isConst, variable.m_offset + model.m_offset + field.m_offset);
    return true;
}

bool FindKnownElements(const KnownVariable& list, KnownPlace& place, KnownVariable& element)
{
    ReflectionByteCode type = list.GetType();
    const bool isConst = list.m_isConst || (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0;
    ReflectionByteCode elementType;
    place.m_list = nullptr;
    place.m_count = -1;
    if (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_LIST)
    {
        place.m_list = type.GetForeignType().m_list;
        if (place.m_list->m_isFixed || place.m_list->Append == nullptr) // types or no addresses of their own
            return false;
        elementType = type.GetForeignType().GetElementType(0);
    }
    else if (type.GetCode() == FT_ARRAY)
    {
        place.m_count = type.GetArrayCount();
        elementType = type.GetElementType();
    }
    else if (type.GetCode() == FT_VECTOR || type.GetCode() == FT_DYNARRAY)
        elementType = type.GetTypeBehindByte();
    else
        return false;
    place.m_elementSize = elementType.GetTypeSize();
    element = KnownVariable::Of(elementType, isConst, 0);
    return true;
}

} // namespace kelm::evaluation
