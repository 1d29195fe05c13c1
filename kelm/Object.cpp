#include <kelm/Object.h>

#include <kelm/private/ErrorOf.h>
#include <klObject/types/ClassModel.h>
#include <klUtils/BasicSubString.h>

#include <string>

namespace kelm
{

const ReflectedClass& Object::GetClass() const
{
    if (!*this)
        throw ErrorWithoutPlace(ErrorKind::Range, "there is no object: it is null");
    return *m_root.get().GetReflectedClass();
}

std::string_view Object::GetClassName() const
{
    return GetClass().m_name;
}

std::vector<std::string_view> Object::GetMemberNames() const
{
    const ReflectedClass& rc = GetClass();
    std::vector<std::string_view> names;
    if (const ClassModel model = FindClassModel(rc); model.m_class != nullptr)
        for (ssize_t i = 0; i < GetModelFieldCount(*model.m_class); ++i)
            if (IsPresent(model.m_class->m_modelFields[i]))
                names.emplace_back(model.m_class->m_modelFields[i].m_name);
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(rc); ++i)
        names.emplace_back(rc.m_fields[i].m_name);
    return names;
}

bool Object::IsOf(ConstStringZ className) const
{
    return *this && SubString(GetClass().m_name) == SubString(className);
}

void* Object::GetAs(ConstStringZ className) const
{
    if (SubString(GetClass().m_name) == SubString(className))
        return m_root.get().self();
    throw ErrorWithoutPlace(ErrorKind::Type,
                            std::string("the object is a ") + GetClass().m_name + " and no " + className);
}

void EnsureAll(const UsedType* const* types)
{
    *Attempt({}, {},
             [&]
             {
                 for (; *types != nullptr; ++types)
                     (*types)->Get();
             });
}

} // namespace kelm
