#pragma once

#include <klKelmScript/api.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klObject/types/TypeOps.h>
#include <klUtils/types.h>
#include <klUtils/xvector.h>

namespace kelm
{

// A value of any reflected type: the type's byte code, and an owned buffer that holds exactly one constructed variable
// of it. The byte code and its tables belong to whoever describes the type and must outlive the value.
//
// Copying makes a newly default-constructed variable of the same type; it never reads the other's bytes.
class KLKELMSCRIPT_API ReflectedValue
{
public:
    // Empty: no type, no bytes.
    ReflectedValue() noexcept = default;
    ReflectedValue(const ReflectedValue& other);
    ~ReflectedValue();
    ReflectedValue& operator=(const ReflectedValue& other);

    void swap(ReflectedValue& other) noexcept;

    bool operator==(const ReflectedValue& other) const;
    bool operator!=(const ReflectedValue& other) const { return !(*this == other); }
    bool operator<(const ReflectedValue& other) const;
    bool operator<=(const ReflectedValue& other) const { return !(other < *this); }
    bool operator>(const ReflectedValue& other) const { return other < *this; }
    bool operator>=(const ReflectedValue& other) const { return !(*this < other); }
    template <EComparison C>
    friend int CompareFor(Comparison<C>, const ReflectedValue& a, const ReflectedValue& b)
    {
        return a.CompareWith(b, C);
    }
    int CompareWith(const ReflectedValue& other, EComparison question) const;

    ReflectionByteCode m_rbc;
    xvector<uint8> m_data;
};

template <>
inline constexpr bool IsRelocatable<ReflectedValue> = true;

// The operations on arrays of them, in the library alone: those that a program names are those in the table.
extern template KLKELMSCRIPT_API void ConstructArray<ReflectedValue>(void*, ssize_t, ssize_t);
extern template KLKELMSCRIPT_API void CopyConstructArray<ReflectedValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
extern template KLKELMSCRIPT_API void AssignArray<ReflectedValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
extern template KLKELMSCRIPT_API void DestructArray<ReflectedValue>(void*, ssize_t, ssize_t);

// The class's descriptor, which is opaque: no fields, and neither equality nor order among its type operations.
KLKELMSCRIPT_API const ReflectedClass& _GetReflected(const ReflectedValue*);
KLKELMSCRIPT_API const TypeOps* _GetTypeOps(const ReflectedValue*);
KLKELMSCRIPT_API void _Register_ReflectedValue();

} // namespace kelm
