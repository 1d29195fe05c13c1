#include <klUtils/text/private/PowersOfFive.h>

#include <bit>
#include <cstddef>

namespace kelm
{

namespace
{

// A natural number of 1,024 bits, made at compile time alone.
class WideNumber
{
public:
    explicit constexpr WideNumber(std::size_t bit) { m_words[bit / 64] = uint64(1) << bit % 64; }

    constexpr void MultiplyByFive()
    {
        uint64 carry = 0;
        for (uint64& word : m_words)
        {
            const uint128 product = uint128(word) * 5 + carry;
            word = static_cast<uint64>(product);
            carry = static_cast<uint64>(product >> 64);
        }
    }
    constexpr void DivideByFive()
    {
        uint64 remainder = 0;
        for (std::size_t i = s_size; i-- > 0;)
        {
            const uint128 dividend = uint128(remainder) << 64 | m_words[i];
            m_words[i] = static_cast<uint64>(dividend / 5);
            remainder = static_cast<uint64>(dividend % 5);
        }
    }

    // The highest bits, the first of them set.
    constexpr uint128 GetTop() const
    {
        std::size_t i = s_size;
        while (m_words[i - 1] == 0)
            --i;
        const int shift = std::countl_zero(m_words[i - 1]);
        const uint128 first = uint128(WordBelow(i)) << 64 | WordBelow(i - 1);
        return shift == 0 ? first : first << shift | WordBelow(i - 2) >> (64 - shift);
    }

private:
    static constexpr std::size_t s_size = 16;

    constexpr uint64 WordBelow(std::size_t i) const { return 0 < i && i <= s_size ? m_words[i - 1] : 0; }

    uint64 m_words[s_size] = {};
};

consteval auto MakePowersOfFive()
{
    std::remove_cv_t<decltype(s_powersOfFive)> powers{};
    WideNumber power(0);
    for (std::size_t i = -s_minPowerInTable; i < powers.size(); ++i, power.MultiplyByFive())
        powers[i] = power.GetTop();
    // A power of two, divided again and again: no quotient is whole, so that one more than its top is the top rounded
    // up.
    WideNumber reciprocal(1023);
    for (std::size_t i = -s_minPowerInTable; i-- > 0;)
    {
        reciprocal.DivideByFive();
        powers[i] = reciprocal.GetTop() + 1;
    }
    return powers;
}

} // namespace

constexpr std::array<uint128, s_maxPowerInTable - s_minPowerInTable + 1> s_powersOfFive = MakePowersOfFive();

} // namespace kelm
