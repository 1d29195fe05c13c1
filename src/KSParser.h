#pragma once

#include <klKelmScript/KSValue.h>
#include <klKelmScript/api.h>
#include <klUtils/text/ParserBase.h>
#include <klUtils/types.h>

namespace kelm
{

// True for the fourteen tokens that assign: = and the compound forms of the binary operators.
KLKELMSCRIPT_API bool IsAssignmentToken(EToken tk);

// The evaluator of expressions: parses and computes in one pass, without a tree, so that every operand that is parsed
// is evaluated.
//
//     KSParser parser;
//     parser.Init(text);
//     KSValue value;
//     parser.ParseExpression(value);   // stops at the first token that no operator uses: parser.m_token
//
// Every operation expects the current token on the first one of its construct, leaves it on the first one after it, and
// replaces `literal` by the construct's value. Binary operators associate to the left, assignment included. The nesting
// of the text is limited by memory alone.
//
// Throws LexScannerException for errors of syntax, KSValueException for errors of type and arithmetic, LiteralException
// for malformed literals (ParseExpression makes the latter a LexScannerException at the literal), KelmAssertionError
// where the language refuses a result on purpose (subscripts and len of strings). After an exception neither the parser
// nor the value is meant to be used. A parser belongs to one thread at a time.
class KLKELMSCRIPT_API KSParser : public ParserBase
{
public:
    // A whole expression.
    void ParseExpression(KSValue& literal);
    void UnsafeParseExpression(KSValue& literal); // lets LiteralException through

    // The levels, from the lowest precedence to the highest.
    void ParseAssignmentExpression(KSValue& literal);
    void ParseConditionalExpression(KSValue& literal);
    void ParseLogicalOrExpression(KSValue& literal);
    void ParseLogicalAndExpression(KSValue& literal);
    void ParseBitwiseOrExpression(KSValue& literal);
    void ParseBitwiseExOrExpression(KSValue& literal);
    void ParseBitwiseAndExpression(KSValue& literal);
    void ParseEqualityExpression(KSValue& literal);
    void ParseRelationalExpression(KSValue& literal);
    void ParseShiftExpression(KSValue& literal);
    void ParseAdditiveExpression(KSValue& literal);
    void ParseMultiplicativeExpression(KSValue& literal);
    void ParsePowerExpression(KSValue& literal);
    void ParseUnaryExpression(KSValue& literal);
    void ParsePostFixExpression(KSValue& literal);
    void ParsePrimaryExpression(KSValue& literal);

    // An identifier as an operand: one of the built-in names. The current token must be an identifier.
    void ParsePrimaryIdentifierExpression(KSValue& literal);

    // The current token is dropped; then "(", an expression, ")".
    void ParseLiteralInBrackets(KSValue& literal);
    float64 ParseFloat64Arg(); // the expression must be a float64

    // One expression, converted; only the double instance exists. KSValueException becomes LexScannerException here.
    template <class T>
    T ParseValue(bool allowExplicitConversions);
};

template <>
KLKELMSCRIPT_API double KSParser::ParseValue<double>(bool allowExplicitConversions);

} // namespace kelm
