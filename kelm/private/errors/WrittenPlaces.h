#pragma once

// Where something stands in the text of an expression, found again where an error needs it: kept forms know the places
// of operations alone.

#include <klUtils/types.h>

#include <cstddef>
#include <string_view>

namespace kelm::evaluation
{

// Where an argument begins, of a call whose function's name stands at a place.
std::size_t PlaceOfArgument(std::string_view text, std::size_t function, std::size_t index);

// Where an operand of an operator that holds no value comes from: of a path its last name or bracket, of a call the
// function's name. Of a conditional expression the branch that is such, or its question mark where both are. The
// operator's own place where the operand is something else.
std::size_t PlaceOfOperand(std::string_view text, std::size_t op, bool isRight);

// The same of a whole expression that begins at a place; that place where it is something else.
std::size_t PlaceOfValue(std::string_view text, std::size_t begin);

} // namespace kelm::evaluation
