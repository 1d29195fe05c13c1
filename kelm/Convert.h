#pragma once

// What a value becomes in C++: the one table of conversions, which results, arguments, fields and assignments share.
//
//     to               from
//     integers         integers and whole-numbered floats; what does not fit is Range, a fraction Type
//     floating point   integers and floats; a float64 beyond float32 is Range
//     bool             bool
//     texts            texts
//     a described type a variable of that type
//
// Everything else is Type: a text becomes no number, nor a bool one, nor a number a bool.

#include <kelm/Slot.h>
#include <klObject/describe/TypeOf.h>

#include <concepts>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

namespace kelm
{

class Value;

namespace evaluation
{

template <class T>
inline constexpr bool s_never = false;

template <class T>
concept Integer = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, wchar_t> && sizeof(T) <= sizeof(int64);
template <class T>
concept Floating = std::same_as<T, float> || std::same_as<T, double>;
template <class T>
concept Scalar = Integer<T> || Floating<T> || std::same_as<T, bool>;
template <class T>
concept Text = std::same_as<T, std::string> || std::same_as<T, std::string_view>;
template <class T>
concept Object = !Scalar<T> && !Text<T> && !std::is_pointer_v<T> && !std::is_array_v<T> && !std::is_void_v<T> &&
                 !std::same_as<T, Value> && !std::same_as<T, long double> && !std::same_as<T, wchar_t>;

template <Integer T>
constexpr ConstStringZ NameOfInteger()
{
    constexpr ConstStringZ names[2][4] = {{"uint8", "uint16", "uint32", "uint64"}, {"int8", "int16", "int32", "int64"}};
    return names[std::is_signed_v<T>][sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3];
}

// False, and why, where the value is of another kind or does not fit. The first for all types of at most 64 bits that
// have a sign; the second for the others.
KELM_API bool ToInteger(const Slot& slot, int64 min, int64 max, ConstStringZ name, int64& x, Failure& failure);
KELM_API bool ToUnsigned(const Slot& slot, uint64 max, ConstStringZ name, uint64& x, Failure& failure);
KELM_API bool ToFloat64(const Slot& slot, float64& x, Failure& failure);
KELM_API bool ToFloat32(const Slot& slot, float32& x, Failure& failure);
KELM_API bool ToBool(const Slot& slot, bool& x, Failure& failure);
// The text is the value's, or in `room` where the value has none of its own.
KELM_API bool ToText(const Slot& slot, std::string_view& text, std::string& room, Failure& failure);
KELM_API bool ToObject(const Slot& slot, const ReflectionByteCode& type, bool isWritten, void*& object,
                       Failure& failure);

template <Scalar T>
bool Convert(const Slot& slot, T& x, Failure& failure)
{
    if constexpr (std::same_as<T, bool>)
        return ToBool(slot, x, failure);
    else if constexpr (std::same_as<T, float>)
        return ToFloat32(slot, x, failure);
    else if constexpr (std::same_as<T, double>)
    {
        if (slot.m_kind != Kind::Float) [[unlikely]]
            return ToFloat64(slot, x, failure);
        x = slot.m_float;
        return true;
    }
    else if constexpr (std::is_signed_v<T>)
    {
        using Limits = std::numeric_limits<T>;
        int64 wide = slot.m_integer;
        if (slot.m_kind != Kind::Integer || wide < Limits::min() || wide > Limits::max()) [[unlikely]]
            if (!ToInteger(slot, Limits::min(), Limits::max(), NameOfInteger<T>(), wide, failure))
                return false;
        x = static_cast<T>(wide);
        return true;
    }
    else
    {
        uint64 wide = 0;
        if (!ToUnsigned(slot, std::numeric_limits<T>::max(), NameOfInteger<T>(), wide, failure))
            return false;
        x = static_cast<T>(wide);
        return true;
    }
}

// A text is copied into a std::string; a std::string_view is valid as long as what the slot holds.
inline bool Convert(const Slot& slot, std::string& x, Failure& failure)
{
    std::string_view text;
    std::string room;
    if (!ToText(slot, text, room, failure))
        return false;
    x = text;
    return true;
}

template <Object T>
bool Convert(const Slot& slot, T& x, Failure& failure)
{
    void* object = nullptr;
    if (!ToObject(slot, TypeOf<T>(), false, object, failure))
        return false;
    x = *static_cast<const T*>(object);
    return true;
}

} // namespace evaluation
} // namespace kelm
