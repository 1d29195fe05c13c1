#pragma once

// The checks of the members of a value that is assigned as a whole.

#include <kelm/Slot.h>
#include <klObject/types/ReflectionByteCode.h>

namespace kelm::evaluation
{

// Whether the checks of all members in a variable hold, at any depth, in elements and entries too; with which one does
// not. What handles and shared pointers lead to is not assigned with it, and not asked.
bool CheckMembers(const ReflectionByteCode& type, const void* data, Failure& failure);

} // namespace kelm::evaluation
