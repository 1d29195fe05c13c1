#include <klObject/objects/IObject.h>

#include <klObject/objects/CastObject.h>
#include <klObject/objects/GcObject.h>
#include <klObject/objects/private/Making.h>
#include <klObject/types/Registry.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/MessageOf.h>

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

void* FindInstance(const ReflectedClass& rc, void* instance, ConstStringZ wanted)
{
    if (std::strcmp(rc.m_name, wanted) == 0)
        return instance;
    for (ssize_t i = 0; i < rc.m_numBases; ++i)
    {
        const ReflectedBase& base = rc.m_bases[i];
        void* const inside = base.m_fromDerived(instance);
        if (std::strcmp(base.m_name, wanted) == 0)
            return inside;
        const ReflectedClass* const baseClass = TryFindReflectedClass(base.m_name);
        if (void* const found = baseClass != nullptr ? FindInstance(*baseClass, inside, wanted) : nullptr)
            return found;
    }
    return nullptr;
}

void* FindInstance(const ptr<IObject>& object, const ReflectedClass& wanted)
{
    return FindInstance(*object.GetReflectedClass(), object.self(), wanted.m_name);
}

void ThrowOtherClass(const ptr<IObject>& object, const ReflectedClass& wanted)
{
    const xstring message = MessageOf("the object is a ", object.GetReflectedClass()->m_name, ", no ", wanted.m_name);
    ThrowKelmAssertionError(message.c_str(), "host/klObject/objects/CastObject", __LINE__);
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

// An object whose constructor has registered it and has thrown after that: a block that the collector frees.
constexpr IObjectFns s_remainsFns = {
    .QueryInterface = [](void*, const ReflectedInterface&) { return InterfaceHandle(); },
    .BindInterface = [](void*, const ReflectedInterface&) { return InterfaceHandle(); },
    .GetReflectedClass = [](const void*) -> const ReflectedClass* { return nullptr; },
    .VisitObjects = [](const void*, IObjectVisitor&) {},
    .OnGarbageCollect = [](void*) {},
    .Destroy =
        [](void* self)
    {
        const auto alignment = static_cast<std::size_t>(GetHeader(self).m_id);
        FreeBlock(static_cast<char*>(self) - GetObjectOffset(alignment), alignment);
    },
    .GetSysState = GetGcObjectState,
};

void LeaveToCollector(void* self, std::size_t alignment)
{
    GcObjectHeader& header = GetHeader(self);
    header.m_id = static_cast<ObjectId>(alignment); // it has no other identity any more
    header.m_state.m_object = {self, &s_remainsFns};
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
    auto& header = *::new (static_cast<void*>(self - sizeof(GcObjectHeader))) GcObjectHeader();
    BeginMakingOf(header.m_state);
    try
    {
        construct(self); // which may hand the object out
    }
    catch (...)
    {
        EndMakingOf(header.m_state);
        if (header.m_state.m_isRegistered)
            LeaveToCollector(self, alignment);
        else
            FreeBlock(block, alignment);
        throw;
    }
    EndMakingOf(header.m_state);
    return {self, &fns};
}

void DeleteGcObject(void* self, std::size_t alignment, void (*destroy)(void* self))
{
    alignment = GetBlockAlignment(alignment);
    destroy(self);
    FreeBlock(static_cast<char*>(self) - GetObjectOffset(alignment), alignment);
}

} // namespace kelm
