#pragma once

// The forms of expressions that Evaluator.h declares, which includes this: assignments and conditionals, operands other
// than numbers, prefix and postfix forms, names.

#include <klKelmScript/private/Evaluator.h>

namespace kelm
{

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateAssignments(KSValue& literal)
{
    do
    {
        const EToken token = m_tokens.GetKind();
        m_tokens.Next();
        KSValue y;
        EvaluateConditional(y);
        // Neither this nor the check below can fail while the tables and SetVoid are right.
        if ((RoleOf(token) & ROLE_ASSIGNMENT) == 0)
            ThrowKelmAssertionError("0", s_sourceFile, 95);
        if (const BinaryOperation combine = s_tokenRoles.m_combine[TokenRoles::IndexOf(token)])
        {
            ShowBeforeFault(literal, y);
            combine(y, literal, y);
        }
        Assign(literal, y);
        KSValueAccess::SetVoid(literal);
        if (!literal.is<void>())
            ThrowKelmAssertionError("literal.is<void>()", s_sourceFile, 103);
    } while (IsNow(ROLE_ASSIGNMENT));
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateBranches(KSValue& literal)
{
    m_tokens.Next();
    KSValue e1;
    EvaluateSafely(e1);
    m_tokens.Pass(TOKEN_COLON, ":");
    KSValue e2;
    EvaluateConditional(e2);
    literal = std::move(As<bool>(literal, false) ? e1 : e2);
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateAnyOperand(KSValue& literal)
{
    switch (static_cast<int>(m_tokens.GetKind()))
    {
    case TOKEN_INTEGER: SetInteger(literal); break;
    case TOKEN_FLOAT: SetFloat(literal); break;
    case TOKEN_HEX_INTEGER: SetHexadecimal(literal); break;
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING: SetString(literal); break;
    case TOKEN_IDENTIFIER: return Nest([&] { EvaluateName(literal); });
    case TOKEN_LEFT_PAREN: return Nest([&] { EvaluateParentheses(literal); });
    case TOKEN_PLUS:
    case TOKEN_MINUS:
    case TOKEN_TILDE:
    case TOKEN_EXCLAM: return Nest([&] { EvaluatePrefix(literal); });
    default: ThrowUnexpected();
    }
    m_tokens.Next();
}

// Parentheses that open one behind the other are counted, not recursed into: what the innermost one encloses
// becomes the first operand of the expression around it.
template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateParentheses(KSValue& literal)
{
    int64 depth = 0;
    bool isNumber = false;
    do
    {
        ++depth;
        isNumber = NextPastNumber(literal);
    } while (!isNumber && m_tokens.Is(TOKEN_LEFT_PAREN));
    try
    {
        if (!isNumber)
            EvaluateAnyOperand(literal);
        FinishPostfix(literal);
        while (true)
        {
            FinishExpression(literal);
            m_tokens.Pass(TOKEN_RIGHT_PAREN, ")");
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

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluatePrefix(KSValue& literal)
{
    const auto apply = s_tokenRoles.m_applyPrefix[TokenRoles::IndexOf(m_tokens.GetKind())];
    m_tokens.Next();
    EvaluateUnary(literal);
    ShowTo(literal);
    apply(literal);
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluatePostfixForm(KSValue& literal)
{
    if (m_tokens.Is(TOKEN_LEFT_PAREN))
        EvaluateCall(literal);
    else if (m_tokens.Is(TOKEN_LEFT_SQUARE))
        EvaluateSubscript(literal);
    else
        EvaluateMember(literal);
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateCall(KSValue& literal)
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
    m_tokens.Next();
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateSubscript(KSValue& literal)
{
    m_tokens.Next();
    KSValue index;
    EvaluateSafely(index);
    ApplySubscript(literal, index); // before the bracket is looked for: a failing subscript is reported first
    m_tokens.Pass(TOKEN_RIGHT_SQUARE, "]");
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateMember(KSValue& literal)
{
    m_tokens.Next();
    if (!m_tokens.Is(TOKEN_IDENTIFIER))
        m_tokens.ThrowExpected("identifier");
    const xstring name(m_tokens.GetText());
    ApplyDot(literal, name);
    m_tokens.Next();
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateName(KSValue& literal)
{
    if (!m_tokens.Is(TOKEN_IDENTIFIER))
        ThrowKelmAssertionError("m_token == TOKEN_IDENTIFIER", s_sourceFile, 527);
    if (const BuiltIn* const builtIn = FindBuiltIn(m_tokens.GetText()))
        return EvaluateBuiltIn(literal, *builtIn);
    if (!m_names.TryGet(m_tokens.GetText(), literal))
        ThrowUnexpected();
    m_tokens.Next();
}

// The current token is dropped; then "(", an expression, ")".
template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateInBrackets(KSValue& literal)
{
    m_tokens.Next();
    m_tokens.Pass(TOKEN_LEFT_PAREN, "(");
    EvaluateSafely(literal);
    m_tokens.Pass(TOKEN_RIGHT_PAREN, ")");
}

template <class Tokens, class Names>
float64 Evaluator<Tokens, Names>::EvaluateFloatInBrackets()
{
    m_tokens.Next();
    m_tokens.Pass(TOKEN_LEFT_PAREN, "(");
    const float64 x = EvaluateFloat(false);
    m_tokens.Pass(TOKEN_RIGHT_PAREN, ")");
    return x;
}

template <class Tokens, class Names>
void Evaluator<Tokens, Names>::EvaluateBuiltIn(KSValue& literal, const BuiltIn& builtIn)
{
    if (builtIn.m_function != nullptr)
    {
        const float64 x = EvaluateFloatInBrackets();
        if (builtIn.m_argument == Argument::PositiveFloat && x <= 0.0)
            m_tokens.Throw("Can't take ", builtIn.m_name, " of value ", x);
        return Set(literal, builtIn.m_function(x));
    }
    if (builtIn.m_argument == Argument::None)
        m_tokens.Next();
    else
        EvaluateInBrackets(literal);
    ShowTo(literal);
    builtIn.m_apply(literal);
}

} // namespace kelm
