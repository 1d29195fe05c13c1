#pragma once

#include <klUtils/types.h>

namespace kelm
{

// The codes of type byte code. A type is described by a sequence of bytes: one of these codes, then what the code
// takes. Numbers are little-endian; a name is a 16-bit index into the string table that goes with the byte code.
// ReflectionByteCode is the one place that decodes them.
enum ETypeByteCode : uint8
{
    // Scalars and strings: nothing follows.
    FT_VOID = 0,
    FT_BOOL = 1,
    FT_INT8 = 2,
    FT_INT16 = 3,
    FT_INT32 = 4,
    FT_INT64 = 5,
    FT_INT128 = 6,
    FT_UINT8 = 7,
    FT_UINT16 = 8,
    FT_UINT32 = 9,
    FT_UINT64 = 10,
    FT_UINT128 = 11,
    FT_FLOAT32 = 12,
    FT_FLOAT64 = 13,
    FT_CHAR8 = 14,
    FT_CHAR16 = 15,
    FT_STRING8 = 16,
    FT_STRING16 = 17,

    // Named types. A name follows FT_CLASS, FT_INTERFACE, FT_TYPEDEF, FT_ENUM and FT_VARIANT; nothing the others.
    FT_CLASS = 32,
    FT_INTERFACE = 33,
    FT_TYPEDEF = 34,
    FT_ENUM = 35,
    FT_FUNCTOR = 36,
    FT_VARIANT = 37,
    FT_FUNCTION_PTR = 38,
    FT_NOT_REFLECTED = 39,

    // Qualifiers and indirections: the qualified type follows.
    FT_VOLATILE = 48,
    FT_CONST = 49,
    FT_ASSIGNABLE = 50,
    FT_MOVABLE = 51,
    FT_OFFSETTABLE = 52,
    FT_POINTER = 53,
    FT_REFERENCE = 54,

    // Handles and containers of one type, which follows; nothing follows FT_OPEN_VARIANT.
    FT_INTERFACE_POINTER = 64,
    FT_OPEN_VARIANT = 65,
    FT_PREF = 66,
    FT_CREF = 67,
    FT_VECTOR = 68,
    FT_DEQUE = 69,
    FT_LIST = 70,
    FT_SET = 71,
    FT_BAG = 72,
    FT_DYNARRAY = 73,

    FT_ARRAY = 80, // a signed 32-bit element count, then the element type
    FT_MAP = 81,   // the key type, then the payload type

    FT_FOREIGN = 82, // a type whose operations the compiler makes: an index as of a name, to a ForeignType

    // Parameters of a template: nothing follows.
    FT_PARAM_0 = 96,
    FT_PARAM_1,
    FT_PARAM_2,
    FT_PARAM_3,
    FT_PARAM_4,
    FT_PARAM_5,

    // Metadata items, any number of which may stand before a type.
    MDT_FLAGS = 160,         // 32 bits
    MDT_BOOL = 161,          // one byte, 0 or 1
    MDT_INT32 = 162,         // a signed 32-bit number
    MDT_FLOAT64 = 163,       // an IEEE double
    MDT_STRING = 164,        // a name
    MDT_BEGIN_FUNCTOR = 165, // a name, then items up to MDT_END_FUNCTOR
    MDT_END_FUNCTOR = 166,
    MDT_BEGIN_LIST = 167, // items up to MDT_END_LIST
    MDT_END_LIST = 168,
    MDT_FUNCTOR_0 = 192, // a name, then as many items as the code says
    MDT_FUNCTOR_1,
    MDT_FUNCTOR_2,
    MDT_FUNCTOR_3,
    MDT_FUNCTOR_4,
    MDT_FUNCTOR_5,
    MDT_LIST_0 = 224, // as many items as the code says
    MDT_LIST_1,
    MDT_LIST_2,
    MDT_LIST_3,
    MDT_LIST_4,
    MDT_LIST_5,
};

static_assert(FT_PARAM_5 == 101 && MDT_FUNCTOR_5 == 197 && MDT_LIST_5 == 229);

} // namespace kelm
