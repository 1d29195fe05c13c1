// The binary operators of script values.
//
// Each operator is a chain of attempts to read both operands as one kind (text, integer, float, boolean), the left one
// first; the first kind that both are of decides. Integer arithmetic wraps; what an integer operator computes is said
// once, on the bits or on the processor's own division.

#include <klKelmScript/KSValue.h>
#include <klKelmScript/private/KSValueOperations.h>

#include <cmath>
#include <functional>

namespace kelm
{

namespace
{

// --- Reading operands ------------------------------------------------------------------------------------------------

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
    return Assign(x, v);
}

inline bool Read(float64& x, const KSValue& v)
{
    if (v.is<float64>())
    {
        x = KSValueAccess::Get<float64>(v);
        return true;
    }
    return Assign(x, v);
}

inline bool Read(bool& x, const KSValue& v)
{
    return Assign(x, v);
}

template <class T>
inline bool ReadBoth(T& x, T& y, const KSValue& a, const KSValue& b)
{
    return Read(x, a) && Read(y, b);
}

// A text operand, without a copy of a string that is there already.
class TextOperand
{
public:
    bool Read(const KSValue& v)
    {
        if (v.is<string8>())
            m_text = &v.as<string8>();
        else if (Assign(m_own, v))
            m_text = &m_own;
        return m_text != nullptr;
    }
    const xstring& Get() const { return *m_text; }

private:
    xstring m_own;
    const xstring* m_text = nullptr;
};

bool CanBeText(const KSValue& v)
{
    return v.is<string8>() || v.is<ReflectedValue>();
}

// --- Integer arithmetic ----------------------------------------------------------------------------------------------

int64 WrappingSum(int64 a, int64 b)
{
    return static_cast<int64>(static_cast<uint64>(a) + static_cast<uint64>(b));
}

int64 WrappingDifference(int64 a, int64 b)
{
    return static_cast<int64>(static_cast<uint64>(a) - static_cast<uint64>(b));
}

int64 WrappingProduct(int64 a, int64 b)
{
    return static_cast<int64>(static_cast<uint64>(a) * static_cast<uint64>(b));
}

struct Division
{
    int64 m_quotient;
    int64 m_remainder;
};

// The processor's signed division, which truncates toward zero and faults where the quotient does not fit. Written as
// the instruction, since the language leaves that one case undefined and a compiler may do anything with it.
Division DivideByProcessor(int64 a, int64 b)
{
    Division result;
    __asm__ volatile("cqto\n\tidivq %[divisor]"
                     : "=&a"(result.m_quotient), "=&d"(result.m_remainder)
                     : "0"(a), [divisor] "r"(b)
                     : "cc");
    return result;
}

// A shift's count is its low six bits.
int64 ShiftedLeft(int64 a, int64 b)
{
    return static_cast<int64>(static_cast<uint64>(a) << (b & 63));
}

int64 ShiftedRight(int64 a, int64 b)
{
    return a >> (b & 63);
}

// --- The chains ------------------------------------------------------------------------------------------------------

inline bool AreIntegers(const KSValue& a, const KSValue& b)
{
    return a.is<int64>() && b.is<int64>();
}

template <class IntegerOperation, class FloatOperation>
[[gnu::noinline]] void CombineConverted(KSValue& result, const KSValue& a, const KSValue& b, const char* name,
                                        IntegerOperation onIntegers, FloatOperation onFloats)
{
    int64 i = 0;
    int64 j = 0;
    float64 x = 0.0;
    float64 y = 0.0;
    if (ReadBoth(i, j, a, b))
        KSValueAccess::Set(result, onIntegers(i, j));
    else if (ReadBoth(x, y, a, b))
        KSValueAccess::Set(result, onFloats(x, y));
    else
        ThrowIncompatibleTypesException(a, b, name);
}

// Operators on integers and floats. Two integers, the commonest operands, need neither a call nor a place in memory.
template <class IntegerOperation, class FloatOperation>
[[gnu::always_inline]] inline void CombineNumbers(KSValue& result, const KSValue& a, const KSValue& b, const char* name,
                                                  IntegerOperation onIntegers, FloatOperation onFloats)
{
    if (AreIntegers(a, b)) [[likely]]
        return KSValueAccess::Set(result, onIntegers(KSValueAccess::Get<int64>(a), KSValueAccess::Get<int64>(b)));
    CombineConverted(result, a, b, name, onIntegers, onFloats);
}

// Operators on integers alone.
template <class IntegerOperation>
inline void CombineIntegers(KSValue& result, const KSValue& a, const KSValue& b, const char* name,
                            IntegerOperation onIntegers)
{
    int64 i = 0;
    int64 j = 0;
    if (!ReadBoth(i, j, a, b))
        ThrowIncompatibleTypesException(a, b, name);
    KSValueAccess::Set(result, onIntegers(i, j));
}

// Joins two texts; false where the operands are not both texts. A result that is the left operand grows in place, so
// that a chain of additions stays linear.
[[gnu::noinline]] bool TryConcatenate(KSValue& result, const KSValue& a, const KSValue& b)
{
    TextOperand left;
    TextOperand right;
    if (!left.Read(a) || !right.Read(b))
        return false;
    if (&result == &a && a.is<string8>())
    {
        KSValueAccess::MakeString(result).append(right.Get());
        return true;
    }
    xstring joined;
    joined.reserve(left.Get().size() + right.Get().size());
    joined.append(left.Get());
    joined.append(right.Get());
    KSValueAccess::MakeString(result) = std::move(joined);
    return true;
}

int64 CheckedQuotient(int64 a, int64 b)
{
    if (b == 0)
        throw KSValueException("Division by zero error");
    return DivideByProcessor(a, b).m_quotient;
}

float64 CheckedQuotient(float64 a, float64 b)
{
    if (b == 0.0)
        throw KSValueException("Division by zero");
    return a / b;
}

int64 CheckedRemainder(int64 a, int64 b)
{
    if (b == 0)
        throw KSValueException("Modulo zero error");
    return DivideByProcessor(a, b).m_remainder;
}

[[noreturn]] void ThrowIllDefinedPower(float64 x, float64 y)
{
    StringStream message(4096);
    message << "Calculation " << x << " ^^ " << y << " ill defined";
    ThrowWithText(message);
}

// The operators as functions of two values, from their form in place.
KSValue Evaluate(BinaryOperation operation, const KSValue& a, const KSValue& b)
{
    KSValue result;
    operation(result, a, b);
    return result;
}

} // namespace

// --- The operators, in place -----------------------------------------------------------------------------------------

namespace inplace
{

void Add(KSValue& result, const KSValue& a, const KSValue& b)
{
    if (!CanBeText(a) || !TryConcatenate(result, a, b)) [[likely]]
        CombineNumbers(result, a, b, "+", WrappingSum, std::plus<float64>());
}

void Subtract(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineNumbers(result, a, b, "-", WrappingDifference, std::minus<float64>());
}

void Multiply(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineNumbers(result, a, b, "*", WrappingProduct, std::multiplies<float64>());
}

void Divide(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineNumbers(
        result, a, b, "/", [](int64 i, int64 j) { return CheckedQuotient(i, j); },
        [](float64 x, float64 y) { return CheckedQuotient(x, y); });
}

void Remainder(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineIntegers(result, a, b, "%", CheckedRemainder);
}

void RaiseToPower(KSValue& result, const KSValue& a, const KSValue& b)
{
    float64 x = 0.0;
    float64 y = 0.0;
    if (!ReadBoth(x, y, a, b))
        ThrowIncompatibleTypesException(a, b, "^");
    if (x == 0.0 && y < 0.0)
        ThrowIllDefinedPower(x, y);
    const float64 power = std::pow(x, y);
    int64 integer = 0;
    if (Coerce(integer, a, false) && Coerce(integer, b, false))
        KSValueAccess::Set(result, TruncateToInt64(power));
    else
        KSValueAccess::Set(result, power);
}

void ShiftLeft(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineIntegers(result, a, b, "<<", ShiftedLeft);
}

void ShiftRight(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineIntegers(result, a, b, ">>", ShiftedRight);
}

void BitwiseOr(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineIntegers(result, a, b, "|", std::bit_or<int64>());
}

void BitwiseAnd(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineIntegers(result, a, b, "&", std::bit_and<int64>());
}

void BitwiseExclusiveOr(KSValue& result, const KSValue& a, const KSValue& b)
{
    CombineIntegers(result, a, b, "^", std::bit_xor<int64>());
}

void LogicalOr(KSValue& result, const KSValue& a, const KSValue& b)
{
    KSValueAccess::Set(result, As<bool>(a, false) || As<bool>(b, false));
}

void LogicalAnd(KSValue& result, const KSValue& a, const KSValue& b)
{
    KSValueAccess::Set(result, As<bool>(a, false) && As<bool>(b, false));
}

} // namespace inplace

// --- The operators ---------------------------------------------------------------------------------------------------

KSValue operator+(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::Add, a, b);
}

KSValue operator-(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::Subtract, a, b);
}

KSValue operator*(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::Multiply, a, b);
}

KSValue operator/(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::Divide, a, b);
}

KSValue operator%(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::Remainder, a, b);
}

KSValue Power(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::RaiseToPower, a, b);
}

KSValue operator<<(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::ShiftLeft, a, b);
}

KSValue operator>>(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::ShiftRight, a, b);
}

KSValue operator|(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::BitwiseOr, a, b);
}

KSValue operator&(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::BitwiseAnd, a, b);
}

KSValue operator^(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::BitwiseExclusiveOr, a, b);
}

KSValue operator||(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::LogicalOr, a, b);
}

KSValue operator&&(const KSValue& a, const KSValue& b)
{
    return Evaluate(inplace::LogicalAnd, a, b);
}

// --- Comparison ------------------------------------------------------------------------------------------------------

namespace
{

bool IsNumber(const KSValue& v)
{
    return v.is<int64>() || v.is<float64>();
}

// Compares two texts; false where the operands are not both texts.
template <class Comparison>
bool TryCompareTexts(bool& result, const KSValue& a, const KSValue& b, Comparison compare)
{
    TextOperand s;
    TextOperand t;
    if (!s.Read(a) || !t.Read(b))
        return false;
    result = compare(s.Get(), t.Get());
    return true;
}

// Compares as integers or else as floats, which are the last kinds of both comparisons.
template <class Comparison>
inline bool CompareNumbers(const KSValue& a, const KSValue& b, Comparison compare)
{
    int64 i = 0;
    int64 j = 0;
    if (ReadBoth(i, j, a, b))
        return compare(i, j);
    float64 x = 0.0;
    float64 y = 0.0;
    if (ReadBoth(x, y, a, b))
        return compare(x, y);
    ThrowIncompatibleTypesException(a, b, "comparison");
    return false;
}

} // namespace

bool IsEqual(const KSValue& a, const KSValue& b)
{
    if (!IsNumber(a)) // which is neither a bool nor a text
    {
        bool p = false;
        bool q = false;
        if (ReadBoth(p, q, a, b))
            return p == q;
        bool isEqual = false;
        if (TryCompareTexts(isEqual, a, b, std::equal_to<>()))
            return isEqual;
    }
    return CompareNumbers(a, b, std::equal_to<>());
}

bool IsLess(const KSValue& a, const KSValue& b)
{
    bool isLess = false;
    if (!IsNumber(a) && TryCompareTexts(isLess, a, b, std::less<>()))
        return isLess;
    return CompareNumbers(a, b, std::less<>());
}

} // namespace kelm
