#pragma once

// The evaluator of expressions: one pass over the tokens, without a tree. In the order of the file: whole expressions,
// the binary levels (one table and one loop), operands, forms, names. What is not inlined is in EvaluatorForms.h.
//
//     expression     := conditional { assignment-token conditional }
//     conditional    := binary [ "?" expression ":" conditional ]
//     binary         := unary { binary-operator unary }            by precedence, to the left
//     unary          := ( "+" | "-" | "~" | "!" ) unary | postfix
//     postfix        := primary { "(" [ arguments ] ")" | "[" expression "]" | "." identifier }
//     primary        := number | string | "(" expression ")" | name
//
// Every function takes the cursor from the first token of its construct to the first one behind it, and replaces
// `literal` by the construct's value. Tokens is a cursor such as text::ExpressionCursor; Names says what a name stands
// for that is no built-in one.

#include <klKelmScript/private/BuiltIns.h>
#include <klKelmScript/private/Operators.h>
#include <klUtils/LiteralException.h>
#include <klUtils/StackSegment.h>
#include <klUtils/text/private/ExpressionCursor.h>

#include <limits>
#include <utility>

namespace kelm
{

// No names but the built-in ones.
struct NoNames
{
    static constexpr bool s_canBeReflected = false; // whether a name can stand for a reflected value
    static constexpr bool TryGet(SubString, KSValue&) { return false; }
};

template <class Tokens, class Names>
class Evaluator
{
    static constexpr ConstStringZ s_sourceFile = "src/KSParser";

public:
    template <class Source>
    explicit Evaluator(Source& source) : m_tokens(source)
    {
    }

    // --- Whole expressions -------------------------------------------------------------------------------------------

    // A malformed literal is a LiteralException here.
    [[gnu::always_inline]] void EvaluateExpression(KSValue& literal)
    {
        EvaluateUnary(literal);
        FinishExpression(literal);
    }

    // And a LexScannerException, at the literal, here.
    [[gnu::always_inline]] void EvaluateSafely(KSValue& literal)
    {
        try
        {
            EvaluateExpression(literal);
        }
        catch (const LiteralException& e)
        {
            Rethrow(e.m_description);
        }
    }

    // A KSValueException is a LexScannerException here.
    float64 EvaluateFloat(bool allowExplicitConversions)
    {
        const auto evaluate = [this](KSValue& x) { EvaluateExpression(x); };
        return ToFloat(evaluate, allowExplicitConversions);
    }

    [[gnu::always_inline]] void EvaluateConditional(KSValue& literal)
    {
        EvaluateUnary(literal);
        FinishConditional(literal);
    }

private:
    // The Finish functions take an expression on from its first operand, which is in `literal`.
    [[gnu::always_inline]] void FinishExpression(KSValue& literal)
    {
        if (!IsNow(ROLE_BEHIND_OPERAND))
            return;
        FinishConditional(literal);
        if (IsNow(ROLE_ASSIGNMENT)) [[unlikely]]
            EvaluateAssignments(literal);
    }

    [[gnu::always_inline]] void FinishConditional(KSValue& literal)
    {
        if (IsNow(ROLE_LEVEL))
            EvaluateOperators(literal, LEVEL_LOGICAL_OR);
        if (m_tokens.Is(TOKEN_QUESTION)) [[unlikely]]
            Nest(&Evaluator::EvaluateBranches, literal);
    }

    // The expression behind the current token, as EvaluateExpression and EvaluateSafely have it.
    void EvaluateNextExpression(KSValue& literal);
    void EvaluateNextSafely(KSValue& literal);

    template <class F>
    float64 ToFloat(F evaluate, bool allowExplicitConversions);

    void EvaluateAssignments(KSValue& literal);
    void EvaluateBranches(KSValue& literal);

    // --- The binary levels -------------------------------------------------------------------------------------------

public:
    // The operators of a level and of those above it.
    void EvaluateBinary(KSValue& literal, int level)
    {
        EvaluateUnary(literal);
        if (GetLevel() >= level)
            EvaluateOperators(literal, level);
    }

private:
    // The loop of all binary levels (precedence climbing; M. Richards, C. Whitby-Strevens, "BCPL: the language and its
    // compiler", 1979): all operators of `level` or above behind an operand. One that binds tighter than the last takes
    // that one's right operand first.
    void EvaluateOperators(KSValue& literal, int level)
    {
        EToken kind = m_tokens.GetKind();
        int role = RoleOf(kind);
        do
        {
            const OperationInPlace<Tokens> apply = s_operations<Tokens>.m_apply[IndexOf(kind)];
            const int operatorsLevel = role & ROLE_LEVEL;
            KSValue y;
            EvaluateNextOperand<true>(y);
            kind = m_tokens.GetKind();
            role = RoleOf(kind);
            if ((role & ROLE_LEVEL) > operatorsLevel)
            {
                EvaluateOperators(y, operatorsLevel + 1);
                kind = m_tokens.GetKind();
                role = RoleOf(kind);
            }
            if constexpr (Names::s_canBeReflected)
            {
                ShowTo(literal);
                ShowTo(y);
            }
            apply(literal, y, m_tokens);
        } while ((role & ROLE_LEVEL) >= level);
    }

    // --- Operands ----------------------------------------------------------------------------------------------------

public:
    // An operand with its prefix operators and postfix forms.
    [[gnu::always_inline]] void EvaluateUnary(KSValue& literal)
    {
        EvaluateOperand(literal);
        FinishPostfix(literal);
    }

    void EvaluatePostfix(KSValue& literal)
    {
        EvaluatePrimary(literal);
        FinishPostfix(literal);
    }

    void EvaluatePrimary(KSValue& literal)
    {
        for (const PrefixOperator& row : s_prefixOperators)
            if (m_tokens.Is(row.m_token))
                ThrowUnexpected();
        EvaluateOperand(literal);
    }

private:
    // A primary or a prefix form. Numbers are the commonest.
    [[gnu::always_inline]] void EvaluateOperand(KSValue& literal)
    {
        if (!IsNumber(m_tokens.GetKind()))
            return EvaluateAnyOperand(literal);
        SetNumber(literal);
        m_tokens.NextBehindOperand();
    }

    // The operand behind the current token, with its prefix operators and postfix forms.
    template <bool IsVoid = false>
    [[gnu::always_inline]] void EvaluateNextOperand(KSValue& literal)
    {
        if (!NextPastNumber<IsVoid>(literal))
            EvaluateAnyOperand(literal);
        FinishPostfix(literal);
    }

    // Goes to the next token, and past it where it is a number, which becomes the value: whether it was. Numbers
    // without a value are left, and those for which a value would have to be released.
    template <bool IsVoid = false>
    [[gnu::always_inline]] bool NextPastNumber(KSValue& literal)
    {
        const auto take = [&](const text::ScannedNumber& number, SubString text) __attribute__((always_inline))
        {
            constexpr int32 maxDigits = std::numeric_limits<int64>::digits10;
            float64 value = 0.0;
            if (!IsVoid && KSValueAccess::OwnsMemory(literal)) [[unlikely]]
                return false;
            if (number.m_kind == TOKEN_INTEGER && number.m_count <= maxDigits)
                KSValueAccess::Construct(literal, static_cast<int64>(number.m_digits));
            else if (number.m_kind == TOKEN_FLOAT && text::ToFloating(number.GetNumber(), text, value))
                KSValueAccess::Construct(literal, value);
            else if (number.m_kind == TOKEN_HEX_INTEGER && number.m_count <= text::Number::s_maxHexDigits)
                KSValueAccess::Construct(literal, static_cast<int64>(number.m_digits));
            else
                return false;
            return true;
        };
        return m_tokens.NextPastNumber(take);
    }

    static constexpr bool IsNumber(EToken kind) { return TOKEN_INTEGER <= kind && kind <= TOKEN_FLOAT; }

    // Where a number has no value, what reads its token says why.
    [[gnu::always_inline]] void SetNumber(KSValue& literal)
    {
        uint64 digits = 0;
        float64 value = 0.0;
        if (m_tokens.Is(TOKEN_INTEGER))
        {
            const bool isInRange = m_tokens.GetUnsigned(digits) && digits <= std::numeric_limits<int64>::max();
            Set(literal, isInRange ? static_cast<int64>(digits) : m_tokens.GetToken().GetLiteralInt64());
        }
        else if (m_tokens.Is(TOKEN_FLOAT))
            Set(literal, m_tokens.GetFloat(value) ? value : m_tokens.GetToken().GetLiteralDouble());
        else
            Set(literal,
                m_tokens.GetUnsigned(digits) ? static_cast<int64>(digits) : m_tokens.GetToken().GetLiteralHexInt64());
    }

    void EvaluateAnyOperand(KSValue& literal);
    void EvaluateNumber(KSValue& literal);
    void EvaluateString(KSValue& literal);
    void EvaluateParentheses(KSValue& literal);

    // --- Prefix and postfix forms ------------------------------------------------------------------------------------

    void EvaluatePrefix(KSValue& literal);

    [[gnu::always_inline]] void FinishPostfix(KSValue& literal)
    {
        while (IsNow(ROLE_POSTFIX))
            [[unlikely]] Nest(&Evaluator::EvaluatePostfixForm, literal);
    }

    void EvaluatePostfixForm(KSValue& literal);
    void EvaluateCall(KSValue& literal);
    void EvaluateSubscript(KSValue& literal);
    void EvaluateMember(KSValue& literal);

    // --- Names -------------------------------------------------------------------------------------------------------

public:
    void EvaluateName(KSValue& literal);

    void EvaluateInBrackets(KSValue& literal);
    float64 EvaluateFloatInBrackets();

private:
    void EvaluateCallOf(KSValue& literal, const BuiltIn& builtIn);

    void NextToBracket()
    {
        m_tokens.Next();
        if (!m_tokens.Is(TOKEN_LEFT_PAREN)) [[unlikely]]
            m_tokens.ThrowExpected("(");
    }

    // --- What the above share ----------------------------------------------------------------------------------------

    bool IsNow(int role) const { return (RoleOf(m_tokens.GetKind()) & role) != 0; }
    int GetLevel() const { return LevelOf(m_tokens.GetKind()); }

    // Whatever nests passes here, so that the nesting is limited by memory alone.
    template <class... Arguments>
    [[gnu::always_inline]] void Nest(void (Evaluator::*evaluate)(Arguments...),
                                     std::type_identity_t<Arguments>... arguments)
    {
        if (IsStackLow()) [[unlikely]]
            return NestDeep(evaluate, arguments...);
        (this->*evaluate)(arguments...);
    }
    template <class... Arguments>
    [[gnu::noinline, gnu::cold]] void NestDeep(void (Evaluator::*evaluate)(Arguments...),
                                               std::type_identity_t<Arguments>... arguments)
    {
        CallOnFreshSegment([&] { (this->*evaluate)(arguments...); });
    }

    // Operations on a reflected value, its release among them, run foreign code, which may look at the parser.
    void ShowTo(const KSValue& v) const
    {
        if (v.is<ReflectedValue>()) [[unlikely]]
            m_tokens.Show();
    }

    template <class T>
    [[gnu::always_inline]] void Set(KSValue& literal, T x) const
    {
        if (KSValueAccess::OwnsMemory(literal)) [[unlikely]]
        {
            ShowTo(literal);
            KSValueAccess::SetVoid(literal);
        }
        KSValueAccess::Construct(literal, x);
    }

    [[noreturn, gnu::cold]] void Rethrow(const xstring& description) const
    {
        m_tokens.ThrowAtToken(xstring(description.c_str()));
    }

    [[noreturn, gnu::cold]] void ThrowUnexpected() const
    {
        m_tokens.Throw("Unexpected ", m_tokens.GetToken(), " after ", m_tokens.GetPreviousToken(), " in expression");
    }

    Tokens m_tokens;
    [[no_unique_address]] Names m_names;
};

} // namespace kelm

#include <klKelmScript/private/EvaluatorForms.h>
