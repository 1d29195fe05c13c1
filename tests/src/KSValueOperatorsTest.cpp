#include <klKelmScript/KSValue.h>

#include "Operands.h"

#include <support/Script.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <csignal>

namespace kelm
{
namespace
{

constexpr int64 s_maxInt64 = std::numeric_limits<int64>::max();
constexpr int64 s_minInt64 = std::numeric_limits<int64>::min();
constexpr double s_infinity = std::numeric_limits<double>::infinity();
constexpr double s_nan = std::numeric_limits<double>::quiet_NaN();

// --- The operators, and what they are expected to do -----------------------------------------------------------------

// How a reader of the language computes each operator: on what the operands qualify as, and without the conversions
// under test. Null functions are steps that the operator does not have.
struct OperatorModel
{
    std::string m_name;
    std::string m_nameInMessages;
    KSValue (*m_apply)(const KSValue& a, const KSValue& b);
    std::string (*m_onBools)(bool a, bool b);
    std::string (*m_onTexts)(const std::string& a, const std::string& b);
    std::string (*m_onIntegers)(int64 a, int64 b);
    std::string (*m_onFloats)(double a, double b);
};

std::string Integer(int64 x)
{
    return "int64 " + std::to_string(x);
}
std::string Integer(uint64 x)
{
    return Integer(static_cast<int64>(x));
}
std::string Float(double x)
{
    return KindAndValue(F(x));
}
std::string Bool(bool x)
{
    return x ? "bool true" : "bool false";
}
std::string Failure(const std::string& message)
{
    return "KSValueException: " + message;
}
uint64 U(int64 x)
{
    return static_cast<uint64>(x);
}

const OperatorModel s_models[] = {
    {"+", "+", [](const KSValue& a, const KSValue& b) { return a + b; }, nullptr,
     [](const std::string& a, const std::string& b) { return "string " + a + b; },
     [](int64 a, int64 b) { return Integer(U(a) + U(b)); }, [](double a, double b) { return Float(a + b); }},
    {"-", "-", [](const KSValue& a, const KSValue& b) { return a - b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return Integer(U(a) - U(b)); }, [](double a, double b) { return Float(a - b); }},
    {"*", "*", [](const KSValue& a, const KSValue& b) { return a * b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return Integer(U(a) * U(b)); }, [](double a, double b) { return Float(a * b); }},
    {"/", "/", [](const KSValue& a, const KSValue& b) { return a / b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return b == 0 ? Failure("Division by zero error") : Integer(a / b); },
     [](double a, double b) { return b == 0.0 ? Failure("Division by zero") : Float(a / b); }},
    {"%", "%", [](const KSValue& a, const KSValue& b) { return a % b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return b == 0 ? Failure("Modulo zero error") : Integer(a % b); }, nullptr},
    {"<<", "<<", [](const KSValue& a, const KSValue& b) { return a << b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return Integer(U(a) << (U(b) % 64)); }, nullptr},
    {">>", ">>", [](const KSValue& a, const KSValue& b) { return a >> b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return Integer(a >> (U(b) % 64)); }, nullptr},
    {"|", "|", [](const KSValue& a, const KSValue& b) { return a | b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return Integer(a | b); }, nullptr},
    {"&", "&", [](const KSValue& a, const KSValue& b) { return a & b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return Integer(a & b); }, nullptr},
    {"^", "^", [](const KSValue& a, const KSValue& b) { return a ^ b; }, nullptr, nullptr,
     [](int64 a, int64 b) { return Integer(a ^ b); }, nullptr},
    {"IsEqual", "comparison", [](const KSValue& a, const KSValue& b) { return KSValue(IsEqual(a, b)); },
     [](bool a, bool b) { return Bool(a == b); },
     [](const std::string& a, const std::string& b) { return Bool(a == b); },
     [](int64 a, int64 b) { return Bool(a == b); }, [](double a, double b) { return Bool(a == b); }},
    {"IsLess", "comparison", [](const KSValue& a, const KSValue& b) { return KSValue(IsLess(a, b)); }, nullptr,
     [](const std::string& a, const std::string& b) { return Bool(a < b); },
     [](int64 a, int64 b) { return Bool(a < b); }, [](double a, double b) { return Bool(a < b); }},
};

std::string Incompatible(const Operand& a, const Operand& b, const std::string& name)
{
    if (a.IsReflected() || b.IsReflected())
        return "KelmAssertionError: 0 (src/KSValue)"; // it has no name for the message
    return Failure(std::string("Incompatible types (") + TypeToString(a.Tag()) + " and " + TypeToString(b.Tag()) +
                   ") for " + name + " operation");
}

std::string Expected(const OperatorModel& model, const Operand& a, const Operand& b)
{
    if (model.m_onBools != nullptr && a.m_bool && b.m_bool)
        return model.m_onBools(*a.m_bool, *b.m_bool);
    if (model.m_onTexts != nullptr && a.m_text && b.m_text)
        return model.m_onTexts(*a.m_text, *b.m_text);
    if (model.m_onIntegers != nullptr && a.m_integer && b.m_integer)
        return model.m_onIntegers(*a.m_integer, *b.m_integer);
    if (model.m_onFloats != nullptr && a.m_float && b.m_float)
        return model.m_onFloats(*a.m_float, *b.m_float);
    return Incompatible(a, b, model.m_nameInMessages);
}

// The one pair that the processor refuses to divide.
bool Faults(const OperatorModel& model, const Operand& a, const Operand& b)
{
    return (model.m_name == "/" || model.m_name == "%") && a.m_integer == s_minInt64 && b.m_integer == -1;
}

TEST(BinaryOperators, GiveTheExpectedForEveryPairOfOperands)
{
    for (const OperatorModel& model : s_models)
        for (const Operand& a : AllOperands())
            for (const Operand& b : AllOperands())
            {
                if (Faults(model, a, b))
                    continue;
                EXPECT_EQ(OutcomeOf([&] { return model.m_apply(a.Value(), b.Value()); }), Expected(model, a, b))
                    << a.m_name << " " << model.m_name << " " << b.m_name;
            }
}

std::string ExpectedPower(const Operand& a, const Operand& b)
{
    if (!a.m_float || !b.m_float)
        return Incompatible(a, b, "^");
    const double x = *a.m_float, y = *b.m_float;
    if (x == 0.0 && y < 0.0)
        return Failure("Calculation " + WrittenText(F(x)) + " ^^ " + WrittenText(F(y)) + " ill defined");
    const double r = std::pow(x, y);
    if (a.Tag() != KSV_INT64 || b.Tag() != KSV_INT64)
        return Float(r);
    const bool fits = r >= -9223372036854775808.0 && r < 9223372036854775808.0;
    return Integer(fits ? static_cast<int64>(r) : s_minInt64);
}

TEST(Power, GivesTheExpectedForEveryPairOfOperands)
{
    for (const Operand& a : AllOperands())
        for (const Operand& b : AllOperands())
            EXPECT_EQ(OutcomeOf([&] { return Power(a.Value(), b.Value()); }), ExpectedPower(a, b))
                << a.m_name << " ^^ " << b.m_name;
}

// Reflected operands that are no bools are left out: the message about them never ends (KSValueTest.cpp).
TEST(LogicalOperators, GiveTheExpectedForEveryPairOfOperands)
{
    const auto no = [](const Operand& operand)
    {
        const std::string message = "No implicit conversion from value " + WrittenText(operand.Value()) + " to bool";
        return Failure(message.c_str()); // a message ends at a zero byte
    };
    for (const Operand& a : AllOperands())
        for (const Operand& b : AllOperands())
        {
            if ((a.IsReflected() && !a.m_bool) || (b.IsReflected() && !b.m_bool))
                continue;
            const std::string either = !a.m_bool ? no(a) : *a.m_bool ? Bool(true) : !b.m_bool ? no(b) : Bool(*b.m_bool);
            const std::string both = !a.m_bool ? no(a) : !*a.m_bool ? Bool(false) : !b.m_bool ? no(b) : Bool(*b.m_bool);
            EXPECT_EQ(OutcomeOf([&] { return a.Value() || b.Value(); }), either) << a.m_name << " || " << b.m_name;
            EXPECT_EQ(OutcomeOf([&] { return a.Value() && b.Value(); }), both) << a.m_name << " && " << b.m_name;
        }
}

TEST(BinaryOperators, LeaveTheirOperandsUnchanged)
{
    for (const OperatorModel& model : s_models)
    {
        const KSValue pairs[][2] = {{S("ab"), S("cd")}, {F(7.0), I(2)}, {F(2.5), I(2)}, {B(true), S("a")}};
        for (const auto& pair : pairs)
        {
            const KSValue &a = pair[0], &b = pair[1];
            const std::string before = KindAndValue(a) + ", " + KindAndValue(b);
            OutcomeOf([&] { return model.m_apply(a, b); });
            EXPECT_EQ(KindAndValue(a) + ", " + KindAndValue(b), before) << model.m_name;
        }
    }
}

// --- Worked examples -------------------------------------------------------------------------------------------------

struct ExampleRow
{
    KSValue m_a;
    const char* m_operator;
    KSValue m_b;
    std::string m_outcome;
};

KSValue Apply(const KSValue& a, const std::string& name, const KSValue& b)
{
    if (name == "^^")
        return Power(a, b);
    if (name == "||")
        return a || b;
    if (name == "&&")
        return a && b;
    for (const OperatorModel& model : s_models)
        if (model.m_name == name)
            return model.m_apply(a, b);
    throw std::invalid_argument(name);
}

template <std::size_t N>
void ExpectExamples(const ExampleRow (&rows)[N])
{
    for (const ExampleRow& row : rows)
        EXPECT_EQ(OutcomeOf([&] { return Apply(row.m_a, row.m_operator, row.m_b); }), row.m_outcome)
            << KindAndValue(row.m_a) << " " << row.m_operator << " " << KindAndValue(row.m_b);
}

TEST(Addition, JoinsStringsAndAddsNumbers)
{
    ExpectExamples({
        {S("ab"), "+", S("cd"), "string abcd"},
        {S(""), "+", S(""), "string "},
        {S(std::string("a\0", 2)), "+", S(std::string("\0b", 2)), std::string("string a\0\0b", 11)},
        {S("a"), "+", I(1), "KSValueException: Incompatible types (string and int64) for + operation"},
        {I(1), "+", S("a"), "KSValueException: Incompatible types (int64 and string) for + operation"},
        {B(true), "+", B(true), "KSValueException: Incompatible types (bool and bool) for + operation"},
        {V(), "+", V(), "KSValueException: Incompatible types (void and void) for + operation"},
        {F(2.0), "+", F(3.0), "int64 5"},
        {F(2.5), "+", I(3), "float64 5.5"},
        {F(2.5), "+", F(2.5), "float64 5.0"}, // a float, although integral
        {I(s_maxInt64), "+", I(1), "int64 -9223372036854775808"},
        {I(9007199254740993), "+", F(0.5), "float64 9007199254740992.0"},
    });
}

TEST(Subtraction, AndMultiplicationWrap)
{
    ExpectExamples({
        {I(s_minInt64), "-", I(1), "int64 9223372036854775807"},
        {I(s_minInt64), "*", I(-1), "int64 -9223372036854775808"},
        {I(4294967296), "*", I(4294967296), "int64 0"},
        {F(1e18), "*", I(10), "int64 -8446744073709551616"}, // integral, so it wraps too
        {F(1e300), "*", I(10), "float64 1e+301"},
        {F(0.5), "*", I(4), "float64 2.0"},
        {S("a"), "-", S("a"), "KSValueException: Incompatible types (string and string) for - operation"},
        {S("a"), "*", I(3), "KSValueException: Incompatible types (string and int64) for * operation"},
    });
}

TEST(Division, OfIntegersTruncatesTowardZero)
{
    ExpectExamples({
        {I(-7), "/", I(2), "int64 -3"},
        {I(7), "/", I(-2), "int64 -3"},
        {I(-7), "/", I(-2), "int64 3"},
        {F(7.0), "/", F(2.0), "int64 3"},
        {F(7.5), "/", I(2), "float64 3.75"},
        {I(s_minInt64), "/", I(1), "int64 -9223372036854775808"},
        {I(s_minInt64), "/", I(2), "int64 -4611686018427387904"},
        {I(s_maxInt64), "/", I(-1), "int64 -9223372036854775807"},
    });
}

TEST(Division, ByZeroSaysOnWhichPath)
{
    ExpectExamples({
        {I(1), "/", I(0), "KSValueException: Division by zero error"},
        {I(1), "/", F(0.0), "KSValueException: Division by zero error"},
        {F(1.0), "/", F(-0.0), "KSValueException: Division by zero error"},
        {F(1.5), "/", I(0), "KSValueException: Division by zero"},
        {F(1.5), "/", F(0.0), "KSValueException: Division by zero"},
        {F(1.5), "/", F(-0.0), "KSValueException: Division by zero"},
        {F(s_nan), "/", I(0), "KSValueException: Division by zero"},
        {F(1.5), "/", F(s_nan), "float64 nan"},
    });
}

TEST(Remainder, HasTheSignOfTheDividend)
{
    ExpectExamples({
        {I(-7), "%", I(3), "int64 -1"},
        {I(7), "%", I(-3), "int64 1"},
        {I(-7), "%", I(2), "int64 -1"},
        {F(7.0), "%", F(4.0), "int64 3"},
        {I(5), "%", I(0), "KSValueException: Modulo zero error"},
        {I(5), "%", F(0.0), "KSValueException: Modulo zero error"},
        {F(5.5), "%", I(2), "KSValueException: Incompatible types (float64 and int64) for % operation"},
        {F(7.5), "%", I(2), "KSValueException: Incompatible types (float64 and int64) for % operation"},
        {F(5.5), "%", I(0), "KSValueException: Incompatible types (float64 and int64) for % operation"},
    });
}

TEST(Power, IsAnInteger64OnlyForTwoValuesTaggedSo)
{
    ExpectExamples({
        {I(2), "^^", I(3), "int64 8"},
        {I(2), "^^", I(10), "int64 1024"},
        {I(2), "^^", I(-1), "int64 0"},
        {I(0), "^^", I(0), "int64 1"},
        {F(2.0), "^^", I(3), "float64 8.0"},
        {F(2.0), "^^", I(10), "float64 1024.0"},
        {I(2), "^^", F(10.0), "float64 1024.0"},
        {I(4), "^^", F(0.5), "float64 2.0"},
        {I(-8), "^^", F(0.5), "float64 nan"},
    });
}

TEST(Power, LosesWhatADoubleLoses)
{
    ExpectExamples({
        {I(2), "^^", I(62), "int64 4611686018427387904"},
        {I(2), "^^", I(63), "int64 -9223372036854775808"}, // out of range
        {I(-2), "^^", I(63), "int64 -9223372036854775808"},
        {I(10), "^^", I(400), "int64 -9223372036854775808"},
        {I(9007199254740993), "^^", I(1), "int64 9007199254740992"},
        {I(3), "^^", I(39), "int64 4052555153018976256"}, // 4052555153018976267
    });
}

TEST(Power, OfZeroToANegativeIsIllDefined)
{
    ExpectExamples({
        {I(0), "^^", I(-1), "KSValueException: Calculation 0.0 ^^ -1.0 ill defined"},
        {F(-0.0), "^^", F(-0.5), "KSValueException: Calculation -0.0 ^^ -0.5 ill defined"},
        {I(0), "^^", F(-s_infinity), "KSValueException: Calculation 0.0 ^^ -inf ill defined"},
        {I(0), "^^", F(s_nan), "float64 nan"},
        {I(0), "^^", F(-0.0), "float64 1.0"},
    });
}

TEST(Power, IsCalledTheExclusiveOrInItsTypeError)
{
    ExpectExamples({
        {S("a"), "^^", I(2), "KSValueException: Incompatible types (string and int64) for ^ operation"},
        {B(true), "^^", I(2), "KSValueException: Incompatible types (bool and int64) for ^ operation"},
    });
}

TEST(Shifts, CountByTheLowSixBits)
{
    ExpectExamples({
        {I(1), "<<", I(64), "int64 1"},
        {I(1), "<<", I(65), "int64 2"},
        {I(1), "<<", I(63), "int64 -9223372036854775808"},
        {I(1), "<<", I(-1), "int64 -9223372036854775808"},
        {I(-8), ">>", I(1), "int64 -4"},
        {I(-1), ">>", I(63), "int64 -1"},
        {I(s_minInt64), ">>", I(63), "int64 -1"},
        {I(8), ">>", I(64), "int64 8"},
        {F(4.0), "<<", F(1.0), "int64 8"},
        {F(4.5), "<<", I(1), "KSValueException: Incompatible types (float64 and int64) for << operation"},
        {I(1), ">>", S("1"), "KSValueException: Incompatible types (int64 and string) for >> operation"},
    });
}

TEST(BitwiseOperators, TakeIntegersAlone)
{
    ExpectExamples({
        {I(6), "|", I(3), "int64 7"},
        {I(6), "&", I(3), "int64 2"},
        {I(6), "^", I(3), "int64 5"},
        {I(-1), "&", F(255.0), "int64 255"},
        {B(true), "|", B(false), "KSValueException: Incompatible types (bool and bool) for | operation"},
        {B(true), "&", I(1), "KSValueException: Incompatible types (bool and int64) for & operation"},
        {F(1.5), "^", I(1), "KSValueException: Incompatible types (float64 and int64) for ^ operation"},
    });
}

TEST(LogicalOperators, ConvertTheRightOperandOnlyWhereItDecides)
{
    ExpectExamples({
        {B(true), "||", S("x"), "bool true"},
        {B(false), "&&", S("x"), "bool false"},
        {B(true), "||", KSValue(ReflectedValue()), "bool true"},
        {B(false), "||", I(0), "KSValueException: No implicit conversion from value 0 to bool"},
        {B(true), "&&", V(), "KSValueException: No implicit conversion from value void to bool"},
        {I(1), "||", I(0), "KSValueException: No implicit conversion from value 1 to bool"},
        {I(1), "&&", B(true), "KSValueException: No implicit conversion from value 1 to bool"},
        {F(0.0), "||", B(true), "KSValueException: No implicit conversion from value 0.0 to bool"},
        {S("true"), "||", B(true), "KSValueException: No implicit conversion from value true to bool"},
    });
}

TEST(Equality, ComparesWithinAKind)
{
    ExpectExamples({
        {B(true), "IsEqual", B(true), "bool true"},
        {B(true), "IsEqual", B(false), "bool false"},
        {B(true), "IsEqual", I(1), "KSValueException: Incompatible types (bool and int64) for comparison operation"},
        {V(), "IsEqual", V(), "KSValueException: Incompatible types (void and void) for comparison operation"},
        {S(""), "IsEqual", S(""), "bool true"},
        {S("a"), "IsEqual", S(std::string("a\0", 2)), "bool false"},
        {S("1"), "IsEqual", I(1), "KSValueException: Incompatible types (string and int64) for comparison operation"},
        {I(2), "IsEqual", F(2.0), "bool true"},
        {I(9007199254740993), "IsEqual", F(9007199254740992.0), "bool false"}, // exact: both are integers
        {I(s_maxInt64), "IsEqual", F(9223372036854775808.0), "bool true"},     // as floats: the right one is no int64
        {F(s_nan), "IsEqual", F(s_nan), "bool false"},
        {F(0.0), "IsEqual", F(-0.0), "bool true"},
    });
}

TEST(Order, HasNoBooleans)
{
    ExpectExamples({
        {S("abc"), "IsLess", S("abd"), "bool true"},
        {S("ab"), "IsLess", S("abc"), "bool true"},
        {S("abc"), "IsLess", S("abc"), "bool false"},
        {S("A"), "IsLess", S("\xE9"), "bool true"}, // bytes are unsigned
        {S("\xE9"), "IsLess", S("A"), "bool false"},
        {I(1), "IsLess", F(1.5), "bool true"},
        {I(-1), "IsLess", I(1), "bool true"},
        {F(s_nan), "IsLess", I(1), "bool false"},
        {I(1), "IsLess", F(s_nan), "bool false"},
        {B(true), "IsLess", B(false), "KSValueException: Incompatible types (bool and bool) for comparison operation"},
        {V(), "IsLess", V(), "KSValueException: Incompatible types (void and void) for comparison operation"},
    });
}

TEST(ReflectedOperands, TakePartAsWhatTheyCoerceTo)
{
    const std::shared_ptr<KSValue> seven = MakeReflected(s_bcInt32, int32(7));
    const std::shared_ptr<KSValue> two = MakeReflected(s_bcFloat64, 2.0);
    const std::shared_ptr<KSValue> text = MakeReflected(s_bcString8, xstring("ab"));
    const std::shared_ptr<KSValue> yes = MakeReflected(s_bcBool, true);
    EXPECT_EQ(KindAndValue(*seven + I(1)), "int64 8");
    EXPECT_EQ(KindAndValue(*seven / *two), "int64 3");
    EXPECT_EQ(KindAndValue(Power(*two, I(3))), "float64 8.0"); // not tagged int64
    EXPECT_EQ(KindAndValue(*text + S("cd")), "string abcd");
    EXPECT_EQ(KindAndValue(S("cd") + *text), "string cdab");
    EXPECT_EQ(KindAndValue(*yes && B(true)), "bool true");
    EXPECT_TRUE(IsEqual(*yes, B(true)));
    EXPECT_TRUE(IsEqual(*text, *text));
    EXPECT_TRUE(IsLess(*two, *seven));
}

// --- The pair that faults --------------------------------------------------------------------------------------------

// What a program may have done with the signal; a sanitizer handles it otherwise. No way of it survives the fault, but
// that of a handler which does not return.
void Expect()
{
    std::signal(SIGFPE, SIG_DFL);
}
void Ignore()
{
    std::signal(SIGFPE, SIG_IGN);
}
void Block()
{
    Expect();
    sigset_t faults;
    sigemptyset(&faults);
    sigaddset(&faults, SIGFPE);
    sigprocmask(SIG_BLOCK, &faults, nullptr);
}
void Handle()
{
    struct sigaction action = {};
    action.sa_sigaction = [](int, siginfo_t* info, void*) { _exit(info->si_code == FPE_INTDIV ? 42 : 1); };
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGFPE, &action, nullptr);
}

void DivideAfter(void (*prepare)(), KSValue (*divide)(const KSValue& a, const KSValue& b), const KSValue& divisor)
{
    prepare();
    divide(I(s_minInt64), divisor);
}

TEST(DivisionDeathTest, OfTheLeastIntegerByMinusOneFaults)
{
    for (const KSValue& divisor : {I(-1), F(-1.0)})
        for (auto* divide : {operator/, operator%})
        {
            for (auto* prepare : {Expect, Ignore, Block})
                EXPECT_EXIT(DivideAfter(prepare, divide, divisor), ::testing::KilledBySignal(SIGFPE), "");
            EXPECT_EXIT(DivideAfter(Handle, divide, divisor), ::testing::ExitedWithCode(42), "");
        }
}

} // namespace
} // namespace kelm
