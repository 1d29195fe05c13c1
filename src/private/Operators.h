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

using OperationInPlace = void (*)(KSValue& a, const KSValue& b);

struct BinaryOperator
{
    EToken m_token;
    ELevel m_level;
    OperationInPlace m_apply;
};

inline constexpr BinaryOperator s_binaryOperators[] = {
    {TOKEN_DBL_VLINE, LEVEL_LOGICAL_OR, CombineInPlace<operation::LogicalOr>},
    {TOKEN_DBL_AMPERSAND, LEVEL_LOGICAL_AND, CombineInPlace<operation::LogicalAnd>},
    {TOKEN_VLINE, LEVEL_BITWISE_OR, CombineInPlace<operation::BitwiseOr>},
    {TOKEN_CARET, LEVEL_BITWISE_EX_OR, CombineInPlace<operation::BitwiseExclusiveOr>},
    {TOKEN_AMPERSAND, LEVEL_BITWISE_AND, CombineInPlace<operation::BitwiseAnd>},
    {TOKEN_DBL_EQUAL, LEVEL_EQUALITY, CombineInPlace<operation::Equal>},
    {TOKEN_EXCLAM_EQUAL, LEVEL_EQUALITY, CombineInPlace<operation::NotEqual>},
    {TOKEN_LESS, LEVEL_RELATIONAL, CombineInPlace<operation::Less>},
    {TOKEN_LESS_EQUAL, LEVEL_RELATIONAL, CombineInPlace<operation::LessOrEqual>},
    {TOKEN_GREATER, LEVEL_RELATIONAL, CombineInPlace<operation::Greater>},
    {TOKEN_GREATER_EQUAL, LEVEL_RELATIONAL, CombineInPlace<operation::GreaterOrEqual>},
    {TOKEN_DBL_LESS, LEVEL_SHIFT, CombineInPlace<operation::ShiftLeft>},
    {TOKEN_DBL_GREATER, LEVEL_SHIFT, CombineInPlace<operation::ShiftRight>},
    {TOKEN_PLUS, LEVEL_ADDITIVE, CombineInPlace<operation::Add>},
    {TOKEN_MINUS, LEVEL_ADDITIVE, CombineInPlace<operation::Subtract>},
    {TOKEN_ASTERISK, LEVEL_MULTIPLICATIVE, CombineInPlace<operation::Multiply>},
    {TOKEN_FORWARD_SLASH, LEVEL_MULTIPLICATIVE, CombineInPlace<operation::Divide>},
    {TOKEN_PERCENT, LEVEL_MULTIPLICATIVE, CombineInPlace<operation::Remainder>},
    {TOKEN_DBL_CARET, LEVEL_POWER, CombineInPlace<operation::Power>},
};

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

// The tables in the form that the loops use: indexed by the token.
struct TokenRoles
{
    static constexpr std::size_t s_numTokens = TOKEN_HASH - TOKEN_END + 1;

    uint8 m_roles[s_numTokens] = {};
    OperationInPlace m_apply[s_numTokens] = {};
    BinaryOperation m_combine[s_numTokens] = {};
    void (*m_applyPrefix[s_numTokens])(KSValue& v) = {};

    constexpr TokenRoles()
    {
        for (const BinaryOperator& row : s_binaryOperators)
        {
            m_roles[IndexOf(row.m_token)] |= row.m_level;
            m_apply[IndexOf(row.m_token)] = row.m_apply;
        }
        for (const AssignmentOperator& row : s_assignmentOperators)
        {
            m_roles[IndexOf(row.m_token)] |= ROLE_ASSIGNMENT;
            m_combine[IndexOf(row.m_token)] = row.m_combine;
        }
        for (const PrefixOperator& row : s_prefixOperators)
        {
            m_roles[IndexOf(row.m_token)] |= ROLE_PREFIX;
            m_applyPrefix[IndexOf(row.m_token)] = row.m_apply;
        }
        for (const EToken token : {TOKEN_LEFT_PAREN, TOKEN_LEFT_SQUARE, TOKEN_DOT})
            m_roles[IndexOf(token)] |= ROLE_POSTFIX;
        m_roles[IndexOf(TOKEN_QUESTION)] |= ROLE_CONDITIONAL;
    }

    // The token must be one that the scanner delivers.
    static constexpr std::size_t IndexOf(EToken token) { return static_cast<uint32>(token) - TOKEN_END; }
};

inline constexpr TokenRoles s_tokenRoles;

inline uint8 RoleOf(EToken token)
{
    return s_tokenRoles.m_roles[TokenRoles::IndexOf(token)];
}

inline int LevelOf(EToken token)
{
    return RoleOf(token) & ROLE_LEVEL;
}

} // namespace kelm
