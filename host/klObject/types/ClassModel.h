#pragma once

// Finding a class's model, and fields by name: written once for paths, data sources and everything that walks objects.

#include <klObject/api.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

namespace kelm
{

// The class that lists the model fields, and where its instance lies inside the object. m_class is null for a class
// without a model.
struct ClassModel
{
    const ReflectedClass* m_class = nullptr;
    ssize_t m_offset = 0;
};

// The model that `rc` embeds instead of listing model fields.
KLOBJECT_API ClassModel FindEmbeddedModel(const ReflectedClass& rc);

// The model of `rc`: itself, or the class whose model it embeds, which must be registered (FindReflectedClass).
inline ClassModel FindClassModel(const ReflectedClass& rc)
{
    if (rc.m_modelFields == nullptr)
        return {};
    return rc.m_numModelFields > 0 ? ClassModel{&rc, 0} : FindEmbeddedModel(rc);
}

inline bool IsPresent(const ReflectedModelField& field)
{
    return field.m_rsn2 == -1;
}

// How many fields the class itself lists; none where there is no list, whatever number stands beside it.
inline ssize_t GetModelFieldCount(const ReflectedClass& rc)
{
    return rc.m_modelFields != nullptr ? rc.m_numModelFields : 0;
}
inline ssize_t GetOrdinaryFieldCount(const ReflectedClass& rc)
{
    return rc.m_fields != nullptr ? rc.m_numFields : 0;
}

// The index of the first field of that name, or -1; `hint` is the index to try first. FindModelField looks at dropped
// fields too, FindPresentModelField passes over them.
KLOBJECT_API ssize_t FindModelField(const ReflectedClass& rc, SubString name);
KLOBJECT_API ssize_t FindPresentModelField(const ReflectedClass& rc, SubString name, ssize_t hint);
KLOBJECT_API ssize_t FindOrdinaryField(const ReflectedClass& rc, SubString name, ssize_t hint);

} // namespace kelm
