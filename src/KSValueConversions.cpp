// Conversions of script values to native types: the Assign and Coerce families.

#include <klKelmScript/KSValue.h>
#include <klKelmScript/private/KSValueOperations.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/ToString.h>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/KSValue";

template <class T>
T Get(const KSValue& v)
{
    return KSValueAccess::Get<T>(v);
}

// Hands a reflected value to the reflection layer.
template <class T>
bool CoerceReflected(T& x, const KSValue& v, bool allowExplicitConversions)
{
    const ReflectedValue& value = v.as<ReflectedValue>();
    return Coerce(x, value.m_rbc, value.m_data.data(), allowExplicitConversions);
}

// What every Coerce member but that to bool does with a reflected value, once it may convert it.
bool RefuseReflected(int line)
{
    ThrowKelmAssertionError("0", s_sourceFile, line);
    return false; // GCOVR_EXCL_LINE: the assertion has thrown
}

bool IsStringOrVoid(const KSValue& v)
{
    return v.is<string8>() || v.is<void>();
}

// Stores the low bits and says whether they are the whole.
template <class Narrow>
bool StoreLowBits(Narrow& x, int64 wide)
{
    x = static_cast<Narrow>(wide);
    return static_cast<int64>(x) == wide;
}

template <class Narrow>
bool AssignNarrow(Narrow& x, const KSValue& v)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): a reflected value arrives as a new default variable
    const KSValue copy(v);
    int64 wide = 0;
    return Assign(wide, copy) && StoreLowBits(x, wide);
}

template <class Narrow>
bool CoerceNarrow(Narrow& x, const KSValue& v, bool allowExplicitConversions)
{
    const KSValue copy(v); // NOLINT(performance-unnecessary-copy-initialization): as above
    int64 wide = 0;
    if (!Coerce(wide, copy, allowExplicitConversions))
        return false;
    return StoreLowBits(x, wide) || allowExplicitConversions;
}

} // namespace

// --- Assign ----------------------------------------------------------------------------------------------------------

bool Assign(bool& x, const KSValue& v)
{
    if (v.is<bool>())
    {
        x = Get<bool>(v);
        return true;
    }
    return v.is<ReflectedValue>() && CoerceReflected(x, v, false);
}

bool Assign(int64& x, const KSValue& v)
{
    if (v.is<int64>())
    {
        x = Get<int64>(v);
        return true;
    }
    if (v.is<float64>())
    {
        x = TruncateToInt64(Get<float64>(v));
        return static_cast<float64>(x) == Get<float64>(v);
    }
    return v.is<ReflectedValue>() && CoerceReflected(x, v, false);
}

bool Assign(int8& x, const KSValue& v)
{
    return AssignNarrow(x, v);
}

bool Assign(int16& x, const KSValue& v)
{
    return AssignNarrow(x, v);
}

bool Assign(int32& x, const KSValue& v)
{
    return AssignNarrow(x, v);
}

bool Assign(uint8& x, const KSValue& v)
{
    return AssignNarrow(x, v);
}

bool Assign(uint16& x, const KSValue& v)
{
    return AssignNarrow(x, v);
}

bool Assign(uint32& x, const KSValue& v)
{
    return AssignNarrow(x, v);
}

bool Assign(uint64& x, const KSValue& v)
{
    return Assign(reinterpret_cast<int64&>(x), v); // the same bits, whatever their sign
}

bool Assign(float32& x, const KSValue& v)
{
    if (v.is<int64>())
    {
        x = static_cast<float32>(Get<int64>(v));
        return static_cast<float64>(x) == static_cast<float64>(Get<int64>(v));
    }
    if (v.is<float64>())
    {
        x = static_cast<float32>(Get<float64>(v));
        return static_cast<float64>(x) == Get<float64>(v);
    }
    return v.is<ReflectedValue>() && CoerceReflected(x, v, false);
}

bool Assign(float64& x, const KSValue& v)
{
    if (v.is<int64>())
    {
        x = static_cast<float64>(Get<int64>(v));
        return true;
    }
    if (v.is<float64>())
    {
        x = Get<float64>(v);
        return true;
    }
    return v.is<ReflectedValue>() && CoerceReflected(x, v, false);
}

bool Assign(xstring& x, const KSValue& v)
{
    if (v.is<string8>())
    {
        x = v.as<string8>();
        return true;
    }
    return v.is<ReflectedValue>() && CoerceReflected(x, v, false);
}

// --- Coerce ----------------------------------------------------------------------------------------------------------

bool Coerce(bool& x, const KSValue& v, bool allowExplicitConversions)
{
    if (v.is<bool>())
    {
        x = Get<bool>(v);
        return true;
    }
    if (v.is<ReflectedValue>())
        return CoerceReflected(x, v, allowExplicitConversions);
    if (IsStringOrVoid(v) || !allowExplicitConversions)
        return false;
    if (v.is<int64>())
        x = Get<int64>(v) != 0;
    else if (v.is<float64>())
        x = Get<float64>(v) != 0.0;
    else
        return RefuseReflected(__LINE__);
    return true;
}

bool Coerce(int64& x, const KSValue& v, bool allowExplicitConversions)
{
    if (v.is<int64>())
    {
        x = Get<int64>(v);
        return true;
    }
    if (IsStringOrVoid(v) || !allowExplicitConversions)
        return false;
    if (v.is<bool>())
        x = Get<bool>(v);
    else if (v.is<float64>())
        x = TruncateToInt64(Get<float64>(v));
    else
        return RefuseReflected(__LINE__);
    return true;
}

bool Coerce(int8& x, const KSValue& v, bool allowExplicitConversions)
{
    return CoerceNarrow(x, v, allowExplicitConversions);
}

bool Coerce(int16& x, const KSValue& v, bool allowExplicitConversions)
{
    return CoerceNarrow(x, v, allowExplicitConversions);
}

bool Coerce(int32& x, const KSValue& v, bool allowExplicitConversions)
{
    return CoerceNarrow(x, v, allowExplicitConversions);
}

bool Coerce(uint8& x, const KSValue& v, bool allowExplicitConversions)
{
    return CoerceNarrow(x, v, allowExplicitConversions);
}

bool Coerce(uint16& x, const KSValue& v, bool allowExplicitConversions)
{
    return CoerceNarrow(x, v, allowExplicitConversions);
}

bool Coerce(uint32& x, const KSValue& v, bool allowExplicitConversions)
{
    return CoerceNarrow(x, v, allowExplicitConversions);
}

bool Coerce(uint64& x, const KSValue& v, bool allowExplicitConversions)
{
    return Coerce(reinterpret_cast<int64&>(x), v, allowExplicitConversions);
}

bool Coerce(float32& x, const KSValue& v, bool allowExplicitConversions)
{
    if (IsStringOrVoid(v) || !allowExplicitConversions)
        return false;
    if (v.is<bool>())
        x = Get<bool>(v) ? 1.0F : 0.0F;
    else if (v.is<int64>())
        x = static_cast<float32>(Get<int64>(v));
    else if (v.is<float64>())
        x = static_cast<float32>(Get<float64>(v));
    else
        return RefuseReflected(__LINE__);
    return true;
}

bool Coerce(float64& x, const KSValue& v, bool allowExplicitConversions)
{
    if (v.is<float64>())
    {
        x = Get<float64>(v);
        return true;
    }
    if (IsStringOrVoid(v) || !allowExplicitConversions)
        return false;
    if (v.is<bool>())
        x = Get<bool>(v) ? 1.0 : 0.0;
    else if (v.is<int64>())
        x = static_cast<float64>(Get<int64>(v));
    else
        return RefuseReflected(__LINE__);
    return true;
}

bool Coerce(xstring& x, const KSValue& v, bool allowExplicitConversions)
{
    if (v.is<string8>())
    {
        x = v.as<string8>();
        return true;
    }
    if (v.is<void>() || !allowExplicitConversions)
        return false;
    if (v.is<int64>())
        x = ToString(Get<int64>(v));
    else if (v.is<float64>())
        x = ToString(Get<float64>(v));
    else if (v.is<bool>())
        x = Get<bool>(v) ? "true" : "false";
    else
        return RefuseReflected(__LINE__);
    return true;
}

// --- The assignment of the language ----------------------------------------------------------------------------------

void Assign(KSValue& lhs, const KSValue&)
{
    if (lhs.GetTag() < KSV_VOID || lhs.GetTag() >= KSV_REFLECTED_VALUE)
        ThrowKelmAssertionError("0", s_sourceFile, __LINE__);
    ThrowValueException("Can't assign to ", TypeToString(lhs.GetTag()), lhs.is<void>() ? "" : " r-value");
}

} // namespace kelm
