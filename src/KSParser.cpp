// The parser's members are entries into the evaluator, which takes over its tokens and gives them back at the end.

#include <klKelmScript/KSParser.h>

#include <klKelmScript/private/Evaluator.h>

#include <algorithm>
#include <iterator>

namespace kelm
{

namespace
{

using ParserEvaluator = Evaluator<text::ExpressionCursor, AtOnce>;

} // namespace

bool IsAssignmentToken(EToken tk)
{
    return std::any_of(std::begin(s_assignmentOperators), std::end(s_assignmentOperators),
                       [=](const AssignmentOperator& row) { return row.m_token == tk; });
}

void KSParser::ParseExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateSafely(literal);
}

void KSParser::UnsafeParseExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateExpression(literal);
}

void KSParser::ParseAssignmentExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateExpression(literal);
}

void KSParser::ParseConditionalExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateConditional(literal);
}

void KSParser::ParseLogicalOrExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_LOGICAL_OR);
}

void KSParser::ParseLogicalAndExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_LOGICAL_AND);
}

void KSParser::ParseBitwiseOrExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_BITWISE_OR);
}

void KSParser::ParseBitwiseExOrExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_BITWISE_EX_OR);
}

void KSParser::ParseBitwiseAndExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_BITWISE_AND);
}

void KSParser::ParseEqualityExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_EQUALITY);
}

void KSParser::ParseRelationalExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_RELATIONAL);
}

void KSParser::ParseShiftExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_SHIFT);
}

void KSParser::ParseAdditiveExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_ADDITIVE);
}

void KSParser::ParseMultiplicativeExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_MULTIPLICATIVE);
}

void KSParser::ParsePowerExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateBinary(literal, LEVEL_POWER);
}

void KSParser::ParseUnaryExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateUnary(literal);
}

void KSParser::ParsePostFixExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluatePostfix(literal);
}

void KSParser::ParsePrimaryExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluatePrimary(literal);
}

void KSParser::ParsePrimaryIdentifierExpression(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateName(literal);
}

void KSParser::ParseLiteralInBrackets(KSValue& literal)
{
    ParserEvaluator(*this).EvaluateInBrackets(literal);
}

float64 KSParser::ParseFloat64Arg()
{
    return ParserEvaluator(*this).EvaluateFloatInBrackets();
}

template <>
double KSParser::ParseValue<double>(bool allowExplicitConversions)
{
    return ParserEvaluator(*this).EvaluateFloat(allowExplicitConversions);
}

} // namespace kelm
