#include <klObject/types/private/ExactDivision.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace kelm
{
namespace
{

constexpr ssize_t s_max = std::numeric_limits<ssize_t>::max();
constexpr ssize_t s_min = std::numeric_limits<ssize_t>::min();

void Check(ssize_t dividend, ssize_t divisor)
{
    const bool isMultiple = dividend >= 0 && dividend % divisor == 0;
    ssize_t quotient = -1;
    EXPECT_EQ(ExactDivisor::Of(divisor).TryDivide(dividend, divisor, quotient), isMultiple)
        << dividend << " / " << divisor;
    if (isMultiple)
    {
        EXPECT_EQ(quotient, dividend / divisor) << dividend << " / " << divisor;
    }
}

TEST(ExactDivision, SmallNumbers)
{
    for (ssize_t divisor = 1; divisor <= 200; ++divisor)
        for (ssize_t dividend = -2 * divisor - 1; dividend <= 5 * divisor + 1; ++dividend)
            Check(dividend, divisor);
}

TEST(ExactDivision, NumbersAtTheirLimits)
{
    const ssize_t divisors[] = {1, 2, 3, 7, 8, 24, 52, 1000, ssize_t(1) << 62, s_max / 3, s_max - 1, s_max};
    for (const ssize_t divisor : divisors)
    {
        const ssize_t multiple = s_max - s_max % divisor;
        for (const ssize_t dividend : {s_min, s_min + 1, ssize_t(-1), ssize_t(0), multiple - 1, multiple, s_max})
            Check(dividend, divisor);
    }
}

TEST(ExactDivision, RandomNumbers)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 100'000; ++i)
    {
        const auto divisor = static_cast<ssize_t>(1 + (random() >> (1 + random() % 63)) % static_cast<uint64>(s_max));
        const auto quotient = static_cast<ssize_t>(random() % (static_cast<uint64>(s_max / divisor) + 1));
        const ssize_t multiple = quotient * divisor;
        for (const ssize_t dividend : {multiple, multiple - 1, -multiple})
            Check(dividend, divisor);
    }
}

} // namespace
} // namespace kelm
