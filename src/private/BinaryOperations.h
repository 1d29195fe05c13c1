#pragma once

// The binary operators of script values, each a type: the kinds of operands that it takes, what it computes of two of a
// kind, its name in messages. Combine applies one; the language's operators and the interface's are made of these.

#include <klKelmScript/private/KSValueOperations.h>

#include <type_traits>

namespace kelm
{

// The kinds, in the order in which an operator tries them. An integral float64 is an integer.
enum EOperandKinds : uint8
{
    KIND_BOOL = 1,
    KIND_TEXT = 2,
    KIND_INTEGER = 4,
    KIND_FLOAT = 8,
    KIND_NUMBER = KIND_INTEGER | KIND_FLOAT,
};

// Signed division as the processor does it: truncates toward zero, and faults where the quotient does not fit.
struct Division
{
    int64 m_quotient;
    int64 m_remainder;
};
KLKELMSCRIPT_API Division DivideByProcessor(int64 a, int64 b);

[[noreturn, gnu::cold]] KLKELMSCRIPT_API void ThrowDivisionError(ConstStringZ message);

// --- The operators ---------------------------------------------------------------------------------------------------

// Exported, as what applies them is: whoever records operations has the same tables.
#pragma GCC visibility push(default)
namespace operation
{

// What most have in common.
struct Common
{
    static constexpr bool s_canFault = false; // whether the processor refuses some operands
};

// Integers wrap.
struct Add : Common
{
    static constexpr int s_kinds = KIND_TEXT | KIND_NUMBER; // texts are joined
    static constexpr ConstStringZ s_name = "+";
    static int64 Of(int64 a, int64 b) { return static_cast<int64>(static_cast<uint64>(a) + static_cast<uint64>(b)); }
    static float64 Of(float64 a, float64 b) { return a + b; }
};
struct Subtract : Common
{
    static constexpr int s_kinds = KIND_NUMBER;
    static constexpr ConstStringZ s_name = "-";
    static int64 Of(int64 a, int64 b) { return static_cast<int64>(static_cast<uint64>(a) - static_cast<uint64>(b)); }
    static float64 Of(float64 a, float64 b) { return a - b; }
};
struct Multiply : Common
{
    static constexpr int s_kinds = KIND_NUMBER;
    static constexpr ConstStringZ s_name = "*";
    static int64 Of(int64 a, int64 b) { return static_cast<int64>(static_cast<uint64>(a) * static_cast<uint64>(b)); }
    static float64 Of(float64 a, float64 b) { return a * b; }
};

struct Divide : Common
{
    static constexpr bool s_canFault = true;
    static constexpr int s_kinds = KIND_NUMBER;
    static constexpr ConstStringZ s_name = "/";
    static int64 Of(int64 a, int64 b)
    {
        if (b == 0) [[unlikely]]
            ThrowDivisionError("Division by zero error");
        return DivideByProcessor(a, b).m_quotient;
    }
    static float64 Of(float64 a, float64 b)
    {
        if (b == 0.0) [[unlikely]]
            ThrowDivisionError("Division by zero");
        return a / b;
    }
};
struct Remainder : Common
{
    static constexpr bool s_canFault = true;
    static constexpr int s_kinds = KIND_INTEGER;
    static constexpr ConstStringZ s_name = "%";
    static int64 Of(int64 a, int64 b)
    {
        if (b == 0) [[unlikely]]
            ThrowDivisionError("Modulo zero error");
        return DivideByProcessor(a, b).m_remainder;
    }
};

// A shift's count is its low six bits.
struct ShiftLeft : Common
{
    static constexpr int s_kinds = KIND_INTEGER;
    static constexpr ConstStringZ s_name = "<<";
    static int64 Of(int64 a, int64 b) { return static_cast<int64>(static_cast<uint64>(a) << (b & 63)); }
};
struct ShiftRight : Common
{
    static constexpr int s_kinds = KIND_INTEGER;
    static constexpr ConstStringZ s_name = ">>";
    static int64 Of(int64 a, int64 b) { return a >> (b & 63); }
};
struct BitwiseOr : Common
{
    static constexpr int s_kinds = KIND_INTEGER;
    static constexpr ConstStringZ s_name = "|";
    static int64 Of(int64 a, int64 b) { return a | b; }
};
struct BitwiseAnd : Common
{
    static constexpr int s_kinds = KIND_INTEGER;
    static constexpr ConstStringZ s_name = "&";
    static int64 Of(int64 a, int64 b) { return a & b; }
};
struct BitwiseExclusiveOr : Common
{
    static constexpr int s_kinds = KIND_INTEGER;
    static constexpr ConstStringZ s_name = "^";
    static int64 Of(int64 a, int64 b) { return a ^ b; }
};

struct Equal : Common
{
    static constexpr int s_kinds = KIND_BOOL | KIND_TEXT | KIND_NUMBER;
    static constexpr ConstStringZ s_name = "comparison";
    template <class T>
    static bool Of(const T& a, const T& b)
    {
        return a == b;
    }
};
struct Less : Common
{
    static constexpr int s_kinds = KIND_TEXT | KIND_NUMBER;
    static constexpr ConstStringZ s_name = "comparison";
    template <class T>
    static bool Of(const T& a, const T& b)
    {
        return a < b;
    }
};

// What is derived from another: its negation, or that of the operands the other way round, in which order they are
// looked at as well. So what Less orders in neither direction satisfies both <= and >=.
template <class Other, bool IsNegated, bool IsReversed>
struct Derived : Common
{
    using Origin = Other;
    static constexpr int s_kinds = Other::s_kinds;
    static constexpr ConstStringZ s_name = Other::s_name;
    static constexpr bool s_isNegated = IsNegated;
    template <class T>
    static const T& First(const T& a, const T& b)
    {
        return IsReversed ? b : a;
    }
    template <class T>
    static bool Of(const T& a, const T& b)
    {
        return Other::Of(First(a, b), First(b, a)) != IsNegated;
    }
};
template <class Operation>
concept IsDerived = requires
{
    typename Operation::Origin;
};

using NotEqual = Derived<Equal, true, false>;
using Greater = Derived<Less, false, true>;
using LessOrEqual = Derived<Less, true, true>;
using GreaterOrEqual = Derived<Less, true, false>;

// These have rules of their own.
struct Power : Common
{
    static constexpr int s_kinds = 0;
};
struct LogicalOr : Common
{
    static constexpr int s_kinds = KIND_BOOL;
    static bool Of(bool a, bool b) { return a || b; }
};
struct LogicalAnd : Common
{
    static constexpr int s_kinds = KIND_BOOL;
    static bool Of(bool a, bool b) { return a && b; }
};

} // namespace operation
#pragma GCC visibility pop

// --- Applying them ---------------------------------------------------------------------------------------------------

using BinaryOperation = void (*)(KSValue& result, const KSValue& a, const KSValue& b);

// Writes a op b to `result`, which may be either operand; it is unchanged where this throws.
template <class Operation>
KLKELMSCRIPT_API void Combine(KSValue& result, const KSValue& a, const KSValue& b);
template <>
KLKELMSCRIPT_API void Combine<operation::Power>(KSValue& result, const KSValue& a, const KSValue& b);
template <>
KLKELMSCRIPT_API void Combine<operation::LogicalOr>(KSValue& result, const KSValue& a, const KSValue& b);
template <>
KLKELMSCRIPT_API void Combine<operation::LogicalAnd>(KSValue& result, const KSValue& a, const KSValue& b);

// Joins two texts in place of the left one, and may use up the right one for that.
void JoinInPlace(xstring& a, xstring& b);

// The same with the result in the left operand's place; the right one may be used up. Two of the script's own integers,
// floats, bools or strings, nearly all operands, are found here.
template <class Operation>
void CombineInPlace(KSValue& a, KSValue& b)
{
    if constexpr ((Operation::s_kinds & KIND_INTEGER) != 0)
        if (a.is<int64>() && b.is<int64>()) [[likely]]
            return KSValueAccess::Set(a, Operation::Of(KSValueAccess::Get<int64>(a), KSValueAccess::Get<int64>(b)));
    if constexpr ((Operation::s_kinds & KIND_BOOL) != 0)
        if (a.is<bool>() && b.is<bool>())
            return KSValueAccess::Set(a, Operation::Of(KSValueAccess::Get<bool>(a), KSValueAccess::Get<bool>(b)));
    if constexpr ((Operation::s_kinds & KIND_NUMBER) == KIND_NUMBER)
        if (a.is<float64>() && b.is<float64>())
        {
            const auto x = KSValueAccess::Get<float64>(a);
            const auto y = KSValueAccess::Get<float64>(b);
            const int64 m = TruncateToInt64(x);
            const int64 n = TruncateToInt64(y);
            return static_cast<float64>(m) == x && static_cast<float64>(n) == y
                       ? KSValueAccess::Set(a, Operation::Of(m, n))
                       : KSValueAccess::Set(a, Operation::Of(x, y));
        }
    if constexpr ((Operation::s_kinds & KIND_TEXT) != 0)
        if (a.is<string8>() && b.is<string8>())
        {
            xstring& x = KSValueAccess::GetString(a);
            xstring& y = KSValueAccess::GetString(b);
            if constexpr (std::is_same_v<Operation, operation::Add>)
                return JoinInPlace(x, y);
            else
                return KSValueAccess::Set(a, Operation::Of(x, y));
        }
    Combine<Operation>(a, a, b);
}

} // namespace kelm
