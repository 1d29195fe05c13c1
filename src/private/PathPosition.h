#pragma once

// PathPosition: where in an object a path is, and the single steps from there. A walk along a path takes them one
// behind the other (PathWalk.h), expressions one by one (PathSteps.h).

#include <klKelmScript/api.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/text/LSToken.h>
#include <klUtils/xstring.h>

namespace kelm
{

// Why a path does not go on.
enum class PathFault : uint8
{
    NotScanned,
    Expected,
    IndexOutOfType,
    NegativeIndexOutOfType,
    UnknownField,
    IndexOutOfRange,
    NullDereference,
    // Where a walk ends or fails an assertion, but a step cannot be taken:
    NoFields,
    NoElements,
    UnknownKey,
};

struct PathProblem
{
    PathFault m_fault;
    int64 m_index;
    ConstStringZ m_subject; // the class or kind of container, or what was expected
};

// The message, said of the token that it is about (PathMessages.h). Not of what could not be scanned.
KLKELMSCRIPT_API xstring MessageOf(const PathProblem& problem, const LSToken& token);

// The elements of a container, one of which a path steps to.
struct PathElements
{
    ConstStringZ m_kind; // of the container, as messages call it
    char* m_first;
    ssize_t m_count;
    ssize_t m_elementSize;
    VectorOfByte* m_growing = nullptr;      // a dynamic array that grows to have whatever element is asked for
    const ForeignType* m_foreign = nullptr; // a list that is none of ours, which is at m_first

    // Whether it has that element, or may grow to have it.
    bool Has(int64 index) const;
};

// A model field of a class, and which class lists it where inside; null where there is none.
struct PathField
{
    const ReflectedModelField* m_field = nullptr;
    ClassModel m_model;
};

// The first field of that name. The class must have a model.
PathField FindPathField(const ReflectedClass& rc, SubString name);

struct PathPosition
{
    // The type there, without what stands before it; which must not be const.
    ReflectionByteCode GetUnderlyingType() const;

    // To the field of an instance that is there.
    void StepTo(const PathField& field);

    // From a container of that type to its elements, which the position's type is from now on.
    PathElements EnterArray(const ReflectionByteCode& type);
    PathElements EnterVector(const ReflectionByteCode& type);
    PathElements EnterDynArray(const ReflectionByteCode& type);
    PathElements EnterForeignList(const ForeignType& type) const;

    // To an element that there is, or may be.
    void StepTo(const PathElements& elements, int64 index);

    // From a choice that is none of ours to what it holds. False where that is nothing.
    bool TryEnterChoice(const ForeignType& type);

    // From a handle of that type to the object, and its class; null where there is no object.
    const ReflectedClass* FollowHandle(const ReflectionByteCode& type, const ptr<IObject>& target);

    ptr<IObject> m_obj;       // the object that owns the position
    ReflectionByteCode m_rbc; // the type there
    char* m_data = nullptr;
};

// The class of an instance of that type, which must be registered.
const ReflectedClass& GetPathClass(const ReflectionByteCode& type);

// Fails the assertion that there is for a type which no position of a walk can have; returns for one that ends it.
void RequireValueType(const ReflectionByteCode& type);

} // namespace kelm
