#pragma once

// Values as messages show them, and what is said where one does not become one of another type.

#include <kelm/Scalar.h>
#include <kelm/Slot.h>
#include <kelm/api.h>
#include <klObject/types/ReflectionByteCode.h>

#include <string>
#include <string_view>

namespace kelm
{

// As a key of a path has it, a text in quotes; nothing for none.
KELM_API std::string TextOf(const Scalar& scalar);

// A variable's value where it is a scalar, its type otherwise.
KELM_API std::string TextOf(ReflectionByteCode type, const void* data);

namespace evaluation
{

// As messages have it: a text without quotes, a very long one cut; "null" for none.
std::string Written(const Scalar& scalar);

// Always false, with the failure that the value does not become one of the type:
// "No implicit conversion from value 2.5 to int32", "Value 300 is out of range of int8".
bool FailMisfit(Failure& failure, Fit fit, ReflectionByteCode wanted, const Scalar& value);

// The same of what is no scalar: "No implicit conversion from value of shop::Line to float64".
bool FailOtherType(Failure& failure, const std::string& written, std::string_view wanted);

} // namespace evaluation

} // namespace kelm
