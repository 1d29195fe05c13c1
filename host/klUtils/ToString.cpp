#include <klUtils/ToString.h>

#include <klUtils/text/private/ShortestDecimal.h>
#include <klUtils/text/private/WriteDigits.h>

#include <array>
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

// All bits where a number is negative, none elsewhere. A compiler makes no branch of that.
constexpr int64 MaskOfNegative(int64 number)
{
    return number >> 63;
}

// What stands behind the digits of the scientific form, for each power of ten that a double has: "e-07", "e+300". Its
// length is the last byte.
constexpr int s_minDecimalExponent = -324;
constexpr int s_maxDecimalExponent = 308;
constexpr auto s_exponents = []
{
    std::array<uint64, s_maxDecimalExponent - s_minDecimalExponent + 1> exponents{};
    for (int exponent = s_minDecimalExponent; exponent <= s_maxDecimalExponent; ++exponent)
    {
        const int magnitude = exponent < 0 ? -exponent : exponent;
        uint64 digits = 0;
        int length = 2;
        for (int rest = magnitude; rest > 0 || length < 4; rest /= 10, ++length)
            digits = digits << 8 | static_cast<uint64>('0' + rest % 10);
        exponents[static_cast<std::size_t>(exponent - s_minDecimalExponent)] =
            'e' | uint64(exponent < 0 ? '-' : '+') << 8 | digits << 16 | static_cast<uint64>(length) << 56;
    }
    return exponents;
}();

// Where the point stands when so many digits are between the first one and it; or, below zero, so many zeros are before
// the first digit that is none. Whatever of that goes into the first eight characters.
struct PointPlace
{
    uint64 m_unit;  // times this, the first digits have the zeros before them
    uint64 m_front; // what stands before the point
    uint64 m_point;
    int m_zeros;
    int m_least; // the length of the text that has one digit behind the point
};

constexpr int s_minPlace = -4; // where the fixed form is not longer than the scientific one, of more digits than one
constexpr int s_maxZeros = 5;  // before the point, of digits behind those that are not zero, likewise
constexpr int s_maxPlace = 6;
constexpr auto s_places = []
{
    std::array<PointPlace, s_maxPlace - s_minPlace + 1> places{};
    for (int place = s_minPlace; place <= s_maxPlace; ++place)
    {
        const int zeros = place < 0 ? -place : 0;
        const int whole = place + zeros + 1;
        places[static_cast<std::size_t>(place - s_minPlace)] = {uint64(1) << 8 * zeros, (uint64(1) << 8 * whole) - 1,
                                                                uint64('.') << 8 * whole, zeros, whole + 2};
    }
    return places;
}();

// The digits of a float, the first of seventeen none of the zeros. Given by value, so that those who do not call the
// functions that take it keep it in registers.
struct Digits
{
    SixteenDigits m_upper;
    uint64 m_last;
};

inline void PutDigits(char* p, Digits digits)
{
    digits.m_upper.Put(p);
    p[16] = static_cast<char>('0' + digits.m_last);
}

// Of `count` digits the first counts ten to the `exponent`, and the point stands behind more than seven: "12500000.0".
char* PutLongFixed(char* p, Digits digits, int64 count, int64 exponent)
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

// "1e+300", "1.25e+17"
char* PutScientific(char* p, Digits digits, int64 count, int64 exponent)
{
    PutDigits(p + 1, digits);
    *p = p[1];
    *++p = '.';
    p += count == 1 ? 0 : count;
    const uint64 suffix = s_exponents[static_cast<std::size_t>(exponent - s_minDecimalExponent)];
    PutWord(p, suffix);
    return p + (suffix >> 56);
}

// A whole number that is more than the significand, to its last digit even where fewer would do.
char* PutWhole(char* p, BinaryFloat parts)
{
    return PutLiteral(PutWideDecimal(p, uint128(parts.m_significand) << parts.m_exponent), ".0");
}

// Where the fixed form is longer than the scientific one.
bool IsScientific(int64 count, int64 exponent)
{
    const bool isOneDigit = count == 1;
    return exponent - count + 1 > s_maxZeros - isOneDigit || exponent < s_minPlace + isOneDigit;
}

// What the point stands farther away in, and what has one digit and may need no point.
template <class Bits>
[[gnu::noinline]] char* PutUnusual(char* p, Digits digits, int64 count, int64 exponent, Bits magnitude)
{
    if (IsScientific(count, exponent))
        return PutScientific(p, digits, count, exponent);
    if (exponent >= count - 1 && TakeApart(magnitude).m_exponent > 0)
        return PutWhole(p, TakeApart(magnitude));
    return PutLongFixed(p, digits, count, exponent);
}

// The shorter of the fixed and the scientific form, or the fixed one. What nobody can foresee of a number decides no
// branch: how many digits there are, where the point stands, whether it is small enough for the scientific form. And
// what can be known before the digits are waits for none of them.
template <class Bits>
[[gnu::always_inline]] inline char* PutDecimal(char* p, Decimal decimal, Bits magnitude)
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
    const auto isShorter = static_cast<uint64>(MaskOfNegative(static_cast<int64>(decimal.m_tens - fifteenDigits)));
    const uint64 first = decimal.m_tens + ((9 * decimal.m_tens + decimal.m_ones) & isShorter);
    const uint64 last = decimal.m_ones & ~isShorter;
    const int64 exponent = decimal.m_exponent + 16 + static_cast<int64>(isShorter);
    const SixteenDigits upper(first / eightDigits, first % eightDigits);
    const int64 count = upper.CountWith(last);

    const bool needsNoPoint = count == 1 && (exponent <= s_minPlace || exponent >= s_maxZeros);
    if (exponent > s_maxPlace || needsNoPoint) [[unlikely]]
        return PutUnusual(p, {upper, last}, count, exponent, magnitude);

    const int64 isScientific = MaskOfNegative(exponent - s_minPlace);
    const PointPlace& place = s_places[static_cast<std::size_t>((exponent & ~isScientific) - s_minPlace)];
    char* const behindFirst = p + place.m_zeros + 1;
    upper.Put(behindFirst);
    behindFirst[16] = static_cast<char>('0' + last);
    const uint64 word = upper.GetFirstEight() * place.m_unit | s_eightZeros;
    PutWord(p, (word & place.m_front) | place.m_point | (word & ~place.m_front) << 8);

    const int64 length = count + 1 + place.m_zeros;
    p += length > place.m_least ? length : place.m_least;
    const uint64 suffix = s_exponents[static_cast<std::size_t>(exponent - s_minDecimalExponent)];
    PutWord(p, suffix);
    return p + (static_cast<int64>(suffix >> 56) & isScientific);
}

template <class Bits>
[[gnu::noinline]] char* PutExactly(char* p, Bits magnitude)
{
    return PutDecimal(p, ShortestDecimalExactly(TakeApart(magnitude)), magnitude);
}

template <class Bits>
[[gnu::noinline]] char* PutZeroInfiniteOrNan(char* p, Bits bits)
{
    constexpr Bits infinite = std::bit_cast<Bits>(
        std::numeric_limits<std::conditional_t<sizeof(Bits) == sizeof(uint64), double, float>>::infinity());
    const auto magnitude = static_cast<Bits>(bits << 1 >> 1);
    if (magnitude > infinite) // a NaN's sign says nothing to a reader
        return PutLiteral(p, "nan");
    p += bits != magnitude;
    return magnitude == 0 ? PutLiteral(p, "0.0") : PutLiteral(p, "inf");
}

template <class Float>
[[gnu::always_inline]] inline char* PutFloat(char* p, Float value)
{
    using Bits = std::conditional_t<sizeof value == sizeof(uint64), uint64, uint32>;
    const auto bits = std::bit_cast<Bits>(value);
    constexpr auto infinite = std::bit_cast<Bits>(std::numeric_limits<Float>::infinity());
    const auto magnitude = static_cast<Bits>(bits << 1 >> 1);

    *p = '-';
    if (magnitude - 1 >= infinite - 1) [[unlikely]]
        return PutZeroInfiniteOrNan(p, bits);
    p += bits >> (8 * sizeof bits - 1);
    Decimal decimal;
    if (IsPowerOfTwo(magnitude) || !TryShortestDecimal(TakeApart(magnitude), decimal)) [[unlikely]]
        return PutExactly(p, magnitude);
    return PutDecimal(p, decimal, magnitude);
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
