#pragma once

// The texts of number literals to their values. Each function returns false where the text is no literal of its form,
// and where the value is out of range.

#include <klUtils/BasicSubString.h>
#include <klUtils/text/DecimalDigits.h>
#include <klUtils/text/private/NearestDouble.h>
#include <klUtils/types.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace kelm
{

inline bool ReadDigits(SubString digits, int base, uint64& value)
{
    const std::from_chars_result result = std::from_chars(digits.m_p1, digits.m_p2, value, base);
    return result.ec == std::errc() && result.ptr == digits.m_p2;
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

// The number that a text begins with, taken apart: digits, with the point ignored, times a power of ten. Without digits
// its end is the text's beginning.
struct DecimalFloat
{
    uint64 m_digits = 0;   // all of them where HasAllDigits says so
    int64 m_numDigits = 0; // without leading zeros where there are more than 19
    int64 m_exponent = 0;

    explicit DecimalFloat(SubString text) : m_end(text.m_p1)
    {
        const char* p = ReadRun(text.m_p1, text.m_p2);
        m_numDigits = p - text.m_p1;
        if (p != text.m_p2 && *p == '.')
        {
            const char* const fraction = p + 1;
            p = ReadRun(fraction, text.m_p2);
            m_exponent = fraction - p;
            m_numDigits += p - fraction;
        }
        if (m_numDigits == 0)
            return;
        m_end = p != text.m_p2 && (*p | 0x20) == 'e' ? AddExponent(p, text.m_p2) : p;
        if (m_numDigits > s_maxDigits)
            m_numDigits -= CountLeadingZeros(text);
    }

    const char* GetEnd() const { return m_end; }
    bool IsWhole(SubString literal) const { return m_end != literal.m_p1 && m_end == literal.m_p2; }
    bool HasAllDigits() const { return m_numDigits <= s_maxDigits; }

    // Of a number that no finite double is near: whether it lies beyond the range rather than below it.
    bool IsLarge() const { return m_numDigits + m_exponent > 0; }

private:
    static constexpr int64 s_maxDigits = 19; // what 64 bits hold in any case

    // Adds a run of digits and returns its end.
    const char* ReadRun(const char* p, const char* end)
    {
        for (; end - p >= 8; p += 8)
        {
            const uint64 bytes = LoadWord<uint64>(p);
            if (!AreEightDigits(bytes))
                break;
            m_digits = 100000000 * m_digits + ValueOfEightDigits(bytes);
        }
        return AppendFewDigits(p, end, m_digits);
    }

    static int64 CountLeadingZeros(SubString text)
    {
        int64 zeros = 0;
        for (const char* p = text.m_p1; p != text.m_p2 && (*p == '0' || *p == '.'); ++p)
            zeros += *p == '0';
        return zeros;
    }

    // "e", an optional sign, digits: returns the end, which is where it began when it is anything else.
    const char* AddExponent(const char* begin, const char* end)
    {
        const char* p = begin + 1;
        const bool isNegative = p != end && *p == '-';
        if (isNegative || (p != end && *p == '+'))
            ++p;
        const char* const digits = p;
        int64 value = 0;
        for (; p != end && DigitValue(*p) <= 9; ++p)
            if (value < std::numeric_limits<int32>::max()) // farther out, nothing changes any more
                value = 10 * value + static_cast<int64>(DigitValue(*p));
        if (p == digits)
            return begin;
        m_exponent += isNegative ? -value : value;
        return p;
    }

    const char* m_end;
};

inline constexpr double s_powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                           1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
inline constexpr ssize_t s_maxExactDigits = 15;

// Digits with a point before the last `fractionDigits` of them. Both the number of all digits and the power of ten are
// exact as doubles as long as there are no more than s_maxExactDigits, so that one division rounds correctly (W. D.
// Clinger, "How to read floating point numbers accurately", 1990).
inline double QuotientOf(uint64 digits, ssize_t fractionDigits)
{
    return static_cast<double>(static_cast<int64>(digits)) / s_powersOfTen[fractionDigits];
}

// The number that a text begins with, where it is digits with a point among them, so few that QuotientOf is exact.
// Returns its end; null for every other text.
inline const char* ReadShortDouble(SubString text, double& value)
{
    constexpr ssize_t maxLength = s_maxExactDigits + 1; // with the point
    const char* const limit = text.size() > maxLength ? text.m_p1 + maxLength : text.m_p2;
    if (text.size() >= maxLength && AreEightDigits(LoadWord<uint64>(text.m_p1 + maxLength - 8)))
        return nullptr; // a long number, most likely
    uint64 digits = 0;
    const char* p = AppendFewDigits(text.m_p1, limit, digits);
    if (p == limit || *p != '.')
        return nullptr;
    const char* const fraction = p + 1;
    p = AppendFewDigits(fraction, limit, digits);
    const bool goesOn = p != text.m_p2 && DigitValue(*p) <= 9;
    if (goesOn || p - text.m_p1 < 2)
        return nullptr;
    value = QuotientOf(digits, p - fraction);
    return p;
}

// The nearest float, where 64 bits hold the digits and it is finite.
template <class Float>
inline bool TryReadExactly(const DecimalFloat& parts, Float& value)
{
    if (!parts.HasAllDigits())
        return false;
    constexpr int64 farthest = 1000; // farther out, nothing changes any more
    const auto power = static_cast<int>(std::clamp(parts.m_exponent, -farthest, farthest));
    value = parts.m_digits != 0 ? NearestFloat<Float>(parts.m_digits, power) : Float(0);
    return value <= std::numeric_limits<Float>::max();
}

template <class Float>
inline bool ReadParts(const DecimalFloat& parts, SubString literal, Float& value)
{
    if (!parts.IsWhole(literal))
        return false;
    if (TryReadExactly(parts, value) || std::from_chars(literal.m_p1, literal.m_p2, value).ec == std::errc())
        return true;
    value = 0;
    return !parts.IsLarge();
}

// The double nearest to a decimal literal of digits, point and exponent; false where the text is none or lies beyond
// the range of double. A value too small for double is zero.
inline bool ReadDouble(SubString literal, double& value)
{
    return ReadShortDouble(literal, value) == literal.m_p2 || ReadParts(DecimalFloat(literal), literal, value);
}

// The same for the nearest 32-bit float, which rounding twice, through double, would not always give.
inline bool ReadFloat(SubString literal, float& value)
{
    return ReadParts(DecimalFloat(literal), literal, value);
}

} // namespace kelm
