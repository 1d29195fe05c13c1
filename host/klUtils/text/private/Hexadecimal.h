#pragma once

// ScanHexadecimalHere: ScanHexadecimal of Number.h, in place. A header of its own, since what evaluates expressions
// includes Number.h, and takes more steps where g++ sees this there.

#include <klUtils/text/private/Number.h>

#include <array>

namespace kelm::text
{

// What a character is worth as a hexadecimal digit; more than 15 where it is none.
inline constexpr auto s_hexValues = []
{
    std::array<uint8, 256> values{};
    for (std::size_t c = 0; c < values.size(); ++c)
        values[c] = HasProperty(static_cast<char>(c), CHAR_HEX_DIGIT)
                        ? static_cast<uint8>(HexDigitValue(static_cast<char>(c)))
                        : 0xff;
    return values;
}();

[[gnu::always_inline]] inline DigitRun ScanHexadecimalHere(const char* start, const char* end)
{
    const char* const digits = start + 2;
    const char* p = digits;
    uint64 number = 0;
    for (uint8 value; p != end && (value = s_hexValues[static_cast<unsigned char>(*p)]) <= 15; ++p)
        number = number << 4 | value;
    const bool isMalformed = p == digits || (p != end && HasProperty(*p, CHAR_IDENTIFIER));
    return {isMalformed ? nullptr : p, number};
}

} // namespace kelm::text
