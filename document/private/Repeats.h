#pragma once

#include <kelmDocument/api.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace kelm
{

// A member that a text writes again in one body, and where it has written it before: views into the text.
struct RepeatedMember
{
    std::string_view m_name;
    std::string_view m_former;
};

// Those of a text, by the ends of their bodies: up to so many of them, and how many more there are. Brackets, quotes
// and comments are told by themselves, with no look at tokens, so that it takes little beside reading.
struct RepeatedMembers
{
    std::vector<RepeatedMember> m_members = {};
    std::size_t m_numMore = 0;
};
KELM_DOCUMENT_API RepeatedMembers FindRepeatedMembers(std::string_view text, std::size_t most);

} // namespace kelm
