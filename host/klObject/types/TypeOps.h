#pragma once

// The operations on arrays of one C++ type, as function templates that any type can instantiate, and MakeTypeOps, which
// puts those that a type supports into a TypeOps record.
//
// An array is the address of its first element, the stride between elements in bytes, and their number; one below 1
// does nothing. What an element's own operation throws passes through; the constructing operations then leave nothing
// constructed.

#include <klObject/types/ReflectedTypes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/types.h>
#include <klUtils/xostream.h>

#include <new>
#include <type_traits>

namespace kelm
{

namespace TypeOpsDetail
{

inline constexpr ConstStringZ s_sourceFile = "host/klObject/types/TypeOps";

template <class T>
T* ElementAt(void* base, ssize_t stride, ssize_t i)
{
    return reinterpret_cast<T*>(static_cast<char*>(base) + i * stride);
}
template <class T>
const T* ElementAt(const void* base, ssize_t stride, ssize_t i)
{
    return reinterpret_cast<const T*>(static_cast<const char*>(base) + i * stride);
}

// Calls construct(place, i) for each element; a null address is passed over.
template <class T, class Construct>
void ConstructEach(void* dst, ssize_t dstStride, ssize_t count, Construct construct)
{
    ssize_t i = 0;
    try
    {
        for (; i < count; ++i)
            if (T* const place = ElementAt<T>(dst, dstStride, i))
                construct(place, i);
    }
    catch (...)
    {
        while (i-- > 0)
            if (T* const place = ElementAt<T>(dst, dstStride, i))
                place->~T();
        throw;
    }
}

// The first index whose element is not before the place sought, in an array where all elements before it come first.
template <class T, class IsBefore>
ssize_t FindBound(const void* base, ssize_t stride, ssize_t n, IsBefore isBefore)
{
    ssize_t lo = 0;
    ssize_t hi = n;
    while (lo < hi)
    {
        const ssize_t mid = (lo + hi) / 2;
        KELM_ASSERT(0 <= mid && mid < n); // GCOVR_EXCL_BR_LINE: it lies between lo and hi
        if (isBefore(*ElementAt<T>(base, stride, mid)))
            lo = mid + 1;
        else
            hi = mid;
    }
    KELM_ASSERT(lo == hi);
    KELM_ASSERT(0 <= hi && hi <= n); // GCOVR_EXCL_BR_LINE: both have been in there from the beginning
    return hi;
}

} // namespace TypeOpsDetail

template <class T>
void ConstructArray(void* dst, ssize_t dstStride, ssize_t count)
{
    TypeOpsDetail::ConstructEach<T>(dst, dstStride, count,
                                    [](T* place, ssize_t) { ::new (static_cast<void*>(place)) T(); });
}

template <class T>
void DestructArray(void* dst, ssize_t dstStride, ssize_t count)
{
    for (ssize_t i = 0; i < count; ++i)
        TypeOpsDetail::ElementAt<T>(dst, dstStride, i)->~T();
}

template <class T>
void CopyConstructArray(void* dst, ssize_t dstStride, const void* src, ssize_t srcStride, ssize_t count)
{
    TypeOpsDetail::ConstructEach<T>(dst, dstStride, count,
                                    [&](T* place, ssize_t i) {
                                        ::new (static_cast<void*>(place))
                                            T(*TypeOpsDetail::ElementAt<T>(src, srcStride, i));
                                    });
}

template <class T>
void AssignArray(void* dst, ssize_t dstStride, const void* src, ssize_t srcStride, ssize_t count)
{
    for (ssize_t i = 0; i < count; ++i)
        *TypeOpsDetail::ElementAt<T>(dst, dstStride, i) = *TypeOpsDetail::ElementAt<T>(src, srcStride, i);
}

template <class T>
bool VariableEqual(const void* a, const void* b)
{
    return *static_cast<const T*>(a) == *static_cast<const T*>(b);
}

template <class T>
bool VariableLess(const void* a, const void* b)
{
    return *static_cast<const T*>(a) < *static_cast<const T*>(b);
}

// Writes what the type's own Write does, or else its operator<<.
template <class T>
void PrintVariable(xostream& os, const void* variable)
{
    if constexpr (requires(const T& value) { value.Write(os); })
        static_cast<const T*>(variable)->Write(os);
    else
        os << *static_cast<const T*>(variable);
}

// The first index whose element is not less than `key`, in an array sorted by T's operator<; n where there is none.
template <class T>
ssize_t BinaryLowerBound(const void* base, ssize_t stride, ssize_t n, const void* key)
{
    return TypeOpsDetail::FindBound<T>(base, stride, n,
                                       [&](const T& element) { return element < *static_cast<const T*>(key); });
}

// The first index whose element is greater than `key`; n where there is none.
template <class T>
ssize_t BinaryUpperBound(const void* base, ssize_t stride, ssize_t n, const void* key)
{
    return TypeOpsDetail::FindBound<T>(base, stride, n,
                                       [&](const T& element) { return !(*static_cast<const T*>(key) < element); });
}

// The record of T: a slot is set where T supports the operation. The two visiting slots stay null. T may claim to be
// copied or assigned more than what it is made of allows; whoever knows better says so.
template <class T, bool CanBeCopied = std::is_copy_constructible_v<T>,
          bool CanBeAssigned = std::is_copy_assignable_v<T>>
constexpr TypeOps MakeTypeOps()
{
    TypeOps ops;
    ops.m_size = static_cast<ssize_t>(sizeof(T));
    if constexpr (requires(const T& a, const T& b) { static_cast<bool>(a == b); })
        ops.m_equalsFn = VariableEqual<T>;
    if constexpr (requires(const T& a, const T& b) { static_cast<bool>(a < b); })
    {
        ops.m_lessFn = VariableLess<T>;
        ops.m_LowerBoundFn = BinaryLowerBound<T>;
        ops.m_UpperBoundFn = BinaryUpperBound<T>;
    }
    if constexpr (
        requires(const T& value, xostream& os) { value.Write(os); } ||
        requires(const T& value, xostream& os) { os << value; })
        ops.m_PrintVariableFn = PrintVariable<T>;
    if constexpr (std::is_default_constructible_v<T>)
        ops.m_ConstructArrayFn = ConstructArray<T>;
    if constexpr (CanBeCopied)
        ops.m_CopyConstructArrayFn = CopyConstructArray<T>;
    if constexpr (CanBeAssigned)
        ops.m_AssignArrayFn = AssignArray<T>;
    if constexpr (std::is_destructible_v<T>)
        ops.m_DestructArrayFn = DestructArray<T>;
    return ops;
}

} // namespace kelm
