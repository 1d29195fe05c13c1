#pragma once

// What the value operations share, and the binary operators in place: each writes a op b to `result`, which may be
// either operand. The evaluator's table points at these, so that an operand's slot is reused for the result; the public
// operators wrap them.

#include <klKelmScript/KSValue.h>
#include <klUtils/text/ParserBase.h>

#include <cstdint>
#include <cstring>

namespace kelm
{

// Replaces a value by a scalar, and reads scalars of a tag that the caller has checked.
struct KSValueAccess
{
    static void Set(KSValue& v, bool x) { SetScalar(v, KSV_BOOL, x); }
    static void Set(KSValue& v, int64 x) { SetScalar(v, KSV_INT64, x); }
    static void Set(KSValue& v, float64 x) { SetScalar(v, KSV_FLOAT64, x); }
    // From a number's bits; its kind is TOKEN_INTEGER or TOKEN_FLOAT.
    static void Set(KSValue& v, const PlainNumber& number)
    {
        SetScalar(v, number.m_kind == TOKEN_INTEGER ? KSV_INT64 : KSV_FLOAT64, number.m_bits);
    }
    static void SetVoid(KSValue& v)
    {
        v.DestroyPayload();
        v._tag = KSV_VOID;
    }

    // Makes `v` a string, keeping the memory of the one that it may hold, and returns it for the caller to fill.
    static xstring& MakeString(KSValue& v)
    {
        if (v._tag != KSV_STRING8)
        {
            v.DestroyPayload();
            v._tag = KSV_STRING8;
            ::new (static_cast<void*>(v._data)) xstring;
        }
        return *reinterpret_cast<xstring*>(v._data);
    }

    template <class T>
    static T Get(const KSValue& v)
    {
        T scalar;
        std::memcpy(&scalar, v._data, sizeof scalar);
        return scalar;
    }

private:
    template <class T>
    static void SetScalar(KSValue& v, EKSValue tag, T x)
    {
        v.DestroyPayload();
        v._tag = tag;
        v.Store(x);
    }
};

// Truncation toward zero as the processor does it: a NaN and whatever int64 does not hold become the indefinite value.
inline int64 TruncateToInt64(float64 x)
{
    constexpr float64 limit = 9223372036854775808.0;
    if (-limit <= x && x < limit) [[likely]]
        return static_cast<int64>(x);
    return INT64_MIN;
}

// Throws a KSValueException of the text.
[[noreturn, gnu::cold]] void ThrowWithText(const StringStream& message);

using BinaryOperation = void (*)(KSValue& result, const KSValue& a, const KSValue& b);

namespace inplace
{

void Add(KSValue& result, const KSValue& a, const KSValue& b);
void Subtract(KSValue& result, const KSValue& a, const KSValue& b);
void Multiply(KSValue& result, const KSValue& a, const KSValue& b);
void Divide(KSValue& result, const KSValue& a, const KSValue& b);
void Remainder(KSValue& result, const KSValue& a, const KSValue& b);
void RaiseToPower(KSValue& result, const KSValue& a, const KSValue& b);
void ShiftLeft(KSValue& result, const KSValue& a, const KSValue& b);
void ShiftRight(KSValue& result, const KSValue& a, const KSValue& b);
void BitwiseOr(KSValue& result, const KSValue& a, const KSValue& b);
void BitwiseAnd(KSValue& result, const KSValue& a, const KSValue& b);
void BitwiseExclusiveOr(KSValue& result, const KSValue& a, const KSValue& b);
void LogicalOr(KSValue& result, const KSValue& a, const KSValue& b);
void LogicalAnd(KSValue& result, const KSValue& a, const KSValue& b);

} // namespace inplace

} // namespace kelm
