#pragma once

// What may have been meant: the nearest names to one that does not exist, and what an assertion that bad input can
// reach says of the input.

#include <kelm/api.h>
#include <klUtils/KelmAssertionError.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

// How many single characters must be inserted, removed, replaced or exchanged with their neighbour to make one text of
// the other, without regard to case. Nothing where they are more than the limit; that is found out in as many steps as
// the shorter text has characters, times the limit.
KELM_API std::optional<std::size_t> EditDistance(std::string_view a, std::string_view b, std::size_t limit);

// Those of `names` that are close enough to `name` to be meant by it, the nearest first, three at most. Of a qualified
// name its last part alone may be meant.
KELM_API std::vector<std::string> NearestNames(std::string_view name, const std::vector<std::string>& names);

// What the message of an error says about a name that does not exist.
struct KELM_API UnknownName
{
    std::string m_name;
    std::vector<std::string> m_existing; // what exists in its place
    bool m_isClass;                      // of which there may be none yet
    bool m_isAtName;                     // the readers' error is at the name, not at the token behind it

    // A question or a statement about what exists; empty where that is too little or too much.
    std::string TellExisting() const;
};

// Nothing where the message is about something else.
KELM_API std::optional<UnknownName> FindUnknownName(std::string_view message);

// What is wrong with the input where an assertion fails that bad input can reach; empty for every other.
KELM_API std::string_view Explain(const KelmAssertionError& error);

// "there are a, b and c"; empty for no names, and for more than anyone would read.
KELM_API std::string ThereAre(const std::vector<std::string>& names);

// "did you mean a, b or c?"; empty for no names.
KELM_API std::string DidYouMean(const std::vector<std::string>& names);

} // namespace kelm
