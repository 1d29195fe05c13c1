// The precedence ladder: which operators bind what, in which order operands are evaluated, and how the levels agree.

#include <klKelmScript/KSParser.h>

#include <support/Script.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

// --- Worked examples -------------------------------------------------------------------------------------------------

TEST(Operators, BindInTheCustomaryOrder)
{
    ExpectRows({
        {"1 + 2 * 3", "int64 7"},
        {"(1 + 2) * 3", "int64 9"},
        {"10 - 4 - 3", "int64 3"},
        {"1 << 2 + 1", "int64 8"},
        {"6 & 3 == 3", "KSValueException: Incompatible types (int64 and bool) for & operation"},
        {"1 < 2 < 3", "KSValueException: Incompatible types (bool and int64) for comparison operation"},
        {"1 < 2 == true", "bool true"},
        {"'ab' + 'cd'", "string abcd"},
        {"'a' + 'b' + 'c' == 'abc'", "bool true"},
        {"7.0 / 2.0", "int64 3"},
        {"7.5 / 2", "float64 3.75"},
        {"-7 / 2", "int64 -3"},
        {"-7 % 2", "int64 -1"},
        {"9223372036854775807 + 1", "int64 -9223372036854775808"},
        {"2 == 2.0", "bool true"},
        {"1 << 65", "int64 2"},
        {"-8 >> 1", "int64 -4"},
        {"5 ^ 3", "int64 6"}, // the exclusive or
    });
}

TEST(PowerOperator, BindsBetweenPrefixOperatorsAndProductsAndToTheLeft)
{
    ExpectRows({
        {"2 ^^ 3 ^^ 2", "int64 64"},
        {"2 ^^ (3 ^^ 2)", "int64 512"},
        {"-2 ^^ 2", "int64 4"},
        {"-(2 ^^ 2)", "int64 -4"},
        {"2 ^^ -1", "int64 0"},
        {"2 * 3 ^^ 2", "int64 18"},
        {"2.0 ^^ 3", "float64 8.0"},
        {"4 ^^ 0.5", "float64 2.0"},
        {"0 ^^ 0", "int64 1"},
        {"0 ^^ -1", "KSValueException: Calculation 0.0 ^^ -1.0 ill defined"},
        {"'a' ^^ 2", "KSValueException: Incompatible types (string and int64) for ^ operation"},
    });
}

TEST(PrefixOperatorExpressions, ApplyFromTheInsideOut)
{
    ExpectRows({
        {"-5", "int64 -5"},
        {"- -5", "int64 5"},
        {"-~5", "int64 6"},
        {"~-5", "int64 4"},
        {"!true", "bool false"},
        {"!!true", "bool true"},
        {"+2.0", "int64 2"},
        {"+2.5", "float64 2.5"},
        {"-0.0", "int64 0"},
        {"-1.0", "int64 -1"},
        {"-1.5", "float64 -1.5"},
        {"~2.0", "int64 -3"},
        {"-!~+1", "KSValueException: No implicit conversion from value -2 to bool"},
        {"~2.5", "KSValueException: Incompatible type (float64) for unary ~ operation"},
        {"+true", "KSValueException: Incompatible type (bool) for unary + operation"},
        {"-'a'", "KSValueException: Incompatible type (string) for unary - operation"},
        {"!0", "KSValueException: No implicit conversion from value 0 to bool"},
        {"-9223372036854775807 - 1", "int64 -9223372036854775808"},
        {"-(-9223372036854775807 - 1)", "int64 -9223372036854775808"},
    });
}

TEST(Relations, AreAllDerivedFromLess)
{
    const struct
    {
        const char *m_a, *m_b;
        bool m_isEqual, m_isNotEqual, m_isLess, m_isLessEqual, m_isGreater, m_isGreaterEqual;
    } rows[] = {
        {"1", "2", false, true, true, true, false, false},
        {"2", "1", false, true, false, false, true, true},
        {"2", "2.0", true, false, false, true, false, true},
        {"'a'", "'b'", false, true, true, true, false, false},
        {"'b'", "'b'", true, false, false, true, false, true},
        // A NaN is ordered in neither direction, so that it is both at most and at least anything.
        {"log(exp(1000.0)) - log(exp(1000.0))", "1", false, true, false, true, false, true},
    };
    const auto text = [](bool x) { return x ? "bool true" : "bool false"; };
    for (const auto& row : rows)
    {
        const auto outcome = [&](const char* relation)
        { return OutcomeOfText(std::string(row.m_a) + relation + row.m_b); };
        EXPECT_EQ(outcome(" == "), text(row.m_isEqual)) << row.m_a;
        EXPECT_EQ(outcome(" != "), text(row.m_isNotEqual)) << row.m_a;
        EXPECT_EQ(outcome(" < "), text(row.m_isLess)) << row.m_a;
        EXPECT_EQ(outcome(" <= "), text(row.m_isLessEqual)) << row.m_a;
        EXPECT_EQ(outcome(" > "), text(row.m_isGreater)) << row.m_a;
        EXPECT_EQ(outcome(" >= "), text(row.m_isGreaterEqual)) << row.m_a;
    }
}

TEST(Relations, NameTheirOperandsInTheOrderTheyAreComparedIn)
{
    ExpectRows({
        {"true < 1", "KSValueException: Incompatible types (bool and int64) for comparison operation"},
        {"true <= 1", "KSValueException: Incompatible types (int64 and bool) for comparison operation"},
        {"true > 1", "KSValueException: Incompatible types (int64 and bool) for comparison operation"},
        {"true >= 1", "KSValueException: Incompatible types (bool and int64) for comparison operation"},
        {"true < false", "KSValueException: Incompatible types (bool and bool) for comparison operation"},
        {"true == false", "bool false"},
        {"true == 1", "KSValueException: Incompatible types (bool and int64) for comparison operation"},
    });
}

TEST(ConditionalExpression, ChoosesABranch)
{
    ExpectRows({
        {"true ? 1 : 2", "int64 1"},
        {"false ? 1 : 2", "int64 2"},
        {"1 < 2 ? 'yes' : 'no'", "string yes"},
        {"true ? 1 : false ? 2 : 3", "int64 1"},
        {"false ? 1 : false ? 2 : 3", "int64 3"},
        {"false ? 1 : true ? 2 : 3", "int64 2"},
        {"true ? false ? 1 : 2 : 3", "int64 2"},
        {"true ? true ? 1 : 2 : 3", "int64 1"},
        {"(true ? 1 : 2) + 10", "int64 11"},
        {"true ? 1 : 2 + 10", "int64 1"},
        {"1 ? 2 : 3", "KSValueException: No implicit conversion from value 1 to bool"},
        {"'true' ? 2 : 3", "KSValueException: No implicit conversion from value true to bool"},
        {"1.0 ? 2 : 3", "KSValueException: No implicit conversion from value 1.0 to bool"},
        {"true ? 1", "LexScannerException at 8: Expected : when read end of text", ""},
        {"true ? 1 2", "LexScannerException at 9: Expected : when read 2", "2 at 9"},
        {"true ? 1 ; 2", "LexScannerException at 9: Expected : when read ;", "; at 9"},
        {"true ? : 2", "LexScannerException at 7: Unexpected : after ? in expression", ": at 7"},
        {"true ? 1 :", "LexScannerException at 10: Unexpected end of text after : in expression", ""},
        {"true ? 1 :: 2", "LexScannerException at 9: Expected : when read ::", ":: at 9"},
    });
}

TEST(Assignment, AlwaysFailsWhateverItWouldAssign)
{
    ExpectRows({
        {"1 = 2", "KSValueException: Can't assign to int64 r-value"},
        {"true = 2", "KSValueException: Can't assign to bool r-value"},
        {"1.5 = 2", "KSValueException: Can't assign to float64 r-value"},
        {"'a' = 2", "KSValueException: Can't assign to string r-value"},
        {"1 += 2", "KSValueException: Can't assign to int64 r-value"},
        {"1 = 2 = 3", "KSValueException: Can't assign to int64 r-value", "= at 6"}, // to the left
        {"(1 = 2)", "KSValueException: Can't assign to int64 r-value", ") at 6"},
        {"true ? 1 = 2 : 3", "KSValueException: Can't assign to int64 r-value", ": at 13"},
        {"1 = ", "LexScannerException at 4: Unexpected end of text after = in expression", ""},
        {"1 = 2 3", "KSValueException: Can't assign to int64 r-value", "3 at 6"},
    });
}

TEST(Assignment, InACompoundFormCombinesFirst)
{
    const struct
    {
        const char *m_operator, *m_failure;
    } rows[] = {
        {"&=", "Incompatible types (string and int64) for & operation"},
        {"|=", "Incompatible types (string and int64) for | operation"},
        {"^=", "Incompatible types (string and int64) for ^ operation"},
        {"<<=", "Incompatible types (string and int64) for << operation"},
        {">>=", "Incompatible types (string and int64) for >> operation"},
        {"&&=", "No implicit conversion from value a to bool"},
        {"||=", "No implicit conversion from value a to bool"},
        {"^^=", "Incompatible types (string and int64) for ^ operation"},
        {"=", "Can't assign to string r-value"},
        {"+=", "Incompatible types (string and int64) for + operation"},
        {"-=", "Incompatible types (string and int64) for - operation"},
        {"*=", "Incompatible types (string and int64) for * operation"},
        {"/=", "Incompatible types (string and int64) for / operation"},
        {"%=", "Incompatible types (string and int64) for % operation"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(OutcomeOfText(std::string("'a' ") + row.m_operator + " 1"),
                  std::string("KSValueException: ") + row.m_failure);
        const bool isLogical = row.m_operator[0] == row.m_operator[1] && row.m_operator[0] != '^' &&
                               row.m_operator[0] != '<' && row.m_operator[0] != '>';
        EXPECT_EQ(
            OutcomeOfText(std::string(isLogical ? "true " : "6 ") + row.m_operator + (isLogical ? " false" : " 3")),
            std::string("KSValueException: Can't assign to ") + (isLogical ? "bool" : "int64") + " r-value");
    }
    ExpectRows({
        {"1 / 0 += 2", "KSValueException: Division by zero error", "+= at 6"},
        {"1 /= 0", "KSValueException: Division by zero error"},
        {"1 %= 0", "KSValueException: Modulo zero error"},
        {"1.5 /= 0", "KSValueException: Division by zero"},
    });
}

TEST(AssignmentTokens, AreFourteen)
{
    const std::vector<int> expected = {10016, 10017, 10018, 10024, 10025, 10026, 10027,
                                       10028, 10035, 10039, 10040, 10041, 10042, 10043};
    std::vector<int> found;
    for (int token = TOKEN_UNDEF; token <= TOKEN_HASH + 10; ++token)
        if (IsAssignmentToken(static_cast<EToken>(token)))
            found.push_back(token);
    EXPECT_EQ(found, expected);
    EXPECT_FALSE(IsAssignmentToken(TOKEN_QUESTION_EQUAL));
    EXPECT_FALSE(IsAssignmentToken(TOKEN_EXCLAM_EQUAL));
}

// --- No short circuit, and the order of evaluation -------------------------------------------------------------------

TEST(Operands, AreAllEvaluated)
{
    const std::string division = "KSValueException: Division by zero error";
    ExpectRows({
        {"true || 1/0", division},
        {"false && 1/0", division},
        {"true || 1/0 == 1", division},
        {"true ? 1 : 1/0", division},
        {"false ? 1/0 : 1", division},
        {"true || 5", "bool true"}, // evaluated, but not converted
        {"false && 'x'", "bool false"},
        {"false || 5", "KSValueException: No implicit conversion from value 5 to bool"},
        {"true && 'x'", "KSValueException: No implicit conversion from value x to bool"},
        {"1 && true", "KSValueException: No implicit conversion from value 1 to bool"},
        {"1 || 0", "KSValueException: No implicit conversion from value 1 to bool"},
        {"true || nothing", "LexScannerException at 8: Unexpected nothing after || in expression"},
    });
}

// Where several operands fail, the first one evaluated is the one reported.
TEST(Operands, AreEvaluatedFromTheLeft)
{
    const std::string division = "KSValueException: Division by zero error";
    const std::string modulo = "KSValueException: Modulo zero error";
    for (const char* binary :
         {"||", "&&", "|", "^", "&", "==", "!=", "<", "<=", ">", ">=", "<<", ">>", "+", "-", "*", "/", "%", "^^", "="})
    {
        EXPECT_EQ(OutcomeOfText(std::string("(1/0) ") + binary + " (5%0)"), division) << binary;
        EXPECT_EQ(OutcomeOfText(std::string("(5%0) ") + binary + " (1/0)"), modulo) << binary;
        // The operation itself comes last.
        EXPECT_EQ(OutcomeOfText(std::string("'a' ") + binary + " (5%0)"), modulo) << binary;
    }
    ExpectRows({
        {"1 + 2 * 'a' + 1/0", "KSValueException: Incompatible types (int64 and string) for * operation"},
        {"1/0 ? 5%0 : 1", division},
        {"1 ? 1/0 : 5%0", division}, // the condition is converted last
        {"1 ? 2 : 5%0", modulo},
        {"true ? 5%0 : 1/0", modulo},
        {"1/0 + )", division, "+ at 4"}, // before the next operand is looked at
    });
}

// An operand behind an operator is the same as anywhere else, however it is written.
TEST(RightOperands, AreReadLikeAnyOther)
{
    ExpectRows({
        {"1+5", "int64 6"},
        {"1 +5", "int64 6"},
        {"1+ 5", "int64 6"},
        {"1 +\n\t5\n", "int64 6"},
        {"1 + /* c */ 5", "int64 6"},
        {"1 + // c\n5", "int64 6"},
        {"1 +\n# c\n5", "int64 6"},
        {"1 + 5// c", "int64 6"},
        {"1 + 007", "int64 8"},
        {"1 + 0x10", "int64 17"},
        {"1 + 9223372036854775806", "int64 9223372036854775807"},
        {"1 + 00000000000000000000000000000000000042", "int64 43"},
        {"1 + 5.5", "float64 6.5"},
        {"1 + 5.", "int64 6"},
        {"1 + 5e0", "int64 6"},
        {"1 + .5", "float64 1.5"},
        {"1 + -5", "int64 -4"},
        {"1 + (5)", "int64 6"},
        {"1 + 5 6", "int64 6", "6 at 6"},
        {"1 + 5)", "int64 6", ") at 5"},
        {"1 + 5'a'", "int64 6", "'a' at 5"},
        {"1 + 5(2)", "KSValueException: Function call not implemented currently", ") at 7"},
        {"1 + 5[2]", "KSValueException: [] not available on int64", "] at 7"},
        {"1 + 5 .x", "KSValueException: Dot not implemented currently", "x at 7"},
        {"'f'(1 + 22 3)", "LexScannerException at 11: Unexpected 3 after 22 in expression", "3 at 11"},
        {"1 + 22 + )", "LexScannerException at 9: Unexpected ) after + in expression", ") at 9"},
        {"1 + 5x", "LexScannerException at 4: Malformed number 5x"},
        {"1 + 5.x", "LexScannerException at 4: Malformed number 5.x"},
        {"1 + 5e", "LexScannerException at 4: Malformed number 5e"},
        {"1 + 9223372036854775808",
         "LexScannerException at 4: Integer literal 9223372036854775808 is out of range of int64",
         "9223372036854775808 at 4"},
        {"1 + 99999999999999999999999",
         "LexScannerException at 4: Integer literal 99999999999999999999999 is out of range of int64",
         "99999999999999999999999 at 4"},
        {"1 + 5 \x01", "LexScannerException at 6: Illegal character 0x01 outside quotes", "5 at 4"},
        {"1 + 5 'a", "LexScannerException at 6: Unterminated string literal", "5 at 4"},
        {"1 + 5 /*", "LexScannerException at 6: Unterminated comment", "5 at 4"},
        {"1 + 5 12x", "LexScannerException at 6: Malformed number 12x", "5 at 4"},
    });
}

// Parentheses close one by one, and each group goes on like an operand.
TEST(NestedGroups, GoOnBehindEachParenthesis)
{
    ExpectRows({
        {"((1) + 2) * 3", "int64 9"},
        {"(((1) + 2) * 3) ^^ 2", "int64 81"},
        {"((1 + 2) * 3 + (4 - (5)))", "int64 8"},
        {"((true) ? 1 : 2) + 10", "int64 11"},
        {"((false) || (true)) && (((true)))", "bool true"},
        {"-((2)) ^^ ((2))", "int64 4"},
        {"((1)(2))", "KSValueException: Function call not implemented currently"},
        {"(('a').x)", "KSValueException: Dot not implemented currently"},
        {"(('a') = 1)", "KSValueException: Can't assign to string r-value", ") at 10"},
        {"((1) 2)", "LexScannerException at 5: Expected ) when read 2", "2 at 5"},
        {"((1)", "LexScannerException at 4: Expected ) when read end of text", ""},
        {"((1)))", "int64 1", ") at 5"},
        {"(((1e999)))", "LexScannerException at 3: Float literal 1e999 is out of range of float64", "1e999 at 3"},
        {"((1) + 1e999)", "LexScannerException at 7: Float literal 1e999 is out of range of float64", "1e999 at 7"},
    });
    const ExpressionRow unsafe[] = {
        {"((1) + 1e999)", "LexScannerException at 7: Float literal 1e999 is out of range of float64", "1e999 at 7"},
        {"((1)) + 1e999", "LiteralException: Float literal 1e999 is out of range of float64", "1e999 at 8"}};
    ExpectRows(unsafe, &KSParser::UnsafeParseExpression);
    const ExpressionRow primary[] = {{"((1) + 2) * 3", "int64 3", "* at 10"}};
    ExpectRows(primary, &KSParser::ParsePrimaryExpression);
}

// --- Precedence ------------------------------------------------------------------------------------------------------

struct NeighbourRow
{
    std::string m_text, m_asItBinds, m_asItDoesNot;
};

// For every pair of neighbouring levels, a text whose two readings come to different things.
TEST(Precedence, OfEveryPairOfNeighbours)
{
    const NeighbourRow rows[] = {
        {"true ? 'a' : 2 = 3", "(true ? 'a' : 2) = 3", "true ? 'a' : (2 = 3)"},
        {"1 = false ? 1/0 : 2", "1 = (false ? 1/0 : 2)", "(1 = false) ? 1/0 : 2"},
        {"true ? false : false || true", "true ? false : (false || true)", "(true ? false : false) || true"},
        {"true || true ? 1 : 2", "(true || true) ? 1 : 2", "true || (true ? 1 : 2)"},
        {"true || true && false", "true || (true && false)", "(true || true) && false"},
        {"true && 1 | 2", "true && (1 | 2)", "(true && 1) | 2"},
        {"1 | 1 ^ 1", "1 | (1 ^ 1)", "(1 | 1) ^ 1"},
        {"1 ^ 3 & 2", "1 ^ (3 & 2)", "(1 ^ 3) & 2"},
        {"6 & 3 == 3", "6 & (3 == 3)", "(6 & 3) == 3"},
        {"1 == 1 < 2", "1 == (1 < 2)", "(1 == 1) < 2"},
        {"1 < 1 << 1", "1 < (1 << 1)", "(1 < 1) << 1"},
        {"1 << 2 + 1", "1 << (2 + 1)", "(1 << 2) + 1"},
        {"1 + 2 * 3", "1 + (2 * 3)", "(1 + 2) * 3"},
        {"2 * 3 ^^ 2", "2 * (3 ^^ 2)", "(2 * 3) ^^ 2"},
        {"-2 ^^ 2", "(-2) ^^ 2", "-(2 ^^ 2)"},
        {"-'f'(1)", "-('f'(1))", "(-'f')(1)"},
    };
    for (const NeighbourRow& row : rows)
    {
        EXPECT_EQ(OutcomeOfText(row.m_text), OutcomeOfText(row.m_asItBinds)) << row.m_text;
        EXPECT_NE(OutcomeOfText(row.m_text), OutcomeOfText(row.m_asItDoesNot)) << row.m_text;
    }
}

TEST(Associativity, IsToTheLeftOnEveryBinaryLevel)
{
    const NeighbourRow rows[] = {
        {"true || 1 || true", "(true || 1) || true", "true || (1 || true)"},
        {"false && 1 && true", "(false && 1) && true", "false && (1 && true)"},
        {"1 | 'a' | 2.5", "(1 | 'a') | 2.5", "1 | ('a' | 2.5)"},
        {"1 ^ 'a' ^ 2.5", "(1 ^ 'a') ^ 2.5", "1 ^ ('a' ^ 2.5)"},
        {"1 & 'a' & 2.5", "(1 & 'a') & 2.5", "1 & ('a' & 2.5)"},
        {"1 == 1 == true", "(1 == 1) == true", "1 == (1 == true)"},
        {"1 != 2 == true", "(1 != 2) == true", "1 != (2 == true)"},
        {"1 < 2 < 3", "(1 < 2) < 3", "1 < (2 < 3)"},
        {"1 << 2 << 3", "(1 << 2) << 3", "1 << (2 << 3)"},
        {"256 >> 4 << 1", "(256 >> 4) << 1", "256 >> (4 << 1)"},
        {"10 - 4 - 3", "(10 - 4) - 3", "10 - (4 - 3)"},
        {"10 - 4 + 3", "(10 - 4) + 3", "10 - (4 + 3)"},
        {"100 / 5 / 2", "(100 / 5) / 2", "100 / (5 / 2)"},
        {"7 % 4 * 2", "(7 % 4) * 2", "7 % (4 * 2)"},
        {"2 ^^ 3 ^^ 2", "(2 ^^ 3) ^^ 2", "2 ^^ (3 ^^ 2)"},
        {"1 = 'a' = 2", "(1 = 'a') = 2", "1 = ('a' = 2)"},
        {"1 += 'a' -= 2.5", "(1 += 'a') -= 2.5", "1 += ('a' -= 2.5)"},
    };
    for (const NeighbourRow& row : rows)
    {
        EXPECT_EQ(OutcomeOfText(row.m_text), OutcomeOfText(row.m_asItBinds)) << row.m_text;
        EXPECT_NE(OutcomeOfText(row.m_text), OutcomeOfText(row.m_asItDoesNot)) << row.m_text;
    }
}

TEST(Associativity, OfTheConditionalIsToTheRight)
{
    EXPECT_EQ(OutcomeOfText("true ? false : true ? false : true"),
              OutcomeOfText("true ? false : (true ? false : true)"));
    EXPECT_NE(OutcomeOfText("true ? false : true ? false : true"),
              OutcomeOfText("(true ? false : true) ? false : true"));
}

struct LeveledOperator
{
    int m_level;
    const char* m_text;
};

const LeveledOperator s_binaryOperators[] = {
    {3, "||"}, {4, "&&"},  {5, "|"},   {6, "^"},  {7, "&"},  {8, "=="}, {8, "!="}, {9, "<"},  {9, "<="},  {9, ">"},
    {9, ">="}, {10, "<<"}, {10, ">>"}, {11, "+"}, {11, "-"}, {12, "*"}, {12, "/"}, {12, "%"}, {13, "^^"},
};

// The same expression with parentheses around every operation: the tightest operator takes its operands first, and of
// equally tight ones the leftmost.
std::string WithParentheses(std::vector<std::string> operands, std::vector<LeveledOperator> operators)
{
    while (!operators.empty())
    {
        const auto tightest =
            std::max_element(operators.begin(), operators.end(),
                             [](const LeveledOperator& a, const LeveledOperator& b) { return a.m_level < b.m_level; });
        const auto left = operands.begin() + (tightest - operators.begin());
        *left = "(" + *left + " " + tightest->m_text + " " + left[1] + ")";
        operands.erase(left + 1);
        operators.erase(tightest);
    }
    return operands.front();
}

void ExpectAsWithParentheses(const std::vector<std::string>& operands, const std::vector<LeveledOperator>& operators)
{
    std::string text = operands[0];
    for (std::size_t i = 0; i < operators.size(); ++i)
        text += std::string(" ") + operators[i].m_text + " " + operands[i + 1];
    EXPECT_EQ(OutcomeOfText(text), OutcomeOfText(WithParentheses(operands, operators))) << text;
}

TEST(Precedence, OfEveryTwoOperatorsIsAsWithParentheses)
{
    const std::vector<std::string> operands[] = {{"7", "2", "3"},      {"true", "false", "true"}, {"2.5", "4", "0.5"},
                                                 {"1", "true", "'a'"}, {"'a'", "'b'", "'c'"},     {"5", "5.0", "0"},
                                                 {"true", "3", "2"},   {"6", "3", "true"}};
    for (const LeveledOperator& first : s_binaryOperators)
        for (const LeveledOperator& second : s_binaryOperators)
            for (const std::vector<std::string>& row : operands)
                ExpectAsWithParentheses(row, {first, second});
}

TEST(Precedence, OfEveryThreeOperatorsIsAsWithParentheses)
{
    for (const LeveledOperator& first : s_binaryOperators)
        for (const LeveledOperator& second : s_binaryOperators)
            for (const LeveledOperator& third : s_binaryOperators)
                ExpectAsWithParentheses({"7", "2", "3", "1"}, {first, second, third});
}

// --- The public levels -----------------------------------------------------------------------------------------------

struct Level
{
    int m_level;
    ParserOperation m_operation;
};

const Level s_levels[] = {
    {1, &KSParser::ParseAssignmentExpression}, {2, &KSParser::ParseConditionalExpression},
    {3, &KSParser::ParseLogicalOrExpression},  {4, &KSParser::ParseLogicalAndExpression},
    {5, &KSParser::ParseBitwiseOrExpression},  {6, &KSParser::ParseBitwiseExOrExpression},
    {7, &KSParser::ParseBitwiseAndExpression}, {8, &KSParser::ParseEqualityExpression},
    {9, &KSParser::ParseRelationalExpression}, {10, &KSParser::ParseShiftExpression},
    {11, &KSParser::ParseAdditiveExpression},  {12, &KSParser::ParseMultiplicativeExpression},
    {13, &KSParser::ParsePowerExpression},     {14, &KSParser::ParseUnaryExpression},
    {15, &KSParser::ParsePostFixExpression},
};

// A level takes the operators of its own level and above, and stops at those below it.
TEST(Levels, TakeTheirOwnOperatorsAndThoseAbove)
{
    for (const Level& level : s_levels)
        for (const LeveledOperator& binary : s_binaryOperators)
        {
            const bool isLogical = binary.m_level <= 4;
            const std::string a = isLogical ? "true" : "9", b = isLogical ? "false" : "2";
            const std::string text = a + " " + binary.m_text + " " + b;
            const Evaluation evaluation = Evaluate(ViewOf(text), level.m_operation);
            if (binary.m_level >= level.m_level)
            {
                EXPECT_EQ(evaluation.m_outcome, OutcomeOfText(text)) << text << " on level " << level.m_level;
                EXPECT_EQ(evaluation.m_next, "") << text << " on level " << level.m_level;
            }
            else
            {
                EXPECT_EQ(evaluation.m_outcome, OutcomeOfText(a)) << text << " on level " << level.m_level;
                EXPECT_EQ(evaluation.m_next, binary.m_text + (" at " + std::to_string(a.size() + 1)))
                    << text << " on level " << level.m_level;
            }
        }
}

TEST(Levels, TakeTheOtherFormsFromTheirLevelOn)
{
    const struct
    {
        int m_level; // the highest level that takes the whole text
        std::string m_text, m_outcome, m_outcomeAbove, m_nextAbove;
    } rows[] = {
        {1, "true = 1", "KSValueException: Can't assign to bool r-value", "bool true", "= at 5"},
        {1, "6 += 1", "KSValueException: Can't assign to int64 r-value", "int64 6", "+= at 2"},
        {2, "true ? 1 : 2", "int64 1", "bool true", "? at 5"},
        {14, "-5", "int64 -5", "LexScannerException at 0: Unexpected - after start of text in expression", "- at 0"},
        {14, "!true", "bool false", "LexScannerException at 0: Unexpected ! after start of text in expression",
         "! at 0"},
        {15, "'f'.x", "KSValueException: Dot not implemented currently", "", ""},
    };
    for (const auto& row : rows)
        for (const Level& level : s_levels)
        {
            const Evaluation evaluation = Evaluate(ViewOf(row.m_text), level.m_operation);
            const bool takesAll = level.m_level <= row.m_level;
            EXPECT_EQ(evaluation.m_outcome, takesAll ? row.m_outcome : row.m_outcomeAbove)
                << row.m_text << " on level " << level.m_level;
            if (!takesAll)
            {
                EXPECT_EQ(evaluation.m_next, row.m_nextAbove) << row.m_text << " on level " << level.m_level;
            }
        }
}

// What a level leaves is where the level below goes on.
TEST(Levels, StopInsideALongerExpression)
{
    const std::string text = "2 ^^ 3 * 2 + 1 << 1 < 99 == true";
    const struct
    {
        int m_level;
        const char *m_outcome, *m_next;
    } rows[] = {
        {15, "int64 2", "^^ at 2"},   {14, "int64 2", "^^ at 2"},   {13, "int64 8", "* at 7"},
        {12, "int64 16", "+ at 11"},  {11, "int64 17", "<< at 15"}, {10, "int64 34", "< at 20"},
        {9, "bool true", "== at 25"}, {8, "bool true", ""},         {1, "bool true", ""},
    };
    for (const auto& row : rows)
    {
        const Evaluation evaluation = Evaluate(ViewOf(text), s_levels[row.m_level - 1].m_operation);
        EXPECT_EQ(evaluation.m_outcome, row.m_outcome) << row.m_level;
        EXPECT_EQ(evaluation.m_next, row.m_next) << row.m_level;
    }
}

TEST(Chains, AreALoop)
{
    std::string sum = "1", alternating = "1", comparison = "true";
    for (int i = 0; i < 100000; ++i)
    {
        sum += "+1";
        alternating += i % 2 == 0 ? "-1*1" : "+1*1";
        comparison += "==true";
    }
    EXPECT_EQ(OutcomeOfText(sum), "int64 100001");
    EXPECT_EQ(OutcomeOfText(alternating), "int64 1");
    EXPECT_EQ(OutcomeOfText(comparison), "bool true");
}

} // namespace
} // namespace kelm
