#pragma once

// Variables of reflected types, as values: what they hold, what is assigned to them, and the steps into them.

#include <kelm/Scalar.h>
#include <kelm/Slot.h>
#include <klKelmScript/private/PathSteps.h>
#include <klObject/types/ReflectedTypes.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::evaluation
{

// A member that has a check, on the way to a place.
struct CheckedMember
{
    const FieldRule* m_rule;
    const ReflectedClass* m_class;
    ConstStringZ m_name;
    const void* m_data;
    uint32 m_outer; // the one before it, counted from 1
};
using Checks = std::vector<CheckedMember>;

// --- Values

// A variable of a scalar or text type becomes its value, which stands in the slot itself or where the variable is;
// every other stays a place. What an optional or a variant holds stands for it.
bool LoadPlace(Slot& slot, Failure& failure);

// A scalar, text or enumerator that lies in a variable becomes a value, or lies in one of its own from then on: it is
// as it is now, whatever becomes of the variable. Objects and lists stay where they are.
void OwnScalar(Slot& slot);

// The same of any value, which stays as it is: none of objects. The text may lie in `room`.
bool ToScalar(const Slot& slot, Scalar& scalar, std::string& room, Failure& failure);

// From a place, through optionals and handles, to a variable of that type. False where there is none; the slot, which
// then owns nothing, is where the way ends.
bool TryGoToType(Slot& slot, const ReflectionByteCode& type);
// From there on, to the part of an object that is of the class, a base of its own. False where there is none.
bool TryGoToBase(Slot& slot, const ReflectionByteCode& type);

// A map becomes a list of its payloads, a set one of its elements, in their own order; every other value stays. Where
// the container may change meanwhile, it is by their keys that the entries are found.
bool GoToList(Slot& slot, bool mayChange, Failure& failure);
// An element of that, which does not keep the list.
bool GetElement(const Slot& list, const Slot& index, Slot& element, Failure& failure);
// Whether a list is what has become of a map or set; which has been found again elsewhere.
bool IsListOfEntries(const Slot& slot);
bool SetContainer(Slot& list, const Slot& container, Failure& failure);

// How many elements a list or map has.
bool GetLength(const Slot& slot, std::size_t& length, Failure& failure);

// Whether there is an object: no null handle or empty optional.
bool IsThere(const Slot& slot);
bool FailNothing(Failure& failure); // where there is none

// The type that one code describes.
ReflectionByteCode TypeOfCode(ETypeByteCode code);

// --- Assignment

// What is assigned: a scalar, null where that is none, or an object.
struct Assigned
{
    Scalar m_scalar = {};
    Slot m_object = Slot::OfNothing();              // a place: the object, which is copied,
    void (*m_exchange)(void* a, void* b) = nullptr; // or exchanged with the variable
};

// What a value is as that. The text may lie in `room`.
bool ToAssigned(const Slot& value, Assigned& assigned, std::string& room, Failure& failure);

// Assigns to the variable of a place, by the table of conversions. What does not become one of the type, or what a
// check refuses, changes nothing.
bool StorePlace(const Slot& place, const Assigned& value, const Checks& checks, Failure& failure);
bool StorePlace(const Slot& place, const Slot& value, const Checks& checks, Failure& failure);

// Assigns to an element; a map gets the key where it does not have it. `isIndexWrong` says what a failure is about.
bool StoreElement(const Slot& place, const Scalar& index, const Assigned& value, const Checks& checks,
                  bool& isIndexWrong, Failure& failure);
bool StoreElement(const Slot& place, const Slot& index, const Slot& value, const Checks& checks, bool& isIndexWrong,
                  Failure& failure);

// --- Steps

// From a place to a member, or to an element: by its index, or in a map by its key. The slot keeps what it kept alive.
bool StepToMember(Slot& slot, std::string_view name, Checks& checks, Failure& failure);
bool StepToElement(Slot& slot, const Slot& index, Failure& failure);
bool StepToElement(Slot& slot, const Scalar& index, Failure& failure);

// From a place to the object that it is or that its handle designates: the object's class, null where there is none.
const ReflectedClass* GoToObject(Slot& slot, Failure& failure);

// The same without going there, of any value; null where there is none.
const ReflectedClass* ClassOf(Slot slot);

} // namespace kelm::evaluation
