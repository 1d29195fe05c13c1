#pragma once

// The float nearest to a decimal number of up to 19 digits.
//
// The algorithm is that of D. Lemire, "Number parsing at a gigabyte per second", Software: Practice and Experience 51
// (2021): multiply the normalised digits by the power of five; the product's upper bits are the significand. That 128
// bits of the power always decide was shown by N. Mushtak and D. Lemire, "Fast number parsing without fallback",
// Software: Practice and Experience 53 (2023).

#include <klUtils/text/private/PowersOfFive.h>
#include <klUtils/types.h>

#include <bit>
#include <limits>
#include <type_traits>

namespace kelm
{

// digits * 10 ^ power, rounded to the nearest double or 32-bit float, ties to even: infinity where it is too large,
// zero where it is too small. `digits` must not be zero; `power` may be any.
template <class Float>
inline Float NearestFloat(uint64 digits, int power)
{
    static_assert(std::is_same_v<Float, double> || std::is_same_v<Float, float>);
    constexpr bool isDouble = std::is_same_v<Float, double>;
    using Bits = std::conditional_t<isDouble, uint64, uint32>;
    constexpr int significandBits = std::numeric_limits<Float>::digits - 1;
    constexpr int exponentBias = std::numeric_limits<Float>::max_exponent - 1;
    constexpr int infiniteExponent = 2 * exponentBias + 1;

    // Beyond these every number of 19 digits is zero or infinite.
    constexpr int minPower = isDouble ? s_minPowerInTable : -64;
    if (power < minPower || power > std::numeric_limits<Float>::max_exponent10)
        return power < 0 ? Float(0) : std::numeric_limits<Float>::infinity();

    const int shift = std::countl_zero(digits);
    const uint64 normalised = digits << shift;
    const uint128 factor = GetPowerOfFive(power);

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
    int exponent = FloorLog2OfPowerOfTen(power) + 63 + topBit - shift + exponentBias;
    if (exponent <= 0) [[unlikely]] // subnormal: no tie is exact in so small a number
    {
        if (exponent <= -63)
            return 0;
        significand >>= 1 - exponent;
        return std::bit_cast<Float>(static_cast<Bits>((significand + (significand & 1)) >> 1)); // maybe a normal number
    }

    // A tie can only arise where the power of five is exact in the product; it goes to the even side.
    constexpr int minTiePower = isDouble ? -4 : -17;
    constexpr int maxTiePower = isDouble ? 23 : 10;
    const bool isTie = low <= 1 && minTiePower <= power && power <= maxTiePower && (significand & 3) == 1 &&
                       significand << dropped == high;
    if (isTie)
        --significand;
    significand = (significand + (significand & 1)) >> 1;
    if (significand >> (significandBits + 1) != 0)
    {
        significand >>= 1;
        ++exponent;
    }
    if (exponent >= infiniteExponent) [[unlikely]]
        return std::numeric_limits<Float>::infinity();
    const uint64 fraction = significand & ((uint64(1) << significandBits) - 1);
    return std::bit_cast<Float>(static_cast<Bits>(static_cast<uint64>(exponent) << significandBits | fraction));
}

inline double NearestDouble(uint64 digits, int power)
{
    return NearestFloat<double>(digits, power);
}

} // namespace kelm
