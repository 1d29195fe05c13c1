#pragma once

// What people are shown of a text: the line of an error, with a caret under the place. What a terminal would obey
// (control characters) is shown, never sent.

#include <kelm/api.h>
#include <kelm/private/errors/Source.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kelm
{

// A text as a terminal may have it: control characters, tabs excepted, and octets that are no character become U+FFFD.
KELM_API std::string Shown(std::string_view text);

// A line, of which only what lies around the place is shown where it is very long, and what stands below it.
struct Excerpt
{
    std::string m_line;
    std::string m_blanks; // as wide as the line is before the place
    std::string m_caret;  // "^~~~", as wide as what is marked
};

// Marks so many octets, as far as they lie in the line; at least the place itself.
KELM_API Excerpt ExcerptAt(const SourceText& source, std::size_t offset, std::size_t numMarked = 0);

} // namespace kelm
