#include <klUtils/text/private/Number.h>

#include <klUtils/text/private/Hexadecimal.h>
#include <klUtils/text/private/NearestDouble.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <system_error>

namespace kelm::text
{

namespace
{

const char* SkipProperty(const char* p, const char* end, CharProperty property)
{
    return std::find_if_not(p, end, [=](char c) { return HasProperty(c, property); });
}

// An exponent with at least one digit, added to the number; where there is none, `p` itself.
const char* ScanExponent(const char* p, const char* end, int32& sum)
{
    if ((*p | 0x20) != 'e')
        return p;
    const char* digits = p + 1;
    const bool isNegative = digits != end && *digits == '-';
    if (isNegative || (digits != end && *digits == '+'))
        ++digits;
    const char* const past = SkipProperty(digits, end, CHAR_DIGIT);
    if (past == digits)
        return p;
    constexpr int64 farthest = std::numeric_limits<int32>::max() / 2; // farther out, nothing changes any more
    int64 exponent = 0;
    for (; digits != past; ++digits)
        exponent = std::min(farthest, 10 * exponent + static_cast<int64>(DigitValue(*digits)));
    sum = static_cast<int32>(std::clamp(sum + (isNegative ? -exponent : exponent), -farthest, farthest));
    return past;
}

} // namespace

DigitRun ScanHexadecimal(const char* start, const char* end)
{
    return ScanHexadecimalHere(start, end);
}

void ScanRestOfNumber(const char* start, const char* end, ScannedNumber& scanned)
{
    const char* p = scanned.m_past;
    if (p == start + 1 && IsHexadecimal(start, end))
    {
        const DigitRun run = ScanHexadecimal(start, end);
        scanned = {TOKEN_HEX_INTEGER, run.m_past, run.m_number, run.m_past - (start + 2)};
        return;
    }
    if (const char* const past = ScanExponent(p, end, scanned.m_exponent); past != p)
    {
        scanned.m_kind = TOKEN_FLOAT;
        p = past;
    }
    scanned.m_past = p != end && HasProperty(*p, CHAR_IDENTIFIER) ? nullptr : p;
}

Number ReadWholeNumber(SubString text, EToken& kind)
{
    const bool beginsWithDigit = !text.empty() && HasProperty(text[0], CHAR_DIGIT);
    const bool beginsWithDot = text.size() > 1 && text[0] == '.' && HasProperty(text[1], CHAR_DIGIT);
    ScannedNumber scanned;
    if (beginsWithDigit)
        scanned = ScanNumberHere(text.m_p1, text.m_p2);
    else if (beginsWithDot)
        scanned = ScanNumberWithoutWholePart(text.m_p1, text.m_p2);
    kind = scanned.m_kind;
    Number number = scanned.GetNumber();
    if (scanned.m_past == nullptr || scanned.m_past != text.m_p2)
        number.m_count = Number::s_malformed;
    return number;
}

bool ReadLongInteger(Number number, SubString digits, int base, uint64& value)
{
    if (number.IsMalformed())
        return false;
    const std::from_chars_result result = std::from_chars(digits.m_p1, digits.m_p2, value, base);
    return result.ec == std::errc() && result.ptr == digits.m_p2;
}

namespace
{

// How many digits a literal has from the first that is not zero on.
int32 CountSignificantDigits(SubString literal)
{
    const char* p = literal.m_p1;
    while (p != literal.m_p2 && (*p == '0' || *p == '.'))
        ++p;
    ssize_t count = 0;
    for (; p != literal.m_p2 && HasProperty(*p, CHAR_IN_NUMBER) && (*p | 0x20) != 'e'; ++p)
        count += *p != '.';
    return static_cast<int32>(std::min<ssize_t>(count, std::numeric_limits<int32>::max() / 2));
}

// What std::from_chars finds out of range is zero where it is too small.
template <class Float>
bool ReadByLibrary(Number number, SubString literal, Float& value)
{
    if (std::from_chars(literal.m_p1, literal.m_p2, value).ec == std::errc())
        return true;
    value = 0;
    return CountSignificantDigits(literal) + number.m_exponent <= 0;
}

// The first digits of a literal that are not zero, as many as a number holds.
uint64 FirstDigits(SubString literal)
{
    const char* p = literal.m_p1;
    while (*p == '0' || *p == '.')
        ++p;
    uint64 digits = 0;
    for (int i = 0; i < Number::s_maxDigits; ++p)
        if (*p != '.')
        {
            digits = 10 * digits + DigitValue(*p);
            ++i;
        }
    return digits;
}

// A number of more digits lies between that of its first ones and the next: where both are nearest to the same float,
// it is too.
template <class Float>
bool ReadLong(Number number, SubString literal, int32 count, Float& value)
{
    constexpr int32 manyDigits = 1 << 20;
    if (count > manyDigits)
        return ReadByLibrary(number, literal, value);
    const uint64 digits = FirstDigits(literal);
    const int32 power = number.m_exponent + count - Number::s_maxDigits;
    value = NearestFloat<Float>(digits, power);
    if (value != NearestFloat<Float>(digits + 1, power))
        return ReadByLibrary(number, literal, value);
    return value <= std::numeric_limits<Float>::max();
}

template <class Float>
bool ReadFloating(Number number, SubString literal, Float& value)
{
    if (number.IsMalformed())
        return false;
    if (!number.HasAllDigits())
        if (const int32 count = CountSignificantDigits(literal); count > Number::s_maxDigits)
            return ReadLong(number, literal, count, value);
    value = number.m_digits != 0 ? NearestFloat<Float>(number.m_digits, number.m_exponent) : Float(0);
    return value <= std::numeric_limits<Float>::max();
}

} // namespace

bool ReadAnyDouble(Number number, SubString literal, double& value)
{
    return ReadFloating(number, literal, value);
}

bool ReadAnyFloat(Number number, SubString literal, float& value)
{
    return ReadFloating(number, literal, value);
}

} // namespace kelm::text
