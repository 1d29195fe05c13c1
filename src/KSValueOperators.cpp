// The binary operators of script values.
//
// Each operator is a chain of attempts to read both operands as one kind (bool, text, integer, float), the left one
// first; the first kind that both are of decides. What an operator computes of two of a kind is said in
// BinaryOperations.h.

#include <klKelmScript/KSValue.h>
#include <klKelmScript/private/BinaryOperations.h>
#include <klKelmScript/private/ProcessorDivision.h>

#include <cmath>
#include <type_traits>

namespace kelm
{

Division DivideByProcessor(int64 a, int64 b)
{
    return DivideOrFault(a, b);
}

void ThrowDivisionError(ConstStringZ message)
{
    throw KSValueException(message);
}

namespace
{

// --- Reading operands ------------------------------------------------------------------------------------------------

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
        else if (v.is<ReflectedValue>() && Assign(m_own, v))
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

// --- The chain -------------------------------------------------------------------------------------------------------

// Each attempts one kind, and returns false where the operands are not both of it.
template <class Operation>
[[gnu::noinline]] bool TryTexts(KSValue& result, const KSValue& a, const KSValue& b)
{
    TextOperand x;
    TextOperand y;
    if (!x.Read(a) || !y.Read(b))
        return false;
    KSValueAccess::Set(result, Operation::Of(x.Get(), y.Get()));
    return true;
}

// Addition joins them.
template <>
[[gnu::noinline]] bool TryTexts<operation::Add>(KSValue& result, const KSValue& a, const KSValue& b)
{
    TextOperand left;
    TextOperand right;
    if (!left.Read(a) || !right.Read(b))
        return false;
    xstring joined;
    joined.reserve(left.Get().size() + right.Get().size());
    joined.append(left.Get());
    joined.append(right.Get());
    KSValueAccess::SetString(result, std::move(joined));
    return true;
}

template <class Operation, class T>
inline bool Try(KSValue& result, const KSValue& a, const KSValue& b)
{
    T x{};
    T y{};
    if (!ReadBoth(x, y, a, b))
        return false;
    KSValueAccess::Set(result, Operation::Of(x, y));
    return true;
}

} // namespace

// The longer one grows, at its end or at its beginning, so that chains of additions stay linear however they nest. What
// is short is copied sooner than made room for.
void JoinInPlace(xstring& a, xstring& b)
{
    constexpr ssize_t shortText = 256;
    if (b.size() <= a.size() || b.size() <= shortText)
        return a.append(b);
    b.prepend(a);
    a.swap(b);
}

template <class Operation>
void Combine(KSValue& result, const KSValue& a, const KSValue& b)
{
    constexpr int kinds = Operation::s_kinds;
    if constexpr (operation::IsDerived<Operation>)
    {
        Combine<typename Operation::Origin>(result, Operation::First(a, b), Operation::First(b, a));
        KSValueAccess::Set(result, KSValueAccess::Get<bool>(result) != Operation::s_isNegated);
        return;
    }
    if constexpr ((kinds & KIND_BOOL) != 0)
        if (Try<Operation, bool>(result, a, b))
            return;
    if constexpr ((kinds & KIND_TEXT) != 0)
        if (CanBeText(a) && TryTexts<Operation>(result, a, b))
            return;
    if constexpr ((kinds & KIND_INTEGER) != 0)
        if (Try<Operation, int64>(result, a, b))
            return;
    if constexpr ((kinds & KIND_FLOAT) != 0)
        if (Try<Operation, float64>(result, a, b))
            return;
    ThrowIncompatibleTypesException(a, b, Operation::s_name);
}

[[noreturn]] static void ThrowIllDefinedPower(float64 x, float64 y)
{
    ThrowValueException("Calculation ", x, " ^^ ", y, " ill defined");
}

template <>
void Combine<operation::Power>(KSValue& result, const KSValue& a, const KSValue& b)
{
    float64 x = 0.0;
    float64 y = 0.0;
    if (!ReadBoth(x, y, a, b))
        ThrowIncompatibleTypesException(a, b, "^");
    if (x == 0.0 && y < 0.0)
        ThrowIllDefinedPower(x, y);
    const float64 power = std::pow(x, y);
    if (a.is<int64>() && b.is<int64>())
        KSValueAccess::Set(result, TruncateToInt64(power));
    else
        KSValueAccess::Set(result, power);
}

template <>
void Combine<operation::LogicalOr>(KSValue& result, const KSValue& a, const KSValue& b)
{
    KSValueAccess::Set(result, As<bool>(a, false) || As<bool>(b, false));
}

template <>
void Combine<operation::LogicalAnd>(KSValue& result, const KSValue& a, const KSValue& b)
{
    KSValueAccess::Set(result, As<bool>(a, false) && As<bool>(b, false));
}

template void Combine<operation::Add>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::Subtract>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::Multiply>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::Divide>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::Remainder>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::ShiftLeft>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::ShiftRight>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::BitwiseOr>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::BitwiseAnd>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::BitwiseExclusiveOr>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::Equal>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::NotEqual>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::Less>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::Greater>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::LessOrEqual>(KSValue&, const KSValue&, const KSValue&);
template void Combine<operation::GreaterOrEqual>(KSValue&, const KSValue&, const KSValue&);

// --- The operators ---------------------------------------------------------------------------------------------------

namespace
{

template <class Operation>
KSValue Evaluate(const KSValue& a, const KSValue& b)
{
    KSValue result;
    Combine<Operation>(result, a, b);
    return result;
}

} // namespace

KSValue operator+(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::Add>(a, b);
}

KSValue operator-(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::Subtract>(a, b);
}

KSValue operator*(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::Multiply>(a, b);
}

KSValue operator/(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::Divide>(a, b);
}

KSValue operator%(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::Remainder>(a, b);
}

KSValue Power(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::Power>(a, b);
}

KSValue operator<<(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::ShiftLeft>(a, b);
}

KSValue operator>>(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::ShiftRight>(a, b);
}

KSValue operator|(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::BitwiseOr>(a, b);
}

KSValue operator&(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::BitwiseAnd>(a, b);
}

KSValue operator^(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::BitwiseExclusiveOr>(a, b);
}

KSValue operator||(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::LogicalOr>(a, b);
}

KSValue operator&&(const KSValue& a, const KSValue& b)
{
    return Evaluate<operation::LogicalAnd>(a, b);
}

bool IsEqual(const KSValue& a, const KSValue& b)
{
    return KSValueAccess::Get<bool>(Evaluate<operation::Equal>(a, b));
}

bool IsLess(const KSValue& a, const KSValue& b)
{
    return KSValueAccess::Get<bool>(Evaluate<operation::Less>(a, b));
}

} // namespace kelm
