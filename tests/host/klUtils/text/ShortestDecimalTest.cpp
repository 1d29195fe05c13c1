// The exact way to the shortest digits, which texts of numbers take seldom, beside the standard library's.

#include <klUtils/text/private/ShortestDecimal.h>

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

namespace kelm
{
namespace
{

template <class Float>
using BitsOf = std::conditional_t<sizeof(Float) == sizeof(uint64), uint64, uint32>;

// digits "e" exponent, the digits without zeros at their end.
std::string Normalised(std::string digits, int exponent)
{
    while (digits.size() > 1 && digits.back() == '0')
    {
        digits.pop_back();
        ++exponent;
    }
    return digits + 'e' + std::to_string(exponent);
}

std::string TextOf(const Decimal& decimal)
{
    return Normalised(std::to_string(10 * decimal.m_tens + decimal.m_ones), decimal.m_exponent);
}

template <class Float>
std::string Expected(Float value)
{
    char text[64];
    const std::to_chars_result end = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    const std::string all(text, end.ptr);
    const std::size_t e = all.find('e');
    std::string digits = all.substr(0, e);
    const std::size_t point = digits.find('.');
    const int places = point == std::string::npos ? 0 : static_cast<int>(digits.size() - point) - 1;
    if (point != std::string::npos)
        digits.erase(point, 1);
    return Normalised(digits, std::atoi(all.c_str() + e + 1) - places);
}

template <class Float>
void ExpectShortest(BitsOf<Float> magnitude)
{
    const auto value = std::bit_cast<Float>(magnitude);
    const std::string expected = Expected(value);
    ASSERT_EQ(TextOf(ShortestDecimalExactly(TakeApart(magnitude))), expected) << std::hexfloat << value;
    Decimal decimal{};
    const bool isDecided = !IsPowerOfTwo(magnitude) && TryShortestDecimal(TakeApart(magnitude), decimal);
    ASSERT_EQ(isDecided ? TextOf(decimal) : expected, expected) << std::hexfloat << value;
}

template <class Float>
class ShortestDecimal : public ::testing::Test
{
};
using Floats = ::testing::Types<double, float>;
TYPED_TEST_SUITE(ShortestDecimal, Floats);

TYPED_TEST(ShortestDecimal, IsThatOfTheStandardLibrary)
{
    using Bits = BitsOf<TypeParam>;
    const Bits infinity = std::bit_cast<Bits>(std::numeric_limits<TypeParam>::infinity());
    std::mt19937_64 random(7); // NOLINT(cert-msc51-cpp): the same numbers in each run
    for (int i = 0; i < 50'000; ++i)
        ExpectShortest<TypeParam>(static_cast<Bits>(1 + random() % (infinity - 1)));
}

// Where the float below is nearer than the one above, and beside it.
TYPED_TEST(ShortestDecimal, OfPowersOfTwoAndTheirNeighbours)
{
    using Bits = BitsOf<TypeParam>;
    constexpr int fractionBits = std::numeric_limits<TypeParam>::digits - 1;
    const Bits infinity = std::bit_cast<Bits>(std::numeric_limits<TypeParam>::infinity());
    for (Bits power = Bits(1) << fractionBits; power < infinity; power += Bits(1) << fractionBits)
        for (int step = -3; step <= 3; ++step)
            ExpectShortest<TypeParam>(power + static_cast<Bits>(step));
    for (Bits small = 1; small < 1000; ++small)
        ExpectShortest<TypeParam>(small);
}

// Decimals of few digits, whose borders come near to what is written.
TYPED_TEST(ShortestDecimal, OfWholeNumbersAndShortFractions)
{
    using Bits = BitsOf<TypeParam>;
    std::mt19937_64 random(8); // NOLINT(cert-msc51-cpp): the same numbers in each run
    for (int i = 0; i < 20'000; ++i)
    {
        const auto whole = static_cast<TypeParam>(1 + (random() >> random() % 64) / 2);
        ExpectShortest<TypeParam>(std::bit_cast<Bits>(whole));
        ExpectShortest<TypeParam>(std::bit_cast<Bits>(static_cast<TypeParam>(whole / 1000)));
    }
}

} // namespace
} // namespace kelm
