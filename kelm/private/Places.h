#pragma once

// Variables of reflected types, as values: what they hold, what is assigned to them, and the steps into them.

#include <kelm/Slot.h>
#include <klObject/types/ReflectedTypes.h>

#include <cstddef>
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

// A variable of a scalar or text type becomes its value, which stands in the slot itself or where the variable is;
// every other stays a place. What an optional or a variant holds stands for it.
bool LoadPlace(Slot& slot, Failure& failure);

// Assigns a value to the variable of a place, by the table of conversions. A value that does not become one of the
// type, or that a check refuses, changes nothing.
bool StorePlace(const Slot& place, const Slot& value, const Checks& checks, Failure& failure);

// From a place to a member, or to an element: by its index, or in a map by its key. The slot keeps what it kept alive.
bool StepToMember(Slot& slot, std::string_view name, Checks& checks, Failure& failure);
bool StepToElement(Slot& slot, const Slot& index, Failure& failure);

// Assigns to an element; a map gets the key where it does not have it. `isIndexWrong` says what a failure is about.
bool StoreElement(const Slot& place, const Slot& index, const Slot& value, const Checks& checks, bool& isIndexWrong,
                  Failure& failure);

// From a place to the object that it is or that its handle designates: the object's class, null where there is none.
const ReflectedClass* GoToObject(Slot& slot, Failure& failure);

// The type that one code describes.
ReflectionByteCode TypeOfCode(ETypeByteCode code);

// How many elements a list or map has.
bool GetLength(const Slot& slot, std::size_t& length, Failure& failure);

// Whether there is an object: no null handle or empty optional.
bool IsThere(const Slot& slot);

} // namespace kelm::evaluation
