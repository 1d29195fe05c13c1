#pragma once

#include <kelmDocument/Part.h>

#include <cstddef>
#include <optional>
#include <string_view>

namespace kelm::language
{

// Where a description, in the source text of C++, names a member, an enumerator or an alternative; without a name,
// where it begins. It is the outermost round brackets that have a part in a line, counted from 0: of several lines,
// some compilers tell the first one and some the last. Nothing where it does not.
std::optional<Span> FindInDescription(std::string_view source, std::size_t line, std::string_view name);

} // namespace kelm::language
