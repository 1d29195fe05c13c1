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

template <class... Parts>
[[noreturn, gnu::cold]] void ThrowValueException(const Parts&... parts)
{
    throw KSValueException(MessageOf(parts...).c_str());
}

} // namespace kelm
