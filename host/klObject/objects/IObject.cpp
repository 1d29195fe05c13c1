#include <klObject/objects/IObject.h>

#include <klObject/objects/GcObject.h>

#include <cstring>
#include <new>

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

namespace
{

GcObjectHeader& GetHeader(void* self)
{
    return *reinterpret_cast<GcObjectHeader*>(static_cast<char*>(self) - sizeof(GcObjectHeader));
}

// Of a block, and of the object in it.
std::size_t GetBlockAlignment(std::size_t alignment)
{
    return alignment > alignof(GcObjectHeader) ? alignment : alignof(GcObjectHeader);
}

// Where an object lies in its block.
std::size_t GetObjectOffset(std::size_t alignment)
{
    return (sizeof(GcObjectHeader) + alignment - 1) / alignment * alignment;
}

constexpr bool IsOveraligned(std::size_t alignment)
{
    return alignment > __STDCPP_DEFAULT_NEW_ALIGNMENT__;
}

void FreeBlock(char* block, std::size_t alignment)
{
    if (IsOveraligned(alignment))
        ::operator delete(block, std::align_val_t(alignment));
    else
        ::operator delete(block);
}

} // namespace

SysState& GetGcObjectState(void* self)
{
    return GetHeader(self).m_state;
}

ObjectId GetGcObjectId(const void* self)
{
    return GetHeader(const_cast<void*>(self)).m_id;
}

void SetGcObjectId(void* self, ObjectId id)
{
    GetHeader(self).m_id = id;
}

ptr<IObject> NewGcObject(std::size_t size, std::size_t alignment, void (*construct)(void* self),
                         const IPersistableFns& fns)
{
    alignment = GetBlockAlignment(alignment);
    const std::size_t offset = GetObjectOffset(alignment);
    char* const block =
        static_cast<char*>(IsOveraligned(alignment) ? ::operator new(offset + size, std::align_val_t(alignment))
                                                    : ::operator new(offset + size));
    char* const self = block + offset;
    try
    {
        construct(self);
    }
    catch (...)
    {
        FreeBlock(block, alignment);
        throw;
    }
    ::new (static_cast<void*>(self - sizeof(GcObjectHeader))) GcObjectHeader();
    return {self, &fns};
}

void DeleteGcObject(void* self, std::size_t alignment, void (*destroy)(void* self))
{
    alignment = GetBlockAlignment(alignment);
    destroy(self);
    FreeBlock(static_cast<char*>(self) - GetObjectOffset(alignment), alignment);
}

} // namespace kelm
