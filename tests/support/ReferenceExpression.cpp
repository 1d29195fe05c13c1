#include <support/ReferenceExpression.h>

#include <support/Expect.h>
#include <support/ReferenceComparison.h>
#include <support/ReferenceLiterals.h>

#include <cmath>
#include <iterator>

namespace kelm::reference
{

namespace
{

xstring ToXString(const std::string& text)
{
    return xstring(ViewOf(text));
}

// --- Binary operations -----------------------------------------------------------------------------------------------

// Dividing the least integer by -1 faults, integral floats included.
bool IsNumber(const KSValue& v, double number)
{
    if (v.is<int64>())
        return v.as<int64>() == static_cast<int64>(number);
    return v.is<float64>() && v.as<float64>() == number;
}

void RefuseFault(const KSValue& a, const KSValue& b)
{
    if (IsNumber(a, -0x1p63) && IsNumber(b, -1.0))
        throw NotForComparison();
}

KSValue Add(const KSValue& a, const KSValue& b)
{
    return a + b;
}
KSValue Subtract(const KSValue& a, const KSValue& b)
{
    return a - b;
}
KSValue Multiply(const KSValue& a, const KSValue& b)
{
    return a * b;
}
KSValue Divide(const KSValue& a, const KSValue& b)
{
    RefuseFault(a, b);
    return a / b;
}
KSValue Modulo(const KSValue& a, const KSValue& b)
{
    RefuseFault(a, b);
    return a % b;
}
KSValue ShiftLeft(const KSValue& a, const KSValue& b)
{
    return a << b;
}
KSValue ShiftRight(const KSValue& a, const KSValue& b)
{
    return a >> b;
}
KSValue BitOr(const KSValue& a, const KSValue& b)
{
    return a | b;
}
KSValue BitAnd(const KSValue& a, const KSValue& b)
{
    return a & b;
}
KSValue BitExOr(const KSValue& a, const KSValue& b)
{
    return a ^ b;
}
KSValue Or(const KSValue& a, const KSValue& b)
{
    return a || b;
}
KSValue And(const KSValue& a, const KSValue& b)
{
    return a && b;
}
KSValue Right(const KSValue&, const KSValue& b)
{
    return b;
}

} // namespace

template <std::size_t N>
void Evaluator::ParseBinary(KSValue& literal, Level next, const Row (&rows)[N])
{
    (this->*next)(literal);
    while (true)
    {
        Operation operation = nullptr;
        for (const Row& row : rows)
            if (row.m_token == Kind())
                operation = row.m_operation;
        if (operation == nullptr)
            return;
        m_stream.ReadNextToken();
        KSValue y;
        (this->*next)(y);
        literal = operation(literal, y);
    }
}

// --- The levels ------------------------------------------------------------------------------------------------------

void Evaluator::ParseExpression(KSValue& literal)
{
    try
    {
        ParseAssignment(literal);
    }
    catch (const LiteralError& e)
    {
        m_stream.Throw(e.m_message.c_str()); // a message ends at a zero byte here
    }
}

void Evaluator::ParseAssignment(KSValue& literal)
{
    static constexpr Row s_rows[] = {
        {TOKEN_AMPERSAND_EQUAL, BitAnd},
        {TOKEN_VLINE_EQUAL, BitOr},
        {TOKEN_CARET_EQUAL, BitExOr},
        {TOKEN_DBL_LESS_EQUAL, ShiftLeft},
        {TOKEN_DBL_GREATER_EQUAL, ShiftRight},
        {TOKEN_DBL_AMPERSAND_EQUAL, And},
        {TOKEN_DBL_VLINE_EQUAL, Or},
        {TOKEN_DBL_CARET_EQUAL, Power},
        {TOKEN_EQUAL, Right},
        {TOKEN_PLUS_EQUAL, Add},
        {TOKEN_MINUS_EQUAL, Subtract},
        {TOKEN_ASTERISK_EQUAL, Multiply},
        {TOKEN_SLASH_EQUAL, Divide},
        {TOKEN_PERCENT_EQUAL, Modulo},
    };
    static const KSValue s_void;
    ParseConditional(literal);
    for (std::size_t i = 0; i < std::size(s_rows);)
        if (s_rows[i].m_token != Kind())
            ++i;
        else
        {
            m_stream.ReadNextToken();
            KSValue y;
            ParseConditional(y);
            Assign(literal, s_rows[i].m_operation(literal, y));
            literal = s_void;
            i = 0;
        }
}

void Evaluator::ParseConditional(KSValue& literal)
{
    ParseLogicalOr(literal);
    if (Kind() != TOKEN_QUESTION)
        return;
    m_stream.ReadNextToken();
    KSValue first;
    ParseExpression(first);
    m_stream.ParseGivenToken(TOKEN_COLON, ":");
    KSValue second;
    ParseConditional(second);
    literal = As<bool>(literal, false) ? first : second;
}

void Evaluator::ParseLogicalOr(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseLogicalAnd, {{TOKEN_DBL_VLINE, Or}});
}

void Evaluator::ParseLogicalAnd(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseBitwiseOr, {{TOKEN_DBL_AMPERSAND, And}});
}

void Evaluator::ParseBitwiseOr(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseBitwiseExOr, {{TOKEN_VLINE, BitOr}});
}

void Evaluator::ParseBitwiseExOr(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseBitwiseAnd, {{TOKEN_CARET, BitExOr}});
}

void Evaluator::ParseBitwiseAnd(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseEquality, {{TOKEN_AMPERSAND, BitAnd}});
}

void Evaluator::ParseEquality(KSValue& literal)
{
    using V = const KSValue&;
    ParseBinary(literal, &Evaluator::ParseRelational,
                {{TOKEN_DBL_EQUAL, [](V a, V b) { return KSValue(IsEqual(a, b)); }},
                 {TOKEN_EXCLAM_EQUAL, [](V a, V b) { return KSValue(!IsEqual(a, b)); }}});
}

void Evaluator::ParseRelational(KSValue& literal)
{
    using V = const KSValue&;
    ParseBinary(literal, &Evaluator::ParseShift,
                {{TOKEN_LESS, [](V a, V b) { return KSValue(IsLess(a, b)); }},
                 {TOKEN_LESS_EQUAL, [](V a, V b) { return KSValue(!IsLess(b, a)); }},
                 {TOKEN_GREATER, [](V a, V b) { return KSValue(IsLess(b, a)); }},
                 {TOKEN_GREATER_EQUAL, [](V a, V b) { return KSValue(!IsLess(a, b)); }}});
}

void Evaluator::ParseShift(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseAdditive, {{TOKEN_DBL_LESS, ShiftLeft}, {TOKEN_DBL_GREATER, ShiftRight}});
}

void Evaluator::ParseAdditive(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseMultiplicative, {{TOKEN_PLUS, Add}, {TOKEN_MINUS, Subtract}});
}

void Evaluator::ParseMultiplicative(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParsePower,
                {{TOKEN_ASTERISK, Multiply}, {TOKEN_FORWARD_SLASH, Divide}, {TOKEN_PERCENT, Modulo}});
}

void Evaluator::ParsePower(KSValue& literal)
{
    ParseBinary(literal, &Evaluator::ParseUnary, {{TOKEN_DBL_CARET, Power}});
}

void Evaluator::ParseUnary(KSValue& literal)
{
    static constexpr struct
    {
        EToken m_token;
        void (*m_apply)(KSValue&);
    } s_rows[] = {{TOKEN_PLUS, ApplyUnaryPlus},
                  {TOKEN_MINUS, ApplyUnaryMinus},
                  {TOKEN_TILDE, ApplyUnaryBitComplement},
                  {TOKEN_EXCLAM, ApplyUnaryNot}};
    for (const auto& row : s_rows)
        if (row.m_token == Kind())
        {
            m_stream.ReadNextToken();
            ParseUnary(literal);
            return row.m_apply(literal);
        }
    ParsePostFix(literal);
}

// --- Postfix and primary expressions ---------------------------------------------------------------------------------

void Evaluator::ParsePostFix(KSValue& literal)
{
    ParsePrimary(literal);
    while (true)
        switch (Kind())
        {
        case TOKEN_LEFT_PAREN: ParseCall(literal); break;
        case TOKEN_LEFT_SQUARE: ParseSubscript(literal); break;
        case TOKEN_DOT: ParseMember(literal); break;
        default: return;
        }
}

void Evaluator::ParseCall(KSValue& literal)
{
    m_stream.ReadNextToken();
    xvector<KSValue> arguments;
    while (Kind() != TOKEN_RIGHT_PAREN)
    {
        KSValue argument;
        ParseExpression(argument);
        arguments.push_back(argument);
        if (Kind() == TOKEN_COMMA)
            m_stream.ReadNextToken();
        else if (Kind() != TOKEN_RIGHT_PAREN)
            ThrowUnexpected();
    }
    ApplyFunction(literal, arguments);
    m_stream.ReadNextToken();
}

void Evaluator::ParseSubscript(KSValue& literal)
{
    m_stream.ReadNextToken();
    KSValue index;
    ParseExpression(index);
    ApplySubscript(literal, index);
    m_stream.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
}

void Evaluator::ParseMember(KSValue& literal)
{
    m_stream.ReadNextToken();
    if (Kind() != TOKEN_IDENTIFIER)
        m_stream.ThrowExpected("identifier");
    ApplyDot(literal, ToXString(m_stream.CurrentText()));
    m_stream.ReadNextToken();
}

void Evaluator::ParsePrimary(KSValue& literal)
{
    const std::string text = m_stream.CurrentText();
    switch (Kind())
    {
    case TOKEN_INTEGER: literal = KSValue(GetLiteralInt64(text)); break;
    case TOKEN_HEX_INTEGER: literal = KSValue(GetLiteralHexInt64(text)); break;
    case TOKEN_FLOAT: literal = KSValue(GetLiteralDouble(text)); break;
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING: literal = KSValue(ToXString(GetLiteralString(text))); break;
    case TOKEN_IDENTIFIER: return ParseIdentifier(literal);
    case TOKEN_LEFT_PAREN:
        m_stream.ReadNextToken();
        ParseExpression(literal);
        return m_stream.ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
    default: ThrowUnexpected();
    }
    m_stream.ReadNextToken();
}

// --- Built-in names --------------------------------------------------------------------------------------------------

void Evaluator::ParseBracketed(KSValue& literal)
{
    m_stream.ReadNextToken();
    m_stream.ParseGivenToken(TOKEN_LEFT_PAREN, "(");
    ParseExpression(literal);
    m_stream.ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
}

double Evaluator::ParseFloatArgument()
{
    m_stream.ReadNextToken();
    m_stream.ParseGivenToken(TOKEN_LEFT_PAREN, "(");
    const double x = ParseFloat(false);
    m_stream.ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
    return x;
}

double Evaluator::ParseFloat(bool allowExplicitConversions)
{
    try
    {
        KSValue x;
        ParseAssignment(x);
        if (x.is<void>())
            m_stream.ThrowExpected("float64");
        return As<double>(x, allowExplicitConversions);
    }
    catch (const KSValueException& e)
    {
        m_stream.Throw(e.m_description.c_str());
    }
}

namespace
{

template <class T>
T ConvertTo(const KSValue& v, const char* typeName)
{
    T x{};
    if (!Coerce(x, v, true))
        ThrowNoImplicitConversionFromValue(v, typeName);
    return x;
}

} // namespace

void Evaluator::ParseIdentifier(KSValue& literal)
{
    const std::string name = m_stream.CurrentText();

    for (const bool value : {false, true})
        if (name == (value ? "true" : "false"))
        {
            literal = KSValue(value);
            return m_stream.ReadNextToken();
        }

    static constexpr struct
    {
        const char* m_name;
        EKSValue m_tag;
    } s_tests[] = {
        {"is_bool", KSV_BOOL}, {"is_int", KSV_INT64}, {"is_double", KSV_FLOAT64}, {"is_string", KSV_STRING8}};
    for (const auto& test : s_tests)
        if (name == test.m_name)
        {
            ParseBracketed(literal);
            literal = KSValue(literal.GetTag() == test.m_tag);
            return;
        }

    static constexpr struct
    {
        const char* m_name;
        double (*m_function)(double);
    } s_functions[] = {{"sin", std::sin}, {"cos", std::cos}, {"tan", std::tan}, {"exp", std::exp}, {"log", std::log}};
    for (const auto& function : s_functions)
        if (name == function.m_name)
        {
            const double x = ParseFloatArgument();
            if (name == "log" && x <= 0.0)
                m_stream.Throw("Can't take log of value " + WrittenText(KSValue(x)));
            literal = KSValue(function.m_function(x));
            return;
        }

    const bool isConversion = name == "bool" || name == "char" || name == "int" || name == "double" || name == "string";
    if (!isConversion && name != "len")
        ThrowUnexpected();
    ParseBracketed(literal);
    if (name == "len")
        ApplyLen(literal);
    else if (name == "bool")
        literal = KSValue(As<bool>(literal, true));
    else if (name == "double")
        literal = KSValue(As<double>(literal, true));
    else if (name == "char")
        literal = KSValue(int64{ConvertTo<uint8>(literal, "uint8")});
    else if (name == "int")
        literal = KSValue(ConvertTo<int64>(literal, "int64"));
    else
        literal = KSValue(ConvertTo<xstring>(literal, "string8"));
}

void Evaluator::ThrowUnexpected() const
{
    m_stream.Throw("Unexpected " + m_stream.ShownCurrent() + " after " + Shown(m_stream.m_text, m_stream.m_prevToken) +
                   " in expression");
}

} // namespace kelm::reference
