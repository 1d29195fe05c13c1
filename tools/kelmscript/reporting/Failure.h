#pragma once

#include <klUtils/types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kelm::tool
{

struct Note
{
    std::string m_message;
    std::size_t m_offset;
};

// Why a text could not be evaluated or read, and where in it.
struct Failure
{
    ConstStringZ m_kind; // "syntax", "value" and the like; docs/command-line.md lists them
    std::string m_message;
    std::size_t m_offset; // in octets, from the start of the text
    std::vector<Note> m_notes;
    std::string m_excerpt = {}; // the line and what is marked of it, where that is more than the place
};

} // namespace kelm::tool
