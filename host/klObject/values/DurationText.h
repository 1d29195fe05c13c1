#pragma once

// Durations as text: a number and a unit, "250ms", "-1h", "0.5s". The units are ns us ms s min h.

#include <klObject/api.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

namespace kelm
{

// Writes a number of ticks in the largest unit that gives each tick a whole number, to a buffer of s_maxDurationText
// characters.
inline constexpr ssize_t s_maxDurationText = 64;
KLOBJECT_API SubString PutDuration(char* buffer, int64 ticks, int64 nanosecondsPerTick);
KLOBJECT_API SubString PutDuration(char* buffer, double ticks, int64 nanosecondsPerTick);

// False where the text is no duration or, of whole ticks, gives none.
KLOBJECT_API bool ReadDuration(SubString text, int64 nanosecondsPerTick, int64& ticks);
KLOBJECT_API bool ReadDuration(SubString text, int64 nanosecondsPerTick, double& ticks);

// Whether the text is a duration, of whole ticks or of any, of whatever size.
KLOBJECT_API bool IsDurationOfAnySize(SubString text, int64 nanosecondsPerTick, bool hasFractions);

} // namespace kelm
