#pragma once

#include <kelm/private/Source.h>

#include <cstddef>

namespace kelm::tool
{

// Warns of each member that a data source writes twice in one body: its own rules let the second follow the first,
// which is seldom meant. The text has been read, as far as `size` octets.
void WarnOfRepeats(const SourceText& source, std::size_t size);

} // namespace kelm::tool
