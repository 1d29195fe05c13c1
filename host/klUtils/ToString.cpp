#include <klUtils/ToString.h>

#include <klUtils/text/private/ShortestDecimal.h>
#include <klUtils/text/private/WriteDigits.h>

#include <bit>
#include <cstring>
#include <limits>

namespace kelm
{

namespace
{

template <std::size_t N>
char* PutLiteral(char* p, const char (&text)[N])
{
    std::memcpy(p, text, N - 1);
    return p + N - 1;
}

char* PutWideDecimal(char* p, uint128 number)
{
    constexpr uint64 sixteenDigits = 10'000'000'000'000'000;
    const auto upper = static_cast<uint64>(number / sixteenDigits);
    const auto lower = static_cast<uint64>(number % sixteenDigits);
    if (upper == 0)
        return PutDecimal(p, lower);
    return PutEightDigits(PutEightDigits(PutDecimal(p, upper), lower / 100'000'000), lower % 100'000'000);
}

// All bits, or none.
constexpr uint64 MaskOf(bool isSet)
{
    return 0 - static_cast<uint64>(isSet);
}

// The digits of a float, seventeen with at most one zero before the others. The functions that share them are called
// last and take them by value, so that everything stays in registers.
struct Digits
{
    SixteenDigits m_upper;
    uint64 m_last;
    int m_leadingZeros;
};

// From the first that is not zero on.
inline void PutDigits(char* p, Digits digits)
{
    constexpr std::size_t upperDigits = 16;
    digits.m_upper.Put(p);
    p[upperDigits] = static_cast<char>('0' + digits.m_last);
    if (digits.m_leadingZeros != 0)
        std::memmove(p, p + 1, upperDigits);
}

// Of `count` digits the first counts ten to the `exponent`, and the point stands behind more than seven: "12500000.0".
[[gnu::noinline]] char* PutLongFixed(char* p, Digits digits, int count, int exponent)
{
    if (exponent >= count - 1)
    {
        PutDigits(p, digits);
        return PutLiteral(p + exponent + 1, ".0");
    }
    PutDigits(p + 1, digits);
    std::memmove(p, p + 1, static_cast<std::size_t>(exponent) + 1);
    p[exponent + 1] = '.';
    return p + count + 1;
}

// "1e+300", "1.25e-07"
[[gnu::noinline]] char* PutScientific(char* p, Digits digits, int count, int exponent)
{
    PutDigits(p + 1, digits);
    *p = p[1];
    *++p = '.';
    p += count == 1 ? 0 : count;
    *p++ = 'e';
    *p++ = exponent < 0 ? '-' : '+';
    const auto magnitude = static_cast<uint64>(exponent < 0 ? -exponent : exponent);
    if (magnitude < 10)
        *p++ = '0';
    return PutShortDecimal(p, magnitude);
}

// A whole number that is more than the significand, to its last digit even where fewer would do.
[[gnu::noinline]] char* PutWhole(char* p, BinaryFloat parts)
{
    return PutLiteral(PutWideDecimal(p, uint128(parts.m_significand) << parts.m_exponent), ".0");
}

// Where the fixed form is longer than the scientific one.
bool IsScientific(int count, int exponent)
{
    constexpr int maxZeros = 5;
    constexpr int minExponent = -4;
    const bool isOneDigit = count == 1;
    return exponent - count + 1 > maxZeros - isOneDigit || exponent < minExponent + isOneDigit;
}

// The shorter of the fixed and the scientific form, or the fixed one. What nobody can foresee of a number decides no
// branch.
template <class Bits>
[[gnu::noinline]] char* PutDecimal(char* p, Decimal decimal, Bits magnitude)
{
    constexpr uint32 eightDigits = 100'000'000;
    constexpr uint64 fifteenDigits = uint64(10'000'000) * eightDigits;
    if constexpr (sizeof(Bits) == sizeof(uint32))
    {
        const uint64 number = 10 * decimal.m_tens + decimal.m_ones; // seven digits to nine
        const bool isLong = number >= eightDigits;
        decimal = {number * (isLong ? eightDigits / 10 : eightDigits), 0, decimal.m_exponent - 9 + isLong};
    }
    for (; decimal.m_tens < fifteenDigits / 10; decimal.m_ones = 0)
        [[unlikely]] // subnormal
        {
            decimal.m_tens = 10 * decimal.m_tens + decimal.m_ones;
            --decimal.m_exponent;
        }
    const SixteenDigits upper(decimal.m_tens / eightDigits, decimal.m_tens % eightDigits);
    const int leading = decimal.m_tens < fifteenDigits;
    const int count = upper.CountWith(decimal.m_ones) - leading;
    const int exponent = decimal.m_exponent + 16 - leading;

    if (exponent < -3 || exponent > 4) [[unlikely]] // else it is fixed however many there are
    {
        if (IsScientific(count, exponent))
            return PutScientific(p, {upper, decimal.m_ones, leading}, count, exponent);
        if (exponent >= count - 1 && TakeApart(magnitude).m_exponent > 0)
            return PutWhole(p, TakeApart(magnitude));
        if (exponent > 6)
            return PutLongFixed(p, {upper, decimal.m_ones, leading}, count, exponent);
    }

    // The point goes between characters of the first word, zeros that stand before the digits among them.
    const int zeros = -exponent & static_cast<int>(MaskOf(exponent < 0));
    const int whole = exponent + zeros + 1;
    char* const behindFirst = p + zeros + 1 - leading;
    upper.Put(behindFirst);
    behindFirst[16] = static_cast<char>('0' + decimal.m_ones);
    const uint64 word = upper.GetFirstEight() >> 8 * leading << 8 * zeros | s_eightZeros;
    const uint64 behind = word >> 8 * whole << 8 * whole;
    PutWord(p, (word ^ behind) | uint64('.') << 8 * whole | behind << 8);
    const int behindPoint = zeros + count - whole - 1; // digits but the first, which is there in any case
    return p + whole + 2 + (behindPoint & static_cast<int>(MaskOf(behindPoint > 0)));
}

template <class Bits>
[[gnu::noinline]] char* PutExactly(char* p, Bits magnitude)
{
    return PutDecimal(p, ShortestDecimalExactly(TakeApart(magnitude)), magnitude);
}

char* PutZeroInfiniteOrNan(char* p, bool isZero, bool isInfinite)
{
    return isZero ? PutLiteral(p, "0.0") : isInfinite ? PutLiteral(p, "inf") : PutLiteral(p, "nan");
}

template <class Float>
[[gnu::always_inline]] inline char* PutFloat(char* p, Float value)
{
    using Bits = std::conditional_t<sizeof value == sizeof(uint64), uint64, uint32>;
    const auto bits = std::bit_cast<Bits>(value);
    constexpr auto infinite = std::bit_cast<Bits>(std::numeric_limits<Float>::infinity());
    constexpr int signBit = 8 * sizeof bits - 1;
    const auto magnitude = static_cast<Bits>(bits & ~(Bits(1) << signBit));

    *p = '-';
    p += magnitude <= infinite ? bits >> signBit : 0; // a NaN's sign says nothing to a reader
    if (magnitude - 1 >= infinite - 1) [[unlikely]]
        return PutZeroInfiniteOrNan(p, magnitude == 0, magnitude == infinite);
    Decimal decimal;
    return TryShortestDecimal(TakeApart(magnitude), decimal) ? PutDecimal(p, decimal, magnitude)
                                                             : PutExactly(p, magnitude);
}

} // namespace

char* PutNumber(char* p, double value)
{
    return PutFloat(p, value);
}

char* PutNumber(char* p, float value)
{
    return PutFloat(p, value);
}

NumberText::NumberText(long value) : m_length(static_cast<int>(PutDecimal(m_text, int64(value)) - m_text)) {}

NumberText::NumberText(unsigned long value) : m_length(static_cast<int>(PutDecimal(m_text, uint64(value)) - m_text)) {}

NumberText::NumberText(double value) : m_length(static_cast<int>(PutNumber(m_text, value) - m_text)) {}

NumberText::NumberText(float value) : m_length(static_cast<int>(PutNumber(m_text, value) - m_text)) {}

xstring ToString(double value)
{
    return xstring(SubString(NumberText(value)));
}

xstring ToString(long value)
{
    return xstring(SubString(NumberText(value)));
}

} // namespace kelm
