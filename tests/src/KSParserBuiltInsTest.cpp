// Identifiers: the built-in constants, tests, conversions and functions.

#include <klKelmScript/KSParser.h>

#include <support/Script.h>

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace kelm
{
namespace
{

const char* const s_calledBuiltIns[] = {"len",    "is_bool", "is_int", "is_double", "is_string", "bool", "char", "int",
                                        "double", "string",  "sin",    "cos",       "tan",       "exp",  "log"};

TEST(Constants, AreNames)
{
    ExpectRows({
        {"true", "bool true"},
        {"false", "bool false"},
        {"true(1)", "KSValueException: Function call not implemented currently"}, // no brackets of their own
        {"true 1", "bool true", "1 at 5"},
    });
}

TEST(UnknownNames, AreReportedWhereTheyStand)
{
    for (const char* name :
         {"True",    "TRUE",  "x",        "foo", "sinh",       "si",     "is_",   "is_int64", "int64",
          "float64", "void",  "null",     "_",   "Len",        "trues",  "fals",  "stringg",  "uint8",
          "pow",     "sqrt",  "lon",      "lag", "is_boolean", "doublE", "t",     "f",        "tru",
          "true_",   "true1", "truetrue", "fal", "false_",     "false1", "falsee"})
    {
        const std::string text = std::string("1 + ") + name + "(2)";
        EXPECT_EQ(OutcomeOfText(text),
                  std::string("LexScannerException at 4: Unexpected ") + name + " after + in expression");
        EXPECT_EQ(Evaluate(ViewOf(text)).m_next, std::string(name) + " at 4"); // before its brackets are read
    }
    const std::string longName(200, 'a');
    EXPECT_EQ(OutcomeOfText(longName), "LexScannerException at 0: Unexpected " + longName.substr(0, 80) +
                                           "... after start of text in expression");
}

TEST(BuiltIns, NeedTheirBrackets)
{
    for (const std::string name : s_calledBuiltIns)
    {
        const std::string size = std::to_string(name.size()), next = std::to_string(name.size() + 1);
        EXPECT_EQ(OutcomeOfText(name), "LexScannerException at " + size + ": Expected ( when read end of text");
        EXPECT_EQ(OutcomeOfText(name + " + 1"), "LexScannerException at " + next + ": Expected ( when read +");
        EXPECT_EQ(OutcomeOfText(name + "[0]"), "LexScannerException at " + size + ": Expected ( when read [");
        EXPECT_EQ(OutcomeOfText(name + "()"),
                  "LexScannerException at " + next + ": Unexpected ) after ( in expression");
        EXPECT_EQ(OutcomeOfText(name + "(1.5"),
                  "LexScannerException at " + std::to_string(name.size() + 4) + ": Expected ) when read end of text");
        EXPECT_EQ(OutcomeOfText(name + "(1.5, 2)"),
                  "LexScannerException at " + std::to_string(name.size() + 4) + ": Expected ) when read ,");
    }
}

TEST(BuiltIns, ArePrimaryExpressions)
{
    ExpectRows({
        {"is_int(1) == true", "bool true"},
        {"-int(2.7) ^^ 2", "int64 4"},
        {"!is_bool(1)", "bool true"},
        {"int(1)(2)", "KSValueException: Function call not implemented currently"},
        {"int(1).x", "KSValueException: Dot not implemented currently"},
        {"int(1)[0]", "KSValueException: [] not available on int64"},
        {"string(12)[5]", "KSValueException: Index 5 out of range [0,2) on string"},
        {"int(1) int(2)", "int64 1", "int at 7"},
        {"int ( 1 )", "int64 1"},
        {"int(true ? 2.5 : 1)", "int64 2"},
        {"int(1 = 2)", "KSValueException: Can't assign to int64 r-value"},
    });
}

TEST(TypeTests, LookAtTheTagAlone)
{
    const struct
    {
        const char* m_argument;
        bool m_isBool, m_isInt, m_isDouble, m_isString;
    } rows[] = {
        {"true", true, false, false, false},     {"1 == 1", true, false, false, false},
        {"2", false, true, false, false},        {"0x10", false, true, false, false},
        {"2.0", false, false, true, false},      {"-2.0", false, true, false, false}, // the minus made it an integer
        {"2.5", false, false, true, false},      {"1e3", false, false, true, false},
        {"''", false, false, false, true},       {"'2'", false, false, false, true},
        {"sin(1.0)", false, false, true, false},
    };
    const auto text = [](bool x) { return x ? "bool true" : "bool false"; };
    for (const auto& row : rows)
    {
        const auto outcome = [&](const char* name)
        { return OutcomeOfText(std::string(name) + "(" + row.m_argument + ")"); };
        EXPECT_EQ(outcome("is_bool"), text(row.m_isBool)) << row.m_argument;
        EXPECT_EQ(outcome("is_int"), text(row.m_isInt)) << row.m_argument;
        EXPECT_EQ(outcome("is_double"), text(row.m_isDouble)) << row.m_argument;
        EXPECT_EQ(outcome("is_string"), text(row.m_isString)) << row.m_argument;
    }
    EXPECT_EQ(OutcomeOfText("is_int(1/0)"), "KSValueException: Division by zero error");
}

TEST(Conversions, FromEachKind)
{
    const std::string no = "KSValueException: No implicit conversion from value ";
    const struct
    {
        const char* m_argument;
        std::string m_bool, m_char, m_int, m_double, m_string;
    } rows[] = {
        {"true", "bool true", "int64 1", "int64 1", "float64 1.0", "string true"},
        {"false", "bool false", "int64 0", "int64 0", "float64 0.0", "string false"},
        {"0", "bool false", "int64 0", "int64 0", "float64 0.0", "string 0"},
        {"65", "bool true", "int64 65", "int64 65", "float64 65.0", "string 65"},
        {"300", "bool true", "int64 44", "int64 300", "float64 300.0", "string 300"}, // its low eight bits
        {"-1", "bool true", "int64 255", "int64 -1", "float64 -1.0", "string -1"},
        {"2.7", "bool true", "int64 2", "int64 2", "float64 2.7", "string 2.7"},
        {"-2.7", "bool true", "int64 254", "int64 -2", "float64 -2.7", "string -2.7"},
        {"0.0", "bool false", "int64 0", "int64 0", "float64 0.0", "string 0.0"},
        {"0.1", "bool true", "int64 0", "int64 0", "float64 0.1", "string 0.1"},
        {"1e30", "bool true", "int64 0", "int64 -9223372036854775808", "float64 1e+30", "string 1e+30"},
        {"9007199254740993", "bool true", "int64 1", "int64 9007199254740993", "float64 9007199254740992.0",
         "string 9007199254740993"},
        {"'x'", no + "x to bool", no + "x to uint8", no + "x to int64", no + "x to float64", "string x"},
        {"'12'", no + "12 to bool", no + "12 to uint8", no + "12 to int64", no + "12 to float64", "string 12"},
        {"''", no + " to bool", no + " to uint8", no + " to int64", no + " to float64", "string "},
    };
    for (const auto& row : rows)
    {
        const auto outcome = [&](const char* name)
        { return OutcomeOfText(std::string(name) + "(" + row.m_argument + ")"); };
        EXPECT_EQ(outcome("bool"), row.m_bool) << row.m_argument;
        EXPECT_EQ(outcome("char"), row.m_char) << row.m_argument;
        EXPECT_EQ(outcome("int"), row.m_int) << row.m_argument;
        EXPECT_EQ(outcome("double"), row.m_double) << row.m_argument;
        EXPECT_EQ(outcome("string"), row.m_string) << row.m_argument;
    }
}

TEST(Conversions, FailWithoutAPlaceInTheTextUnlikeFloatFunctions)
{
    ExpectRows({
        {"int('x') + )", "KSValueException: No implicit conversion from value x to int64", "+ at 9"},
        {"sin('x') + )", "LexScannerException at 7: No implicit conversion from value x to float64", ") at 7"},
    });
}

TEST(Len, NeverYieldsAValue)
{
    ExpectRows({
        {"len('abc')", "KelmAssertionError: 0 (src/KSValue)", ""},
        {"len('')", "KelmAssertionError: 0 (src/KSValue)"},
        {"len(5)", "KSValueException: len() not available on int64"},
        {"len(2.0)", "KSValueException: len() not available on float64"},
        {"len(true)", "KSValueException: len() not available on bool"},
        {"len('abc') + 1", "KelmAssertionError: 0 (src/KSValue)", "+ at 11"},
    });
    EXPECT_EQ(KindAndValue(Evaluate("len('abc')").m_value), "int64 3");
}

TEST(FloatFunctions, ComputeWithDoubles)
{
    const struct
    {
        const char* m_name;
        double (*m_function)(double);
    } functions[] = {{"sin", std::sin}, {"cos", std::cos}, {"tan", std::tan}, {"exp", std::exp}, {"log", std::log}};
    const std::pair<const char*, double> arguments[] = {{"1.0", 1.0},       {"0.5", 0.5},       {"2.5", 2.5},
                                                        {"1e-300", 1e-300}, {"double(1)", 1.0}, {"1000.0", 1000.0}};
    for (const auto& function : functions)
        for (const auto& [text, x] : arguments)
            EXPECT_EQ(OutcomeOfText(std::string(function.m_name) + "(" + text + ")"),
                      KindAndValue(KSValue(function.m_function(x))))
                << function.m_name << " " << text;
    ExpectRows({
        {"sin(0.0)", "float64 0.0"},
        {"cos(0.0)", "float64 1.0"},
        {"tan(0.0)", "float64 0.0"},
        {"exp(0.0)", "float64 1.0"},
        {"log(1.0)", "float64 0.0"},
        {"exp(1000.0)", "float64 inf"},
        {"exp(-1000.5)", "float64 0.0"},
        {"log(exp(1000.0))", "float64 inf"},
        {"sin(exp(1000.0))", "float64 nan"},
        {"log(log(exp(1000.0)) - exp(1000.0))", "float64 nan"}, // of a NaN
        {"sin(0.0) + 1", "int64 1"},                            // an integral float is an integer
        {"exp(0.5) * 0", "float64 0.0"},
        {"cos(sin(0.0)) ", "float64 1.0"},
    });
}

TEST(FloatFunctions, TakeAFloatAlone)
{
    for (const std::string name : {"sin", "cos", "tan", "exp", "log"})
    {
        const std::string at = "LexScannerException at ";
        const auto position = [&](std::size_t offset) { return at + std::to_string(name.size() + offset) + ": "; };
        EXPECT_EQ(OutcomeOfText(name + "(1)"), position(2) + "No implicit conversion from value 1 to float64");
        EXPECT_EQ(OutcomeOfText(name + "(-1.0)"), position(5) + "No implicit conversion from value -1 to float64");
        EXPECT_EQ(OutcomeOfText(name + "(true)"), position(5) + "No implicit conversion from value true to float64");
        EXPECT_EQ(OutcomeOfText(name + "('x')"), position(4) + "No implicit conversion from value x to float64");
        // Every failure of a value inside the argument is one of the text.
        EXPECT_EQ(OutcomeOfText(name + "(1/0)"), position(4) + "Division by zero error");
        EXPECT_EQ(OutcomeOfText(name + "((1/0))"), position(5) + "Division by zero error");
        EXPECT_EQ(OutcomeOfText(name + "(int('x'))"), position(9) + "No implicit conversion from value x to int64");
        EXPECT_EQ(OutcomeOfText(name + "(1.0 = 2)"), position(8) + "Can't assign to float64 r-value");
        EXPECT_EQ(OutcomeOfText(name + "(x)"), position(1) + "Unexpected x after ( in expression");
        EXPECT_EQ(OutcomeOfText(name + "('\\q')"),
                  position(1) + "Malformed escape \\q in string literal: unknown escape");
        // ... but not a broken invariant.
        EXPECT_EQ(OutcomeOfText(name + "(len('x'))"), "KelmAssertionError: 0 (src/KSValue)");
    }
}

TEST(Log, RefusesWhatIsNotGreaterThanZero)
{
    ExpectRows({
        {"log(0.0)", "LexScannerException at 8: Can't take log of value 0.0", ""},
        {"log(-1.5)", "LexScannerException at 9: Can't take log of value -1.5", ""},
        {"log(-1.5) + 1", "LexScannerException at 10: Can't take log of value -1.5", "+ at 10"}, // behind the bracket
        {"log(-exp(1000.0))", "LexScannerException at 17: Can't take log of value -inf"},
        {"log(double(0))", "LexScannerException at 14: Can't take log of value 0.0"},
        {"log(-1.0)", "LexScannerException at 8: No implicit conversion from value -1 to float64", ") at 8"},
        {"log(1)", "LexScannerException at 5: No implicit conversion from value 1 to float64", ") at 5"},
        {"log(-1.5", "LexScannerException at 8: Expected ) when read end of text"},
    });
}

} // namespace
} // namespace kelm
