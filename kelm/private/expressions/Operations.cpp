#include <kelm/private/expressions/Operations.h>

#include <kelm/private/values/Places.h>
#include <kelm/private/values/Texts.h>
#include <klKelmScript/KSValue.h>
#include <klKelmScript/private/BuiltIns.h>
#include <klUtils/MessageOf.h>

#include <cmath>
#include <limits>
#include <string>

namespace kelm::evaluation
{

namespace
{

// --- Script values ---------------------------------------------------------------------------------------------------

// Of a value that is no place.
KSValue ToScript(const Slot& slot)
{
    switch (slot.m_kind)
    {
    case Kind::None:
    case Kind::Place: break;
    case Kind::Bool: return slot.m_bool;
    case Kind::Integer: return slot.m_integer;
    case Kind::Float: return slot.m_float;
    case Kind::Text: return xstring(slot.GetText());
    }
    return {};
}

void FromScript(Slot& slot, const KSValue& v)
{
    Slot result;
    result.SetNone();
    switch (v.GetTag())
    {
    case KSV_VOID:
    case KSV_REFLECTED_VALUE: break;
    case KSV_BOOL: result.Set(KSValueAccess::Get<bool>(v)); break;
    case KSV_INT64: result.Set(KSValueAccess::Get<int64>(v)); break;
    case KSV_FLOAT64: result.Set(KSValueAccess::Get<float64>(v)); break;
    case KSV_STRING8: SetOwnText(result, std::string_view(v.as<string8>())); break;
    }
    slot.Release();
    slot = result;
}

bool IsNumber(const Slot& slot)
{
    return slot.m_kind == Kind::Integer || slot.m_kind == Kind::Float;
}

// What operations on script values throw, as a failure of that kind.
template <class F>
bool Guard(ErrorKind kind, Failure& failure, F apply)
{
    try
    {
        apply();
        return true;
    }
    catch (const KSValueException& e)
    {
        const std::string_view message(e.m_description);
        return Fail(failure, message.starts_with("Incompatible type") ? ErrorKind::Type : kind, message);
    }
    catch (const KelmAssertionError& e)
    {
        return Fail(failure, ErrorKind::Internal, e.what());
    }
}

bool FailBinary(Failure& failure, const Slot& a, const Slot& b, ConstStringZ operation)
{
    return Fail(failure, ErrorKind::Type,
                std::string_view(MessageOf("Incompatible types (", SubString(NameOfType(a)), " and ",
                                           SubString(NameOfType(b)), ") for ", operation, " operation")));
}

bool FailUnary(Failure& failure, const Slot& a, ConstStringZ operation)
{
    return Fail(failure, ErrorKind::Type,
                std::string_view(MessageOf("Incompatible type (", SubString(NameOfType(a)), ") for unary ", operation,
                                           " operation")));
}

ConstStringZ SpellingOf(std::size_t token)
{
    for (const OperatorSpelling& row : s_operatorSpellings)
        if (IndexOfToken(row.m_token) == token)
            return row.m_text;
    return "";
}

// --- Exact -----------------------------------------------------------------------------------------------------------

template <class Operation>
inline constexpr bool s_isDivision =
    std::is_same_v<Operation, operation::Divide> || std::is_same_v<Operation, operation::Remainder> ||
    std::is_same_v<Operation, operation::Power>;

// As script values have it: a Function of two of them.
template <class Operation, class Function>
bool ApplyExact(Slot& a, Slot& b, std::size_t token, Failure& failure)
{
    if (!Load(a, failure) || !Load(b, failure))
        return false;
    if (a.m_kind == Kind::Place || b.m_kind == Kind::Place)
        return FailBinary(failure, a, b, SpellingOf(token));
    const bool isArithmetic = s_isDivision<Operation> && IsNumber(a) && IsNumber(b);
    return Guard(isArithmetic ? ErrorKind::Arithmetic : ErrorKind::Type, failure,
                 [&]
                 {
                     FromScript(a, Function()(ToScript(a), ToScript(b)));
                     b.Release();
                 });
}

bool ApplyExactPrefix(Slot& a, std::size_t token, Failure& failure)
{
    if (!Load(a, failure))
        return false;
    if (a.m_kind == Kind::Place)
        return FailUnary(failure, a, SpellingOf(token));
    return Guard(ErrorKind::Type, failure,
                 [&]
                 {
                     KSValue x = ToScript(a);
                     for (const PrefixOperator& row : s_prefixOperators)
                         if (IndexOfToken(row.m_token) == token)
                             row.m_apply(x);
                     FromScript(a, x);
                 });
}

// --- Natural ---------------------------------------------------------------------------------------------------------

float64 AsFloat(const Slot& slot)
{
    return slot.m_kind == Kind::Integer ? static_cast<float64>(slot.m_integer) : slot.m_float;
}

template <class Operation>
inline constexpr bool s_isComparison = (Operation::s_kinds & KIND_TEXT) != 0 &&
                                       !std::is_same_v<Operation, operation::Add>;

template <class Operation>
bool ApplyToIntegers(Slot& a, int64 x, int64 y, Failure& failure)
{
    if constexpr (std::is_same_v<Operation, operation::Divide> || std::is_same_v<Operation, operation::Remainder>)
    {
        constexpr bool isDivision = std::is_same_v<Operation, operation::Divide>;
        if (y == 0)
            return Fail(failure, ErrorKind::Arithmetic, isDivision ? "Division by zero error" : "Modulo zero error");
        if (x == std::numeric_limits<int64>::min() && y == -1)
            return Fail(failure, ErrorKind::Arithmetic, "Division overflow error");
        a.Set(isDivision ? x / y : x % y);
    }
    else
        a.Set(Operation::Of(x, y));
    return true;
}

template <class Operation>
bool ApplyToFloats(Slot& a, float64 x, float64 y, Failure& failure)
{
    if constexpr (std::is_same_v<Operation, operation::Divide>)
    {
        if (y == 0.0)
            return Fail(failure, ErrorKind::Arithmetic, "Division by zero");
        a.Set(x / y);
    }
    else if constexpr (std::is_same_v<Operation, operation::Remainder>)
    {
        if (y == 0.0)
            return Fail(failure, ErrorKind::Arithmetic, "Modulo zero error");
        a.Set(std::fmod(x, y));
    }
    else
        a.Set(Operation::Of(x, y));
    return true;
}

// Of an integer and a float, of which a whole-numbered one compares as the integer that it is.
template <class Operation>
bool CompareMixed(Slot& a, const Slot& b)
{
    const float64 f = a.m_kind == Kind::Float ? a.m_float : b.m_float;
    const int64 whole = TruncateToInt64(f);
    if (static_cast<float64>(whole) != f)
        a.Set(Operation::Of(AsFloat(a), AsFloat(b)));
    else if (a.m_kind == Kind::Float)
        a.Set(Operation::Of(whole, b.m_integer));
    else
        a.Set(Operation::Of(a.m_integer, whole));
    return true;
}

template <class Operation, class Function>
bool ApplyNatural(Slot& a, Slot& b, std::size_t token, Failure& failure)
{
    constexpr int kinds = Operation::s_kinds;
    constexpr bool takesFloats = (kinds & KIND_FLOAT) != 0 || std::is_same_v<Operation, operation::Remainder>;
    if (!Load(a, failure) || !Load(b, failure))
        return false;
    if constexpr ((kinds & KIND_INTEGER) != 0)
    {
        if (a.m_kind == Kind::Integer && b.m_kind == Kind::Integer)
            return ApplyToIntegers<Operation>(a, a.m_integer, b.m_integer, failure);
        if constexpr (takesFloats)
        {
            if (s_isComparison<Operation> && IsNumber(a) && IsNumber(b) && a.m_kind != b.m_kind)
                if constexpr (s_isComparison<Operation>)
                    return CompareMixed<Operation>(a, b);
            if (IsNumber(a) && IsNumber(b))
                return ApplyToFloats<Operation>(a, AsFloat(a), AsFloat(b), failure);
        }
    }
    if constexpr ((kinds & KIND_BOOL) != 0 && s_isComparison<Operation>)
        if (a.m_kind == Kind::Bool && b.m_kind == Kind::Bool)
        {
            a.Set(Operation::Of(a.m_bool, b.m_bool));
            return true;
        }
    if constexpr ((kinds & KIND_TEXT) != 0)
        if (a.m_kind == Kind::Text && b.m_kind == Kind::Text)
        {
            if constexpr (std::is_same_v<Operation, operation::Add>)
                JoinTexts(a, b);
            else
            {
                const bool result = Operation::Of(a.GetText(), b.GetText());
                a.Release();
                a.Set(result);
            }
            b.Release();
            return true;
        }
    if constexpr ((kinds & KIND_INTEGER) == 0) // these have rules of their own, which are the same
        return ApplyExact<Operation, Function>(a, b, token, failure);
    else
        return FailBinary(failure, a, b, Operation::s_name);
}

bool ApplyNaturalPrefix(Slot& a, std::size_t token, Failure& failure)
{
    if (!Load(a, failure))
        return false;
    const auto is = [&](EToken sign) { return IndexOfToken(sign) == token; };
    if (is(TOKEN_EXCLAM))
        return ApplyExactPrefix(a, token, failure);
    if (is(TOKEN_TILDE) ? a.m_kind != Kind::Integer : !IsNumber(a))
        return FailUnary(failure, a, SpellingOf(token));
    if (is(TOKEN_TILDE))
        a.m_integer = ~a.m_integer;
    else if (is(TOKEN_MINUS) && a.m_kind == Kind::Integer)
        a.m_integer = static_cast<int64>(0 - static_cast<uint64>(a.m_integer));
    else if (is(TOKEN_MINUS))
        a.m_float = -a.m_float;
    return true;
}

// --- The tables ------------------------------------------------------------------------------------------------------

// Of one language.
class Table
{
public:
    explicit constexpr Table(Language language) : m_isNatural(language == Language::Natural)
    {
        Add<operation::LogicalOr>([](const KSValue& a, const KSValue& b) { return a || b; }, TOKEN_DBL_VLINE,
                                  TOKEN_DBL_VLINE_EQUAL);
        Add<operation::LogicalAnd>([](const KSValue& a, const KSValue& b) { return a && b; }, TOKEN_DBL_AMPERSAND,
                                   TOKEN_DBL_AMPERSAND_EQUAL);
        Add<operation::BitwiseOr>([](const KSValue& a, const KSValue& b) { return a | b; }, TOKEN_VLINE,
                                  TOKEN_VLINE_EQUAL);
        Add<operation::BitwiseExclusiveOr>([](const KSValue& a, const KSValue& b) { return a ^ b; }, TOKEN_CARET,
                                           TOKEN_CARET_EQUAL);
        Add<operation::BitwiseAnd>([](const KSValue& a, const KSValue& b) { return a & b; }, TOKEN_AMPERSAND,
                                   TOKEN_AMPERSAND_EQUAL);
        Add<operation::Equal>([](const KSValue& a, const KSValue& b) { return IsEqual(a, b); }, TOKEN_DBL_EQUAL);
        Add<operation::NotEqual>([](const KSValue& a, const KSValue& b) { return !IsEqual(a, b); }, TOKEN_EXCLAM_EQUAL);
        Add<operation::Less>([](const KSValue& a, const KSValue& b) { return IsLess(a, b); }, TOKEN_LESS);
        Add<operation::LessOrEqual>([](const KSValue& a, const KSValue& b) { return !IsLess(b, a); }, TOKEN_LESS_EQUAL);
        Add<operation::Greater>([](const KSValue& a, const KSValue& b) { return IsLess(b, a); }, TOKEN_GREATER);
        Add<operation::GreaterOrEqual>([](const KSValue& a, const KSValue& b) { return !IsLess(a, b); },
                                       TOKEN_GREATER_EQUAL);
        Add<operation::ShiftLeft>([](const KSValue& a, const KSValue& b) { return a << b; }, TOKEN_DBL_LESS,
                                  TOKEN_DBL_LESS_EQUAL);
        Add<operation::ShiftRight>([](const KSValue& a, const KSValue& b) { return a >> b; }, TOKEN_DBL_GREATER,
                                   TOKEN_DBL_GREATER_EQUAL);
        Add<operation::Add>([](const KSValue& a, const KSValue& b) { return a + b; }, TOKEN_PLUS, TOKEN_PLUS_EQUAL);
        Add<operation::Subtract>([](const KSValue& a, const KSValue& b) { return a - b; }, TOKEN_MINUS,
                                 TOKEN_MINUS_EQUAL);
        Add<operation::Multiply>([](const KSValue& a, const KSValue& b) { return a * b; }, TOKEN_ASTERISK,
                                 TOKEN_ASTERISK_EQUAL);
        Add<operation::Divide>([](const KSValue& a, const KSValue& b) { return a / b; }, TOKEN_FORWARD_SLASH,
                               TOKEN_SLASH_EQUAL);
        Add<operation::Remainder>([](const KSValue& a, const KSValue& b) { return a % b; }, TOKEN_PERCENT,
                                  TOKEN_PERCENT_EQUAL);
        Add<operation::Power>([](const KSValue& a, const KSValue& b) { return kelm::Power(a, b); }, TOKEN_DBL_CARET,
                              TOKEN_DBL_CARET_EQUAL);
        for (const PrefixOperator& row : s_prefixOperators)
            m_operations.m_prefix[IndexOfToken(row.m_token)] = m_isNatural ? ApplyNaturalPrefix : ApplyExactPrefix;
    }

    Operations m_operations;

private:
    // An operator, the function of script values that it is, and the assignments that combine by it.
    template <class Operation, class Function, class... Assignments>
    constexpr void Add(Function, EToken token, Assignments... assignments)
    {
        constexpr BinaryFunction natural = ApplyNatural<Operation, Function>;
        constexpr BinaryFunction exact = ApplyExact<Operation, Function>;
        for (const EToken t : {token, assignments...})
            m_operations.m_binary[IndexOfToken(t)] = m_isNatural ? natural : exact;
    }

    bool m_isNatural;
};

// All that the grammar knows.
[[maybe_unused]] constexpr bool IsWhole(const Operations& table)
{
    for (const OperatorSpelling& row : s_operatorSpellings)
    {
        const std::size_t i = IndexOfToken(row.m_token);
        const uint8 role = s_tokenRoles.m_roles[i];
        const bool isBinary = (role & ROLE_LEVEL) != 0 || ((role & ROLE_ASSIGNMENT) != 0 && row.m_token != TOKEN_EQUAL);
        if (isBinary != (table.m_binary[i] != nullptr) || ((role & ROLE_PREFIX) != 0) != (table.m_prefix[i] != nullptr))
            return false;
    }
    return true;
}

} // namespace

const Operations s_operations[2] = {Table(Language::Natural).m_operations, Table(Language::Exact).m_operations};
#ifndef __clang__ // which makes the members of the table too late to ask them here
static_assert(IsWhole(Table(Language::Natural).m_operations) && IsWhole(Table(Language::Exact).m_operations));
#endif

// --- Built-in functions ----------------------------------------------------------------------------------------------

bool ApplyBuiltIn(Language language, const BuiltIn& builtIn, Slot& a, Failure& failure)
{
    const bool isNatural = language == Language::Natural;
    if (!Load(a, failure))
        return false;
    if (builtIn.m_function != nullptr)
    {
        if (a.m_kind != Kind::Float && !(isNatural && a.m_kind == Kind::Integer))
            return FailConversion(failure, a, "float64");
        const float64 x = AsFloat(a);
        if (builtIn.m_argument == Argument::PositiveFloat && x <= 0.0)
            return Fail(failure, ErrorKind::Arithmetic,
                        std::string_view(MessageOf("Can't take ", builtIn.m_name, " of value ", x)));
        a.Set(builtIn.m_function(x));
        return true;
    }
    if (isNatural && builtIn.m_name == SubString("len") && (a.m_kind == Kind::Text || a.m_kind == Kind::Place))
    {
        std::size_t size = a.m_size;
        if (a.m_kind == Kind::Place && !GetLength(a, size, failure))
            return false;
        a.Release();
        a.Set(static_cast<int64>(size));
        return true;
    }
    if (a.m_kind == Kind::Place)
    {
        const SubString name = builtIn.m_name;
        if (name.size() > 3 && SubString(name.m_p1, name.m_p1 + 3) == SubString("is_"))
        {
            a.Release();
            a.Set(false);
            return true;
        }
        return FailConversion(failure, a, std::string(name.m_p1, name.m_p2).c_str());
    }
    return Guard(ErrorKind::Type, failure,
                 [&]
                 {
                     KSValue x = ToScript(a);
                     builtIn.m_apply(x);
                     FromScript(a, x);
                 });
}

} // namespace kelm::evaluation
