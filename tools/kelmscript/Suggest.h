#pragma once

#include "Failure.h"

#include <kelm/private/Source.h>
#include <kelm/private/Suggest.h>
#include <klUtils/text/ParserBase.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kelm::tool
{

// What is said of a class that is not registered where none is.
inline constexpr char s_noClasses[] =
    "no class is registered yet: name the module that describes it by --module or in KELMSCRIPT_MODULES";

// For the message of an error about a name that does not exist: notes at the name, with the nearest names that do. None
// for every other message. `parser` stands where the error arose.
std::vector<Note> SuggestNames(const SourceText& source, const ParserBase& parser, const std::string& message,
                               std::size_t offset);

} // namespace kelm::tool
