#pragma once

// From a handle to the C++ object behind it, of a class that the program knows. The object's class is looked at first:
// texts name the classes of the objects that they make, so that a handle says nothing about it.
//
//     Circle* circle = CastObject<Circle>(object);            // an assertion where it is no Circle
//     if (Square* square = TryCastObject<Square>(object)) ... // null where it is no Square
//
// A class is told by its registered name. Where a class is described with its bases (KELM_BASE, KELM_DESCRIBE), its
// objects can be had as those, too. A null handle gives null.

#include <klObject/api.h>
#include <klObject/describe/Description.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectedTypes.h>

namespace kelm
{

// The instance of a class in an object whose class has another descriptor; null where there is none.
KLOBJECT_API void* FindInstance(const ptr<IObject>& object, const ReflectedClass& wanted);
// The same in an instance of a class: it itself, that of a base, or of a base of one that is registered.
KLOBJECT_API void* FindInstance(const ReflectedClass& rc, void* instance, ConstStringZ wanted);

// Fails the assertion "the object is a X, no Y".
KLOBJECT_API void ThrowOtherClass(const ptr<IObject>& object, const ReflectedClass& wanted);

template <class T>
T* TryCastObject(const ptr<IObject>& object)
{
    if (!object)
        return nullptr;
    const ReflectedClass& wanted = _GetReflected(static_cast<const T*>(nullptr));
    // Seldom has a class two descriptors: in libraries that hide theirs from each other.
    void* const instance = object.GetReflectedClass() == &wanted ? object.self() : FindInstance(object, wanted);
    return static_cast<T*>(instance);
}

template <class T>
T* CastObject(const ptr<IObject>& object)
{
    T* const instance = TryCastObject<T>(object);
    if (instance == nullptr && object) [[unlikely]]
        ThrowOtherClass(object, _GetReflected(static_cast<const T*>(nullptr)));
    return instance;
}

} // namespace kelm
