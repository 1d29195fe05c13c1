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

#include <kelm/private/errors/Source.h>
#include <klUtils/types.h>

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

// An error about no text: "kelmscript: error: message". The kind is one of those that docs/command-line.md lists.
void ReportError(std::string_view message, ConstStringZ kind = "other");
void ReportNote(std::string_view message);

// A command line that asks for nothing that can be done: always a message. Gives the exit code.
int ReportUsage(std::string_view message);

// Whoever reads values as JSON reads errors so too: the last two kinds of error above become objects on standard
// output, a line each.
void UseJsonErrors(bool isJson);

} // namespace kelm::tool
