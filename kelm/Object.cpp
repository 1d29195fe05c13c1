#include <kelm/Object.h>

#include <kelm/private/errors/ErrorOf.h>
#include <klObject/describe/RegisterUsed.h>
#include <klObject/objects/CastObject.h>
#include <klObject/types/ClassModel.h>

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

void* Object::TryGetAs(const UsedType& type) const
{
    if (!*this)
        return nullptr;
    try
    {
        type.m_ensureRegistered();
    }
    catch (const TypeNameException&)
    {
        return nullptr;
    }
    return FindInstance(m_root.get(), *type.m_class);
}

void* Object::GetAs(const UsedType& type) const
{
    const ReflectedClass& rc = GetClass();
    const UsedType* const types[] = {&type, nullptr};
    EnsureAll(types);
    if (void* const instance = FindInstance(m_root.get(), *type.m_class))
        return instance;
    throw ErrorWithoutPlace(ErrorKind::Type,
                            std::string("the object is a ") + rc.m_name + " and no " + type.m_class->m_name);
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
