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
// `literal` by the construct's value. Tokens is a cursor such as text::ExpressionCursor. Semantics says what the
// grammar is for: to apply every operation at once to script values (AtOnce), or to record them, so that they are
// applied later, often, and where a branch needs them.

#include <klKelmScript/private/BuiltIns.h>
#include <klKelmScript/private/Operators.h>
#include <klUtils/LiteralException.h>
#include <klUtils/StackSegment.h>
#include <klUtils/text/private/ExpressionCursor.h>

#include <limits>
#include <utility>

namespace kelm
{

// Operations are applied to script values where they stand, and there are no names but the built-in ones.
struct AtOnce
{
    using Operand = KSValue;
    using Access = KSValueAccess;
    static constexpr bool s_isRecording = false;
};

template <class Tokens, class Semantics>
class Evaluator
{
    static constexpr ConstStringZ s_sourceFile = "src/KSParser";
    static constexpr bool s_isRecording = Semantics::s_isRecording;
    using Operand = typename Semantics::Operand;
    using Access = typename Semantics::Access;
    friend Semantics;

public:
    template <class Source, class... Arguments>
    explicit Evaluator(Source& source, Arguments&&... semantics)
        : m_tokens(source), m_semantics(std::forward<Arguments>(semantics)...)
    {
    }

    Semantics& GetSemantics() { return m_semantics; }

    // --- Whole expressions -------------------------------------------------------------------------------------------

    // A malformed literal is a LiteralException here.
    [[gnu::always_inline]] void EvaluateExpression(Operand& literal)
    {
        EvaluateOperand(literal);
        if (!IsNow(ROLE_LEVEL))
            FinishPostfix(literal);
        FinishExpression(literal);
    }

    // And a LexScannerException, at the literal, here.
    [[gnu::always_inline]] void EvaluateSafely(Operand& literal)
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

    [[gnu::always_inline]] void EvaluateConditional(Operand& literal)
    {
        EvaluateUnary(literal);
        FinishConditional(literal);
    }

private:
    // The Finish functions take an expression on from its first operand, which is in `literal`.
    [[gnu::always_inline]] void FinishExpression(Operand& literal)
    {
        if (IsNow(ROLE_LEVEL))
            EvaluateOperators(literal, LEVEL_LOGICAL_OR);
        if (IsNow(ROLE_CONDITIONAL | ROLE_ASSIGNMENT)) [[unlikely]]
            FinishBranchesAndAssignments(literal);
    }
    [[gnu::noinline]] void FinishBranchesAndAssignments(Operand& literal)
    {
        FinishConditional(literal);
        if (IsNow(ROLE_ASSIGNMENT))
            EvaluateAssignments(literal);
    }

    [[gnu::always_inline]] void FinishConditional(Operand& literal)
    {
        if (IsNow(ROLE_LEVEL))
            EvaluateOperators(literal, LEVEL_LOGICAL_OR);
        if (m_tokens.Is(TOKEN_QUESTION)) [[unlikely]]
            Nest(&Evaluator::EvaluateBranches, literal);
    }

    // The expression behind the current token, as EvaluateExpression and EvaluateSafely have it.
    void EvaluateNextExpression(Operand& literal);
    void EvaluateNextSafely(Operand& literal);

    template <class F>
    float64 ToFloat(F evaluate, bool allowExplicitConversions);

    void EvaluateAssignments(Operand& literal) requires(!Semantics::s_isRecording);
    void EvaluateAssignments(Operand& literal) requires(Semantics::s_isRecording)
    {
        m_semantics.Assign(*this, literal);
    }
    void EvaluateBranches(Operand& literal);

    // --- The binary levels -------------------------------------------------------------------------------------------

public:
    // The operators of a level and of those above it.
    void EvaluateBinary(Operand& literal, int level)
    {
        EvaluateUnary(literal);
        if (GetLevel() >= level)
            EvaluateOperators(literal, level);
    }

private:
    // The loop of all binary levels (precedence climbing; M. Richards, C. Whitby-Strevens, "BCPL: the language and its
    // compiler", 1979): all operators of `level` or above behind an operand. One that binds tighter than the last takes
    // that one's right operand first.
    void EvaluateOperators(Operand& literal, int level)
    {
        EToken kind = m_tokens.GetKind();
        int role = RoleOf(kind);
        do
        {
            const auto apply = BeginOperation(literal, kind);
            const int operatorsLevel = role & ROLE_LEVEL;
            Operand y;
            EvaluateNextOperand<true>(y);
            kind = m_tokens.GetKind();
            role = RoleOf(kind);
            if ((role & ROLE_LEVEL) > operatorsLevel)
            {
                EvaluateOperators(y, operatorsLevel + 1);
                kind = m_tokens.GetKind();
                role = RoleOf(kind);
            }
            if constexpr (s_isRecording)
                m_semantics.EndOperator(apply, literal, y);
            else
                apply(literal, y, m_tokens);
        } while ((role & ROLE_LEVEL) >= level);
    }

    // What the operator at the cursor applies; recorded, what is to be known when its right operand has been read.
    [[gnu::always_inline]] auto BeginOperation([[maybe_unused]] Operand& left, EToken kind)
    {
        if constexpr (s_isRecording)
            return m_semantics.BeginOperator(m_tokens, left, kind);
        else
            return s_operations<Tokens>.m_apply[IndexOf(kind)];
    }

    // --- Operands ----------------------------------------------------------------------------------------------------

public:
    // An operand with its prefix operators and postfix forms.
    [[gnu::always_inline]] void EvaluateUnary(Operand& literal)
    {
        EvaluateOperand(literal);
        FinishPostfix(literal);
    }

    void EvaluatePostfix(Operand& literal)
    {
        EvaluatePrimary(literal);
        FinishPostfix(literal);
    }

    void EvaluatePrimary(Operand& literal)
    {
        for (const PrefixOperator& row : s_prefixOperators)
            if (m_tokens.Is(row.m_token))
                ThrowUnexpected();
        EvaluateOperand(literal);
    }

private:
    // A primary or a prefix form. Numbers are the commonest.
    [[gnu::always_inline]] void EvaluateOperand(Operand& literal)
    {
        if (m_tokens.IsFirstShortInteger()) [[likely]]
            Set(literal, m_tokens.GetFirstShortInteger());
        else
        {
            if (!m_tokens.IsLiteral())
                return EvaluateAnyOperand(literal);
            m_tokens.TakeValue();
            if (!IsNumber(m_tokens.GetKind()))
                return EvaluateAnyOperand(literal);
            SetNumber(literal);
        }
        m_tokens.NextBehindOperand();
    }

    // The operand behind the current token, with its prefix operators and postfix forms.
    template <bool IsVoid = false>
    [[gnu::always_inline]] void EvaluateNextOperand(Operand& literal)
    {
        if (!NextPastConstant<IsVoid>(literal))
            EvaluateAnyOperand(literal);
        FinishPostfix(literal);
    }

    // Goes to the next token, and past it where it is a number, true or false, which becomes the value: whether it was.
    // Numbers without a value are left, and those for which a value would have to be released.
    template <bool IsVoid = false>
    [[gnu::always_inline]] bool NextPastConstant(Operand& literal)
    {
        const auto take = [&](const text::ScannedNumber& number, SubString text) __attribute__((always_inline))
        {
            constexpr int32 maxDigits = std::numeric_limits<int64>::digits10;
            float64 value = 0.0;
            if (!IsVoid && Access::OwnsMemory(literal)) [[unlikely]]
                return false;
            if (number.m_kind == TOKEN_INTEGER && number.m_count <= maxDigits)
                Access::Construct(literal, static_cast<int64>(number.m_digits));
            else if (number.m_kind == TOKEN_FLOAT && text::ToFloating(number.GetNumber(), text, value))
                Access::Construct(literal, value);
            else if (number.m_kind == TOKEN_HEX_INTEGER && number.m_count <= text::Number::s_maxHexDigits)
                Access::Construct(literal, static_cast<int64>(number.m_digits));
            else
                return false;
            return true;
        };
        const auto takeName = [&]([[maybe_unused]] const char* start) __attribute__((always_inline))
        {
            if constexpr (s_isRecording)
                return false;
            else
                return (*start == 't' || *start == 'f') && (IsVoid || !Access::OwnsMemory(literal)) &&
                       TryPassConstant(start, literal);
        };
        return m_tokens.NextPastConstant(take, takeName);
    }
    bool TryPassConstant(const char* start, Operand& literal);
    bool PassConstant(const char* start, const char* past, Operand& literal, bool constant);

    static constexpr bool IsNumber(EToken kind) { return TOKEN_INTEGER <= kind && kind <= TOKEN_FLOAT; }

    // Where a number has no value, what reads its token says why.
    [[gnu::always_inline]] void SetNumber(Operand& literal)
    {
        uint64 digits = 0;
        float64 value = 0.0;
        if (m_tokens.IsShortInteger()) [[likely]]
            Set(literal, m_tokens.GetShortInteger());
        else if (m_tokens.Is(TOKEN_INTEGER))
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

    void EvaluateAnyOperand(Operand& literal);
    void EvaluateNumber(Operand& literal);
    void EvaluateString(Operand& literal) requires(!Semantics::s_isRecording);
    void EvaluateString(Operand& literal) requires(Semantics::s_isRecording) { m_semantics.SetText(*this, literal); }
    void EvaluateParentheses(Operand& literal);

    // --- Prefix and postfix forms ------------------------------------------------------------------------------------

    void EvaluatePrefix(Operand& literal);
    [[gnu::always_inline]] void EvaluatePrefixes(Operand& literal, uint8 first);
    void EvaluateNestedPrefixes(Operand& literal, uint8 first);
    void RecordPrefix(Operand& literal) { m_semantics.Prefix(*this, literal); }

    [[gnu::always_inline]] void FinishPostfix(Operand& literal)
    {
        while (IsNow(ROLE_POSTFIX))
            [[unlikely]] Nest(&Evaluator::EvaluatePostfixForm, literal);
    }

    void EvaluatePostfixForm(Operand& literal);
    void EvaluateCall(Operand& literal) requires(!Semantics::s_isRecording);
    void EvaluateCall(Operand& literal) requires(Semantics::s_isRecording) { m_semantics.Call(*this, literal); }
    void EvaluateSubscript(Operand& literal) requires(!Semantics::s_isRecording);
    void EvaluateSubscript(Operand& literal) requires(Semantics::s_isRecording)
    {
        m_semantics.Subscript(*this, literal);
    }
    void EvaluateMember(Operand& literal) requires(!Semantics::s_isRecording);
    void EvaluateMember(Operand& literal) requires(Semantics::s_isRecording) { m_semantics.Member(*this, literal); }

    // --- Names -------------------------------------------------------------------------------------------------------

public:
    void EvaluateName(Operand& literal) requires(!Semantics::s_isRecording);
    void EvaluateName(Operand& literal) requires(Semantics::s_isRecording) { m_semantics.Name(*this, literal); }

    void EvaluateInBrackets(Operand& literal);
    float64 EvaluateFloatInBrackets();

private:
    void EvaluateFunction(Operand& literal, SubString name);
    void EvaluateCallOf(Operand& literal, const BuiltIn& builtIn);

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
        if (MayStackBeLow()) [[unlikely]]
            return NestDeep(evaluate, arguments...);
        (this->*evaluate)(arguments...);
    }
    template <class... Arguments>
    [[gnu::noinline, gnu::cold]] void NestDeep(void (Evaluator::*evaluate)(Arguments...),
                                               std::type_identity_t<Arguments>... arguments)
    {
        if (!IsStackLow())
            return (this->*evaluate)(arguments...);
        CallOnFreshSegment([&] { (this->*evaluate)(arguments...); });
    }

    // Operations on a reflected value, its release among them, run foreign code, which may look at the parser.
    void ShowTo(const Operand& v) const
    {
        if (Access::IsReflected(v)) [[unlikely]]
            m_tokens.Show();
    }

    template <class T>
    [[gnu::always_inline]] void Set(Operand& literal, T x) const
    {
        if (Access::OwnsMemory(literal)) [[unlikely]]
        {
            ShowTo(literal);
            Access::SetVoid(literal);
        }
        Access::Construct(literal, x);
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
    [[no_unique_address]] Semantics m_semantics;
};

} // namespace kelm

#include <klKelmScript/private/EvaluatorForms.h>
