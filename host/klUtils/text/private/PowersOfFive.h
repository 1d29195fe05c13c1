#pragma once

// Five to the powers that floats need, to 128 bits: one table for reading and for writing them.

#include <klUtils/types.h>

#include <array>
#include <cstddef>

namespace kelm
{

__extension__ using uint128 = unsigned __int128;

// From the smallest power of ten that takes 19 digits to a double, to the one that takes the smallest double to its
// digits.
inline constexpr int s_minPowerInTable = -342;
inline constexpr int s_maxPowerInTable = 324;

// The last power that 128 bits hold exactly.
inline constexpr int s_maxExactPowerOfFive = 55;

// Each power is shifted so that its highest bit is the highest of 128, and what does not fit is rounded: up for
// negative powers, down for the others.
// (Declared as what it is inside this library, so that no address has to be looked up.)
extern __attribute__((visibility("hidden"))) const std::array<uint128, s_maxPowerInTable - s_minPowerInTable + 1>
    s_powersOfFive;

inline uint128 GetPowerOfFive(int power)
{
    return s_powersOfFive[static_cast<std::size_t>(power - s_minPowerInTable)];
}

// floor(log2(10) * power), by a fixed-point product, for every power of the table.
constexpr int FloorLog2OfPowerOfTen(int power)
{
    return 217706 * power >> 16;
}

} // namespace kelm
