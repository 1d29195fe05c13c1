#pragma once

// Decimal digits written eight at once in one word, whose lowest byte is the first character.

#include <klUtils/types.h>

#include <array>
#include <bit>
#include <cstring>

#if defined(__SSE2__) && !defined(KELM_NO_VECTORS)
#include <emmintrin.h>
#endif

namespace kelm
{

static_assert(std::endian::native == std::endian::little);

inline constexpr uint64 s_eightZeros = 0x3030303030303030;

// The digits of all numbers of up to four, as bytes from 0 to 9, zeros before them.
inline constexpr auto s_fourDigits = []
{
    std::array<uint32, 10'000> digits{};
    for (uint32 i = 0; i < digits.size(); ++i)
        digits[i] = i / 1000 | i / 100 % 10 << 8 | i / 10 % 10 << 16 | i % 10 << 24;
    return digits;
}();

// The same of a number of up to eight. The quotient is a product shifted, exact for all that can occur.
inline uint64 EightDigitsOf(uint64 number)
{
    const uint64 upper = number * 3518437209 >> 45;
    return s_fourDigits[upper] | static_cast<uint64>(s_fourDigits[number - upper * 10'000]) << 32;
}

inline void PutWord(char* p, uint64 word)
{
    std::memcpy(p, &word, sizeof word);
}

// Sixteen digits, given as two numbers of eight.
class SixteenDigits
{
public:
#if defined(__SSE2__) && !defined(KELM_NO_VECTORS)
    // Both numbers at once: halves, then pairs, then each.
    SixteenDigits(uint64 upper, uint64 lower)
    {
        const __m128i numbers = _mm_set_epi64x(static_cast<int64>(lower), static_cast<int64>(upper));
        const __m128i byTenThousand = _mm_srli_epi64(_mm_mul_epu32(numbers, _mm_set1_epi64x(3518437209)), 45);
        const __m128i lowerHalves = _mm_sub_epi64(numbers, _mm_mul_epu32(byTenThousand, _mm_set1_epi64x(10000)));
        const __m128i halves = _mm_or_si128(byTenThousand, _mm_slli_epi64(lowerHalves, 32));

        const __m128i byHundred = _mm_srli_epi16(_mm_mulhi_epu16(halves, _mm_set1_epi16(5243)), 3);
        const __m128i lowerPairs = _mm_sub_epi16(halves, _mm_madd_epi16(byHundred, _mm_set1_epi32(100)));
        const __m128i pairs = _mm_or_si128(byHundred, _mm_slli_epi32(lowerPairs, 16));

        // byTen, and what is left of the pair in the upper byte.
        const __m128i byTen = _mm_mulhi_epu16(pairs, _mm_set1_epi16(6554));
        m_digits = _mm_add_epi16(_mm_slli_epi16(pairs, 8), _mm_mullo_epi16(byTen, _mm_set1_epi16(1 - (10 << 8))));
    }

    // How many there are, with the one behind them, without zeros at the end.
    int CountWith(uint64 next) const
    {
        const auto zeros = static_cast<uint32>(_mm_movemask_epi8(_mm_cmpeq_epi8(m_digits, _mm_setzero_si128())));
        const uint32 others = (zeros ^ 0xFFFF) | static_cast<uint32>(next != 0) << 16;
        return 31 ^ __builtin_clz(others << 1 | 1); // so that it is of something in any case
    }
    void Put(char* p) const
    {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_or_si128(m_digits, _mm_set1_epi8('0')));
    }
    uint64 GetFirstEight() const
    {
        return static_cast<uint64>(_mm_cvtsi128_si64(m_digits));
    }

private:
    __m128i m_digits; // as bytes from 0 to 9
#else
    SixteenDigits(uint64 upper, uint64 lower) : m_upper(EightDigitsOf(upper)), m_lower(EightDigitsOf(lower)) {}

    int CountWith(uint64 next) const
    {
        if (next != 0)
            return 17;
        const int zeroBits = m_lower != 0 ? std::countl_zero(m_lower) : 64 + std::countl_zero(m_upper);
        return 16 - (zeroBits >> 3);
    }
    void Put(char* p) const
    {
        PutWord(p, m_upper | s_eightZeros);
        PutWord(p + 8, m_lower | s_eightZeros);
    }
    uint64 GetFirstEight() const
    {
        return m_upper;
    }

private:
    uint64 m_upper; // as bytes from 0 to 9
    uint64 m_lower;
#endif
};

// These write at `p` and return the end. They may write more than they return: up to s_maxDecimal characters.
inline constexpr int s_maxDecimal = 24;

inline constexpr uint64 s_tenToEight = 100'000'000;

// The digits of a word, whose lowest byte is the first, from the first that is not zero on; of zeros alone the last.
template <class Word>
[[gnu::always_inline]] inline char* PutWithoutZeros(char* p, Word digits)
{
    constexpr int lastDigit = 8 * (sizeof(Word) - 1);
    constexpr std::size_t lastBit = 8 * sizeof(Word) - 1;
    const auto first = static_cast<std::size_t>(__builtin_ctzll(digits | Word(1) << lastDigit)); // a bit of its byte
    const Word text = (digits | static_cast<Word>(s_eightZeros)) >> (first & ~std::size_t(7));
    std::memcpy(p, &text, sizeof text);
    return p + (first ^ lastBit) / 8 + 1;
}

// A number of up to eight digits.
[[gnu::always_inline]] inline char* PutShortDecimal(char* p, uint64 number)
{
    return number < s_fourDigits.size() ? PutWithoutZeros(p, s_fourDigits[number])
                                        : PutWithoutZeros(p, EightDigitsOf(number));
}

inline char* PutEightDigits(char* p, uint64 number)
{
    PutWord(p, EightDigitsOf(number) | s_eightZeros);
    return p + 8;
}

// A number of more than eight digits.
[[gnu::noinline]] inline char* PutLongDecimal(char* p, uint64 number)
{
    const uint64 upper = number / s_tenToEight;
    const uint64 top = upper / s_tenToEight;
    p = top == 0 ? PutShortDecimal(p, upper) : PutEightDigits(PutShortDecimal(p, top), upper - top * s_tenToEight);
    return PutEightDigits(p, number - upper * s_tenToEight);
}

// Most numbers are short: what they take stands where they are written.
[[gnu::always_inline]] inline char* PutDecimal(char* p, uint64 number)
{
    return number < s_tenToEight ? PutShortDecimal(p, number) : PutLongDecimal(p, number);
}

[[gnu::always_inline]] inline char* PutDecimal(char* p, int64 number)
{
    *p = '-';
    const int64 sign = number >> 63; // 0 or -1
    return PutDecimal(p - sign, static_cast<uint64>(number ^ sign) - static_cast<uint64>(sign));
}

} // namespace kelm
