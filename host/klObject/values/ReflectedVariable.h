#pragma once

// Operations on a variable of any reflected type, given by the byte code of the type and the variable's address.
//
// Types that cannot be a variable (void excepted: it has no bytes), and codes that nothing here supports, fail an
// assertion; so do maps and sets whose byte code has no function table.

#include <klObject/api.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/Compare.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

namespace kelm
{

class VectorOfByte;

// Default-constructs a variable: scalars are zero, strings and containers empty, handles null, a variant holds its
// first alternative. Whatever the storage held is not destroyed. With a null byte code it does nothing. When it throws,
// nothing is left constructed.
KLOBJECT_API void ConstructReflectedVariable(ReflectionByteCode rbc, void* p);

// Makes alternative `index` the current one of a variant variable, with a new value, and returns where that is. The
// value held before is not destroyed: it is built over. When it throws, the variant is as it was.
KLOBJECT_API void* SwitchAlternative(const ReflectedVariant& rv, int32 index, void* variant);

// Destroys a variable. With a null byte code it does nothing.
KLOBJECT_API void DestructReflectedVariable(ReflectionByteCode rbc, void* p);

// Equality and strict order of two variables. Two null byte codes are equal and neither is less; a null one is less
// than any other. Variables of different underlying types are never equal and are ordered by the types: by their codes,
// then by names, counts and element types. Otherwise by value: classes and variants by their type operations where they
// have the one that is needed, or else classes field by field (dropped fields excepted) and variants by alternative,
// then value; containers element by element; handles by the object that they designate, persistent references by its
// identity, without loading it. A class of neither fields nor operations cannot be compared. The keys of maps and the
// elements of sets have a total order (Compare.h); other floats compare as C++ compares them.
KLOBJECT_API bool CompareEqReflectedVariable(ReflectionByteCode rbc1, const void* p1, ReflectionByteCode rbc2,
                                             const void* p2);
KLOBJECT_API bool CompareLtReflectedVariable(ReflectionByteCode rbc1, const void* p1, ReflectionByteCode rbc2,
                                             const void* p2);

// The same, for any question that Compare.h knows.
KLOBJECT_API int CompareReflectedVariables(EComparison question, ReflectionByteCode rbc1, const void* p1,
                                           ReflectionByteCode rbc2, const void* p2);

// Appends one default-constructed element to the vector or dynamic array at `vector` (three words) and returns its
// address, which is valid until the next insertion.
KLOBJECT_API void* PushBackDefaultConstructedElementOntoReflectedVector(ReflectionByteCode rbcOfElement, void* vector);

// The same for elements of a class, whose size must be greater than zero. A vector that has no room yet gets some for
// four, where one takes 33 to 256 bytes.
KLOBJECT_API void* PushBackDefaultConstructedInstance(const ReflectedClass& rc, VectorOfByte& vector);

// Convert a variable, seen through typedefs and qualifiers, and say whether they could. Without explicit conversions
// they follow the rules by which a script value is assigned to such a target, with them those by which it is coerced: a
// reflected integer or enumeration converts as a script integer, a float as a script float, a string as a string.
//
//   target  | without                              | with allowExplicitConversions also
//   --------+--------------------------------------+---------------------------------------------------------------
//   bool    | bool                                 | integers, enumerations and floats: not zero (NaN is not)
//   int64   | integers and enumerations that fit,  | bool, 8- and 16-bit characters (their codes), every integer (its
//           | floats with an integral value in     | low 64 bits), every float (truncated; -9223372036854775808 for
//           | range                                | NaN and what is out of range)
//   float32 | integers, enumerations and floats    | bool, every integer, enumeration and float (rounded)
//           | that are the same as a float64       |
//   float64 | integers, enumerations (rounded),    | bool
//           | floats                               |
//   xstring | 8-bit strings, 16-bit strings that   | bool as "true" or "false", integers and floats as ToString writes
//           | are UTF-16 (as UTF-8)                | them, an enumeration as its first enumerator of that value or else
//           |                                      | as its number, a character as a text of one (a 16-bit one as
//           |                                      | UTF-8, unless it is a surrogate)
//
// Everything else is refused, void, classes, containers, handles and a null byte code among it. A refusal leaves `x`
// as it is, except that an integer or float which does not fit into a number target has been stored there as the
// conversion with explicit conversions would.
KLOBJECT_API bool Coerce(bool& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions);
KLOBJECT_API bool Coerce(int64& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions);
KLOBJECT_API bool Coerce(float32& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions);
KLOBJECT_API bool Coerce(float64& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions);
KLOBJECT_API bool Coerce(xstring& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions);

} // namespace kelm
