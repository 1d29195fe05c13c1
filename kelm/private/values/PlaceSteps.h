#pragma once

// A place on its way along a path: what Places.h does its steps with.

#include <kelm/private/values/Places.h>

#include <string>

namespace kelm::evaluation
{

// The type that a place has behind qualifiers, null for an object itself; const ones make the place const.
ReflectionByteCode Underlying(Slot& slot);

// Whether a place is a variable of that type, but for qualifiers.
bool IsOfType(const Slot& slot, const ReflectionByteCode& type);

// As it is declared, or the class of an object: "xvector<shop::Line>".
std::string TextOfType(const Slot& slot);

// From an optional, a pointer or a variant to what it holds: false, and nothing is done, where it is none or empty.
bool EnterChoice(Slot& slot);

// Through all of them; the type is the underlying one of what is reached. False where there is nothing.
bool EnterChoices(Slot& slot, ReflectionByteCode& type);

// What can be done with that, which a place is then.
PathSteps::Way GetWayFrom(const ReflectionByteCode& type);

PathSteps StepsFrom(const Slot& slot, PathSteps::Access access);
void TakeOver(Slot& slot, const PathSteps& steps);

bool FailKey(Failure& failure, const Scalar& key);

} // namespace kelm::evaluation
