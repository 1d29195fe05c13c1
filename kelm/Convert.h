#pragma once

// What a value becomes in C++, by the table of Scalar.h; what the templates of results and arguments share.

#include <kelm/Scalar.h>
#include <kelm/Slot.h>
#include <klObject/describe/FieldType.h>
#include <klObject/describe/TypeOf.h>
#include <klObject/describe/TypeParts.h>

#include <concepts>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

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
concept NumberOrBool = Integer<T> || Floating<T> || std::same_as<T, bool>;
template <class T>
concept Text = std::same_as<T, std::string> || std::same_as<T, std::string_view>;
template <class T>
concept Object = !NumberOrBool<T> && !Text<T> && !std::is_pointer_v<T> && !std::is_array_v<T> && !std::is_void_v<T> &&
                 !std::same_as<T, Value> && !std::same_as<T, long double> && !std::same_as<T, wchar_t>;

// Each is false, with why, where the value does not become one of the type. Into a variable, which is unchanged then:
KELM_API bool ToVariable(const Slot& slot, const ReflectionByteCode& type, void* variable, Failure& failure);
// The same with what copies a value of the very type; and of an optional, what it holds.
struct Copying
{
    void (*m_whole)(void* to, const void* from);
    void (*m_held)(void* to, const void* from) = nullptr;
};
KELM_API bool ToVariable(const Slot& slot, const ReflectionByteCode& type, void* variable, const Copying& copying,
                         Failure& failure);
KELM_API bool ToBool(const Slot& slot, bool& x, Failure& failure);
// Whether it is nothing: of no kind, an empty optional, a null handle.
KELM_API bool IsNull(const Slot& slot);
// The text is the value's, or in `room` where the value has none of its own.
KELM_API bool ToText(const Slot& slot, std::string_view& text, std::string& room, Failure& failure);
// The object itself.
KELM_API bool ToObject(const Slot& slot, const ReflectionByteCode& type, bool isWritten, void*& object,
                       Failure& failure);

// False where it is beyond the integers of expressions.
KELM_API bool FromUnsigned(uint64 x, Slot& slot, Failure& failure);

template <NumberOrBool T>
inline constexpr uint8 s_codeOf = s_scalarCode<T>;

template <NumberOrBool T>
bool Convert(const Slot& slot, T& x, Failure& failure)
{
    if constexpr (std::same_as<T, bool>)
        return ToBool(slot, x, failure);
    else
    {
        if constexpr (std::same_as<T, double>)
        {
            if (slot.m_kind == Kind::Float) [[likely]]
            {
                x = slot.m_float;
                return true;
            }
        }
        else if constexpr (Number<T> && Integer<T>)
            if (slot.m_kind == Kind::Integer && std::in_range<T>(slot.m_integer)) [[likely]]
            {
                x = static_cast<T>(slot.m_integer);
                return true;
            }
        return ToVariable(slot, {&s_codeOf<T>, nullptr}, &x, failure);
    }
}

// A text is copied into a std::string; a std::string_view is valid as long as what the slot holds.
inline bool Convert(const Slot& slot, std::string& x, Failure& failure)
{
    if (slot.m_kind == Kind::Text) [[likely]]
    {
        x = slot.GetText();
        return true;
    }
    std::string_view text;
    std::string room;
    if (!ToText(slot, text, room, failure))
        return false;
    x = text;
    return true;
}

template <class T, class From = T>
void CopyInto(void* to, const void* from)
{
    *static_cast<T*>(to) = *static_cast<const From*>(from);
}

// Of an optional of the standard library's.
template <class T>
inline constexpr Copying s_copying = {CopyInto<T>};
template <class T>
inline constexpr Copying s_copying<std::optional<T>> = {CopyInto<std::optional<T>>, CopyInto<std::optional<T>, T>};

template <Object T>
bool Convert(const Slot& slot, T& x, Failure& failure)
{
    if constexpr (CheckDescribable<T>())
    {
        constexpr bool isCopied = !HasPart<T, CannotBeAssigned>;
        static_assert(isCopied, "the type cannot be copied: a Value's As<const T&>() gives the object itself");
        if constexpr (isCopied)
            return ToVariable(slot, TypeOf<T>(), &x, s_copying<T>, failure);
    }
    return false;
}

} // namespace evaluation
} // namespace kelm
