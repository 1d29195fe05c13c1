#pragma once

// What helps with an error beyond the names that are near: how what was written, as in other languages, is written
// here.

#include <kelm/api.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kelm
{

// For an error at a place of an expression, a path or a data source; empty for most.
KELM_API std::string HintFor(std::string_view message, std::string_view text, std::size_t offset);

} // namespace kelm
