#pragma once

// Values of the forms that are nearly always written, found at a place in a text without a cursor. Whatever else a
// value may be, and what is wrong with one that is none, TypedReads.h knows: there it is read when nothing is found
// here.

#include <klUtils/text/private/Names.h>
#include <klUtils/text/private/Number.h>
#include <klUtils/text/private/Quoted.h>
#include <klUtils/text/private/ShortText.h>
#include <klUtils/text/private/TypedReads.h>
#include <klUtils/types.h>

#include <type_traits>

namespace kelm::text
{

// Where a value has been found: the beginning of its last token, and its end, which is null for none.
struct Found
{
    const char* m_last = nullptr;
    const char* m_past = nullptr;
};

// The digits of an integer. Those of 64 bits have any number of digits, the others often few.
template <class Int>
[[gnu::always_inline]] inline DigitRun FindDigits(const char* p, const char* end)
{
    if constexpr (sizeof(Int) == sizeof(uint64))
        return AppendDigits(p, end, 0);
    else
        return AppendSomeDigits(p, end, 0);
}

// A number in decimal digits, behind a minus where the type has signs, whose value the type holds.
template <class T>
[[gnu::always_inline]] inline Found FindNumber(const char* p, const char* end, T& value)
{
    const bool isNegative = s_hasSign<T> && p != end && *p == '-';
    const char* const digits = p + isNegative;
    if (digits == end || !HasProperty(*digits, CHAR_DIGIT)) [[unlikely]]
        return {};
    if constexpr (std::is_integral_v<T>)
    {
        const DigitRun run = FindDigits<T>(digits, end);
        const bool isWhole = run.m_past == end || !HasProperty(*run.m_past, CHAR_IN_NUMBER);
        if (!isWhole || run.m_past - digits > Number::s_maxDigits || !ToInteger(run.m_number, isNegative, value))
            [[unlikely]]
            return {};
        return {digits, run.m_past};
    }
    else
    {
        const DigitRun run = AppendSomeDigits(digits, end, 0);
        const ScannedNumber number =
            ScanToItsEnd(digits, end, {TOKEN_INTEGER, run.m_past, run.m_number, run.m_past - digits});
        if (number.m_past == nullptr ||
            !TryConvert(number.m_kind, number.GetNumber(), {digits, number.m_past}, isNegative, value)) [[unlikely]]
            return {};
        return {digits, number.m_past};
    }
}

// true or false, with some text behind it.
[[gnu::always_inline]] inline Found FindBool(const char* p, const char* end, bool& value)
{
    constexpr ssize_t longest = 6;
    if (end - p < longest) [[unlikely]]
        return {};
    const uint32 word = LoadWord<uint32>(p);
    const bool isTrue = word == WordOf("true");
    const bool isFalse = (word == WordOf("fals")) & (p[4] == 'e');
    const char* const past = p + 5 - isTrue;
    if ((!isTrue & !isFalse) || HasProperty(*past, CHAR_IDENTIFIER)) [[unlikely]]
        return {};
    value = isTrue;
    return {p, past};
}

// An identifier.
[[gnu::always_inline]] inline Found FindName(const char* p, const char* end)
{
    if (p == end || StartOf(*p) != Start::Identifier) [[unlikely]]
        return {};
    return {p, SkipName(p + 1, end)};
}

// A literal in double quotes in which no backslash stands.
[[gnu::always_inline]] inline Found FindVerbatim(const char* p, const char* end)
{
    if (p == end || *p != '"') [[unlikely]]
        return {};
    const char* const past = FindFirstOfTwoBlocks<EndOfRun<'"'>>(p + 1, end);
    if (past == end || *past != '"')
        return {};
    return {p, past + 1};
}

} // namespace kelm::text
