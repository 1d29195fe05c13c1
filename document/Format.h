#pragma once

// The one layout that a document has, whoever wrote it: what stands between tokens and comments is white space, and
// formatting changes nothing else. docs/documents.md tells the layout.
//
//     const kelm::Result<std::string> text = kelm::Format(kelm::Document::Parse(written));
//
// Tokens alone decide, and no types: a text need not be readable here, but it must have the form of a data source of
// some class, or of a body alone. One that has not is refused with its first error. Formatting what is formatted
// changes nothing. Nesting has no limit.
//
// What stands between the comments "// fmt: off" and "// fmt: on" stays as it is.

#include <kelm/Result.h>
#include <kelmDocument/Diagnose.h>
#include <kelmDocument/Document.h>
#include <kelmDocument/api.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kelm
{

struct FormatOptions
{
    std::size_t m_width = 100; // characters that a line should have at most
    std::size_t m_indent = 4;  // blanks a level
};

// Lines end as the first one does.
KELM_DOCUMENT_API Result<std::string> Format(const Document& document, const FormatOptions& options = {});

// White space in place of other white space.
struct SpaceChange
{
    Span m_removed;
    std::string m_inserted;
};

// The changes within the lines that a range touches, in their order; nothing else is theirs.
KELM_DOCUMENT_API Result<std::vector<SpaceChange>> FormatLines(const Document& document, Span range,
                                                               const FormatOptions& options = {});

// Why a document has no layout, if it has none.
KELM_DOCUMENT_API std::optional<Diagnostic> FindSyntaxError(const Document& document);

} // namespace kelm
