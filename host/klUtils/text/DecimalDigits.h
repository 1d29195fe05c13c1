#pragma once

// Decimal digits, eight at once in one word. A word's first character is its lowest byte.

#include <klUtils/text/ShortText.h>
#include <klUtils/types.h>

#include <bit>

namespace kelm
{

// What a character is worth as a decimal digit; more than 9 where it is none.
inline uint64 DigitValue(char c)
{
    return static_cast<uint64>(static_cast<unsigned char>(c)) - '0';
}

// Marks, with its top bit, the first byte that is no digit; bytes behind that may be marked or not. A digit is a byte
// that comes to less than ten when its upper half is taken away.
inline uint64 MarkFirstNonDigit(uint64 bytes)
{
    const uint64 values = bytes ^ EightTimes('0');
    return (values | (values + EightTimes('\x76'))) & EightTimes('\x80');
}

inline bool AreEightDigits(uint64 bytes)
{
    return MarkFirstNonDigit(bytes) == 0;
}

// Joins neighbours, then pairs, then fours. Zero bytes count as zeros.
inline uint64 ValueOfEightDigits(uint64 bytes)
{
    bytes = (bytes & 0x0F0F0F0F0F0F0F0F) * (1 + (10 << 8)) >> 8;
    bytes = (bytes & 0x00FF00FF00FF00FF) * (1 + (uint64(100) << 16)) >> 16;
    return (bytes & 0x0000FFFF0000FFFF) * (1 + (uint64(10000) << 32)) >> 32;
}

// Both functions append the digits that a text begins with to a number, which wraps where it becomes too large, and
// return their end.

// Digit by digit: the right way for few, or where their number can be foreseen.
inline const char* AppendFewDigits(const char* p, const char* end, uint64& number)
{
    for (; p != end && DigitValue(*p) <= 9; ++p)
        number = 10 * number + DigitValue(*p);
    return p;
}

// Eight at a time; how many there are decides no branch as long as there are fewer.
inline const char* AppendDigits(const char* p, const char* end, uint64& number)
{
    constexpr uint64 powersOfTen[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000};
    for (; end - p >= 8; p += 8)
    {
        const uint64 bytes = LoadWord<uint64>(p);
        const uint64 marks = MarkFirstNonDigit(bytes);
        if (marks != 0)
        {
            const int count = std::countr_zero(marks) / 8;
            const uint64 digits = bytes << 1 << (63 - 8 * count); // zeros before them; a shift by 64 is none
            number = number * powersOfTen[count] + ValueOfEightDigits(digits);
            return p + count;
        }
        number = 100000000 * number + ValueOfEightDigits(bytes);
    }
    return AppendFewDigits(p, end, number);
}

} // namespace kelm
