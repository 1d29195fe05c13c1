#include <klObject/values/ReflectedVariable.h>

#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/private/ScalarTypes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/ToString.h>
#include <klUtils/Utf16FromUtf8.h>

#include <concepts>
#include <limits>
#include <utility>

// A variable is read as one of a few script-like values, and each target is a set of functions over those. Whether an
// explicit conversion is allowed is the targets' `m_allowExplicit`.

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/values/ReflectedCoerce";

template <class T>
concept Integer =
    std::same_as<T, int64> || std::same_as<T, uint64> || std::same_as<T, int128> || std::same_as<T, uint128>;

template <class T>
concept Character = std::same_as<T, Char8> || std::same_as<T, Char16>;

struct EnumValue
{
    const ReflectedEnum& m_enum;
    int32 m_value;
};

// Of an enumeration that is a foreign type; the name is empty where the value is no enumerator.
struct ForeignEnumValue
{
    SubString m_name;
    int64 m_value;
};

template <class T>
struct TextValue
{
    const T& m_text;
};

// A variable of a type that converts into nothing.
struct NoValue
{
};

// Narrow integers are read as int64, floats as float64: that loses nothing and keeps the targets few.
template <class T>
auto Widen(T value)
{
    if constexpr (std::is_same_v<T, bool> || Integer<T> || Character<T>)
        return value;
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<float64>(value);
    else
        return static_cast<int64>(value);
}

const ReflectedEnum& GetEnum(ReflectionByteCode rbc)
{
    const ReflectedEnum* r = rbc.GetReflectedEnum();
    KELM_ASSERT(r);
    return *r;
}

template <class Target>
bool CoerceTo(const Target& target, ReflectionByteCode rbc, const void* data);

// An optional and a variant as what they hold.
template <class Target>
bool CoerceForeign(const Target& target, const ForeignType& type, const void* data)
{
    if (type.m_form == FF_TEXT)
    {
        char buffer[ForeignTextFns::BufferSize];
        const SubString text = type.m_text->Get(data, buffer);
        if (type.m_text->m_isIdentifier)
            return target(ForeignEnumValue{text, type.m_text->GetNumber(data)});
        return target(TextValue<SubString>{text});
    }
    const int32 index = type.m_form == FF_CHOICE ? type.m_choice->GetIndex(data) : -1;
    return index >= 0 ? CoerceTo(target, type.GetPartType(index), type.m_choice->GetValue(data)) : target(NoValue());
}

// Returns target(the value of the variable).
template <class Target>
bool CoerceTo(const Target& target, ReflectionByteCode rbc, const void* data)
{
    if (rbc.m_bc == nullptr)
        return false;
    rbc.AdvanceToUnderlyingType2();
    const TypeCode& code = GetTypeCode(rbc);
    KELM_ASSERT(code.m_isKnown);
    switch (code.m_kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_SCALAR:
        return VisitScalarType(
            rbc.GetCode(), [&]<class T>(std::type_identity<T>) { return target(Widen(LoadScalar<T>(data))); },
            [] { return false; });
    case VK_ENUM: return target(EnumValue{GetEnum(rbc), LoadScalar<int32>(data)});
    case VK_STRING8: return target(TextValue<xstring>{*static_cast<const xstring*>(data)});
    case VK_STRING16: return target(TextValue<xstring16>{*static_cast<const xstring16*>(data)});
    case VK_FOREIGN: return CoerceForeign(target, rbc.GetForeignType(), data);
    case VK_NONE:
    case VK_VOID:
    case VK_CLASS:
    case VK_VARIANT:
    case VK_ARRAY:
    case VK_VECTOR:
    case VK_MAP:
    case VK_SET:
    case VK_HANDLE:
    case VK_PREF: return target(NoValue());
    }
    return false; // GCOVR_EXCL_LINE: every one has returned
}

// What every target refuses unless it says otherwise.
struct Target
{
    bool m_allowExplicit;

    bool operator()(NoValue) const { return false; }
    template <class T>
    bool operator()(TextValue<T>) const
    {
        return false;
    }
    template <Character C>
    bool operator()(C) const
    {
        return false;
    }
};

struct ToBool : Target
{
    bool& m_x;

    using Target::operator();
    bool operator()(bool value) const
    {
        m_x = value;
        return true;
    }
    template <class T>
    requires Integer<T> || std::same_as<T, float64>
    bool operator()(T value) const
    {
        if (m_allowExplicit)
            m_x = value != 0;
        return m_allowExplicit;
    }
    template <Character C>
    bool operator()(C) const // the base's is hidden by the template above, for clang
    {
        return false;
    }
    bool operator()(EnumValue value) const { return (*this)(int64(value.m_value)); }
    bool operator()(ForeignEnumValue value) const { return (*this)(value.m_value); }
};

struct ToInt64 : Target
{
    int64& m_x;

    using Target::operator();
    bool operator()(bool value) const
    {
        if (m_allowExplicit)
            m_x = value;
        return m_allowExplicit;
    }
    template <Integer T>
    bool operator()(T value) const
    {
        m_x = static_cast<int64>(value); // the low bits
        const bool fits = std::same_as<T, uint64> || std::same_as<T, uint128>
                              ? value <= static_cast<T>(std::numeric_limits<int64>::max())
                              : static_cast<T>(m_x) == value;
        return m_allowExplicit || fits;
    }
    bool operator()(float64 value) const
    {
        constexpr float64 limit = 9223372036854775808.0;
        const bool isInRange = -limit <= value && value < limit;
        m_x = isInRange ? static_cast<int64>(value) : std::numeric_limits<int64>::min();
        return m_allowExplicit || static_cast<float64>(m_x) == value;
    }
    bool operator()(EnumValue value) const { return (*this)(int64(value.m_value)); }
    bool operator()(ForeignEnumValue value) const { return (*this)(value.m_value); }
    template <Character C>
    bool operator()(C value) const
    {
        if (m_allowExplicit)
            m_x = value;
        return m_allowExplicit;
    }
};

struct ToFloat32 : Target
{
    float32& m_x;

    using Target::operator();
    bool operator()(bool value) const
    {
        if (m_allowExplicit)
            m_x = value ? 1.0f : 0.0f;
        return m_allowExplicit;
    }
    template <class T>
    requires Integer<T> || std::same_as<T, float64>
    bool operator()(T value) const
    {
        m_x = static_cast<float32>(value);
        return m_allowExplicit || static_cast<float64>(m_x) == static_cast<float64>(value);
    }
    template <Character C>
    bool operator()(C) const // the base's is hidden by the template above, for clang
    {
        return false;
    }
    bool operator()(EnumValue value) const { return (*this)(int64(value.m_value)); }
    bool operator()(ForeignEnumValue value) const { return (*this)(value.m_value); }
};

struct ToFloat64 : Target
{
    float64& m_x;

    using Target::operator();
    bool operator()(bool value) const
    {
        if (m_allowExplicit)
            m_x = value ? 1.0 : 0.0;
        return m_allowExplicit;
    }
    template <class T>
    requires Integer<T> || std::same_as<T, float64>
    bool operator()(T value) const
    {
        m_x = static_cast<float64>(value);
        return true;
    }
    template <Character C>
    bool operator()(C) const // the base's is hidden by the template above, for clang
    {
        return false;
    }
    bool operator()(EnumValue value) const { return (*this)(int64(value.m_value)); }
    bool operator()(ForeignEnumValue value) const { return (*this)(value.m_value); }
};

// The decimal digits of an integer that ToString does not take.
xstring DecimalText(uint128 magnitude, bool isNegative)
{
    char digits[40]; // 2^128 has 39 of them
    char* const end = digits + sizeof digits;
    char* begin = end;
    do
    {
        *--begin = static_cast<char>('0' + static_cast<int>(magnitude % 10));
        magnitude /= 10;
    } while (magnitude != 0);
    if (isNegative)
        *--begin = '-';
    return xstring(begin, end - begin);
}

struct ToText : Target
{
    xstring& m_x;

    using Target::operator();
    bool operator()(bool value) const { return SetExplicitly(value ? "true" : "false"); }
    bool operator()(int64 value) const { return m_allowExplicit && SetExplicitly(ToString(value)); }
    template <Integer T>
    bool operator()(T value) const
    {
        const bool isNegative = std::same_as<T, int128> && static_cast<int128>(value) < 0;
        const auto magnitude = static_cast<uint128>(value);
        return m_allowExplicit && SetExplicitly(DecimalText(isNegative ? -magnitude : magnitude, isNegative));
    }
    bool operator()(float64 value) const { return m_allowExplicit && SetExplicitly(ToString(value)); }
    bool operator()(EnumValue value) const
    {
        const ReflectedEnum& r = value.m_enum;
        for (int32 i = 0; i < r.m_count; ++i)
            if (r.GetValue(i) == value.m_value)
                return SetExplicitly(r.m_strings[i]);
        return (*this)(int64(value.m_value));
    }
    bool operator()(ForeignEnumValue value) const
    {
        return value.m_name.empty() ? (*this)(value.m_value) : SetExplicitly(xstring(value.m_name));
    }
    bool operator()(Char8 value) const
    {
        const char c = static_cast<char>(value);
        return m_allowExplicit && SetExplicitly(xstring(&c, 1));
    }
    bool operator()(Char16 value) const
    {
        const uint16 unit = value;
        return m_allowExplicit && Utf8FromUtf16(m_x, &unit, 1);
    }
    bool operator()(TextValue<xstring> value) const
    {
        m_x = value.m_text;
        return true;
    }
    bool operator()(TextValue<SubString> value) const
    {
        m_x = xstring(value.m_text);
        return true;
    }
    bool operator()(TextValue<xstring16> value) const
    {
        return Utf8FromUtf16(m_x, value.m_text.data(), value.m_text.size());
    }

private:
    bool SetExplicitly(xstring text) const
    {
        if (m_allowExplicit)
            m_x = std::move(text);
        return m_allowExplicit;
    }
};

} // namespace

bool Coerce(bool& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions)
{
    return CoerceTo(ToBool{{allowExplicitConversions}, x}, rbc, data);
}

bool Coerce(int64& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions)
{
    return CoerceTo(ToInt64{{allowExplicitConversions}, x}, rbc, data);
}

bool Coerce(float32& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions)
{
    return CoerceTo(ToFloat32{{allowExplicitConversions}, x}, rbc, data);
}

bool Coerce(float64& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions)
{
    return CoerceTo(ToFloat64{{allowExplicitConversions}, x}, rbc, data);
}

bool Coerce(xstring& x, ReflectionByteCode rbc, const void* data, bool allowExplicitConversions)
{
    return CoerceTo(ToText{{allowExplicitConversions}, x}, rbc, data);
}

} // namespace kelm
