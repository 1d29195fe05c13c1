#pragma once

// From the code of a scalar to its C++ type.

#include <klObject/types/ETypeByteCode.h>
#include <klObject/values/private/WideInteger.h>
#include <klUtils/types.h>

#include <cstring>
#include <type_traits>

namespace kelm
{

// The characters, told apart from the numbers of the same size.
enum Char8 : int8
{
};
enum Char16 : uint16
{
};

// A scalar at any address, whatever its alignment.
template <class T>
T LoadScalar(const void* p)
{
    if constexpr (std::is_same_v<T, bool>)
    {
        return *static_cast<const uint8*>(p) != 0;
    }
    else
    {
        T value;
        std::memcpy(&value, p, sizeof value);
        return value;
    }
}

// Returns visitor(std::type_identity<T>()) with the type T that the code stands for, and otherwise() for a code that is
// no scalar.
template <class Visitor, class Otherwise>
auto VisitScalarType(ETypeByteCode code, Visitor&& visitor, Otherwise&& otherwise)
{
    switch (code)
    {
    case FT_BOOL: return visitor(std::type_identity<bool>());
    case FT_INT8: return visitor(std::type_identity<int8>());
    case FT_INT16: return visitor(std::type_identity<int16>());
    case FT_INT32: return visitor(std::type_identity<int32>());
    case FT_INT64: return visitor(std::type_identity<int64>());
    case FT_INT128: return visitor(std::type_identity<int128>());
    case FT_UINT8: return visitor(std::type_identity<uint8>());
    case FT_UINT16: return visitor(std::type_identity<uint16>());
    case FT_UINT32: return visitor(std::type_identity<uint32>());
    case FT_UINT64: return visitor(std::type_identity<uint64>());
    case FT_UINT128: return visitor(std::type_identity<uint128>());
    case FT_FLOAT32: return visitor(std::type_identity<float32>());
    case FT_FLOAT64: return visitor(std::type_identity<float64>());
    case FT_CHAR8: return visitor(std::type_identity<Char8>());
    case FT_CHAR16: return visitor(std::type_identity<Char16>());
    default: return otherwise(); // the byte code's other codes are no scalars
    }
}

} // namespace kelm
