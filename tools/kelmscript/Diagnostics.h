#pragma once

// Messages for people, on standard error, in the form that compilers use:
//
//     FILE:LINE:COLUMN: error: message
//         the line
//             ^
//
// Standard output is flushed first, so that both streams
// keep their order on a terminal. What a terminal would obey (control characters) is shown, never sent.

#include "Failure.h"

#include <kelm/private/Source.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace kelm::tool
{

enum EColour
{
    COLOUR_AUTO, // on a terminal alone, and not where NO_COLOR is set
    COLOUR_ALWAYS,
    COLOUR_NEVER,
};
void SetColour(EColour colour);

enum ESeverity
{
    SEV_ERROR,
    SEV_WARNING,
    SEV_NOTE,
};

// A message about a place in a text.
void Report(ESeverity severity, const SourceText& source, std::size_t offset, std::string_view message);

// An error and its notes.
void Report(const SourceText& source, const Failure& failure);

// An error about no text: "kelmscript: error: message".
void ReportError(std::string_view message);
void ReportNote(std::string_view message);

} // namespace kelm::tool
