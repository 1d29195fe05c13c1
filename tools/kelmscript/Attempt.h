#pragma once

#include "Failure.h"
#include "Source.h"

#include <klUtils/text/ParserBase.h>

#include <functional>
#include <optional>

namespace kelm::tool
{

// Runs `f`, which reads `source` through `parser`, and tells how it failed, if it did. Every documented failure of the
// library is one here: errors of syntax at their own place, all others at the last token that was read before them.
// Where a name was not found, notes at the name tell the nearest ones that exist.
std::optional<Failure> Attempt(const SourceText& source, const ParserBase& parser, const std::function<void()>& f);

} // namespace kelm::tool
