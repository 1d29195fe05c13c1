#pragma once

// Decimal digits written eight at once in one word, whose lowest byte is the first character.

#include <klUtils/types.h>

#include <bit>
#include <cstring>

namespace kelm
{

static_assert(std::endian::native == std::endian::little);

inline constexpr uint64 s_eightZeros = 0x3030303030303030;

// The digits of a number of up to eight, as bytes from 0 to 9, zeros before them: halves, then pairs, then each. A
// quotient is a product shifted, exact for all that can occur.
inline uint64 EightDigitsOf(uint64 number)
{
    constexpr auto split = [](uint64 lanes, uint64 quotients, int bits, uint64 divisor)
    { return (lanes << bits) - quotients * ((divisor << bits) - 1); };

    const uint64 halves = split(number, number * 3518437209 >> 45, 32, 10000);
    const uint64 pairs = split(halves, halves * 10486 >> 20 & 0x0000007F0000007F, 16, 100);
    return split(pairs, pairs * 103 >> 10 & 0x000F000F000F000F, 8, 10);
}

inline void PutWord(char* p, uint64 word)
{
    std::memcpy(p, &word, sizeof word);
}

// These write at `p` and return the end. They may write more than they return: up to s_maxDecimal characters.
inline constexpr int s_maxDecimal = 24;

// A number of up to eight digits.
inline char* PutShortDecimal(char* p, uint64 number)
{
    const uint64 digits = EightDigitsOf(number);
    const int leading = std::countr_zero(digits | uint64(1) << 56) & ~7; // the last digit stands in any case
    PutWord(p, (digits | s_eightZeros) >> leading);
    return p + 8 - leading / 8;
}

inline char* PutEightDigits(char* p, uint64 number)
{
    PutWord(p, EightDigitsOf(number) | s_eightZeros);
    return p + 8;
}

inline char* PutDecimal(char* p, uint64 number)
{
    constexpr uint64 eightDigits = 100'000'000;
    if (number < eightDigits)
        return PutShortDecimal(p, number);
    const uint64 upper = number / eightDigits;
    if (upper < eightDigits)
        p = PutShortDecimal(p, upper);
    else
        p = PutEightDigits(PutShortDecimal(p, upper / eightDigits), upper % eightDigits);
    return PutEightDigits(p, number % eightDigits);
}

inline char* PutDecimal(char* p, int64 number)
{
    *p = '-';
    const bool isNegative = number < 0;
    const auto bits = static_cast<uint64>(number);
    return PutDecimal(p + isNegative, isNegative ? -bits : bits);
}

} // namespace kelm
