// What must hold for every text: random bytes, random tokens, written numbers, and random expressions against a second
// evaluator.

#include <klKelmScript/KSParser.h>

#include <klUtils/ToString.h>
#include <support/Script.h>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace kelm
{
namespace
{

// --- Any text --------------------------------------------------------------------------------------------------------

// Evaluates and checks that only documented things happen. Anything else fails the property by its exception.
void CheckEndsAsDocumented(const std::string& text)
{
    const SubString view = ViewOf(text);
    KSParser parser;
    KSValue value;
    try
    {
        parser.Init(view);
        parser.ParseExpression(value);
        RC_ASSERT(!value.is<ReflectedValue>());
        RC_ASSERT(!value.is<void>()); // only an assignment could make one, and none succeeds
    }
    catch (const LexScannerException& e)
    {
        RC_ASSERT(view.m_p1 <= e.m_pos && e.m_pos <= view.m_p2);
        RC_ASSERT(!e.m_description.empty());
        RC_ASSERT(e.m_filename.empty());
        RC_ASSERT(e.m_lineNumber == -1);
    }
    catch (const KSValueException& e)
    {
        RC_ASSERT(!e.m_description.empty());
    }
    catch (const KelmAssertionError& e)
    {
        RC_ASSERT(ToStdString(e.m_condition) == "0"); // a subscript or len of a string
        RC_ASSERT(ToStdString(e.m_file) == "src/KSValue");
        RC_ASSERT(e.m_line == 816 || e.m_line == 835);
    }
    RC_ASSERT(view.m_p1 <= parser.m_token.m_str.m_p1 && parser.m_token.m_str.m_p2 <= view.m_p2);
}

RC_GTEST_PROP(AnyText, OfBytesEndsAsDocumented, (const std::string& text))
{
    CheckEndsAsDocumented(text);
}

// No least integer among them and no way to make one in a few tokens: dividing it by -1 would fault.
const char* const s_someTokens[] = {"0",      "1",         "2",       "7",
                                    "0x1f",   "1.5",       "2.0",     "1e9",
                                    ".5",     "'a'",       "''",      "'\\x41'",
                                    "\"b\"",  "true",      "false",   "len",
                                    "is_int", "is_string", "is_bool", "is_double",
                                    "bool",   "char",      "int",     "double",
                                    "string", "sin",       "cos",     "tan",
                                    "exp",    "log",       "name",    "+",
                                    "-",      "*",         "/",       "%",
                                    "^^",     "^",         "&",       "|",
                                    "&&",     "||",        "<<",      ">>",
                                    "<",      "<=",        ">",       ">=",
                                    "==",     "!=",        "!",       "~",
                                    "?",      ":",         "=",       "+=",
                                    "?=",     "(",         ")",       "(",
                                    ")",      "[",         "]",       ",",
                                    ".",      "->",        "++",      "--",
                                    ";",      "{",         "}",       "#",
                                    "@",      "/* c */",   "'\\q'",   "99999999999999999999"};

rc::Gen<std::string> TokenText()
{
    const auto token = rc::gen::elementOf(std::vector<std::string>(std::begin(s_someTokens), std::end(s_someTokens)));
    return rc::gen::map(rc::gen::container<std::vector<std::string>>(token),
                        [](const std::vector<std::string>& tokens)
                        {
                            std::string text;
                            for (const std::string& t : tokens)
                                text += t + " ";
                            return text;
                        });
}

RC_GTEST_PROP(AnyText, OfTokensEndsAsDocumented, ())
{
    CheckEndsAsDocumented(*TokenText());
}

RC_GTEST_PROP(AnyText, EvaluatesTheSameOnEveryLevelThatTakesAllOfIt, ())
{
    const std::string text = *TokenText();
    const Evaluation whole = Evaluate(ViewOf(text));
    for (const ParserOperation level : {&KSParser::ParseLogicalOrExpression, &KSParser::ParseBitwiseAndExpression,
                                        &KSParser::ParseAdditiveExpression, &KSParser::ParseUnaryExpression})
    {
        const Evaluation evaluation = Evaluate(ViewOf(text), level);
        if (evaluation.m_next.empty() && evaluation.m_outcome.find(": ") == std::string::npos)
            RC_ASSERT(evaluation.m_outcome == whole.m_outcome);
    }
}

// --- Written numbers -------------------------------------------------------------------------------------------------

// All bits, not the small numbers that the generator prefers.
uint64 AnyBits()
{
    return *rc::gen::resize(100, rc::gen::arbitrary<uint64>());
}

RC_GTEST_PROP(WrittenNumbers, OfInt64ReadBackAsThemselves, ())
{
    const auto x = static_cast<int64>(AnyBits());
    RC_PRE(x != std::numeric_limits<int64>::min()); // its digits without the sign are out of range
    RC_ASSERT(OutcomeOfText(ToStdString(ToString(x))) == "int64 " + std::to_string(x));
}

RC_GTEST_PROP(WrittenNumbers, OfFloat64ReadBackAsThemselves, ())
{
    const double x = std::bit_cast<double>(AnyBits() >> 1); // no sign: that would be an operator
    RC_PRE(std::isfinite(x));
    const std::string text = ToStdString(ToString(x));
    const Evaluation evaluation = Evaluate(ViewOf(text));
    RC_ASSERT(evaluation.m_next.empty());
    RC_ASSERT(evaluation.m_value.is<float64>());
    RC_ASSERT(std::bit_cast<uint64>(As<double>(evaluation.m_value, false)) == std::bit_cast<uint64>(x));
}

RC_GTEST_PROP(WrittenNumbers, OfNegativeFloat64ReadBackAsAnEqualNumber, ())
{
    const double x = -std::bit_cast<double>(AnyBits() >> 1);
    RC_PRE(std::isfinite(x));
    const std::string text = ToStdString(ToString(x));
    RC_ASSERT(IsEqual(Evaluate(ViewOf(text)).m_value, KSValue(x))); // an integer where it is integral
}

// --- Random expressions against a second evaluator -------------------------------------------------------------------

// A number, or the message of the failure that ends the evaluation.
using Result = std::variant<int64, double, bool, std::string>;

// An expression as a tree. Numbers are leaves without a sign.
struct Node
{
    Result m_number;
    std::string m_operator; // empty for a number; a prefix operator has no right operand
    std::unique_ptr<Node> m_left, m_right;
};

struct BinaryOperator
{
    int m_level;
    const char* m_text;
};

constexpr BinaryOperator s_operators[] = {{5, "|"},  {6, "^"},  {7, "&"},  {8, "=="},  {8, "!="},  {9, "<"},
                                          {9, "<="}, {9, ">"},  {9, ">="}, {10, "<<"}, {10, ">>"}, {11, "+"},
                                          {11, "-"}, {12, "*"}, {12, "/"}, {12, "%"},  {13, "^^"}};
constexpr int s_unaryLevel = 14;
constexpr int s_primaryLevel = 15;

int LevelOf(const Node& node)
{
    if (node.m_operator.empty())
        return s_primaryLevel;
    if (node.m_right == nullptr)
        return s_unaryLevel;
    for (const BinaryOperator& binary : s_operators)
        if (node.m_operator == binary.m_text)
            return binary.m_level;
    return 0;
}

// A number of the whole range, whatever size of input the property is at.
int AnyBelow(int end)
{
    return *rc::gen::resize(100, rc::gen::inRange(0, end));
}

std::unique_ptr<Node> RandomTree(int depth)
{
    auto node = std::make_unique<Node>();
    const int choice = depth == 0 ? 0 : AnyBelow(10);
    if (choice < 1)
    {
        if (*rc::gen::arbitrary<bool>())
            node->m_number = *rc::gen::elementOf(
                std::vector<int64>{0, 1, 2, 3, 7, 64, 1000, 4294967296, std::numeric_limits<int64>::max()});
        else
            node->m_number = *rc::gen::elementOf(std::vector<double>{0.0, 0.5, 1.0, 2.0, 2.5, 7.25, 1e18, 1e19, 1e300});
        return node;
    }
    if (choice < 3)
        node->m_operator = *rc::gen::elementOf(std::vector<std::string>{"+", "-", "~"});
    else
    {
        node->m_operator = s_operators[AnyBelow(static_cast<int>(std::size(s_operators)))].m_text;
        node->m_right = RandomTree(depth - 1);
    }
    node->m_left = RandomTree(depth - 1);
    return node;
}

// Written with the parentheses that precedence needs and no others.
std::string Written(const Node& node, int leastLevel)
{
    std::string text;
    const int level = LevelOf(node);
    if (level == s_primaryLevel)
    {
        const double* const x = std::get_if<double>(&node.m_number);
        text = x != nullptr ? WrittenText(KSValue(*x)) : std::to_string(std::get<int64>(node.m_number));
    }
    else if (level == s_unaryLevel)
        text = node.m_operator + " " + Written(*node.m_left, s_unaryLevel);
    else
        text = Written(*node.m_left, level) + " " + node.m_operator + " " + Written(*node.m_right, level + 1);
    return level < leastLevel ? "(" + text + ")" : text;
}

// A number as an integer, where it is one. Strictly between the bounds, as a double can tell.
bool IsInteger(const Result& number, int64& x)
{
    if (const int64* const i = std::get_if<int64>(&number))
    {
        x = *i;
        return true;
    }
    const double* const d = std::get_if<double>(&number);
    if (d == nullptr || *d != std::trunc(*d) || *d < -9223372036854775808.0 || *d >= 9223372036854775808.0)
        return false;
    x = static_cast<int64>(*d);
    return true;
}

bool IsNumber(const Result& number, double& x)
{
    if (const int64* const i = std::get_if<int64>(&number))
        x = static_cast<double>(*i);
    else if (const double* const d = std::get_if<double>(&number))
        x = *d;
    else
        return false;
    return true;
}

const char* KindOf(const Result& number)
{
    return std::holds_alternative<int64>(number) ? "int64" : std::holds_alternative<bool>(number) ? "bool" : "float64";
}

Result FromBits(uint64 bits)
{
    return static_cast<int64>(bits);
}

Result Prefixed(const std::string& op, const Result& operand)
{
    int64 i = 0;
    double d = 0.0;
    if (IsInteger(operand, i))
        return op == "+" ? Result(i) : op == "-" ? FromBits(0 - static_cast<uint64>(i)) : Result(~i);
    if (op != "~" && IsNumber(operand, d))
        return op == "+" ? d : -d;
    return std::string("Incompatible type (") + KindOf(operand) + ") for unary " + op + " operation";
}

template <class T>
bool IsRelation(const std::string& op, T a, T b, bool& result)
{
    if (op == "==")
        result = a == b;
    else if (op == "!=")
        result = !(a == b);
    else if (op == "<")
        result = a < b;
    else if (op == ">")
        result = b < a;
    else if (op == "<=")
        result = !(b < a);
    else if (op == ">=")
        result = !(a < b);
    else
        return false;
    return true;
}

bool Faults(int64 a, int64 b)
{
    return a == std::numeric_limits<int64>::min() && b == -1;
}

bool OnIntegers(const std::string& op, int64 a, int64 b, Result& result)
{
    const auto x = static_cast<uint64>(a), y = static_cast<uint64>(b);
    bool relation = false;
    if (IsRelation(op, a, b, relation))
        result = relation;
    else if (op == "+")
        result = FromBits(x + y);
    else if (op == "-")
        result = FromBits(x - y);
    else if (op == "*")
        result = FromBits(x * y);
    else if (op == "|")
        result = a | b;
    else if (op == "&")
        result = a & b;
    else if (op == "^")
        result = a ^ b;
    else if (op == "<<")
        result = FromBits(x << (y % 64));
    else if (op == ">>")
        result = a >> (y % 64);
    else if (op == "/" && b == 0)
        result = std::string("Division by zero error");
    else if (op == "%" && b == 0)
        result = std::string("Modulo zero error");
    else if ((op == "/" || op == "%") && Faults(a, b))
        RC_DISCARD("a division that faults");
    else if (op == "/")
        result = a / b;
    else if (op == "%")
        result = a % b;
    else
        return false;
    return true;
}

bool OnFloats(const std::string& op, double a, double b, Result& result)
{
    bool relation = false;
    if (IsRelation(op, a, b, relation))
        result = relation;
    else if (op == "+")
        result = a + b;
    else if (op == "-")
        result = a - b;
    else if (op == "*")
        result = a * b;
    else if (op == "/")
        result = b == 0.0 ? Result(std::string("Division by zero")) : Result(a / b);
    else
        return false;
    return true;
}

Result RaisedToPower(const Result& a, const Result& b, double x, double y)
{
    if (x == 0.0 && y < 0.0)
        return "Calculation " + WrittenText(KSValue(x)) + " ^^ " + WrittenText(KSValue(y)) + " ill defined";
    const double r = std::pow(x, y);
    if (!std::holds_alternative<int64>(a) || !std::holds_alternative<int64>(b))
        return r;
    return -9223372036854775808.0 <= r && r < 9223372036854775808.0 ? static_cast<int64>(r)
                                                                    : std::numeric_limits<int64>::min();
}

Result Combined(const std::string& op, const Result& a, const Result& b)
{
    Result result;
    int64 i = 0, j = 0;
    double x = 0.0, y = 0.0;
    const bool areBools = std::holds_alternative<bool>(a) && std::holds_alternative<bool>(b);
    if (areBools && (op == "==" || op == "!="))
        return (std::get<bool>(a) == std::get<bool>(b)) == (op == "==");
    if (op == "^^" && IsNumber(a, x) && IsNumber(b, y))
        return RaisedToPower(a, b, x, y);
    if (op != "^^" && IsInteger(a, i) && IsInteger(b, j) && OnIntegers(op, i, j, result))
        return result;
    if (IsNumber(a, x) && IsNumber(b, y) && OnFloats(op, x, y, result))
        return result;
    // <= and > compare the other way round.
    const bool isSwapped = op == "<=" || op == ">";
    const char* const name = op == "^^"                                                   ? "^"
                             : op.find_first_of("=") != op.npos || op == "<" || op == ">" ? "comparison"
                                                                                          : op.c_str();
    return std::string("Incompatible types (") + KindOf(isSwapped ? b : a) + " and " + KindOf(isSwapped ? a : b) +
           ") for " + name + " operation";
}

Result Reference(const Node& node)
{
    if (node.m_operator.empty())
        return node.m_number;
    const Result left = Reference(*node.m_left);
    if (std::holds_alternative<std::string>(left))
        return left;
    if (node.m_right == nullptr)
        return Prefixed(node.m_operator, left);
    const Result right = Reference(*node.m_right);
    return std::holds_alternative<std::string>(right) ? right : Combined(node.m_operator, left, right);
}

std::string OutcomeOfReference(const Node& root)
{
    const Result result = Reference(root);
    if (const std::string* const failure = std::get_if<std::string>(&result))
        return "KSValueException: " + *failure;
    if (const int64* const i = std::get_if<int64>(&result))
        return KindAndValue(KSValue(*i));
    if (const bool* const b = std::get_if<bool>(&result))
        return KindAndValue(KSValue(*b));
    return KindAndValue(KSValue(std::get<double>(result)));
}

RC_GTEST_PROP(RandomExpressions, AgreeWithASecondEvaluator, ())
{
    const std::unique_ptr<Node> tree = RandomTree(1 + AnyBelow(5));
    const std::string expected = OutcomeOfReference(*tree); // first: discards what would fault
    const std::string text = Written(*tree, 0);
    RC_LOG() << text << std::endl;
    const std::string outcome = OutcomeOfText(text);
    RC_ASSERT(outcome == expected);
}

} // namespace
} // namespace kelm
