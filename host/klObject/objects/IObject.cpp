#include <klObject/objects/IObject.h>

#include <klObject/objects/GcObject.h>

#include <cstring>

namespace kelm
{

namespace
{

constexpr ReflectedInterface s_objectInterface = {.m_name = "kelm::IObject"};
constexpr ReflectedInterface s_persistableInterface = {.m_name = "kelm::IPersistable"};

bool IsNamed(const ReflectedInterface& wanted, const ReflectedInterface& interface)
{
    return std::strcmp(wanted.m_name, interface.m_name) == 0;
}

bool Implements(const ReflectedClass& rc, const ReflectedInterface& interface)
{
    for (ssize_t i = 0; i < rc.m_numInterfaces; ++i)
        if (std::strcmp(rc.m_interfaces[i], interface.m_name) == 0)
            return true;
    return false;
}

} // namespace

const ReflectedInterface& _GetReflected(const IObject*)
{
    return s_objectInterface;
}

const ReflectedInterface& _GetReflected(const IPersistable*)
{
    return s_persistableInterface;
}

ptr<IPersistable> QueryPersistable(ptr<IObject> object)
{
    if (!object)
        return nullptr;
    const InterfaceHandle handle = object.fns()->QueryInterface(object.self(), s_persistableInterface);
    return {handle.m_self, static_cast<const IPersistableFns*>(handle.m_fns)};
}

InterfaceHandle QueryGcObjectInterface(void* self, const IPersistableFns& fns, const ReflectedClass& rc,
                                       const ReflectedInterface& wanted)
{
    if (IsNamed(wanted, s_objectInterface))
        return {self, static_cast<const IObjectFns*>(&fns)};
    if (IsNamed(wanted, s_persistableInterface) && Implements(rc, s_persistableInterface))
        return {self, &fns};
    return {};
}

} // namespace kelm
