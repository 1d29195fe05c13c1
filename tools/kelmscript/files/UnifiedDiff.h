#pragma once

#include <kelmDocument/Format.h>

#include <span>
#include <string>
#include <string_view>

namespace kelm::tool
{

// What changes make of a text, as patch(1) takes it; empty where there are none. No lines are compared: what changes is
// known.
std::string UnifiedDiff(std::string_view name, std::string_view text, std::span<const SpaceChange> changes);

} // namespace kelm::tool
