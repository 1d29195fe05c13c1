// The evaluator. In the order of the file: the operators' tables, the entry points, the public levels, whole
// expressions, the binary levels (one table and one loop), operands, prefix and postfix forms, built-in names.
//
//     expression     := conditional { assignment-token conditional }
//     conditional    := binary [ "?" expression ":" conditional ]
//     binary         := unary { binary-operator unary }            by precedence, to the left
//     unary          := ( "+" | "-" | "~" | "!" ) unary | postfix
//     postfix        := primary { "(" [ arguments ] ")" | "[" expression "]" | "." identifier }
//     primary        := number | string | "(" expression ")" | built-in

#include <klKelmScript/KSParser.h>

#include <klKelmScript/private/KSValueOperations.h>
#include <klUtils/StackSegment.h>

#include <cmath>
#include <iterator>
#include <utility>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/KSParser";

// --- The operators' tables -------------------------------------------------------------------------------------------

// The levels of the binary operators. No operator has level 0, so that it ends every loop.
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

// The relations are all derived from IsLess, so that what it orders in neither direction satisfies both <= and >=.
bool IsRelated(EToken relation, const KSValue& a, const KSValue& b)
{
    if (relation == TOKEN_LESS)
        return IsLess(a, b);
    if (relation == TOKEN_LESS_EQUAL)
        return !IsLess(b, a);
    if (relation == TOKEN_GREATER)
        return IsLess(b, a);
    if (relation == TOKEN_GREATER_EQUAL)
        return !IsLess(a, b);
    ThrowKelmAssertionError("0", s_sourceFile, 251);
    return false;
}

template <EToken Relation>
void Relate(KSValue& result, const KSValue& a, const KSValue& b)
{
    KSValueAccess::Set(result, IsRelated(Relation, a, b));
}

template <bool WhenEqual>
void Equate(KSValue& result, const KSValue& a, const KSValue& b)
{
    KSValueAccess::Set(result, IsEqual(a, b) == WhenEqual);
}

struct BinaryOperator
{
    EToken m_token;
    ELevel m_level;
    BinaryOperation m_apply;
};

constexpr BinaryOperator s_binaryOperators[] = {
    {TOKEN_DBL_VLINE, LEVEL_LOGICAL_OR, inplace::LogicalOr},
    {TOKEN_DBL_AMPERSAND, LEVEL_LOGICAL_AND, inplace::LogicalAnd},
    {TOKEN_VLINE, LEVEL_BITWISE_OR, inplace::BitwiseOr},
    {TOKEN_CARET, LEVEL_BITWISE_EX_OR, inplace::BitwiseExclusiveOr},
    {TOKEN_AMPERSAND, LEVEL_BITWISE_AND, inplace::BitwiseAnd},
    {TOKEN_DBL_EQUAL, LEVEL_EQUALITY, Equate<true>},
    {TOKEN_EXCLAM_EQUAL, LEVEL_EQUALITY, Equate<false>},
    {TOKEN_LESS, LEVEL_RELATIONAL, Relate<TOKEN_LESS>},
    {TOKEN_LESS_EQUAL, LEVEL_RELATIONAL, Relate<TOKEN_LESS_EQUAL>},
    {TOKEN_GREATER, LEVEL_RELATIONAL, Relate<TOKEN_GREATER>},
    {TOKEN_GREATER_EQUAL, LEVEL_RELATIONAL, Relate<TOKEN_GREATER_EQUAL>},
    {TOKEN_DBL_LESS, LEVEL_SHIFT, inplace::ShiftLeft},
    {TOKEN_DBL_GREATER, LEVEL_SHIFT, inplace::ShiftRight},
    {TOKEN_PLUS, LEVEL_ADDITIVE, inplace::Add},
    {TOKEN_MINUS, LEVEL_ADDITIVE, inplace::Subtract},
    {TOKEN_ASTERISK, LEVEL_MULTIPLICATIVE, inplace::Multiply},
    {TOKEN_FORWARD_SLASH, LEVEL_MULTIPLICATIVE, inplace::Divide},
    {TOKEN_PERCENT, LEVEL_MULTIPLICATIVE, inplace::Remainder},
    {TOKEN_DBL_CARET, LEVEL_POWER, inplace::RaiseToPower},
};

// The assignment tokens, with what combines the old and the new value; null where the new one is taken as it is.
struct AssignmentOperator
{
    EToken m_token;
    BinaryOperation m_combine;
};

constexpr AssignmentOperator tokens[] = {
    {TOKEN_AMPERSAND_EQUAL, inplace::BitwiseAnd},
    {TOKEN_VLINE_EQUAL, inplace::BitwiseOr},
    {TOKEN_CARET_EQUAL, inplace::BitwiseExclusiveOr},
    {TOKEN_DBL_LESS_EQUAL, inplace::ShiftLeft},
    {TOKEN_DBL_GREATER_EQUAL, inplace::ShiftRight},
    {TOKEN_DBL_AMPERSAND_EQUAL, inplace::LogicalAnd},
    {TOKEN_DBL_VLINE_EQUAL, inplace::LogicalOr},
    {TOKEN_DBL_CARET_EQUAL, inplace::RaiseToPower},
    {TOKEN_EQUAL, nullptr},
    {TOKEN_PLUS_EQUAL, inplace::Add},
    {TOKEN_MINUS_EQUAL, inplace::Subtract},
    {TOKEN_ASTERISK_EQUAL, inplace::Multiply},
    {TOKEN_SLASH_EQUAL, inplace::Divide},
    {TOKEN_PERCENT_EQUAL, inplace::Remainder},
};

struct PrefixOperator
{
    EToken m_token;
    void (*m_apply)(KSValue& v);
};

constexpr PrefixOperator s_prefixOperators[] = {
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
    BinaryOperation m_apply[s_numTokens] = {};
    void (*m_applyPrefix[s_numTokens])(KSValue& v) = {};

    constexpr TokenRoles()
    {
        for (const BinaryOperator& row : s_binaryOperators)
        {
            m_roles[IndexOf(row.m_token)] |= row.m_level;
            m_apply[IndexOf(row.m_token)] = row.m_apply;
        }
        for (const AssignmentOperator& row : tokens)
        {
            m_roles[IndexOf(row.m_token)] |= ROLE_ASSIGNMENT;
            m_apply[IndexOf(row.m_token)] = row.m_combine;
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

constexpr TokenRoles s_tokenRoles;

uint8 RoleOf(EToken token)
{
    return s_tokenRoles.m_roles[TokenRoles::IndexOf(token)];
}

int LevelOf(EToken token)
{
    return RoleOf(token) & ROLE_LEVEL;
}

[[noreturn]] void Rethrow(const xstring& description, const LSToken& token)
{
    throw LexScannerException(xstring(description.c_str()), token);
}

// A malformed literal leaves the value as it is.
void ReadStringLiteral(const LSToken& token, KSValue& literal)
{
    xstring s;
    token.GetLiteralString(s);
    KSValueAccess::MakeString(literal) = std::move(s);
}

// Whatever nests passes here, so that the nesting is limited by memory alone.
template <class F>
inline void Nest(F parse)
{
    if (IsStackLow())
        CallOnFreshSegment(parse);
    else
        parse();
}

} // namespace

bool IsAssignmentToken(EToken tk)
{
    for (const AssignmentOperator& row : tokens)
        if (row.m_token == tk)
            return true;
    return false;
}

// --- Entry points ----------------------------------------------------------------------------------------------------

void KSParser::ParseExpression(KSValue& literal)
{
    try
    {
        EvaluateExpression(literal);
    }
    catch (const LiteralException& e)
    {
        Rethrow(e.m_description, m_token);
    }
}

void KSParser::UnsafeParseExpression(KSValue& literal)
{
    EvaluateExpression(literal);
}

template <>
double KSParser::ParseValue<double>(bool allowExplicitConversions)
{
    try
    {
        KSValue x;
        UnsafeParseExpression(x);
        if (x.is<void>())
            ThrowExpectedException("float64");
        return As<double>(x, allowExplicitConversions);
    }
    catch (const KSValueException& e)
    {
        Rethrow(e.m_description, m_token);
    }
}

void KSParser::ParseLiteralInBrackets(KSValue& literal)
{
    ReadNextToken();
    ParseGivenToken(TOKEN_LEFT_PAREN, "(");
    ParseExpression(literal);
    ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
}

float64 KSParser::ParseFloat64Arg()
{
    ReadNextToken();
    ParseGivenToken(TOKEN_LEFT_PAREN, "(");
    const float64 x = ParseValue<double>(false);
    ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
    return x;
}

void KSParser::ThrowUnexpectedToken() const
{
    StringStream message(4096);
    message << "Unexpected " << m_token << " after " << m_prevToken << " in expression";
    ThrowAtToken(message.GetString());
}

// --- The levels, as the interface has them ---------------------------------------------------------------------------
//
// Each is an entry into the Evaluate functions below, which are inlined into each other: an operand that no operator
// follows must not walk fifteen calls.

void KSParser::ParseAssignmentExpression(KSValue& literal)
{
    EvaluateExpression(literal);
}

void KSParser::ParseConditionalExpression(KSValue& literal)
{
    EvaluateUnary(literal);
    FinishConditional(literal);
}

void KSParser::ParseLogicalOrExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_LOGICAL_OR);
}

void KSParser::ParseLogicalAndExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_LOGICAL_AND);
}

void KSParser::ParseBitwiseOrExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_BITWISE_OR);
}

void KSParser::ParseBitwiseExOrExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_BITWISE_EX_OR);
}

void KSParser::ParseBitwiseAndExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_BITWISE_AND);
}

void KSParser::ParseEqualityExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_EQUALITY);
}

void KSParser::ParseRelationalExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_RELATIONAL);
}

void KSParser::ParseShiftExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_SHIFT);
}

void KSParser::ParseAdditiveExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_ADDITIVE);
}

void KSParser::ParseMultiplicativeExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_MULTIPLICATIVE);
}

void KSParser::ParsePowerExpression(KSValue& literal)
{
    EvaluateBinary(literal, LEVEL_POWER);
}

void KSParser::ParseUnaryExpression(KSValue& literal)
{
    EvaluateUnary(literal);
}

void KSParser::ParsePostFixExpression(KSValue& literal)
{
    EvaluatePrimary(literal);
    FinishPostfix(literal);
}

void KSParser::ParsePrimaryExpression(KSValue& literal)
{
    EvaluatePrimary(literal);
}

// --- Whole expressions -----------------------------------------------------------------------------------------------

// The Finish functions take an expression on from its first operand, which is in `literal`.

[[gnu::always_inline]] inline void KSParser::EvaluateExpression(KSValue& literal)
{
    EvaluateUnary(literal);
    FinishExpression(literal);
}

[[gnu::always_inline]] inline void KSParser::FinishExpression(KSValue& literal)
{
    if ((RoleOf(m_token.m_type) & ROLE_BEHIND_OPERAND) == 0)
        return;
    FinishConditional(literal);
    if ((RoleOf(m_token.m_type) & ROLE_ASSIGNMENT) != 0) [[unlikely]]
        ParseAssignments(literal);
}

[[gnu::always_inline]] inline void KSParser::FinishConditional(KSValue& literal)
{
    if (LevelOf(m_token.m_type) != LEVEL_NONE)
        ParseBinaryOperators(literal, LEVEL_LOGICAL_OR);
    if (m_token.m_type == TOKEN_QUESTION) [[unlikely]]
        Nest([&] { ParseBranches(literal); });
}

void KSParser::ParseAssignments(KSValue& literal)
{
    while (IsAssignmentToken(m_token.m_type))
    {
        const EToken tk = m_token.m_type;
        ReadNextToken();
        KSValue y;
        ParseConditionalExpression(y);
        // Neither this nor the check below can fail while the tables and SetVoid are right.
        if ((RoleOf(tk) & ROLE_ASSIGNMENT) == 0)
            ThrowKelmAssertionError("0", s_sourceFile, 95);
        if (const BinaryOperation combine = s_tokenRoles.m_apply[TokenRoles::IndexOf(tk)])
            combine(y, literal, y);
        Assign(literal, y);
        KSValueAccess::SetVoid(literal);
        if (!literal.is<void>())
            ThrowKelmAssertionError("literal.is<void>()", s_sourceFile, 103);
    }
}

void KSParser::ParseBranches(KSValue& literal)
{
    ReadNextToken();
    KSValue e1;
    ParseExpression(e1);
    ParseGivenToken(TOKEN_COLON, ":");
    KSValue e2;
    ParseConditionalExpression(e2);
    literal = std::move(As<bool>(literal, false) ? e1 : e2);
}

// --- The binary levels -----------------------------------------------------------------------------------------------

[[gnu::always_inline]] inline void KSParser::EvaluateBinary(KSValue& literal, int level)
{
    EvaluateUnary(literal);
    if (LevelOf(m_token.m_type) >= level)
        ParseBinaryOperators(literal, level);
}

// The loop of all binary levels (precedence climbing; M. Richards, C. Whitby-Strevens, "BCPL: the language and its
// compiler", 1979): all operators of `level` or above behind an operand. One that binds tighter than the last takes
// that one's right operand first.
void KSParser::ParseBinaryOperators(KSValue& literal, int level)
{
    EToken token = m_token.m_type;
    do
    {
        const PlainNumber number = TryReadNumber();
        KSValue y; // behind the call, so that it is known to be void
        EvaluateRightOperand(y, number);
        const int operatorsLevel = LevelOf(token);
        if (LevelOf(m_token.m_type) > operatorsLevel)
            ParseBinaryOperators(y, operatorsLevel + 1);
        s_tokenRoles.m_apply[TokenRoles::IndexOf(token)](literal, literal, y);
        token = m_token.m_type;
    } while (LevelOf(token) >= level);
}

// The operand behind an operator, of which only a plain number has been read.
[[gnu::always_inline]] inline void KSParser::EvaluateRightOperand(KSValue& literal, const PlainNumber& number)
{
    if (number.m_kind == TOKEN_UNDEF)
        return EvaluateUnary(literal);
    KSValueAccess::Set(literal, number);
    FinishPostfix(literal);
}

// --- Operands --------------------------------------------------------------------------------------------------------

// An operand with its prefix operators and postfix forms.
[[gnu::always_inline]] inline void KSParser::EvaluateUnary(KSValue& literal)
{
    if (m_token.m_type != TOKEN_UNDEF && (RoleOf(m_token.m_type) & ROLE_PREFIX) != 0) [[unlikely]]
        return Nest([&] { ParsePrefix(literal); });
    EvaluatePrimary(literal);
    FinishPostfix(literal);
}

[[gnu::always_inline]] inline void KSParser::FinishPostfix(KSValue& literal)
{
    while ((RoleOf(m_token.m_type) & ROLE_POSTFIX) != 0)
        [[unlikely]] Nest([&] { ParsePostfix(literal); });
}

// The plain integer is looked for first, since it is the commonest operand and needs no call.
[[gnu::always_inline]] inline void KSParser::EvaluatePrimary(KSValue& literal)
{
    if (m_token.m_type != TOKEN_INTEGER)
        return ParseOtherPrimary(literal);
    KSValueAccess::Set(literal, m_token.GetLiteralInt64());
    ReadNextToken();
}

void KSParser::ParseOtherPrimary(KSValue& literal)
{
    switch (static_cast<int>(m_token.m_type))
    {
    case TOKEN_HEX_INTEGER: KSValueAccess::Set(literal, m_token.GetLiteralHexInt64()); break;
    case TOKEN_FLOAT: KSValueAccess::Set(literal, m_token.GetLiteralDouble()); break;
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING: ReadStringLiteral(m_token, literal); break;
    case TOKEN_IDENTIFIER: return Nest([&] { ParsePrimaryIdentifierExpression(literal); });
    case TOKEN_LEFT_PAREN: return Nest([&] { ParseParentheses(literal); });
    default: ThrowUnexpectedToken();
    }
    ReadNextToken();
}

// Reads the next token, and evaluates it where it is a plain number.
inline bool KSParser::EvaluatePlainNumber(KSValue& literal)
{
    const PlainNumber number = TryReadNumber();
    if (number.m_kind != TOKEN_UNDEF)
        KSValueAccess::Set(literal, number);
    return number.m_kind != TOKEN_UNDEF;
}

// Parentheses that open one behind the other are counted, not recursed into: what the innermost one encloses becomes
// the first operand of the expression around it.
void KSParser::ParseParentheses(KSValue& literal)
{
    int64 depth = 0;
    bool isNumber = false;
    do
    {
        ++depth;
        isNumber = EvaluatePlainNumber(literal);
    } while (!isNumber && m_token.m_type == TOKEN_LEFT_PAREN);
    try
    {
        if (!isNumber)
            EvaluateUnary(literal);
        while (true)
        {
            FinishPostfix(literal);
            FinishExpression(literal);
            ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
            if (--depth == 0)
                return;
        }
    }
    catch (const LiteralException& e)
    {
        Rethrow(e.m_description, m_token);
    }
}

// --- Prefix and postfix forms ----------------------------------------------------------------------------------------

void KSParser::ParsePrefix(KSValue& literal)
{
    const auto apply = s_tokenRoles.m_applyPrefix[TokenRoles::IndexOf(m_token.m_type)];
    ReadNextToken();
    EvaluateUnary(literal);
    apply(literal);
}

void KSParser::ParsePostfix(KSValue& literal)
{
    if (m_token.m_type == TOKEN_LEFT_PAREN)
        ParseCall(literal);
    else if (m_token.m_type == TOKEN_LEFT_SQUARE)
        ParseSubscript(literal);
    else
        ParseMember(literal);
}

void KSParser::ParseCall(KSValue& literal)
{
    ReadNextToken();
    xvector<KSValue> argList;
    while (m_token.m_type != TOKEN_RIGHT_PAREN)
    {
        ParseExpression(argList.emplace_back());
        if (m_token.m_type == TOKEN_COMMA)
            ReadNextToken(); // a trailing comma is accepted
        else if (m_token.m_type != TOKEN_RIGHT_PAREN)
            ThrowUnexpectedToken();
    }
    ApplyFunction(literal, argList);
    ReadNextToken();
}

void KSParser::ParseSubscript(KSValue& literal)
{
    ReadNextToken();
    KSValue index;
    ParseExpression(index);
    ApplySubscript(literal, index); // before the bracket is looked for: a failing subscript is reported first
    ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
}

void KSParser::ParseMember(KSValue& literal)
{
    ReadNextToken();
    if (m_token.m_type != TOKEN_IDENTIFIER)
        ThrowExpectedException("identifier");
    const xstring name(m_token.m_str);
    ApplyDot(literal, name);
    ReadNextToken();
}

// --- Built-in names --------------------------------------------------------------------------------------------------

template <bool Value>
void KSParser::EvaluateConstant(KSValue& literal)
{
    ReadNextToken();
    KSValueAccess::Set(literal, Value);
}

void KSParser::EvaluateLen(KSValue& literal)
{
    ParseLiteralInBrackets(literal);
    ApplyLen(literal);
}

template <EKSValue Tag>
void KSParser::EvaluateTypeTest(KSValue& literal)
{
    ParseLiteralInBrackets(literal);
    KSValueAccess::Set(literal, literal.GetTag() == Tag);
}

void KSParser::EvaluateBool(KSValue& literal)
{
    ParseLiteralInBrackets(literal);
    KSValueAccess::Set(literal, As<bool>(literal, true));
}

void KSParser::EvaluateChar(KSValue& literal)
{
    ParseLiteralInBrackets(literal);
    uint8 c = 0;
    if (!Coerce(c, literal, true))
        ThrowNoImplicitConversionFromValue(literal, "uint8");
    KSValueAccess::Set(literal, static_cast<int64>(c));
}

void KSParser::EvaluateInt(KSValue& literal)
{
    ParseLiteralInBrackets(literal);
    int64 n = 0;
    if (!Coerce(n, literal, true))
        ThrowNoImplicitConversionFromValue(literal, "int64");
    KSValueAccess::Set(literal, n);
}

void KSParser::EvaluateDouble(KSValue& literal)
{
    ParseLiteralInBrackets(literal);
    KSValueAccess::Set(literal, As<double>(literal, true));
}

void KSParser::EvaluateString(KSValue& literal)
{
    ParseLiteralInBrackets(literal);
    xstring s;
    if (!Coerce(s, literal, true))
        ThrowNoImplicitConversionFromValue(literal, "string8");
    KSValueAccess::MakeString(literal) = std::move(s);
}

template <double (*Function)(double)>
void KSParser::EvaluateFunction(KSValue& literal)
{
    KSValueAccess::Set(literal, Function(ParseFloat64Arg()));
}

void KSParser::EvaluateLog(KSValue& literal)
{
    const float64 f = ParseFloat64Arg();
    if (f <= 0.0)
    {
        StringStream message(4096);
        message << "Can't take log of value " << f;
        ThrowAtToken(message.GetString());
    }
    KSValueAccess::Set(literal, std::log(f));
}

struct KSParser::BuiltIn
{
    ConstStringZ m_name;
    void (KSParser::*m_evaluate)(KSValue& literal);
};

// The built-ins, found by a perfect hash of a name's length and its first and last characters.
struct BuiltInTable
{
    static constexpr KSParser::BuiltIn s_builtIns[] = {
        {"false", &KSParser::EvaluateConstant<false>},
        {"true", &KSParser::EvaluateConstant<true>},
        {"len", &KSParser::EvaluateLen},
        {"is_bool", &KSParser::EvaluateTypeTest<KSV_BOOL>},
        {"is_int", &KSParser::EvaluateTypeTest<KSV_INT64>},
        {"is_double", &KSParser::EvaluateTypeTest<KSV_FLOAT64>},
        {"is_string", &KSParser::EvaluateTypeTest<KSV_STRING8>},
        {"bool", &KSParser::EvaluateBool},
        {"char", &KSParser::EvaluateChar},
        {"int", &KSParser::EvaluateInt},
        {"double", &KSParser::EvaluateDouble},
        {"string", &KSParser::EvaluateString},
        {"sin", &KSParser::EvaluateFunction<::sin>},
        {"cos", &KSParser::EvaluateFunction<::cos>},
        {"tan", &KSParser::EvaluateFunction<::tan>},
        {"exp", &KSParser::EvaluateFunction<::exp>},
        {"log", &KSParser::EvaluateLog},
    };

    static constexpr int s_numSlots = 64;

    uint32 m_multiplier = 0;
    uint8 m_slots[s_numSlots] = {}; // an index into s_builtIns, counted from 1; 0 is none

    constexpr BuiltInTable()
    {
        while (!TryFill())
            m_multiplier += 0x9E3779B1;
    }

    const KSParser::BuiltIn* Find(SubString name) const
    {
        const uint8 slot = m_slots[SlotOf(name)];
        return slot != 0 && strcmp(name, s_builtIns[slot - 1].m_name) == 0 ? &s_builtIns[slot - 1] : nullptr;
    }

private:
    constexpr std::size_t SlotOf(SubString name) const
    {
        const uint32 key = static_cast<uint32>(name.size()) << 16 |
                           static_cast<uint32>(static_cast<unsigned char>(name.m_p1[0])) << 8 |
                           static_cast<unsigned char>(name.m_p2[-1]);
        return key * m_multiplier >> 26;
    }

    constexpr bool TryFill()
    {
        for (uint8& slot : m_slots)
            slot = 0;
        for (uint8 i = 0; i < std::size(s_builtIns); ++i)
        {
            uint8& slot = m_slots[SlotOf(s_builtIns[i].m_name)];
            if (slot != 0)
                return false;
            slot = static_cast<uint8>(i + 1);
        }
        return true;
    }
};

namespace
{

constinit const BuiltInTable s_builtInTable;

} // namespace

void KSParser::ParsePrimaryIdentifierExpression(KSValue& literal)
{
    if (m_token.m_type != TOKEN_IDENTIFIER)
        ThrowKelmAssertionError("m_token == TOKEN_IDENTIFIER", s_sourceFile, 527);
    const BuiltIn* const builtIn = s_builtInTable.Find(m_token.m_str);
    if (builtIn == nullptr)
        ThrowUnexpectedToken();
    (this->*builtIn->m_evaluate)(literal);
}

} // namespace kelm
