#pragma once

// Script values for tests: short ways to write them, and a list with at least one of every kind that the value
// operations tell apart.

#include <klKelmScript/KSValue.h>
#include <klObject/values/ReflectedVariable.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelm
{

inline KSValue V()
{
    return KSValue();
}
inline KSValue B(bool x)
{
    return KSValue(x);
}
inline KSValue I(int64 x)
{
    return KSValue(x);
}
inline KSValue F(double x)
{
    return KSValue(x);
}
inline KSValue S(const std::string& x)
{
    return KSValue(xstring(x.data(), static_cast<ssize_t>(x.size())));
}

// Makes `value` hold a variable of the type `bc` with the value `x`, whose representation is T.
template <class T>
void HoldVariable(ReflectedValue& value, const uint8* bc, const T& x, const ConstStringZ* stringTable = nullptr)
{
    value = ReflectedValue();
    value.m_rbc = ReflectionByteCode(bc, stringTable);
    value.m_data.resize(sizeof(T));
    ConstructReflectedVariable(value.m_rbc, value.m_data.data());
    *reinterpret_cast<T*>(value.m_data.data()) = x;
}

// Holds its value where it was made: a copy of a reflected value would be a default variable.
template <class T>
std::shared_ptr<KSValue> MakeReflected(const uint8* bc, const T& x)
{
    auto value = std::make_shared<KSValue>(ReflectedValue());
    HoldVariable(value->as<ReflectedValue>(), bc, x);
    return value;
}

inline constexpr uint8 s_bcBool[] = {FT_BOOL};
inline constexpr uint8 s_bcInt8[] = {FT_INT8};
inline constexpr uint8 s_bcInt32[] = {FT_INT32};
inline constexpr uint8 s_bcInt64[] = {FT_INT64};
inline constexpr uint8 s_bcConstUInt16[] = {FT_CONST, FT_UINT16};
inline constexpr uint8 s_bcFloat32[] = {FT_FLOAT32};
inline constexpr uint8 s_bcFloat64[] = {FT_FLOAT64};
inline constexpr uint8 s_bcString8[] = {FT_STRING8};
inline constexpr uint8 s_bcVectorOfInt32[] = {FT_VECTOR, FT_INT32};

// A value, with what it qualifies as in the eyes of a reader.
struct Operand
{
    std::string m_name;
    std::shared_ptr<const KSValue> m_value;
    std::optional<std::string> m_text = {};
    std::optional<int64> m_integer = {};
    std::optional<double> m_float = {};
    std::optional<bool> m_bool = {};

    const KSValue& Value() const { return *m_value; }
    EKSValue Tag() const { return m_value->GetTag(); }
    bool IsReflected() const { return Tag() == KSV_REFLECTED_VALUE; }
};

// Every kind of operand, with the values at which the operations change their mind.
const std::vector<Operand>& AllOperands();

} // namespace kelm
