#pragma once

// Texts that values own.

#include <kelm/Slot.h>

#include <cstddef>
#include <string_view>

namespace kelm::evaluation
{

// Room for a text of `size` characters of the slot's own; the slot, which holds nothing, becomes that text, of which
// the caller writes the characters.
char* MakeText(Slot& slot, std::size_t size);

// Appends `b` to `a`. Memory that nobody else holds, on either side, is used again, so that chains of additions take
// time in step with their result whichever way they lean.
void JoinTexts(Slot& a, const Slot& b);

} // namespace kelm::evaluation
