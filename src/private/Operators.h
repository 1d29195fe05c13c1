#pragma once

// The operators of the language, as tables by their tokens: precedence, and what each applies.

#include <klKelmScript/private/BinaryOperations.h>
#include <klUtils/text/EToken.h>

namespace kelm
{

// The levels of the binary operators, from the loosest. No operator has level 0, so that it ends every loop.
enum ELevel : uint8
{
    LEVEL_NONE = 0,
    LEVEL_LOGICAL_OR,
    LEVEL_LOGICAL_AND,
    LEVEL_BITWISE_OR,
    LEVEL_BITWISE_EX_OR,
    LEVEL_BITWISE_AND,
    LEVEL_EQUALITY,
    LEVEL_RELATIONAL,
    LEVEL_SHIFT,
    LEVEL_ADDITIVE,
    LEVEL_MULTIPLICATIVE,
    LEVEL_POWER,
};

// An operation on the evaluator's operands, with the tokens between which they stand.
template <class Tokens>
using OperationInPlace = void (*)(KSValue& a, KSValue& b, const Tokens& tokens);

// A division that the processor refuses runs a handler of the host, which may look at the parser. Whole-numbered floats
// divide as integers do.
template <class Tokens>
inline void ShowBeforeFault(const KSValue& a, const KSValue& b, const Tokens& tokens)
{
    const bool isMinusOne = (b.is<int64>() && KSValueAccess::Get<int64>(b) == -1) ||
                            (b.is<float64>() && KSValueAccess::Get<float64>(b) == -1.0);
    if (isMinusOne && (a.is<int64>() || a.is<float64>())) [[unlikely]]
        tokens.Show();
}

template <class Tokens, class Operation>
void Apply(KSValue& a, KSValue& b, const Tokens& tokens)
{
    if constexpr (Operation::s_canFault)
        ShowBeforeFault(a, b, tokens);
    CombineInPlace<Operation>(a, b);
}

// The table of the binary operators: calls add(operation, token, level) for each.
template <class F>
constexpr void ForEachBinaryOperator(F add)
{
    add(operation::LogicalOr(), TOKEN_DBL_VLINE, LEVEL_LOGICAL_OR);
    add(operation::LogicalAnd(), TOKEN_DBL_AMPERSAND, LEVEL_LOGICAL_AND);
    add(operation::BitwiseOr(), TOKEN_VLINE, LEVEL_BITWISE_OR);
    add(operation::BitwiseExclusiveOr(), TOKEN_CARET, LEVEL_BITWISE_EX_OR);
    add(operation::BitwiseAnd(), TOKEN_AMPERSAND, LEVEL_BITWISE_AND);
    add(operation::Equal(), TOKEN_DBL_EQUAL, LEVEL_EQUALITY);
    add(operation::NotEqual(), TOKEN_EXCLAM_EQUAL, LEVEL_EQUALITY);
    add(operation::Less(), TOKEN_LESS, LEVEL_RELATIONAL);
    add(operation::LessOrEqual(), TOKEN_LESS_EQUAL, LEVEL_RELATIONAL);
    add(operation::Greater(), TOKEN_GREATER, LEVEL_RELATIONAL);
    add(operation::GreaterOrEqual(), TOKEN_GREATER_EQUAL, LEVEL_RELATIONAL);
    add(operation::ShiftLeft(), TOKEN_DBL_LESS, LEVEL_SHIFT);
    add(operation::ShiftRight(), TOKEN_DBL_GREATER, LEVEL_SHIFT);
    add(operation::Add(), TOKEN_PLUS, LEVEL_ADDITIVE);
    add(operation::Subtract(), TOKEN_MINUS, LEVEL_ADDITIVE);
    add(operation::Multiply(), TOKEN_ASTERISK, LEVEL_MULTIPLICATIVE);
    add(operation::Divide(), TOKEN_FORWARD_SLASH, LEVEL_MULTIPLICATIVE);
    add(operation::Remainder(), TOKEN_PERCENT, LEVEL_MULTIPLICATIVE);
    add(operation::Power(), TOKEN_DBL_CARET, LEVEL_POWER);
}

// The assignment tokens, with what combines the old and the new value; null where the new one is taken as it is.
struct AssignmentOperator
{
    EToken m_token;
    BinaryOperation m_combine;
};

inline constexpr AssignmentOperator s_assignmentOperators[] = {
    {TOKEN_AMPERSAND_EQUAL, Combine<operation::BitwiseAnd>},
    {TOKEN_VLINE_EQUAL, Combine<operation::BitwiseOr>},
    {TOKEN_CARET_EQUAL, Combine<operation::BitwiseExclusiveOr>},
    {TOKEN_DBL_LESS_EQUAL, Combine<operation::ShiftLeft>},
    {TOKEN_DBL_GREATER_EQUAL, Combine<operation::ShiftRight>},
    {TOKEN_DBL_AMPERSAND_EQUAL, Combine<operation::LogicalAnd>},
    {TOKEN_DBL_VLINE_EQUAL, Combine<operation::LogicalOr>},
    {TOKEN_DBL_CARET_EQUAL, Combine<operation::Power>},
    {TOKEN_EQUAL, nullptr},
    {TOKEN_PLUS_EQUAL, Combine<operation::Add>},
    {TOKEN_MINUS_EQUAL, Combine<operation::Subtract>},
    {TOKEN_ASTERISK_EQUAL, Combine<operation::Multiply>},
    {TOKEN_SLASH_EQUAL, Combine<operation::Divide>},
    {TOKEN_PERCENT_EQUAL, Combine<operation::Remainder>},
};

struct PrefixOperator
{
    EToken m_token;
    void (*m_apply)(KSValue& v);
};

inline constexpr PrefixOperator s_prefixOperators[] = {
    {TOKEN_PLUS, ApplyUnaryPlus},
    {TOKEN_MINUS, ApplyUnaryMinus},
    {TOKEN_TILDE, ApplyUnaryBitComplement},
    {TOKEN_EXCLAM, ApplyUnaryNot},
};

// What a token can be behind an operand, or before one, as flags beside the level of a binary operator. A token that is
// nothing of it has no bit set, so that an operand that nothing follows costs one look.
enum ERole : uint8
{
    ROLE_LEVEL = 0x0f,
    ROLE_CONDITIONAL = 0x10,
    ROLE_ASSIGNMENT = 0x20,
    ROLE_POSTFIX = 0x40,
    ROLE_PREFIX = 0x80,
    ROLE_BEHIND_OPERAND = ROLE_LEVEL | ROLE_CONDITIONAL | ROLE_ASSIGNMENT | ROLE_POSTFIX,
};

// The tables in the form that the loops use: indexed by the token, which must be one that the scanner delivers.
inline constexpr std::size_t s_numTokens = TOKEN_HASH - TOKEN_END + 1;

constexpr std::size_t IndexOf(EToken token)
{
    return static_cast<uint32>(token) - TOKEN_END;
}

template <class Tokens>
struct Operations
{
    OperationInPlace<Tokens> m_apply[s_numTokens] = {};

    constexpr Operations()
    {
        const auto add = [this]<class Operation>(Operation, EToken token, ELevel)
        { m_apply[IndexOf(token)] = Apply<Tokens, Operation>; };
        ForEachBinaryOperator(add);
    }
};
template <class Tokens>
inline constexpr Operations<Tokens> s_operations;

struct TokenRoles
{
    uint8 m_roles[s_numTokens] = {};
    uint8 m_prefix[s_numTokens] = {}; // the index among the prefix operators
    BinaryOperation m_combine[s_numTokens] = {};

    constexpr TokenRoles()
    {
        ForEachBinaryOperator([this](auto, EToken token, ELevel level) { m_roles[IndexOf(token)] |= level; });
        for (const AssignmentOperator& row : s_assignmentOperators)
        {
            m_roles[IndexOf(row.m_token)] |= ROLE_ASSIGNMENT;
            m_combine[IndexOf(row.m_token)] = row.m_combine;
        }
        for (uint8 i = 0; i < std::size(s_prefixOperators); ++i)
        {
            m_roles[IndexOf(s_prefixOperators[i].m_token)] |= ROLE_PREFIX;
            m_prefix[IndexOf(s_prefixOperators[i].m_token)] = i;
        }
        for (const EToken token : {TOKEN_LEFT_PAREN, TOKEN_LEFT_SQUARE, TOKEN_DOT})
            m_roles[IndexOf(token)] |= ROLE_POSTFIX;
        m_roles[IndexOf(TOKEN_QUESTION)] |= ROLE_CONDITIONAL;
    }
};

inline constexpr TokenRoles s_tokenRoles;

inline uint8 RoleOf(EToken token)
{
    return s_tokenRoles.m_roles[IndexOf(token)];
}

inline int LevelOf(EToken token)
{
    return RoleOf(token) & ROLE_LEVEL;
}

} // namespace kelm
