#include <klUtils/ToString.h>

#include <support/Expect.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <limits>
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
    RC_ASSERT(std::bit_cast<uint64>(std::strtod(text.c_str(), nullptr)) == bits);
    RC_ASSERT(text.find_first_of(".ein") != std::string::npos);
}

RC_GTEST_PROP(NumberText, OfAnyFloatReadsBackBitEqual, (uint32 bits))
{
    const auto value = std::bit_cast<float>(bits);
    RC_PRE(!std::isnan(value));
    RC_ASSERT(std::bit_cast<uint32>(std::strtof(TextOf(value).c_str(), nullptr)) == bits);
}

RC_GTEST_PROP(ToString, OfAnyIntegerReadsBack, (int64 value))
{
    RC_ASSERT(std::strtol(ToString(value).c_str(), nullptr, 10) == value);
}

} // namespace
} // namespace kelm
