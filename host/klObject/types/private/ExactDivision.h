#pragma once

// Division of what is nearly always a multiple, by a multiplication; a processor takes many times as long for a
// division.

#include <klUtils/types.h>

#include <bit>
#include <limits>

namespace kelm
{

// What is known of a divisor beside itself. An odd number has an inverse modulo 2^64, by which its multiples become the
// quotients, and other numbers greater ones; the divisor's factors of two are shifted out.
struct ExactDivisor
{
    uint64 m_inverse;     // of the odd factor
    uint64 m_maxQuotient; // of any ssize_t

    static constexpr ExactDivisor Of(ssize_t divisor)
    {
        const auto unsignedDivisor = static_cast<uint64>(divisor);
        const uint64 odd = unsignedDivisor >> std::countr_zero(unsignedDivisor);
        uint64 inverse = odd; // right in its three lowest bits; each step doubles their number
        for (int bits = 3; bits < 64; bits *= 2)
            inverse *= 2 - odd * inverse;
        return {inverse, static_cast<uint64>(std::numeric_limits<ssize_t>::max()) / unsignedDivisor};
    }

    // False for what is negative, or no multiple of the divisor.
    constexpr bool TryDivide(ssize_t dividend, ssize_t divisor, ssize_t& quotient) const
    {
        const int numTwos = std::countr_zero(static_cast<uint64>(divisor));
        const uint64 found = std::rotr(static_cast<uint64>(dividend) * m_inverse, numTwos);
        quotient = static_cast<ssize_t>(found);
        return found <= m_maxQuotient;
    }
};

} // namespace kelm
