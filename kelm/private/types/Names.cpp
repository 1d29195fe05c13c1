#include <kelm/private/types/Names.h>

#include <klKelmScript/private/BuiltIns.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/Registry.h>

namespace kelm
{

namespace
{

template <class Descriptor>
void AppendNames(std::vector<std::string>& names, const xvector<const Descriptor*>& descriptors)
{
    for (const Descriptor* descriptor : descriptors)
        names.emplace_back(descriptor->m_name);
}

} // namespace

std::string_view LastPart(std::string_view qualifiedName)
{
    const std::size_t separator = qualifiedName.rfind("::");
    return separator == std::string_view::npos ? qualifiedName : qualifiedName.substr(separator + 2);
}

std::vector<std::string> BuiltInNames()
{
    std::vector<std::string> names;
    for (const BuiltIn& builtIn : GetBuiltIns())
        names.emplace_back(builtIn.m_name.begin(), builtIn.m_name.end());
    return names;
}

std::vector<std::string> ClassNames()
{
    std::vector<std::string> names;
    AppendNames(names, GetReflectedClasses());
    return names;
}

std::vector<std::string> CreatableClassNames()
{
    std::vector<std::string> names;
    for (const ReflectedClass* rc : GetReflectedClasses())
        if (rc->m_createFn != nullptr)
            names.emplace_back(rc->m_name);
    return names;
}

std::vector<std::string> AllTypeNames()
{
    std::vector<std::string> names = ClassNames();
    AppendNames(names, GetReflectedVariants());
    AppendNames(names, GetReflectedEnums());
    AppendNames(names, GetReflectedTypedefs());
    AppendNames(names, GetReflectedInterfaces());
    AppendNames(names, GetReflectedGlobalFunctions());
    return names;
}

std::vector<std::string> ModelFieldNames(const ReflectedClass& rc)
{
    std::vector<std::string> names;
    const ClassModel model = FindClassModel(rc);
    if (model.m_class != nullptr)
        for (ssize_t i = 0; i < model.m_class->m_numModelFields; ++i)
            if (IsPresent(model.m_class->m_modelFields[i]))
                names.emplace_back(model.m_class->m_modelFields[i].m_name);
    return names;
}

std::vector<std::string> MemberNames(const ReflectedClass& rc)
{
    std::vector<std::string> names = ModelFieldNames(rc);
    for (ssize_t i = 0; i < rc.m_numFields; ++i)
        names.emplace_back(rc.m_fields[i].m_name);
    return names;
}

std::vector<std::string> EnumeratorNames(const ReflectedEnum& re)
{
    return std::vector<std::string>(re.m_strings, re.m_strings + re.m_count);
}

std::vector<std::string> AlternativeNames(const ReflectedVariant& rv)
{
    std::vector<std::string> names;
    for (ssize_t i = 0; i < rv.m_numFields; ++i)
        names.emplace_back(rv.m_fields[i].m_name);
    return names;
}

} // namespace kelm
