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
// `literal` by the construct's value. Tokens is a cursor such as text::ParserCursor; Names says what a name stands for
// that is no built-in one.

#include <klKelmScript/private/BuiltIns.h>
#include <klKelmScript/private/Operators.h>
#include <klUtils/LiteralException.h>
#include <klUtils/StackSegment.h>
#include <klUtils/text/private/Cursor.h>

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
    void EvaluateSafely(KSValue& literal)
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
        try
        {
            KSValue x;
            EvaluateExpression(x);
            if (x.is<void>())
                m_tokens.ThrowExpected("float64");
            return As<double>(x, allowExplicitConversions);
        }
        catch (const KSValueException& e)
        {
            Rethrow(e.m_description);
        }
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
            Nest([&] { EvaluateBranches(literal); });
    }

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
        do
        {
            const OperationInPlace apply = s_tokenRoles.m_apply[TokenRoles::IndexOf(kind)];
            const int operatorsLevel = LevelOf(kind);
            KSValue y;
            if (!NextPastNumber(y))
                EvaluateAnyOperand(y);
            FinishPostfix(y);
            kind = m_tokens.GetKind();
            if (LevelOf(kind) > operatorsLevel)
            {
                EvaluateOperators(y, operatorsLevel + 1);
                kind = m_tokens.GetKind();
            }
            if constexpr (Names::s_canBeReflected)
            {
                ShowTo(literal);
                ShowTo(y);
            }
            if (operatorsLevel == LEVEL_MULTIPLICATIVE)
                ShowBeforeFault(literal, y);
            apply(literal, y);
        } while (LevelOf(kind) >= level);
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
    // A primary or a prefix form. The commonest operands are looked for first.
    [[gnu::always_inline]] void EvaluateOperand(KSValue& literal)
    {
        if (m_tokens.Is(TOKEN_INTEGER))
            SetInteger(literal);
        else if (m_tokens.Is(TOKEN_FLOAT))
            SetFloat(literal);
        else
            return EvaluateAnyOperand(literal);
        m_tokens.NextInExpression();
    }

    // Goes to the next token, and past it where it is a number, which becomes the value: whether it was. Numbers
    // without a value, and those whose value takes longer to find, are left.
    [[gnu::always_inline]] bool NextPastNumber(KSValue& literal)
    {
        const auto take = [&](const text::ScannedNumber& number, SubString text) __attribute__((always_inline))
        {
            constexpr int32 maxDigits = std::numeric_limits<int64>::digits10;
            float64 value = 0.0;
            if (literal.is<ReflectedValue>())
                return false;
            if (number.m_kind == TOKEN_INTEGER && number.m_count <= maxDigits)
                KSValueAccess::Set(literal, static_cast<int64>(number.m_digits));
            else if (number.m_kind == TOKEN_FLOAT && text::ToFloating(number.GetNumber(), text, value))
                KSValueAccess::Set(literal, value);
            else
                return false;
            return true;
        };
        return m_tokens.NextPastNumber(take);
    }

    // Where a number has no value, what reads its token says why.
    [[gnu::always_inline]] void SetInteger(KSValue& literal)
    {
        uint64 value = 0;
        const bool isInRange = m_tokens.GetUnsigned(value) && value <= std::numeric_limits<int64>::max();
        Set(literal, isInRange ? static_cast<int64>(value) : m_tokens.GetToken().GetLiteralInt64());
    }
    [[gnu::always_inline]] void SetFloat(KSValue& literal)
    {
        float64 value = 0.0;
        Set(literal, m_tokens.GetFloat(value) ? value : m_tokens.GetToken().GetLiteralDouble());
    }
    void SetHexadecimal(KSValue& literal)
    {
        uint64 value = 0;
        Set(literal,
            m_tokens.GetUnsigned(value) ? static_cast<int64>(value) : m_tokens.GetToken().GetLiteralHexInt64());
    }

    // A malformed literal leaves the value as it is.
    void SetString(KSValue& literal)
    {
        xstring s;
        m_tokens.GetString(s);
        ShowTo(literal);
        KSValueAccess::SetString(literal, std::move(s));
    }

    void EvaluateAnyOperand(KSValue& literal);
    void EvaluateParentheses(KSValue& literal);

    // --- Prefix and postfix forms ------------------------------------------------------------------------------------

    void EvaluatePrefix(KSValue& literal);

    [[gnu::always_inline]] void FinishPostfix(KSValue& literal)
    {
        while (IsNow(ROLE_POSTFIX))
            [[unlikely]] Nest([&] { EvaluatePostfixForm(literal); });
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
    void EvaluateBuiltIn(KSValue& literal, const BuiltIn& builtIn);

    // --- What the above share ----------------------------------------------------------------------------------------

    bool IsNow(int role) const { return (RoleOf(m_tokens.GetKind()) & role) != 0; }
    int GetLevel() const { return LevelOf(m_tokens.GetKind()); }

    // Whatever nests passes here, so that the nesting is limited by memory alone.
    template <class F>
    static void Nest(F parse)
    {
        if (IsStackLow())
            CallOnFreshSegment(parse);
        else
            parse();
    }

    // Operations on a reflected value, its release among them, run foreign code, which may look at the parser.
    void ShowTo(const KSValue& v) const
    {
        if (v.is<ReflectedValue>()) [[unlikely]]
            m_tokens.Show();
    }

    // A division that the processor refuses runs a handler of the host, which may look at the parser. Whole-numbered
    // floats divide as integers do.
    void ShowBeforeFault(const KSValue& a, const KSValue& b) const
    {
        const bool isMinusOne = (b.is<int64>() && KSValueAccess::Get<int64>(b) == -1) ||
                                (b.is<float64>() && KSValueAccess::Get<float64>(b) == -1.0);
        if (isMinusOne && (a.is<int64>() || a.is<float64>())) [[unlikely]]
            m_tokens.Show();
    }

    template <class T>
    void Set(KSValue& literal, T x) const
    {
        ShowTo(literal);
        KSValueAccess::Set(literal, x);
    }

    [[noreturn, gnu::cold]] void Rethrow(const xstring& description) const
    {
        m_tokens.ThrowAtToken(xstring(description.c_str()));
    }

    [[noreturn, gnu::cold]] void ThrowUnexpected() const
    {
        m_tokens.Throw("Unexpected ", m_tokens.GetToken(), " after ", m_tokens.GetPreviousToken(m_tokens.GetParser()),
                       " in expression");
    }

    Tokens m_tokens;
    [[no_unique_address]] Names m_names;
};

} // namespace kelm

#include <klKelmScript/private/EvaluatorForms.h>
