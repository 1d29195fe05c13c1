#pragma once

// What the operations on script values share: the inside of a value, and their one numeric edge.

#include <klKelmScript/KSValue.h>
#include <klUtils/MessageOf.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace kelm
{

// Replaces a value by a scalar, and reads scalars of a tag that the caller has checked.
struct KSValueAccess
{
    static void Set(KSValue& v, bool x) { SetScalar(v, KSV_BOOL, x); }
    static void Set(KSValue& v, int64 x) { SetScalar(v, KSV_INT64, x); }
    static void Set(KSValue& v, float64 x) { SetScalar(v, KSV_FLOAT64, x); }
    static void SetVoid(KSValue& v)
    {
        v.DestroyPayload();
        v._tag = KSV_VOID;
    }

    static bool IsReflected(const KSValue& v) { return v._tag == KSV_REFLECTED_VALUE; }

    // Whether a value's release does anything.
    static bool OwnsMemory(const KSValue& v) { return v.OwnsMemory(); }

    // The same where the value owns no memory.
    static void Construct(KSValue& v, bool x) { StoreScalar(v, KSV_BOOL, x); }
    static void Construct(KSValue& v, int64 x) { StoreScalar(v, KSV_INT64, x); }
    static void Construct(KSValue& v, float64 x) { StoreScalar(v, KSV_FLOAT64, x); }
    static void ConstructString(KSValue& v, SubString text)
    {
        ::new (static_cast<void*>(v._data)) xstring(text);
        v._tag = KSV_STRING8;
    }

    // Of a value that is one.
    static xstring& GetString(KSValue& v) { return *reinterpret_cast<xstring*>(v._data); }

    static void SetString(KSValue& v, xstring&& text)
    {
        v.DestroyPayload();
        v._tag = KSV_STRING8;
        ::new (static_cast<void*>(v._data)) xstring(std::move(text));
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
        StoreScalar(v, tag, x);
    }
    template <class T>
    static void StoreScalar(KSValue& v, EKSValue tag, T x)
    {
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

// Assign, with the script's own numbers, which nearly all operands are, read without a call.
inline bool Read(int64& x, const KSValue& v)
{
    if (v.is<int64>())
    {
        x = KSValueAccess::Get<int64>(v);
        return true;
    }
    if (v.is<float64>())
    {
        x = TruncateToInt64(KSValueAccess::Get<float64>(v));
        return static_cast<float64>(x) == KSValueAccess::Get<float64>(v);
    }
    return v.is<ReflectedValue>() && Assign(x, v);
}

inline bool Read(float64& x, const KSValue& v)
{
    if (v.is<float64>())
    {
        x = KSValueAccess::Get<float64>(v);
        return true;
    }
    if (v.is<int64>())
    {
        x = static_cast<float64>(KSValueAccess::Get<int64>(v));
        return true;
    }
    return v.is<ReflectedValue>() && Assign(x, v);
}

inline bool Read(bool& x, const KSValue& v)
{
    return (v.is<bool>() || v.is<ReflectedValue>()) && Assign(x, v);
}

template <class... Parts>
[[noreturn, gnu::cold]] void ThrowValueException(const Parts&... parts)
{
    throw KSValueException(MessageOf(parts...).c_str());
}

} // namespace kelm
