#pragma once

// Decimal digits, sixteen at once.

#include <klUtils/text/private/Blocks.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/types.h>

#include <bit>

namespace kelm::text
{

// What a character is worth as a decimal digit; more than 9 where it is none.
inline uint64 DigitValue(char c)
{
    return static_cast<uint64>(static_cast<unsigned char>(c)) - '0';
}

// The number of the first `count` characters of the block at `p`, which are digits; 1 to 16 of them.
[[gnu::always_inline]] inline uint64 ValueOfDigits(const char* p, int count)
{
    __extension__ using uint128 = unsigned __int128;
    const uint128 bytes = (static_cast<uint128>(LoadWord<uint64>(p + 8)) << 64 | LoadWord<uint64>(p))
                          << (8 * (s_blockSize - count)); // zero bytes before them
    return Block(static_cast<uint64>(bytes), static_cast<uint64>(bytes >> 64)).GetDecimal();
}

inline constexpr uint64 s_integerPowersOfTen[] = {1,
                                                  10,
                                                  100,
                                                  1000,
                                                  10000,
                                                  100000,
                                                  1000000,
                                                  10000000,
                                                  100000000,
                                                  1000000000,
                                                  10000000000,
                                                  100000000000,
                                                  1000000000000,
                                                  10000000000000,
                                                  100000000000000,
                                                  1000000000000000,
                                                  10000000000000000};

// A number and the end of its digits, in two registers.
struct DigitRun
{
    const char* m_past;
    uint64 m_number;
};

[[gnu::always_inline]] inline DigitRun AppendOneByOne(const char* p, const char* end, uint64 number)
{
    for (; p != end && DigitValue(*p) <= 9; ++p)
        number = 10 * number + DigitValue(*p);
    return {p, number};
}

// Up to three digits, found in one word of the four characters at `p`; a null end where there are more.
[[gnu::always_inline]] inline DigitRun AppendUpToThree(const char* p, uint64 number)
{
    const uint32 values = LoadWord<uint32>(p) ^ 0x30303030;
    const uint32 marks = (values | (values + 0x76767676)) & 0x80808080; // of the first byte that is no digit
    if (marks == 0)
        return {nullptr, number};
    const int bits = std::countr_zero(marks) & ~7;
    uint32 digits = values << 1 << (31 - bits); // zero bytes before them
    digits = (digits * (1 + (10 << 8)) >> 8) & 0x00ff00ff;
    digits = digits * (1 + (100 << 16)) >> 16;
    return {p + bits / 8, s_integerPowersOfTen[bits / 8] * number + digits};
}

// Appends the digits that begin at `p` to a number, which wraps where it becomes too large. How many there are decides
// no branch, since nobody can foresee it, but whether there are more than sixteen.
[[gnu::always_inline]] inline DigitRun AppendDigits(const char* p, const char* end, uint64 number)
{
    if (end - p >= s_blockSize)
    {
        const int count = FirstNotOf(Block(p).AreBetween('0', '9'));
        if (count == 0)
            return {p, number};
        number = s_integerPowersOfTen[count] * number + ValueOfDigits(p, count);
        p += count;
        if (count != s_blockSize)
            return {p, number};
        if (end - p >= 4)
            if (const DigitRun run = AppendUpToThree(p, number); run.m_past != nullptr)
                return run;
    }
    return AppendOneByOne(p, end, number);
}

// The same where there are often more than sixteen, but seldom more than nineteen.
[[gnu::always_inline]] inline DigitRun AppendManyDigits(const char* p, const char* end, uint64 number)
{
    if (end - p < s_blockSize + 4)
        return AppendDigits(p, end, number);
    const int count = FirstNotOf(Block(p).AreBetween('0', '9'));
    if (count == 0)
        return {p, number};
    number = s_integerPowersOfTen[count] * number + ValueOfDigits(p, count);
    const DigitRun run = AppendUpToThree(p + count, number); // of none where the block has told all
    return run.m_past != nullptr ? run : AppendOneByOne(p + count, end, number);
}

// The same where there are often no more than three.
[[gnu::always_inline]] inline DigitRun AppendFewDigits(const char* p, const char* end, uint64 number)
{
    if (end - p < 4)
        return AppendOneByOne(p, end, number);
    const DigitRun run = AppendUpToThree(p, number);
    return run.m_past != nullptr ? run : AppendDigits(p, end, number);
}

// The same of the number at `p`, of whose digits the first one is `digit`.
[[gnu::always_inline]] inline DigitRun AppendFewMoreDigits(const char* p, const char* end, uint64 digit)
{
    if (end - p < 4)
        return AppendOneByOne(p + 1, end, digit);
    const DigitRun run = AppendUpToThree(p, 0);
    return run.m_past != nullptr ? run : AppendDigits(p, end, 0);
}

// The same where there are often no more than seven, which are found in one word of eight characters.
[[gnu::always_inline]] inline DigitRun AppendSomeDigits(const char* p, const char* end, uint64 number)
{
    constexpr ssize_t wordSize = 8;
    if (end - p < wordSize)
        return AppendOneByOne(p, end, number);
    constexpr uint64 ones = 0x0101010101010101;
    const uint64 values = LoadWord<uint64>(p) ^ ones * '0';
    const uint64 marks = (values | (values + ones * 0x76)) & ones * 0x80; // of the first byte that is no digit
    if (marks == 0)
        return AppendDigits(p, end, number);
    const int bits = std::countr_zero(marks) & ~7;
    const uint64 digits = values << 1 << (63 - bits); // zero bytes before them
    return {p + bits / 8, s_integerPowersOfTen[bits / 8] * number + JoinEightDigits(digits)};
}

} // namespace kelm::text
