#pragma once

// The names of the arithmetic types that all of the system uses. Every type is native and little-endian (Linux).

#include <cstddef>
#include <cstdint>

namespace kelm
{

using int8 = std::int8_t;
using int16 = std::int16_t;
using int32 = std::int32_t;
using int64 = std::int64_t;
using uint8 = std::uint8_t;
using uint16 = std::uint16_t;
using uint32 = std::uint32_t;
using uint64 = std::uint64_t;
using float32 = float;
using float64 = double;
using xchar = char;               // an 8-bit character; as a number it is an int8, whatever the sign of char
using ConstStringZ = const char*; // a zero-terminated 8-bit text that somebody else owns
using ssize_t = std::ptrdiff_t;
#ifndef __CHAR_UNSIGNED__
static_assert(sizeof(float32) == 4 && sizeof(float64) == 8 && sizeof(ssize_t) == 8 && static_cast<char>(-1) < 0);
#endif
} // namespace kelm
