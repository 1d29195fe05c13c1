#pragma once

// KSValue, the one value type of the expression language, and every operation on it.
//
// A value is a 32-bit tag and 48 octets of inline payload: nothing, a bool, a 64-bit integer, a 64-bit float, an 8-bit
// string, or a ReflectedValue. It owns its payload; only strings and reflected values own heap memory. Values are plain
// data: distinct values may be used on distinct threads.
//
// Operations fail by KSValueException. Reaching a payload that is not there, and what the language refuses on purpose,
// fails an assertion (KelmAssertionError). std::bad_alloc passes through.

#include <klKelmScript/ReflectedValue.h>
#include <klKelmScript/api.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/TypeOps.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/MessageException.h>
#include <klUtils/types.h>
#include <klUtils/xostream.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <cstring>
#include <type_traits>
#include <utility>

namespace kelm
{

using string8 = xstring;

enum EKSValue : int32
{
    KSV_VOID = 0,
    KSV_BOOL = 1,
    KSV_INT64 = 2,
    KSV_FLOAT64 = 3,
    KSV_STRING8 = 4,
    KSV_REFLECTED_VALUE = 5,
};

// The one exception type of value operations: a message.
class KLKELMSCRIPT_API KSValueException : public MessageException
{
public:
    explicit KSValueException(ConstStringZ description);
    ~KSValueException() override;
};

// What is known of each alternative by its C++ type: its tag, and the condition that as<T>() asserts.
template <class T>
struct KSAlternative;

template <>
struct KSAlternative<void>
{
    static constexpr EKSValue s_tag = KSV_VOID;
};
template <>
struct KSAlternative<bool>
{
    static constexpr EKSValue s_tag = KSV_BOOL;
    static constexpr ConstStringZ s_condition = "(is<bool >())";
};
template <>
struct KSAlternative<int64>
{
    static constexpr EKSValue s_tag = KSV_INT64;
    static constexpr ConstStringZ s_condition = "(is<kelm::int64 >())";
};
template <>
struct KSAlternative<float64>
{
    static constexpr EKSValue s_tag = KSV_FLOAT64;
    static constexpr ConstStringZ s_condition = "(is<kelm::float64 >())";
};
template <>
struct KSAlternative<string8>
{
    static constexpr EKSValue s_tag = KSV_STRING8;
    static constexpr ConstStringZ s_condition = "(is<kelm::string8 >())";
};
template <>
struct KSAlternative<ReflectedValue>
{
    static constexpr EKSValue s_tag = KSV_REFLECTED_VALUE;
    static constexpr ConstStringZ s_condition = "(is<kelm::ReflectedValue >())";
};

class KLKELMSCRIPT_API KSValue
{
public:
    KSValue() noexcept : _tag(KSV_VOID) {}
    KSValue(const bool& value) noexcept : _tag(KSV_BOOL) { Store(value); }
    KSValue(const int64& value) noexcept : _tag(KSV_INT64) { Store(value); }
    KSValue(const float64& value) noexcept : _tag(KSV_FLOAT64) { Store(value); }
    KSValue(const xstring& value) : _tag(KSV_STRING8) { ::new (static_cast<void*>(_data)) xstring(value); }
    KSValue(const ReflectedValue& value) : _tag(KSV_REFLECTED_VALUE)
    {
        ::new (static_cast<void*>(_data)) ReflectedValue(value);
    }
    // A pointer would silently become a bool: texts are given as xstring.
    template <class T>
    KSValue(T*) = delete;

    // A copied reflected value is a new default variable of its type (ReflectedValue.h).
    KSValue(const KSValue& other) : _tag(other._tag) { ConstructFrom(other); }
    // Takes over a string and leaves an empty one; every other alternative is copied.
    KSValue(KSValue&& other) : _tag(other._tag) { MoveFrom(other); }
    ~KSValue() { DestroyPayload(); }

    // An exception while the new payload is built leaves the value with the new tag and no payload: nothing may be
    // done with it but destroying it and assigning to it.
    KSValue& operator=(const KSValue& other)
    {
        if (this != &other)
        {
            DestroyPayload();
            _tag = other._tag;
            ConstructFrom(other);
        }
        return *this;
    }
    KSValue& operator=(KSValue&& other)
    {
        if (this != &other)
        {
            DestroyPayload();
            _tag = other._tag;
            MoveFrom(other);
        }
        return *this;
    }

    EKSValue GetTag() const { return static_cast<EKSValue>(_tag); }

    template <class T>
    bool is() const
    {
        return _tag == KSAlternative<T>::s_tag;
    }

    // The payload; the value must hold that alternative. The reference is not naturally aligned, which x86-64 allows.
    template <class T>
    T& as()
    {
        CheckIs<T>();
        return *reinterpret_cast<T*>(_data);
    }
    template <class T>
    const T& as() const
    {
        CheckIs<T>();
        return *reinterpret_cast<const T*>(_data);
    }

    // The value's own order, used by reflected containers: by tag first, then by payload, without any promotion. The
    // script operators == and < are IsEqual and IsLess.
    bool operator==(const KSValue& other) const;
    bool operator!=(const KSValue& other) const { return !(*this == other); }
    bool operator<(const KSValue& other) const;
    template <EComparison C>
    friend int CompareFor(Comparison<C>, const KSValue& a, const KSValue& b)
    {
        return a.CompareWith(b, C);
    }
    int CompareWith(const KSValue& other, EComparison question) const;

    // Writes the value as text; a string as its characters alone. A reflected value has no text form: writing one
    // recurses until the stack is exhausted.
    void Write(xostream& os) const;

    // Pass the handles and references inside a reflected payload to the visitor.
    void VisitObjects(IObjectVisitor& visitor) const;
    void VisitPrefs(IPrefVisitor& visitor) const;

private:
    friend struct KSValueAccess;

    template <class T>
    void CheckIs() const
    {
        if (!is<T>()) [[unlikely]]
            ThrowKelmAssertionError(KSAlternative<T>::s_condition, "src/KSValue.h", __LINE__);
    }

    // Scalars are read and written through a byte copy, since the payload is not aligned for them.
    template <class T>
    void Store(const T& scalar) noexcept
    {
        static_assert(std::is_arithmetic_v<T>);
        std::memcpy(_data, &scalar, sizeof scalar);
    }

    bool OwnsMemory() const { return _tag == KSV_STRING8 || _tag == KSV_REFLECTED_VALUE; }

    bool IsScalar() const { return KSV_BOOL <= _tag && _tag <= KSV_FLOAT64; }

    // Builds a copy of other's payload; the tag is other's already and no payload is alive. Void, and a tag that is
    // none, leave the storage as it is.
    void ConstructFrom(const KSValue& other)
    {
        if (IsScalar()) [[likely]]
            std::memcpy(_data, other._data, s_scalarSize); // the octet or octets that matter are among them
        else if (OwnsMemory())
            ConstructOwned(other);
    }
    void MoveFrom(KSValue& other)
    {
        if (_tag == KSV_STRING8)
            ::new (static_cast<void*>(_data)) xstring(std::move(other.as<string8>()));
        else
            ConstructFrom(other);
    }
    void DestroyPayload() noexcept
    {
        if (OwnsMemory()) [[unlikely]]
            DestroyOwned();
    }
    void ConstructOwned(const KSValue& other);
    void DestroyOwned() noexcept;

    static constexpr std::size_t s_scalarSize = 8;

    int32 _tag;
    unsigned char _data[48];
};

static_assert(sizeof(KSValue) == 52);

template <>
inline constexpr bool IsRelocatable<KSValue> = true;

static_assert(sizeof(ReflectedValue) == 48 && sizeof(xstring) <= 48);

inline xostream& operator<<(xostream& os, const KSValue& value)
{
    value.Write(os);
    return os;
}

// The name of an alternative for messages: "void", "bool", "int64", "float64", "string". Any other tag fails the
// assertion "0": reflected values have no name.
KLKELMSCRIPT_API const char* TypeToString(EKSValue tag);

// The standard failures; none returns. A reflected value among the operands ends in TypeToString's assertion instead.
KLKELMSCRIPT_API void ThrowIncompatibleTypesException(const KSValue& a, const KSValue& b, const char* op);
KLKELMSCRIPT_API void ThrowIncompatibleTypeException(const KSValue& a, const char* op);
template <class T>
void ThrowNoImplicitConversionFromValue(T value, const char* typeName);
template <>
KLKELMSCRIPT_API void ThrowNoImplicitConversionFromValue<KSValue>(KSValue value, const char* typeName);

// Checked conversions: what Coerce gives, or KSValueException "No implicit conversion from value " ...
template <class T>
T As(const KSValue& v, bool allowExplicitConversions);
template <>
KLKELMSCRIPT_API bool As<bool>(const KSValue& v, bool allowExplicitConversions);
template <>
KLKELMSCRIPT_API double As<double>(const KSValue& v, bool allowExplicitConversions);

// Binary operators. Each tries the kinds it knows in their order; an integral float64 counts as an integer. Where no
// kind fits both operands: KSValueException "Incompatible types (A and B) for + operation". Integers wrap.
KLKELMSCRIPT_API KSValue operator+(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator-(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator*(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator/(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator%(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator<<(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator>>(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator|(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator&(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator^(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator||(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue operator&&(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API KSValue Power(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API bool IsEqual(const KSValue& a, const KSValue& b);
KLKELMSCRIPT_API bool IsLess(const KSValue& a, const KSValue& b);

// Unary and postfix operations: overwrite their operand, which keeps its value where they throw. ApplyFunction and
// ApplyDot always throw; ApplySubscript and ApplyLen of a string write their result and then fail an assertion.
KLKELMSCRIPT_API void ApplyUnaryPlus(KSValue& v);
KLKELMSCRIPT_API void ApplyUnaryMinus(KSValue& v);
KLKELMSCRIPT_API void ApplyUnaryBitComplement(KSValue& v);
KLKELMSCRIPT_API void ApplyUnaryNot(KSValue& v);
KLKELMSCRIPT_API void ApplyFunction(KSValue& v, const xvector<KSValue>& arguments);
KLKELMSCRIPT_API void ApplyDot(KSValue& v, const xstring& name);
KLKELMSCRIPT_API void ApplySubscript(KSValue& v, const KSValue& index);
KLKELMSCRIPT_API void ApplyLen(KSValue& v);

// Conversions to native types: true when `v` converts. Assign accepts only what arrives without a change of kind and,
// for numbers, exactly; a number that does not is written all the same. Coerce accepts the exact kind alone, and with
// allowExplicitConversions also converts between bools, numbers and (to text) strings.
KLKELMSCRIPT_API bool Assign(bool& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(int8& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(int16& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(int32& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(int64& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(uint8& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(uint16& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(uint32& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(uint64& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(float32& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(float64& x, const KSValue& v);
KLKELMSCRIPT_API bool Assign(xstring& x, const KSValue& v);
KLKELMSCRIPT_API bool Coerce(bool& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(int8& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(int16& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(int32& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(int64& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(uint8& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(uint16& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(uint32& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(uint64& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(float32& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(float64& x, const KSValue& v, bool allowExplicitConversions);
KLKELMSCRIPT_API bool Coerce(xstring& x, const KSValue& v, bool allowExplicitConversions);

// The assignment of the language to a value that is no variable: always throws.
KLKELMSCRIPT_API void Assign(KSValue& lhs, const KSValue& rhs);

// The operations on arrays of values, in the library alone: those that a program names are those in the table.
extern template KLKELMSCRIPT_API void ConstructArray<KSValue>(void*, ssize_t, ssize_t);
extern template KLKELMSCRIPT_API void CopyConstructArray<KSValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
extern template KLKELMSCRIPT_API void AssignArray<KSValue>(void*, ssize_t, const void*, ssize_t, ssize_t);
extern template KLKELMSCRIPT_API void DestructArray<KSValue>(void*, ssize_t, ssize_t);
extern template KLKELMSCRIPT_API bool VariableEqual<KSValue>(const void*, const void*);
extern template KLKELMSCRIPT_API bool VariableLess<KSValue>(const void*, const void*);
extern template KLKELMSCRIPT_API void PrintVariable<KSValue>(xostream&, const void*);
extern template KLKELMSCRIPT_API ssize_t BinaryLowerBound<KSValue>(const void*, ssize_t, ssize_t, const void*);
extern template KLKELMSCRIPT_API ssize_t BinaryUpperBound<KSValue>(const void*, ssize_t, ssize_t, const void*);

// KSValue as a reflected variant, whose alternatives' indices are the tags. The argument selects the overload and is
// not used. Registering under a name in use fails an assertion.
KLKELMSCRIPT_API const ReflectedVariant& _GetReflected(const KSValue*);
KLKELMSCRIPT_API const TypeOps* _GetTypeOps(const KSValue*);
KLKELMSCRIPT_API void _Register_KSValue();

} // namespace kelm
