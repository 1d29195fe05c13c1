#pragma once

#include "Failure.h"
#include "Source.h"

#include <klUtils/KelmAssertionError.h>
#include <klUtils/text/ParserBase.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::tool
{

// How many single characters must be inserted, removed, replaced or exchanged with their neighbour to make one text of
// the other, without regard to case. Nothing where they are more than the limit; that is found out in as many steps as
// the shorter text has characters, times the limit.
std::optional<std::size_t> EditDistance(std::string_view a, std::string_view b, std::size_t limit);

// Those of `names` that are close enough to `name` to be meant by it, the nearest first, three at most. Of a qualified
// name its last part alone may be meant.
std::vector<std::string> NearestNames(std::string_view name, const std::vector<std::string>& names);

// For the message of an error about a name that does not exist: notes at the name, with the nearest names that do. None
// for every other message. `parser` stands where the error arose.
std::vector<Note> SuggestNames(const SourceText& source, const ParserBase& parser, const std::string& message,
                               std::size_t offset);

// A note on a failed assertion that bad input can reach: what is wrong with the input. None for every other.
std::vector<Note> Explain(const KelmAssertionError& error, std::size_t offset);

// "there are a, b and c"; empty for no names, and for more than anyone would read.
std::string ThereAre(const std::vector<std::string>& names);

// "did you mean a, b or c?"; empty for no names.
std::string DidYouMean(const std::vector<std::string>& names);

} // namespace kelm::tool
