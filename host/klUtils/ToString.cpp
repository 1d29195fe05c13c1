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

// Seventeen digits of a float, the first one not zero. The functions that share them are called last and take them by
// value, so that everything stays in registers.
struct Digits
{
    uint64 m_first;
    SixteenDigits m_others;
};

inline void PutDigits(char* p, Digits digits)
{
    *p = static_cast<char>('0' + digits.m_first);
    digits.m_others.Put(p + 1);
}

// Of `count` digits the first counts ten to the `exponent`: "12.5", "0.00125", "100.0".
[[gnu::noinline]] char* PutFixed(char* p, Digits digits, int count, int exponent)
{
    if (exponent < 0)
    {
        PutLiteral(p, "0.000");
        PutDigits(p + 1 - exponent, digits);
        return p + 1 - exponent + count;
    }
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
    *p++ = static_cast<char>('0' + digits.m_first);
    *p = '.';
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

// The shorter of the fixed and the scientific form, or the fixed one.
template <class Bits>
[[gnu::noinline]] char* PutDecimal(char* p, Decimal decimal, Bits magnitude)
{
    constexpr uint32 eightDigits = 100'000'000;
    constexpr uint64 lastPlace = uint64(eightDigits) * eightDigits;
    for (; decimal.m_digits < lastPlace; decimal.m_digits *= 10)
        --decimal.m_exponent;
    const int exponent = decimal.m_exponent + 16;
    const auto upper = static_cast<uint32>(decimal.m_digits / eightDigits);
    const uint32 first = upper / eightDigits;
    const SixteenDigits others(upper % eightDigits, decimal.m_digits % eightDigits);
    const int count = 1 + others.Count();

    const int whole = exponent + 1;
    if (0 < whole && whole < count && whole < 8) [[likely]]
    {
        // The point between the digits that fill the first word.
        others.Put(p + 2);
        const uint64 firstEight = others.GetFirstEight() << 8 | first | s_eightZeros;
        const uint64 behind = firstEight >> 8 * whole << 8 * whole;
        PutWord(p, (firstEight ^ behind) | uint64('.') << 8 * whole | behind << 8);
        return p + count + 1;
    }
    const bool isOneDigit = count == 1;
    constexpr int maxZeros = 5;
    constexpr int minExponent = -4;
    if (exponent - count + 1 > maxZeros - isOneDigit || exponent < minExponent + isOneDigit)
        return PutScientific(p, {first, others}, count, exponent);
    if (whole >= count && TakeApart(magnitude).m_exponent > 0)
        return PutWhole(p, TakeApart(magnitude));
    return PutFixed(p, {first, others}, count, exponent);
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
inline char* PutFloat(char* p, Float value)
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
