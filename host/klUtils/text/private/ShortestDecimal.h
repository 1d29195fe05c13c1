#pragma once

// The shortest decimal number that reads back as a given float; among those of that length the nearest to it, and of
// two as near the even one.
//
// The algorithm is Schubfach, by R. Giulietti, "The Schubfach way to render doubles" (2020). A float and the borders of
// what rounds to it are scaled by a power of ten so that the interval is between one and ten wide: it holds at most one
// multiple of ten, which is the result if there is one, and else the nearest whole number is. The paper computes the
// three to a precision that decides every case. Here one product decides nearly all of them: the distance to a border
// and half the width are compared as they come, and where they differ by less than the error, the paper's way decides.

#include <klUtils/text/private/PowersOfFive.h>
#include <klUtils/types.h>

#include <bit>
#include <limits>
#include <type_traits>

namespace kelm
{

// (10 * tens + ones) * 10 ^ exponent, which may end in zeros. It comes apart like that, and is written like that.
struct Decimal
{
    uint64 m_tens;
    uint64 m_ones; // less than ten
    int m_exponent;
};

// A finite float taken apart: significand * 2 ^ exponent.
struct BinaryFloat
{
    uint64 m_significand;
    int m_exponent;
    bool m_isNarrowBelow; // whether the float below is only half as far away as the one above
};

// So is zero.
template <class Bits>
constexpr bool IsPowerOfTwo(Bits magnitude)
{
    using Float = std::conditional_t<sizeof(Bits) == sizeof(uint64), double, float>;
    return (magnitude & ((Bits(1) << (std::numeric_limits<Float>::digits - 1)) - 1)) == 0;
}

template <class Bits>
inline BinaryFloat TakeApart(Bits magnitude)
{
    using Float = std::conditional_t<sizeof(Bits) == sizeof(uint64), double, float>;
    constexpr int fractionBits = std::numeric_limits<Float>::digits - 1;
    constexpr int bias = std::numeric_limits<Float>::max_exponent - 1 + fractionBits;
    constexpr uint64 hiddenBit = uint64(1) << fractionBits;

    const uint64 fraction = magnitude & (hiddenBit - 1);
    const auto exponent = static_cast<int>(magnitude >> fractionBits);
    if (exponent == 0) [[unlikely]]
        return {fraction, 1 - bias, false};
    return {fraction | hiddenBit, exponent - bias, IsPowerOfTwo(magnitude) && exponent > 1};
}

// The paper's way. For floats that are not zero.
inline Decimal ShortestDecimalExactly(BinaryFloat parts)
{
    const uint64 significand = parts.m_significand;
    const bool isNarrowBelow = parts.m_isNarrowBelow;
    // floor(log10(2 ^ e)), of three quarters of it where the interval is narrow below.
    const int exponent =
        static_cast<int>((parts.m_exponent * int64(661971961083) - (isNarrowBelow ? 274743187321 : 0)) >> 41);
    const uint128 table = GetPowerOfFive(-exponent);
    const uint128 power = ((table - (exponent > 0 ? 1 : 0)) >> 2) + 1; // 126 bits, of any power rounded up
    const int shift = parts.m_exponent + FloorLog2OfPowerOfTen(-exponent) + 2;

    // power * x, rounded to a whole number, or to an odd one where it is none.
    const auto scale = [&](uint64 x)
    {
        x <<= shift;
        const uint128 product =
            uint128(static_cast<uint64>(power >> 64)) * x + (uint128(static_cast<uint64>(power)) * x >> 64);
        constexpr uint64 belowWhole = ~uint64(0) >> 1;
        return static_cast<uint64>(product >> 63) | ((static_cast<uint64>(product) & belowWhole) != 0);
    };
    // All in quarters; the borders belong to floats with an even significand.
    const uint64 isOdd = significand & 1;
    const uint64 value = scale(4 * significand);
    const uint64 low = scale(4 * significand - (isNarrowBelow ? 1 : 2)) + isOdd;
    const uint64 high = scale(4 * significand + 2) - isOdd;

    const uint64 whole = value / 4;
    const uint64 tens = whole / 10;
    if (low <= 40 * tens)
        return {tens, 0, exponent};
    if (40 * tens + 40 <= high)
        return {tens + 1, 0, exponent};
    const bool isLowerIn = low <= 4 * whole;
    const bool isUpperIn = 4 * whole + 4 <= high;
    const uint64 half = 4 * whole + 2;
    const bool isUpperNearer = value > half || (value == half && (whole & 1) != 0);
    const uint64 nearest = whole + (isLowerIn && isUpperIn ? isUpperNearer : isUpperIn);
    return {nearest / 10, nearest % 10, exponent};
}

// Almost always the same, at a third of the cost; false where it does not decide. Not for powers of two.
inline bool TryShortestDecimal(BinaryFloat parts, Decimal& decimal)
{
    // floor(log10(2 ^ e)): the interval is between one and ten wide.
    const int exponent = parts.m_exponent * 1262611 >> 22;
    const uint128 power = GetPowerOfFive(-exponent);
    const auto upperPower = static_cast<uint64>(power >> 64);
    const int shift = parts.m_exponent + FloorLog2OfPowerOfTen(-exponent); // 0 to 3

    const uint64 significand = parts.m_significand << (shift + 1);
    const uint128 product =
        uint128(upperPower) * significand + (uint128(static_cast<uint64>(power)) * significand >> 64);
    const auto whole = static_cast<uint64>(product >> 64);
    const auto fraction = static_cast<uint64>(product); // at most two too small or too large

    // In units of 2 ^ -60: how far the value lies from the nearest multiple of ten, and half the interval's width,
    // which is less than five. Nobody can foresee which is more, so that it decides no branch.
    const uint64 tens = whole / 10;
    const uint64 ones = whole - 10 * tens;
    const auto allBitsWhere = [](int64 isNegative) { return static_cast<uint64>(isNegative >> 63); };
    const uint64 isNextNearer = allBitsWhere(4 - static_cast<int64>(ones));
    const uint64 above = ones << 60 | fraction >> 4;
    const uint64 distance = (above ^ isNextNearer) + (((uint64(10) << 60) + 1) & isNextNearer);
    const auto beyond = static_cast<int64>(distance - (upperPower >> (4 - shift)));

    constexpr uint64 error = 4;
    const auto isNearZero = [](uint64 difference) { return difference + error <= 2 * error; };
    const bool isTie = isNearZero(fraction - (uint64(1) << 63));
    if (isNearZero(static_cast<uint64>(beyond)) | isTie) [[unlikely]]
        return false;
    const uint64 isWithin = allBitsWhere(beyond);
    decimal.m_exponent = exponent;
    decimal.m_tens = tens + (1 & isNextNearer & isWithin);
    decimal.m_ones = (ones + (fraction >> 63)) & ~isWithin;
    return true;
}

} // namespace kelm
