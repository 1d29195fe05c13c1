#pragma once

// The double nearest to a decimal number of up to 19 digits, for powers of ten near enough to zero that one table of
// exact or once-rounded 128-bit powers of five serves.
//
// The algorithm is that of D. Lemire, "Number parsing at a gigabyte per second", Software: Practice and Experience 51
// (2021): multiply the normalised digits by the power of five; the product's upper bits are the significand, except
// that a product between two doubles' midpoint bits needs a closer look. For powers in this range the product always
// decides.

#include <klUtils/types.h>

#include <array>
#include <bit>

namespace kelm
{

__extension__ using uint128 = unsigned __int128;

inline constexpr int s_minPowerOfFive = -27; // the last whose divisor fits 64 bits
inline constexpr int s_maxPowerOfFive = 55;  // the last that fits 128 bits

namespace detail
{

constexpr uint128 PowerOfFive(int exponent)
{
    uint128 power = 1;
    for (; exponent > 0; --exponent)
        power *= 5;
    return power;
}

constexpr int BitWidth(uint128 x)
{
    const auto high = static_cast<uint64>(x >> 64);
    return static_cast<int>(high != 0 ? 64 + std::bit_width(high) : std::bit_width(static_cast<uint64>(x)));
}

// 2 ^ (127 + width) / divisor, rounded up: the reciprocal, normalised to 128 bits.
constexpr uint128 NormalisedReciprocal(uint64 divisor)
{
    uint128 quotient = 0;
    uint128 remainder = 1;
    for (int bit = 127 + BitWidth(divisor); bit > 0; --bit)
    {
        remainder <<= 1;
        quotient <<= 1;
        if (remainder >= divisor)
        {
            remainder -= divisor;
            quotient |= 1;
        }
    }
    return quotient + 1;
}

// Five to each power, shifted so that its highest bit is the highest of 128.
constexpr auto MakePowersOfFive()
{
    std::array<uint128, s_maxPowerOfFive - s_minPowerOfFive + 1> powers{};
    for (int exponent = s_minPowerOfFive; exponent <= s_maxPowerOfFive; ++exponent)
    {
        uint128& power = powers[static_cast<std::size_t>(exponent - s_minPowerOfFive)];
        if (exponent < 0)
        {
            power = NormalisedReciprocal(static_cast<uint64>(PowerOfFive(-exponent)));
            continue;
        }
        const uint128 exact = PowerOfFive(exponent);
        power = exact << (128 - BitWidth(exact));
    }
    return powers;
}

inline constexpr auto s_powersOfFive = MakePowersOfFive();

} // namespace detail

// digits * 10 ^ power, rounded to the nearest double, ties to even. `digits` must not be zero, and `power` must lie
// within the table's range, where every result is a normal number.
inline double NearestDouble(uint64 digits, int power)
{
    constexpr int significandBits = 52;
    constexpr int exponentBias = 1023;

    const int shift = std::countl_zero(digits);
    const uint64 normalised = digits << shift;
    const uint128 factor = detail::s_powersOfFive[static_cast<std::size_t>(power - s_minPowerOfFive)];

    uint128 product = uint128(normalised) * static_cast<uint64>(factor >> 64);
    // Where the bits below the rounding bit are all ones, the factor's lower half may carry into it.
    constexpr uint64 belowRounding = (uint64(1) << (64 - significandBits - 3)) - 1;
    if ((static_cast<uint64>(product >> 64) & belowRounding) == belowRounding)
        product += uint128(normalised) * static_cast<uint64>(factor) >> 64;
    const auto high = static_cast<uint64>(product >> 64);
    const auto low = static_cast<uint64>(product);

    const int topBit = static_cast<int>(high >> 63);
    const int dropped = topBit + 64 - significandBits - 3;
    uint64 significand = high >> dropped; // with one bit more than the result, to round by
    // floor(log2(10) * power) by a fixed-point product.
    int exponent = ((152170 + 65536) * power >> 16) + 63 + topBit - shift + exponentBias;

    // A tie can only arise where the power of five is exact in the product; it goes to the even side.
    const bool isTie =
        low <= 1 && -4 <= power && power <= 23 && (significand & 3) == 1 && significand << dropped == high;
    if (isTie)
        --significand;
    significand = (significand + (significand & 1)) >> 1;
    if (significand >> (significandBits + 1) != 0)
    {
        significand >>= 1;
        ++exponent;
    }
    const uint64 fraction = significand & ((uint64(1) << significandBits) - 1);
    return std::bit_cast<double>(static_cast<uint64>(exponent) << significandBits | fraction);
}

} // namespace kelm
