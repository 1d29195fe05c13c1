#pragma once

// GcObject<T>: makes a described C++ class T an object that the collector can own.
//
// The object's memory is one block: the collector's record and the object's identity, and behind them the T, whose
// address is the handle's self. T is described (Describe.h), or a `const ReflectedClass& _GetReflected(const T*)` is
// found by argument-dependent look-up; the handles that T holds are found through it. An object is seen as
// kelm::IObject, and as kelm::IPersistable where its class lists that name among its interfaces. A member function
// `void OnGarbageCollect()` of T, if there is one, is called before the object is destroyed as garbage.
//
//     ptr<IObject> object = CreateGcObject<Point>();
//     RegisterGcObject(object);
//     CastObject<Point>(object)->m_x = 1;
//
// T's constructor may hand its object out, as ptr<IObject>(this, &GcObjectFns<T>), and may collect.

#include <klObject/api.h>
#include <klObject/describe/Description.h>
#include <klObject/objects/CastObject.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <cstddef>
#include <new>

namespace kelm
{

// What lies right in front of the T.
struct GcObjectHeader
{
    SysState m_state;
    ObjectId m_id = 0;
};

// How every GcObject answers QueryInterface and BindInterface. Interfaces are told apart by name.
KLOBJECT_API InterfaceHandle QueryGcObjectInterface(void* self, const IPersistableFns& fns, const ReflectedClass& rc,
                                                    const ReflectedInterface& wanted);

// What is the same for objects of every type, so that no type makes code for it.
KLOBJECT_API SysState& GetGcObjectState(void* self);
KLOBJECT_API ObjectId GetGcObjectId(const void* self);
KLOBJECT_API void SetGcObjectId(void* self, ObjectId id);
KLOBJECT_API ptr<IObject> NewGcObject(std::size_t size, std::size_t alignment, void (*construct)(void* self),
                                      const IPersistableFns& fns);
KLOBJECT_API void DeleteGcObject(void* self, std::size_t alignment, void (*destroy)(void* self));

template <class T>
void ConstructOne(void* place)
{
    ::new (place) T();
}
template <class T>
void DestroyOne(void* variable)
{
    static_cast<T*>(variable)->~T();
}

// The functions behind the function table of T, GcObjectFns<T>.
template <class T>
class GcObject
{
public:
    // A default-constructed T that nobody owns yet. Throws std::bad_alloc and what T's constructor throws.
    static ptr<IObject> Create();

    static InterfaceHandle QueryInterface(void* self, const ReflectedInterface& wanted);
    static const ReflectedClass* GetReflectedClass(const void*)
    {
        return &_GetReflected(static_cast<const T*>(nullptr));
    }
    static void VisitObjects(const void* self, IObjectVisitor& visitor)
    {
        VisitObjectsInClassInstance(*GetReflectedClass(self), self, visitor);
    }
    static void OnGarbageCollect([[maybe_unused]] void* self)
    {
        if constexpr (requires(T & object) { object.OnGarbageCollect(); })
            static_cast<T*>(self)->OnGarbageCollect();
    }
    static void Destroy(void* self) { DeleteGcObject(self, alignof(T), DestroyOne<T>); }
};

// The function table of the objects of T (ReflectedClass::m_objectFns).
template <class T>
inline constexpr IPersistableFns GcObjectFns = {{
                                                    GcObject<T>::QueryInterface,
                                                    GcObject<T>::QueryInterface,
                                                    GcObject<T>::GetReflectedClass,
                                                    GcObject<T>::VisitObjects,
                                                    GcObject<T>::OnGarbageCollect,
                                                    GcObject<T>::Destroy,
                                                    GetGcObjectState,
                                                },
                                                GetGcObjectId,
                                                SetGcObjectId};

template <class T>
InterfaceHandle GcObject<T>::QueryInterface(void* self, const ReflectedInterface& wanted)
{
    return QueryGcObjectInterface(self, GcObjectFns<T>, *GetReflectedClass(self), wanted);
}

template <class T>
ptr<IObject> GcObject<T>::Create()
{
    return NewGcObject(sizeof(T), alignof(T), ConstructOne<T>, GcObjectFns<T>);
}

// A new object of T that nobody owns yet (ReflectedClass::m_createFn): hand it to RegisterGcObject.
template <class T>
ptr<IObject> CreateGcObject()
{
    return GcObject<T>::Create();
}

} // namespace kelm
