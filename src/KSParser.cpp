// The evaluator. In the order of the file: the operators' tables, the entry points, assignment and conditional
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

#include <array>
#include <cmath>
#include <iterator>

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

// What each kind of token means, indexed by the token: the tables in the form that the loops use.
struct TokenRole
{
    // Behind an operand.
    ELevel m_level = LEVEL_NONE;
    bool m_isAssignment = false;
    bool m_isPostfix = false;
    BinaryOperation m_apply = nullptr;

    // Before an operand.
    void (*m_applyPrefix)(KSValue& v) = nullptr;
};

constexpr std::size_t s_numTokens = TOKEN_HASH - TOKEN_END + 1;

struct TokenRoles
{
    TokenRole m_roles[s_numTokens];

    constexpr TokenRoles()
    {
        for (const BinaryOperator& row : s_binaryOperators)
        {
            RoleOf(row.m_token).m_level = row.m_level;
            RoleOf(row.m_token).m_apply = row.m_apply;
        }
        for (const AssignmentOperator& row : tokens)
        {
            RoleOf(row.m_token).m_isAssignment = true;
            RoleOf(row.m_token).m_apply = row.m_combine;
        }
        for (const PrefixOperator& row : s_prefixOperators)
            RoleOf(row.m_token).m_applyPrefix = row.m_apply;
        for (const EToken token : {TOKEN_LEFT_PAREN, TOKEN_LEFT_SQUARE, TOKEN_DOT})
            RoleOf(token).m_isPostfix = true;
    }

private:
    constexpr TokenRole& RoleOf(EToken token) { return m_roles[token - TOKEN_END]; }
};

constexpr TokenRoles s_tokenRoles;

// The role of the current token, which is always one that the scanner delivers.
const TokenRole& RoleOf(EToken token)
{
    return s_tokenRoles.m_roles[token - TOKEN_END];
}

[[noreturn]] void Rethrow(const xstring& description, const LSToken& token)
{
    throw LexScannerException(xstring(description.c_str()), token);
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
        UnsafeParseExpression(literal);
    }
    catch (const LiteralException& e)
    {
        Rethrow(e.m_description, m_token);
    }
}

void KSParser::UnsafeParseExpression(KSValue& literal)
{
    ParseAssignmentExpression(literal);
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

// --- Assignment and conditional expressions --------------------------------------------------------------------------

void KSParser::ParseAssignmentExpression(KSValue& literal)
{
    ParseConditionalExpression(literal);
    while (RoleOf(m_token.m_type).m_isAssignment)
    {
        const EToken tk = m_token.m_type;
        ReadNextToken();
        KSValue y;
        ParseConditionalExpression(y);
        if (!IsAssignmentToken(tk))
            ThrowKelmAssertionError("0", s_sourceFile, 95);
        if (const BinaryOperation combine = RoleOf(tk).m_apply)
            combine(y, literal, y);
        Assign(literal, y);
        KSValueAccess::SetVoid(literal);
        if (!literal.is<void>())
            ThrowKelmAssertionError("literal.is<void>()", s_sourceFile, 103);
    }
}

void KSParser::ParseConditionalExpression(KSValue& literal)
{
    ParseLogicalOrExpression(literal);
    if (m_token.m_type == TOKEN_QUESTION) [[unlikely]]
        ParseBranches(literal);
}

void KSParser::ParseBranches(KSValue& literal)
{
    ReadNextToken();
    KSValue e1;
    ParseExpression(e1);
    ParseGivenToken(TOKEN_COLON, ":");
    KSValue e2;
    ParseConditionalExpression(e2);
    literal = As<bool>(literal, false) ? e1 : e2;
}

// --- The binary levels -----------------------------------------------------------------------------------------------

void KSParser::ParseLogicalOrExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_LOGICAL_OR);
}

void KSParser::ParseLogicalAndExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_LOGICAL_AND);
}

void KSParser::ParseBitwiseOrExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_BITWISE_OR);
}

void KSParser::ParseBitwiseExOrExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_BITWISE_EX_OR);
}

void KSParser::ParseBitwiseAndExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_BITWISE_AND);
}

void KSParser::ParseEqualityExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_EQUALITY);
}

void KSParser::ParseRelationalExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_RELATIONAL);
}

void KSParser::ParseShiftExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_SHIFT);
}

void KSParser::ParseAdditiveExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_ADDITIVE);
}

void KSParser::ParseMultiplicativeExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_MULTIPLICATIVE);
}

void KSParser::ParsePowerExpression(KSValue& literal)
{
    ParseBinaryExpression(literal, LEVEL_POWER);
}

// An operand and all operators of `level` or above behind it. An operand that none follows costs one look.
inline void KSParser::ParseBinaryExpression(KSValue& literal, uint8 level)
{
    ParseUnaryExpression(literal);
    if (RoleOf(m_token.m_type).m_level >= level)
        ParseBinaryOperators(literal, level);
}

// The loop of all binary levels (precedence climbing; M. Richards, C. Whitby-Strevens, "BCPL: the language and its
// compiler", 1979). An operator that binds tighter than the last one takes that one's right operand first.
void KSParser::ParseBinaryOperators(KSValue& literal, uint8 level)
{
    for (TokenRole role = RoleOf(m_token.m_type); role.m_level >= level; role = RoleOf(m_token.m_type))
    {
        ReadNextToken();
        KSValue y;
        ParseUnaryExpression(y);
        if (RoleOf(m_token.m_type).m_level > role.m_level)
            ParseBinaryOperators(y, static_cast<uint8>(role.m_level + 1));
        role.m_apply(literal, literal, y);
    }
}

// --- Operands --------------------------------------------------------------------------------------------------------

void KSParser::ParsePrimaryExpression(KSValue& literal)
{
    ParseOperand(literal);
}

[[gnu::always_inline]] inline void KSParser::ParseOperand(KSValue& literal)
{
    switch (static_cast<int>(m_token.m_type))
    {
    case TOKEN_INTEGER: KSValueAccess::Set(literal, m_token.GetLiteralInt64()); break;
    case TOKEN_HEX_INTEGER: KSValueAccess::Set(literal, m_token.GetLiteralHexInt64()); break;
    case TOKEN_FLOAT: KSValueAccess::Set(literal, m_token.GetLiteralDouble()); break;
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING: m_token.GetLiteralString(KSValueAccess::MakeString(literal)); break;
    case TOKEN_IDENTIFIER: ParsePrimaryIdentifierExpression(literal); return;
    case TOKEN_LEFT_PAREN:
        ReadNextToken();
        ParseExpression(literal);
        ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
        return;
    default: ThrowUnexpectedToken();
    }
    ReadNextToken();
}

// --- Prefix and postfix forms ----------------------------------------------------------------------------------------

void KSParser::ParseUnaryExpression(KSValue& literal)
{
    // Every cycle of the recursion passes here.
    if (IsStackLow())
        return CallOnFreshSegment([&] { ParseUnaryExpression(literal); });

    if (m_token.m_type == TOKEN_UNDEF) [[unlikely]]
        ThrowUnexpectedToken();
    const auto apply = RoleOf(m_token.m_type).m_applyPrefix;
    if (apply == nullptr)
        return ParseOperandAndPostfix(literal);
    ReadNextToken();
    ParseUnaryExpression(literal);
    apply(literal);
}

void KSParser::ParsePostFixExpression(KSValue& literal)
{
    ParseOperandAndPostfix(literal);
}

// An operand, and what is rare: a postfix form behind it. Inlined, with the operand, where operands are read.
[[gnu::always_inline]] inline void KSParser::ParseOperandAndPostfix(KSValue& literal)
{
    ParseOperand(literal);
    while (RoleOf(m_token.m_type).m_isPostfix)
        [[unlikely]] ParsePostfix(literal);
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
    std::array<const KSParser::BuiltIn*, s_numSlots> m_slots{};

    constexpr BuiltInTable()
    {
        while (!TryFill())
            m_multiplier += 0x9E3779B1;
    }

    const KSParser::BuiltIn* Find(SubString name) const
    {
        const KSParser::BuiltIn* const builtIn = m_slots[SlotOf(name)];
        return builtIn != nullptr && strcmp(name, builtIn->m_name) == 0 ? builtIn : nullptr;
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
        m_slots = {};
        for (const KSParser::BuiltIn& builtIn : s_builtIns)
        {
            const KSParser::BuiltIn*& slot = m_slots[SlotOf(builtIn.m_name)];
            if (slot != nullptr)
                return false;
            slot = &builtIn;
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
