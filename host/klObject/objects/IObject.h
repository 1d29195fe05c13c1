#pragma once

// Objects and their handles.
//
// An object is data at an address (self, where the fields of its class lie) and a function table. A handle is the two
// words of them; it owns nothing, keeps nothing alive and may be copied as bytes. Objects handed to the collector live
// until they can no longer be reached from its roots (Collector.h).

#include <klObject/api.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <cstddef>
#include <type_traits>

namespace kelm
{

class IObject;
class IPersistable;
struct SysState;

// Receives every object handle that something holds.
class KLOBJECT_API IObjectVisitor
{
public:
    virtual void Visit(const ptr<IObject>& handle) = 0;

protected:
    ~IObjectVisitor() = default;
};

class prefbase;

// Receives every persistent reference that something holds.
class KLOBJECT_API IPrefVisitor
{
public:
    virtual void Visit(const prefbase& reference) = 0;

protected:
    ~IPrefVisitor() = default;
};

// What QueryInterface answers: an object's data with the function table of the interface asked for; null where the
// object does not implement it. The table is that of the interface, as its address.
struct InterfaceHandle
{
    void* m_self = nullptr;
    const void* m_fns = nullptr;
};

// The function table of every object. The order of the slots is fixed.
struct IObjectFns
{
    InterfaceHandle (*QueryInterface)(void* self, const ReflectedInterface& wanted);
    // As QueryInterface, for a caller that keeps the table: it answers the same for every object of the class.
    InterfaceHandle (*BindInterface)(void* self, const ReflectedInterface& wanted);
    const ReflectedClass* (*GetReflectedClass)(const void* self);
    // Passes every object handle inside the object to the visitor.
    void (*VisitObjects)(const void* self, IObjectVisitor& visitor);
    // Called once, before Destroy, on an object that the collector found unreachable; other unreachable objects are
    // still whole then. It is destroyed all the same. Must not throw.
    void (*OnGarbageCollect)(void* self);
    // Destroys the object and frees its memory. Must not throw.
    void (*Destroy)(void* self);
    // The collector's own record of the object, which lives as long as the object.
    SysState& (*GetSysState)(void* self);
};

// The identity of a persistent object in its store; 0 is none.
using ObjectId = int64;

struct IPersistableFns : IObjectFns
{
    ObjectId (*GetObjectId)(const void* self); // 0 until the object is stored
    void (*SetObjectId)(void* self, ObjectId id);
};

// The interfaces, as C++ names for what a handle designates. They are never instantiated.
class KLOBJECT_API IObject
{
public:
    using Fns = IObjectFns;
    IObject() = delete;
};
class KLOBJECT_API IPersistable : public IObject
{
public:
    using Fns = IPersistableFns;
};

template <class I>
class ptr
{
public:
    using Fns = typename I::Fns;

    ptr() = default;
    ptr(std::nullptr_t) {}
    ptr(void* self, const Fns* fns) : m_self(self), m_fns(fns) {}

    // A handle to an interface is one to each interface that it extends.
    template <class J>
    requires(!std::is_same_v<I, J> && std::is_base_of_v<I, J>) ptr(const ptr<J>& other)
        : m_self(other.self()), m_fns(other.fns())
    {
    }

    void* self() const { return m_self; } // null for a null handle
    const Fns* fns() const { return m_fns; }
    explicit operator bool() const { return m_self != nullptr; }

    // The class of the object; the handle must not be null.
    const ReflectedClass* GetReflectedClass() const { return m_fns->GetReflectedClass(m_self); }

    // Identity of the object, whichever interface it is seen through.
    friend bool operator==(const ptr& a, const ptr& b) { return a.m_self == b.m_self; }
    friend bool operator==(const ptr& a, std::nullptr_t) { return a.m_self == nullptr; }

private:
    void* m_self = nullptr;
    const Fns* m_fns = nullptr;
};

static_assert(sizeof(ptr<IObject>) == 16 && std::is_trivially_copyable_v<ptr<IObject>>);

// The descriptors of the interfaces. The argument selects the overload and is not used.
KLOBJECT_API const ReflectedInterface& _GetReflected(const IObject*);
KLOBJECT_API const ReflectedInterface& _GetReflected(const IPersistable*);

// The object's IPersistable handle, null where it has none or the handle is null.
KLOBJECT_API ptr<IPersistable> QueryPersistable(ptr<IObject> object);

} // namespace kelm
