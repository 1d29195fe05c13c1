#pragma once

// Scalar: a number, a bool or a text on its way between a program, its objects and expressions; and the one table of
// what becomes what, by which results, arguments, fields and assignments go:
//
//     an integer          takes integers in its range, and floats with an integral value in it
//     a float             takes numbers; a double beyond its range is refused by a 32-bit one
//     a bool              takes bools
//     a text              takes texts; so do characters (texts of one), enumerations (the names of their enumerators),
//                         durations and paths
//     an optional         takes what the type that it holds takes
//
// An object takes objects of its own type. A number that does not fit is an error of kind Range, an enumerator that
// does not exist one of kind Name, everything else one of kind Type.

#include <kelm/api.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/types.h>

#include <cmath>
#include <concepts>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kelm
{

template <class T>
inline constexpr bool IsCharacter =
    std::is_same_v<T, char> || std::is_same_v<T, char8_t> || std::is_same_v<T, char16_t> ||
    std::is_same_v<T, char32_t> || std::is_same_v<T, wchar_t>;

// Numbers, and no characters.
template <class T>
concept Number = std::is_arithmetic_v<T> && !std::is_same_v<T, bool> && !IsCharacter<T>;

struct Scalar
{
    enum class Kind : uint8
    {
        None, // of something that is no scalar
        Bool,
        Int64,
        UInt64, // beyond the range of int64
        Float64,
        Text,
    };

    Scalar() = default;
    explicit Scalar(bool value) : m_kind(Kind::Bool), m_bool(value) {}
    template <std::integral T>
    requires Number<T>
    explicit Scalar(T value) : m_kind(Kind::Int64), m_int64(static_cast<int64>(value))
    {
        if (std::is_unsigned_v<T> && m_int64 < 0)
            m_kind = Kind::UInt64;
    }
    template <std::floating_point T>
    explicit Scalar(T value) : m_kind(Kind::Float64), m_float64(static_cast<float64>(value))
    {
    }
    explicit Scalar(std::string_view text) : m_kind(Kind::Text), m_text(text) {}

    Kind m_kind = Kind::None;
    union
    {
        bool m_bool;
        int64 m_int64 = 0;
        uint64 m_uint64;
        float64 m_float64;
    };
    std::string_view m_text;
};

// Whether a value becomes one of another type.
enum class Fit : uint8
{
    Fits,
    OtherType,
    OutOfRange,
    UnknownName, // of an enumerator
};

template <std::integral T>
Fit ConvertInteger(bool fits, T value, T& out)
{
    if (!fits)
        return Fit::OutOfRange;
    out = value;
    return Fit::Fits;
}

// `out` keeps its value where the scalar does not fit.
template <Number T>
Fit Convert(const Scalar& scalar, T& out)
{
    constexpr bool isInteger = std::is_integral_v<T>;
    switch (scalar.m_kind)
    {
    case Scalar::Kind::Int64:
        if constexpr (isInteger)
            return ConvertInteger(std::in_range<T>(scalar.m_int64), static_cast<T>(scalar.m_int64), out);
        out = static_cast<T>(scalar.m_int64);
        return Fit::Fits;
    case Scalar::Kind::UInt64:
        if constexpr (isInteger)
            return ConvertInteger(std::in_range<T>(scalar.m_uint64), static_cast<T>(scalar.m_uint64), out);
        out = static_cast<T>(scalar.m_uint64);
        return Fit::Fits;
    case Scalar::Kind::Float64:
    {
        const float64 value = scalar.m_float64;
        if constexpr (isInteger)
        {
            if (std::isinf(value))
                return Fit::OutOfRange;
            if (std::trunc(value) != value) // nor is a NaN the same as anything
                return Fit::OtherType;
            constexpr T half = std::numeric_limits<T>::max() / 2 + 1;
            constexpr float64 end = 2 * static_cast<float64>(half);
            constexpr float64 begin = std::is_signed_v<T> ? -end : 0;
            if (value < begin || value >= end)
                return Fit::OutOfRange;
            out = static_cast<T>(value);
        }
        else
        {
            const T converted = static_cast<T>(value);
            if (std::isinf(converted) && !std::isinf(value))
                return Fit::OutOfRange;
            out = converted;
        }
        return Fit::Fits;
    }
    default: return Fit::OtherType;
    }
}

inline Fit Convert(const Scalar& scalar, bool& out)
{
    if (scalar.m_kind != Scalar::Kind::Bool)
        return Fit::OtherType;
    out = scalar.m_bool;
    return Fit::Fits;
}

// The scalar that a variable holds; none where it is no scalar. A text lies in the variable, in constant data or in
// `room`.
KELM_API Scalar LoadScalar(ReflectionByteCode type, const void* data, std::string& room);

// Stores a scalar in a variable, which is unchanged where it does not fit.
KELM_API Fit StoreScalar(ReflectionByteCode type, void* data, const Scalar& scalar);

} // namespace kelm
