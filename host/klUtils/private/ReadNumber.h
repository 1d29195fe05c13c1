#pragma once

// The texts of number literals to their values. Each function returns false where the text is no literal of its form,
// and where the value is out of range.

#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace kelm
{

inline bool ReadDigits(SubString digits, int base, uint64& value)
{
    const std::from_chars_result result = std::from_chars(digits.m_p1, digits.m_p2, value, base);
    return result.ec == std::errc() && result.ptr == digits.m_p2;
}

// What a character is worth as a decimal digit; more than 9 where it is none.
inline uint64 DigitValue(char c)
{
    return static_cast<uint64>(static_cast<unsigned char>(c)) - '0';
}

// Decimal digits. Up to 19 of them cannot overflow, which is all that most literals need.
inline bool ReadDecimal(SubString digits, uint64& value)
{
    if (digits.size() > 19)
        return ReadDigits(digits, 10, value);
    uint64 sum = 0;
    bool isNumber = !digits.empty();
    for (const char c : digits)
    {
        const uint64 digit = DigitValue(c);
        isNumber &= digit <= 9;
        sum = 10 * sum + digit;
    }
    value = sum;
    return isNumber;
}

// "0x2a"
inline bool ReadHexadecimal(SubString literal, uint64& value)
{
    return literal.size() > 2 && literal[0] == '0' && (literal[1] | 0x20) == 'x' &&
           ReadDigits({literal.m_p1 + 2, literal.m_p2}, 16, value);
}

// A float literal taken apart: digits, with the point ignored, times a power of ten.
struct DecimalFloat
{
    uint64 m_digits = 0;
    int m_numDigits = 0; // significant ones; m_digits holds them all when there are at most 19
    int64 m_exponent = 0;
    bool m_isNumber = true;

    explicit DecimalFloat(SubString literal)
    {
        const char* p = literal.m_p1;
        bool isFraction = false;
        for (; p != literal.m_p2 && (*p | 0x20) != 'e'; ++p)
        {
            if (*p == '.')
            {
                m_isNumber &= !isFraction;
                isFraction = true;
                continue;
            }
            const uint64 digit = DigitValue(*p);
            m_isNumber &= digit <= 9;
            m_digits = 10 * m_digits + digit;
            m_numDigits += m_numDigits > 0 || *p != '0';
            m_exponent -= isFraction;
        }
        m_isNumber &= p - literal.m_p1 > isFraction; // a point alone is none
        if (p != literal.m_p2)
            AddExponent({p + 1, literal.m_p2});
    }

private:
    void AddExponent(SubString exponent)
    {
        const bool isNegative = !exponent.empty() && exponent[0] == '-';
        if (isNegative || (!exponent.empty() && exponent[0] == '+'))
            ++exponent.m_p1;
        m_isNumber &= !exponent.empty();
        int64 value = 0;
        for (const char c : exponent)
        {
            const uint64 digit = DigitValue(c);
            m_isNumber &= digit <= 9;
            if (value < std::numeric_limits<int32>::max()) // farther out, nothing changes any more
                value = 10 * value + static_cast<int64>(digit);
        }
        m_exponent += isNegative ? -value : value;
    }
};

inline constexpr double s_exactPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                                1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The double nearest to a decimal literal of digits, point and exponent. A value too small for double is zero.
//
// Digits and a power of ten that are both exact as doubles give the correctly rounded result in one operation (W. D.
// Clinger, "How to read floating point numbers accurately", 1990); the standard library does the rest.
inline bool ReadDouble(SubString literal, double& value)
{
    const DecimalFloat parts(literal);
    if (!parts.m_isNumber)
        return false;
    const double digits = static_cast<double>(static_cast<int64>(parts.m_digits));
    if (parts.m_numDigits <= 19 && parts.m_digits <= uint64(1) << 53 && -22 <= parts.m_exponent &&
        parts.m_exponent <= 22)
    {
        value = parts.m_exponent < 0 ? digits / s_exactPowersOfTen[-parts.m_exponent]
                                     : digits * s_exactPowersOfTen[parts.m_exponent];
        return true;
    }
    if (std::from_chars(literal.m_p1, literal.m_p2, value).ec == std::errc())
        return true;
    if (parts.m_numDigits > 0 && parts.m_numDigits + parts.m_exponent > 0)
        return false;
    value = 0.0;
    return true;
}

// The same for the nearest 32-bit float, which rounding twice, through double, would not always give.
inline bool ReadFloat(SubString literal, float& value)
{
    const DecimalFloat parts(literal);
    if (!parts.m_isNumber)
        return false;
    if (std::from_chars(literal.m_p1, literal.m_p2, value).ec == std::errc())
        return true;
    if (parts.m_numDigits > 0 && parts.m_numDigits + parts.m_exponent > 0)
        return false;
    value = 0.0F;
    return true;
}

} // namespace kelm
