#pragma once

// What is said where a value does not become one of another type.

#include <kelm/Error.h>
#include <kelm/Scalar.h>
#include <kelm/api.h>
#include <klObject/types/ReflectionByteCode.h>

#include <string>

namespace kelm
{

// A scalar as texts have it, a very long one cut; nothing for none.
KELM_API std::string TextOf(const Scalar& scalar);

// A variable's value where it is a scalar, its type otherwise.
KELM_API std::string TextOf(ReflectionByteCode type, const void* data);

// "Expected int32 when read 2.5", "Value 300 is out of range of int8".
KELM_API std::string MisfitMessage(Fit fit, const std::string& wanted, const std::string& value);
KELM_API ErrorKind KindOfMisfit(Fit fit);

} // namespace kelm
