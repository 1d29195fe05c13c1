#pragma once

// Typed reads of single values from a cursor: the one place that says what a value of each type looks like. Each reads
// the value that begins at the current token and leaves the cursor on the first token behind it.

#include <klUtils/api.h>
#include <klUtils/text/private/Cursor.h>
#include <klUtils/types.h>

#include <limits>
#include <type_traits>

namespace kelm::text
{

// "Value -300 is out of range of int8", at the current token.
[[noreturn]] KLUTILS_API void ThrowOutOfRange(const Cursor& cursor, bool isNegative, ConstStringZ typeName);

// What a type is called in messages.
template <class T>
constexpr ConstStringZ s_typeName = nullptr;
template <>
inline constexpr ConstStringZ s_typeName<int8> = "int8";
template <>
inline constexpr ConstStringZ s_typeName<int16> = "int16";
template <>
inline constexpr ConstStringZ s_typeName<int32> = "int32";
template <>
inline constexpr ConstStringZ s_typeName<int64> = "int64";
template <>
inline constexpr ConstStringZ s_typeName<uint8> = "uint8";
template <>
inline constexpr ConstStringZ s_typeName<uint16> = "uint16";
template <>
inline constexpr ConstStringZ s_typeName<uint32> = "uint32";
template <>
inline constexpr ConstStringZ s_typeName<uint64> = "uint64";
template <>
inline constexpr ConstStringZ s_typeName<float32> = "float32";
template <>
inline constexpr ConstStringZ s_typeName<float64> = "float64";

// Consumes a sign; true for a minus.
[[gnu::always_inline]] inline bool PassSign(Cursor& cursor)
{
    const EToken kind = cursor.GetKind();
    if (kind == TOKEN_MINUS || kind == TOKEN_PLUS)
        cursor.Next();
    return kind == TOKEN_MINUS;
}

// The integer of a magnitude and a sign; false where the type does not hold it.
template <class Int>
[[gnu::always_inline]] inline bool ToInteger(uint64 magnitude, bool isNegative, Int& value)
{
    constexpr uint64 max = static_cast<uint64>(std::numeric_limits<Int>::max());
    value = static_cast<Int>(isNegative ? 0 - magnitude : magnitude);
    return magnitude <= max + isNegative;
}

// A decimal or hexadecimal literal, behind a minus where the value is negative.
template <class Int>
[[gnu::always_inline]] inline Int ReadInteger(Cursor& cursor, bool isNegative)
{
    if (!cursor.Is(TOKEN_INTEGER) && !cursor.Is(TOKEN_HEX_INTEGER)) [[unlikely]]
        cursor.ThrowExpected(s_typeName<Int>);
    uint64 magnitude = 0;
    Int value = 0;
    if (!cursor.GetUnsigned(magnitude) || !ToInteger(magnitude, isNegative, value)) [[unlikely]]
        ThrowOutOfRange(cursor, isNegative, s_typeName<Int>);
    cursor.NextHere();
    return value;
}

// A hexadecimal literal, inf or nan; not consumed. False where it is out of range.
template <class Float>
bool GetUnusualFloat(const Cursor& cursor, Float& value)
{
    if (cursor.Is(TOKEN_HEX_INTEGER))
    {
        uint64 magnitude = 0;
        const bool isInRange = cursor.GetUnsigned(magnitude);
        value = static_cast<Float>(magnitude);
        return isInRange;
    }
    if (cursor.IsText("inf"))
        value = std::numeric_limits<Float>::infinity();
    else if (cursor.IsText("nan"))
        value = std::numeric_limits<Float>::quiet_NaN();
    else
        cursor.ThrowExpected(s_typeName<Float>);
    return true;
}

// A float or integer literal, inf or nan, behind a minus where the value is negative.
template <class Float>
[[gnu::always_inline]] inline Float ReadFloat(Cursor& cursor, bool isNegative)
{
    Float value = 0;
    const bool isUsual = cursor.Is(TOKEN_FLOAT) || cursor.Is(TOKEN_INTEGER);
    if (!(isUsual ? cursor.GetFloat(value) : GetUnusualFloat(cursor, value))) [[unlikely]]
        ThrowOutOfRange(cursor, isNegative, s_typeName<Float>);
    cursor.NextHere();
    return isNegative ? -value : value;
}

// The value of a number of the type's commonest forms; false for every other, and where it is out of range.
template <class T>
[[gnu::always_inline]] inline bool TryConvert(EToken kind, Number number, SubString literal, bool isNegative, T& value)
{
    if constexpr (std::is_integral_v<T>)
    {
        uint64 magnitude = 0;
        return kind == TOKEN_INTEGER && ToUnsigned(number, literal, magnitude) &&
               ToInteger(magnitude, isNegative, value);
    }
    else
    {
        T magnitude = 0;
        if ((kind != TOKEN_FLOAT && kind != TOKEN_INTEGER) || !ToFloating(number, literal, magnitude))
            return false;
        value = isNegative ? -magnitude : magnitude;
        return true;
    }
}

// A number of any type, with an optional sign where the type has one.
template <class T>
constexpr bool s_hasSign = !std::is_unsigned_v<T>;

template <class T>
[[gnu::always_inline]] inline T ReadNumber(Cursor& cursor, bool isNegative)
{
    if constexpr (std::is_integral_v<T>)
        return ReadInteger<T>(cursor, isNegative);
    else
        return ReadFloat<T>(cursor, isNegative);
}
template <class T>
inline T ReadNumber(Cursor& cursor)
{
    return ReadNumber<T>(cursor, s_hasSign<T> && PassSign(cursor));
}

// true or false.
inline bool ReadBool(Cursor& cursor)
{
    const bool isTrue = cursor.IsText("true");
    if (!isTrue && !cursor.IsText("false")) [[unlikely]]
        cursor.ThrowExpected("bool");
    cursor.Next();
    return isTrue;
}

// A quoted literal of either kind that holds one byte.
KLUTILS_API xchar ReadChar(Cursor& cursor);

// A quoted literal of either kind, in place of `out`, which is as it was where this throws.
KLUTILS_API void ReadString(Cursor& cursor, xstring& out);

// An identifier's text.
inline SubString ReadIdentifier(Cursor& cursor)
{
    if (!cursor.Is(TOKEN_IDENTIFIER)) [[unlikely]]
        cursor.ThrowExpected("identifier");
    const SubString text = cursor.GetText();
    cursor.Next();
    return text;
}

// A qualified name: identifiers with "." or "::" between them, returned with "::".
KLUTILS_API xstring ReadPath(Cursor& cursor);

} // namespace kelm::text
