#include <klUtils/ToString.h>

#include <support/Expect.h>
#include <support/InCLocale.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

namespace kelm
{
namespace
{

template <class Number>
std::string TextOf(Number number)
{
    return ToStdString(NumberText(number));
}

struct Row
{
    double m_value;
    const char* m_text;
};

TEST(ToString, OfDoublesIsTheShortestTextThatReadsBackAsTheSameFloat)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const Row rows[] = {{0.0, "0.0"},
                        {-0.0, "-0.0"},
                        {1.0, "1.0"},
                        {0.1, "0.1"},
                        {-2.5, "-2.5"},
                        {100.0, "100.0"},
                        {123456.0, "123456.0"},
                        {1e15, "1e+15"},
                        {1e300, "1e+300"},
                        {1e-7, "1e-07"},
                        {0.30000000000000004, "0.30000000000000004"},
                        {9007199254740993.0, "9007199254740992.0"},
                        {5e-324, "5e-324"},
                        {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
                        {-std::numeric_limits<double>::min(), "-2.2250738585072014e-308"},
                        {inf, "inf"},
                        {-inf, "-inf"},
                        {nan, "nan"},
                        {std::copysign(nan, -1.0), "nan"}};
    for (const Row& row : rows)
        EXPECT_EQ(ToString(row.m_value), row.m_text);
}

TEST(ToString, OfIntegersIsDecimal)
{
    EXPECT_EQ(ToString(0L), "0");
    EXPECT_EQ(ToString(std::numeric_limits<long>::min()), "-9223372036854775808");
    EXPECT_EQ(ToString(std::numeric_limits<long>::max()), "9223372036854775807");
}

TEST(NumberText, IsTheTextOfEveryKindOfNumber)
{
    EXPECT_EQ(TextOf(std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(TextOf(7L), "7");
    EXPECT_EQ(TextOf(std::numeric_limits<unsigned long>::max()), "18446744073709551615");
    EXPECT_EQ(TextOf(0.1), "0.1");
    EXPECT_EQ(TextOf(0.1F), "0.1");
    EXPECT_EQ(TextOf(static_cast<double>(0.1F)), "0.10000000149011612");
    EXPECT_EQ(TextOf(16777216.0F), "16777216.0");
    EXPECT_EQ(TextOf(std::numeric_limits<float>::max()), "3.4028235e+38");
    EXPECT_EQ(TextOf(-std::numeric_limits<float>::infinity()), "-inf");
}

RC_GTEST_PROP(ToString, OfAnyDoubleReadsBackBitEqual, (uint64 bits))
{
    const auto value = std::bit_cast<double>(bits);
    RC_PRE(!std::isnan(value));
    const std::string text = TextOf(value);
    RC_ASSERT(std::bit_cast<uint64>(DoubleOf(text.c_str())) == bits);
    RC_ASSERT(text.find_first_of(".ein") != std::string::npos);
}

RC_GTEST_PROP(NumberText, OfAnyFloatReadsBackBitEqual, (uint32 bits))
{
    const auto value = std::bit_cast<float>(bits);
    RC_PRE(!std::isnan(value));
    RC_ASSERT(std::bit_cast<uint32>(FloatOf(TextOf(value).c_str())) == bits);
}

// The digits of the standard library, with a point where they would read as an integer.
template <class Float>
std::string TextByTheStandardLibrary(Float value)
{
    char text[64];
    std::string expected(text, std::to_chars(text, text + sizeof text, value).ptr);
    return expected.find_first_of(".ein") == std::string::npos ? expected + ".0" : expected;
}

// Floats of every exponent: powers of two, their neighbours, and numbers between.
template <class Float, class Bits>
void ExpectDigitsOfTheStandardLibrary(int fractionBits, Bits infinity, int drawsOfEach)
{
    std::mt19937_64 random(1);
    const Bits step = Bits(1) << fractionBits;
    for (Bits power = 0; power < infinity; power = static_cast<Bits>(power + step))
        for (int i = 0; i < drawsOfEach + 3; ++i)
        {
            const Bits fraction = i < 3 ? static_cast<Bits>(i - 1) : static_cast<Bits>(random()) % step;
            const auto value = std::bit_cast<Float>(static_cast<Bits>(power + fraction));
            if (!std::isfinite(value))
                continue;
            ASSERT_EQ(TextOf(value), TextByTheStandardLibrary(value));
        }
}

TEST(NumberText, OfFloatsHasTheDigitsOfTheStandardLibrary)
{
    ExpectDigitsOfTheStandardLibrary<double>(52, std::bit_cast<uint64>(HUGE_VAL), 100);
    ExpectDigitsOfTheStandardLibrary<float>(23, std::bit_cast<uint32>(HUGE_VALF), 1000);
}

// Few digits at any place: what people write.
TEST(NumberText, OfShortDecimalsHasTheirDigits)
{
    for (int exponent = -330; exponent <= 308; ++exponent)
        for (int digits = 1; digits < 1000; digits += digits < 100 ? 1 : 37)
        {
            const std::string text = std::to_string(digits) + "e" + std::to_string(exponent);
            const double value = DoubleOf(text.c_str());
            ASSERT_EQ(TextOf(value), TextByTheStandardLibrary(value)) << text;
            const float narrow = FloatOf(text.c_str());
            ASSERT_EQ(TextOf(narrow), TextByTheStandardLibrary(narrow)) << text;
        }
}

// Beyond the significand's bits, halfway cases are whole.
TEST(NumberText, OfWholeNumbersIsExact)
{
    std::mt19937_64 random(2);
    for (int i = 0; i < 100'000; ++i)
    {
        const auto bits = static_cast<double>(random() >> random() % 64);
        const double value = std::ldexp(bits, static_cast<int>(random() % 12));
        ASSERT_EQ(TextOf(value), TextByTheStandardLibrary(value));
        const auto narrow = static_cast<float>(value);
        ASSERT_EQ(TextOf(narrow), TextByTheStandardLibrary(narrow));
    }
}

TEST(NumberText, OfIntegersOfEveryLengthIsDecimal)
{
    for (int shift = 0; shift < 64; ++shift)
        for (const unsigned long value : {~0UL >> shift, 1UL << shift, 0x123456789abcdef0UL >> shift})
        {
            EXPECT_EQ(TextOf(value), std::to_string(value));
            EXPECT_EQ(TextOf(static_cast<long>(value)), std::to_string(static_cast<long>(value)));
            EXPECT_EQ(TextOf(-static_cast<long>(value >> 1)), std::to_string(-static_cast<long>(value >> 1)));
        }
    for (unsigned long power = 1; power <= 1'000'000'000'000'000'000; power *= 10)
        for (const unsigned long value : {power - 1, power, power + 1, 9 * power})
            EXPECT_EQ(TextOf(value), std::to_string(value));
}

TEST(PutNumber, KeepsWithinTheRoomItAsksFor)
{
    for (const double value : {-1.7976931348623157e+308, -5e-324, -0.00012345678901234567, -1.1805916207174113e+21,
                               -1234567.8901234567, -123456789012.34567, -0.1, 0.0, -HUGE_VAL})
    {
        std::string room(s_numberRoom + 8, '#');
        const char* const end = PutNumber(room.data(), value);
        EXPECT_EQ(room.substr(0, static_cast<std::size_t>(end - room.data())), TextByTheStandardLibrary(value));
        EXPECT_EQ(room.substr(s_numberRoom), "########");
    }
}

RC_GTEST_PROP(ToString, OfAnyIntegerReadsBack, (int64 value))
{
    RC_ASSERT(std::strtol(ToString(value).c_str(), nullptr, 10) == value);
}

} // namespace
} // namespace kelm
