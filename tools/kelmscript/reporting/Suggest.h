#pragma once

#include "Failure.h"

#include <kelm/private/errors/Source.h>
#include <kelm/private/errors/Suggest.h>
#include <klUtils/text/ParserBase.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::tool
{

// What is said of a class that is not registered where none is.
inline constexpr char s_noClasses[] =
    "no class is registered yet: name the module that describes it by --module or in KELMSCRIPT_MODULES";

// What helps with an error at a place of an expression or of a value; empty for most.
std::string HintFor(std::string_view message, std::string_view text, std::size_t offset);

inline void AddHint(Failure& failure, std::string_view text)
{
    if (std::string hint = HintFor(failure.m_message, text, failure.m_offset); !hint.empty())
        failure.m_notes.push_back({std::move(hint), failure.m_offset});
}

// For the message of an error about a name that does not exist: notes at the name, with the nearest names that do. None
// for every other message. `parser` stands where the error arose.
std::vector<Note> SuggestNames(const SourceText& source, const ParserBase& parser, const std::string& message,
                               std::size_t offset);

} // namespace kelm::tool
