#pragma once

// The forms of expressions that Evaluator.h declares, which includes this: assignments and conditionals, operands other
// than numbers, prefix and postfix forms, names.

#include <klKelmScript/private/Evaluator.h>

namespace kelm
{

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateNextExpression(Operand& literal)
{
    EvaluateNextOperand(literal);
    FinishExpression(literal);
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateNextSafely(Operand& literal)
{
    try
    {
        EvaluateNextOperand(literal);
        FinishExpression(literal);
    }
    catch (const LiteralException& e)
    {
        Rethrow(e.m_description);
    }
}

template <class Tokens, class Semantics>
template <class F>
float64 Evaluator<Tokens, Semantics>::ToFloat(F evaluate, bool allowExplicitConversions)
{
    try
    {
        KSValue x;
        evaluate(x);
        if (x.is<float64>()) [[likely]]
            return KSValueAccess::Get<float64>(x);
        if (x.is<void>())
            m_tokens.ThrowExpected("float64"); // GCOVR_EXCL_LINE: no text of the language has such a value
        return As<double>(x, allowExplicitConversions);
    }
    catch (const KSValueException& e)
    {
        Rethrow(e.m_description);
    }
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateAssignments(Operand& literal) requires(!Semantics::s_isRecording)
{
    do
    {
        const EToken token = m_tokens.GetKind();
        KSValue y;
        EvaluateNextOperand(y);
        FinishConditional(y);
        // Neither this nor the check below can fail while the tables and SetVoid are right.
        if ((RoleOf(token) & ROLE_ASSIGNMENT) == 0)         // GCOVR_EXCL_BR_LINE: it cannot fail
            ThrowKelmAssertionError("0", s_sourceFile, 95); // GCOVR_EXCL_LINE: it cannot fail
        if (const BinaryOperation combine = s_tokenRoles.m_combine[IndexOf(token)])
        {
            ShowBeforeFault(literal, y, m_tokens);
            combine(y, literal, y);
        }
        Assign(literal, y);
        // GCOVR_EXCL_START: no value can be assigned to so far
        KSValueAccess::SetVoid(literal);
        if (literal.GetTag() != KSV_VOID)
            ThrowKelmAssertionError("literal.is<void>()", s_sourceFile, 103);
    } while (IsNow(ROLE_ASSIGNMENT));
    // GCOVR_EXCL_STOP
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateBranches(Operand& literal)
{
    if constexpr (s_isRecording)
        m_semantics.Branch(*this, literal);
    else
    {
        KSValue e1;
        EvaluateNextSafely(e1);
        if (!m_tokens.Is(TOKEN_COLON)) [[unlikely]]
            m_tokens.ThrowExpected(":");
        KSValue e2;
        EvaluateNextOperand(e2);
        FinishConditional(e2);
        const bool isFirst = literal.template is<bool>() ? KSValueAccess::Get<bool>(literal) : As<bool>(literal, false);
        literal = std::move(isFirst ? e1 : e2);
    }
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateAnyOperand(Operand& literal)
{
    switch (static_cast<int>(m_tokens.GetKind()))
    {
    case TOKEN_INTEGER:
    case TOKEN_HEX_INTEGER:
    case TOKEN_FLOAT: return EvaluateNumber(literal);
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING: return EvaluateString(literal);
    case TOKEN_IDENTIFIER: return EvaluateName(literal);
    case TOKEN_LEFT_PAREN: return Nest(&Evaluator::EvaluateParentheses, literal);
    case TOKEN_PLUS:
    case TOKEN_MINUS:
    case TOKEN_TILDE:
    case TOKEN_EXCLAM: return EvaluatePrefix(literal);
    default: ThrowUnexpected();
    }
}

template <class Tokens, class Semantics>
[[gnu::noinline]] void Evaluator<Tokens, Semantics>::EvaluateNumber(Operand& literal)
{
    SetNumber(literal);
    m_tokens.NextBehindOperand();
}

// A malformed literal leaves the value as it is.
template <class Tokens, class Semantics>
[[gnu::noinline]] void Evaluator<Tokens, Semantics>::EvaluateString(Operand& literal) requires(
    !Semantics::s_isRecording)
{
    if (m_tokens.IsVerbatim() && !KSValueAccess::OwnsMemory(literal)) [[likely]]
        KSValueAccess::ConstructString(literal, m_tokens.GetContents());
    else
    {
        xstring s;
        m_tokens.GetString(s);
        ShowTo(literal);
        KSValueAccess::SetString(literal, std::move(s));
    }
    m_tokens.NextBehindOperand();
}

// Parentheses that open one behind the other are counted, not recursed into: what the innermost one encloses
// becomes the first operand of the expression around it.
template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateParentheses(Operand& literal)
{
    int64 depth = 0;
    bool isPast = false;
    do
    {
        ++depth;
        isPast = NextPastConstant(literal);
    } while (!isPast && m_tokens.Is(TOKEN_LEFT_PAREN));
    try
    {
        if (!isPast)
            EvaluateAnyOperand(literal);
        FinishPostfix(literal);
        while (true)
        {
            FinishExpression(literal);
            m_tokens.PassBehindOperand(TOKEN_RIGHT_PAREN, ")");
            if (--depth == 0)
                return;
            FinishPostfix(literal);
        }
    }
    catch (const LiteralException& e)
    {
        Rethrow(e.m_description);
    }
}

// Most often there is one, and a constant behind it, of which no postfix form makes anything.
template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluatePrefix(Operand& literal)
{
    if constexpr (s_isRecording)
        Nest(&Evaluator::RecordPrefix, literal);
    else
    {
        const uint8 op = s_tokenRoles.m_prefix[IndexOf(m_tokens.GetKind())];
        if (!NextPastConstant(literal)) [[unlikely]]
        {
            if (MayStackBeLow()) [[unlikely]]
                return NestDeep(&Evaluator::EvaluateNestedPrefixes, literal, op);
            return EvaluatePrefixes(literal, op);
        }
        FinishPostfix(literal);
        s_prefixOperators[op].m_apply(literal);
    }
}

// Those that stand one behind the other, `first` before the current token, are not recursed into until they are many:
// two bits remember each, the innermost in the lowest.
template <class Tokens, class Semantics>
inline void Evaluator<Tokens, Semantics>::EvaluatePrefixes(Operand& literal, uint8 first)
{
    static_assert(std::size(s_prefixOperators) == 4);
    constexpr uint64 none = 1;
    constexpr uint64 full = uint64(1) << 62;
    uint64 operators = none << 2 | first;
    bool isPast = false;
    while (!isPast && IsNow(ROLE_PREFIX) && operators < full)
    {
        operators = operators << 2 | s_tokenRoles.m_prefix[IndexOf(m_tokens.GetKind())];
        isPast = NextPastConstant(literal);
    }
    if (!isPast)
        EvaluateAnyOperand(literal);
    FinishPostfix(literal);
    for (; operators != none; operators >>= 2)
    {
        ShowTo(literal);
        s_prefixOperators[operators & 3].m_apply(literal);
    }
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateNestedPrefixes(Operand& literal, uint8 first)
{
    EvaluatePrefixes(literal, first);
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluatePostfixForm(Operand& literal)
{
    if (m_tokens.Is(TOKEN_LEFT_PAREN))
        EvaluateCall(literal);
    else if (m_tokens.Is(TOKEN_LEFT_SQUARE))
        EvaluateSubscript(literal);
    else
        EvaluateMember(literal);
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateCall(Operand& literal) requires(!Semantics::s_isRecording)
{
    m_tokens.Next();
    xvector<KSValue> arguments;
    while (!m_tokens.Is(TOKEN_RIGHT_PAREN))
    {
        EvaluateSafely(arguments.emplace_back());
        if (m_tokens.Is(TOKEN_COMMA))
            m_tokens.Next(); // a trailing comma is accepted
        else if (!m_tokens.Is(TOKEN_RIGHT_PAREN))
            ThrowUnexpected();
    }
    ApplyFunction(literal, arguments);
    m_tokens.Next(); // GCOVR_EXCL_LINE: no value can be called so far
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateSubscript(Operand& literal) requires(!Semantics::s_isRecording)
{
    KSValue index;
    EvaluateNextSafely(index);
    ApplySubscript(literal, index);         // before the bracket is looked for: a failing subscript is reported first
    m_tokens.Pass(TOKEN_RIGHT_SQUARE, "]"); // GCOVR_EXCL_LINE: every subscript fails so far
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateMember(Operand& literal) requires(!Semantics::s_isRecording)
{
    m_tokens.Next();
    if (!m_tokens.Is(TOKEN_IDENTIFIER))
        m_tokens.ThrowExpected("identifier");
    const xstring name(m_tokens.GetText());
    ApplyDot(literal, name);
    m_tokens.Next(); // GCOVR_EXCL_LINE: no value has members so far
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateName(Operand& literal) requires(!Semantics::s_isRecording)
{
    if (!m_tokens.Is(TOKEN_IDENTIFIER))
        ThrowKelmAssertionError("m_token == TOKEN_IDENTIFIER", s_sourceFile, 527);
    const SubString name = m_tokens.GetText();
    bool constant = false;
    if (FindConstant(name.m_p1, name.m_p2, constant) == nullptr)
        return EvaluateFunction(literal, name);
    m_tokens.NextBehindOperand();
    Set(literal, constant);
}

template <class Tokens, class Semantics>
[[gnu::noinline]] void Evaluator<Tokens, Semantics>::EvaluateFunction(Operand& literal, SubString name)
{
    const BuiltIn* const builtIn = FindBuiltIn(name);
    if (builtIn == nullptr)
        ThrowUnexpected();
    Nest(&Evaluator::EvaluateCallOf, literal, *builtIn);
}

// At the name that begins there and is not the current token yet: whether it is that of a constant, and has been
// passed.
template <class Tokens, class Semantics>
[[gnu::noinline]] bool Evaluator<Tokens, Semantics>::TryPassConstant(const char* start, Operand& literal)
{
    bool constant = false;
    const char* const past = FindConstant(start, m_tokens.GetEnd(), constant);
    if (past == nullptr)
        return false;
    const auto set = [&]() __attribute__((always_inline))
    {
        Access::Construct(literal, constant);
    };
    return m_tokens.TryGoBehind(TOKEN_IDENTIFIER, start, past, set) || PassConstant(start, past, literal, constant);
}

// What follows may not be a token: the value is stored behind it.
template <class Tokens, class Semantics>
[[gnu::noinline]] bool Evaluator<Tokens, Semantics>::PassConstant(const char* start, const char* past, Operand& literal,
                                                                  bool constant)
{
    m_tokens.GoBehind(TOKEN_IDENTIFIER, start, past);
    Access::Construct(literal, constant);
    return true;
}

// The current token is dropped; then "(", an expression, ")".
template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateInBrackets(Operand& literal)
{
    NextToBracket();
    EvaluateParentheses(literal);
}

template <class Tokens, class Semantics>
float64 Evaluator<Tokens, Semantics>::EvaluateFloatInBrackets()
{
    NextToBracket();
    const auto evaluate = [this](KSValue& x) { EvaluateNextExpression(x); };
    const float64 x = ToFloat(evaluate, false);
    m_tokens.PassBehindOperand(TOKEN_RIGHT_PAREN, ")");
    return x;
}

template <class Tokens, class Semantics>
void Evaluator<Tokens, Semantics>::EvaluateCallOf(Operand& literal, const BuiltIn& builtIn)
{
    if (builtIn.m_argument == Argument::Any)
    {
        EvaluateInBrackets(literal);
        ShowTo(literal);
        return builtIn.m_apply(literal);
    }
    const float64 x = EvaluateFloatInBrackets();
    if (builtIn.m_argument == Argument::PositiveFloat && x <= 0.0)
        m_tokens.Throw("Can't take ", builtIn.m_name, " of value ", x);
    Set(literal, builtIn.m_function(x));
}

} // namespace kelm
