#include <klKelmScript/KSValue.h>

#include "Operands.h"

#include <support/Script.h>

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>

namespace kelm
{
namespace
{

constexpr int64 s_minInt64 = std::numeric_limits<int64>::min();

using Unary = void (*)(KSValue&);

// What an operand becomes, or how the operation fails; a failing operation must leave the operand as it was.
std::string OutcomeOfUnary(Unary apply, const KSValue& operand)
{
    KSValue v(operand);
    const std::string outcome = OutcomeOf(
        [&]() -> const KSValue&
        {
            apply(v);
            return v;
        });
    if (outcome.find("Exception") != std::string::npos)
    {
        EXPECT_EQ(KindAndValue(v), KindAndValue(operand));
    }
    return outcome;
}

struct UnaryRow
{
    KSValue m_operand;
    std::string m_plus, m_minus, m_complement, m_not;
};

TEST(PrefixOperators, GiveForEachKind)
{
    const std::string type = "KSValueException: Incompatible type (";
    const std::string no = "KSValueException: No implicit conversion from value ";
    const UnaryRow rows[] = {
        {V(), type + "void) for unary + operation", type + "void) for unary - operation",
         type + "void) for unary ~ operation", no + "void to bool"},
        {B(true), type + "bool) for unary + operation", type + "bool) for unary - operation",
         type + "bool) for unary ~ operation", "bool false"},
        {B(false), type + "bool) for unary + operation", type + "bool) for unary - operation",
         type + "bool) for unary ~ operation", "bool true"},
        {I(0), "int64 0", "int64 0", "int64 -1", no + "0 to bool"},
        {I(5), "int64 5", "int64 -5", "int64 -6", no + "5 to bool"},
        {I(-1), "int64 -1", "int64 1", "int64 0", no + "-1 to bool"},
        {I(s_minInt64), "int64 -9223372036854775808", "int64 -9223372036854775808", "int64 9223372036854775807",
         no + "-9223372036854775808 to bool"},
        // Integral floats become integers.
        {F(2.0), "int64 2", "int64 -2", "int64 -3", no + "2.0 to bool"},
        {F(0.0), "int64 0", "int64 0", "int64 -1", no + "0.0 to bool"},
        {F(-0.0), "int64 0", "int64 0", "int64 -1", no + "-0.0 to bool"},
        {F(-9223372036854775808.0), "int64 -9223372036854775808", "int64 -9223372036854775808",
         "int64 9223372036854775807", no + "-9223372036854775808.0 to bool"},
        {F(2.5), "float64 2.5", "float64 -2.5", type + "float64) for unary ~ operation", no + "2.5 to bool"},
        {F(-1.5), "float64 -1.5", "float64 1.5", type + "float64) for unary ~ operation", no + "-1.5 to bool"},
        {F(9223372036854775808.0), "float64 9223372036854775808.0", "float64 -9223372036854775808.0",
         type + "float64) for unary ~ operation", no + "9223372036854775808.0 to bool"},
        {F(std::numeric_limits<double>::infinity()), "float64 inf", "float64 -inf",
         type + "float64) for unary ~ operation", no + "inf to bool"},
        {F(std::numeric_limits<double>::quiet_NaN()), "float64 nan", "float64 nan",
         type + "float64) for unary ~ operation", no + "nan to bool"},
        {S(""), type + "string) for unary + operation", type + "string) for unary - operation",
         type + "string) for unary ~ operation", no + " to bool"},
        {S("12"), type + "string) for unary + operation", type + "string) for unary - operation",
         type + "string) for unary ~ operation", no + "12 to bool"},
    };
    for (const UnaryRow& row : rows)
    {
        EXPECT_EQ(OutcomeOfUnary(ApplyUnaryPlus, row.m_operand), row.m_plus) << KindAndValue(row.m_operand);
        EXPECT_EQ(OutcomeOfUnary(ApplyUnaryMinus, row.m_operand), row.m_minus) << KindAndValue(row.m_operand);
        EXPECT_EQ(OutcomeOfUnary(ApplyUnaryBitComplement, row.m_operand), row.m_complement)
            << KindAndValue(row.m_operand);
        EXPECT_EQ(OutcomeOfUnary(ApplyUnaryNot, row.m_operand), row.m_not) << KindAndValue(row.m_operand);
    }
}

TEST(PrefixOperators, TurnReflectedOperandsIntoNativeValues)
{
    const std::string assertion = "KelmAssertionError: 0 (src/KSValue)"; // the type has no name for the message
    const auto outcome = [](Unary apply, std::shared_ptr<KSValue> operand)
    {
        return OutcomeOf(
            [&]() -> const KSValue&
            {
                apply(*operand);
                return *operand;
            });
    };
    EXPECT_EQ(outcome(ApplyUnaryPlus, MakeReflected(s_bcInt32, int32(7))), "int64 7");
    EXPECT_EQ(outcome(ApplyUnaryPlus, MakeReflected(s_bcFloat64, 4.0)), "int64 4");
    EXPECT_EQ(outcome(ApplyUnaryPlus, MakeReflected(s_bcFloat64, 2.5)), "float64 2.5");
    EXPECT_EQ(outcome(ApplyUnaryMinus, MakeReflected(s_bcInt8, int8(-3))), "int64 3");
    EXPECT_EQ(outcome(ApplyUnaryMinus, MakeReflected(s_bcFloat32, 0.5F)), "float64 -0.5");
    EXPECT_EQ(outcome(ApplyUnaryBitComplement, MakeReflected(s_bcInt64, int64(5))), "int64 -6");
    EXPECT_EQ(outcome(ApplyUnaryNot, MakeReflected(s_bcBool, true)), "bool false");

    EXPECT_EQ(outcome(ApplyUnaryPlus, MakeReflected(s_bcString8, xstring("1"))), assertion);
    EXPECT_EQ(outcome(ApplyUnaryMinus, MakeReflected(s_bcBool, true)), assertion);
    EXPECT_EQ(outcome(ApplyUnaryBitComplement, MakeReflected(s_bcFloat64, 2.5)), assertion);
    EXPECT_EQ(outcome(ApplyUnaryBitComplement, MakeReflected(s_bcVectorOfInt32, VectorOfByte())), assertion);
}

TEST(UnaryMinus, FlipsTheSignBitOfANaN)
{
    for (const uint64 bits : {0x7ff8000000000000U, 0xfff8000000000001U})
    {
        KSValue v = F(std::bit_cast<double>(bits));
        ApplyUnaryMinus(v);
        EXPECT_EQ(std::bit_cast<uint64>(As<double>(v, false)), bits ^ (uint64(1) << 63));
    }
}

// --- Calls and members -----------------------------------------------------------------------------------------------

TEST(CallsAndMembers, AreRefusedWhateverTheOperand)
{
    for (const Operand& operand : AllOperands())
    {
        KSValue v(operand.Value());
        EXPECT_TRUE(ThrowsDescription<KSValueException>([&] { ApplyFunction(v, {}); },
                                                        "Function call not implemented currently"));
        EXPECT_TRUE(ThrowsDescription<KSValueException>(
            [&] {
                ApplyFunction(v, {I(1), S("a")});
            },
            "Function call not implemented currently"));
        EXPECT_TRUE(ThrowsDescription<KSValueException>([&] { ApplyDot(v, "size"); }, "Dot not implemented currently"));
        EXPECT_EQ(KindAndValue(v), KindAndValue(operand.Value()));
    }
}

// --- Subscripts ------------------------------------------------------------------------------------------------------

std::string OutcomeOfSubscript(KSValue v, const KSValue& index)
{
    return OutcomeOf(
        [&]() -> const KSValue&
        {
            ApplySubscript(v, index);
            return v;
        });
}

TEST(Subscripts, AreNotAvailableOnScalarsWhateverTheIndex)
{
    for (const KSValue& index : {I(0), S("a"), V(), KSValue(ReflectedValue())})
    {
        EXPECT_EQ(OutcomeOfSubscript(V(), index), "KSValueException: [] not available on void");
        EXPECT_EQ(OutcomeOfSubscript(B(true), index), "KSValueException: [] not available on bool");
        EXPECT_EQ(OutcomeOfSubscript(I(5), index), "KSValueException: [] not available on int64");
        EXPECT_EQ(OutcomeOfSubscript(F(2.0), index), "KSValueException: [] not available on float64");
        EXPECT_EQ(OutcomeOfSubscript(F(2.5), index), "KSValueException: [] not available on float64");
    }
}

TEST(Subscripts, TakeAnInt64InsideTheString)
{
    const std::string no = "KSValueException: No implicit conversion from value ";
    const struct
    {
        std::string m_text;
        KSValue m_index;
        std::string m_outcome;
    } rows[] = {
        {"abc", I(3), "KSValueException: Index 3 out of range [0,3) on string"},
        {"abc", I(-1), "KSValueException: Index -1 out of range [0,3) on string"},
        {"ab", I(-1), "KSValueException: Index -1 out of range [0,2) on string"},
        {"", I(0), "KSValueException: Index 0 out of range [0,0) on string"},
        {"abc", I(s_minInt64), "KSValueException: Index -9223372036854775808 out of range [0,3) on string"},
        {"abc", F(1.0), no + "1.0 to int64"}, // an integral float is none here
        {"abc", F(1.5), no + "1.5 to int64"},
        {"abc", B(true), no + "true to int64"},
        {"abc", S("1"), no + "1 to int64"},
        {"abc", V(), no + "void to int64"},
    };
    for (const auto& row : rows)
    {
        KSValue v = S(row.m_text);
        EXPECT_EQ(OutcomeOfSubscript(v, row.m_index), row.m_outcome);
        EXPECT_EQ(KindAndValue(v), "string " + row.m_text);
    }
}

TEST(Subscripts, WriteTheSignedByteAndThenFailAnAssertion)
{
    const std::string text("a\x7f\x80\xff\0z", 6);
    const int64 bytes[] = {'a', 127, -128, -1, 0, 'z'};
    for (int64 i = 0; i < 6; ++i)
    {
        KSValue v = S(text);
        EXPECT_TRUE(FailsAssertion([&] { ApplySubscript(v, I(i)); }, "0", "src/KSValue", 816));
        EXPECT_EQ(KindAndValue(v), "int64 " + std::to_string(bytes[i]));
    }
}

TEST(Subscripts, OfReflectedValuesFailTheSameAssertionWithoutALookAtTheIndex)
{
    for (const KSValue& index : {I(0), S("a")})
    {
        const std::shared_ptr<KSValue> text = MakeReflected(s_bcString8, xstring("ab"));
        EXPECT_TRUE(FailsAssertion([&] { ApplySubscript(*text, index); }, "0", "src/KSValue", 816));
        EXPECT_TRUE(text->is<ReflectedValue>());
    }
}

TEST(Subscripts, MayTakeTheStringItselfAsTheirIndex)
{
    KSValue v = S("abc");
    EXPECT_TRUE(ThrowsDescription<KSValueException>([&] { ApplySubscript(v, v); },
                                                    "No implicit conversion from value abc to int64"));
}

// --- len -------------------------------------------------------------------------------------------------------------

TEST(Len, IsNotAvailableOnScalars)
{
    EXPECT_EQ(OutcomeOfUnary(ApplyLen, V()), "KSValueException: len() not available on void");
    EXPECT_EQ(OutcomeOfUnary(ApplyLen, B(false)), "KSValueException: len() not available on bool");
    EXPECT_EQ(OutcomeOfUnary(ApplyLen, I(5)), "KSValueException: len() not available on int64");
    EXPECT_EQ(OutcomeOfUnary(ApplyLen, F(2.0)), "KSValueException: len() not available on float64");
    EXPECT_EQ(OutcomeOfUnary(ApplyLen, F(2.5)), "KSValueException: len() not available on float64");
}

TEST(Len, WritesTheNumberOfBytesAndThenFailsAnAssertion)
{
    for (const std::string& text :
         {std::string(), std::string("abc"), std::string("a\0b", 3), std::string("\xC3\xA9"), std::string(1000, 'x')})
    {
        KSValue v = S(text);
        EXPECT_TRUE(FailsAssertion([&] { ApplyLen(v); }, "0", "src/KSValue", 835));
        EXPECT_EQ(KindAndValue(v), "int64 " + std::to_string(text.size()));
    }
}

TEST(Len, OfAReflectedValueFailsTheSameAssertionAndLeavesIt)
{
    const std::shared_ptr<KSValue> text = MakeReflected(s_bcString8, xstring("ab"));
    EXPECT_TRUE(FailsAssertion([&] { ApplyLen(*text); }, "0", "src/KSValue", 835));
    EXPECT_TRUE(text->is<ReflectedValue>());
}

} // namespace
} // namespace kelm
