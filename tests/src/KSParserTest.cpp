// Entry points, operands and postfix forms. The operators, the built-ins, deep nesting and properties have files of
// their own.

#include <klKelmScript/KSParser.h>

#include "Operands.h"

#include <support/ExactText.h>
#include <support/Script.h>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>

namespace kelm
{
namespace
{

// --- Operands --------------------------------------------------------------------------------------------------------

TEST(PrimaryExpression, OfEachKindOfToken)
{
    ExpectRows({
        {"42", "int64 42"},
        {"0", "int64 0"},
        {"007", "int64 7"},
        {"9223372036854775807", "int64 9223372036854775807"},
        {"0x2a", "int64 42"},
        {"0X7fffffffffffffff", "int64 9223372036854775807"},
        {"0xffffffffffffffff", "int64 -1"},
        {"1.5", "float64 1.5"},
        {"1.", "float64 1.0"},
        {".5", "float64 0.5"},
        {"1e3", "float64 1000.0"},
        {"1E-3", "float64 0.001"},
        {"1e-400", "float64 0.0"},
        {"'abc'", "string abc"},
        {"\"abc\"", "string abc"},
        {"''", "string "},
        {"\"\"", "string "},
        {"'a'", "string a"}, // no character type
        {"'it\\'s'", "string it's"},
        {"\"say \\\"x\\\"\"", "string say \"x\""},
        {"'\\x41\\u00e9\\n'", "string A\xC3\xA9\n"},
        {"'\xC3\xA9'", "string \xC3\xA9"},
        {"'a\\0b'", std::string("string a\0b", 10)},
        {"true", "bool true"},
        {"(7)", "int64 7"},
        {"((('x')))", "string x"},
    });
}

TEST(PrimaryExpression, IsReplacedWhateverTheValueHeldBefore)
{
    for (const char* text : {"1", "1.5", "'abc'", "true", "(2)"})
        for (const Operand& before : AllOperands())
        {
            KSParser parser;
            parser.Init(text);
            KSValue literal(before.Value());
            parser.ParseExpression(literal);
            EXPECT_EQ(KindAndValue(literal), OutcomeOfText(text)) << text << " over " << before.m_name;
        }
}

TEST(PrimaryExpression, NeedsAnOperand)
{
    ExpectRows({
        {"", "LexScannerException at 0: Unexpected end of text after start of text in expression", ""},
        {"   ", "LexScannerException at 3: Unexpected end of text after start of text in expression", ""},
        {"// nothing", "LexScannerException at 10: Unexpected end of text after start of text in expression", ""},
        {")", "LexScannerException at 0: Unexpected ) after start of text in expression", ") at 0"},
        {"()", "LexScannerException at 1: Unexpected ) after ( in expression", ") at 1"},
        {"1 +", "LexScannerException at 3: Unexpected end of text after + in expression", ""},
        {"1 + * 2", "LexScannerException at 4: Unexpected * after + in expression", "* at 4"},
        {"-", "LexScannerException at 1: Unexpected end of text after - in expression", ""},
        {"]", "LexScannerException at 0: Unexpected ] after start of text in expression", "] at 0"},
        {"++1", "LexScannerException at 0: Unexpected ++ after start of text in expression", "++ at 0"},
        {"--1", "LexScannerException at 0: Unexpected -- after start of text in expression", "-- at 0"},
        {"1 + ++1", "LexScannerException at 4: Unexpected ++ after + in expression", "++ at 4"},
        {"= 1", "LexScannerException at 0: Unexpected = after start of text in expression", "= at 0"},
        {"? 1 : 2", "LexScannerException at 0: Unexpected ? after start of text in expression", "? at 0"},
        {"(1, 2)", "LexScannerException at 2: Expected ) when read ,", ", at 2"},
    });
}

// Every kind of token that no operand begins with.
TEST(PrimaryExpression, RefusesEveryOtherToken)
{
    for (const OperatorSpelling& row : s_operatorSpellings)
    {
        if (row.m_token == TOKEN_LEFT_PAREN)
            continue;
        const std::string text = std::string(" ") + row.m_text + " ";
        const Evaluation evaluation = Evaluate(ViewOf(text), &KSParser::ParsePrimaryExpression);
        EXPECT_EQ(evaluation.m_outcome, std::string("LexScannerException at 1: Unexpected ") + row.m_text +
                                            " after start of text in expression");
        EXPECT_EQ(evaluation.m_next, std::string(row.m_text) + " at 1");
    }
}

TEST(PrimaryExpression, TakesNoSign)
{
    ExpectRows(
        {
            {"-5", "LexScannerException at 0: Unexpected - after start of text in expression", "- at 0"},
            {"5 - 3", "int64 5", "- at 2"},
        },
        &KSParser::ParsePrimaryExpression);
}

TEST(Groups, NeedTheirClosingParenthesis)
{
    ExpectRows({
        {"(1", "LexScannerException at 2: Expected ) when read end of text", ""},
        {"(1 2)", "LexScannerException at 3: Expected ) when read 2", "2 at 3"},
        {"((1)", "LexScannerException at 4: Expected ) when read end of text", ""},
        {"(1]", "LexScannerException at 2: Expected ) when read ]", "] at 2"},
        {"(1 + 2", "LexScannerException at 6: Expected ) when read end of text", ""},
    });
}

TEST(Literals, ThatAreMalformedAreReportedAtTheirPlace)
{
    const std::string tooLarge = "9223372036854775808";
    ExpectRows({
        {tooLarge, "LexScannerException at 0: Integer literal " + tooLarge + " is out of range of int64",
         tooLarge + " at 0"},
        {"1 + " + tooLarge, "LexScannerException at 4: Integer literal " + tooLarge + " is out of range of int64",
         tooLarge + " at 4"},
        {"-" + tooLarge, "LexScannerException at 1: Integer literal " + tooLarge + " is out of range of int64",
         tooLarge + " at 1"}, // the sign is no part of it
        {"0x10000000000000000",
         "LexScannerException at 0: Hexadecimal literal 0x10000000000000000 is out of range of int64",
         "0x10000000000000000 at 0"},
        {"(2 * 1e999)", "LexScannerException at 5: Float literal 1e999 is out of range of float64", "1e999 at 5"},
        {"'ab\\q'", "LexScannerException at 0: Malformed escape \\q in string literal: unknown escape", "'ab\\q' at 0"},
        {"'\\x4'",
         "LexScannerException at 0: Malformed escape \\x4 in string literal: \\x takes two hexadecimal digits",
         "'\\x4' at 0"},
        {"sin(" + tooLarge + ")", "LexScannerException at 4: Integer literal " + tooLarge + " is out of range of int64",
         tooLarge + " at 4"},
    });
}

TEST(Scanning, FailuresAreReportedAtTheirPlace)
{
    ExpectRows({
        {"1 + 'abc", "LexScannerException at 4: Unterminated string literal", "+ at 2"},
        {"1 /* 2", "LexScannerException at 2: Unterminated comment", "1 at 0"},
        {"1 + 12abc", "LexScannerException at 4: Malformed number 12abc", "+ at 2"},
        {"1 + \x01", "LexScannerException at 4: Illegal character 0x01 outside quotes", "+ at 2"},
        {"\xC3\xA9", "LexScannerException at 0: Illegal character 0xC3 outside quotes", "start of text at 0"},
    });
}

TEST(Comments, MayStandBetweenAnyTokens)
{
    ExpectRows({
        {"/* a */ 1 /* b */ + // c\n 2 // d", "int64 3"},
        {"# a comment line\n1 + 2", "int64 3"},
        {"1\n# another\n+ 2", "int64 3"},
    });
}

// --- Entry points ----------------------------------------------------------------------------------------------------

TEST(Expression, EndsAtTheFirstTokenThatNoLevelUses)
{
    ExpectRows({
        {"1 2", "int64 1", "2 at 2"},
        {"1)", "int64 1", ") at 1"},
        {"1, 2", "int64 1", ", at 1"},
        {"1 : 2", "int64 1", ": at 2"},
        {"1 'a'", "int64 1", "'a' at 2"},
        {"1 true", "int64 1", "true at 2"},
        {"1 ?= 2", "int64 1", "?= at 2"},
        {"1 -> 2", "int64 1", "-> at 2"},
        {"1 ++", "int64 1", "++ at 2"},
        {"1 --", "int64 1", "-- at 2"},
        {"1--1", "int64 1", "-- at 1"}, // the longest match
        {"1 - -1", "int64 2"},
        {"1 ~2", "int64 1", "~ at 2"},
        {"1 !2", "int64 1", "! at 2"},
        {"1;", "int64 1", "; at 1"},
        {"1 }", "int64 1", "} at 2"},
        {"1 # 2", "int64 1", "# at 2"},
    });
}

TEST(Expression, MakesALiteralExceptionAScannerException)
{
    const ExpressionRow safe[] = {
        {"1 + '\\q'", "LexScannerException at 4: Malformed escape \\q in string literal: unknown escape"}};
    const ExpressionRow unsafe[] = {
        {"1 + '\\q'", "LiteralException: Malformed escape \\q in string literal: unknown escape"},
        {"1 + (2 + '\\q')", // inside parentheses it is a whole expression again
         "LexScannerException at 9: Malformed escape \\q in string literal: unknown escape"}};
    ExpectRows(safe);
    ExpectRows(unsafe, &KSParser::UnsafeParseExpression);
}

TEST(Expression, LetsValueExceptionsThrough)
{
    ExpectRows({
        {"1/0", "KSValueException: Division by zero error", ""},
        {"(1/0)", "KSValueException: Division by zero error", ") at 4"},
        {"'a' + 1 2", "KSValueException: Incompatible types (string and int64) for + operation", "2 at 8"},
    });
}

TEST(Expression, KnowsNeitherFileNorLineOfItsErrors)
{
    const std::string text = "1 +\n)";
    KSParser parser;
    KSValue literal;
    parser.Init(ViewOf(text));
    EXPECT_TRUE(ThrowsLexScannerException([&] { parser.ParseExpression(literal); }, ViewOf(text), 4,
                                          "Unexpected ) after + in expression"));
}

TEST(Expression, CanBeReadAgainBehindTheFirst)
{
    KSParser parser;
    parser.Init("1 + 2 'a' + 'b' 7");
    KSValue literal;
    for (const char* expected : {"int64 3", "string ab", "int64 7"})
    {
        parser.ParseExpression(literal);
        EXPECT_EQ(KindAndValue(literal), expected);
    }
    EXPECT_EQ(parser.m_token.m_type, TOKEN_END);
}

TEST(Expression, OfAnUnboundParserIsUnexpected)
{
    KSParser parser;
    KSValue literal;
    EXPECT_TRUE(ThrowsDescription<LexScannerException>([&] { parser.ParseExpression(literal); },
                                                       "Unexpected start of text after start of text in expression"));
}

// Anybody can put a token into a parser.
TEST(Expression, OfATokenThatNoScannerDeliversIsUnexpected)
{
    static const char text[] = "token + 1";
    const SubString tokens[] = {{text, text + 5}, {text, text}, {}};
    for (const int kind : {-2, -1, 0, 9999, 10001, 10002, 10066, 20000, std::numeric_limits<int>::max(),
                           std::numeric_limits<int>::min()})
        for (const SubString token : tokens)
        {
            KSParser parser;
            parser.m_token = {static_cast<EToken>(kind), token};
            parser.m_str = {text + 5, text + 9};
            const std::string shown = kind == -1 ? "start of text" : std::string(token.m_p1, token.m_p2);
            const std::string message = "Unexpected " + shown + " after start of text in expression";
            KSValue literal;
            const auto parse = [&] { parser.ParseExpression(literal); };
            EXPECT_TRUE(ThrowsDescription<LexScannerException>(parse, message)) << kind;
            EXPECT_EQ(parser.m_token.m_type, kind);
        }
}

TEST(Expression, OfALiteralThatNoScannerDeliversIsMalformed)
{
    static const char text[] = "'a + 1";
    for (const SubString token : {SubString{text, text + 1}, SubString{text, text}, SubString()})
        for (const auto& [kind, name] :
             {std::pair{TOKEN_INTEGER, "Integer"}, std::pair{TOKEN_HEX_INTEGER, "Hexadecimal"},
              std::pair{TOKEN_FLOAT, "Float"}, std::pair{TOKEN_SINGLE_QUOTED_STRING, "String"},
              std::pair{TOKEN_DOUBLE_QUOTED_STRING, "String"}})
        {
            KSParser parser;
            parser.m_token = {kind, token};
            parser.m_str = {text + 2, text + 6};
            const std::string message =
                std::string(name) + " literal " + std::string(token.m_p1, token.m_p2) + " is malformed";
            KSValue literal;
            const auto parse = [&] { parser.ParseExpression(literal); };
            EXPECT_TRUE(ThrowsDescription<LexScannerException>(parse, message)) << kind;
        }
}

TEST(Expression, OfALiteralThatAProgramPutThereHasTheValueOfItsText)
{
    const struct
    {
        EToken m_kind;
        const char* m_token;
        const char* m_outcome;
    } rows[] = {
        {TOKEN_INTEGER, "12", "int64 12"},
        {TOKEN_HEX_INTEGER, "0x1F", "int64 31"},
        {TOKEN_FLOAT, "1.5", "float64 1.5"},
        {TOKEN_FLOAT, ".0", "float64 0.0"},
        {TOKEN_FLOAT, "12", "float64 12.0"}, // digits alone tell a float, too
        {TOKEN_INTEGER, "1.5", "LexScannerException at 0: Integer literal 1.5 is malformed"},
        {TOKEN_INTEGER, "0x1F", "LexScannerException at 0: Integer literal 0x1F is malformed"},
        {TOKEN_HEX_INTEGER, "12", "LexScannerException at 0: Hexadecimal literal 12 is malformed"},
        {TOKEN_FLOAT, "0x1F", "LexScannerException at 0: Float literal 0x1F is malformed"},
    };
    for (const auto& row : rows)
    {
        const ExactText token(row.m_token);
        const auto evaluate = [&]
        {
            KSParser parser;
            parser.m_token = {row.m_kind, token.View()};
            KSValue literal;
            parser.ParseExpression(literal);
            return literal;
        };
        EXPECT_EQ(OutcomeOf(evaluate, token.View()), row.m_outcome) << row.m_token;
    }
}

// Wherever a text is cut, nobody looks at what is behind it.
TEST(Expression, IsReadNoFurtherThanItsText)
{
    const std::string texts[] = {
        "1 + 0x1F /* a */ * 12345678 // b\n - .5e-3 % 4. / 'a\\x41\\u00e9\\n' + \"b\" ? true : int(3.5)",
        "a.b::c.d[ 0x0 ](1, 'x', \"y\")->e == len(\"\\\\\") && !false || ~7 << 2 >= 1e+10",
        "000000000000000000000000000001234567890123456789012345678901234567890",
        "'\\x4' + '\\U0010FFFF' + \"\\q",
        "1 + / 2 - /* a */ 3 / // b",
    };
    for (const std::string& text : texts)
        for (std::size_t begin = 0; begin < text.size(); ++begin)
            for (std::size_t size = 0; begin + size <= text.size() && size < 40; ++size)
            {
                const std::string_view part = std::string_view(text).substr(begin, size);
                const ExactText exact(part);
                ASSERT_EQ(Evaluate(exact.View()).m_outcome, OutcomeOfText(std::string(part))) << part;
            }
}

// Nor where the token before is dropped.
TEST(LiteralInBrackets, IsReadNoFurtherThanItsText)
{
    for (const std::string text : {"1 /", "1 -", "1 .", "1 '", "1 0", "1 (", "1 / ", "1 /*"})
    {
        const ExactText exact(text);
        EXPECT_EQ(Evaluate(exact.View(), &KSParser::ParseLiteralInBrackets).m_outcome,
                  Evaluate(ViewOf(text), &KSParser::ParseLiteralInBrackets).m_outcome)
            << text;
    }
}

TEST(Expression, OfANameThatNoScannerDeliversIsUnexpected)
{
    for (const SubString token : {SubString(""), SubString()})
    {
        KSParser parser;
        parser.m_token = {TOKEN_IDENTIFIER, token};
        KSValue literal;
        const auto parse = [&] { parser.ParsePrimaryIdentifierExpression(literal); };
        EXPECT_TRUE(ThrowsDescription<LexScannerException>(parse, "Unexpected  after start of text in expression"));
    }
}

// --- The helpers of the built-ins ------------------------------------------------------------------------------------

TEST(LiteralInBrackets, DropsTheCurrentTokenAndReadsAGroup)
{
    ExpectRows(
        {
            {"name (1 + 2) 3", "int64 3", "3 at 13"},
            {"+ ('a')", "string a"}, // whatever the token is
            {"name 1", "LexScannerException at 5: Expected ( when read 1", "1 at 5"},
            {"name", "LexScannerException at 4: Expected ( when read end of text", ""},
            {"name (1", "LexScannerException at 7: Expected ) when read end of text", ""},
            {"name ()", "LexScannerException at 6: Unexpected ) after ( in expression", ") at 6"},
            {"name ('\\q')", "LexScannerException at 6: Malformed escape \\q in string literal: unknown escape"},
            {"name (1/0)", "KSValueException: Division by zero error"},
        },
        &KSParser::ParseLiteralInBrackets);
}

template <class F>
std::string OutcomeOfParsing(const std::string& text, F parse, std::string* next = nullptr)
{
    KSParser parser;
    const std::string outcome = OutcomeOf(
        [&]
        {
            parser.Init(ViewOf(text));
            return KSValue(parse(parser));
        },
        ViewOf(text));
    if (next != nullptr)
        *next = WrittenText(parser.m_token);
    return outcome;
}

TEST(Float64Argument, MustBeAFloat)
{
    const auto parse = [](KSParser& parser) { return parser.ParseFloat64Arg(); };
    std::string next;
    EXPECT_EQ(OutcomeOfParsing("name (1.5) rest", parse, &next), "float64 1.5");
    EXPECT_EQ(next, "rest");
    EXPECT_EQ(OutcomeOfParsing("name (1)", parse),
              "LexScannerException at 7: No implicit conversion from value 1 to float64");
    EXPECT_EQ(OutcomeOfParsing("name 1.5", parse), "LexScannerException at 5: Expected ( when read 1.5");
    EXPECT_EQ(OutcomeOfParsing("name (1.5", parse), "LexScannerException at 9: Expected ) when read end of text");
}

TEST(ParsedValue, IsConvertedAsItsFlagSays)
{
    const auto parse = [](KSParser& parser) { return parser.ParseValue<double>(false); };
    const auto parseExplicitly = [](KSParser& parser) { return parser.ParseValue<double>(true); };
    const struct
    {
        std::string m_text, m_outcome, m_outcomeExplicitly;
    } rows[] = {
        {"1.5", "float64 1.5", "float64 1.5"},
        {"1.5 + 0.5", "float64 2.0", "float64 2.0"},
        {"2", "LexScannerException at 1: No implicit conversion from value 2 to float64", "float64 2.0"},
        {"true", "LexScannerException at 4: No implicit conversion from value true to float64", "float64 1.0"},
        {"'x' 5", "LexScannerException at 4: No implicit conversion from value x to float64",
         "LexScannerException at 4: No implicit conversion from value x to float64"},
        {"1/0 5", "LexScannerException at 4: Division by zero error",
         "LexScannerException at 4: Division by zero error"},
        {"1 = 2", "LexScannerException at 5: Can't assign to int64 r-value",
         "LexScannerException at 5: Can't assign to int64 r-value"},
        {")", "LexScannerException at 0: Unexpected ) after start of text in expression",
         "LexScannerException at 0: Unexpected ) after start of text in expression"},
        // Not converted here: that is left to the expression around it.
        {"1e999", "LiteralException: Float literal 1e999 is out of range of float64",
         "LiteralException: Float literal 1e999 is out of range of float64"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(OutcomeOfParsing(row.m_text, parse), row.m_outcome) << row.m_text;
        EXPECT_EQ(OutcomeOfParsing(row.m_text, parseExplicitly), row.m_outcomeExplicitly) << row.m_text;
    }
}

TEST(IdentifierExpression, NeedsAnIdentifier)
{
    for (const char* text : {"1", "'true'", "", "("})
    {
        KSParser parser;
        parser.Init(text);
        KSValue literal;
        EXPECT_TRUE(FailsAssertion([&] { parser.ParsePrimaryIdentifierExpression(literal); },
                                   "m_token == TOKEN_IDENTIFIER", "src/KSParser", 527))
            << text;
    }
}

// --- Postfix forms ---------------------------------------------------------------------------------------------------

TEST(Calls, EvaluateTheirArgumentsAndAreThenRefused)
{
    const std::string refused = "KSValueException: Function call not implemented currently";
    ExpectRows({
        // The closing parenthesis is consumed after the call.
        {"'f'()", refused, ") at 4"},
        {"'f'(1)", refused, ") at 5"},
        {"'f'(1, 'a', 2.5)", refused, ") at 15"},
        {"'f'(1,)", refused, ") at 6"}, // one trailing comma
        {"'f'(true ? 1 : 2, (3))", refused},
        {"1(2)", refused},
        {"(1 + 2)(3)", refused},
        {"true(1)", refused},
        {"'f'('g'(1))", refused, ") at 9"}, // the inner one
        {"'f'(1/0, 5%0)", "KSValueException: Division by zero error"},
        {"'f'(5%0, 1/0)", "KSValueException: Modulo zero error"},
        {"'f'(1, 5%0", "KSValueException: Modulo zero error"},
    });
}

TEST(Calls, ReportWhatDoesNotContinueTheirArguments)
{
    ExpectRows({
        {"'f'(,1)", "LexScannerException at 4: Unexpected , after ( in expression", ", at 4"},
        {"'f'(1 2)", "LexScannerException at 6: Unexpected 2 after 1 in expression", "2 at 6"},
        {"'f'(1,,2)", "LexScannerException at 6: Unexpected , after , in expression", ", at 6"},
        {"'f'(1,,)", "LexScannerException at 6: Unexpected , after , in expression", ", at 6"},
        {"'f'(,)", "LexScannerException at 4: Unexpected , after ( in expression", ", at 4"},
        {"'f'(", "LexScannerException at 4: Unexpected end of text after ( in expression", ""},
        {"'f'(1", "LexScannerException at 5: Unexpected end of text after 1 in expression", ""},
        {"'f'(1,", "LexScannerException at 6: Unexpected end of text after , in expression", ""},
        {"'f'(1]", "LexScannerException at 5: Unexpected ] after 1 in expression", "] at 5"},
        {"'f'(1e999)", "LexScannerException at 4: Float literal 1e999 is out of range of float64"},
        // An unknown name fails before it could be called.
        {"f(1,)", "LexScannerException at 0: Unexpected f after start of text in expression", "f at 0"},
    });
}

TEST(SubscriptExpressions, AreAppliedBeforeTheirBracketIsLookedFor)
{
    ExpectRows({
        {"'abc'[3]", "KSValueException: Index 3 out of range [0,3) on string", "] at 7"},
        {"'abc'[9", "KSValueException: Index 9 out of range [0,3) on string", ""},
        {"'abc'[-1)", "KSValueException: Index -1 out of range [0,3) on string", ") at 8"},
        {"'abc'[1.0]", "KSValueException: No implicit conversion from value 1.0 to int64"},
        {"5['a']", "KSValueException: [] not available on int64"},
        {"'abc'[1/0]", "KSValueException: Division by zero error"},
        {"'abc'[1]", "KelmAssertionError: 0 (src/KSValue)", "] at 7"},
        {"'abc'[1", "KelmAssertionError: 0 (src/KSValue)", ""},
        {"'abc'[1][2]", "KelmAssertionError: 0 (src/KSValue)", "] at 7"},
        {"'abc'[]", "LexScannerException at 6: Unexpected ] after [ in expression", "] at 6"},
        {"'abc'[1 = 2]", "KSValueException: Can't assign to int64 r-value"},
        {"s[0", "LexScannerException at 0: Unexpected s after start of text in expression", "s at 0"},
    });
}

TEST(SubscriptExpressions, LeaveTheByteInTheValue)
{
    const Evaluation evaluation = Evaluate("'abc'[1]");
    EXPECT_EQ(KindAndValue(evaluation.m_value), "int64 98");
}

TEST(Members, NeedAnIdentifierAndAreThenRefused)
{
    const std::string refused = "KSValueException: Dot not implemented currently";
    ExpectRows({
        {"'abc'.size", refused, "size at 6"},
        {"'abc' . size", refused, "size at 8"},
        {"'abc'.true", refused}, // any identifier
        {"1 .x", refused},
        {"(1).x.y", refused, "x at 4"},
        {"'abc'.(", "LexScannerException at 6: Expected identifier when read (", "( at 6"},
        {"'abc'.5", "string abc", ".5 at 5"}, // a float, not a member
        {"'abc'.'x'", "LexScannerException at 6: Expected identifier when read 'x'", "'x' at 6"},
        {"'abc'.", "LexScannerException at 6: Expected identifier when read end of text", ""},
        {"x.(", "LexScannerException at 0: Unexpected x after start of text in expression", "x at 0"},
    });
}

TEST(PostfixForms, EndWhereNoneFollows)
{
    ExpectRows(
        {
            {"'a'", "string a"},
            {"'a' + 'b'", "string a", "+ at 4"},
            {"-1", "LexScannerException at 0: Unexpected - after start of text in expression", "- at 0"},
            {"'a'{", "string a", "{ at 3"},
            {"'a'->b", "string a", "-> at 3"},
            {"'a'++", "string a", "++ at 3"},
        },
        &KSParser::ParsePostFixExpression);
}

} // namespace
} // namespace kelm
