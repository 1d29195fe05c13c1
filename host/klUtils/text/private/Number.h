#pragma once

// Number literals: where they end, of which kind they are, and their value in parts, all found in one reading.
//
//     integer  := digit { digit }
//     hex      := "0x" hex-digit { hex-digit }
//     float    := { digit } "." { digit } [ exponent ] | digit { digit } exponent      with a digit before the exponent
//     exponent := "e" [ "+" | "-" ] digit { digit }                                    (the letters in either case)
//
// No identifier character may follow. A sign is no part of a number.

#include <klUtils/BasicSubString.h>
#include <klUtils/api.h>
#include <klUtils/text/EToken.h>
#include <klUtils/text/private/CharTable.h>
#include <klUtils/text/private/DecimalDigits.h>
#include <klUtils/types.h>

#include <algorithm>
#include <limits>

namespace kelm::text
{

// The value of a number literal: digits * 10 ^ exponent. (Of a hexadecimal one the digits are hexadecimal.)
struct Number
{
    static constexpr int32 s_maxDigits = 19; // what 64 bits hold in any case; hexadecimal ones: 16
    static constexpr int32 s_maxHexDigits = 16;
    static constexpr int32 s_malformed = -1;

    uint64 m_digits = 0; // as one number, the point ignored; modulo 2^64 where there are too many
    int32 m_exponent = 0;
    int32 m_count = 0; // no fewer digits than there are from the first that is not zero on; s_malformed for no number

    bool IsMalformed() const { return m_count < 0; }
    bool HasAllDigits() const { return m_count <= s_maxDigits; }
};

// A number literal: its kind, its end and its value. Its end is null where it is malformed.
//
// Copied member by member, and given to functions that are not inlined only as a copy, so that a compiler can keep it
// in registers.
struct ScannedNumber
{
    ScannedNumber() = default;
    ScannedNumber(EToken kind, const char* past, uint64 digits, ssize_t count)
        : m_kind(kind), m_past(past), m_digits(digits), m_count(static_cast<int32>(count))
    {
    }
    ScannedNumber(const ScannedNumber& other) { *this = other; }
    ScannedNumber& operator=(const ScannedNumber& other)
    {
        m_kind = other.m_kind;
        m_past = other.m_past;
        m_digits = other.m_digits;
        m_exponent = other.m_exponent;
        m_count = other.m_count;
        return *this;
    }

    Number GetNumber() const { return {m_digits, m_exponent, m_count}; }

    EToken m_kind = TOKEN_UNDEF;
    const char* m_past = nullptr;
    uint64 m_digits = 0; // and so on, as Number has them
    int32 m_exponent = 0;
    int32 m_count = 0;
};

// Whether the number at `start`, if it is one, is hexadecimal; where it ends then (null where it is malformed), and
// what 64 bits hold of it.
inline bool IsHexadecimal(const char* start, const char* end)
{
    return *start == '0' && end - start > 1 && (start[1] | 0x20) == 'x';
}
KLUTILS_API DigitRun ScanHexadecimal(const char* start, const char* end);

// Goes on with the number that begins at `start` and has been read up to where it says, which is not its end: a
// hexadecimal one, or one with an exponent, or one that letters run on from.
KLUTILS_API void ScanRestOfNumber(const char* start, const char* end, ScannedNumber& scanned);

// The number at `start` that goes on with a point, behind what is scanned of it.
[[gnu::always_inline]] inline void ScanFraction(const char* end, ScannedNumber& scanned)
{
    const char* const fraction = scanned.m_past + 1;
    const char* significant = fraction;
    DigitRun run{nullptr, 0};
    if (end - fraction >= 4)
        run = AppendUpToThree(fraction, scanned.m_digits);
    if (run.m_past == nullptr)
    {
        // Found in any case: whether there is a whole part is as hard to foresee as how many zeros there are.
        const char* const notZero = SkipRun<Only<'0'>>(fraction, end);
        significant = scanned.m_digits == 0 ? notZero : fraction;
        run = AppendManyDigits(significant, end, scanned.m_digits);
    }
    constexpr ssize_t farthest = std::numeric_limits<int32>::max() / 2;
    ssize_t places = run.m_past - fraction;
    ssize_t count = run.m_past - significant;
    if (places > farthest) [[unlikely]] // GCOVR_EXCL_START: of a text of more than a GiB
    {
        places = farthest;
        count = count < farthest ? count : farthest;
    } // GCOVR_EXCL_STOP
    scanned.m_kind = TOKEN_FLOAT;
    scanned.m_past = run.m_past;
    scanned.m_digits = run.m_number;
    scanned.m_exponent = -static_cast<int32>(places);
    scanned.m_count += static_cast<int32>(count);
}

// Takes a number that may not have ended yet to its end.
[[gnu::always_inline]] inline ScannedNumber ScanToItsEnd(const char* start, const char* end, ScannedNumber scanned)
{
    if (scanned.m_past != end && *scanned.m_past == '.' && scanned.m_kind == TOKEN_INTEGER)
        ScanFraction(end, scanned);
    if (scanned.m_past != end && HasProperty(*scanned.m_past, CHAR_IDENTIFIER)) [[unlikely]]
    {
        ScannedNumber rest = scanned;
        ScanRestOfNumber(start, end, rest);
        scanned = rest;
    }
    return scanned;
}

// The number at `start`, which is a digit. Most numbers are plain digits.
[[gnu::always_inline]] inline ScannedNumber ScanNumberHere(const char* start, const char* end)
{
    const DigitRun run = AppendFewDigits(start, end, 0);
    return ScanToItsEnd(start, end, {TOKEN_INTEGER, run.m_past, run.m_number, run.m_past - start});
}
[[gnu::noinline]] inline ScannedNumber ScanNumber(const char* start, const char* end)
{
    return ScanNumberHere(start, end);
}

// The number at `start`, which is a dot before a digit.
inline ScannedNumber ScanNumberWithoutWholePart(const char* start, const char* end)
{
    return ScanToItsEnd(start, end, {TOKEN_INTEGER, start, 0, 0});
}

// A text that is to be one whole number, and its kind. Malformed where it is none.
KLUTILS_API Number ReadWholeNumber(SubString text, EToken& kind);

// --- Values ----------------------------------------------------------------------------------------------------------
//
// Each takes the number together with its text and returns false where the value is out of range.

KLUTILS_API bool ReadLongInteger(Number number, SubString digits, int base, uint64& value);

// The value of digits that `limit` of them tell, or else all of them by their text, which is looked for only then.
template <class GetDigits>
inline bool DigitsToUnsigned(Number number, int32 limit, GetDigits getDigits, int base, uint64& value)
{
    value = number.m_digits;
    if (static_cast<uint32>(number.m_count) <= static_cast<uint32>(limit)) [[likely]]
        return true;
    uint64 longValue = 0; // of its own, so that `value` may be a register
    const bool isInRange = ReadLongInteger(number, getDigits(), base, longValue);
    value = longValue;
    return isInRange;
}
KLUTILS_API bool ReadAnyDouble(Number number, SubString literal, double& value);

// Of an integer literal.
template <class GetLiteral>
inline bool ToUnsignedBy(Number number, GetLiteral getLiteral, uint64& value)
{
    return DigitsToUnsigned(number, Number::s_maxDigits, getLiteral, 10, value);
}
inline bool ToUnsigned(Number number, SubString literal, uint64& value)
{
    return ToUnsignedBy(
        number, [=] { return literal; }, value);
}

// Of a hexadecimal literal.
template <class GetLiteral>
inline bool HexToUnsignedBy(Number number, GetLiteral getLiteral, uint64& value)
{
    const auto getDigits = [&]
    {
        const SubString literal = getLiteral();
        // A token that was made by hand may have no "0x".
        return SubString(literal.m_p1 + std::min<std::ptrdiff_t>(2, literal.m_p2 - literal.m_p1), literal.m_p2);
    };
    return DigitsToUnsigned(number, Number::s_maxHexDigits, getDigits, 16, value);
}
inline bool HexToUnsigned(Number number, SubString literal, uint64& value)
{
    return HexToUnsignedBy(
        number, [=] { return literal; }, value);
}

inline constexpr double s_powersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                           1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
inline constexpr int32 s_maxExactPower = 22;

// Of a decimal literal the nearest double; a value too small for double is zero. Where both the digits and the power of
// ten are exact as doubles, one division rounds correctly (W. D. Clinger, "How to read floating point numbers
// accurately", 1990).
inline bool ToFloating(Number number, SubString literal, double& value)
{
    constexpr uint64 maxExact = uint64(1) << 53;
    if (number.m_digits <= maxExact && static_cast<uint32>(number.m_count) <= Number::s_maxDigits &&
        static_cast<uint32>(-number.m_exponent) <= s_maxExactPower)
    {
        value = static_cast<double>(static_cast<int64>(number.m_digits)) / s_powersOfTen[-number.m_exponent];
        return true;
    }
    double result = 0.0;
    const bool isInRange = ReadAnyDouble(number, literal, result);
    value = result;
    return isInRange;
}

// The same for the nearest 32-bit float, which rounding twice, through double, would not always give.
KLUTILS_API bool ReadAnyFloat(Number number, SubString literal, float& value);
inline bool ToFloating(Number number, SubString literal, float& value)
{
    float result = 0; // of its own, so that `value` may be a register
    const bool isInRange = ReadAnyFloat(number, literal, result);
    value = result;
    return isInRange;
}

} // namespace kelm::text
